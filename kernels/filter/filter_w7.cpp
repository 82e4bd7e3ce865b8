#include <emmintrin.h>

#include "kernels/filter/filter.h"
#include "kernels/memory/memory.h"

#define INLINE [[gnu::always_inline]] static inline

namespace kernels {
namespace {

// One filter each: Across gives the row sums of Block samples from the source at the first one's leftmost neighbour,
// Down the results from the sums of Side rows, the topmost first.

struct WordSums {
    __m128i Even, Odd; // of every second sample, beginning with the first one and the second one
};

INLINE __m128i Load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }

INLINE __m128i Plus(__m128i a, __m128i b) { return _mm_add_epi16(a, b); }
INLINE __m128i Binomial3(__m128i a, __m128i b, __m128i c) { return Plus(Plus(a, b), Plus(b, c)); }
INLINE __m128i Binomial5(__m128i a, __m128i b, __m128i c, __m128i d, __m128i e)
{
    const __m128i Inner = Plus(Plus(b, d), c); // 4 6 4 is 4 4 4 and 2
    return Plus(Plus(Plus(a, e), Plus(c, c)), _mm_slli_epi16(Inner, 2));
}

// Words / 2^Bits, a half to even. The largest sum, 255 * 256, leaves room for the rounding in 16 bits.
template <int Bits>
INLINE __m128i Rounded(__m128i v)
{
    const __m128i Odd = _mm_and_si128(_mm_srli_epi16(v, Bits), _mm_set1_epi16(1));
    return _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(v, _mm_set1_epi16((1 << (Bits - 1)) - 1)), Odd), Bits);
}

struct GaussFilter {
    using Sample = uint8_t;
    using Sums = WordSums;
    static constexpr int kBlock = 16;

    INLINE Sums Split(__m128i Bytes) { return {_mm_and_si128(Bytes, _mm_set1_epi16(255)), _mm_srli_epi16(Bytes, 8)}; }
    INLINE void Store(uint8_t* p, const Sums& s)
    {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_or_si128(s.Even, _mm_slli_epi16(s.Odd, 8)));
    }
};

struct Gauss3 : GaussFilter {
    static constexpr int kSide = 3;

    INLINE Sums Across(const uint8_t* p)
    {
        const Sums Left = Split(Load(p)), Right = Split(Load(p + 2));
        const __m128i Middle = Plus(Left.Odd, Right.Even);
        return {Plus(Plus(Left.Even, Left.Odd), Middle), Plus(Middle, Plus(Right.Even, Right.Odd))};
    }
    INLINE void Down(const Sums s[kSide], uint8_t* pTarget)
    {
        Store(pTarget, {Rounded<4>(Binomial3(s[0].Even, s[1].Even, s[2].Even)),
                        Rounded<4>(Binomial3(s[0].Odd, s[1].Odd, s[2].Odd))});
    }
};

struct Gauss5 : GaussFilter {
    static constexpr int kSide = 5;

    INLINE Sums Across(const uint8_t* p)
    {
        const Sums a = Split(Load(p)), b = Split(Load(p + 2)), c = Split(Load(p + 4));
        return {Binomial5(a.Even, a.Odd, b.Even, b.Odd, c.Even), Binomial5(a.Odd, b.Even, b.Odd, c.Even, c.Odd)};
    }
    INLINE void Down(const Sums s[kSide], uint8_t* pTarget)
    {
        Store(pTarget, {Rounded<8>(Binomial5(s[0].Even, s[1].Even, s[2].Even, s[3].Even, s[4].Even)),
                        Rounded<8>(Binomial5(s[0].Odd, s[1].Odd, s[2].Odd, s[3].Odd, s[4].Odd))});
    }
};

template <int Side>
struct Mean {
    using Sample = float;
    struct Sums {
        __m128 First, Last; // of four samples each
    };
    static constexpr int kBlock = 8, kSide = Side;

    INLINE Sums Added(const Sums& a, const Sums& b)
    {
        return {_mm_add_ps(a.First, b.First), _mm_add_ps(a.Last, b.Last)};
    }
    INLINE Sums Across(const float* p)
    {
        Sums Total{_mm_loadu_ps(p), _mm_loadu_ps(p + 4)};
        for (int i = 1; i < Side; ++i) Total = Added(Total, {_mm_loadu_ps(p + i), _mm_loadu_ps(p + i + 4)});
        return Total;
    }
    INLINE void Down(const Sums s[kSide], float* pTarget)
    {
        Sums Total = s[0];
        for (int i = 1; i < Side; ++i) Total = Added(Total, s[i]);
        const __m128 Share = _mm_set1_ps(Side == 3 ? 0.1111111f : 0.04f);
        _mm_storeu_ps(pTarget, _mm_mul_ps(Total.First, Share));
        _mm_storeu_ps(pTarget + 4, _mm_mul_ps(Total.Last, Share));
    }
};

