#include <cstring>
#include <emmintrin.h>

#include "kernels/interpolation/interpolation.h"

namespace kernels {

namespace {

// A row of Width samples, 8 or 4, in the lower end of a register, and back.
template <int Width>
__m128i LoadRow(const uint8_t* p)
{
    if constexpr (Width == 8) return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    int Value;
    std::memcpy(&Value, p, sizeof Value);
    return _mm_cvtsi32_si128(Value);
}

template <int Width>
void StoreRow(uint8_t* p, __m128i Row)
{
    if constexpr (Width == 8) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), Row);
    } else {
        const int Value = _mm_cvtsi128_si32(Row);
        std::memcpy(p, &Value, sizeof Value);
    }
}

template <int Width>
__m128i LoadWords(const uint8_t* p)
{
    return _mm_unpacklo_epi8(LoadRow<Width>(p), _mm_setzero_si128());
}

// (v + 2^(Bits - 1)) >> Bits, clipped to samples.
template <int Bits>
__m128i RoundToRow(__m128i v)
{
    const __m128i Row = _mm_srai_epi16(_mm_add_epi16(v, _mm_set1_epi16(1 << (Bits - 1))), Bits);
    return _mm_packus_epi16(Row, Row);
}

// Taps 1, -5, 20, 20, -5, 1 (8.4.2.2.1) of samples: -2550..10710. a - 5 b + 20 c is a + 5 (4 c - b).
__m128i Taps(__m128i a, __m128i b, __m128i c, __m128i d, __m128i e, __m128i f)
{
    const __m128i Outer = _mm_add_epi16(a, f), Second = _mm_add_epi16(b, e), Inner = _mm_add_epi16(c, d);
    const __m128i t = _mm_sub_epi16(_mm_slli_epi16(Inner, 2), Second);
    return _mm_add_epi16(Outer, _mm_add_epi16(t, _mm_slli_epi16(t, 2)));
}

template <int Width>
__m128i TapsAcross(const uint8_t* p)
{
    return Taps(LoadWords<Width>(p - 2), LoadWords<Width>(p - 1), LoadWords<Width>(p), LoadWords<Width>(p + 1),
                LoadWords<Width>(p + 2), LoadWords<Width>(p + 3));
}

// The second pass of the centre sample over words: (a - 5 b + 20 c + 512) >> 10, where a, b, c are the sums of the
// outer, second and inner pair. As the shifts round down, that is (((a - b) >> 2) - b + c) >> 2) + c, + 32, >> 6. Only
// the sum in the middle can leave the words; it then saturates at a place where the result is clipped anyway: c is
// above 21037 or below -4717 there.
static_assert((2 * 10710 + 2 * 2550) / 4 + 2 * 10710 + 2 * 2550 > INT16_MAX);
static_assert((INT16_MAX / 4 + 21037) / 64 > 255 && INT16_MIN / 4 - 4717 < 0);

__m128i TapsOfWords(const __m128i* p)
{
    const __m128i a = _mm_add_epi16(p[0], p[5]), b = _mm_add_epi16(p[1], p[4]), c = _mm_add_epi16(p[2], p[3]);
    const __m128i Quarter = _mm_srai_epi16(_mm_sub_epi16(a, b), 2);
    const __m128i Sum = _mm_srai_epi16(_mm_adds_epi16(Quarter, _mm_sub_epi16(c, b)), 2);
    return RoundToRow<6>(_mm_add_epi16(Sum, c));
}

// What becomes of a row of results: stored, or averaged with another row first.
enum class Blend { Put, WithOther, WithTarget };

template <int Width, Blend How>
void Finish(uint8_t* pDst, __m128i Row, const uint8_t* pOther)
{
    if constexpr (How == Blend::WithOther) Row = _mm_avg_epu8(Row, LoadRow<Width>(pOther));
    if constexpr (How == Blend::WithTarget) Row = _mm_avg_epu8(Row, LoadRow<Width>(pDst));
    StoreRow<Width>(pDst, Row);
}

