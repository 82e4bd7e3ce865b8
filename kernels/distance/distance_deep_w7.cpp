// Distances of samples of 2 bytes, which hold 12 bits at most: differences, and sums of a few of them, fit words.
#include <emmintrin.h>
#include <initializer_list>

#include "kernels/distance/distance.h"
#include "kernels/distance/hadamard_4x4.h"
#include "kernels/sum_of_four.h"

namespace kernels {

namespace {

constexpr int kMostDifference = 4095;

__m128i Load8(const uint16_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
__m128i Load4(const uint16_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }

// Two rows of 4 samples; the step counts samples.
__m128i Load4x2(const uint16_t* p, ptrdiff_t Step) { return _mm_unpacklo_epi64(Load4(p), Load4(p + Step)); }

__m128i Distance(__m128i a, __m128i b) { return Magnitude(_mm_sub_epi16(a, b)); }

// Words in pairs, Times over.
template <short Times>
__m128i Widened(__m128i Words)
{
    return _mm_madd_epi16(Words, _mm_set1_epi16(Times));
}

// ---- Absolute differences ----------------------------------------------------------------------------------

// Words take eight distances before they are widened.
static_assert(8 * kMostDifference <= INT16_MAX);

// Four rows of 16 samples, eight of 8, four of 4.
__m128i Distances16x4(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)
{
    __m128i Sum = _mm_setzero_si128();
    for (int y = 0; y < 4; ++y, pA += StepA, pB += StepB)
        Sum = _mm_add_epi16(Sum, _mm_add_epi16(Distance(Load8(pA), Load8(pB)), Distance(Load8(pA + 8), Load8(pB + 8))));
    return Widened<1>(Sum);
}

template <int Rows>
__m128i Distances8(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)
{
    __m128i Sum = _mm_setzero_si128();
    for (int y = 0; y < Rows; ++y, pA += StepA, pB += StepB) Sum = _mm_add_epi16(Sum, Distance(Load8(pA), Load8(pB)));
    return Widened<1>(Sum);
}

template <int Rows>
__m128i Distances4(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)
{
    __m128i Sum = _mm_setzero_si128();
    for (int y = 0; y < Rows; y += 2, pA += 2 * StepA, pB += 2 * StepB)
        Sum = _mm_add_epi16(Sum, Distance(Load4x2(pA, StepA), Load4x2(pB, StepB)));
    return Widened<1>(Sum);
}

// Steps of the functions below count samples.
template <int Width, int Height>
int32_t Sad(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)
{
    if constexpr (Width == 4) return SumOfFour(Distances4<Height>(pA, StepA, pB, StepB));
    if constexpr (Width == 8 && Height <= 8) return SumOfFour(Distances8<Height>(pA, StepA, pB, StepB));
    constexpr int kRows = Width == 16 ? 4 : 8;
    __m128i Sum = _mm_setzero_si128();
    for (int y = 0; y < Height; y += kRows, pA += kRows * StepA, pB += kRows * StepB)
        Sum = _mm_add_epi32(Sum, Width == 16 ? Distances16x4(pA, StepA, pB, StepB)
                                             : Distances8<kRows>(pA, StepA, pB, StepB));
    return SumOfFour(Sum);
}

// ---- Hadamard transforms -----------------------------------------------------------------------------------

static_assert(8 * kMostDifference <= INT16_MAX);

// The sum of magnitudes of both blocks, spread over 4 values.
__m128i Magnitudes(const __m128i Row[4])
{
    const HalvedMagnitudes4x4 m = HadamardMagnitudes4x4(Row);
    return _mm_add_epi32(Widened<2>(m.OfSums), Widened<2>(m.OfDifferences));
}

__m128i Magnitudes8x4(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)
{
    __m128i Row[4];
    for (int y = 0; y < 4; ++y) Row[y] = _mm_sub_epi16(Load8(pA + y * StepA), Load8(pB + y * StepB));
    return Magnitudes(Row);
}

// The lower of two blocks beside the upper one, or a block alone beside one of zeros.
template <int Height>
__m128i Magnitudes4(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)
{
    __m128i Row[4];
    for (int y = 0; y < 4; ++y, pA += StepA, pB += StepB)
        Row[y] = Height == 4 ? _mm_sub_epi16(Load4(pA), Load4(pB))
                             : _mm_sub_epi16(Load4x2(pA, 4 * StepA), Load4x2(pB, 4 * StepB));
    return Magnitudes(Row);
}

template <int Width, int Height>
int32_t Satd(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)
{
    if constexpr (Width == 4) return SumOfFour(Magnitudes4<Height>(pA, StepA, pB, StepB));
    __m128i Sum = _mm_setzero_si128();
    for (int y = 0; y < Height; y += 4, pA += 4 * StepA, pB += 4 * StepB)
        for (int x = 0; x < Width; x += 8) Sum = _mm_add_epi32(Sum, Magnitudes8x4(pA + x, StepA, pB + x, StepB));
    return SumOfFour(Sum);
}

// ---- The worst part ----------------------------------------------------------------------------------------

__m128i Larger(__m128i a, __m128i b)
{
    const __m128i First = _mm_cmpgt_epi32(a, b);
    return _mm_or_si128(_mm_and_si128(First, a), _mm_andnot_si128(First, b));
}

// The largest distance of a 4x4 part of Size x Size.
template <int Size>
int32_t Largest(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)
{
    __m128i Worst = _mm_setzero_si128();
    for (int y = 0; y < Size; y += 4, pA += 4 * StepA, pB += 4 * StepB)
        for (int x = 0; x < Size; x += 8) {
            const __m128i Pairs = Distances8<4>(pA + x, StepA, pB + x, StepB); // of columns
            Worst = Larger(Worst, _mm_add_epi32(Pairs, _mm_shuffle_epi32(Pairs, 0xB1)));
        }
    return _mm_cvtsi128_si32(Larger(Worst, _mm_unpackhi_epi64(Worst, Worst)));
}

// ---- Edges -------------------------------------------------------------------------------------------------

// 1 is taken off where samples differ by more than Limit from those beside or below them.
__m128i Edges(__m128i Row, __m128i Beside, __m128i Below, __m128i Limit)
{
    return _mm_cmpgt_epi16(_mm_max_epi16(Distance(Row, Beside), Distance(Row, Below)), Limit);
}

} // namespace

#define DISTANCE(Width, Height)                                                                                        \
    int32_t Sad##Width##x##Height##Deep_w7(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)   \
    {                                                                                                                  \
        return Sad<Width, Height>(pA, StepA / 2, pB, StepB / 2);                                                       \
    }                                                                                                                  \
    int32_t Satd##Width##x##Height##Deep_w7(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)  \
    {                                                                                                                  \
        return Satd<Width, Height>(pA, StepA / 2, pB, StepB / 2);                                                      \
    }
DISTANCE(16, 16)
DISTANCE(16, 8)
DISTANCE(8, 16)
DISTANCE(8, 8)
DISTANCE(8, 4)
DISTANCE(4, 8)
DISTANCE(4, 4)
#undef DISTANCE

int32_t LargestSad4x4Of16x16Deep_w7(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)
{
    return Largest<16>(pA, StepA / 2, pB, StepB / 2);
}

int32_t LargestSad4x4Of8x8Deep_w7(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)
{
    return Largest<8>(pA, StepA / 2, pB, StepB / 2);
}

void Sad16x16x4Deep_w7(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* const ppB[4], ptrdiff_t StepB,
                       int32_t Sum[4])
{
    __m128i All[4]{};
    for (int y = 0; y < 16; y += 4) {
        __m128i Words[4]{};
        for (int k = y; k < y + 4; ++k, pA += StepA / 2) {
            const __m128i Left = Load8(pA), Right = Load8(pA + 8);
            for (int i = 0; i < 4; ++i) {
                const uint16_t* const pB = ppB[i] + k * (StepB / 2);
                const __m128i Row = _mm_add_epi16(Distance(Left, Load8(pB)), Distance(Right, Load8(pB + 8)));
                Words[i] = _mm_add_epi16(Words[i], Row);
            }
        }
        for (int i = 0; i < 4; ++i) All[i] = _mm_add_epi32(All[i], Widened<1>(Words[i]));
    }
    for (int i = 0; i < 4; ++i) Sum[i] = SumOfFour(All[i]);
}

int32_t SadAverage16x16Deep_w7(const uint16_t* pSrc, ptrdiff_t SrcStep, const uint16_t* pA, ptrdiff_t StepA,
                               const uint16_t* pB, ptrdiff_t StepB)
{
    __m128i All = _mm_setzero_si128();
    for (int y = 0; y < 16; y += 4) {
        __m128i Sum = _mm_setzero_si128();
        for (int k = 0; k < 4; ++k, pSrc += SrcStep / 2, pA += StepA / 2, pB += StepB / 2)
            for (const int x : {0, 8})
                Sum = _mm_add_epi16(Sum, Distance(Load8(pSrc + x), _mm_avg_epu16(Load8(pA + x), Load8(pB + x))));
        All = _mm_add_epi32(All, Widened<1>(Sum));
    }
    return SumOfFour(All);
}

int32_t CountEdges16x16Deep_w7(const uint16_t* pA, ptrdiff_t StepA, int Difference)
{
    if (Difference < 0) return 15 * 15; // every difference exceeds it
    if (Difference >= kMostDifference) return 0;
    const __m128i Limit = _mm_set1_epi16(static_cast<short>(Difference));
    __m128i Left = Load8(pA), Right = Load8(pA + 8), Count = _mm_setzero_si128(),
            RightCount = Count; // by column, below 0
    for (int y = 0; y < 15; ++y) {
        const __m128i Beside = Load8(pA + 1);
        pA += StepA / 2;
        const __m128i LeftBelow = Load8(pA), RightBelow = Load8(pA + 8);
        Count = _mm_add_epi16(Count, Edges(Left, Beside, LeftBelow, Limit));
        RightCount = _mm_add_epi16(RightCount, Edges(Right, _mm_srli_si128(Right, 2), RightBelow, Limit));
        Left = LeftBelow;
        Right = RightBelow;
    }
    Count = _mm_add_epi16(Count, _mm_slli_si128(RightCount, 2)); // the last column has no neighbour
    return SumOfFour(Widened<-1>(Count));
}

} // namespace kernels
