#include <cstring>
#include <tmmintrin.h>

#include "kernels/intra/intra.h"

namespace kernels {

// Registers pass between these only where everything that touches them is one function.
#define INLINE [[gnu::always_inline]] static inline

static __m128i Load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
static __m128i Load8(const uint8_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
static __m128i Splat(int Byte) { return _mm_shuffle_epi8(_mm_cvtsi32_si128(Byte), _mm_setzero_si128()); }

// A row of Width samples from the lower end of a register.
template <int Width>
static void StoreRow(uint8_t* p, __m128i Row)
{
    if constexpr (Width == 16) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), Row);
    } else if constexpr (Width == 8) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), Row);
    } else {
        const int Value = _mm_cvtsi128_si32(Row);
        std::memcpy(p, &Value, Width);
    }
}

template <int Size>
INLINE void StoreSame(uint8_t* pDst, ptrdiff_t DstStep, __m128i Row)
{
    for (int y = 0; y < Size; ++y, pDst += DstStep) StoreRow<Size>(pDst, Row);
}

static int SumOfBytes(__m128i v)
{
    const __m128i Sum = _mm_sad_epu8(v, _mm_setzero_si128());
    return _mm_cvtsi128_si32(_mm_add_epi32(Sum, _mm_unpackhi_epi64(Sum, Sum)));
}

// ---- 16x16 and chroma --------------------------------------------------------------------------------------

template <int Size>
INLINE void PredictHorizontal(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep)
{
    for (int y = 0; y < Size; ++y, pAround += AroundStep, pDst += DstStep) StoreRow<Size>(pDst, Splat(pAround[-1]));
}

void Predict16x16Horizontal_v8(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictHorizontal<16>(pAround, AroundStep, pDst, DstStep);
}

void PredictChromaHorizontal_v8(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                                unsigned)
{
    PredictHorizontal<8>(pAround, AroundStep, pDst, DstStep);
}

void Predict16x16Dc_v8(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
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

void PredictChromaDc_v8(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
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
    const __m128i Quarters = _mm_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3);
    const __m128i Rows = _mm_shuffle_epi8(_mm_cvtsi32_si128(Dc[0] | Dc[1] << 8 | Dc[2] << 16 | Dc[3] << 24), Quarters);
    for (int y = 0; y < 4; ++y) StoreRow<8>(pDst + y * DstStep, Rows);
    for (int y = 4; y < 8; ++y) StoreRow<8>(pDst + y * DstStep, _mm_unpackhi_epi64(Rows, Rows));
}

