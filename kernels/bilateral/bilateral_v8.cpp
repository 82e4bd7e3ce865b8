#include <cstring>
#include <tmmintrin.h>

#include "kernels/bilateral/bilateral.h"
#include "kernels/bilateral/bilateral_context.h"

#define INLINE [[gnu::always_inline]] static inline

namespace kernels {

// The narrow weights, 16 samples at a time. The ring holds the samples less 128, so that a saturating difference of
// signed bytes is right up to 127, and its magnitude looks the weight up by shuffles of 16-byte runs. Magnitudes of 63
// and more have no weight. The high and low parts of the weights go through the sums apart.

static __m128i Load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
static __m128i LoadRun(const uint8_t* p) { return _mm_load_si128(reinterpret_cast<const __m128i*>(p)); }

struct TapWeights {
    __m128i Difference, High, Low;
};

// A shuffle gives 0 where the index is negative, so that a difference takes part in the runs up to its own. The index
// goes down from run to run by saturating subtractions: plain ones the compiler would merge into three sums with
// constants, which take more registers than there are.
INLINE TapWeights Weigh(const uint8_t* pSamples, __m128i Centre, const BilateralTapTable& Table)
{
    const __m128i Sixteen = _mm_set1_epi8(16);
    const __m128i Difference = _mm_subs_epi8(Load(pSamples), Centre);
    __m128i Index = _mm_min_epu8(_mm_abs_epi8(Difference), _mm_set1_epi8(63));
    __m128i High = _mm_shuffle_epi8(LoadRun(Table.High[0]), Index);
    __m128i Low = _mm_shuffle_epi8(LoadRun(Table.Low[0]), Index);
    for (int k = 1; k < 4; ++k) {
        Index = _mm_subs_epi8(Index, Sixteen);
        High = _mm_xor_si128(High, _mm_shuffle_epi8(LoadRun(Table.High[k]), Index));
        Low = _mm_xor_si128(Low, _mm_shuffle_epi8(LoadRun(Table.Low[k]), Index));
    }
    return {Difference, High, Low};
}

// What up to four pairs of taps add up to for 16 samples: words of the first and last eight, for the products; bytes of
// the first and last two pairs, for the weights.
struct Sums {
    __m128i HighProducts[2], LowProducts[2];
    __m128i HighWeights[2], LowWeights[2];
};
static_assert(8 * 63 * kNarrowReach <= INT16_MAX && 4 * 63 <= UINT8_MAX);

INLINE void AddPair(const TapWeights& a, const TapWeights& b, int Half, Sums* pSums)
{
    pSums->HighWeights[Half] = _mm_add_epi8(pSums->HighWeights[Half], _mm_add_epi8(a.High, b.High));
    pSums->LowWeights[Half] = _mm_add_epi8(pSums->LowWeights[Half], _mm_add_epi8(a.Low, b.Low));
    const __m128i First = _mm_unpacklo_epi8(a.Difference, b.Difference);
    const __m128i Last = _mm_unpackhi_epi8(a.Difference, b.Difference);
    const auto AddProducts = [&](__m128i WeightA, __m128i WeightB, __m128i* pProducts) {
        pProducts[0] = _mm_add_epi16(pProducts[0], _mm_maddubs_epi16(_mm_unpacklo_epi8(WeightA, WeightB), First));
        pProducts[1] = _mm_add_epi16(pProducts[1], _mm_maddubs_epi16(_mm_unpackhi_epi8(WeightA, WeightB), Last));
    };
    AddProducts(a.High, b.High, pSums->HighProducts);
    AddProducts(a.Low, b.Low, pSums->LowProducts);
}

// Both parts joined, added to the totals of four samples after four.
INLINE void AddJoined(const __m128i High[2], const __m128i Low[2], __m128i pTotals[4])
{
    const __m128i Scales = _mm_set1_epi32((1 << 16) + (1 << kNarrowLowBits));
    for (int i = 0; i < 2; ++i) {
        const __m128i First = _mm_madd_epi16(_mm_unpacklo_epi16(High[i], Low[i]), Scales);
        const __m128i Last = _mm_madd_epi16(_mm_unpackhi_epi16(High[i], Low[i]), Scales);
        pTotals[2 * i] = _mm_add_epi32(pTotals[2 * i], First);
        pTotals[2 * i + 1] = _mm_add_epi32(pTotals[2 * i + 1], Last);
    }
}

INLINE void AddSums(const Sums& s, __m128i pProducts[4], __m128i pWeights[4])
{
    const __m128i Ones = _mm_set1_epi8(1);
    const auto Words = [=](const __m128i Bytes[2], __m128i pWords[2]) {
        pWords[0] = _mm_maddubs_epi16(_mm_unpacklo_epi8(Bytes[0], Bytes[1]), Ones);
        pWords[1] = _mm_maddubs_epi16(_mm_unpackhi_epi8(Bytes[0], Bytes[1]), Ones);
    };
    __m128i High[2], Low[2];
    Words(s.HighWeights, High);
    Words(s.LowWeights, Low);
    AddJoined(High, Low, pWeights);
    AddJoined(s.HighProducts, s.LowProducts, pProducts);
}

// The weighted means of the differences, rounded: 16 bytes.
INLINE __m128i Means(const __m128i Products[4], const __m128i Weights[4])
{
    __m128i Mean[4];
    for (int i = 0; i < 4; ++i)
        Mean[i] = _mm_cvtps_epi32(_mm_div_ps(_mm_cvtepi32_ps(Products[i]), _mm_cvtepi32_ps(Weights[i])));
    return _mm_packs_epi16(_mm_packs_epi32(Mean[0], Mean[1]), _mm_packs_epi32(Mean[2], Mean[3]));
}

struct Row {
    const BilateralContext& Context;
    const BilateralTap* pTaps; // aimed at the row
    const uint8_t* pRing;
};

// Count pairs, 0 to 4, beginning with the given one.
template <int Count>
INLINE void AddPairs(const Row& r, int32_t x, __m128i Centre, int32_t First, __m128i Products[4], __m128i Weights[4])
{
    const __m128i Zero = _mm_setzero_si128();
    Sums s{{Zero, Zero}, {Zero, Zero}, {Zero, Zero}, {Zero, Zero}};
    for (int i = 0; i < Count; ++i) {
        const BilateralTap* const pPair = r.pTaps + 2 * (First + i) + 1;
        const BilateralTapTable* const pTables = r.Context.Tables + 2 * (First + i);
        AddPair(Weigh(r.pRing + pPair[0].Offset + x, Centre, pTables[0]),
                Weigh(r.pRing + pPair[1].Offset + x, Centre, pTables[1]), i / 2, &s);
    }
    AddSums(s, Products, Weights);
}

// Four pairs after four, and the Rest.
template <int Rest>
INLINE __m128i FilterSixteen(const Row& r, int32_t x)
{
    const __m128i Zero = _mm_setzero_si128(), Centre = Load(r.pRing + r.pTaps[0].Offset + x);
    const __m128i CentreWeight = _mm_set1_epi32(r.Context.CentreWeight);
    __m128i Products[4]{Zero, Zero, Zero, Zero}, Weights[4]{CentreWeight, CentreWeight, CentreWeight, CentreWeight};
    int32_t Pair = 0;
    for (; Pair + Rest < r.Context.TapCount / 2; Pair += 4) AddPairs<4>(r, x, Centre, Pair, Products, Weights);
    AddPairs<Rest>(r, x, Centre, Pair, Products, Weights);
    return _mm_xor_si128(_mm_add_epi8(Centre, Means(Products, Weights)), _mm_set1_epi8(-128));
}

template <int Rest>
static void FilterRow(const Row& r, uint8_t* pTarget, int32_t Width)
{
    int32_t x = 0;
    for (; x + 16 <= Width; x += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pTarget + x), FilterSixteen<Rest>(r, x));
    if (x == Width) return;
    uint8_t Last[16];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(Last), FilterSixteen<Rest>(r, x));
    std::memcpy(pTarget + x, Last, static_cast<size_t>(Width - x));
}

