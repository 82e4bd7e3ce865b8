#include "kernels/composition/composition.h"

#include <algorithm>

namespace kernels {
namespace {

void AddPixel(const uint8_t* pFirst, const uint8_t* pSecond, uint8_t* pTarget)
{
    const int32_t FirstAlpha = pFirst[3], SecondAlpha = pSecond[3];
    for (int c = 0; c < 3; ++c) {
        const int32_t Sum = pFirst[c] * FirstAlpha + pSecond[c] * SecondAlpha;
        pTarget[c] = static_cast<uint8_t>(std::min((Sum + 127) / 255, 255));
    }
    pTarget[3] = static_cast<uint8_t>(std::min(FirstAlpha + SecondAlpha, 255));
}

} // namespace

int32_t AlphaComp8uAC4_px(const uint8_t* pFirst, ptrdiff_t FirstStep, const uint8_t* pSecond, ptrdiff_t SecondStep,
                          uint8_t* pTarget, ptrdiff_t TargetStep, int32_t Width, int32_t Height, int32_t Type)
{
    if (!pFirst || !pSecond || !pTarget) return kStatusNullPointer;
    if (Width <= 0 || Height <= 0) return kStatusSize;
    if (FirstStep <= 0 || SecondStep <= 0 || TargetStep <= 0) return kStatusStep;
    if (Type != kAlphaPlus) return kStatusMode;
    for (int32_t y = 0; y < Height; ++y, pFirst += FirstStep, pSecond += SecondStep, pTarget += TargetStep)
        for (ptrdiff_t x = 0; x < Width; ++x) AddPixel(pFirst + 4 * x, pSecond + 4 * x, pTarget + 4 * x);
    return kStatusOk;
}

} // namespace kernels
