// Luma interpolation of samples of 2 bytes. Sums of taps need more than 16 bits, so that pairs of samples are
// multiplied and added into 32.
#include <emmintrin.h>

#include "kernels/interpolation/half_planes.h"
#include "kernels/interpolation/interpolation.h"

namespace kernels {

namespace {

// A row of Width samples, 8 or 4, in the lower end of a register, and back.
template <int Width>
__m128i LoadRow(const uint16_t* p)
{
    if constexpr (Width == 8) return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
}

template <int Width>
void StoreRow(uint16_t* p, __m128i Row)
{
    if constexpr (Width == 8)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), Row);
    else
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), Row);
}

// Sums of taps of a row: of the samples in even columns, and of those in odd ones.
struct Sums {
    __m128i Even, Odd;
};

__m128i Pairs(short First, short Second)
{
    return _mm_set_epi16(Second, First, Second, First, Second, First, Second, First);
}

// (v + 2^(Bits - 1)) >> Bits, limited to 0..Max.
template <int Bits>
__m128i RoundToRow(const Sums& s, __m128i Max)
{
    const __m128i Half = _mm_set1_epi32(1 << (Bits - 1));
    const __m128i Even = _mm_srai_epi32(_mm_add_epi32(s.Even, Half), Bits);
    const __m128i Odd = _mm_srai_epi32(_mm_add_epi32(s.Odd, Half), Bits);
    const __m128i Both = _mm_packs_epi32(Even, Odd);
    const __m128i Row = _mm_unpacklo_epi16(Both, _mm_unpackhi_epi64(Both, Both));
    return _mm_max_epi16(_mm_min_epi16(Row, Max), _mm_setzero_si128());
}

// Taps 1, -5, 20, 20, -5, 1 (8.4.2.2.1) over three pairs of samples for each result.
template <int Width>
__m128i TapsOfPairs(const uint16_t* p)
{
    const __m128i First = _mm_madd_epi16(LoadRow<Width>(p - 2), Pairs(1, -5));
    const __m128i Middle = _mm_madd_epi16(LoadRow<Width>(p), Pairs(20, 20));
    return _mm_add_epi32(_mm_add_epi32(First, Middle), _mm_madd_epi16(LoadRow<Width>(p + 2), Pairs(-5, 1)));
}

template <int Width>
Sums TapsAcross(const uint16_t* p)
{
    return {TapsOfPairs<Width>(p), TapsOfPairs<Width>(p + 1)};
}

// The even and the odd columns of two rows as pairs.
__m128i EvenPairs(__m128i Upper, __m128i Lower)
{
    return _mm_or_si128(_mm_and_si128(Upper, _mm_set1_epi32(0xFFFF)), _mm_slli_epi32(Lower, 16));
}
__m128i OddPairs(__m128i Upper, __m128i Lower)
{
    return _mm_or_si128(_mm_srli_epi32(Upper, 16), _mm_andnot_si128(_mm_set1_epi32(0xFFFF), Lower));
}

// Down six rows. Two samples together still fit 16 bits.
Sums TapsDown(const __m128i r[6])
{
    const __m128i Outer = _mm_add_epi16(r[0], r[5]), Second = _mm_add_epi16(r[1], r[4]);
    const __m128i Inner = _mm_add_epi16(r[2], r[3]), None = _mm_setzero_si128();
    return {_mm_add_epi32(_mm_madd_epi16(EvenPairs(Outer, Second), Pairs(1, -5)),
                          _mm_madd_epi16(EvenPairs(Inner, None), Pairs(20, 0))),
            _mm_add_epi32(_mm_madd_epi16(OddPairs(Outer, Second), Pairs(1, -5)),
                          _mm_madd_epi16(OddPairs(Inner, None), Pairs(20, 0)))};
}

// a - 5 b + 20 c is a + 5 (4 c - b).
__m128i TapsOfSums(__m128i a, __m128i b, __m128i c)
{
    const __m128i t = _mm_sub_epi32(_mm_slli_epi32(c, 2), b);
    return _mm_add_epi32(_mm_add_epi32(a, t), _mm_slli_epi32(t, 2));
}

