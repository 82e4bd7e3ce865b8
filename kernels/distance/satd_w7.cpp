#include <cstring>
#include <emmintrin.h>

#include "kernels/distance/distance.h"
#include "kernels/distance/hadamard_4x4.h"
#include "kernels/distance/hadamard_8x8.h"
#include "kernels/sum_of_four.h"
#include "kernels/transpose_words.h"

namespace kernels {

namespace {

// The halved sum of magnitudes of a column: a value of 8-bit differences is at most 2 * 1020 before the last step.
constexpr int kMostHalved = 2 * 2040;

// Half the sum of magnitudes, spread over 8 words.
__m128i HalvedMagnitudes(const __m128i Row[4])
{
    const HalvedMagnitudes4x4 m = HadamardMagnitudes4x4(Row);
    return _mm_add_epi16(m.OfSums, m.OfDifferences);
}

__m128i Difference8(const uint8_t* pA, const uint8_t* pB)
{
    const __m128i Zero = _mm_setzero_si128();
    return _mm_sub_epi16(_mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(pA)), Zero),
                         _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(pB)), Zero));
}

__m128i Load4(const uint8_t* p)
{
    int Value;
    std::memcpy(&Value, p, sizeof Value);
    return _mm_unpacklo_epi8(_mm_cvtsi32_si128(Value), _mm_setzero_si128());
}

__m128i Difference4(const uint8_t* pA, const uint8_t* pB) { return _mm_sub_epi16(Load4(pA), Load4(pB)); }

__m128i Halved8x4(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    __m128i Row[4];
    for (int y = 0; y < 4; ++y) Row[y] = Difference8(pA + y * StepA, pB + y * StepB);
    return HalvedMagnitudes(Row);
}

int32_t TwiceTheSum(__m128i Words) { return SumOfFour(_mm_madd_epi16(Words, _mm_set1_epi16(2))); }

// Words take eight pairs of blocks, which is a 16x16 block.
static_assert(8 * kMostHalved <= INT16_MAX);

template <int Width, int Height>
int32_t Satd(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    __m128i Sum = _mm_setzero_si128();
    for (int y = 0; y < Height; y += 4, pA += 4 * StepA, pB += 4 * StepB)
        for (int x = 0; x < Width; x += 8) Sum = _mm_add_epi16(Sum, Halved8x4(pA + x, StepA, pB + x, StepB));
    return TwiceTheSum(Sum);
}

} // namespace

int32_t Satd16x16_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Satd<16, 16>(pA, StepA, pB, StepB);
}

int32_t Satd16x8_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Satd<16, 8>(pA, StepA, pB, StepB);
}

int32_t Satd8x16_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Satd<8, 16>(pA, StepA, pB, StepB);
}

int32_t Satd8x8_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Satd<8, 8>(pA, StepA, pB, StepB);
}

int32_t Satd8x4_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Satd<8, 4>(pA, StepA, pB, StepB);
}

int32_t Satd4x8_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    __m128i Row[4]; // the lower block beside the upper one
    for (int y = 0; y < 4; ++y)
        Row[y] = _mm_unpacklo_epi64(Difference4(pA + y * StepA, pB + y * StepB),
                                    Difference4(pA + (y + 4) * StepA, pB + (y + 4) * StepB));
    return TwiceTheSum(HalvedMagnitudes(Row));
}

int32_t Satd4x4_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    __m128i Row[4]; // beside a block of zeros
    for (int y = 0; y < 4; ++y) Row[y] = Difference4(pA + y * StepA, pB + y * StepB);
    return TwiceTheSum(HalvedMagnitudes(Row));
}

int32_t Satd8x8By8_w7(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    __m128i v[8];
    for (int y = 0; y < 8; ++y) v[y] = Difference8(pA + y * StepA, pB + y * StepB);
    HadamardStep8<1>(v);
    HadamardStep8<2>(v);
    HadamardStep8<4>(v);
    Transpose8(v);
    HadamardStep8<1>(v); // the last step needs no coefficients
    HadamardStep8<2>(v);
    static_assert(4 * (8 * 4 * 255) <= INT16_MAX); // four times what the last step finds
    __m128i Halved = LargerMagnitude(v[0], v[4]);
    for (int i = 1; i < 4; ++i) Halved = _mm_add_epi16(Halved, LargerMagnitude(v[i], v[i + 4]));
    return TwiceTheSum(Halved);
}

} // namespace kernels
