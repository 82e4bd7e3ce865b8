#include <cstring>
#include <tmmintrin.h>

#include "kernels/deblocking/deblocking.h"

namespace kernels {

// Lines stay in registers only where everything that touches them is one function.
#define INLINE [[gnu::always_inline]] static inline

// The samples of sixteen lines through an edge, a register for each place; 0 is the one at the edge. All of it stays in
// bytes, but for the strong filter. Places that a filter does not use need not be loaded.
struct Lines {
    __m128i p[4], q[4];
};

static __m128i Load16(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
static __m128i Load8(const uint8_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
static void Store16(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
static void Store8(uint8_t* p, __m128i v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v); }

// The upper half of a register.
static void StoreUpper8(uint8_t* p, __m128i v) { _mm_storeh_pi(reinterpret_cast<__m64*>(p), _mm_castsi128_ps(v)); }

static __m128i Load4(const uint8_t* p)
{
    int Value;
    std::memcpy(&Value, p, sizeof Value);
    return _mm_cvtsi32_si128(Value);
}

static void Store4(uint8_t* p, __m128i v)
{
    const int Value = _mm_cvtsi128_si32(v);
    std::memcpy(p, &Value, sizeof Value);
}

static bool AnyByte(__m128i v) { return _mm_movemask_epi8(v) != 0; }
static __m128i IsZero(__m128i v) { return _mm_cmpeq_epi8(v, _mm_setzero_si128()); }
static __m128i Choose(__m128i Mask, __m128i a, __m128i b)
{
    return _mm_or_si128(_mm_and_si128(Mask, a), _mm_andnot_si128(Mask, b));
}

INLINE __m128i Distance(__m128i a, __m128i b) { return _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a)); }

// ---- Thresholds --------------------------------------------------------------------------------------------

// What the lines of an edge are compared with. A distance is below a threshold when nothing is left of it after the
// threshold less 1 is taken off; an edge with a threshold of 0 is never filtered.
struct Thresholds {
    __m128i AlphaLess1, BetaLess1;
    __m128i Clip; // by strength, bytes 0..3; of the second plane bytes 4..7
};

static bool Closed(const EdgeParams& Params, int Inner) { return Params.Alpha[Inner] == 0 || Params.Beta[Inner] == 0; }

INLINE __m128i Broadcast(int Byte) { return _mm_shuffle_epi8(_mm_cvtsi32_si128(Byte), _mm_setzero_si128()); }

INLINE Thresholds ThresholdsOf(const EdgeParams& Params, int Inner)
{
    return {Broadcast(Params.Alpha[Inner] - 1), Broadcast(Params.Beta[Inner] - 1), Load4(Params.Clip[Inner])};
}

// Lines for which filterSamplesFlag is 1 (8.7.2.2), strengths left aside.
INLINE __m128i FilteredLines(const Lines& s, const Thresholds& With)
{
    const __m128i Steps = _mm_max_epu8(Distance(s.p[1], s.p[0]), Distance(s.q[1], s.q[0]));
    const __m128i OverBeta = _mm_subs_epu8(Steps, With.BetaLess1);
    return IsZero(_mm_or_si128(_mm_subs_epu8(Distance(s.p[0], s.q[0]), With.AlphaLess1), OverBeta));
}

INLINE __m128i IsSmooth(const __m128i Side[4], const Thresholds& With)
{
    return IsZero(_mm_subs_epu8(Distance(Side[2], Side[0]), With.BetaLess1));
}

// ---- Filters -----------------------------------------------------------------------------------------------

// (a + 2 b + c + 2) >> 2. The mean rounds up, so the lost half of a + c is taken off before the second one.
INLINE __m128i WeightedMean(__m128i a, __m128i b, __m128i c)
{
    const __m128i Odd = _mm_and_si128(_mm_xor_si128(a, c), _mm_set1_epi8(1));
    return _mm_avg_epu8(b, _mm_sub_epi8(_mm_avg_epu8(a, c), Odd));
}

// Moves p0 and q0 by delta (8.7.2.3), clipped to Limit. With d = q0 - p0 and e = p1 - q1, delta is
// (4 d + e + 4) >> 3 = (d + g) >> 1 = (d >> 1) + ((g + (d & 1)) >> 1), where g = ((e >> 1) >> 1) + 1. The means give
// 128 + (e >> 1), then g + 65, then 33 + the second term, and 128 + (d >> 1) for the first one. Their sum saturates
// above 94 only, which every limit clips.
INLINE void MoveEdge(Lines& s, __m128i Limit)
{
    const __m128i Ones = _mm_set1_epi8(-1), Bias = _mm_set1_epi8(static_cast<char>(161));
    const __m128i HalfOuter = _mm_avg_epu8(s.p[1], _mm_xor_si128(s.q[1], Ones));
    const __m128i Parity = _mm_and_si128(_mm_xor_si128(s.p[0], s.q[0]), _mm_set1_epi8(1));
    const __m128i Outer = _mm_avg_epu8(_mm_avg_epu8(HalfOuter, _mm_set1_epi8(3)), Parity);
    const __m128i Inner = _mm_avg_epu8(s.q[0], _mm_xor_si128(s.p[0], Ones));
    const __m128i Sum = _mm_adds_epu8(Inner, Outer);
    const __m128i Up = _mm_min_epu8(_mm_subs_epu8(Sum, Bias), Limit);
    const __m128i Down = _mm_min_epu8(_mm_subs_epu8(Bias, Sum), Limit);
    s.p[0] = _mm_subs_epu8(_mm_adds_epu8(s.p[0], Up), Down);
    s.q[0] = _mm_subs_epu8(_mm_adds_epu8(s.q[0], Down), Up);
}

// Sample 1 of a side moves towards (sample 2 + middle) / 2 by at most Limit.
INLINE __m128i MoveSecond(const __m128i Side[4], __m128i Middle, __m128i Limit)
{
    const __m128i Odd = _mm_and_si128(_mm_xor_si128(Side[2], Middle), _mm_set1_epi8(1));
    const __m128i Mean = _mm_sub_epi8(_mm_avg_epu8(Side[2], Middle), Odd);
    const __m128i Least = _mm_subs_epu8(Side[1], Limit), Most = _mm_adds_epu8(Side[1], Limit);
    return _mm_min_epu8(_mm_max_epu8(Mean, Least), Most);
}

// bS 1 to 3 (8.7.2.3) on the lines of Mask. Clip is tC0 of each line.
INLINE void FilterNormal(Lines& s, __m128i Mask, __m128i Clip, const Thresholds& With)
{
    const __m128i SmoothP = _mm_and_si128(IsSmooth(s.p, With), Mask),
                  SmoothQ = _mm_and_si128(IsSmooth(s.q, With), Mask);
    const __m128i Middle = _mm_avg_epu8(s.p[0], s.q[0]);
    const __m128i p1 = MoveSecond(s.p, Middle, _mm_and_si128(Clip, SmoothP));
    const __m128i q1 = MoveSecond(s.q, Middle, _mm_and_si128(Clip, SmoothQ));
    MoveEdge(s, _mm_sub_epi8(_mm_sub_epi8(_mm_and_si128(Clip, Mask), SmoothP), SmoothQ)); // a mask is -1
    s.p[1] = p1;
    s.q[1] = q1;
}

// The strong results of one side (8.7.2.4) for 8 lines in words: samples 0, 1, 2.
static void StrongWords(const __m128i Near[4], const __m128i Far[2], __m128i Out[3])
{
    const __m128i Sum = _mm_add_epi16(_mm_add_epi16(Near[1], Near[0]), Far[0]);
    const __m128i With2 = _mm_add_epi16(Sum, Near[2]);
    const auto Rounded = [](__m128i v, int Bits) {
        return _mm_srli_epi16(_mm_add_epi16(v, _mm_set1_epi16(static_cast<short>(1 << (Bits - 1)))), Bits);
    };
    Out[0] = Rounded(_mm_add_epi16(_mm_add_epi16(Sum, With2), Far[1]), 3);
    Out[1] = Rounded(With2, 2);
    const __m128i Outer = _mm_add_epi16(Near[3], Near[2]);
    Out[2] = Rounded(_mm_add_epi16(_mm_add_epi16(Outer, Outer), With2), 3);
}

// Replaces samples 0 to 2 of a side by the strong results on the lines of Strong and sample 0 by the weak one on those
// of Mask alone.
static void FilterStrongSide(__m128i Side[4], const __m128i Before[4], const __m128i Other[2], __m128i Mask,
                             __m128i Strong)
{
    const __m128i Zero = _mm_setzero_si128();
    __m128i Lower[4], Upper[4], LowerFar[2], UpperFar[2], LowerOut[3], UpperOut[3];
    for (int i = 0; i < 4; ++i) {
        Lower[i] = _mm_unpacklo_epi8(Before[i], Zero);
        Upper[i] = _mm_unpackhi_epi8(Before[i], Zero);
    }
    for (int i = 0; i < 2; ++i) {
        LowerFar[i] = _mm_unpacklo_epi8(Other[i], Zero);
        UpperFar[i] = _mm_unpackhi_epi8(Other[i], Zero);
    }
    StrongWords(Lower, LowerFar, LowerOut);
    StrongWords(Upper, UpperFar, UpperOut);
    Side[0] = Choose(Mask, WeightedMean(Before[0], Before[1], Other[1]), Before[0]);
    for (int i = 0; i < 3; ++i) Side[i] = Choose(Strong, _mm_packus_epi16(LowerOut[i], UpperOut[i]), Side[i]);
}

// bS 4 on the lines of Mask.
static void FilterStrong(Lines& s, __m128i Mask, const Thresholds& With, int Alpha)
{
    const __m128i SmallLess1 = Broadcast((Alpha >> 2) + 1);
    const __m128i Small = _mm_and_si128(IsZero(_mm_subs_epu8(Distance(s.p[0], s.q[0]), SmallLess1)), Mask);
    const Lines Before = s;
    FilterStrongSide(s.p, Before.p, Before.q, Mask, _mm_and_si128(Small, IsSmooth(Before.p, With)));
    FilterStrongSide(s.q, Before.q, Before.p, Mask, _mm_and_si128(Small, IsSmooth(Before.q, With)));
}

// ---- Luma --------------------------------------------------------------------------------------------------

// The strengths of four pieces, one byte a line.
INLINE __m128i LumaStrengths(const uint8_t pStrength[4])
{
    return _mm_shuffle_epi8(Load4(pStrength), _mm_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3));
}

