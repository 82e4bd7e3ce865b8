// The forward 8x8 transform and its quantiser for samples of 2 bytes, which hold 12 bits at most.
#include <emmintrin.h>

#include "kernels/transform/passes.h"
#include "kernels/transform/quantise_deep.h"
#include "kernels/transform/transform.h"
#include "kernels/transpose_words.h"

namespace kernels {

namespace {

// Coefficients stay in registers only where everything that touches them is one function.
#define INLINE [[gnu::always_inline]] static inline

INLINE __m128i Load8(const uint16_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
INLINE void Store(int32_t* p, __m128i v) { _mm_store_si128(reinterpret_cast<__m128i*>(p), v); }

// A pass weighs the differences of 12-bit samples by 8 in all at most: the first one fits words, the second does not.
static_assert(8 * 4095 <= INT16_MAX);

// The pass across: rows in, rows out.
INLINE void TransformRows(__m128i v[8])
{
    Transpose8(v);
    Forward8InWords(v);
    Transpose8(v);
}

// The pass down four columns, the upper ones for Half 1. Its first step widens.
template <int Half>
INLINE void TransformColumns(const __m128i Rows[8], __m128i v[8])
{
    __m128i s[4], d[4];
    for (int i = 0; i < 4; ++i) {
        const __m128i Pairs =
            Half ? _mm_unpackhi_epi16(Rows[i], Rows[7 - i]) : _mm_unpacklo_epi16(Rows[i], Rows[7 - i]);
        s[i] = _mm_madd_epi16(Pairs, _mm_set1_epi16(1));
        d[i] = _mm_madd_epi16(Pairs, _mm_set1_epi32(static_cast<int>(0xFFFF0001)));
    }
    Forward8<DoubleWords>(s, d, v);
}

// Four columns of levels, and what any of them has.
template <int Half>
INLINE __m128i QuantColumns(const __m128i Rows[8], const QuantParams8x8& Quant, int32_t* pLevels)
{
    const DeepQuantiser Quantiser(Quant.Rounding, Quant.Shift);
    __m128i v[8], Any = _mm_setzero_si128();
    TransformColumns<Half>(Rows, v);
    for (int y = 0; y < 8; ++y) {
        const __m128i Factors = _mm_unpacklo_epi16(
            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(Quant.Factor + 8 * y + 4 * Half)), _mm_setzero_si128());
        const __m128i Levels = Quantiser.Levels(v[y], Factors);
        Store(pLevels + 8 * y + 4 * Half, Levels);
        Any = _mm_or_si128(Any, Levels);
    }
    return Any;
}

// Steps count samples.
INLINE uint32_t QuantBlock(const uint16_t* pSrc, ptrdiff_t SrcStep, const uint16_t* pPrediction,
                           ptrdiff_t PredictionStep, int32_t* pLevels, const QuantParams8x8& Quant)
{
    __m128i Rows[8];
    for (int y = 0; y < 8; ++y)
        Rows[y] = _mm_sub_epi16(Load8(pSrc + y * SrcStep), Load8(pPrediction + y * PredictionStep));
    TransformRows(Rows);
    const __m128i Any = QuantColumns<0>(Rows, Quant, pLevels);
    return AnyBit(_mm_or_si128(Any, QuantColumns<1>(Rows, Quant, pLevels))) ? 1 : 0;
}

} // namespace

uint32_t ForwardQuant8x8Deep_w7(const uint16_t* pSrc, ptrdiff_t SrcStep, const uint16_t* pPrediction,
                                ptrdiff_t PredictionStep, int32_t* pLevels, const QuantParams8x8* pQuant)
{
    return QuantBlock(pSrc, SrcStep / 2, pPrediction, PredictionStep / 2, pLevels, *pQuant);
}

uint32_t ForwardQuant8x8Of16x16Deep_w7(const uint16_t* pSrc, ptrdiff_t SrcStep, const uint16_t* pPrediction,
                                       ptrdiff_t PredictionStep, int32_t* pLevels, const QuantParams8x8* pQuant)
{
    uint32_t Mask = 0;
    for (int i = 0; i < 4; ++i) {
        const int x = (i & 1) * 8, y = (i >> 1) * 8;
        Mask |= QuantBlock(pSrc + y * (SrcStep / 2) + x, SrcStep / 2, pPrediction + y * (PredictionStep / 2) + x,
                           PredictionStep / 2, pLevels + 64 * i, *pQuant)
                << i;
    }
    return Mask;
}

} // namespace kernels
