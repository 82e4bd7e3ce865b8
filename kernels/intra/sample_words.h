// What the prediction of blocks of samples of 2 bytes does with registers of them. For kernels with SSE2, all inlined.
#pragma once

#include <cstdint>
#include <emmintrin.h>

namespace kernels {

[[gnu::always_inline]] static inline __m128i Splat(int Sample) { return _mm_set1_epi16(static_cast<short>(Sample)); }

// Words N on of Lower, then those of Upper.
template <int N>
[[gnu::always_inline]] static inline __m128i JoinAt(__m128i Upper, __m128i Lower)
{
    return _mm_or_si128(_mm_slli_si128(Upper, 16 - 2 * N), _mm_srli_si128(Lower, 2 * N));
}

// (a + 2 b + c + 2) >> 2, which is in range for 14 bits.
static_assert(4 * 16383 + 2 <= UINT16_MAX);
[[gnu::always_inline]] static inline __m128i Mean3(__m128i a, __m128i b, __m128i c)
{
    const __m128i Outer = _mm_add_epi16(_mm_add_epi16(a, c), _mm_set1_epi16(2));
    return _mm_srli_epi16(_mm_add_epi16(Outer, _mm_add_epi16(b, b)), 2);
}

} // namespace kernels
