#include <emmintrin.h>

#include "kernels/arithmetic/arithmetic.h"

namespace kernels {

// Vectors take the columns up to a multiple of their own width, which is Whole; px takes the columns that are left, and
// the calls to refuse.

static __m128i Load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
static void Store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

static float* Advance(float* p, ptrdiff_t Step)
{
    return reinterpret_cast<float*>(reinterpret_cast<uint8_t*>(p) + Step);
}

static const float* Advance(const float* p, ptrdiff_t Step)
{
    return reinterpret_cast<const float*>(reinterpret_cast<const uint8_t*>(p) + Step);
}

int32_t Sub8u_w7(const uint8_t* pFirst, ptrdiff_t FirstStep, const uint8_t* pSecond, ptrdiff_t SecondStep,
                 uint8_t* pTarget, ptrdiff_t TargetStep, int32_t Width, int32_t Height, int32_t Scale)
{
    const int32_t Whole = Width & ~15;
    if (!pFirst || !pSecond || !pTarget || Whole <= 0 || Height <= 0 || FirstStep <= 0 || SecondStep <= 0 ||
        TargetStep <= 0 || Scale < 0 || Scale > 8)
        return Sub8u_px(pFirst, FirstStep, pSecond, SecondStep, pTarget, TargetStep, Width, Height, Scale);
    if (Width > Whole)
        Sub8u_px(pFirst + Whole, FirstStep, pSecond + Whole, SecondStep, pTarget + Whole, TargetStep, Width - Whole,
                 Height, Scale);
    const __m128i Shift = _mm_cvtsi32_si128(Scale), Kept = _mm_set1_epi8(static_cast<char>(255 >> Scale));
    for (int32_t y = 0; y < Height; ++y, pFirst += FirstStep, pSecond += SecondStep, pTarget += TargetStep)
        for (int32_t x = 0; x < Whole; x += 16) {
            const __m128i Difference = _mm_subs_epu8(Load(pSecond + x), Load(pFirst + x));
            Store(pTarget + x, _mm_and_si128(_mm_srl_epi16(Difference, Shift), Kept));
        }
    return kStatusOk;
}

int32_t SubInPlace8u_w7(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                        int32_t Width, int32_t Height, int32_t Scale)
{
    return Sub8u_w7(pSource, SourceStep, pTarget, TargetStep, pTarget, TargetStep, Width, Height, Scale);
}

int32_t Add8u_w7(const uint8_t* pFirst, ptrdiff_t FirstStep, const uint8_t* pSecond, ptrdiff_t SecondStep,
                 uint8_t* pTarget, ptrdiff_t TargetStep, int32_t Width, int32_t Height)
{
    const int32_t Whole = Width & ~15;
    if (!pFirst || !pSecond || !pTarget || Whole <= 0 || Height <= 0 || FirstStep <= 0 || SecondStep <= 0 ||
        TargetStep <= 0)
        return Add8u_px(pFirst, FirstStep, pSecond, SecondStep, pTarget, TargetStep, Width, Height);
    if (Width > Whole)
        Add8u_px(pFirst + Whole, FirstStep, pSecond + Whole, SecondStep, pTarget + Whole, TargetStep, Width - Whole,
                 Height);
    for (int32_t y = 0; y < Height; ++y, pFirst += FirstStep, pSecond += SecondStep, pTarget += TargetStep)
        for (int32_t x = 0; x < Whole; x += 16) Store(pTarget + x, _mm_adds_epu8(Load(pFirst + x), Load(pSecond + x)));
    return kStatusOk;
}

// Scales whose rounding fits the 16 bits of a product; the quotients then fit the packing's signed words.
static constexpr int32_t kLeastWordScale = 1, kMostWordScale = 9;
static_assert(255 * 255 + (1 << (kMostWordScale - 1)) <= UINT16_MAX && (255 * 255 >> kLeastWordScale) < INT16_MAX);

int32_t MulConst8uInPlace_w7(uint8_t Value, uint8_t* pPlane, ptrdiff_t Step, int32_t Width, int32_t Height,
                             int32_t Scale)
{
    const int32_t Whole = Width & ~15;
    if (!pPlane || Whole <= 0 || Height <= 0 || Step <= 0 || Scale < kLeastWordScale || Scale > kMostWordScale)
        return MulConst8uInPlace_px(Value, pPlane, Step, Width, Height, Scale);
    if (Width > Whole) MulConst8uInPlace_px(Value, pPlane + Whole, Step, Width - Whole, Height, Scale);
    const __m128i Zero = _mm_setzero_si128(), One = _mm_set1_epi16(1), Factor = _mm_set1_epi16(Value);
    const __m128i Shift = _mm_cvtsi32_si128(Scale);
    const __m128i BelowHalf = _mm_set1_epi16(static_cast<short>((1 << (Scale - 1)) - 1));
    const auto Scaled = [=](__m128i Samples) {
        const __m128i Product = _mm_mullo_epi16(Samples, Factor);
        const __m128i Odd = _mm_and_si128(_mm_srl_epi16(Product, Shift), One);
        return _mm_srl_epi16(_mm_add_epi16(_mm_add_epi16(Product, BelowHalf), Odd), Shift);
    };
    for (int32_t y = 0; y < Height; ++y, pPlane += Step)
        for (int32_t x = 0; x < Whole; x += 16) {
            const __m128i v = Load(pPlane + x);
            const __m128i Low = Scaled(_mm_unpacklo_epi8(v, Zero)), High = Scaled(_mm_unpackhi_epi8(v, Zero));
            Store(pPlane + x, _mm_packus_epi16(Low, High));
        }
    return kStatusOk;
}

// Result(four samples) on all columns but the last Width % 4.
template <class Operation>
static void ForEachFour(float* pPlane, ptrdiff_t Step, int32_t Whole, int32_t Height, Operation Result)
{
    for (int32_t y = 0; y < Height; ++y, pPlane = Advance(pPlane, Step)) {
        int32_t x = 0;
        for (; x + 8 <= Whole; x += 8) {
            const __m128 a = Result(_mm_loadu_ps(pPlane + x)), b = Result(_mm_loadu_ps(pPlane + x + 4));
            _mm_storeu_ps(pPlane + x, a);
            _mm_storeu_ps(pPlane + x + 4, b);
        }
        if (x < Whole) _mm_storeu_ps(pPlane + x, Result(_mm_loadu_ps(pPlane + x)));
    }
}

int32_t ClampThreshold32f_w7(float* pPlane, ptrdiff_t Step, int32_t Width, int32_t Height, float LowLimit,
                             float LowValue, float HighLimit, float HighValue)
{
    const int32_t Whole = Width & ~3;
    if (!pPlane || Whole <= 0 || Height <= 0 || Step <= 0)
        return ClampThreshold32f_px(pPlane, Step, Width, Height, LowLimit, LowValue, HighLimit, HighValue);
    if (Width > Whole)
        ClampThreshold32f_px(pPlane + Whole, Step, Width - Whole, Height, LowLimit, LowValue, HighLimit, HighValue);
    const __m128 Low = _mm_set1_ps(LowLimit), High = _mm_set1_ps(HighLimit);
    const __m128 LowTo = _mm_set1_ps(LowValue), HighTo = _mm_set1_ps(HighValue);
    // Minimum and maximum return their second operand where the two are equal or one is no number, so that such a
    // sample stays.
    if (LowLimit == LowValue && HighLimit == HighValue && LowLimit < HighLimit)
        ForEachFour(pPlane, Step, Whole, Height,
                    [=](__m128 Samples) { return _mm_min_ps(HighTo, _mm_max_ps(LowTo, Samples)); });
    else
        ForEachFour(pPlane, Step, Whole, Height, [=](__m128 Samples) {
            const __m128 Above = _mm_cmplt_ps(High, Samples), Below = _mm_cmplt_ps(Samples, Low);
            const __m128 Capped = _mm_or_ps(_mm_and_ps(Above, HighTo), _mm_andnot_ps(Above, Samples));
            return _mm_or_ps(_mm_and_ps(Below, LowTo), _mm_andnot_ps(Below, Capped));
        });
    return kStatusOk;
}

// What is no number passes through the minimum, which returns its second operand then, and converts to the least
// integer, as do samples far below 0; the packing saturates that to 0.
template <bool Nearest>
static __m128i Integers(const float* p)
{
    const __m128 Limited = _mm_min_ps(_mm_set1_ps(255.0f), _mm_loadu_ps(p));
    return Nearest ? _mm_cvtps_epi32(Limited) : _mm_cvttps_epi32(Limited);
}

template <bool Nearest>
static void ConvertToBytes(const float* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                           int32_t Whole, int32_t Height)
{
    for (int32_t y = 0; y < Height; ++y, pSource = Advance(pSource, SourceStep), pTarget += TargetStep)
        for (int32_t x = 0; x < Whole; x += 16) {
            const float* const p = pSource + x;
            const __m128i Low = _mm_packs_epi32(Integers<Nearest>(p), Integers<Nearest>(p + 4));
            const __m128i High = _mm_packs_epi32(Integers<Nearest>(p + 8), Integers<Nearest>(p + 12));
            Store(pTarget + x, _mm_packus_epi16(Low, High));
        }
}

int32_t Convert32fTo8u_w7(const float* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                          int32_t Width, int32_t Height, int32_t RoundMode)
{
    const int32_t Whole = Width & ~15;
    if (!pSource || !pTarget || Whole <= 0 || Height <= 0 || SourceStep <= 0 || TargetStep <= 0 ||
        (RoundMode != kRoundNearest && RoundMode != kRoundCut))
        return Convert32fTo8u_px(pSource, SourceStep, pTarget, TargetStep, Width, Height, RoundMode);
    if (Width > Whole)
        Convert32fTo8u_px(pSource + Whole, SourceStep, pTarget + Whole, TargetStep, Width - Whole, Height, RoundMode);
    if (RoundMode == kRoundNearest)
        ConvertToBytes<true>(pSource, SourceStep, pTarget, TargetStep, Whole, Height);
    else
        ConvertToBytes<false>(pSource, SourceStep, pTarget, TargetStep, Whole, Height);
    return kStatusOk;
}

} // namespace kernels
