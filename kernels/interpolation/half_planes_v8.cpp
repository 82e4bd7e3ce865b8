#include "kernels/interpolation/half_planes.h"

#include <tmmintrin.h>

namespace kernels {

void HalfPlaneRight_v8(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep)
{
    constexpr int kColumns = 24;
    // Neighbours side by side for the products of pairs of taps: 1 and -5, 20 and 20, -5 and 1.
    const __m128i First = _mm_setr_epi8(0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8);
    const __m128i Two = _mm_set1_epi8(2);
    const __m128i Middle = _mm_add_epi8(First, Two), Last = _mm_add_epi8(Middle, Two);
    const __m128i kFirst = _mm_set1_epi16(static_cast<short>(0xFB01)), kMiddle = _mm_set1_epi16(0x1414);
    const __m128i kLast = _mm_set1_epi16(0x01FB), Half = _mm_set1_epi16(16);
    pSrc -= SrcStep + 3;
    for (int y = 0; y < 18; ++y, pSrc += SrcStep, pDst += DstStep)
        for (int x = 0; x < kColumns; x += 8) {
            // The last 16 bytes would reach beyond the samples that may be read; they are taken three to the left.
            const bool bLast = x == 16;
            const __m128i Loaded = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pSrc + x - (bLast ? 3 : 0)));
            const __m128i s = bLast ? _mm_srli_si128(Loaded, 3) : Loaded;
            const __m128i Outer = _mm_add_epi16(_mm_maddubs_epi16(_mm_shuffle_epi8(s, First), kFirst),
                                                _mm_maddubs_epi16(_mm_shuffle_epi8(s, Last), kLast));
            const __m128i Sum =
                _mm_add_epi16(_mm_add_epi16(Outer, Half), _mm_maddubs_epi16(_mm_shuffle_epi8(s, Middle), kMiddle));
            const __m128i v = _mm_srai_epi16(Sum, 5);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(pDst + x), _mm_packus_epi16(v, v));
        }
}

} // namespace kernels
