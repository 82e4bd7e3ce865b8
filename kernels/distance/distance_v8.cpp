#include <cstring>
#include <tmmintrin.h>

#include "kernels/distance/distance.h"
#include "kernels/sum_of_four.h"

namespace kernels {

// The Hadamard transform of 4x4 differences in three steps: sums and differences of neighbouring columns, which
// pmaddubsw gives at once, the four rows, and the last step across. For that one |x + y| + |x - y| = 2 max(|x|, |y|):
// each value is compared with the one it would meet, and as both of them give the same maximum, their sum is the
// doubled one.
//
// Values: 2 * 255 after the first step, 4 * 510 = 2040 after the second.

static __m128i LastStepMagnitudes(__m128i v)
{
    const __m128i SwapPairs = _mm_setr_epi8(2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13);
    v = _mm_abs_epi16(v);
    return _mm_max_epi16(v, _mm_shuffle_epi8(v, SwapPairs));
}

// 8 samples twice: their pairs are added in the lower half and subtracted in the upper one.
static __m128i FirstStep(__m128i Doubled)
{
    return _mm_maddubs_epi16(Doubled, _mm_setr_epi8(1, 1, 1, 1, 1, 1, 1, 1, 1, -1, 1, -1, 1, -1, 1, -1));
}

static __m128i Load8Twice(const uint8_t* p)
{
    double Eight; // moved as they stand, by one movddup
    std::memcpy(&Eight, p, sizeof Eight);
    return _mm_castpd_si128(_mm_set1_pd(Eight));
}

static __m128i RowDifference(const uint8_t* pA, const uint8_t* pB)
{
    return _mm_sub_epi16(FirstStep(Load8Twice(pA)), FirstStep(Load8Twice(pB)));
}

// Magnitudes of two 4x4 blocks side by side; a value is at most 4 * 2040.
static __m128i Magnitudes8x4(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    const __m128i r0 = RowDifference(pA, pB), r1 = RowDifference(pA + StepA, pB + StepB);
    const __m128i r2 = RowDifference(pA + 2 * StepA, pB + 2 * StepB);
    const __m128i r3 = RowDifference(pA + 3 * StepA, pB + 3 * StepB);
    const __m128i s01 = _mm_add_epi16(r0, r1), d01 = _mm_sub_epi16(r0, r1);
    const __m128i s23 = _mm_add_epi16(r2, r3), d23 = _mm_sub_epi16(r2, r3);
    const __m128i Sums =
        _mm_add_epi16(LastStepMagnitudes(_mm_add_epi16(s01, s23)), LastStepMagnitudes(_mm_sub_epi16(s01, s23)));
    const __m128i Differences =
        _mm_add_epi16(LastStepMagnitudes(_mm_add_epi16(d01, d23)), LastStepMagnitudes(_mm_sub_epi16(d01, d23)));
    return _mm_add_epi16(Sums, Differences);
}

// Words take four pairs of blocks before they are widened.
static_assert(4 * 4 * 2040 <= INT16_MAX);

static __m128i Widen(__m128i Words) { return _mm_madd_epi16(Words, _mm_set1_epi16(1)); }

template <int Height>
static int32_t Satd8(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    __m128i Sum = _mm_setzero_si128();
    for (int y = 0; y < Height; y += 4, pA += 4 * StepA, pB += 4 * StepB)
        Sum = _mm_add_epi16(Sum, Magnitudes8x4(pA, StepA, pB, StepB));
    return SumOfFour(Widen(Sum));
}

template <int Height>
static int32_t Satd16(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    __m128i Sum = _mm_setzero_si128();
    for (int y = 0; y < Height; y += 4, pA += 4 * StepA, pB += 4 * StepB)
        Sum = _mm_add_epi32(Sum, Widen(_mm_add_epi16(Magnitudes8x4(pA, StepA, pB, StepB),
                                                     Magnitudes8x4(pA + 8, StepA, pB + 8, StepB))));
    return SumOfFour(Sum);
}

// Two rows of 4 samples, then the same again.
static __m128i Load4x2Twice(const uint8_t* p, ptrdiff_t Step)
{
    int32_t Rows[2];
    std::memcpy(&Rows[0], p, 4);
    std::memcpy(&Rows[1], p + Step, 4);
    const __m128i Both = _mm_unpacklo_epi32(_mm_cvtsi32_si128(Rows[0]), _mm_cvtsi32_si128(Rows[1]));
    return _mm_unpacklo_epi64(Both, Both);
}

static __m128i Magnitudes4x4(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    const __m128i r01 = _mm_sub_epi16(FirstStep(Load4x2Twice(pA, StepA)), FirstStep(Load4x2Twice(pB, StepB)));
    pA += 2 * StepA;
    pB += 2 * StepB;
    const __m128i r23 = _mm_sub_epi16(FirstStep(Load4x2Twice(pA, StepA)), FirstStep(Load4x2Twice(pB, StepB)));
    const __m128 Sum = _mm_castsi128_ps(_mm_add_epi16(r01, r23));
    const __m128 Difference = _mm_castsi128_ps(_mm_sub_epi16(r01, r23));
    const __m128i Even = _mm_castps_si128(_mm_shuffle_ps(Sum, Difference, _MM_SHUFFLE(2, 0, 2, 0)));
    const __m128i Odd = _mm_castps_si128(_mm_shuffle_ps(Sum, Difference, _MM_SHUFFLE(3, 1, 3, 1)));
    return _mm_add_epi16(LastStepMagnitudes(_mm_add_epi16(Even, Odd)), LastStepMagnitudes(_mm_sub_epi16(Even, Odd)));
}

int32_t Satd16x16_v8(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Satd16<16>(pA, StepA, pB, StepB);
}

int32_t Satd16x8_v8(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Satd16<8>(pA, StepA, pB, StepB);
}

int32_t Satd8x16_v8(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Satd8<16>(pA, StepA, pB, StepB);
}

int32_t Satd8x8_v8(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Satd8<8>(pA, StepA, pB, StepB);
}

int32_t Satd8x4_v8(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Satd8<4>(pA, StepA, pB, StepB);
}

int32_t Satd4x8_v8(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    const __m128i Upper = Magnitudes4x4(pA, StepA, pB, StepB);
    const __m128i Lower = Magnitudes4x4(pA + 4 * StepA, StepA, pB + 4 * StepB, StepB);
    return SumOfFour(Widen(_mm_add_epi16(Upper, Lower)));
}

int32_t Satd4x4_v8(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return SumOfFour(Widen(Magnitudes4x4(pA, StepA, pB, StepB)));
}

} // namespace kernels
