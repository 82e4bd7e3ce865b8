// Inverse transforms of 32-bit coefficients onto samples of 2 bytes. Sums wrap like those of the plain code.
#include <emmintrin.h>

#include "kernels/transform/passes.h"
#include "kernels/transform/transform.h"
#include "kernels/transpose_words.h"

namespace kernels {

namespace {

// Coefficients stay in registers only where everything that touches them is one function.
#define INLINE [[gnu::always_inline]] static inline

INLINE __m128i Load(const int32_t* p) { return _mm_load_si128(reinterpret_cast<const __m128i*>(p)); }
INLINE void Store(int32_t* p, __m128i v) { _mm_store_si128(reinterpret_cast<__m128i*>(p), v); }

INLINE void Transpose(__m128i v[4])
{
    const __m128i a = _mm_unpacklo_epi32(v[0], v[1]), b = _mm_unpackhi_epi32(v[0], v[1]);
    const __m128i c = _mm_unpacklo_epi32(v[2], v[3]), d = _mm_unpackhi_epi32(v[2], v[3]);
    v[0] = _mm_unpacklo_epi64(a, c);
    v[1] = _mm_unpackhi_epi64(a, c);
    v[2] = _mm_unpacklo_epi64(b, d);
    v[3] = _mm_unpackhi_epi64(b, d);
}

// Of four rows, first columns 0 to 3 of each and then columns 4 to 7.
INLINE void InverseRows(__m128i v[8])
{
    Transpose(v);
    Transpose(v + 4);
    Inverse8<DoubleWords>(v);
    Transpose(v);
    Transpose(v + 4);
}

INLINE __m128i Rounded(__m128i v) { return _mm_srai_epi32(_mm_add_epi32(v, _mm_set1_epi32(32)), 6); }

// Adds words to samples. What saturates lies outside of the samples in any case.
INLINE __m128i AddClipped(__m128i Samples, __m128i Words, __m128i Max)
{
    return _mm_max_epi16(_mm_min_epi16(_mm_adds_epi16(Samples, Words), Max), _mm_setzero_si128());
}

__m128i MaxOf(int Depth) { return _mm_set1_epi16(static_cast<short>((1 << Depth) - 1)); }

INLINE void AddRow(uint16_t* pDst, __m128i Words, __m128i Max)
{
    auto* const p = reinterpret_cast<__m128i*>(pDst);
    _mm_storeu_si128(p, AddClipped(_mm_loadu_si128(p), Words, Max));
}

// 8.5.13 in 32 bits: any coefficients.
INLINE void Add8x8Wide(const int32_t* pCoeffs, uint16_t* pDst, ptrdiff_t Step, __m128i Max)
{
    __m128i Upper[8], Lower[8]; // rows 0 to 3 and 4 to 7
    for (int i = 0; i < 4; ++i) {
        Upper[i] = Load(pCoeffs + i * 8);
        Upper[i + 4] = Load(pCoeffs + i * 8 + 4);
        Lower[i] = Load(pCoeffs + i * 8 + 32);
        Lower[i + 4] = Load(pCoeffs + i * 8 + 36);
    }
    InverseRows(Upper);
    InverseRows(Lower);
    __m128i Left[8], Right[8]; // rows 0 to 7 of four columns
    for (int i = 0; i < 4; ++i) {
        Left[i] = Upper[i];
        Right[i] = Upper[i + 4];
        Left[i + 4] = Lower[i];
        Right[i + 4] = Lower[i + 4];
    }
    Inverse8<DoubleWords>(Left);
    Inverse8<DoubleWords>(Right);
    for (int y = 0; y < 8; ++y, pDst += Step / 2)
        AddRow(pDst, _mm_packs_epi32(Rounded(Left[y]), Rounded(Right[y])), Max);
}

// A pass weighs no value by more than 1.5, in its sums on the way as in its results, and rounds by less than 4. So
// words hold both passes over coefficients whose magnitudes have a sum up to this, and the half of what is taken off at
// the end, which goes into the first row between them.
constexpr int kMostInWords = 14500, kHalf = 32;
static_assert((kMostInWords * 3 / 2 + 8 * 4) * 3 / 2 + 4 + kHalf <= INT16_MAX);

// The sum of all magnitudes, or the largest word where it does not fit one.
INLINE int SumOfMagnitudes(const __m128i v[8])
{
    __m128i Sum = _mm_setzero_si128();
    for (int i = 0; i < 8; ++i)
        Sum = _mm_adds_epi16(Sum, _mm_max_epi16(v[i], _mm_subs_epi16(_mm_setzero_si128(), v[i])));
    Sum = _mm_adds_epi16(Sum, _mm_unpackhi_epi64(Sum, Sum));
    Sum = _mm_adds_epi16(Sum, _mm_shuffle_epi32(Sum, 1));
    return _mm_extract_epi16(_mm_adds_epi16(Sum, _mm_shufflelo_epi16(Sum, 1)), 0);
}

INLINE void Add8x8InWords(__m128i Rows[8], uint16_t* pDst, ptrdiff_t Step, __m128i Max)
{
    Transpose8(Rows);
    Inverse8<Words>(Rows);
    Transpose8(Rows);
    Rows[0] = _mm_add_epi16(Rows[0], _mm_set1_epi16(kHalf));
    Inverse8<Words>(Rows);
    for (int y = 0; y < 8; ++y, pDst += Step / 2) AddRow(pDst, _mm_srai_epi16(Rows[y], 6), Max);
}

} // namespace

void AddResidual4x4Deep_w7(int32_t* pCoeffs, uint16_t* pDst, ptrdiff_t Step, int Depth)
{
    const __m128i Max = MaxOf(Depth);
    __m128i v[4];
    for (int i = 0; i < 4; ++i) {
        v[i] = Load(pCoeffs + i * 4);
        Store(pCoeffs + i * 4, _mm_setzero_si128());
    }
    Transpose(v);
    Inverse4<DoubleWords>(v);
    Transpose(v);
    Inverse4<DoubleWords>(v);
    for (int y = 0; y < 4; ++y, pDst += Step / 2) {
        auto* const p = reinterpret_cast<__m128i*>(pDst);
        const __m128i Row = Rounded(v[y]);
        _mm_storel_epi64(p, AddClipped(_mm_loadl_epi64(p), _mm_packs_epi32(Row, Row), Max));
    }
}

void AddResidual8x8Deep_w7(int32_t* pCoeffs, uint16_t* pDst, ptrdiff_t Step, int Depth)
{
    __m128i Rows[8];
    for (int y = 0; y < 8; ++y) Rows[y] = _mm_packs_epi32(Load(pCoeffs + 8 * y), Load(pCoeffs + 8 * y + 4));
    if (SumOfMagnitudes(Rows) <= kMostInWords)
        Add8x8InWords(Rows, pDst, Step, MaxOf(Depth));
    else
        Add8x8Wide(pCoeffs, pDst, Step, MaxOf(Depth));
    for (int i = 0; i < 16; ++i) Store(pCoeffs + i * 4, _mm_setzero_si128());
}

// Steps count bytes, and so does the place of a block's rows: 4 of them are 2 * Step samples.
void AddResidualChromaDeep_w7(int32_t* pCoeffs, uint16_t* pDst, ptrdiff_t Step, uint32_t Bits, int Depth)
{
    for (int i = 0; i < 4; ++i)
        if (Bits >> i & 1)
            AddResidual4x4Deep_w7(pCoeffs + i * 16, pDst + (i >> 1) * 2 * Step + (i & 1) * 4, Step, Depth);
}

void AddResidualLuma4x4Deep_w7(int32_t* pCoeffs, uint16_t* pDst, ptrdiff_t Step, uint32_t Bits, int Depth)
{
    for (int q = 0; q < 4; ++q)
        AddResidualChromaDeep_w7(pCoeffs + q * 64, pDst + (q >> 1) * 4 * Step + (q & 1) * 8, Step, Bits >> (q * 4) & 15,
                                 Depth);
}

void AddResidualLuma8x8Deep_w7(int32_t* pCoeffs, uint16_t* pDst, ptrdiff_t Step, uint32_t Bits, int Depth)
{
    for (int q = 0; q < 4; ++q)
        if (Bits >> (q * 4) & 1)
            AddResidual8x8Deep_w7(pCoeffs + q * 64, pDst + (q >> 1) * 4 * Step + (q & 1) * 8, Step, Depth);
}

} // namespace kernels
