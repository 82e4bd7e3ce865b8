// For kernels with SSE2. Static: a tier's object shares no function with others.
#pragma once

#include <emmintrin.h>

namespace kernels {

// One of three steps of the Hadamard transform of eight values, each of them a register of words: what it joins is
// Apart registers apart.
template <int Apart>
[[gnu::always_inline]] static inline void HadamardStep8(__m128i v[8])
{
    for (int i = 0; i < 8; ++i)
        if (!(i & Apart)) {
            const __m128i a = v[i], b = v[i + Apart];
            v[i] = _mm_add_epi16(a, b);
            v[i + Apart] = _mm_sub_epi16(a, b);
        }
}

} // namespace kernels