static bool HasStrong(uint32_t FourStrengths) { return (FourStrengths & 0x04040404) != 0; }

// Turns 16 rows of 8 samples into 8 columns. Each step interleaves rows twice as near to one another.
INLINE Lines LoadColumns(const uint8_t* p, ptrdiff_t Step)
{
    __m128i a[8], b[8], c[8];
    for (int i = 0; i < 8; ++i) a[i] = _mm_unpacklo_epi8(Load8(p + i * Step), Load8(p + (i + 8) * Step));
    for (int i = 0; i < 4; ++i) {
        b[i] = _mm_unpacklo_epi8(a[i], a[i + 4]);
        b[i + 4] = _mm_unpackhi_epi8(a[i], a[i + 4]);
    }
    for (int i = 0; i < 8; i += 4)
        for (int k = 0; k < 2; ++k) {
            c[i + k] = _mm_unpacklo_epi8(b[i + k], b[i + k + 2]);
            c[i + k + 2] = _mm_unpackhi_epi8(b[i + k], b[i + k + 2]);
        }
    Lines s;
    for (int i = 0; i < 2; ++i) {
        s.p[3 - 2 * i] = _mm_unpacklo_epi8(c[2 * i], c[2 * i + 1]);
        s.p[2 - 2 * i] = _mm_unpackhi_epi8(c[2 * i], c[2 * i + 1]);
        s.q[2 * i] = _mm_unpacklo_epi8(c[4 + 2 * i], c[5 + 2 * i]);
        s.q[2 * i + 1] = _mm_unpackhi_epi8(c[4 + 2 * i], c[5 + 2 * i]);
    }
    return s;
}

