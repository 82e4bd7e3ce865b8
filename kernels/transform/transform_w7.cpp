#include <algorithm>
#include <cstring>
#include <emmintrin.h>

#include "kernels/transform/passes.h"
#include "kernels/transform/transform.h"
#include "kernels/transpose_words.h"

namespace kernels {

// Coefficients stay in registers only where everything that touches them is one function.
#define INLINE [[gnu::always_inline]] static inline

static __m128i Load16(const int16_t* p) { return _mm_load_si128(reinterpret_cast<const __m128i*>(p)); }
static void Store16(int16_t* p, __m128i v) { _mm_store_si128(reinterpret_cast<__m128i*>(p), v); }
static __m128i Load8(const uint8_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
static void Store8(uint8_t* p, __m128i v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v); }

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

// Adds words to 8 samples.
static __m128i AddClipped(__m128i Samples, __m128i Words)
{
    const __m128i Sum = _mm_add_epi16(_mm_unpacklo_epi8(Samples, _mm_setzero_si128()), Words);
    return _mm_packus_epi16(Sum, Sum);
}

// A residual that is the same for many samples, as what is added to them and what is taken off.
struct Flat {
    __m128i Up, Down;
    explicit Flat(__m128i Words)
        : Up(_mm_packus_epi16(Words, Words)),
          Down(_mm_packus_epi16(_mm_sub_epi16(_mm_setzero_si128(), Words), _mm_sub_epi16(_mm_setzero_si128(), Words)))
    {
    }
    __m128i AddTo(__m128i Samples) const { return _mm_subs_epu8(_mm_adds_epu8(Samples, Up), Down); }
};

static __m128i Rounded(__m128i Dc) { return _mm_srai_epi16(_mm_add_epi16(Dc, _mm_set1_epi16(32)), 6); }

// ---- 4x4 inverse (8.5.12.2) --------------------------------------------------------------------------------

// Rows or columns of two blocks side by side, from one to the other.
INLINE void TransposeTwo(__m128i v[4])
{
    const __m128i a01 = _mm_unpacklo_epi16(v[0], v[1]), b01 = _mm_unpackhi_epi16(v[0], v[1]);
    const __m128i a23 = _mm_unpacklo_epi16(v[2], v[3]), b23 = _mm_unpackhi_epi16(v[2], v[3]);
    const __m128i aUpper = _mm_unpacklo_epi32(a01, a23), aLower = _mm_unpackhi_epi32(a01, a23);
    const __m128i bUpper = _mm_unpacklo_epi32(b01, b23), bLower = _mm_unpackhi_epi32(b01, b23);
    v[0] = _mm_unpacklo_epi64(aUpper, bUpper);
    v[1] = _mm_unpackhi_epi64(aUpper, bUpper);
    v[2] = _mm_unpacklo_epi64(aLower, bLower);
    v[3] = _mm_unpackhi_epi64(aLower, bLower);
}

// A block in raster order as columns 0, 1 and columns 2, 3.
INLINE void TransposeOne(const __m128i Raster[2], __m128i Columns[2])
{
    const __m128i Even = _mm_unpacklo_epi16(Raster[0], Raster[1]), Odd = _mm_unpackhi_epi16(Raster[0], Raster[1]);
    Columns[0] = _mm_unpacklo_epi16(Even, Odd);
    Columns[1] = _mm_unpackhi_epi16(Even, Odd);
}

// The rows of the residual, not yet shifted down, of blocks a and b.
INLINE void InverseTwo(const __m128i a[2], const __m128i b[2], __m128i Rows[4])
{
    __m128i aColumns[2], bColumns[2];
    TransposeOne(a, aColumns);
    TransposeOne(b, bColumns);
    Rows[0] = _mm_unpacklo_epi64(aColumns[0], bColumns[0]);
    Rows[1] = _mm_unpackhi_epi64(aColumns[0], bColumns[0]);
    Rows[2] = _mm_unpacklo_epi64(aColumns[1], bColumns[1]);
    Rows[3] = _mm_unpackhi_epi64(aColumns[1], bColumns[1]);
    Inverse4<Words>(Rows);
    TransposeTwo(Rows);
    Rows[0] = _mm_add_epi16(Rows[0], _mm_set1_epi16(32)); // row 0 goes into all four with a factor of 1
    Inverse4<Words>(Rows);
}

static bool AllZero(__m128i v) { return _mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_setzero_si128())) == 0xFFFF; }