Sums TapsDown(const Sums p[6])
{
    return {TapsOfSums(_mm_add_epi32(p[0].Even, p[5].Even), _mm_add_epi32(p[1].Even, p[4].Even),
                       _mm_add_epi32(p[2].Even, p[3].Even)),
            TapsOfSums(_mm_add_epi32(p[0].Odd, p[5].Odd), _mm_add_epi32(p[1].Odd, p[4].Odd),
                       _mm_add_epi32(p[2].Odd, p[3].Odd))};
}

// What becomes of a row of results: stored, or averaged with another row first.
enum class Blend { Put, WithOther, WithTarget };

template <int Width, Blend How>
void Finish(uint16_t* pDst, __m128i Row, const uint16_t* pOther)
{
    if constexpr (How == Blend::WithOther) Row = _mm_avg_epu16(Row, LoadRow<Width>(pOther));
    if constexpr (How == Blend::WithTarget) Row = _mm_avg_epu16(Row, LoadRow<Width>(pDst));
    StoreRow<Width>(pDst, Row);
}

// Width columns of the block, 8 or 4. Steps count samples.
struct Strip {
    const uint16_t* pSrc;
    ptrdiff_t SrcStep;
    uint16_t* pDst;
    ptrdiff_t DstStep;
    int Height;
    __m128i Max;
};

// Half samples between columns, of the rows from pSrc on; Other is where the full samples of the average lie.
template <int Width, Blend How>
void HalfAcross(const Strip& b, const uint16_t* pSrc, ptrdiff_t Other)
{
    uint16_t* pDst = b.pDst;
    for (int y = b.Height; y > 0; --y, pSrc += b.SrcStep, pDst += b.DstStep)
        Finish<Width, How>(pDst, RoundToRow<5>(TapsAcross<Width>(pSrc), b.Max), pSrc + Other);
}

// Half samples between rows. The five rows above the next one stay in registers.
template <int Width, Blend How>
void HalfDown(const Strip& b, const uint16_t* pSrc, ptrdiff_t Other)
{
    __m128i r[6];
    for (int i = 0; i < 5; ++i) r[i] = LoadRow<Width>(pSrc + (i - 2) * b.SrcStep);
    uint16_t* pDst = b.pDst;
    for (int y = b.Height; y > 0; --y, pSrc += b.SrcStep, pDst += b.DstStep) {
        r[5] = LoadRow<Width>(pSrc + 3 * b.SrcStep);
        Finish<Width, How>(pDst, RoundToRow<5>(TapsDown(r), b.Max), pSrc + Other);
        for (int i = 0; i < 5; ++i) r[i] = r[i + 1];
    }
}

// Samples in the centre of four full ones. With NearRow 0 or 1 they are averaged with the half samples across that row.
constexpr int kNoRow = -1;

template <int Width, Blend How, int NearRow>
void Centre(const Strip& b)
{
    Sums Across[22]; // of 17 rows in a half plane, 16 elsewhere
    const uint16_t* pSrc = b.pSrc - 2 * b.SrcStep;
    for (int y = 0; y < b.Height + 5; ++y, pSrc += b.SrcStep) Across[y] = TapsAcross<Width>(pSrc);
    uint16_t* pDst = b.pDst;
    const Sums* p = Across;
    for (int y = b.Height; y > 0; --y, ++p, pDst += b.DstStep) {
        __m128i Row = RoundToRow<10>(TapsDown(p), b.Max);
        if constexpr (NearRow != kNoRow) Row = _mm_avg_epu16(Row, RoundToRow<5>(p[2 + NearRow], b.Max));
        Finish<Width, How>(pDst, Row, nullptr);
    }
}

template <int Width>
void CopyRows(const Strip& b)
{
    const uint16_t* pSrc = b.pSrc;
    uint16_t* pDst = b.pDst;
    for (int y = b.Height; y > 0; --y, pSrc += b.SrcStep, pDst += b.DstStep)
        StoreRow<Width>(pDst, LoadRow<Width>(pSrc));
}

