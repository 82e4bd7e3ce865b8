#include "kernels/convert/convert.h"

#include <algorithm>
#include <cstring>

namespace kernels {

int32_t Narrow16uTo8u_px(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                         int32_t Width, int32_t Height, int32_t BitDepth)
{
    if (!pSource || !pTarget) return kStatusNullPointer;
    if (Width <= 0 || Height <= 0) return kStatusSize;
    if (SourceStep <= 0 || TargetStep <= 0) return kStatusStep;
    const int32_t Shift = std::clamp(BitDepth - 8, 0, 8);
    const int32_t Half = Shift ? 1 << (Shift - 1) : 0;
    for (int32_t y = 0; y < Height; ++y, pSource += SourceStep, pTarget += TargetStep)
        for (int32_t x = 0; x < Width; ++x) {
            uint16_t Sample;
            std::memcpy(&Sample, pSource + ptrdiff_t{x} * 2, sizeof Sample);
            pTarget[x] = static_cast<uint8_t>(std::min((Sample + Half) >> Shift, 255));
        }
    return kStatusOk;
}

} // namespace kernels
