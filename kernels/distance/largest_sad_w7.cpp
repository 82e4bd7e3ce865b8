#include "kernels/distance/distance.h"

#include <emmintrin.h>

namespace kernels {

// Two rows of eight samples as two rows of four side by side, so that each half of the register is one part's.
static __m128i TwoRows(const uint8_t* p, ptrdiff_t Step)
{
    return _mm_unpacklo_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)),
                              _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + Step)));
}

// The sums of two parts side by side.
static __m128i TwoParts(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return _mm_add_epi32(_mm_sad_epu8(TwoRows(pA, StepA), TwoRows(pB, StepB)),
                         _mm_sad_epu8(TwoRows(pA + 2 * StepA, StepA), TwoRows(pB + 2 * StepB, StepB)));
}

// The larger of the sums in both halves; they are at most 16 * 255 and compare as signed words.
static int32_t LargerHalf(__m128i v) { return _mm_cvtsi128_si32(_mm_max_epi16(v, _mm_srli_si128(v, 8))); }

int32_t LargestSad4x4Of16x16_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    __m128i Worst = _mm_setzero_si128();
    for (int y = 0; y < 16; y += 4, pA += 4 * StepA, pB += 4 * StepB)
        Worst =
            _mm_max_epi16(Worst, _mm_max_epi16(TwoParts(pA, StepA, pB, StepB), TwoParts(pA + 8, StepA, pB + 8, StepB)));
    return LargerHalf(Worst);
}

int32_t LargestSad4x4Of8x8_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return LargerHalf(
        _mm_max_epi16(TwoParts(pA, StepA, pB, StepB), TwoParts(pA + 4 * StepA, StepA, pB + 4 * StepB, StepB)));
}

} // namespace kernels
