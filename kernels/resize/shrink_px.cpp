#include "kernels/resize/resize.h"

namespace kernels {

namespace {

template <int Factor, int Channels>
int32_t Shrink(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep, int32_t Width,
               int32_t Height)
{
    if (!pSource || !pTarget) return kStatusNullPointer;
    if (Width <= 0 || Height <= 0) return kStatusSize;
    if (SourceStep <= 0 || TargetStep <= 0) return kStatusStep;
    constexpr int32_t Area = Factor * Factor;
    for (; Height > 0; --Height, pSource += Factor * SourceStep, pTarget += TargetStep)
        for (ptrdiff_t x = 0; x < Width; ++x)
            for (int c = 0; c < Channels; ++c) {
                int32_t Sum = Area / 2;
                for (int j = 0; j < Factor; ++j)
                    for (int i = 0; i < Factor; ++i) Sum += pSource[j * SourceStep + (x * Factor + i) * Channels + c];
                pTarget[x * Channels + c] = static_cast<uint8_t>(Sum / Area);
            }
    return kStatusOk;
}

} // namespace

#define SHRINK_ENTRY(Name, Factor, Channels)                                                                           \
    int32_t Name(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep, int32_t Width,  \
                 int32_t Height)                                                                                       \
    {                                                                                                                  \
        return Shrink<Factor, Channels>(pSource, SourceStep, pTarget, TargetStep, Width, Height);                      \
    }

SHRINK_ENTRY(Halve8uC1_px, 2, 1)
SHRINK_ENTRY(Halve8uC2_px, 2, 2)
SHRINK_ENTRY(Halve8uC3_px, 2, 3)
SHRINK_ENTRY(Halve8uC4_px, 2, 4)
SHRINK_ENTRY(Quarter8uC1_px, 4, 1)

} // namespace kernels
