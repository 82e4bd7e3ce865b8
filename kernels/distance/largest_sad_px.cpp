#include "kernels/distance/distance.h"

#include <algorithm>
#include <cstdlib>

namespace kernels {

namespace {

// Steps count samples.
template <class Sample>
int32_t Largest(const Sample* pA, ptrdiff_t StepA, const Sample* pB, ptrdiff_t StepB, int Size)
{
    int32_t Worst = 0;
    for (int Top = 0; Top < Size; Top += 4)
        for (int Left = 0; Left < Size; Left += 4) {
            int32_t Sum = 0;
            for (int y = Top; y < Top + 4; ++y)
                for (int x = Left; x < Left + 4; ++x) Sum += std::abs(pA[y * StepA + x] - pB[y * StepB + x]);
            Worst = std::max(Worst, Sum);
        }
    return Worst;
}

} // namespace

int32_t LargestSad4x4Of16x16_px(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Largest(pA, StepA, pB, StepB, 16);
}

int32_t LargestSad4x4Of8x8_px(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Largest(pA, StepA, pB, StepB, 8);
}

int32_t LargestSad4x4Of16x16Deep_px(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)
{
    return Largest(pA, StepA / 2, pB, StepB / 2, 16);
}

int32_t LargestSad4x4Of8x8Deep_px(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)
{
    return Largest(pA, StepA / 2, pB, StepB / 2, 8);
}

} // namespace kernels
