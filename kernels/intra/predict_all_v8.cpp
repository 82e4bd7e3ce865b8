#include "kernels/intra/intra.h"

#include <cstring>
#include <tmmintrin.h>

namespace kernels {

// The neighbours of the block in one register, from the lowest left sample over the corner to the last above-right one,
// both ends once more: L3 L3 L2 L1 L0 M T0 .. T7 T7. Each mode is then a choice of bytes among these, their means of
// two (b[i], b[i + 1]) and their filtered values around b[i].
enum : char { L3 = 1, L2, L1, L0, M, T0, T1, T2, T3, T4, T5, T6, T7, No = -1 };

static __m128i LoadEdge(const uint8_t* pAround, ptrdiff_t AroundStep, unsigned Available)
{
    const uint8_t* const pAbove = pAround - AroundStep;
    alignas(16) uint8_t Edge[16];
    Edge[0] = Edge[L3] = pAround[3 * AroundStep - 1];
    Edge[L2] = pAround[2 * AroundStep - 1];
    Edge[L1] = pAround[AroundStep - 1];
    Edge[L0] = pAround[-1];
    std::memcpy(Edge + M, pAbove - 1, 9);
    if (!(Available & kTopRight)) std::memset(Edge + T4, Edge[T3], 4);
    Edge[T7 + 1] = Edge[15] = Edge[T7];
    return _mm_load_si128(reinterpret_cast<const __m128i*>(Edge));
}

static int DcOf(__m128i Edge, unsigned Available)
{
    const __m128i Zero = _mm_setzero_si128();
    const int Left = _mm_cvtsi128_si32(_mm_sad_epu8(_mm_and_si128(Edge, _mm_setr_epi32(~0xFF, 0xFF, 0, 0)), Zero));
    const int Top =
        _mm_cvtsi128_si32(_mm_sad_epu8(_mm_and_si128(_mm_srli_si128(Edge, T0), _mm_setr_epi32(-1, 0, 0, 0)), Zero));
    switch (Available & (kLeft | kTop)) {
    case kLeft | kTop: return (Left + Top + 4) >> 3;
    case kLeft: return (Left + 2) >> 2;
    case kTop: return (Top + 2) >> 2;
    default: return 128;
    }
}

void PredictAll4x4_v8(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pAround, ptrdiff_t AroundStep,
                      unsigned Available, uint8_t (*pPredictions)[16], int32_t* pSad)
{
    const auto Row = [&](int y) {
        int32_t v;
        std::memcpy(&v, pSrc + y * SrcStep, 4);
        return _mm_cvtsi32_si128(v);
    };
    const __m128i Source = _mm_unpacklo_epi64(_mm_unpacklo_epi32(Row(0), Row(1)), _mm_unpacklo_epi32(Row(2), Row(3)));
    const __m128i Edge = LoadEdge(pAround, AroundStep, Available);
    const __m128i Before = _mm_slli_si128(Edge, 1), After = _mm_srli_si128(Edge, 1);
    const __m128i Mean = _mm_avg_epu8(Edge, After);
    // (a + 2b + c + 2) >> 2 is the rounded mean of b and the mean of a and c rounded down.
    const __m128i Outer =
        _mm_sub_epi8(_mm_avg_epu8(Before, After), _mm_and_si128(_mm_xor_si128(Before, After), _mm_set1_epi8(1)));
    const __m128i Filtered = _mm_avg_epu8(Outer, Edge);
    const auto Put = [&](int Mode, __m128i p) {
        _mm_store_si128(reinterpret_cast<__m128i*>(pPredictions[Mode]), p);
        const __m128i Sad = _mm_sad_epu8(Source, p);
        pSad[Mode] = _mm_cvtsi128_si32(_mm_add_epi32(Sad, _mm_srli_si128(Sad, 8)));
    };
    const auto Both = [&](__m128i FromMean, __m128i FromFiltered) {
        return _mm_or_si128(_mm_shuffle_epi8(Mean, FromMean), _mm_shuffle_epi8(Filtered, FromFiltered));
    };
    Put(0, _mm_shuffle_epi8(Edge, _mm_setr_epi8(T0, T1, T2, T3, T0, T1, T2, T3, T0, T1, T2, T3, T0, T1, T2, T3)));
    Put(1, _mm_shuffle_epi8(Edge, _mm_setr_epi8(L0, L0, L0, L0, L1, L1, L1, L1, L2, L2, L2, L2, L3, L3, L3, L3)));
    Put(2, _mm_set1_epi8(static_cast<char>(DcOf(Edge, Available))));
    Put(3, _mm_shuffle_epi8(Filtered, _mm_setr_epi8(T1, T2, T3, T4, T2, T3, T4, T5, T3, T4, T5, T6, T4, T5, T6, T7)));
    Put(4, _mm_shuffle_epi8(Filtered, _mm_setr_epi8(M, T0, T1, T2, L0, M, T0, T1, L1, L0, M, T0, L2, L1, L0, M)));
    Put(5, Both(_mm_setr_epi8(M, T0, T1, T2, No, No, No, No, No, M, T0, T1, No, No, No, No),
                _mm_setr_epi8(No, No, No, No, M, T0, T1, T2, L0, No, No, No, L1, M, T0, T1)));
    Put(6, Both(_mm_setr_epi8(L0, No, No, No, L1, No, L0, No, L2, No, L1, No, L3, No, L2, No),
                _mm_setr_epi8(No, M, T0, T1, No, L0, No, M, No, L1, No, L0, No, L2, No, L1)));
    Put(7, Both(_mm_setr_epi8(T0, T1, T2, T3, No, No, No, No, T1, T2, T3, T4, No, No, No, No),
                _mm_setr_epi8(No, No, No, No, T1, T2, T3, T4, No, No, No, No, T2, T3, T4, T5)));
    // Behind the last left sample all is its value, which the filter gives at the doubled end as well as at it.
    const __m128i Up = Both(_mm_setr_epi8(L1, No, L2, No, L2, No, L3, No, L3, No, No, No, No, No, No, No),
                            _mm_setr_epi8(No, L1, No, L2, No, L2, No, L3, No, L3, No, No, No, No, No, No));
    Put(8, _mm_or_si128(Up, _mm_shuffle_epi8(
                                Edge, _mm_setr_epi8(No, No, No, No, No, No, No, No, No, No, L3, L3, L3, L3, L3, L3))));
}

} // namespace kernels
