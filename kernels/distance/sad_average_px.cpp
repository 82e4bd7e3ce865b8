#include "kernels/distance/distance.h"

#include <cstdlib>

namespace kernels {

namespace {

// Steps count samples.
template <class Sample>
int32_t SadAverage(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pA, ptrdiff_t StepA, const Sample* pB,
                   ptrdiff_t StepB)
{
    int32_t Sum = 0;
    for (int y = 0; y < 16; ++y, pSrc += SrcStep, pA += StepA, pB += StepB)
        for (int x = 0; x < 16; ++x) Sum += std::abs(pSrc[x] - ((pA[x] + pB[x] + 1) >> 1));
    return Sum;
}

} // namespace

int32_t SadAverage16x16_px(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pA, ptrdiff_t StepA,
                           const uint8_t* pB, ptrdiff_t StepB)
{
    return SadAverage(pSrc, SrcStep, pA, StepA, pB, StepB);
}

int32_t SadAverage16x16Deep_px(const uint16_t* pSrc, ptrdiff_t SrcStep, const uint16_t* pA, ptrdiff_t StepA,
                               const uint16_t* pB, ptrdiff_t StepB)
{
    return SadAverage(pSrc, SrcStep / 2, pA, StepA / 2, pB, StepB / 2);
}

} // namespace kernels
