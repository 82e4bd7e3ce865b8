#include "kernels/distance/distance.h"

#include <cstdlib>

namespace kernels {

int32_t SadAverage16x16_px(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pA, ptrdiff_t StepA,
                           const uint8_t* pB, ptrdiff_t StepB)
{
    int32_t Sum = 0;
    for (int y = 0; y < 16; ++y, pSrc += SrcStep, pA += StepA, pB += StepB)
        for (int x = 0; x < 16; ++x) Sum += std::abs(pSrc[x] - ((pA[x] + pB[x] + 1) >> 1));
    return Sum;
}

} // namespace kernels