// Four rows of 4 samples each.
INLINE void StoreFourRows(uint8_t* p, ptrdiff_t Step, __m128i Rows)
{
    Store4(p, Rows);
    Store4(p + Step, _mm_shuffle_epi32(Rows, 1));
    Store4(p + 2 * Step, _mm_shuffle_epi32(Rows, 2));
    Store4(p + 3 * Step, _mm_shuffle_epi32(Rows, 3));
}

// Writes p1, p0, q0, q1 of 16 rows; p is where p1 of row 0 lies.
INLINE void StoreFourColumns(uint8_t* p, ptrdiff_t Step, const Lines& s)
{
    const __m128i pLower = _mm_unpacklo_epi8(s.p[1], s.p[0]), pUpper = _mm_unpackhi_epi8(s.p[1], s.p[0]);
    const __m128i qLower = _mm_unpacklo_epi8(s.q[0], s.q[1]), qUpper = _mm_unpackhi_epi8(s.q[0], s.q[1]);
    StoreFourRows(p, Step, _mm_unpacklo_epi16(pLower, qLower));
    StoreFourRows(p + 4 * Step, Step, _mm_unpackhi_epi16(pLower, qLower));
    StoreFourRows(p + 8 * Step, Step, _mm_unpacklo_epi16(pUpper, qUpper));
    StoreFourRows(p + 12 * Step, Step, _mm_unpackhi_epi16(pUpper, qUpper));
}

