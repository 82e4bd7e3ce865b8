// For kernels with SSE2. Static: a tier's object shares no function with others.
#pragma once

#include <emmintrin.h>

namespace kernels {

// 8 rows of 8 words as 8 columns.
[[gnu::always_inline]] static inline void Transpose8(__m128i v[8])
{
    __m128i a[8], b[8];
    for (int i = 0; i < 4; ++i) {
        a[2 * i] = _mm_unpacklo_epi16(v[i], v[i + 4]);
        a[2 * i + 1] = _mm_unpackhi_epi16(v[i], v[i + 4]);
    }
    for (int i = 0; i < 4; ++i) {
        b[2 * i] = _mm_unpacklo_epi16(a[i], a[i + 4]);
        b[2 * i + 1] = _mm_unpackhi_epi16(a[i], a[i + 4]);
    }
    for (int i = 0; i < 4; ++i) {
        v[2 * i] = _mm_unpacklo_epi16(b[i], b[i + 4]);
        v[2 * i + 1] = _mm_unpackhi_epi16(b[i], b[i + 4]);
    }
}

} // namespace kernels
