#include <cstring>
#include <emmintrin.h>

#include "kernels/intra/intra.h"
#include "kernels/sum_of_four.h"

namespace kernels {

namespace {

// Registers pass between these only where everything that touches them is one function.
#define INLINE [[gnu::always_inline]] static inline

INLINE __m128i Splat(int Byte) { return _mm_set1_epi8(static_cast<char>(Byte)); }
INLINE __m128i SplatFirst(__m128i v) { return Splat(_mm_cvtsi128_si32(v)); }

template <int N>
INLINE __m128i JoinAt(__m128i Upper, __m128i Lower)
{
    return _mm_or_si128(_mm_slli_si128(Upper, 16 - N), _mm_srli_si128(Lower, N));
}

template <int Size>
INLINE void SplitToTheEnd(__m128i v, __m128i& Even, __m128i& Odd)
{
    const __m128i EvenBytes = _mm_and_si128(v, _mm_set1_epi16(0xFF)), OddBytes = _mm_srli_epi16(v, 8);
    Even = _mm_slli_si128(_mm_packus_epi16(EvenBytes, EvenBytes), 16 - Size / 2);
    Odd = _mm_slli_si128(_mm_packus_epi16(OddBytes, OddBytes), 17 - Size / 2);
}

template <int Size>
INLINE __m128i Downwards(__m128i v, __m128i Last)
{
    __m128i Words = _mm_shufflelo_epi16(_mm_unpacklo_epi8(v, _mm_setzero_si128()), _MM_SHUFFLE(0, 1, 2, 3));
    if constexpr (Size == 8) {
        Words = _mm_shufflehi_epi16(Words, _MM_SHUFFLE(0, 1, 2, 3));
        Words = _mm_shuffle_epi32(Words, _MM_SHUFFLE(1, 0, 3, 2));
        return _mm_unpacklo_epi64(_mm_packus_epi16(Words, Words), Last);
    }
    return _mm_unpacklo_epi64(_mm_unpacklo_epi32(_mm_packus_epi16(Words, Words), Last), Last);
}

#include "kernels/intra/intra_lines.inc"

// ---- 16x16 and chroma --------------------------------------------------------------------------------------

// Four bytes, each over 4 places.
INLINE __m128i SpreadOver4(int Four)
{
    const __m128i v = _mm_cvtsi32_si128(Four), Pairs = _mm_unpacklo_epi8(v, v);
    return _mm_unpacklo_epi16(Pairs, Pairs);
}

// Four sums of four products each, of samples and signed weights.
INLINE __m128i SumsOfProducts(__m128i Samples, __m128i Weights)
{
    const __m128i Zero = _mm_setzero_si128(), Sign = _mm_cmpgt_epi8(Zero, Weights);
    return _mm_add_epi32(_mm_madd_epi16(_mm_unpacklo_epi8(Samples, Zero), _mm_unpacklo_epi8(Weights, Sign)),
                         _mm_madd_epi16(_mm_unpackhi_epi8(Samples, Zero), _mm_unpackhi_epi8(Weights, Sign)));
}

int SumOfBytes(__m128i v)
{
    const __m128i Sum = _mm_sad_epu8(v, _mm_setzero_si128());
    return _mm_cvtsi128_si32(_mm_add_epi32(Sum, _mm_unpackhi_epi64(Sum, Sum)));
}

// The sum over i of i * (sample i after the middle - sample i before it), from the samples around the middle with the
// middle one left out.
template <int Size>
INLINE int Slope(__m128i Samples)
{
    const __m128i Weights = Size == 16 ? _mm_setr_epi8(-8, -7, -6, -5, -4, -3, -2, -1, 1, 2, 3, 4, 5, 6, 7, 8)
                                       : _mm_setr_epi8(-4, -3, -2, -1, 1, 2, 3, 4, 0, 0, 0, 0, 0, 0, 0, 0);
    return SumOfFour(SumsOfProducts(Samples, Weights));
}

// 8.3.3.4 and 8.3.4.4. The plane stays in words: a is at most 16 * 510, and b and c, at most (34 * 10 * 255) / 64 for
// chroma and (5 * 36 * 255) / 64 for luma, count 4 and 8 times.
static_assert(16 * 510 + 2 * 8 * (5 * 36 * 255 / 64 + 1) + 16 <= INT16_MAX);
static_assert(16 * 510 + 2 * 4 * (34 * 10 * 255 / 64 + 1) + 16 <= INT16_MAX);

template <int Size>
INLINE void PredictPlane(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep)
{
    constexpr int kHalf = Size / 2, kScale = Size == 16 ? 5 : 34;
    const uint8_t* const pAbove = pAround - AroundStep;
    alignas(16) uint8_t Left[16] = {}; // from above-left down, the middle one left out
    for (int i = 0; i < kHalf; ++i) {
        Left[i] = pAround[(i - 1) * AroundStep - 1];
        Left[kHalf + i] = pAround[(kHalf + i) * AroundStep - 1];
    }
    uint8_t Above[16] = {};
    std::memcpy(Above, pAbove - 1, kHalf);
    std::memcpy(Above + kHalf, pAbove + kHalf, kHalf);
    const int b = (kScale * Slope<Size>(Load16(Above)) + 32) >> 6, c = (kScale * Slope<Size>(Load16(Left)) + 32) >> 6;
    const int First = 16 * (Left[Size - 1] + pAbove[Size - 1]) + 16 - (kHalf - 1) * (b + c);
    const __m128i Ramp = _mm_mullo_epi16(_mm_set1_epi16(static_cast<short>(b)), _mm_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7));
    const __m128i Down = _mm_set1_epi16(static_cast<short>(c));
    __m128i Row = _mm_add_epi16(_mm_set1_epi16(static_cast<short>(First)), Ramp);
    const __m128i Across8 = _mm_set1_epi16(static_cast<short>(8 * b));
    for (int y = 0; y < Size; ++y, pDst += DstStep) {
        const __m128i Lower = _mm_srai_epi16(Row, 5);
        const __m128i Upper = Size == 16 ? _mm_srai_epi16(_mm_add_epi16(Row, Across8), 5) : Lower;
        StoreRow<Size>(pDst, _mm_packus_epi16(Lower, Upper));
        Row = _mm_add_epi16(Row, Down);
    }
}

} // namespace

