// The 8x8 Hadamard distance of samples of 2 bytes, which hold 12 bits at most.
#include <emmintrin.h>
#include <initializer_list>

#include "kernels/distance/distance.h"
#include "kernels/distance/hadamard_4x4.h"
#include "kernels/distance/hadamard_8x8.h"
#include "kernels/sum_of_four.h"
#include "kernels/transpose_words.h"

namespace kernels {

namespace {

#define INLINE [[gnu::always_inline]] static inline

INLINE __m128i Difference8(const uint16_t* pA, const uint16_t* pB)
{
    return _mm_sub_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pA)),
                         _mm_loadu_si128(reinterpret_cast<const __m128i*>(pB)));
}

// The first pass fits words at any depth, and the second all but its last step where the differences are those of 10
// bits.
constexpr int kMostNarrow = 1023;
static_assert(8 * 4095 <= INT16_MAX && 8 * 4 * kMostNarrow <= INT16_MAX);

INLINE bool AreNarrow(const __m128i v[8])
{
    __m128i Largest = v[0], Least = v[0];
    for (int i = 1; i < 8; ++i) {
        Largest = _mm_max_epi16(Largest, v[i]);
        Least = _mm_min_epi16(Least, v[i]);
    }
    const __m128i Above = _mm_cmpgt_epi16(Largest, _mm_set1_epi16(kMostNarrow));
    return _mm_movemask_epi8(_mm_or_si128(Above, _mm_cmplt_epi16(Least, _mm_set1_epi16(-kMostNarrow)))) == 0;
}

// The pass across eight rows of words. The last step needs no coefficients: |x + y| + |x - y| = 2 max(|x|, |y|).
INLINE __m128i AcrossWords(__m128i v[8])
{
    Transpose8(v);
    HadamardStep8<1>(v);
    HadamardStep8<2>(v);
    __m128i Twice = _mm_setzero_si128();
    for (int i = 0; i < 4; ++i)
        Twice = _mm_add_epi32(Twice, _mm_madd_epi16(LargerMagnitude(v[i], v[i + 4]), _mm_set1_epi16(2)));
    return Twice;
}

INLINE __m128i MagnitudeOfFour(__m128i v)
{
    const __m128i Sign = _mm_srai_epi32(v, 31);
    return _mm_sub_epi32(_mm_xor_si128(v, Sign), Sign);
}

// What is left of the pass across four rows of four values of 32 bits.
INLINE __m128i AcrossFour(__m128i a, __m128i b, __m128i c, __m128i d)
{
    const __m128i ab = _mm_unpacklo_epi32(a, b), AB = _mm_unpackhi_epi32(a, b);
    const __m128i cd = _mm_unpacklo_epi32(c, d), CD = _mm_unpackhi_epi32(c, d);
    const __m128i c0 = _mm_unpacklo_epi64(ab, cd), c1 = _mm_unpackhi_epi64(ab, cd);
    const __m128i c2 = _mm_unpacklo_epi64(AB, CD), c3 = _mm_unpackhi_epi64(AB, CD);
    const __m128i s01 = _mm_add_epi32(c0, c1), d01 = _mm_sub_epi32(c0, c1);
    const __m128i s23 = _mm_add_epi32(c2, c3), d23 = _mm_sub_epi32(c2, c3);
    return _mm_add_epi32(
        _mm_add_epi32(MagnitudeOfFour(_mm_add_epi32(s01, s23)), MagnitudeOfFour(_mm_sub_epi32(s01, s23))),
        _mm_add_epi32(MagnitudeOfFour(_mm_add_epi32(d01, d23)), MagnitudeOfFour(_mm_sub_epi32(d01, d23))));
}

// The same pass in 32 bits: its first step widens.
INLINE __m128i AcrossWide(const __m128i v[8])
{
    __m128i Sum = _mm_setzero_si128();
    for (const __m128i Join : {_mm_set1_epi16(1), _mm_set1_epi32(static_cast<int>(0xFFFF0001))})
        for (int i = 0; i < 8; i += 4)
            Sum = _mm_add_epi32(Sum, AcrossFour(_mm_madd_epi16(v[i], Join), _mm_madd_epi16(v[i + 1], Join),
                                                _mm_madd_epi16(v[i + 2], Join), _mm_madd_epi16(v[i + 3], Join)));
    return Sum;
}

} // namespace

int32_t Satd8x8By8Deep_w7(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)
{
    __m128i v[8];
    for (int y = 0; y < 8; ++y) v[y] = Difference8(pA + y * (StepA / 2), pB + y * (StepB / 2));
    const bool InWords = AreNarrow(v);
    HadamardStep8<1>(v);
    HadamardStep8<2>(v);
    HadamardStep8<4>(v);
    return SumOfFour(InWords ? AcrossWords(v) : AcrossWide(v));
}

} // namespace kernels
