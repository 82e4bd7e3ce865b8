// Inverse transforms of 32-bit coefficients onto samples of 2 bytes. Sums wrap like those of the plain code.
#include <emmintrin.h>

#include "kernels/transform/transform.h"

namespace kernels {

namespace {

// Coefficients stay in registers only where everything that touches them is one function.
#define INLINE [[gnu::always_inline]] static inline

INLINE __m128i Load(const int32_t* p) { return _mm_load_si128(reinterpret_cast<const __m128i*>(p)); }
INLINE void Store(int32_t* p, __m128i v) { _mm_store_si128(reinterpret_cast<__m128i*>(p), v); }
INLINE __m128i Add(__m128i a, __m128i b) { return _mm_add_epi32(a, b); }
INLINE __m128i Sub(__m128i a, __m128i b) { return _mm_sub_epi32(a, b); }
INLINE __m128i Down(__m128i v, int Bits) { return _mm_srai_epi32(v, Bits); }

INLINE void Transpose(__m128i v[4])
{
    const __m128i a = _mm_unpacklo_epi32(v[0], v[1]), b = _mm_unpackhi_epi32(v[0], v[1]);
    const __m128i c = _mm_unpacklo_epi32(v[2], v[3]), d = _mm_unpackhi_epi32(v[2], v[3]);
    v[0] = _mm_unpacklo_epi64(a, c);
    v[1] = _mm_unpackhi_epi64(a, c);
    v[2] = _mm_unpacklo_epi64(b, d);
    v[3] = _mm_unpackhi_epi64(b, d);
}

// 8.5.12.2
INLINE void Inverse4(__m128i v[4])
{
    const __m128i e0 = Add(v[0], v[2]), e1 = Sub(v[0], v[2]), e2 = Sub(Down(v[1], 1), v[3]),
                  e3 = Add(v[1], Down(v[3], 1));
    v[0] = Add(e0, e3);
    v[1] = Add(e1, e2);
    v[2] = Sub(e1, e2);
    v[3] = Sub(e0, e3);
}

// 8.5.13.2
INLINE void Inverse8(__m128i v[8])
{
    const __m128i e0 = Add(v[0], v[4]), e1 = Sub(Sub(Sub(v[5], v[3]), v[7]), Down(v[7], 1));
    const __m128i e2 = Sub(v[0], v[4]), e3 = Sub(Sub(Add(v[1], v[7]), v[3]), Down(v[3], 1));
    const __m128i e4 = Sub(Down(v[2], 1), v[6]), e5 = Add(Add(Sub(v[7], v[1]), v[5]), Down(v[5], 1));
    const __m128i e6 = Add(v[2], Down(v[6], 1)), e7 = Add(Add(Add(v[3], v[5]), v[1]), Down(v[1], 1));
    const __m128i f0 = Add(e0, e6), f1 = Add(e1, Down(e7, 2)), f2 = Add(e2, e4), f3 = Add(e3, Down(e5, 2));
    const __m128i f4 = Sub(e2, e4), f5 = Sub(Down(e3, 2), e5), f6 = Sub(e0, e6), f7 = Sub(e7, Down(e1, 2));
    v[0] = Add(f0, f7);
    v[1] = Add(f2, f5);
    v[2] = Add(f4, f3);
    v[3] = Add(f6, f1);
    v[4] = Sub(f6, f1);
    v[5] = Sub(f4, f3);
    v[6] = Sub(f2, f5);
    v[7] = Sub(f0, f7);
}

// Of four rows, first columns 0 to 3 of each and then columns 4 to 7.
INLINE void InverseRows(__m128i v[8])
{
    Transpose(v);
    Transpose(v + 4);
    Inverse8(v);
    Transpose(v);
    Transpose(v + 4);
}

INLINE __m128i Rounded(__m128i v) { return Down(Add(v, _mm_set1_epi32(32)), 6); }

// Adds words to samples. What saturates lies outside of the samples in any case.
INLINE __m128i AddClipped(__m128i Samples, __m128i Words, __m128i Max)
{
    return _mm_max_epi16(_mm_min_epi16(_mm_adds_epi16(Samples, Words), Max), _mm_setzero_si128());
}

__m128i MaxOf(int Depth) { return _mm_set1_epi16(static_cast<short>((1 << Depth) - 1)); }

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
    Inverse4(v);
    Transpose(v);
    Inverse4(v);
    for (int y = 0; y < 4; ++y, pDst += Step / 2) {
        auto* const p = reinterpret_cast<__m128i*>(pDst);
        const __m128i Row = Rounded(v[y]);
        _mm_storel_epi64(p, AddClipped(_mm_loadl_epi64(p), _mm_packs_epi32(Row, Row), Max));
    }
}

void AddResidual8x8Deep_w7(int32_t* pCoeffs, uint16_t* pDst, ptrdiff_t Step, int Depth)
{
    const __m128i Max = MaxOf(Depth);
    __m128i Upper[8], Lower[8]; // rows 0 to 3 and 4 to 7
    for (int i = 0; i < 4; ++i) {
        Upper[i] = Load(pCoeffs + i * 8);
        Upper[i + 4] = Load(pCoeffs + i * 8 + 4);
        Lower[i] = Load(pCoeffs + i * 8 + 32);
        Lower[i + 4] = Load(pCoeffs + i * 8 + 36);
    }
    for (int i = 0; i < 16; ++i) Store(pCoeffs + i * 4, _mm_setzero_si128());
    InverseRows(Upper);
    InverseRows(Lower);
    __m128i Left[8], Right[8]; // rows 0 to 7 of four columns
    for (int i = 0; i < 4; ++i) {
        Left[i] = Upper[i];
        Right[i] = Upper[i + 4];
        Left[i + 4] = Lower[i];
        Right[i + 4] = Lower[i + 4];
    }
    Inverse8(Left);
    Inverse8(Right);
    for (int y = 0; y < 8; ++y, pDst += Step / 2) {
        auto* const p = reinterpret_cast<__m128i*>(pDst);
        const __m128i Row = _mm_packs_epi32(Rounded(Left[y]), Rounded(Right[y]));
        _mm_storeu_si128(p, AddClipped(_mm_loadu_si128(p), Row, Max));
    }
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