void Predict16x16Horizontal_w7(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictHorizontal<16>(pAround, AroundStep, pDst, DstStep);
}

void PredictChromaHorizontal_w7(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                                unsigned)
{
    PredictHorizontal<8>(pAround, AroundStep, pDst, DstStep);
}

void Predict16x16Dc_w7(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                       unsigned Available)
{
    int Sum = 0;
    if (Available & kTop) Sum = SumOfBytes(Load16(pAround - AroundStep));
    if (Available & kLeft)
        for (int y = 0; y < 16; ++y) Sum += pAround[y * AroundStep - 1];
    const unsigned Sides = Available & (kTop | kLeft);
    const int Value = Sides == (kTop | kLeft) ? (Sum + 16) >> 5 : Sides ? (Sum + 8) >> 4 : 128;
    StoreSame<16>(pDst, DstStep, Splat(Value));
}

void PredictChromaDc_w7(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                        unsigned Available)
{
    const bool Top = Available & kTop, Left = Available & kLeft;
    int Above[2] = {}, Beside[2] = {}; // sums of four
    if (Top) {
        const __m128i Halves = _mm_unpacklo_epi32(Load8(pAround - AroundStep), _mm_setzero_si128());
        const __m128i Sums = _mm_sad_epu8(Halves, _mm_setzero_si128());
        Above[0] = _mm_cvtsi128_si32(Sums);
        Above[1] = _mm_extract_epi16(Sums, 4);
    }
    if (Left)
        for (int y = 0; y < 8; ++y) Beside[y >> 2] += pAround[y * AroundStep - 1];
    int Dc[4]; // raster of the quarters
    if (Top && Left) {
        Dc[0] = (Above[0] + Beside[0] + 4) >> 3;
        Dc[1] = (Above[1] + 2) >> 2;
        Dc[2] = (Beside[1] + 2) >> 2;
        Dc[3] = (Above[1] + Beside[1] + 4) >> 3;
    } else if (Top || Left) {
        Dc[0] = ((Top ? Above[0] : Beside[0]) + 2) >> 2;
        Dc[1] = ((Top ? Above[1] : Beside[0]) + 2) >> 2;
        Dc[2] = ((Top ? Above[0] : Beside[1]) + 2) >> 2;
        Dc[3] = ((Top ? Above[1] : Beside[1]) + 2) >> 2;
    } else {
        Dc[0] = Dc[1] = Dc[2] = Dc[3] = 128;
    }
    const __m128i Rows = SpreadOver4(Dc[0] | Dc[1] << 8 | Dc[2] << 16 | Dc[3] << 24);
    for (int y = 0; y < 4; ++y) StoreRow<8>(pDst + y * DstStep, Rows);
    for (int y = 4; y < 8; ++y) StoreRow<8>(pDst + y * DstStep, _mm_unpackhi_epi64(Rows, Rows));
}

void Predict16x16Plane_w7(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictPlane<16>(pAround, AroundStep, pDst, DstStep);
}

void PredictChromaPlane_w7(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictPlane<8>(pAround, AroundStep, pDst, DstStep);
}

void PredictIntra4x4_w7(int Mode, const uint8_t* pAround, ptrdiff_t AroundStep, const uint8_t* pTopRight, uint8_t* pDst,
                        ptrdiff_t DstStep, unsigned Available)
{
    PredictIntra4x4(Mode, pAround, AroundStep, pTopRight, pDst, DstStep, Available);
}

void PredictIntra8x8_w7(int Mode, const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                        unsigned Available)
{
    PredictIntra8x8(Mode, pAround, AroundStep, pDst, DstStep, Available);
}

} // namespace kernels