// Width columns of the block, 8 or 4.
struct Strip {
    const uint8_t* pSrc;
    ptrdiff_t SrcStep;
    uint8_t* pDst;
    ptrdiff_t DstStep;
    int Height;
};

// Half samples between columns, of the rows from pSrc on; Other is where the full samples of the average lie.
template <int Width, Blend How>
void HalfAcross(const Strip& b, const uint8_t* pSrc, ptrdiff_t Other)
{
    uint8_t* pDst = b.pDst;
    for (int y = b.Height; y > 0; --y, pSrc += b.SrcStep, pDst += b.DstStep)
        Finish<Width, How>(pDst, RoundToRow<5>(TapsAcross<Width>(pSrc)), pSrc + Other);
}

// Half samples between rows. The five rows above the next one stay in registers.
template <int Width, Blend How>
void HalfDown(const Strip& b, const uint8_t* pSrc, ptrdiff_t Other)
{
    __m128i r[6];
    for (int i = 0; i < 5; ++i) r[i] = LoadWords<Width>(pSrc + (i - 2) * b.SrcStep);
    uint8_t* pDst = b.pDst;
    for (int y = b.Height; y > 0; --y, pSrc += b.SrcStep, pDst += b.DstStep) {
        r[5] = LoadWords<Width>(pSrc + 3 * b.SrcStep);
        Finish<Width, How>(pDst, RoundToRow<5>(Taps(r[0], r[1], r[2], r[3], r[4], r[5])), pSrc + Other);
        for (int i = 0; i < 5; ++i) r[i] = r[i + 1];
    }
}

// Samples in the centre of four full ones. With NearRow 0 or 1 they are averaged with the half samples across that row.
constexpr int kNoRow = -1;

template <int Width, Blend How, int NearRow>
void Centre(const Strip& b)
{
    __m128i Across[21];
    const uint8_t* pSrc = b.pSrc - 2 * b.SrcStep;
    for (int y = 0; y < b.Height + 5; ++y, pSrc += b.SrcStep) Across[y] = TapsAcross<Width>(pSrc);
    uint8_t* pDst = b.pDst;
    const __m128i* p = Across;
    for (int y = b.Height; y > 0; --y, ++p, pDst += b.DstStep) {
        __m128i Row = TapsOfWords(p);
        if constexpr (NearRow != kNoRow) Row = _mm_avg_epu8(Row, RoundToRow<5>(p[2 + NearRow]));
        Finish<Width, How>(pDst, Row, nullptr);
    }
}

template <int Width>
void CopyRows(const Strip& b)
{
    const uint8_t* pSrc = b.pSrc;
    uint8_t* pDst = b.pDst;
    for (int y = b.Height; y > 0; --y, pSrc += b.SrcStep, pDst += b.DstStep)
        StoreRow<Width>(pDst, LoadRow<Width>(pSrc));
}

template <int Width>
void InterpolateStrip(const Strip& b, int FracX, int FracY)
{
    const uint8_t* const pRow = b.pSrc + (FracY == 3 ? b.SrcStep : 0); // the row and the column nearer to the offset
    const uint8_t* const pColumn = b.pSrc + (FracX == 3 ? 1 : 0);
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

} // namespace

void InterpolateLuma16_w7(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep, int FracX,
                          int FracY, int Height)
{
    InterpolateStrip<8>({pSrc, SrcStep, pDst, DstStep, Height}, FracX, FracY);
    InterpolateStrip<8>({pSrc + 8, SrcStep, pDst + 8, DstStep, Height}, FracX, FracY);
}

void InterpolateLuma8_w7(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep, int FracX, int FracY,
                         int Height)
{
    InterpolateStrip<8>({pSrc, SrcStep, pDst, DstStep, Height}, FracX, FracY);
}

void InterpolateLuma4_w7(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep, int FracX, int FracY,
                         int Height)
{
    InterpolateStrip<4>({pSrc, SrcStep, pDst, DstStep, Height}, FracX, FracY);
}

} // namespace kernels
