// Intra prediction of 4x4 blocks of samples of 2 bytes: two rows are a register.
#include <emmintrin.h>

#include "kernels/intra/intra.h"
#include "kernels/intra/sample_words.h"

namespace kernels {

namespace {

// Registers pass between these only where everything that touches them is one function.
#define INLINE [[gnu::always_inline]] static inline

INLINE __m128i Load4(const uint16_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }

// The neighbours on one line, L3 L2 L1 L0 M T0 T1 T2 and T3 T4 T5 T6 T7 with T7 once more: left ones from the lowest
// up, above-left, above and above-right.
struct Line {
    __m128i Lower, Upper;
};

INLINE Line LineOf(__m128i LeftAndCorner, __m128i Above, __m128i AboveRight)
{
    const __m128i Last = _mm_shufflelo_epi16(AboveRight, 0xFF), Eight = _mm_unpacklo_epi64(Above, AboveRight);
    return {_mm_or_si128(LeftAndCorner, _mm_slli_si128(Eight, 10)), JoinAt<3>(Last, Eight)};
}

INLINE __m128i Left(const uint16_t* pAround, ptrdiff_t Step)
{
    const uint16_t* const p = pAround - 1;
    return _mm_setr_epi16(static_cast<short>(p[3 * Step]), static_cast<short>(p[2 * Step]), static_cast<short>(p[Step]),
                          static_cast<short>(p[0]), 0, 0, 0, 0);
}

// The means of neighbours i and i + 1, and the filtered values around i.
struct Values {
    Line n;
    __m128i Means, UpperMeans, Filtered, UpperFiltered;

