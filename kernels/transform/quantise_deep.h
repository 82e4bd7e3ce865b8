// The quantiser of 32-bit coefficients. For kernels with SSE2. Static: a tier's object shares no function with others.
#pragma once

#include <cstdint>
#include <emmintrin.h>

namespace kernels {

// sign(c) * ((|c| * Factor + Rounding) >> Shift) of four coefficients, the products in 64 bits.
struct DeepQuantiser {
    __m128i Rounding, Shift;

    [[gnu::always_inline]] DeepQuantiser(uint32_t Rounding, int Shift)
        : Rounding(_mm_set_epi32(0, static_cast<int>(Rounding), 0, static_cast<int>(Rounding))),
          Shift(_mm_cvtsi32_si128(Shift))
    {
    }
    [[gnu::always_inline]] __m128i Scaled(__m128i Magnitudes, __m128i Factors) const
    {
        return _mm_srl_epi64(_mm_add_epi64(_mm_mul_epu32(Magnitudes, Factors), Rounding), Shift);
    }
    [[gnu::always_inline]] __m128i Levels(__m128i c, __m128i Factors) const
    {
        const __m128i Sign = _mm_srai_epi32(c, 31), m = _mm_sub_epi32(_mm_xor_si128(c, Sign), Sign);
        const __m128i Odd = Scaled(_mm_srli_epi64(m, 32), _mm_srli_epi64(Factors, 32));
        const __m128i Level = _mm_or_si128(Scaled(m, Factors), _mm_slli_epi64(Odd, 32));
        return _mm_sub_epi32(_mm_xor_si128(Level, Sign), Sign);
    }
};

[[gnu::always_inline]] static inline bool AnyBit(__m128i v)
{
    return _mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_setzero_si128())) != 0xFFFF;
}

} // namespace kernels
