// Intra prediction of 8x8 blocks of samples of 2 bytes: a row is a register.
#include <emmintrin.h>

#include "kernels/intra/intra.h"
#include "kernels/intra/sample_words.h"
#include "kernels/sum_of_four.h"

namespace kernels {

namespace {

// Registers pass between these only where everything that touches them is one function.
#define INLINE [[gnu::always_inline]] static inline

INLINE __m128i Load8(const uint16_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
INLINE void Store8(uint16_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
INLINE __m128i SplatLast(__m128i v) { return _mm_shuffle_epi32(_mm_unpackhi_epi16(v, v), 0xFF); }

// The neighbours on one line: left ones from the lowest up, above-left, above and above-right ones from the left on.
struct Line {
    __m128i Left, Above, AboveRight;
    int Corner;
};

// The neighbours that are there; those above-right repeat the last one above where they are missing.
INLINE Line Gather(const uint16_t* pAround, ptrdiff_t Step, unsigned Available)
{
    const __m128i Zero = _mm_setzero_si128();
    Line n{Zero, Zero, Zero, Available & kTopLeft ? pAround[-Step - 1] : 0};
    if (Available & kLeft) {
        const uint16_t* const p = pAround - 1;
        n.Left = _mm_setr_epi16(static_cast<short>(p[7 * Step]), static_cast<short>(p[6 * Step]),
                                static_cast<short>(p[5 * Step]), static_cast<short>(p[4 * Step]),
                                static_cast<short>(p[3 * Step]), static_cast<short>(p[2 * Step]),
                                static_cast<short>(p[Step]), static_cast<short>(p[0]));
    }
    if (Available & kTop) {
        n.Above = Load8(pAround - Step);
        n.AboveRight = Available & kTopRight ? Load8(pAround - Step + 8) : SplatLast(n.Above);
    }
    return n;
}

// 8.3.2.2.1. The ends of each run of neighbours repeat themselves.
INLINE Line Smooth(const Line& n, unsigned Available)
{
    const bool Corner = Available & kTopLeft;
    const int First = _mm_extract_epi16(n.Above, 0), Nearest = _mm_extract_epi16(n.Left, 7);
    const int BeforeCorner = Available & kLeft ? Nearest : n.Corner, AfterCorner = Available & kTop ? First : n.Corner;
    const __m128i Lowest = _mm_insert_epi16(_mm_slli_si128(n.Left, 2), _mm_extract_epi16(n.Left, 0), 0);
    const __m128i Higher = _mm_insert_epi16(_mm_srli_si128(n.Left, 2), Corner ? n.Corner : Nearest, 7);
    const __m128i Before = _mm_insert_epi16(_mm_slli_si128(n.Above, 2), Corner ? n.Corner : First, 0);
    const __m128i Last = SplatLast(n.AboveRight);
    return {Mean3(Lowest, n.Left, Higher), Mean3(Before, n.Above, JoinAt<1>(n.AboveRight, n.Above)),
            Mean3(JoinAt<7>(n.AboveRight, n.Above), n.AboveRight, JoinAt<1>(Last, n.AboveRight)),
            (BeforeCorner + 2 * n.Corner + AfterCorner + 2) >> 2};
}

// ---- Modes -------------------------------------------------------------------------------------------------

// Where rows go; the step counts samples.
struct Target {
    uint16_t* p;
    ptrdiff_t Step;

    [[gnu::always_inline]] void Put(int y, __m128i Row) const { Store8(p + y * Step, Row); }
};

INLINE void PutSame(const Target& Dst, __m128i Row)
{
    for (int y = 0; y < 8; ++y) Dst.Put(y, Row);
}

INLINE void PredictHorizontal(const Line& n, const Target& Dst)
{
    const __m128i Upper = _mm_unpackhi_epi16(n.Left, n.Left), Lower = _mm_unpacklo_epi16(n.Left, n.Left);
    Dst.Put(0, _mm_shuffle_epi32(Upper, 0xFF));
    Dst.Put(1, _mm_shuffle_epi32(Upper, 0xAA));
    Dst.Put(2, _mm_shuffle_epi32(Upper, 0x55));
    Dst.Put(3, _mm_shuffle_epi32(Upper, 0x00));
    Dst.Put(4, _mm_shuffle_epi32(Lower, 0xFF));
    Dst.Put(5, _mm_shuffle_epi32(Lower, 0xAA));
    Dst.Put(6, _mm_shuffle_epi32(Lower, 0x55));
    Dst.Put(7, _mm_shuffle_epi32(Lower, 0x00));
}

INLINE int SumOf(__m128i v) { return SumOfFour(_mm_madd_epi16(v, _mm_set1_epi16(1))); }

INLINE void PredictDc(const Line& n, const Target& Dst, unsigned Available, int Depth)
{
    const unsigned Sides = Available & (kTop | kLeft);
    const int Sum = (Available & kTop ? SumOf(n.Above) : 0) + (Available & kLeft ? SumOf(n.Left) : 0);
    PutSame(Dst, Splat(Sides == (kTop | kLeft) ? (Sum + 8) >> 4 : Sides ? (Sum + 4) >> 3 : 1 << (Depth - 1)));
}

INLINE void PredictDownLeft(const Line& n, const Target& Dst)
{
    const __m128i Last = SplatLast(n.AboveRight);
    __m128i Row = Mean3(n.Above, JoinAt<1>(n.AboveRight, n.Above), JoinAt<2>(n.AboveRight, n.Above));
    __m128i Rest = Mean3(n.AboveRight, JoinAt<1>(Last, n.AboveRight), JoinAt<2>(Last, n.AboveRight));
    for (int y = 0; y < 8; ++y) {
        Dst.Put(y, Row);
        Row = JoinAt<1>(Rest, Row);
        Rest = _mm_srli_si128(Rest, 2);
    }
}

// What the modes that lean on the corner share: the corner with seven samples above, and filtered values around these
// and around the left ones.
struct Corner {
    __m128i Samples, Above, Left;

    [[gnu::always_inline]] explicit Corner(const Line& n)
        : Samples(_mm_insert_epi16(_mm_slli_si128(n.Above, 2), n.Corner, 0)),
          Above(Mean3(JoinAt<7>(Samples, n.Left), Samples, n.Above)),
          Left(Mean3(_mm_slli_si128(n.Left, 2), n.Left, JoinAt<1>(Samples, n.Left)))
    {
    }
};

INLINE void PredictDownRight(const Line& n, const Target& Dst)
{
    const Corner c(n);
    __m128i Row = c.Above, Rest = c.Left;
    for (int y = 0; y < 8; ++y) {
        Dst.Put(y, Row);
        Row = JoinAt<7>(Row, Rest);
        Rest = _mm_slli_si128(Rest, 2);
    }
}

// Rows 2 k and 2 k + 1 take their first k samples from the filtered left ones, every second one.
INLINE void PredictVerticalRight(const Line& n, const Target& Dst)
{
    const Corner c(n);
    __m128i Even = _mm_avg_epu16(c.Samples, n.Above), Odd = c.Above;
    Dst.Put(0, Even);
    Dst.Put(1, Odd);
    Even = JoinAt<7>(Even, c.Left);
    Odd = _mm_insert_epi16(_mm_slli_si128(Odd, 2), _mm_extract_epi16(c.Left, 6), 0);
    Dst.Put(2, Even);
    Dst.Put(3, Odd);
    Even = _mm_insert_epi16(_mm_slli_si128(Even, 2), _mm_extract_epi16(c.Left, 5), 0);
    Odd = _mm_insert_epi16(_mm_slli_si128(Odd, 2), _mm_extract_epi16(c.Left, 4), 0);
    Dst.Put(4, Even);
    Dst.Put(5, Odd);
    Dst.Put(6, _mm_insert_epi16(_mm_slli_si128(Even, 2), _mm_extract_epi16(c.Left, 3), 0));
    Dst.Put(7, _mm_insert_epi16(_mm_slli_si128(Odd, 2), _mm_extract_epi16(c.Left, 2), 0));
}

// From the lowest row up two more of the means and filtered values in turn, which go on with the latter above the
// block.
INLINE void PredictHorizontalDown(const Line& n, const Target& Dst)
{
    const Corner c(n);
    const __m128i Means = _mm_avg_epu16(n.Left, JoinAt<1>(c.Samples, n.Left)), Filtered = JoinAt<1>(c.Above, c.Left);
    const __m128i Lower = _mm_unpacklo_epi16(Means, Filtered), Upper = _mm_unpackhi_epi16(Means, Filtered);
    const __m128i Above = _mm_srli_si128(c.Above, 2);
    Dst.Put(7, Lower);
    Dst.Put(6, JoinAt<2>(Upper, Lower));
    Dst.Put(5, JoinAt<4>(Upper, Lower));
    Dst.Put(4, JoinAt<6>(Upper, Lower));
    Dst.Put(3, Upper);
    Dst.Put(2, JoinAt<2>(Above, Upper));
    Dst.Put(1, JoinAt<4>(Above, Upper));
    Dst.Put(0, JoinAt<6>(Above, Upper));
}

INLINE void PredictVerticalLeft(const Line& n, const Target& Dst)
{
    const __m128i Next = JoinAt<1>(n.AboveRight, n.Above), RightNext = _mm_srli_si128(n.AboveRight, 2);
    __m128i Even = _mm_avg_epu16(n.Above, Next), EvenRest = _mm_avg_epu16(n.AboveRight, RightNext);
    __m128i Odd = Mean3(n.Above, Next, JoinAt<2>(n.AboveRight, n.Above));
    __m128i OddRest = Mean3(n.AboveRight, RightNext, _mm_srli_si128(n.AboveRight, 4));
    for (int y = 0; y < 8; y += 2) {
        Dst.Put(y, Even);
        Dst.Put(y + 1, Odd);
        Even = JoinAt<1>(EvenRest, Even);
        Odd = JoinAt<1>(OddRest, Odd);
        EvenRest = _mm_srli_si128(EvenRest, 2);
        OddRest = _mm_srli_si128(OddRest, 2);
    }
}

INLINE __m128i Reversed(__m128i v)
{
    v = _mm_shufflehi_epi16(_mm_shufflelo_epi16(v, _MM_SHUFFLE(0, 1, 2, 3)), _MM_SHUFFLE(0, 1, 2, 3));
    return _mm_shuffle_epi32(v, _MM_SHUFFLE(1, 0, 3, 2));
}

INLINE void PredictHorizontalUp(const Line& n, const Target& Dst)
{
    const __m128i Down = Reversed(n.Left), Lowest = SplatLast(Down), Next = JoinAt<1>(Lowest, Down);
    const __m128i Means = _mm_avg_epu16(Down, Next), Filtered = Mean3(Down, Next, JoinAt<2>(Lowest, Down));
    __m128i Row = _mm_unpacklo_epi16(Means, Filtered), Rest = _mm_unpackhi_epi16(Means, Filtered);
    for (int y = 0; y < 8; ++y) {
        Dst.Put(y, Row);
        Row = JoinAt<2>(Rest, Row);
        Rest = JoinAt<2>(Lowest, Rest);
    }
}

} // namespace

void PredictIntra8x8Deep_w7(int Mode, const uint16_t* pAround, ptrdiff_t AroundStep, uint16_t* pDst, ptrdiff_t DstStep,
                            unsigned Available, int Depth)
{
    const Line n = Smooth(Gather(pAround, AroundStep / 2, Available), Available);
    const Target Dst{pDst, DstStep / 2};
    switch (Mode) {
    case 0: return PutSame(Dst, n.Above);
    case 1: return PredictHorizontal(n, Dst);
    case 2: return PredictDc(n, Dst, Available, Depth);
    case 3: return PredictDownLeft(n, Dst);
    case 4: return PredictDownRight(n, Dst);
    case 5: return PredictVerticalRight(n, Dst);
    case 6: return PredictHorizontalDown(n, Dst);
    case 7: return PredictVerticalLeft(n, Dst);
    default: return PredictHorizontalUp(n, Dst);
    }
}

} // namespace kernels