// Two blocks that lie side by side, one after the other in pCoeffs. A block without coefficients adds nothing.
static void AddTwo(int16_t* pCoeffs, uint8_t* pDst, ptrdiff_t Step)
{
    const __m128i Zero = _mm_setzero_si128(), NotFirst = _mm_setr_epi16(0, -1, -1, -1, -1, -1, -1, -1);
    const __m128i a[2] = {Load16(pCoeffs), Load16(pCoeffs + 8)};
    const __m128i b[2] = {Load16(pCoeffs + 16), Load16(pCoeffs + 24)};
    Store16(pCoeffs, Zero);
    Store16(pCoeffs + 16, Zero);
    if (AllZero(_mm_or_si128(_mm_or_si128(a[1], b[1]), _mm_and_si128(_mm_or_si128(a[0], b[0]), NotFirst)))) {
        const __m128i Dc = _mm_unpacklo_epi64(_mm_shufflelo_epi16(a[0], 0), _mm_shufflelo_epi16(b[0], 0));
        const Flat Residual(Rounded(Dc));
        for (int y = 0; y < 4; ++y, pDst += Step) Store8(pDst, Residual.AddTo(Load8(pDst)));
        return;
    }
    Store16(pCoeffs + 8, Zero);
    Store16(pCoeffs + 24, Zero);
    __m128i Rows[4];
    InverseTwo(a, b, Rows);
    for (int y = 0; y < 4; ++y, pDst += Step) Store8(pDst, AddClipped(Load8(pDst), _mm_srai_epi16(Rows[y], 6)));
}

void AddResidual4x4_w7(int16_t* pCoeffs, uint8_t* pDst, ptrdiff_t Step)
{
    const __m128i Zero = _mm_setzero_si128();
    const __m128i a[2] = {Load16(pCoeffs), Load16(pCoeffs + 8)};
    __m128i Rows[4];
    InverseTwo(a, a, Rows);
    Store16(pCoeffs, Zero);
    Store16(pCoeffs + 8, Zero);
    for (int y = 0; y < 4; ++y, pDst += Step) Store4(pDst, AddClipped(Load4(pDst), _mm_srai_epi16(Rows[y], 6)));
}

void AddResidualLuma4x4_w7(int16_t* pCoeffs, uint8_t* pDst, ptrdiff_t Step, uint32_t Bits)
{
    for (int Quadrant = 0; Quadrant < 4; ++Quadrant, Bits >>= 4, pCoeffs += 64) {
        if ((Bits & 15) == 0) continue;
        uint8_t* const p = pDst + (Quadrant >> 1) * 8 * Step + (Quadrant & 1) * 8;
        if (Bits & 3) AddTwo(pCoeffs, p, Step);
        if (Bits & 12) AddTwo(pCoeffs + 32, p + 4 * Step, Step);
    }
}

void AddResidualChroma_w7(int16_t* pCoeffs, uint8_t* pDst, ptrdiff_t Step, uint32_t Bits)
{
    if (Bits & 3) AddTwo(pCoeffs, pDst, Step);
    if (Bits & 12) AddTwo(pCoeffs + 32, pDst + 4 * Step, Step);
}

// ---- 8x8 inverse (8.5.13.2) --------------------------------------------------------------------------------

void AddResidual8x8_w7(int16_t* pCoeffs, uint8_t* pDst, ptrdiff_t Step)
{
    __m128i v[8];
    for (int i = 0; i < 8; ++i) {
        v[i] = Load16(pCoeffs + 8 * i);
        Store16(pCoeffs + 8 * i, _mm_setzero_si128());
    }
    Transpose8(v);
    Inverse8<Words>(v);
    Transpose8(v);
    v[0] = _mm_add_epi16(v[0], _mm_set1_epi16(32)); // row 0 goes into all eight with a factor of 1
    Inverse8<Words>(v);
    for (int y = 0; y < 8; ++y, pDst += Step) Store8(pDst, AddClipped(Load8(pDst), _mm_srai_epi16(v[y], 6)));
}

void AddResidualLuma8x8_w7(int16_t* pCoeffs, uint8_t* pDst, ptrdiff_t Step, uint32_t Bits)
{
    for (int i = 0; i < 4; ++i)
        if (Bits >> 4 * i & 1) AddResidual8x8_w7(pCoeffs + 64 * i, pDst + (i >> 1) * 8 * Step + (i & 1) * 8, Step);
}

