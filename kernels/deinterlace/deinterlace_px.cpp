#include "kernels/deinterlace/deinterlace_blend.h"

#include <algorithm>
#include <cstring>

namespace kernels {

namespace {

bool IsFiltered(int32_t y, int32_t Layout)
{
    switch (Layout) {
    case kFilterAllButFirst: return y > 0;
    case kFilterOdd: return y % 2 != 0;
    case kFilterEven: return y % 2 == 0;
    default: return true;
    }
}

void BlendRow(const uint8_t* pAbove, const uint8_t* pMiddle, const uint8_t* pBelow, uint8_t* pTarget, int32_t Width,
              int32_t Side, int32_t Centre)
{
    for (int32_t x = 0; x < Width; ++x)
        pTarget[x] = static_cast<uint8_t>(((pAbove[x] + pBelow[x]) * Side + pMiddle[x] * Centre) >> 8);
}

} // namespace

int32_t DeinterlaceRows(BlendRowSig* pBlendRow, const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget,
                        ptrdiff_t TargetStep, int32_t Width, int32_t Height, int32_t CentreWeight, int32_t Layout)
{
    if (!pSource || !pTarget) return kStatusNullPointer;
    if (Width < 1 || Height < 3) return kStatusSize;
    if (SourceStep <= 0 || TargetStep <= 0) return kStatusStep;
    const int32_t Centre = std::clamp(CentreWeight, 0, 256);
    const int32_t Side = (256 - Centre) >> 1;
    for (int32_t y = 0; y < Height; ++y, pSource += SourceStep, pTarget += TargetStep) {
        if (!IsFiltered(y, Layout)) {
            std::memcpy(pTarget, pSource, static_cast<size_t>(Width));
            continue;
        }
        const ptrdiff_t Above = y ? -SourceStep : SourceStep, Below = y < Height - 1 ? SourceStep : -SourceStep;
        pBlendRow(pSource + Above, pSource, pSource + Below, pTarget, Width, Side, Centre);
    }
    return kStatusOk;
}

int32_t DeinterlaceBlend_px(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                            int32_t Width, int32_t Height, int32_t CentreWeight, int32_t Layout)
{
    return DeinterlaceRows(BlendRow, pSource, SourceStep, pTarget, TargetStep, Width, Height, CentreWeight, Layout);
}

} // namespace kernels
