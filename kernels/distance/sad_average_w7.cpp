#include "kernels/distance/distance.h"

#include <emmintrin.h>

namespace kernels {

int32_t SadAverage16x16_w7(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pA, ptrdiff_t StepA,
                           const uint8_t* pB, ptrdiff_t StepB)
{
    const auto Load = [](const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); };
    __m128i Sum = _mm_setzero_si128();
    for (int y = 0; y < 16; ++y, pSrc += SrcStep, pA += StepA, pB += StepB)
        Sum = _mm_add_epi32(Sum, _mm_sad_epu8(Load(pSrc), _mm_avg_epu8(Load(pA), Load(pB))));
    return _mm_cvtsi128_si32(_mm_add_epi32(Sum, _mm_srli_si128(Sum, 8)));
}

} // namespace kernels
