#include <cstring>
#include <tmmintrin.h>

#include "kernels/intra/intra.h"

namespace kernels {

namespace {

// Registers pass between these only where everything that touches them is one function.
#define INLINE [[gnu::always_inline]] static inline

INLINE __m128i SplatFirst(__m128i v) { return _mm_shuffle_epi8(v, _mm_setzero_si128()); }
INLINE __m128i Splat(int Byte) { return SplatFirst(_mm_cvtsi32_si128(Byte)); }

template <int N>
INLINE __m128i JoinAt(__m128i Upper, __m128i Lower)
{
    return _mm_alignr_epi8(Upper, Lower, N);
}

template <int Size>
INLINE void SplitToTheEnd(__m128i v, __m128i& Even, __m128i& Odd)
{
    const __m128i Order = Size == 8 ? _mm_setr_epi8(-1, -1, -1, -1, -1, 1, 3, 5, -1, -1, -1, -1, -1, 2, 4, 6)
                                    : _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, 1, -1, -1, -1, -1, -1, -1, -1, 2);
    Even = _mm_shuffle_epi8(v, Order);
    Odd = _mm_unpacklo_epi64(Even, Even);
}

template <int Size>
INLINE __m128i Downwards(__m128i v, __m128i) // the last byte is byte 0 of v
{
    return _mm_shuffle_epi8(v, Size == 8 ? _mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0)
                                         : _mm_setr_epi8(3, 2, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

#include "kernels/intra/intra_lines.inc"

} // namespace

void Predict16x16Horizontal_v8(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictHorizontal<16>(pAround, AroundStep, pDst, DstStep);
}

void PredictChromaHorizontal_v8(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                                unsigned)
{
    PredictHorizontal<8>(pAround, AroundStep, pDst, DstStep);
}

void PredictIntra4x4_v8(int Mode, const uint8_t* pAround, ptrdiff_t AroundStep, const uint8_t* pTopRight, uint8_t* pDst,
                        ptrdiff_t DstStep, unsigned Available)
{
    PredictIntra4x4(Mode, pAround, AroundStep, pTopRight, pDst, DstStep, Available);
}

void PredictIntra8x8_v8(int Mode, const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                        unsigned Available)
{
    PredictIntra8x8(Mode, pAround, AroundStep, pDst, DstStep, Available);
}

} // namespace kernels
