#include <cstring>
#include <emmintrin.h>

#include "kernels/intra/intra.h"

namespace kernels {

namespace {

// Registers pass between these only where everything that touches them is one function.
#define INLINE [[gnu::always_inline]] static inline

INLINE __m128i Splat(int Byte) { return _mm_set1_epi8(static_cast<char>(Byte)); }
INLINE __m128i SplatFirst(__m128i v) { return Splat(_mm_cvtsi128_si32(v)); }

INLINE __m128i SpreadOver4(int Four)
{
    const __m128i v = _mm_cvtsi32_si128(Four), Pairs = _mm_unpacklo_epi8(v, v);
    return _mm_unpacklo_epi16(Pairs, Pairs);
}

INLINE __m128i SumsOfProducts(__m128i Samples, __m128i Weights)
{
    const __m128i Zero = _mm_setzero_si128(), Sign = _mm_cmpgt_epi8(Zero, Weights);
    return _mm_add_epi32(_mm_madd_epi16(_mm_unpacklo_epi8(Samples, Zero), _mm_unpacklo_epi8(Weights, Sign)),
                         _mm_madd_epi16(_mm_unpackhi_epi8(Samples, Zero), _mm_unpackhi_epi8(Weights, Sign)));
}

template <int N>
INLINE __m128i JoinAt(__m128i Upper, __m128i Lower)
{
    return _mm_or_si128(_mm_slli_si128(Upper, 16 - N), _mm_srli_si128(Lower, N));
}

template <int Size>
INLINE void SplitToTheEnd(__m128i v, __m128i& Even, __m128i& Odd)
{
    const __m128i EvenBytes = _mm_and_si128(v, _mm_set1_epi16(0xFF)), OddBytes = _mm_srli_epi16(v, 8);
    Even = _mm_slli_si128(_mm_packus_epi16(EvenBytes, EvenBytes), 16 - Size / 2);
    Odd = _mm_slli_si128(_mm_packus_epi16(OddBytes, OddBytes), 17 - Size / 2);
}

template <int Size>
INLINE __m128i Downwards(__m128i v, __m128i Last)
{
    __m128i Words = _mm_shufflelo_epi16(_mm_unpacklo_epi8(v, _mm_setzero_si128()), _MM_SHUFFLE(0, 1, 2, 3));
    if constexpr (Size == 8) {
        Words = _mm_shufflehi_epi16(Words, _MM_SHUFFLE(0, 1, 2, 3));
        Words = _mm_shuffle_epi32(Words, _MM_SHUFFLE(1, 0, 3, 2));
        return _mm_unpacklo_epi64(_mm_packus_epi16(Words, Words), Last);
    }
    return _mm_unpacklo_epi64(_mm_unpacklo_epi32(_mm_packus_epi16(Words, Words), Last), Last);
}

#include "kernels/intra/intra_lines.inc"

} // namespace

void Predict16x16Horizontal_w7(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictHorizontal<16>(pAround, AroundStep, pDst, DstStep);
}

void PredictChromaHorizontal_w7(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                                unsigned)
{
    PredictHorizontal<8>(pAround, AroundStep, pDst, DstStep);
}

void Predict16x16Dc_w7(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                       unsigned Available)
{
    Predict16x16Dc(pAround, AroundStep, pDst, DstStep, Available);
}

void PredictChromaDc_w7(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                        unsigned Available)
{
    PredictChromaDc(pAround, AroundStep, pDst, DstStep, Available);
}

void Predict16x16Plane_w7(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictPlane<16>(pAround, AroundStep, pDst, DstStep);
}

void PredictChromaPlane_w7(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictPlane<8>(pAround, AroundStep, pDst, DstStep);
}

void PredictIntra4x4_w7(int Mode, const uint8_t* pAround, ptrdiff_t AroundStep, const uint8_t* pTopRight, uint8_t* pDst,
                        ptrdiff_t DstStep, unsigned Available)
{
    PredictIntra4x4(Mode, pAround, AroundStep, pTopRight, pDst, DstStep, Available);
}

void PredictIntra8x8_w7(int Mode, const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                        unsigned Available)
{
    PredictIntra8x8(Mode, pAround, AroundStep, pDst, DstStep, Available);
}

} // namespace kernels
