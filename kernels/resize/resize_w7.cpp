#include "kernels/resize/resize_passes.h"

#include <cstring>
#include <emmintrin.h>

namespace kernels {

static __m128i Load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
static __m128i LoadHalf(const void* p) { return _mm_loadl_epi64(static_cast<const __m128i*>(p)); }
static void Store(void* p, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }

static __m128i Load4(const uint8_t* p)
{
    int32_t Value;
    std::memcpy(&Value, p, sizeof Value);
    return _mm_cvtsi32_si128(Value);
}

static __m128i RoundRow(__m128i Sum) { return _mm_srai_epi32(_mm_add_epi32(Sum, _mm_set1_epi32(33)), 6); }

// Two outputs of one channel: the products of the first two taps and of the last two, for each.
static __m128i PairSums(const uint8_t* pRow, const Taps* pTaps)
{
    const __m128i Pixels = _mm_unpacklo_epi32(Load4(pRow + pTaps[0].First), Load4(pRow + pTaps[1].First));
    const __m128i Weights = _mm_unpacklo_epi64(LoadHalf(pTaps[0].Weight), LoadHalf(pTaps[1].Weight));
    return _mm_madd_epi16(_mm_unpacklo_epi8(Pixels, _mm_setzero_si128()), Weights);
}

static void RowPassC1(const uint8_t* pRow, const void* pTable, int32_t Width, int16_t* pOut)
{
    const auto* pTaps = static_cast<const Taps*>(pTable);
    for (int32_t x = 0; x < Width; x += 4, pTaps += 4, pOut += 4) {
        const __m128 a = _mm_castsi128_ps(PairSums(pRow, pTaps)), b = _mm_castsi128_ps(PairSums(pRow, pTaps + 2));
        const __m128i Sum = _mm_add_epi32(_mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0))),
                                          _mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1))));
        const __m128i Row = RoundRow(Sum);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(pOut), _mm_packs_epi32(Row, Row));
    }
}

// A pixel at a time; its four samples overlap the next pixel's, which is written later.
template <int Channels>
static void RowPass(const uint8_t* pRow, const void* pTable, int32_t Width, int16_t* pOut)
{
    const __m128i Zero = _mm_setzero_si128();
    const auto* pTaps = static_cast<const Taps*>(pTable);
    for (int32_t x = 0; x < Width; ++x, ++pTaps, pOut += Channels) {
        const __m128i Tap0 = Load(pRow + pTaps->First), Weight = LoadHalf(pTaps->Weight);
        const __m128i Tap1 = _mm_srli_si128(Tap0, Channels), Tap2 = _mm_srli_si128(Tap0, 2 * Channels),
                      Tap3 = _mm_srli_si128(Tap0, 3 * Channels);
        const __m128i Tap01 = _mm_unpacklo_epi8(_mm_unpacklo_epi8(Tap0, Tap1), Zero);
        const __m128i Tap23 = _mm_unpacklo_epi8(_mm_unpacklo_epi8(Tap2, Tap3), Zero);
        const __m128i Row =
            RoundRow(_mm_add_epi32(_mm_madd_epi16(Tap01, _mm_shuffle_epi32(Weight, _MM_SHUFFLE(0, 0, 0, 0))),
                                   _mm_madd_epi16(Tap23, _mm_shuffle_epi32(Weight, _MM_SHUFFLE(1, 1, 1, 1)))));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(pOut), _mm_packs_epi32(Row, Row));
    }
}

// (a * w + 0x4000) >> 15: twice the upper half of the product, and the two highest bits of the lower half rounded.
static __m128i RoundedProduct(__m128i a, __m128i w)
{
    const __m128i High = _mm_mulhi_epi16(a, w), Low = _mm_srli_epi16(_mm_mullo_epi16(a, w), 14);
    return _mm_add_epi16(_mm_add_epi16(High, High), _mm_avg_epu16(Low, _mm_setzero_si128()));
}

static void ColumnPass(const int16_t* const pRows[kTaps], const int16_t Weight[kTaps], int32_t Count, uint8_t* pOut)
{
    const __m128i w0 = _mm_set1_epi16(Weight[0]), w1 = _mm_set1_epi16(Weight[1]), w2 = _mm_set1_epi16(Weight[2]),
                  w3 = _mm_set1_epi16(Weight[3]), Round = _mm_set1_epi16(1 << (kProductBits - 1));
    const int16_t *p0 = pRows[0], *p1 = pRows[1], *p2 = pRows[2], *p3 = pRows[3];
    const auto Eight = [&](int32_t i) {
        const __m128i Outer = _mm_add_epi16(RoundedProduct(Load(p0 + i), w0), RoundedProduct(Load(p3 + i), w3));
        const __m128i Inner = _mm_add_epi16(RoundedProduct(Load(p1 + i), w1), RoundedProduct(Load(p2 + i), w2));
        return _mm_srai_epi16(_mm_add_epi16(_mm_add_epi16(Outer, Inner), Round), kProductBits);
    };
    int32_t i = 0;
    for (; i + 16 <= Count; i += 16) Store(pOut + i, _mm_packus_epi16(Eight(i), Eight(i + 8)));
    if (i < Count) {
        uint8_t Last[16];
        Store(Last, _mm_packus_epi16(Eight(i), Eight(i + 8)));
        std::memcpy(pOut + i, Last, static_cast<size_t>(Count - i));
    }
}

void ResizeAddRows_w7(const uint8_t* pFirst, int32_t FirstWeight, const uint8_t* pSecond, int32_t SecondWeight,
                      int32_t Count, uint32_t* pSum)
{
    const __m128i Zero = _mm_setzero_si128(), Weight = _mm_set1_epi32(FirstWeight | SecondWeight << 16);
    int32_t i = 0;
    for (; i + 16 <= Count; i += 16) {
        const __m128i a = Load(pFirst + i), b = Load(pSecond + i);
        const __m128i Lower = _mm_unpacklo_epi8(a, b), Upper = _mm_unpackhi_epi8(a, b);
        const __m128i Part[4]{_mm_unpacklo_epi8(Lower, Zero), _mm_unpackhi_epi8(Lower, Zero),
                              _mm_unpacklo_epi8(Upper, Zero), _mm_unpackhi_epi8(Upper, Zero)};
        for (int k = 0; k < 4; ++k)
            Store(pSum + i + 4 * k, _mm_add_epi32(Load(pSum + i + 4 * k), _mm_madd_epi16(Part[k], Weight)));
    }
    for (; i < Count; ++i) pSum[i] += static_cast<uint32_t>(pFirst[i] * FirstWeight + pSecond[i] * SecondWeight);
}

#define PASSES(Channels, RowPass)                                                                                      \
    constinit const ResizePasses kResizePassesC##Channels##_w7{Channels, TapTableBytes, PrepareTapTable,               \
                                                               RowPass,  ColumnPass,    ResizeAddRows_w7};
PASSES(1, RowPassC1)
PASSES(2, RowPass<2>)
PASSES(3, RowPass<3>)
PASSES(4, RowPass<4>)

} // namespace kernels
