// The edge filters for samples of 2 bytes, 8 lines through an edge at a time. Every sum is taken such that samples of
// 14 bits, the deepest, stay in 16 bits; where it needs the last of them, shifts are those of numbers without sign.
#include <cstring>
#include <emmintrin.h>

#include "kernels/deblocking/deblocking.h"
#include "kernels/transpose_words.h"

namespace kernels {

namespace {

// Lines stay in registers only where everything that touches them is one function.
#define INLINE [[gnu::always_inline]] static inline

// The samples of eight lines, a register for each place; 0 is the one at the edge.
struct DeepLines {
    __m128i p[4], q[4];
};

// What lines are filtered with: the thresholds of the edge, and strength and clip value of each line.
struct DeepEdge {
    __m128i Alpha, SmallAlpha, Beta, Strength, Clip, Max;
};

INLINE __m128i Load8(const uint16_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
INLINE __m128i Load4(const uint16_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
INLINE void Store8(uint16_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

INLINE void Store2(uint16_t* p, __m128i v)
{
    const int Value = _mm_cvtsi128_si32(v);
    std::memcpy(p, &Value, sizeof Value);
}

INLINE __m128i Splat(int Value) { return _mm_set1_epi16(static_cast<short>(Value)); }
INLINE bool Any(__m128i Mask) { return _mm_movemask_epi8(Mask) != 0; }
INLINE __m128i Choose(__m128i Mask, __m128i a, __m128i b)
{
    return _mm_or_si128(_mm_and_si128(Mask, a), _mm_andnot_si128(Mask, b));
}
INLINE __m128i Distance(__m128i a, __m128i b) { return _mm_or_si128(_mm_subs_epu16(a, b), _mm_subs_epu16(b, a)); }
INLINE __m128i Limit(__m128i v, __m128i Least, __m128i Most) { return _mm_min_epi16(_mm_max_epi16(v, Least), Most); }
INLINE __m128i Negative(__m128i v) { return _mm_sub_epi16(_mm_setzero_si128(), v); }

// Four values, each over two lines.
INLINE __m128i Over2(int a, int b, int c, int d)
{
    return _mm_setr_epi32(a | a << 16, b | b << 16, c | c << 16, d | d << 16);
}

// An edge whose 8 lines have the four strengths s, two lines each.
INLINE DeepEdge EdgeOf(const EdgeParams& Params, int Inner, const uint8_t s[4], int Depth)
{
    const int Up = Depth - 8, Alpha = Params.Alpha[Inner] << Up;
    int Clip[4];
    for (int i = 0; i < 4; ++i) Clip[i] = s[i] & 3 ? Params.Clip[Inner][s[i]] << Up : 0;
    return {Splat(Alpha),
            Splat((Alpha >> 2) + 2),
            Splat(Params.Beta[Inner] << Up),
            Over2(s[0], s[1], s[2], s[3]),
            Over2(Clip[0], Clip[1], Clip[2], Clip[3]),
            Splat((1 << Depth) - 1)};
}

// Lines that are filtered (8.7.2.2).
INLINE __m128i FilteredLines(const DeepLines& s, const DeepEdge& With)
{
    const __m128i Steps = _mm_max_epi16(Distance(s.p[1], s.p[0]), Distance(s.q[1], s.q[0]));
    const __m128i IsSmall =
        _mm_and_si128(_mm_cmpgt_epi16(With.Alpha, Distance(s.p[0], s.q[0])), _mm_cmpgt_epi16(With.Beta, Steps));
    return _mm_and_si128(IsSmall, _mm_cmpgt_epi16(With.Strength, _mm_setzero_si128()));
}

INLINE __m128i IsSmooth(const __m128i Side[4], const DeepEdge& With)
{
    return _mm_cmpgt_epi16(With.Beta, Distance(Side[2], Side[0]));
}

// Moves p0 and q0 by delta (8.7.2.3), limited to Most. (4 d + e + 4) >> 3 is (d + ((e + 4) >> 2)) >> 1.
INLINE void MoveEdge(DeepLines& s, __m128i Most, __m128i Max)
{
    const __m128i Outer = _mm_srai_epi16(_mm_add_epi16(_mm_sub_epi16(s.p[1], s.q[1]), Splat(4)), 2);
    const __m128i Both = _mm_srai_epi16(_mm_add_epi16(_mm_sub_epi16(s.q[0], s.p[0]), Outer), 1);
    const __m128i Delta = Limit(Both, Negative(Most), Most), Zero = _mm_setzero_si128();
    s.p[0] = Limit(_mm_add_epi16(s.p[0], Delta), Zero, Max);
    s.q[0] = Limit(_mm_sub_epi16(s.q[0], Delta), Zero, Max);
}

// Sample 1 of a side moves towards (sample 2 + middle) / 2 by at most Most.
INLINE __m128i MoveSecond(const __m128i Side[4], __m128i Middle, __m128i Most)
{
    const __m128i Twice = _mm_add_epi16(Side[1], Side[1]);
    const __m128i Change = _mm_srai_epi16(_mm_sub_epi16(_mm_add_epi16(Side[2], Middle), Twice), 1);
    return _mm_add_epi16(Side[1], Limit(Change, Negative(Most), Most));
}

// bS 1 to 3 (8.7.2.3) on the lines of Mask.
INLINE void FilterNormal(DeepLines& s, __m128i Mask, const DeepEdge& With)
{
    const __m128i SmoothP = _mm_and_si128(IsSmooth(s.p, With), Mask),
                  SmoothQ = _mm_and_si128(IsSmooth(s.q, With), Mask);
    const __m128i Middle = _mm_avg_epu16(s.p[0], s.q[0]);
    const __m128i p1 = MoveSecond(s.p, Middle, _mm_and_si128(With.Clip, SmoothP));
    const __m128i q1 = MoveSecond(s.q, Middle, _mm_and_si128(With.Clip, SmoothQ));
    const __m128i Clip = _mm_and_si128(With.Clip, Mask); // a mask is -1
    MoveEdge(s, _mm_sub_epi16(_mm_sub_epi16(Clip, SmoothP), SmoothQ), With.Max);
    s.p[1] = p1;
    s.q[1] = q1;
}

// (a + 2 b + c + 2) >> 2
INLINE __m128i WeightedMean(__m128i a, __m128i b, __m128i c)
{
    const __m128i Sum = _mm_add_epi16(_mm_add_epi16(a, c), _mm_add_epi16(b, b));
    return _mm_srli_epi16(_mm_add_epi16(Sum, Splat(2)), 2);
}

// One side with bS 4 (8.7.2.4): all three samples on the lines of Strong, sample 0 alone on the others of Mask. Sums of
// eight are halved before the last shift.
INLINE void FilterStrongSide(__m128i Side[4], const __m128i Near[4], const __m128i Far[4], __m128i Mask, __m128i Strong)
{
    const __m128i Three = _mm_add_epi16(_mm_add_epi16(Near[1], Near[0]), Far[0]), Two = Splat(2);
    const __m128i Ends = _mm_srli_epi16(_mm_add_epi16(Near[2], Far[1]), 1), Four = _mm_add_epi16(Three, Near[2]);
    const __m128i Outer = _mm_add_epi16(_mm_add_epi16(Near[3], Near[2]), _mm_srli_epi16(Four, 1));
    const __m128i New[3] = {_mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(Three, Ends), Two), 2),
                            _mm_srli_epi16(_mm_add_epi16(Four, Two), 2), _mm_srli_epi16(_mm_add_epi16(Outer, Two), 2)};
    Side[0] = Choose(Mask, WeightedMean(Near[0], Near[1], Far[1]), Side[0]);
    for (int i = 0; i < 3; ++i) Side[i] = Choose(Strong, New[i], Side[i]);
}

// bS 4 on the lines of Mask.
INLINE void FilterStrong(DeepLines& s, __m128i Mask, const DeepEdge& With)
{
    const __m128i Small = _mm_and_si128(_mm_cmpgt_epi16(With.SmallAlpha, Distance(s.p[0], s.q[0])), Mask);
    const DeepLines Before = s;
    FilterStrongSide(s.p, Before.p, Before.q, Mask, _mm_and_si128(Small, IsSmooth(Before.p, With)));
    FilterStrongSide(s.q, Before.q, Before.p, Mask, _mm_and_si128(Small, IsSmooth(Before.q, With)));
}

INLINE __m128i StrongLines(const DeepEdge& With) { return _mm_cmpeq_epi16(With.Strength, Splat(4)); }

// ---- Where lines lie ---------------------------------------------------------------------------------------

// The lines of a vertical edge lie in rows, those of a horizontal one in columns. pQ is sample q0 of the first line,
// Step counts samples. A place that no filter of the strengths at hand uses need not be loaded.
struct Vertical {
    [[gnu::always_inline]] static DeepLines Load(const uint16_t* pQ, ptrdiff_t Step, bool)
    {
        __m128i v[8];
        for (int i = 0; i < 8; ++i) v[i] = Load8(pQ - 4 + i * Step);
        Transpose8(v);
        return {{v[3], v[2], v[1], v[0]}, {v[4], v[5], v[6], v[7]}};
    }
    [[gnu::always_inline]] static void Store(uint16_t* pQ, ptrdiff_t Step, const DeepLines& s, bool)
    {
        __m128i v[8] = {s.p[3], s.p[2], s.p[1], s.p[0], s.q[0], s.q[1], s.q[2], s.q[3]};
        Transpose8(v);
        for (int i = 0; i < 8; ++i) Store8(pQ - 4 + i * Step, v[i]);
    }
    static ptrdiff_t Along(ptrdiff_t Step) { return Step; }
    static ptrdiff_t Across(ptrdiff_t) { return 1; }
};

struct Horizontal {
    [[gnu::always_inline]] static DeepLines Load(const uint16_t* pQ, ptrdiff_t Step, bool IsStrong)
    {
        DeepLines s;
        for (int i = 0; i < 3; ++i) {
            s.p[i] = Load8(pQ - (i + 1) * Step);
            s.q[i] = Load8(pQ + i * Step);
        }
        s.p[3] = IsStrong ? Load8(pQ - 4 * Step) : s.p[2];
        s.q[3] = IsStrong ? Load8(pQ + 3 * Step) : s.q[2];
        return s;
    }
    [[gnu::always_inline]] static void Store(uint16_t* pQ, ptrdiff_t Step, const DeepLines& s, bool IsStrong)
    {
        for (int i = 0; i < (IsStrong ? 3 : 2); ++i) {
            Store8(pQ - (i + 1) * Step, s.p[i]);
            Store8(pQ + i * Step, s.q[i]);
        }
    }
    static ptrdiff_t Along(ptrdiff_t) { return 1; }
    static ptrdiff_t Across(ptrdiff_t Step) { return Step; }
};

// ---- Luma --------------------------------------------------------------------------------------------------

// Half an edge: 8 lines.
template <class Direction>
void FilterHalf(uint16_t* pQ, ptrdiff_t Step, const EdgeParams& Params, int Inner, const uint8_t pStrength[2],
                int Depth)
{
    const uint8_t Strength[4] = {pStrength[0], pStrength[0], pStrength[1], pStrength[1]};
    const bool IsStrong = ((pStrength[0] | pStrength[1]) & 4) != 0;
    const DeepEdge With = EdgeOf(Params, Inner, Strength, Depth);
    DeepLines s = Direction::Load(pQ, Step, IsStrong);
    const __m128i Mask = FilteredLines(s, With);
    if (!Any(Mask)) return;
    if (IsStrong) {
        const __m128i Strong = StrongLines(With);
        FilterNormal(s, _mm_andnot_si128(Strong, Mask), With);
        FilterStrong(s, _mm_and_si128(Strong, Mask), With);
    } else {
        FilterNormal(s, Mask, With);
    }
    Direction::Store(pQ, Step, s, IsStrong);
}

bool IsClosed(const EdgeParams& Params, int Inner) { return Params.Alpha[Inner] == 0 || Params.Beta[Inner] == 0; }

template <class Direction>
void FilterLuma(uint16_t* pPlane, ptrdiff_t Step, const EdgeParams& Params, int Depth)
{
    for (int Edge = 0; Edge < 4; ++Edge, pPlane += 4 * Direction::Across(Step)) {
        if (IsClosed(Params, Edge != 0)) continue;
        for (int Half = 0; Half < 2; ++Half) {
            const uint8_t* const pStrength = Params.Strength + Edge * 4 + Half * 2;
            if ((pStrength[0] | pStrength[1]) != 0)
                FilterHalf<Direction>(pPlane + Half * 8 * Direction::Along(Step), Step, Params, Edge != 0, pStrength,
                                      Depth);
        }
    }
}

// ---- Chroma ------------------------------------------------------------------------------------------------

// The same for chroma, whose filters use two samples of a side and change one.
struct VerticalChroma {
    [[gnu::always_inline]] static DeepLines Load(const uint16_t* pQ, ptrdiff_t Step)
    {
        __m128i a[4], b[4];
        for (int i = 0; i < 4; ++i) a[i] = _mm_unpacklo_epi16(Load4(pQ - 2 + i * Step), Load4(pQ - 2 + (i + 4) * Step));
        for (int i = 0; i < 2; ++i) {
            b[2 * i] = _mm_unpacklo_epi16(a[i], a[i + 2]);
            b[2 * i + 1] = _mm_unpackhi_epi16(a[i], a[i + 2]);
        }
        DeepLines s;
        s.p[1] = _mm_unpacklo_epi16(b[0], b[2]);
        s.p[0] = _mm_unpackhi_epi16(b[0], b[2]);
        s.q[0] = _mm_unpacklo_epi16(b[1], b[3]);
        s.q[1] = _mm_unpackhi_epi16(b[1], b[3]);
        return s;
    }
    [[gnu::always_inline]] static void Store(uint16_t* pQ, ptrdiff_t Step, const DeepLines& s)
    {
        __m128i Rows[2] = {_mm_unpacklo_epi16(s.p[0], s.q[0]), _mm_unpackhi_epi16(s.p[0], s.q[0])};
        for (int i = 0; i < 8; ++i) {
            Store2(pQ - 1 + i * Step, Rows[i / 4]);
            Rows[i / 4] = _mm_srli_si128(Rows[i / 4], 4);
        }
    }
};

struct HorizontalChroma {
    [[gnu::always_inline]] static DeepLines Load(const uint16_t* pQ, ptrdiff_t Step)
    {
        DeepLines s;
        for (int i = 0; i < 2; ++i) {
            s.p[i] = Load8(pQ - (i + 1) * Step);
            s.q[i] = Load8(pQ + i * Step);
        }
        return s;
    }
    [[gnu::always_inline]] static void Store(uint16_t* pQ, ptrdiff_t Step, const DeepLines& s)
    {
        Store8(pQ - Step, s.p[0]);
        Store8(pQ, s.q[0]);
    }
};

// 8 lines of one plane.
template <class Direction>
void FilterChromaLines(uint16_t* pQ, ptrdiff_t Step, const EdgeParams& Params, int Inner, const uint8_t Strength[4],
                       int Depth)
{
    if (IsClosed(Params, Inner) || (Strength[0] | Strength[1] | Strength[2] | Strength[3]) == 0) return;
    const DeepEdge With = EdgeOf(Params, Inner, Strength, Depth);
    DeepLines s = Direction::Load(pQ, Step);
    const __m128i Mask = FilteredLines(s, With);
    if (!Any(Mask)) return;
    const __m128i Strong = _mm_and_si128(StrongLines(With), Mask);
    const __m128i p = WeightedMean(s.p[0], s.p[1], s.q[1]), q = WeightedMean(s.q[0], s.q[1], s.p[1]);
    const __m128i Normal = _mm_andnot_si128(Strong, Mask);
    MoveEdge(s, _mm_and_si128(_mm_add_epi16(With.Clip, Splat(1)), Normal), With.Max); // tC is tC0 + 1
    s.p[0] = Choose(Strong, p, s.p[0]);
    s.q[0] = Choose(Strong, q, s.q[0]);
    Direction::Store(pQ, Step, s);
}

// Edges 0 and 4, of luma edges 0 and 2. Where a plane is 16 rows high, a strength serves four of them.
void FilterChromaVertical(uint16_t* pPlane, ptrdiff_t Step, int Height, const EdgeParams& Params,
                          const uint8_t Strengths[16], int Depth)
{
    for (int Inner = 0; Inner < 2; ++Inner) {
        const uint8_t* const s = Strengths + Inner * 8;
        uint16_t* const pQ = pPlane + Inner * 4;
        if (Height == 8) {
            FilterChromaLines<VerticalChroma>(pQ, Step, Params, Inner, s, Depth);
            continue;
        }
        const uint8_t Upper[4] = {s[0], s[0], s[1], s[1]}, Lower[4] = {s[2], s[2], s[3], s[3]};
        FilterChromaLines<VerticalChroma>(pQ, Step, Params, Inner, Upper, Depth);
        FilterChromaLines<VerticalChroma>(pQ + 8 * Step, Step, Params, Inner, Lower, Depth);
    }
}

// Edges 4 rows apart, of every second luma edge or of each.
void FilterChromaHorizontal(uint16_t* pPlane, ptrdiff_t Step, int Height, const EdgeParams& Params,
                            const uint8_t Strengths[16], int Depth)
{
    for (int Edge = 0; Edge < Height / 4; ++Edge)
        FilterChromaLines<HorizontalChroma>(pPlane + Edge * 4 * Step, Step, Params, Edge != 0,
                                            Strengths + Edge * 64 / Height, Depth);
}

} // namespace

// Steps of the functions below come in bytes.
void FilterLumaVerticalDeep_w7(uint16_t* pPlane, ptrdiff_t Step, const EdgeParams* pParams, int Depth)
{
    FilterLuma<Vertical>(pPlane, Step / 2, *pParams, Depth);
}

void FilterLumaHorizontalDeep_w7(uint16_t* pPlane, ptrdiff_t Step, const EdgeParams* pParams, int Depth)
{
    FilterLuma<Horizontal>(pPlane, Step / 2, *pParams, Depth);
}

void FilterChromaVerticalDeep_w7(uint16_t* pPlaneU, uint16_t* pPlaneV, ptrdiff_t Step, int Height,
                                 const EdgeParams* pParamsU, const EdgeParams* pParamsV, int Depth)
{
    FilterChromaVertical(pPlaneU, Step / 2, Height, *pParamsU, pParamsU->Strength, Depth);
    FilterChromaVertical(pPlaneV, Step / 2, Height, *pParamsV, pParamsU->Strength, Depth);
}

void FilterChromaHorizontalDeep_w7(uint16_t* pPlaneU, uint16_t* pPlaneV, ptrdiff_t Step, int Height,
                                   const EdgeParams* pParamsU, const EdgeParams* pParamsV, int Depth)
{
    FilterChromaHorizontal(pPlaneU, Step / 2, Height, *pParamsU, pParamsU->Strength, Depth);
    FilterChromaHorizontal(pPlaneV, Step / 2, Height, *pParamsV, pParamsU->Strength, Depth);
}

} // namespace kernels