// The sum over i of i * (sample i after the middle - sample i before it), from the samples around the middle with the
// middle one left out.
template <int Size>
INLINE int Slope(__m128i Samples)
{
    const __m128i Weights = Size == 16 ? _mm_setr_epi8(-8, -7, -6, -5, -4, -3, -2, -1, 1, 2, 3, 4, 5, 6, 7, 8)
                                       : _mm_setr_epi8(-4, -3, -2, -1, 1, 2, 3, 4, 0, 0, 0, 0, 0, 0, 0, 0);
    __m128i Sum = _mm_madd_epi16(_mm_maddubs_epi16(Samples, Weights), _mm_set1_epi16(1));
    Sum = _mm_add_epi32(Sum, _mm_unpackhi_epi64(Sum, Sum));
    return _mm_cvtsi128_si32(_mm_add_epi32(Sum, _mm_shuffle_epi32(Sum, 1)));
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

void Predict16x16Plane_v8(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictPlane<16>(pAround, AroundStep, pDst, DstStep);
}

void PredictChromaPlane_v8(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictPlane<8>(pAround, AroundStep, pDst, DstStep);
}

// ---- Directional modes -------------------------------------------------------------------------------------

static __m128i Mean3(__m128i a, __m128i b, __m128i c) // (a + 2 b + c + 2) >> 2
{
    const __m128i Odd = _mm_and_si128(_mm_xor_si128(a, c), _mm_set1_epi8(1));
    return _mm_avg_epu8(b, _mm_sub_epi8(_mm_avg_epu8(a, c), Odd));
}

// The neighbours of a Size x Size block on one line, with room on both sides: left ones from the lowest up, above-left,
// above from the left on. Registers are loaded across all of it; what a mode does not use does not matter.
template <int Size>
struct Line {
    static constexpr int kFirst = 8, kCorner = kFirst + Size, kAbove = kCorner + 1;
    alignas(16) uint8_t v[16 + 4 * Size] = {};
    static_assert(kAbove + 2 + 16 <= 16 + 4 * Size);

    // Means of neighbours i, i + 1, and of i, i + 1, i + 2, from the place At on.
    __m128i Pairs(int At) const { return _mm_avg_epu8(Load16(v + At), Load16(v + At + 1)); }
    __m128i Triples(int At) const { return Mean3(Load16(v + At), Load16(v + At + 1), Load16(v + At + 2)); }
};

template <int Size>
INLINE void PredictDownLeft(Line<Size>& n, uint8_t* pDst, ptrdiff_t DstStep)
{
    n.v[Line<Size>::kAbove + 2 * Size] = n.v[Line<Size>::kAbove + 2 * Size - 1];
    __m128i Row = n.Triples(Line<Size>::kAbove);
    for (int y = 0; y < Size; ++y, pDst += DstStep, Row = _mm_srli_si128(Row, 1)) StoreRow<Size>(pDst, Row);
}

template <int Size>
INLINE void PredictDownRight(const Line<Size>& n, uint8_t* pDst, ptrdiff_t DstStep)
{
    __m128i Row = n.Triples(Line<Size>::kFirst);
    pDst += (Size - 1) * DstStep;
    for (int y = Size; y > 0; --y, pDst -= DstStep, Row = _mm_srli_si128(Row, 1)) StoreRow<Size>(pDst, Row);
}

// Row 2 k takes its first k samples from the triples left of the block, every second one, row 2 k + 1 likewise.
template <int Size>
INLINE void PredictVerticalRight(const Line<Size>& n, uint8_t* pDst, ptrdiff_t DstStep)
{
    const __m128i Left = n.Triples(Line<Size>::kFirst); // triple i begins at neighbour i
    const __m128i Order = Size == 8 ? _mm_setr_epi8(-1, -1, -1, -1, -1, 1, 3, 5, -1, -1, -1, -1, -1, 2, 4, 6)
                                    : _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, 1, -1, -1, -1, -1, -1, -1, -1, 2);
    __m128i OddLeft = _mm_shuffle_epi8(Left, Order), EvenLeft = OddLeft;
    OddLeft = _mm_unpacklo_epi64(OddLeft, OddLeft);
    __m128i Even = n.Pairs(Line<Size>::kCorner), Odd = n.Triples(Line<Size>::kCorner - 1);
    for (int y = 0; y < Size; y += 2, pDst += 2 * DstStep) {
        StoreRow<Size>(pDst, Even);
        StoreRow<Size>(pDst + DstStep, Odd);
        Even = _mm_alignr_epi8(Even, EvenLeft, 15);
        Odd = _mm_alignr_epi8(Odd, OddLeft, 15);
        EvenLeft = _mm_slli_si128(EvenLeft, 1);
        OddLeft = _mm_slli_si128(OddLeft, 1);
    }
}

// From the lowest row up two more of the pairs and triples in turn, which go on with triples alone above the block.
template <int Size>
INLINE void PredictHorizontalDown(const Line<Size>& n, uint8_t* pDst, ptrdiff_t DstStep)
{
    const __m128i Triples = n.Triples(Line<Size>::kFirst);
    __m128i Row = _mm_unpacklo_epi8(n.Pairs(Line<Size>::kFirst), Triples);
    __m128i Rest = _mm_srli_si128(Triples, Size);
    if constexpr (Size == 4) Row = _mm_unpacklo_epi64(Row, Rest);
    pDst += (Size - 1) * DstStep;
    for (int y = Size; y > 0; --y, pDst -= DstStep) {
        StoreRow<Size>(pDst, Row);
        Row = _mm_alignr_epi8(Rest, Row, 2);
        Rest = _mm_srli_si128(Rest, 2);
    }
}

template <int Size>
INLINE void PredictVerticalLeft(const Line<Size>& n, uint8_t* pDst, ptrdiff_t DstStep)
{
    __m128i Even = n.Pairs(Line<Size>::kAbove), Odd = n.Triples(Line<Size>::kAbove);
    for (int y = 0; y < Size; y += 2, pDst += 2 * DstStep) {
        StoreRow<Size>(pDst, Even);
        StoreRow<Size>(pDst + DstStep, Odd);
        Even = _mm_srli_si128(Even, 1);
        Odd = _mm_srli_si128(Odd, 1);
    }
}

template <int Size>
INLINE void PredictHorizontalUp(const Line<Size>& n, uint8_t* pDst, ptrdiff_t DstStep)
{
    const __m128i Up = Load8(n.v + Line<Size>::kFirst);
    const __m128i Downwards = Size == 8 ? _mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0)
                                        : _mm_setr_epi8(3, 2, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    const __m128i Left = _mm_shuffle_epi8(Up, Downwards), Lowest = _mm_shuffle_epi8(Up, _mm_setzero_si128());
    const __m128i Next = _mm_alignr_epi8(Lowest, Left, 1);
    __m128i Row = _mm_unpacklo_epi8(_mm_avg_epu8(Left, Next), Mean3(Left, Next, _mm_alignr_epi8(Lowest, Left, 2)));
    for (int y = 0; y < Size; ++y, pDst += DstStep) {
        StoreRow<Size>(pDst, Row);
        Row = _mm_alignr_epi8(Lowest, Row, 2);
    }
}

