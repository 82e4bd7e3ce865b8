// What a transform does with registers of words and of 32 bits. For kernels with SSE2, all inlined.
#pragma once

#include <emmintrin.h>

namespace kernels {

struct Words {
    [[gnu::always_inline]] static __m128i Add(__m128i a, __m128i b) { return _mm_add_epi16(a, b); }
    [[gnu::always_inline]] static __m128i Sub(__m128i a, __m128i b) { return _mm_sub_epi16(a, b); }
    [[gnu::always_inline]] static __m128i Down(__m128i v, int Bits) { return _mm_srai_epi16(v, Bits); }
};

struct DoubleWords {
    [[gnu::always_inline]] static __m128i Add(__m128i a, __m128i b) { return _mm_add_epi32(a, b); }
    [[gnu::always_inline]] static __m128i Sub(__m128i a, __m128i b) { return _mm_sub_epi32(a, b); }
    [[gnu::always_inline]] static __m128i Down(__m128i v, int Bits) { return _mm_srai_epi32(v, Bits); }
};

} // namespace kernels