// The row sums lie block after block. The last block of a row may overlap the one before: what it writes to the target
// for the second time it makes from sums of its own.
template <class Filter>
INLINE void SumRow(const typename Filter::Sample* pLeft, typename Filter::Sums* pSums, ptrdiff_t Width)
{
    for (ptrdiff_t x = 0; x < Width; x += Filter::kBlock) {
        x = x < Width - Filter::kBlock ? x : Width - Filter::kBlock;
        *pSums++ = Filter::Across(pLeft + x);
    }
}

// Takes the sums of the lowest row of the mask and writes the target's row. pRows are the sums by row, topmost first.
template <class Filter>
INLINE void FilterRow(const typename Filter::Sample* pLeft, typename Filter::Sums* const pRows[Filter::kSide],
                      typename Filter::Sample* pTarget, ptrdiff_t Width)
{
    constexpr int kLowest = Filter::kSide - 1;
    ptrdiff_t Block = 0;
    for (ptrdiff_t x = 0; x < Width; x += Filter::kBlock, ++Block) {
        x = x < Width - Filter::kBlock ? x : Width - Filter::kBlock;
        typename Filter::Sums s[Filter::kSide];
        for (int i = 0; i < kLowest; ++i) s[i] = pRows[i][Block];
        pRows[kLowest][Block] = s[kLowest] = Filter::Across(pLeft + x);
        Filter::Down(s, pTarget + x);
    }
}

// A row of the source has gone into its sums before the target in its place is written. Width is a block at least.
template <class Filter>
int32_t FilterPlane(const typename Filter::Sample* pSource, ptrdiff_t SourceStep, typename Filter::Sample* pTarget,
                    ptrdiff_t TargetStep, int32_t Width, int32_t Height)
{
    using Sample = typename Filter::Sample;
    using Sums = typename Filter::Sums;
    constexpr int kSide = Filter::kSide;
    const int32_t Blocks = (Width - 1) / Filter::kBlock + 1;
    if (Blocks > INT32_MAX / kSide / static_cast<int32_t>(sizeof(Sums))) return kStatusNoMemory;
    static_assert(alignof(Sums) <= kBlockAlignment);
    auto* const pRing = reinterpret_cast<Sums*>(Malloc8u(kSide * Blocks * static_cast<int32_t>(sizeof(Sums))));
    if (!pRing) return kStatusNoMemory;

    Sums* pRows[kSide];
    for (int i = 0; i < kSide; ++i) pRows[i] = pRing + ptrdiff_t{i} * Blocks;
    const auto* pRead = reinterpret_cast<const uint8_t*>(pSource - kSide / 2) - kSide / 2 * SourceStep;
    auto* pWrite = reinterpret_cast<uint8_t*>(pTarget);
    for (int i = 0; i < kSide - 1; ++i, pRead += SourceStep)
        SumRow<Filter>(reinterpret_cast<const Sample*>(pRead), pRows[i], Width);
    for (int32_t y = 0; y < Height; ++y, pRead += SourceStep, pWrite += TargetStep) {
        FilterRow<Filter>(reinterpret_cast<const Sample*>(pRead), pRows, reinterpret_cast<Sample*>(pWrite), Width);
        Sums* const pTopmost = pRows[0];
        for (int i = 0; i < kSide - 1; ++i) pRows[i] = pRows[i + 1];
        pRows[kSide - 1] = pTopmost;
    }
    Free(pRing);
    return kStatusOk;
}

} // namespace

// px takes the planes narrower than a block, and the calls to refuse.

int32_t FilterGauss8u_w7(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                         int32_t Width, int32_t Height, int32_t Mask)
{
    if (!pSource || !pTarget || Width < GaussFilter::kBlock || Height <= 0 || SourceStep <= 0 || TargetStep <= 0 ||
        (Mask != kMask3x3 && Mask != kMask5x5))
        return FilterGauss8u_px(pSource, SourceStep, pTarget, TargetStep, Width, Height, Mask);
    return Mask == kMask3x3 ? FilterPlane<Gauss3>(pSource, SourceStep, pTarget, TargetStep, Width, Height)
                            : FilterPlane<Gauss5>(pSource, SourceStep, pTarget, TargetStep, Width, Height);
}

int32_t FilterMean32f_w7(const float* pSource, ptrdiff_t SourceStep, float* pTarget, ptrdiff_t TargetStep,
                         int32_t Width, int32_t Height, int32_t Mask)
{
    if (!pSource || !pTarget || Width < Mean<3>::kBlock || Height <= 0 || SourceStep <= 0 || TargetStep <= 0 ||
        (Mask != kMask3x3 && Mask != kMask5x5))
        return FilterMean32f_px(pSource, SourceStep, pTarget, TargetStep, Width, Height, Mask);
    return Mask == kMask3x3 ? FilterPlane<Mean<3>>(pSource, SourceStep, pTarget, TargetStep, Width, Height)
                            : FilterPlane<Mean<5>>(pSource, SourceStep, pTarget, TargetStep, Width, Height);
}

} // namespace kernels
