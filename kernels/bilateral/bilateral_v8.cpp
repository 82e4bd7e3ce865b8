#include <cstring>
#include <tmmintrin.h>

#include "kernels/bilateral/bilateral.h"
#include "kernels/bilateral/bilateral_context.h"

namespace kernels {

// The narrow weights, 16 samples at a time. The ring holds the samples less 128, so that a saturating difference of
// signed bytes is right up to 127, and its magnitude looks the weight up by shuffles of 16-byte runs. Magnitudes of 63
// and more have no weight. High and low parts of the weights go through the sums apart, as words.

static __m128i Load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
static __m128i LoadRun(const uint8_t* p) { return _mm_load_si128(reinterpret_cast<const __m128i*>(p)); }

struct TapWeights {
    __m128i Difference, High, Low;
};

// A shuffle gives 0 where the index is negative: the runs below 16 * k are left out of run k's part.
static __m128i LookUp(const uint8_t Runs[4][16], const __m128i Index[4])
{
    const __m128i First = _mm_shuffle_epi8(LoadRun(Runs[0]), Index[0]);
    const __m128i Second = _mm_shuffle_epi8(LoadRun(Runs[1]), Index[1]);
    const __m128i Third = _mm_shuffle_epi8(LoadRun(Runs[2]), Index[2]);
    const __m128i Fourth = _mm_shuffle_epi8(LoadRun(Runs[3]), Index[3]);
    return _mm_xor_si128(_mm_xor_si128(First, Second), _mm_xor_si128(Third, Fourth));
}

static TapWeights Weigh(const uint8_t* pSamples, __m128i Centre, const BilateralPairTable& Table)
{
    const __m128i Sixteen = _mm_set1_epi8(16);
    const __m128i Difference = _mm_subs_epi8(Load(pSamples), Centre);
    __m128i Index[4]{_mm_min_epu8(_mm_abs_epi8(Difference), _mm_set1_epi8(63))};
    for (int k = 1; k < 4; ++k) Index[k] = _mm_sub_epi8(Index[k - 1], Sixteen);
    return {Difference, LookUp(Table.High, Index), LookUp(Table.Low, Index)};
}

// Words for 8 samples: of products with the high and low parts of weights, and of these parts.
struct WordSums {
    __m128i HighProducts, LowProducts, High, Low;
};
// Two pairs' products fit; the parts' sums fit for all taps.
static_assert(4 * 128 * kNarrowReach <= INT16_MAX && kNarrowTaps * 128 <= INT16_MAX);

static void AddPair(WordSums* pSums, __m128i Differences, __m128i High, __m128i Low)
{
    const __m128i Ones = _mm_set1_epi8(1);
    pSums->HighProducts = _mm_add_epi16(pSums->HighProducts, _mm_maddubs_epi16(High, Differences));
    pSums->LowProducts = _mm_add_epi16(pSums->LowProducts, _mm_maddubs_epi16(Low, Differences));
    pSums->High = _mm_add_epi16(pSums->High, _mm_maddubs_epi16(High, Ones));
    pSums->Low = _mm_add_epi16(pSums->Low, _mm_maddubs_epi16(Low, Ones));
}

// Both parts joined: the first or last four of eight samples.
template <bool Last>
static __m128i Join(__m128i High, __m128i Low)
{
    const __m128i Scales = _mm_set1_epi32((1 << 16) + (1 << kNarrowLowBits));
    return _mm_madd_epi16(Last ? _mm_unpackhi_epi16(High, Low) : _mm_unpacklo_epi16(High, Low), Scales);
}

static void MoveProducts(WordSums* pSums, __m128i Products[2])
{
    Products[0] = _mm_add_epi32(Products[0], Join<false>(pSums->HighProducts, pSums->LowProducts));
    Products[1] = _mm_add_epi32(Products[1], Join<true>(pSums->HighProducts, pSums->LowProducts));
    pSums->HighProducts = pSums->LowProducts = _mm_setzero_si128();
}

// The weighted mean of the differences, rounded: words for 8 samples.
static __m128i Mean(const WordSums& Sums, const __m128i Products[2], __m128i CentreWeight)
{
    const __m128i First = _mm_add_epi32(Join<false>(Sums.High, Sums.Low), CentreWeight);
    const __m128i Last = _mm_add_epi32(Join<true>(Sums.High, Sums.Low), CentreWeight);
    const __m128 FirstMean = _mm_div_ps(_mm_cvtepi32_ps(Products[0]), _mm_cvtepi32_ps(First));
    const __m128 LastMean = _mm_div_ps(_mm_cvtepi32_ps(Products[1]), _mm_cvtepi32_ps(Last));
    return _mm_packs_epi32(_mm_cvtps_epi32(FirstMean), _mm_cvtps_epi32(LastMean));
}

static __m128i FilterSixteen(const BilateralContext& Context, const BilateralTap* pTaps, const uint8_t* pRing)
{
    const __m128i Zero = _mm_setzero_si128(), Centre = Load(pRing + pTaps[0].Offset);
    WordSums Left{Zero, Zero, Zero, Zero}, Right = Left;
    __m128i LeftProducts[2]{Zero, Zero}, RightProducts[2]{Zero, Zero};
    const int Pairs = Context.TapCount / 2;
    for (int i = 0; i < Pairs; ++i) {
        const TapWeights a = Weigh(pRing + pTaps[2 * i + 1].Offset, Centre, Context.Pairs[i]);
        const TapWeights b = Weigh(pRing + pTaps[2 * i + 2].Offset, Centre, Context.Pairs[i]);
        AddPair(&Left, _mm_unpacklo_epi8(a.Difference, b.Difference), _mm_unpacklo_epi8(a.High, b.High),
                _mm_unpacklo_epi8(a.Low, b.Low));
        AddPair(&Right, _mm_unpackhi_epi8(a.Difference, b.Difference), _mm_unpackhi_epi8(a.High, b.High),
                _mm_unpackhi_epi8(a.Low, b.Low));
        if (i % 2 == 1 || i == Pairs - 1) {
            MoveProducts(&Left, LeftProducts);
            MoveProducts(&Right, RightProducts);
        }
    }
    const __m128i CentreWeight = _mm_set1_epi32(Context.CentreWeight);
    const __m128i Change =
        _mm_packs_epi16(Mean(Left, LeftProducts, CentreWeight), Mean(Right, RightProducts, CentreWeight));
    return _mm_xor_si128(_mm_add_epi8(Centre, Change), _mm_set1_epi8(-128));
}

static void FilterRow(const BilateralContext& Context, const BilateralTap* pTaps, const uint8_t* pRing,
                      uint8_t* pTarget, int32_t Width)
{
    int32_t x = 0;
    for (; x + 16 <= Width; x += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pTarget + x), FilterSixteen(Context, pTaps, pRing + x));
    if (x == Width) return;
    uint8_t Rest[16];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(Rest), FilterSixteen(Context, pTaps, pRing + x));
    std::memcpy(pTarget + x, Rest, static_cast<size_t>(Width - x));
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
    const uint8_t* pRead = pSource - KernelHeight / 2 * SourceStep - KernelWidth / 2;
    int32_t Slot = 0;
    for (int32_t y = 1 - KernelHeight; y < Height; ++y, pRead += SourceStep) {
        CopyRow(pRead, pRing + Slot * Step, ptrdiff_t{Width} + KernelWidth - 1);
        Slot = Slot + 1 < KernelHeight ? Slot + 1 : 0;
        if (y < 0) continue;
        AimBilateralTaps(pContext, y, Step);
        FilterRow(*pContext, BilateralTaps(pContext), pRing, pTarget, Width);
        pTarget += TargetStep;
    }
    return kStatusOk;
}

} // namespace kernels