template <int Width>
void InterpolateStrip(const Strip& b, int FracX, int FracY)
{
    const uint16_t* const pRow = b.pSrc + (FracY == 3 ? b.SrcStep : 0); // the row and the column nearer to the offset
    const uint16_t* const pColumn = b.pSrc + (FracX == 3 ? 1 : 0);
    switch (FracY * 4 + FracX) {
    case 0: return CopyRows<Width>(b);
    case 2: return HalfAcross<Width, Blend::Put>(b, b.pSrc, 0);
    case 1:
    case 3: return HalfAcross<Width, Blend::WithOther>(b, b.pSrc, pColumn - b.pSrc);
    case 8: return HalfDown<Width, Blend::Put>(b, b.pSrc, 0);
    case 4:
    case 12: return HalfDown<Width, Blend::WithOther>(b, b.pSrc, pRow - b.pSrc);
    case 10: return Centre<Width, Blend::Put, kNoRow>(b);
    case 6: return Centre<Width, Blend::Put, 0>(b);
    case 14: return Centre<Width, Blend::Put, 1>(b);
    case 9:
    case 11: HalfDown<Width, Blend::Put>(b, pColumn, 0); return Centre<Width, Blend::WithTarget, kNoRow>(b);
    default: HalfAcross<Width, Blend::Put>(b, pRow, 0); return HalfDown<Width, Blend::WithTarget>(b, pColumn, 0);
    }
}

// The three strips of a half plane, from row and column -1 on.
template <class F>
void ForHalfPlane(const uint16_t* pSrc, ptrdiff_t SrcStep, uint16_t* pDst, ptrdiff_t DstStep, int Rows, int Depth,
                  const F& Make)
{
    const ptrdiff_t Step = SrcStep / 2;
    Strip b{pSrc - Step - 1, Step, pDst, DstStep / 2, Rows, _mm_set1_epi16(static_cast<short>((1 << Depth) - 1))};
    for (int x = 0; x < 24; x += 8, b.pSrc += 8, b.pDst += 8) Make(b);
}

} // namespace

void InterpolateLumaDeep_w7(const uint16_t* pSrc, ptrdiff_t SrcStep, uint16_t* pDst, ptrdiff_t DstStep, int FracX,
                            int FracY, int Width, int Height, int Depth)
{
    Strip b{pSrc, SrcStep / 2, pDst, DstStep / 2, Height, _mm_set1_epi16(static_cast<short>((1 << Depth) - 1))};
    if (Width == 4) return InterpolateStrip<4>(b, FracX, FracY);
    for (int x = 0; x < Width; x += 8, b.pSrc += 8, b.pDst += 8) InterpolateStrip<8>(b, FracX, FracY);
}

void HalfPlaneRightDeep_w7(const uint16_t* pSrc, ptrdiff_t SrcStep, uint16_t* pDst, ptrdiff_t DstStep, int Depth)
{
    ForHalfPlane(pSrc, SrcStep, pDst, DstStep, 18, Depth,
                 [](const Strip& b) { HalfAcross<8, Blend::Put>(b, b.pSrc, 0); });
}

void HalfPlaneDownDeep_w7(const uint16_t* pSrc, ptrdiff_t SrcStep, uint16_t* pDst, ptrdiff_t DstStep, int Depth)
{
    ForHalfPlane(pSrc, SrcStep, pDst, DstStep, 17, Depth,
                 [](const Strip& b) { HalfDown<8, Blend::Put>(b, b.pSrc, 0); });
}

void HalfPlaneBothDeep_w7(const uint16_t* pSrc, ptrdiff_t SrcStep, uint16_t* pDst, ptrdiff_t DstStep, int Depth)
{
    ForHalfPlane(pSrc, SrcStep, pDst, DstStep, 17, Depth, [](const Strip& b) { Centre<8, Blend::Put, kNoRow>(b); });
}

} // namespace kernels
