#include <cstring>
#include <emmintrin.h>

#include "kernels/distance/distance.h"

namespace kernels {

static __m128i Load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

static __m128i Load4(const uint8_t* p)
{
    int Value;
    std::memcpy(&Value, p, sizeof Value);
    return _mm_cvtsi32_si128(Value);
}

// Two rows of 8 samples, four rows of 4.
static __m128i Load8x2(const uint8_t* p, ptrdiff_t Step)
{
    const __m128i First = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    return _mm_castpd_si128(_mm_loadh_pd(_mm_castsi128_pd(First), reinterpret_cast<const double*>(p + Step)));
}

static __m128i Load4x4(const uint8_t* p, ptrdiff_t Step)
{
    const __m128i Upper = _mm_unpacklo_epi32(Load4(p), Load4(p + Step));
    const __m128i Lower = _mm_unpacklo_epi32(Load4(p + 2 * Step), Load4(p + 3 * Step));
    return _mm_unpacklo_epi64(Upper, Lower);
}

// psadbw leaves a sum in each half.
static int32_t SumOfHalves(__m128i Sum) { return _mm_cvtsi128_si32(_mm_add_epi32(Sum, _mm_unpackhi_epi64(Sum, Sum))); }

template <int Height>
static int32_t Sad16(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    __m128i Sum = _mm_setzero_si128();
    for (int y = 0; y < Height; y += 4, pA += 4 * StepA, pB += 4 * StepB) {
        const __m128i s0 = _mm_sad_epu8(Load16(pA), Load16(pB));
        const __m128i s1 = _mm_sad_epu8(Load16(pA + StepA), Load16(pB + StepB));
        const __m128i s2 = _mm_sad_epu8(Load16(pA + 2 * StepA), Load16(pB + 2 * StepB));
        const __m128i s3 = _mm_sad_epu8(Load16(pA + 3 * StepA), Load16(pB + 3 * StepB));
        Sum = _mm_add_epi32(_mm_add_epi32(Sum, s0), _mm_add_epi32(s1, _mm_add_epi32(s2, s3)));
    }
    return SumOfHalves(Sum);
}

template <int Height>
static int32_t Sad8(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    __m128i Sum = _mm_setzero_si128();
    for (int y = 0; y < Height; y += 4, pA += 4 * StepA, pB += 4 * StepB) {
        const __m128i s0 = _mm_sad_epu8(Load8x2(pA, StepA), Load8x2(pB, StepB));
        const __m128i s1 = _mm_sad_epu8(Load8x2(pA + 2 * StepA, StepA), Load8x2(pB + 2 * StepB, StepB));
        Sum = _mm_add_epi32(Sum, _mm_add_epi32(s0, s1));
    }
    return SumOfHalves(Sum);
}

template <int Height>
static int32_t Sad4(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    __m128i Sum = _mm_setzero_si128();
    for (int y = 0; y < Height; y += 4, pA += 4 * StepA, pB += 4 * StepB)
        Sum = _mm_add_epi32(Sum, _mm_sad_epu8(Load4x4(pA, StepA), Load4x4(pB, StepB)));
    return SumOfHalves(Sum);
}

int32_t Sad16x16_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Sad16<16>(pA, StepA, pB, StepB);
}

int32_t Sad16x8_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Sad16<8>(pA, StepA, pB, StepB);
}

int32_t Sad8x16_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Sad8<16>(pA, StepA, pB, StepB);
}

int32_t Sad8x8_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Sad8<8>(pA, StepA, pB, StepB);
}

int32_t Sad8x4_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Sad8<4>(pA, StepA, pB, StepB);
}

int32_t Sad4x8_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Sad4<8>(pA, StepA, pB, StepB);
}

int32_t Sad4x4_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Sad4<4>(pA, StepA, pB, StepB);
}

void Sad16x16x4_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* const ppB[4], ptrdiff_t StepB, int32_t Sum[4])
{
    const uint8_t *p0 = ppB[0], *p1 = ppB[1], *p2 = ppB[2], *p3 = ppB[3];
    __m128i s0 = _mm_setzero_si128(), s1 = s0, s2 = s0, s3 = s0;
    // 16 rows make at most 16 * 8 * 255 in each half, which 16 bits hold. Saturating sums stay in the order written: of
    // plain ones the compiler makes trees that need more registers than there are.
    ptrdiff_t At = 0;                                 // one offset for all four
    constexpr int kTurn = sizeof(void*) == 8 ? 4 : 1; // rows; with eight registers more than one does not fit
    for (int y = 0; y < 16; y += kTurn)
        for (int k = 0; k < kTurn; ++k, pA += StepA, At += StepB) {
            const __m128i a = Load16(pA);
            s0 = _mm_adds_epu16(s0, _mm_sad_epu8(Load16(p0 + At), a));
            s1 = _mm_adds_epu16(s1, _mm_sad_epu8(Load16(p1 + At), a));
            s2 = _mm_adds_epu16(s2, _mm_sad_epu8(Load16(p2 + At), a));
            s3 = _mm_adds_epu16(s3, _mm_sad_epu8(Load16(p3 + At), a));
        }
    const __m128i s01 = _mm_add_epi32(_mm_unpacklo_epi64(s0, s1), _mm_unpackhi_epi64(s0, s1));
    const __m128i s23 = _mm_add_epi32(_mm_unpacklo_epi64(s2, s3), _mm_unpackhi_epi64(s2, s3));
    const __m128 All = _mm_shuffle_ps(_mm_castsi128_ps(s01), _mm_castsi128_ps(s23), _MM_SHUFFLE(2, 0, 2, 0));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(Sum), _mm_castps_si128(All));
}

static __m128i AbsoluteDifference(__m128i a, __m128i b)
{
    return _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a));
}

int32_t CountEdges16x16_w7(const uint8_t* pA, ptrdiff_t StepA, int Difference)
{
    if (Difference < 0) return 15 * 15; // every difference exceeds it
    if (Difference >= 255) return 0;
    const __m128i Limit = _mm_set1_epi8(static_cast<char>(Difference)), Zero = _mm_setzero_si128();
    __m128i Row = Load16(pA), Flat = Zero; // Flat counts down the rows without an edge, by column
    for (int y = 0; y < 15; ++y) {
        pA += StepA;
        const __m128i Below = Load16(pA);
        const __m128i Across = AbsoluteDifference(Row, _mm_srli_si128(Row, 1));
        const __m128i Largest = _mm_max_epu8(Across, AbsoluteDifference(Row, Below));
        Flat = _mm_add_epi8(Flat, _mm_cmpeq_epi8(_mm_subs_epu8(Largest, Limit), Zero));
        Row = Below;
    }
    Flat = _mm_slli_si128(_mm_sub_epi8(Zero, Flat), 1); // the last column has no neighbour
    return 15 * 15 - SumOfHalves(_mm_sad_epu8(Flat, Zero));
}

} // namespace kernels