// ---- Scaling -----------------------------------------------------------------------------------------------

// (Value * Scale + Round) >> Shift of words in 32 bits, cut down to words again.
struct RoundedScaling {
    __m128i Round, Shift;
    __m128i Cut(__m128i Products) const // sign-extends the lower word, so that packing does not saturate
    {
        Products = _mm_sra_epi32(_mm_add_epi32(Products, Round), Shift);
        return _mm_srai_epi32(_mm_slli_epi32(Products, 16), 16);
    }
    __m128i operator()(__m128i Values, __m128i Scale) const
    {
        const __m128i Low = _mm_mullo_epi16(Values, Scale), High = _mm_mulhi_epi16(Values, Scale);
        return _mm_packs_epi32(Cut(_mm_unpacklo_epi16(Low, High)), Cut(_mm_unpackhi_epi16(Low, High)));
    }
};

// Where nothing is lost to the right shift one product in words does it all: from QP 24 on, and with scales that are
// multiples of 16, which those of flat matrices are.
static bool IsExact(const __m128i Scale[2], int QpPer)
{
    return QpPer >= 4 || AllZero(_mm_and_si128(_mm_or_si128(Scale[0], Scale[1]), _mm_set1_epi16(15)));
}

static __m128i ExactFactor(__m128i Scale, int QpPer)
{
    if (QpPer >= 4) return _mm_sll_epi16(Scale, _mm_cvtsi32_si128(QpPer - 4));
    return _mm_sra_epi16(Scale, _mm_cvtsi32_si128(4 - QpPer));
}

void DequantBlocks_w7(int16_t* pLevels, uint32_t Bits, int Count, const int16_t* pScale, int QpPer, int FirstIndex)
{
    __m128i Scale[2] = {Load16(pScale), Load16(pScale + 8)};
    Bits &= (1u << Count) - 1;
    if (IsExact(Scale, QpPer)) {
        for (__m128i& v : Scale) v = ExactFactor(v, QpPer);
        if (FirstIndex) Scale[0] = _mm_insert_epi16(Scale[0], 1, 0); // leaves coefficient 0 as it is
        for (; Bits; Bits &= Bits - 1) {
            int16_t* const p = pLevels + 16 * __builtin_ctz(Bits);
            Store16(p, _mm_mullo_epi16(Load16(p), Scale[0]));
            Store16(p + 8, _mm_mullo_epi16(Load16(p + 8), Scale[1]));
        }
        return;
    }
    const RoundedScaling Scaled{_mm_set1_epi32(1 << (3 - QpPer)), _mm_cvtsi32_si128(4 - QpPer)};
    for (; Bits; Bits &= Bits - 1) {
        int16_t* const p = pLevels + 16 * __builtin_ctz(Bits);
        const int16_t First = p[0];
        Store16(p, Scaled(Load16(p), Scale[0]));
        Store16(p + 8, Scaled(Load16(p + 8), Scale[1]));
        if (FirstIndex) p[0] = First;
    }
}

void DequantBlocks8x8_w7(int16_t* pLevels, uint32_t Bits, int Count, const int16_t* pScale, int QpPer)
{
    Bits &= (1u << Count) - 1;
    if (!Bits) return;
    const int Down = std::max(6 - QpPer, 0);
    __m128i Set = _mm_setzero_si128();
    for (int i = 0; i < 64; i += 8) Set = _mm_or_si128(Set, Load16(pScale + i));
    const bool HasRest = !AllZero(_mm_and_si128(Set, _mm_set1_epi16(static_cast<short>((1 << Down) - 1))));
    const __m128i Right = _mm_cvtsi32_si128(Down), Left = _mm_cvtsi32_si128(std::max(QpPer - 6, 0));
    const RoundedScaling Scaled{_mm_set1_epi32(1 << Down >> 1), Right};
    for (; Bits; Bits &= Bits - 1) {
        int16_t* const p = pLevels + 64 * __builtin_ctz(Bits);
        for (int i = 0; i < 64; i += 8) {
            const __m128i Levels = Load16(p + i), Scale = Load16(pScale + i);
            const __m128i Factor = _mm_sll_epi16(_mm_sra_epi16(Scale, Right), Left);
            Store16(p + i, HasRest ? Scaled(Levels, Scale) : _mm_mullo_epi16(Levels, Factor));
        }
    }
}

} // namespace kernels