static void CopyRow(const uint8_t* pSource, uint8_t* pRow, ptrdiff_t Count)
{
    const __m128i Bias = _mm_set1_epi8(-128);
    ptrdiff_t x = 0;
    for (; x + 16 <= Count; x += 16)
        _mm_store_si128(reinterpret_cast<__m128i*>(pRow + x), _mm_xor_si128(Load(pSource + x), Bias));
    for (; x < Count; ++x) pRow[x] = pSource[x] ^ 128;
}

int32_t BilateralFilter_v8(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                           int32_t Width, int32_t Height, int32_t KernelWidth, int32_t KernelHeight, uint8_t* pBuffer)
{
    const int32_t Status =
        BilateralStatus(pSource, SourceStep, pTarget, TargetStep, Width, Height, KernelWidth, KernelHeight, pBuffer);
    if (Status != kStatusOk) return Status;
    BilateralContext* const pContext = BilateralContextIn(pBuffer);
    if (!pContext->Narrow)
        return BilateralFilter_px(pSource, SourceStep, pTarget, TargetStep, Width, Height, KernelWidth, KernelHeight,
                                  pBuffer);

    const auto Step = static_cast<ptrdiff_t>(BilateralRingStep(Width, KernelWidth));
    uint8_t* const pRing = BilateralRing(pContext);
    // Nine taps, four pairs, take the straight way through the first of these.
    constexpr decltype(&FilterRow<4>) kFilterRow[]{FilterRow<4>, FilterRow<1>, FilterRow<2>, FilterRow<3>};
    const int32_t Pairs = pContext->TapCount / 2;
    auto* const pFilterRow = Pairs ? kFilterRow[Pairs % 4] : FilterRow<0>;
    const uint8_t* pRead = pSource - KernelHeight / 2 * SourceStep - KernelWidth / 2;
    int32_t Slot = 0;
    for (int32_t y = 1 - KernelHeight; y < Height; ++y, pRead += SourceStep) {
        CopyRow(pRead, pRing + Slot * Step, ptrdiff_t{Width} + KernelWidth - 1);
        Slot = Slot + 1 < KernelHeight ? Slot + 1 : 0;
        if (y < 0) continue;
        AimBilateralTaps(pContext, y, Step);
        pFilterRow({*pContext, BilateralTaps(pContext), pRing}, pTarget, Width);
        pTarget += TargetStep;
    }
    return kStatusOk;
}

} // namespace kernels