static void StoreTwoRows(uint8_t* p, ptrdiff_t Step, __m128i Rows)
{
    Store8(p, Rows);
    StoreUpper8(p + Step, Rows);
}

// Four rows from the dwords p3..p0 and q0..q3 of each.
static void StoreFourLongRows(uint8_t* p, ptrdiff_t Step, __m128i pSide, __m128i qSide)
{
    StoreTwoRows(p, Step, _mm_unpacklo_epi32(pSide, qSide));
    StoreTwoRows(p + 2 * Step, Step, _mm_unpackhi_epi32(pSide, qSide));
}

// Writes all 8 columns; p is where p3 of row 0 lies.
static void StoreEightColumns(uint8_t* p, ptrdiff_t Step, const Lines& s)
{
    for (int Half = 0; Half < 2; ++Half, p += 8 * Step) {
        const auto Interleave = [Half](__m128i a, __m128i b) {
            return Half ? _mm_unpackhi_epi8(a, b) : _mm_unpacklo_epi8(a, b);
        };
        const __m128i p32 = Interleave(s.p[3], s.p[2]), p10 = Interleave(s.p[1], s.p[0]);
        const __m128i q01 = Interleave(s.q[0], s.q[1]), q23 = Interleave(s.q[2], s.q[3]);
        StoreFourLongRows(p, Step, _mm_unpacklo_epi16(p32, p10), _mm_unpacklo_epi16(q01, q23));
        StoreFourLongRows(p + 4 * Step, Step, _mm_unpackhi_epi16(p32, p10), _mm_unpackhi_epi16(q01, q23));
    }
}

// The lines of a vertical edge lie in rows, those of a horizontal one in columns. pQ is sample q0 of the first line.
struct Vertical {
    static constexpr bool kAcrossRows = false;
    [[gnu::always_inline]] static Lines Load(const uint8_t* pQ, ptrdiff_t Step) { return LoadColumns(pQ - 4, Step); }
    [[gnu::always_inline]] static Lines LoadLong(const uint8_t* pQ, ptrdiff_t Step)
    {
        return LoadColumns(pQ - 4, Step);
    }
    [[gnu::always_inline]] static void Store(uint8_t* pQ, ptrdiff_t Step, const Lines& s)
    {
        StoreFourColumns(pQ - 2, Step, s);
    }
    [[gnu::always_inline]] static void StoreLong(uint8_t* pQ, ptrdiff_t Step, const Lines& s)
    {
        StoreEightColumns(pQ - 4, Step, s);
    }
};