    [[gnu::always_inline]] explicit Values(const Line& From) : n(From)
    {
        const __m128i Next = JoinAt<1>(n.Upper, n.Lower), UpperNext = _mm_srli_si128(n.Upper, 2);
        const __m128i First = _mm_insert_epi16(_mm_slli_si128(n.Lower, 2), _mm_cvtsi128_si32(n.Lower), 0);
        Means = _mm_avg_epu16(n.Lower, Next);
        UpperMeans = _mm_avg_epu16(n.Upper, UpperNext);
        Filtered = Mean3(First, n.Lower, Next);
        UpperFiltered = Mean3(JoinAt<7>(n.Upper, n.Lower), n.Upper, UpperNext);
    }
};

// Rows 0 and 1, rows 2 and 3.
struct Block {
    __m128i Upper, Lower;
};

INLINE Block Rows(__m128i a, __m128i b, __m128i c, __m128i d)
{
    return {_mm_unpacklo_epi64(a, b), _mm_unpacklo_epi64(c, d)};
}

INLINE Block Same(__m128i v) { return {v, v}; }

// 8.3.1.2.3
INLINE Block PredictDc(const Line& n, unsigned Available, int Depth)
{
    const __m128i Both = _mm_unpacklo_epi64(n.Lower, JoinAt<5>(n.Upper, n.Lower));
    const __m128i Pairs = _mm_madd_epi16(Both, _mm_set1_epi16(1)),
                  Sums = _mm_add_epi32(Pairs, _mm_srli_epi64(Pairs, 32));
    const int Beside = _mm_cvtsi128_si32(Sums), Above = _mm_cvtsi128_si32(_mm_unpackhi_epi64(Sums, Sums));
    switch (Available & (kLeft | kTop)) {
    case kLeft | kTop: return Same(Splat((Beside + Above + 4) >> 3));
    case kLeft: return Same(Splat((Beside + 2) >> 2));
    case kTop: return Same(Splat((Above + 2) >> 2));
    default: return Same(Splat(1 << (Depth - 1)));
    }
}

// 8.3.1.2.1 to 8.3.1.2.9 but DC.
template <int Mode>
INLINE Block Predict(const Values& v)
{
    const Line& n = v.n;
    if constexpr (Mode == 0) {
        const __m128i Above = JoinAt<5>(n.Upper, n.Lower);
        return Same(_mm_unpacklo_epi64(Above, Above));
    } else if constexpr (Mode == 1) {
        const __m128i Twice = _mm_unpacklo_epi16(n.Lower, n.Lower);
        return {_mm_shuffle_epi32(Twice, _MM_SHUFFLE(2, 2, 3, 3)), _mm_shuffle_epi32(Twice, _MM_SHUFFLE(0, 0, 1, 1))};
    } else if constexpr (Mode == 3) {
        return Rows(JoinAt<6>(v.UpperFiltered, v.Filtered), JoinAt<7>(v.UpperFiltered, v.Filtered), v.UpperFiltered,
                    _mm_srli_si128(v.UpperFiltered, 2));
    } else if constexpr (Mode == 4) {
        return Rows(_mm_srli_si128(v.Filtered, 8), _mm_srli_si128(v.Filtered, 6), _mm_srli_si128(v.Filtered, 4),
                    _mm_srli_si128(v.Filtered, 2));
    } else if constexpr (Mode == 5) { // the first of rows 2 and 3 are filtered ones at the left
        const __m128i Even = _mm_srli_si128(v.Means, 8), Odd = _mm_srli_si128(v.Filtered, 8);
        return Rows(Even, Odd, _mm_insert_epi16(_mm_slli_si128(Even, 2), _mm_extract_epi16(v.Filtered, 3), 0),
                    _mm_insert_epi16(_mm_slli_si128(Odd, 2), _mm_extract_epi16(v.Filtered, 2), 0));
    } else if constexpr (Mode == 6) { // means and filtered values in turn, the latter alone above the block
        const __m128i Turns = _mm_unpacklo_epi16(v.Means, _mm_srli_si128(v.Filtered, 2));
        return Rows(JoinAt<6>(_mm_srli_si128(v.Filtered, 10), Turns), _mm_srli_si128(Turns, 8),
                    _mm_srli_si128(Turns, 4), Turns);
    } else if constexpr (Mode == 7) {
        return Rows(JoinAt<5>(v.UpperMeans, v.Means), JoinAt<6>(v.UpperFiltered, v.Filtered),
                    JoinAt<6>(v.UpperMeans, v.Means), JoinAt<7>(v.UpperFiltered, v.Filtered));
    } else { // 8: pairs of a mean and a filtered value down the left side, then the lowest sample
        const __m128i Pairs = _mm_unpacklo_epi16(v.Means, v.Filtered);
        const __m128i Lowest = _mm_shuffle_epi32(_mm_unpacklo_epi16(n.Lower, n.Lower), 0);
        return {_mm_shuffle_epi32(Pairs, _MM_SHUFFLE(0, 1, 1, 2)),
                _mm_unpacklo_epi64(_mm_unpacklo_epi32(Pairs, Lowest), Lowest)};
    }
}

// ---- One mode ----------------------------------------------------------------------------------------------

// The neighbours that are there; those above-right repeat the last one above where they are missing.
INLINE Line Gather(const uint16_t* pAround, ptrdiff_t Step, const uint16_t* pTopRight, unsigned Available)
{
    __m128i LeftAndCorner = _mm_setzero_si128(), Above = LeftAndCorner, AboveRight = LeftAndCorner;
    if (Available & kLeft) LeftAndCorner = Left(pAround, Step);
    if (Available & kTopLeft) LeftAndCorner = _mm_insert_epi16(LeftAndCorner, pAround[-Step - 1], 4);
    if (Available & kTop) {
        Above = Load4(pAround - Step);
        AboveRight = Available & kTopRight ? Load4(pTopRight) : _mm_shufflelo_epi16(Above, 0xFF);
    }
    return LineOf(LeftAndCorner, Above, AboveRight);
}

INLINE Block PredictMode(int Mode, const Line& n, unsigned Available, int Depth)
{
    if (Mode == 2) return PredictDc(n, Available, Depth);
    const Values v(n);
    switch (Mode) {
    case 0: return Predict<0>(v);
    case 1: return Predict<1>(v);
    case 3: return Predict<3>(v);
    case 4: return Predict<4>(v);
    case 5: return Predict<5>(v);
    case 6: return Predict<6>(v);
    case 7: return Predict<7>(v);
    default: return Predict<8>(v);
    }
}

// ---- All modes ---------------------------------------------------------------------------------------------

// A source block, and where predictions of it go.
struct Choice {
    Block Source;
    uint16_t (*pPredictions)[16];

