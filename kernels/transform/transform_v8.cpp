#include <cstring>
#include <tmmintrin.h>

#include "kernels/transform/passes.h"
#include "kernels/transform/transform.h"
#include "kernels/transpose_words.h"

namespace kernels {

// Coefficients stay in registers only where everything that touches them is one function.
#define INLINE [[gnu::always_inline]] static inline

static __m128i Load8(const uint8_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
static void Store16(int16_t* p, __m128i v) { _mm_store_si128(reinterpret_cast<__m128i*>(p), v); }

static __m128i Load4(const uint8_t* p)
{
    int Value;
    std::memcpy(&Value, p, sizeof Value);
    return _mm_cvtsi32_si128(Value);
}

// ---- Core transform ----------------------------------------------------------------------------------------

// One pass over four rows or columns, each of them one register of two blocks.
INLINE void Forward4(__m128i v[4])
{
    const __m128i s03 = _mm_add_epi16(v[0], v[3]), d03 = _mm_sub_epi16(v[0], v[3]);
    const __m128i s12 = _mm_add_epi16(v[1], v[2]), d12 = _mm_sub_epi16(v[1], v[2]);
    v[0] = _mm_add_epi16(s03, s12);
    v[1] = _mm_add_epi16(_mm_add_epi16(d03, d03), d12);
    v[2] = _mm_sub_epi16(s03, s12);
    v[3] = _mm_sub_epi16(d03, _mm_add_epi16(d12, d12));
}

// Two blocks side by side in four registers, as two registers each of the transposed block.
struct Pair {
    __m128i a[2], b[2];
};

INLINE Pair Transposed(const __m128i v[4])
{
    const __m128i a01 = _mm_unpacklo_epi16(v[0], v[1]), b01 = _mm_unpackhi_epi16(v[0], v[1]);
    const __m128i a23 = _mm_unpacklo_epi16(v[2], v[3]), b23 = _mm_unpackhi_epi16(v[2], v[3]);
    return {{_mm_unpacklo_epi32(a01, a23), _mm_unpackhi_epi32(a01, a23)},
            {_mm_unpacklo_epi32(b01, b23), _mm_unpackhi_epi32(b01, b23)}};
}

// Both passes over the differences in four rows; the coefficients of each block in raster order.
INLINE Pair TransformRows(__m128i Rows[4])
{
    Forward4(Rows);
    const Pair Columns = Transposed(Rows);
    for (int i = 0; i < 2; ++i) {
        Rows[2 * i] = _mm_unpacklo_epi64(Columns.a[i], Columns.b[i]);
        Rows[2 * i + 1] = _mm_unpackhi_epi64(Columns.a[i], Columns.b[i]);
    }
    Forward4(Rows);
    return Transposed(Rows);
}

// ---- Quantiser ---------------------------------------------------------------------------------------------

// (|c| * Factor + Rounding) >> Shift without leaving words: the upper half of the product, the upper half of Rounding,
// and the carry of the two lower halves. A shift below 16 also leaves something of the lower half.
template <bool Below16>
struct Rounder {
    __m128i NoCarry;   // the largest lower half of a product that does not carry
    __m128i UpperLess; // upper half of Rounding, and 1 for the carry that is taken off where there is none
    __m128i Lower;     // lower half of Rounding
    __m128i Shift,
        Up; // of the upper half: right by Shift - 16, or left by 16 - Shift; of the lower one: right by Shift

    Rounder(uint32_t Rounding, int Bits)
        : NoCarry(_mm_set1_epi16(static_cast<short>(~Rounding))),
          UpperLess(_mm_set1_epi16(static_cast<short>((Rounding >> 16) + 1))),
          Lower(_mm_set1_epi16(static_cast<short>(Rounding))), Shift(_mm_cvtsi32_si128(Below16 ? Bits : Bits - 16)),
          Up(_mm_cvtsi32_si128(16 - Bits))
    {
    }
    [[gnu::always_inline]] __m128i Levels(__m128i c, __m128i Factor) const
    {
        const __m128i Magnitude = _mm_abs_epi16(c);
        const __m128i Low = _mm_mullo_epi16(Magnitude, Factor);
        const __m128i None = _mm_cmpeq_epi16(_mm_subs_epu16(Low, NoCarry), _mm_setzero_si128());
        const __m128i High = _mm_add_epi16(_mm_mulhi_epu16(Magnitude, Factor), _mm_add_epi16(UpperLess, None));
        if constexpr (!Below16) return _mm_sign_epi16(_mm_srl_epi16(High, Shift), c);
        const __m128i Rest = _mm_srl_epi16(_mm_add_epi16(Low, Lower), Shift);
        return _mm_sign_epi16(_mm_or_si128(_mm_sll_epi16(High, Up), Rest), c);
    }
};

static __m128i LoadFactors(const uint16_t* p) { return _mm_load_si128(reinterpret_cast<const __m128i*>(p)); }

template <bool Below16>
struct Quantiser : Rounder<Below16> {
    __m128i Factor[2];

    explicit Quantiser(const QuantParams& Params)
        : Rounder<Below16>(Params.Rounding, Params.Shift), Factor{LoadFactors(Params.Factor),
                                                                  LoadFactors(Params.Factor + 8)}
    {
    }
};

struct Samples {
    const uint8_t* pSrc;
    ptrdiff_t SrcStep;
    const uint8_t* pPrediction;
    ptrdiff_t PredictionStep;

    Samples At(int x, int y) const
    {
        return {pSrc + y * SrcStep + x, SrcStep, pPrediction + y * PredictionStep + x, PredictionStep};
    }
};

// Differences of 8 samples.
INLINE __m128i Difference(__m128i Source, __m128i Prediction)
{
    return _mm_maddubs_epi16(_mm_unpacklo_epi8(Source, Prediction), _mm_set1_epi16(static_cast<short>(0xFF01)));
}

INLINE Pair TransformTwo(const Samples& s)
{
    __m128i Rows[4];
    for (int y = 0; y < 4; ++y)
        Rows[y] = Difference(Load8(s.pSrc + y * s.SrcStep), Load8(s.pPrediction + y * s.PredictionStep));
    return TransformRows(Rows);
}

// Quantises a block to pLevels. The result is not 0 in some byte when a level is not 0: packing saturates, and what
// is not 0 stays so.
template <bool Below16>
INLINE __m128i QuantBlock(const __m128i c[2], const Quantiser<Below16>& Quant, int16_t* pLevels)
{
    const __m128i l0 = Quant.Levels(c[0], Quant.Factor[0]), l1 = Quant.Levels(c[1], Quant.Factor[1]);
    Store16(pLevels, l0);
    Store16(pLevels + 8, l1);
    return _mm_packs_epi16(l0, l1);
}

// Two blocks; 8 bytes of the result tell of each.
template <bool Below16>
INLINE __m128i QuantTwo(const Pair& c, const Quantiser<Below16>& Quant, int16_t* pLevels)
{
    return _mm_packs_epi16(QuantBlock(c.a, Quant, pLevels), QuantBlock(c.b, Quant, pLevels + 16));
}

// Takes the DC of a block out of its coefficients.
INLINE int16_t TakeDc(__m128i& c)
{
    const auto Dc = static_cast<int16_t>(_mm_cvtsi128_si32(c));
    c = _mm_and_si128(c, _mm_setr_epi16(0, -1, -1, -1, -1, -1, -1, -1));
    return Dc;
}

// As QuantTwo, with the DC of both blocks to pDc.
template <bool Below16>
INLINE __m128i QuantAcTwo(Pair c, const Quantiser<Below16>& Quant, int16_t* pLevels, int16_t* pDc)
{
    pDc[0] = TakeDc(c.a[0]);
    pDc[1] = TakeDc(c.b[0]);
    return QuantTwo(c, Quant, pLevels);
}

// The bits of 16 blocks from the results of eight pairs.
static uint32_t BlockMask(const __m128i Pairs[8])
{
    const __m128i First = _mm_packs_epi16(_mm_packs_epi16(Pairs[0], Pairs[1]), _mm_packs_epi16(Pairs[2], Pairs[3]));
    const __m128i Last = _mm_packs_epi16(_mm_packs_epi16(Pairs[4], Pairs[5]), _mm_packs_epi16(Pairs[6], Pairs[7]));
    const __m128i Empty = _mm_cmpeq_epi8(_mm_packs_epi16(First, Last), _mm_setzero_si128());
    return static_cast<uint32_t>(_mm_movemask_epi8(Empty)) ^ 0xFFFF;
}

// ---- Blocks and macroblocks --------------------------------------------------------------------------------

// Four blocks follow one another in each quadrant of a macroblock: two side by side, and the two below them.

template <bool Below16>
static uint32_t QuantMacroblock(const Samples& s, const QuantParams& Params, int16_t* pLevels)
{
    const Quantiser<Below16> Quant(Params);
    __m128i Pairs[8];
    for (int i = 0; i < 4; ++i, pLevels += 64) {
        const Samples Quadrant = s.At((i & 1) * 8, (i >> 1) * 8);
        Pairs[2 * i] = QuantTwo(TransformTwo(Quadrant), Quant, pLevels);
        Pairs[2 * i + 1] = QuantTwo(TransformTwo(Quadrant.At(0, 4)), Quant, pLevels + 32);
    }
    return BlockMask(Pairs);
}

template <bool Below16>
static uint32_t QuantAcMacroblock(const Samples& s, const QuantParams& Params, int16_t* pLevels, int16_t* pDc)
{
    const Quantiser<Below16> Quant(Params);
    __m128i Pairs[8];
    for (int i = 0; i < 4; ++i, pLevels += 64) {
        const Samples Quadrant = s.At((i & 1) * 8, (i >> 1) * 8);
        int16_t* const p = pDc + (i >> 1) * 8 + (i & 1) * 2;
        Pairs[2 * i] = QuantAcTwo(TransformTwo(Quadrant), Quant, pLevels, p);
        Pairs[2 * i + 1] = QuantAcTwo(TransformTwo(Quadrant.At(0, 4)), Quant, pLevels + 32, p + 4);
    }
    return BlockMask(Pairs);
}

template <bool Below16>
static uint32_t QuantAcChroma(const Samples& s, const QuantParams& Params, int16_t* pLevels, int16_t* pDc)
{
    const Quantiser<Below16> Quant(Params);
    const __m128i Upper = QuantAcTwo(TransformTwo(s), Quant, pLevels, pDc);
    const __m128i Lower = QuantAcTwo(TransformTwo(s.At(0, 4)), Quant, pLevels + 32, pDc + 2);
    const __m128i Pairs[8] = {Upper, Lower};
    return BlockMask(Pairs);
}

template <bool Below16>
static uint32_t QuantOne(const Samples& s, const QuantParams& Params, int16_t* pLevels)
{
    __m128i Rows[4];
    for (int y = 0; y < 4; ++y)
        Rows[y] = Difference(Load4(s.pSrc + y * s.SrcStep), Load4(s.pPrediction + y * s.PredictionStep));
    const __m128i Levels = QuantBlock(TransformRows(Rows).a, Quantiser<Below16>(Params), pLevels);
    return _mm_movemask_epi8(_mm_cmpeq_epi8(Levels, _mm_setzero_si128())) != 0xFFFF;
}

uint32_t ForwardQuant16x16_v8(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pPrediction,
                              ptrdiff_t PredictionStep, int16_t* pLevels, const QuantParams* pQuant)
{
    const Samples s{pSrc, SrcStep, pPrediction, PredictionStep};
    return pQuant->Shift < 16 ? QuantMacroblock<true>(s, *pQuant, pLevels)
                              : QuantMacroblock<false>(s, *pQuant, pLevels);
}

uint32_t ForwardQuant4x4_v8(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pPrediction,
                            ptrdiff_t PredictionStep, int16_t* pLevels, const QuantParams* pQuant)
{
    const Samples s{pSrc, SrcStep, pPrediction, PredictionStep};
    return pQuant->Shift < 16 ? QuantOne<true>(s, *pQuant, pLevels) : QuantOne<false>(s, *pQuant, pLevels);
}

uint32_t ForwardQuantAc16x16_v8(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pPrediction,
                                ptrdiff_t PredictionStep, int16_t* pLevels, int16_t* pDc, const QuantParams* pQuant)
{
    const Samples s{pSrc, SrcStep, pPrediction, PredictionStep};
    return pQuant->Shift < 16 ? QuantAcMacroblock<true>(s, *pQuant, pLevels, pDc)
                              : QuantAcMacroblock<false>(s, *pQuant, pLevels, pDc);
}

uint32_t ForwardQuantAc8x8_v8(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pPrediction,
                              ptrdiff_t PredictionStep, int16_t* pLevels, int16_t* pDc, const QuantParams* pQuant)
{
    const Samples s{pSrc, SrcStep, pPrediction, PredictionStep};
    return pQuant->Shift < 16 ? QuantAcChroma<true>(s, *pQuant, pLevels, pDc)
                              : QuantAcChroma<false>(s, *pQuant, pLevels, pDc);
}

// ---- 8x8 blocks --------------------------------------------------------------------------------------------

template <bool Below16>
static uint32_t Quant8x8(const Samples& s, const QuantParams8x8& Params, int16_t* pLevels)
{
    const Rounder<Below16> Quant(Params.Rounding, Params.Shift);
    __m128i v[8];
    for (int y = 0; y < 8; ++y)
        v[y] = Difference(Load8(s.pSrc + y * s.SrcStep), Load8(s.pPrediction + y * s.PredictionStep));
    Transpose8(v);
    Forward8InWords(v);
    Transpose8(v);
    Forward8InWords(v);
    __m128i Any = _mm_setzero_si128();
    for (int y = 0; y < 8; ++y) {
        const __m128i Levels = Quant.Levels(v[y], LoadFactors(Params.Factor + 8 * y));
        Store16(pLevels + 8 * y, Levels);
        Any = _mm_or_si128(Any, Levels);
    }
    return _mm_movemask_epi8(_mm_cmpeq_epi8(Any, _mm_setzero_si128())) != 0xFFFF;
}

uint32_t ForwardQuant8x8_v8(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pPrediction,
                            ptrdiff_t PredictionStep, int16_t* pLevels, const QuantParams8x8* pQuant)
{
    const Samples s{pSrc, SrcStep, pPrediction, PredictionStep};
    return pQuant->Shift < 16 ? Quant8x8<true>(s, *pQuant, pLevels) : Quant8x8<false>(s, *pQuant, pLevels);
}

uint32_t ForwardQuant8x8Of16x16_v8(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pPrediction,
                                   ptrdiff_t PredictionStep, int16_t* pLevels, const QuantParams8x8* pQuant)
{
    uint32_t Mask = 0;
    for (int q = 0; q < 4; ++q) {
        const Samples s = Samples{pSrc, SrcStep, pPrediction, PredictionStep}.At((q & 1) * 8, (q >> 1) * 8);
        Mask |= ForwardQuant8x8_v8(s.pSrc, SrcStep, s.pPrediction, PredictionStep, pLevels + 64 * q, pQuant) << q;
    }
    return Mask;
}

} // namespace kernels