struct Horizontal {
    static constexpr bool kAcrossRows = true;
    [[gnu::always_inline]] static Lines Load(const uint8_t* pQ, ptrdiff_t Step)
    {
        Lines s;
        for (int i = 0; i < 3; ++i) {
            s.p[i] = Load16(pQ - (i + 1) * Step);
            s.q[i] = Load16(pQ + i * Step);
        }
        return s;
    }
    [[gnu::always_inline]] static Lines LoadLong(const uint8_t* pQ, ptrdiff_t Step)
    {
        Lines s = Load(pQ, Step);
        s.p[3] = Load16(pQ - 4 * Step);
        s.q[3] = Load16(pQ + 3 * Step);
        return s;
    }
    [[gnu::always_inline]] static void Store(uint8_t* pQ, ptrdiff_t Step, const Lines& s)
    {
        for (int i = 0; i < 2; ++i) {
            Store16(pQ - (i + 1) * Step, s.p[i]);
            Store16(pQ + i * Step, s.q[i]);
        }
    }
    [[gnu::always_inline]] static void StoreLong(uint8_t* pQ, ptrdiff_t Step, const Lines& s)
    {
        Store(pQ, Step, s);
        Store16(pQ - 3 * Step, s.p[2]);
        Store16(pQ + 2 * Step, s.q[2]);
    }
};

// An edge with strengths up to 3.
template <class Direction>
INLINE void FilterNormalEdge(uint8_t* pQ, ptrdiff_t Step, const uint8_t pStrength[4], const Thresholds& With)
{
    Lines s = Direction::Load(pQ, Step);
    const __m128i Strength = LumaStrengths(pStrength);
    const __m128i Mask = _mm_andnot_si128(IsZero(Strength), FilteredLines(s, With));
    if (!AnyByte(Mask)) return;
    FilterNormal(s, Mask, _mm_shuffle_epi8(With.Clip, Strength), With);
    Direction::Store(pQ, Step, s);
}

// An edge with strength 4. Pieces with and without it meet beside a pair of macroblocks of which one is intra.
template <class Direction>
[[gnu::noinline]] static void FilterStrongEdge(uint8_t* pQ, ptrdiff_t Step, const EdgeParams& Params)
{
    const Thresholds With = ThresholdsOf(Params, 0);
    Lines s = Direction::LoadLong(pQ, Step);
    const __m128i Strength = LumaStrengths(Params.Strength);
    const __m128i Mask = _mm_andnot_si128(IsZero(Strength), FilteredLines(s, With));
    if (!AnyByte(Mask)) return;
    const __m128i IsFour = _mm_cmpeq_epi8(Strength, _mm_set1_epi8(4));
    const __m128i Normal = _mm_andnot_si128(IsFour, Mask);
    if (AnyByte(Normal)) FilterNormal(s, Normal, _mm_shuffle_epi8(With.Clip, Strength), With);
    FilterStrong(s, _mm_and_si128(IsFour, Mask), With, Params.Alpha[0]);
    Direction::StoreLong(pQ, Step, s);
}

template <class Direction>
static void FilterLuma(uint8_t* pPlane, ptrdiff_t Step, const EdgeParams& Params)
{
    uint32_t Strengths[4];
    std::memcpy(Strengths, Params.Strength, sizeof Strengths);
    if (Strengths[0] && !Closed(Params, 0)) {
        if (HasStrong(Strengths[0]))
            FilterStrongEdge<Direction>(pPlane, Step, Params);
        else
            FilterNormalEdge<Direction>(pPlane, Step, Params.Strength, ThresholdsOf(Params, 0));
    }
    if ((Strengths[1] | Strengths[2] | Strengths[3]) == 0 || Closed(Params, 1)) return;
    const Thresholds With = ThresholdsOf(Params, 1);
    for (int Edge = 1; Edge < 4; ++Edge) {
        pPlane += Direction::kAcrossRows ? 4 * Step : 4;
        if (Strengths[Edge]) FilterNormalEdge<Direction>(pPlane, Step, Params.Strength + 4 * Edge, With);
    }
}

