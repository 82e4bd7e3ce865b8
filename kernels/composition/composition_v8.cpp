#include <tmmintrin.h>

#include "kernels/composition/composition.h"

namespace kernels {

static __m128i Load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// The division by 255 is (t + (t >> 8)) >> 8 with t = n + 128, exact up to 255 * 255. Sums beyond that saturate, and
// the result is 255 for all of them.
static __m128i Blend(__m128i First, __m128i FirstAlpha, __m128i Second, __m128i SecondAlpha)
{
    const __m128i Sum = _mm_adds_epu16(_mm_mullo_epi16(First, FirstAlpha), _mm_mullo_epi16(Second, SecondAlpha));
    const __m128i t = _mm_adds_epu16(Sum, _mm_set1_epi16(128));
    return _mm_srli_epi16(_mm_adds_epu16(t, _mm_srli_epi16(t, 8)), 8);
}

int32_t AlphaComp8uAC4_v8(const uint8_t* pFirst, ptrdiff_t FirstStep, const uint8_t* pSecond, ptrdiff_t SecondStep,
                          uint8_t* pTarget, ptrdiff_t TargetStep, int32_t Width, int32_t Height, int32_t Type)
{
    // px takes the pixels beside the last four whole ones, and the calls to refuse.
    const ptrdiff_t Whole = Width & ~3;
    if (!pFirst || !pSecond || !pTarget || Whole <= 0 || Height <= 0 || FirstStep <= 0 || SecondStep <= 0 ||
        TargetStep <= 0 || Type != kAlphaPlus)
        return AlphaComp8uAC4_px(pFirst, FirstStep, pSecond, SecondStep, pTarget, TargetStep, Width, Height, Type);
    if (Width > Whole)
        AlphaComp8uAC4_px(pFirst + 4 * Whole, FirstStep, pSecond + 4 * Whole, SecondStep, pTarget + 4 * Whole,
                          TargetStep, Width & 3, Height, Type);
    const __m128i Zero = _mm_setzero_si128(), Alpha = _mm_set1_epi32(static_cast<int>(0xFF000000u));
    // The alpha of each of two pixels, in each of four 16-bit channels.
    const __m128i LowAlphas = _mm_setr_epi8(3, -1, 3, -1, 3, -1, 3, -1, 7, -1, 7, -1, 7, -1, 7, -1);
    const __m128i HighAlphas = _mm_setr_epi8(11, -1, 11, -1, 11, -1, 11, -1, 15, -1, 15, -1, 15, -1, 15, -1);
    for (int32_t y = 0; y < Height; ++y, pFirst += FirstStep, pSecond += SecondStep, pTarget += TargetStep)
        for (ptrdiff_t x = 0; x < 4 * Whole; x += 16) {
            const __m128i a = Load(pFirst + x), b = Load(pSecond + x);
            const __m128i Low = Blend(_mm_unpacklo_epi8(a, Zero), _mm_shuffle_epi8(a, LowAlphas),
                                      _mm_unpacklo_epi8(b, Zero), _mm_shuffle_epi8(b, LowAlphas));
            const __m128i High = Blend(_mm_unpackhi_epi8(a, Zero), _mm_shuffle_epi8(a, HighAlphas),
                                       _mm_unpackhi_epi8(b, Zero), _mm_shuffle_epi8(b, HighAlphas));
            const __m128i Colours = _mm_andnot_si128(Alpha, _mm_packus_epi16(Low, High));
            const __m128i Alphas = _mm_and_si128(Alpha, _mm_adds_epu8(a, b));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(pTarget + x), _mm_or_si128(Colours, Alphas));
        }
    return kStatusOk;
}

} // namespace kernels