template <int Size>
INLINE void PredictDc(const Line<Size>& n, uint8_t* pDst, ptrdiff_t DstStep, unsigned Available)
{
    constexpr int kLog = Size == 8 ? 3 : 2;
    int Sum = 0;
    if (Available & kTop)
        for (int i = 0; i < Size; ++i) Sum += n.v[Line<Size>::kAbove + i];
    if (Available & kLeft)
        for (int i = 0; i < Size; ++i) Sum += n.v[Line<Size>::kFirst + i];
    const unsigned Sides = Available & (kTop | kLeft);
    const int Value = Sides == (kTop | kLeft) ? (Sum + Size) >> (kLog + 1) : Sides ? (Sum + Size / 2) >> kLog : 128;
    StoreSame<Size>(pDst, DstStep, Splat(Value));
}

template <int Size>
INLINE void PredictDirection(int Mode, Line<Size>& n, uint8_t* pDst, ptrdiff_t DstStep, unsigned Available)
{
    switch (Mode) {
    case 0: return StoreSame<Size>(pDst, DstStep, Load16(n.v + Line<Size>::kAbove));
    case 1:
        for (int y = 0; y < Size; ++y) StoreRow<Size>(pDst + y * DstStep, Splat(n.v[Line<Size>::kCorner - 1 - y]));
        return;
    case 2: return PredictDc(n, pDst, DstStep, Available);
    case 3: return PredictDownLeft(n, pDst, DstStep);
    case 4: return PredictDownRight(n, pDst, DstStep);
    case 5: return PredictVerticalRight(n, pDst, DstStep);
    case 6: return PredictHorizontalDown(n, pDst, DstStep);
    case 7: return PredictVerticalLeft(n, pDst, DstStep);
    default: return PredictHorizontalUp(n, pDst, DstStep);
    }
}

// The neighbours that are there, as they stand in the picture; those above-right are pTopRight's or repeat the last
// one above.
template <int Size>
INLINE void Gather(Line<Size>& n, const uint8_t* pAround, ptrdiff_t Step, const uint8_t* pTopRight, unsigned Available)
{
    if (Available & kLeft)
        for (int y = 0; y < Size; ++y) n.v[Line<Size>::kCorner - 1 - y] = pAround[y * Step - 1];
    if (Available & kTopLeft) n.v[Line<Size>::kCorner] = pAround[-Step - 1];
    if (!(Available & kTop)) return;
    uint8_t* const pAbove = n.v + Line<Size>::kAbove;
    std::memcpy(pAbove, pAround - Step, Size);
    if (Available & kTopRight)
        std::memcpy(pAbove + Size, pTopRight, Size);
    else
        std::memset(pAbove + Size, pAbove[Size - 1], Size);
}

void PredictIntra4x4_v8(int Mode, const uint8_t* pAround, ptrdiff_t AroundStep, const uint8_t* pTopRight, uint8_t* pDst,
                        ptrdiff_t DstStep, unsigned Available)
{
    Line<4> n;
    Gather(n, pAround, AroundStep, pTopRight, Available);
    PredictDirection(Mode, n, pDst, DstStep, Available);
}

// 8.3.2.2.1. The ends of each run of neighbours repeat themselves; without the one above-left there are two runs, so
// its place is filled for either side in turn.
INLINE void Smooth(Line<8>& n, unsigned Available)
{
    constexpr int kFirst = Line<8>::kFirst, kCorner = Line<8>::kCorner, kAbove = Line<8>::kAbove;
    const bool Left = Available & kLeft, Top = Available & kTop, Corner = Available & kTopLeft;
    n.v[kFirst - 1] = n.v[kFirst];
    n.v[kAbove + 16] = n.v[kAbove + 15];
    const uint8_t CornerValue = n.v[kCorner];
    if (!Corner) n.v[kCorner] = n.v[kCorner - 1];
    if (Corner && !Left) n.v[kCorner - 1] = CornerValue;
    if (Corner && !Top) n.v[kAbove] = CornerValue;
    const __m128i SmoothLeft = n.Triples(kFirst - 1); // and the one above-left
    if (!Corner) n.v[kCorner] = n.v[kAbove];
    const __m128i SmoothAbove = n.Triples(kAbove - 1);
    StoreRow<16>(n.v + kFirst, SmoothLeft);
    StoreRow<16>(n.v + kAbove, SmoothAbove);
}

void PredictIntra8x8_v8(int Mode, const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                        unsigned Available)
{
    Line<8> n;
    Gather(n, pAround, AroundStep, pAround - AroundStep + 8, Available);
    Smooth(n, Available);
    PredictDirection(Mode, n, pDst, DstStep, Available);
}

} // namespace kernels
