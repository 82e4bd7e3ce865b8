// The forward 4x4 transform, its quantiser and the scaling of levels for samples of 2 bytes, which hold 12 bits at
// most.
#include <emmintrin.h>

#include "kernels/transform/quantise_deep.h"
#include "kernels/transform/transform.h"

namespace kernels {

namespace {

// Coefficients stay in registers only where everything that touches them is one function.
#define INLINE [[gnu::always_inline]] static inline

// Sums of differences fit words after the pass down, and need 32 bits after the pass across.
static_assert(4095 * 6 <= INT16_MAX);

INLINE __m128i Load8(const uint16_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
INLINE __m128i Load4(const uint16_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
INLINE __m128i Load(const int32_t* p) { return _mm_load_si128(reinterpret_cast<const __m128i*>(p)); }
INLINE void Store(int32_t* p, __m128i v) { _mm_store_si128(reinterpret_cast<__m128i*>(p), v); }

// The pass down four rows of words.
INLINE void ForwardDown(__m128i v[4])
{
    const __m128i s03 = _mm_add_epi16(v[0], v[3]), d03 = _mm_sub_epi16(v[0], v[3]);
    const __m128i s12 = _mm_add_epi16(v[1], v[2]), d12 = _mm_sub_epi16(v[1], v[2]);
    v[0] = _mm_add_epi16(s03, s12);
    v[1] = _mm_add_epi16(_mm_add_epi16(d03, d03), d12);
    v[2] = _mm_sub_epi16(s03, s12);
    v[3] = _mm_sub_epi16(d03, _mm_add_epi16(d12, d12));
}

// The pass across four words of a row, the upper ones for Second 1.
template <int Second>
INLINE __m128i ForwardAcross(__m128i Row)
{
    const __m128i First = _mm_setr_epi16(1, 1, 2, 1, 1, -1, 1, -2), Last = _mm_setr_epi16(1, 1, -1, -2, -1, 1, 2, -1);
    return _mm_add_epi32(_mm_madd_epi16(_mm_shuffle_epi32(Row, Second ? 0xAA : 0x00), First),
                         _mm_madd_epi16(_mm_shuffle_epi32(Row, Second ? 0xFF : 0x55), Last));
}

// The quantiser with its factors by row.
struct Quantiser : DeepQuantiser {
    __m128i Factor[4];

    explicit Quantiser(const QuantParams& Params) : DeepQuantiser(Params.Rounding, Params.Shift)
    {
        for (int y = 0; y < 4; ++y) Factor[y] = _mm_unpacklo_epi16(Load4(Params.Factor + 4 * y), _mm_setzero_si128());
    }
};

// Quantises one of the two blocks in rows that have been passed down. With pDc, coefficient 0 goes there.
template <int Second>
INLINE uint32_t QuantBlock(const __m128i Rows[4], const Quantiser& Quant, int32_t* pLevels, int32_t* pDc)
{
    __m128i Any = _mm_setzero_si128();
    for (int y = 0; y < 4; ++y) {
        __m128i c = ForwardAcross<Second>(Rows[y]);
        if (pDc && y == 0) {
            *pDc = _mm_cvtsi128_si32(c);
            c = _mm_and_si128(c, _mm_setr_epi32(0, -1, -1, -1));
        }
        const __m128i Levels = Quant.Levels(c, Quant.Factor[y]);
        Store(pLevels + 4 * y, Levels);
        Any = _mm_or_si128(Any, Levels);
    }
    return AnyBit(Any) ? 1 : 0;
}

// Steps count samples.
struct Samples {
    const uint16_t* pSrc;
    ptrdiff_t SrcStep;
    const uint16_t* pPrediction;
    ptrdiff_t PredictionStep;

    Samples At(int x, int y) const
    {
        return {pSrc + y * SrcStep + x, SrcStep, pPrediction + y * PredictionStep + x, PredictionStep};
    }
};

// Two blocks side by side; bits 0 and 1. With pDc, their DC go to the first two values there.
INLINE uint32_t QuantTwo(const Samples& s, const Quantiser& Quant, int32_t* pLevels, int32_t* pDc)
{
    __m128i Rows[4];
    for (int y = 0; y < 4; ++y)
        Rows[y] = _mm_sub_epi16(Load8(s.pSrc + y * s.SrcStep), Load8(s.pPrediction + y * s.PredictionStep));
    ForwardDown(Rows);
    const uint32_t First = QuantBlock<0>(Rows, Quant, pLevels, pDc);
    return First | QuantBlock<1>(Rows, Quant, pLevels + 16, pDc ? pDc + 1 : nullptr) << 1;
}

// An 8x8 area, whose DC lie in rows PerRow wide.
template <bool HasDc, int PerRow>
uint32_t QuantFour(const Samples& s, const Quantiser& Quant, int32_t* pLevels, int32_t* pDc)
{
    const uint32_t Upper = QuantTwo(s, Quant, pLevels, HasDc ? pDc : nullptr);
    return Upper | QuantTwo(s.At(0, 4), Quant, pLevels + 32, HasDc ? pDc + PerRow : nullptr) << 2;
}

template <bool HasDc>
uint32_t QuantMacroblock(const Samples& s, const QuantParams& Params, int32_t* pLevels, int32_t* pDc)
{
    const Quantiser Quant(Params);
    uint32_t Mask = 0;
    for (int q = 0; q < 4; ++q)
        Mask |= QuantFour<HasDc, 4>(s.At((q & 1) * 8, (q >> 1) * 8), Quant, pLevels + 64 * q,
                                    HasDc ? pDc + (q >> 1) * 8 + (q & 1) * 2 : nullptr)
                << (4 * q);
    return Mask;
}

// The lower halves of four products, which are those of signed values too.
INLINE __m128i LowProducts(__m128i a, __m128i b)
{
    const __m128i Even = _mm_mul_epu32(a, b), Odd = _mm_mul_epu32(_mm_srli_epi64(a, 32), _mm_srli_epi64(b, 32));
    return _mm_unpacklo_epi32(_mm_shuffle_epi32(Even, 0x08), _mm_shuffle_epi32(Odd, 0x08));
}

// (Level * Scale * 2^QpPer + half) / 2^Down.
struct Scaling {
    __m128i Round, Left, Right;

    Scaling(int QpPer, int Down)
        : Round(_mm_set1_epi32(QpPer >= Down ? 0 : 1 << (Down - 1 - QpPer))),
          Left(_mm_cvtsi32_si128(QpPer >= Down ? QpPer - Down : 0)),
          Right(_mm_cvtsi32_si128(QpPer >= Down ? 0 : Down - QpPer))
    {
    }
    [[gnu::always_inline]] void operator()(int32_t* pLevels, __m128i Scale) const
    {
        const __m128i Product = _mm_sll_epi32(LowProducts(Load(pLevels), Scale), Left);
        Store(pLevels, _mm_sra_epi32(_mm_add_epi32(Product, Round), Right));
    }
};

// Scales in 32 bits, four in a row; they are never negative.
template <int Rows>
struct Scales {
    __m128i Row[Rows];

    explicit Scales(const int16_t* p)
    {
        for (int i = 0; i < Rows; ++i, p += 4)
            Row[i] = _mm_unpacklo_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
    }
};

} // namespace

uint32_t ForwardQuant16x16Deep_w7(const uint16_t* pSrc, ptrdiff_t SrcStep, const uint16_t* pPrediction,
                                  ptrdiff_t PredictionStep, int32_t* pLevels, const QuantParams* pQuant)
{
    return QuantMacroblock<false>({pSrc, SrcStep / 2, pPrediction, PredictionStep / 2}, *pQuant, pLevels, nullptr);
}

uint32_t ForwardQuant4x4Deep_w7(const uint16_t* pSrc, ptrdiff_t SrcStep, const uint16_t* pPrediction,
                                ptrdiff_t PredictionStep, int32_t* pLevels, const QuantParams* pQuant)
{
    __m128i Rows[4];
    for (int y = 0; y < 4; ++y, pSrc += SrcStep / 2, pPrediction += PredictionStep / 2)
        Rows[y] = _mm_sub_epi16(Load4(pSrc), Load4(pPrediction));
    ForwardDown(Rows);
    return QuantBlock<0>(Rows, Quantiser(*pQuant), pLevels, nullptr);
}

uint32_t ForwardQuantAc16x16Deep_w7(const uint16_t* pSrc, ptrdiff_t SrcStep, const uint16_t* pPrediction,
                                    ptrdiff_t PredictionStep, int32_t* pLevels, int32_t* pDc, const QuantParams* pQuant)
{
    return QuantMacroblock<true>({pSrc, SrcStep / 2, pPrediction, PredictionStep / 2}, *pQuant, pLevels, pDc);
}

uint32_t ForwardQuantAc8x8Deep_w7(const uint16_t* pSrc, ptrdiff_t SrcStep, const uint16_t* pPrediction,
                                  ptrdiff_t PredictionStep, int32_t* pLevels, int32_t* pDc, const QuantParams* pQuant)
{
    return QuantFour<true, 2>({pSrc, SrcStep / 2, pPrediction, PredictionStep / 2}, Quantiser(*pQuant), pLevels, pDc);
}

void DequantBlocksDeep_w7(int32_t* pLevels, uint32_t Bits, int Count, const int16_t* pScale, int QpPer, int FirstIndex)
{
    const Scaling Scaled(QpPer, 4);
    const Scales<4> Scale(pScale);
    for (Bits &= (1u << Count) - 1; Bits; Bits &= Bits - 1) {
        int32_t* const p = pLevels + 16 * __builtin_ctz(Bits);
        const int32_t First = p[0];
        for (int i = 0; i < 4; ++i) Scaled(p + 4 * i, Scale.Row[i]);
        if (FirstIndex) p[0] = First;
    }
}

void DequantBlocks8x8Deep_w7(int32_t* pLevels, uint32_t Bits, int Count, const int16_t* pScale, int QpPer)
{
    const Scaling Scaled(QpPer, 6);
    const Scales<16> Scale(pScale);
    for (Bits &= (1u << Count) - 1; Bits; Bits &= Bits - 1) {
        int32_t* const p = pLevels + 64 * __builtin_ctz(Bits);
        for (int i = 0; i < 16; ++i) Scaled(p + 4 * i, Scale.Row[i]);
    }
}

} // namespace kernels