    // Stores a prediction; the sums of absolute differences of its columns by twos. Words hold the sum of two of 14
    // bits.
    [[gnu::always_inline]] __m128i Put(int Mode, const Block& b) const
    {
        auto* const p = reinterpret_cast<__m128i*>(pPredictions[Mode]);
        _mm_store_si128(p, b.Upper);
        _mm_store_si128(p + 1, b.Lower);
        const __m128i u = Distance(b.Upper, Source.Upper), l = Distance(b.Lower, Source.Lower);
        return _mm_madd_epi16(_mm_add_epi16(u, l), _mm_set1_epi16(1));
    }
    [[gnu::always_inline]] static __m128i Distance(__m128i a, __m128i b)
    {
        return _mm_sub_epi16(_mm_max_epi16(a, b), _mm_min_epi16(a, b));
    }
};

// The sums of four registers.
INLINE __m128i SumsOf(__m128i a, __m128i b, __m128i c, __m128i d)
{
    const __m128i ab = _mm_add_epi32(_mm_unpacklo_epi32(a, b), _mm_unpackhi_epi32(a, b));
    const __m128i cd = _mm_add_epi32(_mm_unpacklo_epi32(c, d), _mm_unpackhi_epi32(c, d));
    return _mm_add_epi32(_mm_unpacklo_epi64(ab, cd), _mm_unpackhi_epi64(ab, cd));
}

} // namespace

void PredictIntra4x4Deep_w7(int Mode, const uint16_t* pAround, ptrdiff_t AroundStep, const uint16_t* pTopRight,
                            uint16_t* pDst, ptrdiff_t DstStep, unsigned Available, int Depth)
{
    const Block b = PredictMode(Mode, Gather(pAround, AroundStep / 2, pTopRight, Available), Available, Depth);
    const auto Put = [&](int y, __m128i Row) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(pDst + y * (DstStep / 2)), Row);
    };
    Put(0, b.Upper);
    Put(1, _mm_unpackhi_epi64(b.Upper, b.Upper));
    Put(2, b.Lower);
    Put(3, _mm_unpackhi_epi64(b.Lower, b.Lower));
}

void PredictAll4x4Deep_w7(const uint16_t* pSrc, ptrdiff_t SrcStep, const uint16_t* pAround, ptrdiff_t AroundStep,
                          unsigned Available, uint16_t (*pPredictions)[16], int32_t* pSad, int Depth)
{
    const auto Source = [&](int y) { return Load4(pSrc + y * (SrcStep / 2)); };
    const Choice c{Rows(Source(0), Source(1), Source(2), Source(3)), pPredictions};
    const Values v(Gather(pAround, AroundStep / 2, pAround - AroundStep / 2 + 4,
                          kLeft | kTop | kTopLeft | (Available & kTopRight)));
    const __m128i First = SumsOf(c.Put(0, Predict<0>(v)), c.Put(1, Predict<1>(v)),
                                 c.Put(2, PredictDc(v.n, Available, Depth)), c.Put(3, Predict<3>(v)));
    const __m128i Second =
        SumsOf(c.Put(4, Predict<4>(v)), c.Put(5, Predict<5>(v)), c.Put(6, Predict<6>(v)), c.Put(7, Predict<7>(v)));
    const __m128i Last = c.Put(8, Predict<8>(v));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pSad), First);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pSad + 4), Second);
    pSad[8] = _mm_cvtsi128_si32(SumsOf(Last, Last, Last, Last));
}

} // namespace kernels
