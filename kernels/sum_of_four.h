// For kernels with SSE2. Static: a tier's object shares no function with others.
#pragma once

#include <cstdint>
#include <emmintrin.h>

namespace kernels {

// The sum of a register's four values of 32 bits.
[[gnu::always_inline]] static inline int32_t SumOfFour(__m128i v)
{
    v = _mm_add_epi32(v, _mm_unpackhi_epi64(v, v));
    return _mm_cvtsi128_si32(_mm_add_epi32(v, _mm_shuffle_epi32(v, 1)));
}

} // namespace kernels