void FilterLumaVertical_v8(uint8_t* pPlane, ptrdiff_t Step, const EdgeParams* pParams)
{
    FilterLuma<Vertical>(pPlane, Step, *pParams);
}

void FilterLumaHorizontal_v8(uint8_t* pPlane, ptrdiff_t Step, const EdgeParams* pParams)
{
    FilterLuma<Horizontal>(pPlane, Step, *pParams);
}

// ---- Chroma: U in the lower 8 lines, V in the upper ones -------------------------------------------------------

static __m128i JoinHalves(__m128i a, __m128i b) { return _mm_unpacklo_epi64(a, b); }

INLINE Thresholds JointThresholds(const EdgeParams& u, const EdgeParams& v, int Inner)
{
    const Thresholds a = ThresholdsOf(u, Inner), b = ThresholdsOf(v, Inner);
    return {JoinHalves(a.AlphaLess1, b.AlphaLess1), JoinHalves(a.BetaLess1, b.BetaLess1),
            _mm_unpacklo_epi32(a.Clip, b.Clip)};
}

INLINE __m128i OpenPlanes(const EdgeParams& u, const EdgeParams& v, int Inner)
{
    return JoinHalves(_mm_set1_epi8(Closed(u, Inner) ? 0 : -1), _mm_set1_epi8(Closed(v, Inner) ? 0 : -1));
}

// Changes p0 and q0 only; whether it has changed any.
INLINE bool FilterChromaLines(Lines& s, const uint8_t pStrength[4], __m128i Open, const Thresholds& With)
{
    const __m128i Pieces = _mm_setr_epi8(0, 0, 1, 1, 2, 2, 3, 3, 0, 0, 1, 1, 2, 2, 3, 3);
    const __m128i Strength = _mm_shuffle_epi8(Load4(pStrength), Pieces);
    const __m128i Mask = _mm_andnot_si128(IsZero(Strength), _mm_and_si128(FilteredLines(s, With), Open));
    if (!AnyByte(Mask)) return false;
    const __m128i Strong = _mm_and_si128(_mm_cmpeq_epi8(Strength, _mm_set1_epi8(4)), Mask);
    const Lines Before = s;
    // tC is tC0 + 1; the clip values of V lie four bytes behind those of U.
    const __m128i SecondTable = _mm_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 4, 4, 4, 4, 4, 4, 4, 4);
    const __m128i Clip = _mm_shuffle_epi8(With.Clip, _mm_add_epi8(Strength, SecondTable));
    MoveEdge(s, _mm_and_si128(_mm_add_epi8(Clip, _mm_set1_epi8(1)), _mm_andnot_si128(Strong, Mask)));
    if (AnyByte(Strong)) {
        s.p[0] = Choose(Strong, WeightedMean(Before.p[0], Before.p[1], Before.q[1]), s.p[0]);
        s.q[0] = Choose(Strong, WeightedMean(Before.q[0], Before.q[1], Before.p[1]), s.q[0]);
    }
    return true;
}

// p1, p0, q0, q1 of 8 rows of each plane.
INLINE Lines LoadChromaColumns(const uint8_t* pU, const uint8_t* pV, ptrdiff_t Step)
{
    __m128i a[8], b[4], c[4];
    for (int i = 0; i < 8; ++i) a[i] = _mm_unpacklo_epi8(Load4(pU + i * Step), Load4(pV + i * Step));
    for (int i = 0; i < 4; ++i) b[i] = _mm_unpacklo_epi8(a[i], a[i + 4]);
    for (int i = 0; i < 2; ++i) {
        c[i] = _mm_unpacklo_epi8(b[i], b[i + 2]);
        c[i + 2] = _mm_unpackhi_epi8(b[i], b[i + 2]);
    }
    Lines s;
    s.p[1] = _mm_unpacklo_epi8(c[0], c[1]);
    s.p[0] = _mm_unpackhi_epi8(c[0], c[1]);
    s.q[0] = _mm_unpacklo_epi8(c[2], c[3]);
    s.q[1] = _mm_unpackhi_epi8(c[2], c[3]);
    return s;
}

