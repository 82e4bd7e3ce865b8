#include "kernels/deinterlace/deinterlace.h"

#include "kernels/memory/memory.h"

#include <algorithm>
#include <cstring>

namespace kernels {

int32_t DeinterlaceBlend_px(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                            int32_t Width, int32_t Height, int32_t CentreWeight, int32_t Layout)
{
    if (!pSource || !pTarget) return kStatusNullPointer;
    if (Width < 1 || Height < 3) return kStatusSize;
    const int32_t Centre = std::clamp(CentreWeight, 0, 256);
    const int32_t Side = (256 - Centre) >> 1;
    for (int32_t y = 0; y < Height; ++y, pSource += SourceStep, pTarget += TargetStep) {
        if (y == 0 && Layout == 1) {
            std::memcpy(pTarget, pSource, static_cast<size_t>(Width));
            continue;
        }
        const uint8_t* const pAbove = y ? pSource - SourceStep : pSource;
        const uint8_t* const pBelow = y < Height - 1 ? pSource + SourceStep : pSource;
        for (int32_t x = 0; x < Width; ++x)
            pTarget[x] = static_cast<uint8_t>(((pAbove[x] + pBelow[x]) * Side + pSource[x] * Centre) >> 8);
    }
    return kStatusOk;
}

} // namespace kernels