// Eight rows of 2 samples each.
INLINE void StorePairs(uint8_t* p, ptrdiff_t Step, __m128i Rows)
{
    const auto Store = [&](int Value) {
        const auto Pair = static_cast<uint16_t>(Value);
        std::memcpy(p, &Pair, sizeof Pair);
        p += Step;
    };
    Store(_mm_extract_epi16(Rows, 0));
    Store(_mm_extract_epi16(Rows, 1));
    Store(_mm_extract_epi16(Rows, 2));
    Store(_mm_extract_epi16(Rows, 3));
    Store(_mm_extract_epi16(Rows, 4));
    Store(_mm_extract_epi16(Rows, 5));
    Store(_mm_extract_epi16(Rows, 6));
    Store(_mm_extract_epi16(Rows, 7));
}

// The same for chroma, of both planes.
struct VerticalChroma {
    static constexpr bool kAcrossRows = false;
    [[gnu::always_inline]] static Lines Load(const uint8_t* pU, const uint8_t* pV, ptrdiff_t Step)
    {
        return LoadChromaColumns(pU - 2, pV - 2, Step);
    }
    [[gnu::always_inline]] static void Store(uint8_t* pU, uint8_t* pV, ptrdiff_t Step, const Lines& s)
    {
        StorePairs(pU - 1, Step, _mm_unpacklo_epi8(s.p[0], s.q[0]));
        StorePairs(pV - 1, Step, _mm_unpackhi_epi8(s.p[0], s.q[0]));
    }
};

struct HorizontalChroma {
    static constexpr bool kAcrossRows = true;
    [[gnu::always_inline]] static Lines Load(const uint8_t* pU, const uint8_t* pV, ptrdiff_t Step)
    {
        Lines s;
        for (int i = 0; i < 2; ++i) {
            s.p[i] = JoinHalves(Load8(pU - (i + 1) * Step), Load8(pV - (i + 1) * Step));
            s.q[i] = JoinHalves(Load8(pU + i * Step), Load8(pV + i * Step));
        }
        return s;
    }
    [[gnu::always_inline]] static void Store(uint8_t* pU, uint8_t* pV, ptrdiff_t Step, const Lines& s)
    {
        Store8(pU - Step, s.p[0]);
        StoreUpper8(pV - Step, s.p[0]);
        Store8(pU, s.q[0]);
        StoreUpper8(pV, s.q[0]);
    }
};

template <class Direction>
static void FilterChroma(uint8_t* pU, uint8_t* pV, ptrdiff_t Step, const EdgeParams& u, const EdgeParams& v)
{
    for (int Inner = 0; Inner < 2; ++Inner) {
        const uint8_t* const pStrength = u.Strength + 8 * Inner;
        uint32_t Strengths;
        std::memcpy(&Strengths, pStrength, sizeof Strengths);
        if (Strengths == 0 || (Closed(u, Inner) && Closed(v, Inner))) continue;
        const ptrdiff_t At = Inner * (Direction::kAcrossRows ? 4 * Step : 4);
        Lines s = Direction::Load(pU + At, pV + At, Step);
        if (FilterChromaLines(s, pStrength, OpenPlanes(u, v, Inner), JointThresholds(u, v, Inner)))
            Direction::Store(pU + At, pV + At, Step, s);
    }
}

void FilterChromaVertical_v8(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                             const EdgeParams* pParamsV)
{
    FilterChroma<VerticalChroma>(pPlaneU, pPlaneV, Step, *pParamsU, *pParamsV);
}

void FilterChromaHorizontal_v8(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                               const EdgeParams* pParamsV)
{
    FilterChroma<HorizontalChroma>(pPlaneU, pPlaneV, Step, *pParamsU, *pParamsV);
}

} // namespace kernels
