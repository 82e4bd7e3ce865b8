// The 4x4 Hadamard transform of differences, two blocks side by side in words. For kernels with SSE2. Static:
// a tier's object shares no function with others.
#pragma once

#include <emmintrin.h>

namespace kernels {

[[gnu::always_inline]] static inline __m128i Magnitude(__m128i v)
{
    return _mm_max_epi16(v, _mm_sub_epi16(_mm_setzero_si128(), v));
}

[[gnu::always_inline]] static inline __m128i LargerMagnitude(__m128i a, __m128i b)
{
    return _mm_max_epi16(Magnitude(a), Magnitude(b));
}

// Twice the sum of all of these words is that of the magnitudes of both blocks.
struct HalvedMagnitudes4x4 {
    __m128i OfSums, OfDifferences;
};

// Down, then across after a turn. The last step needs no coefficients: |x + y| + |x - y| = 2 max(|x|, |y|). A value is
// at most 8 times the largest difference before it, which has to fit a word.
[[gnu::always_inline]] static inline HalvedMagnitudes4x4 HadamardMagnitudes4x4(const __m128i Row[4])
{
    const __m128i s01 = _mm_add_epi16(Row[0], Row[1]), d01 = _mm_sub_epi16(Row[0], Row[1]);
    const __m128i s23 = _mm_add_epi16(Row[2], Row[3]), d23 = _mm_sub_epi16(Row[2], Row[3]);
    const __m128i m0 = _mm_add_epi16(s01, s23), m1 = _mm_sub_epi16(s01, s23);
    const __m128i m2 = _mm_add_epi16(d01, d23), m3 = _mm_sub_epi16(d01, d23);
    const __m128i a0 = _mm_unpacklo_epi16(m0, m1), a1 = _mm_unpacklo_epi16(m2, m3); // the left block
    const __m128i b0 = _mm_unpackhi_epi16(m0, m1), b1 = _mm_unpackhi_epi16(m2, m3); // the right block
    const __m128i a01 = _mm_unpacklo_epi32(a0, a1), a23 = _mm_unpackhi_epi32(a0, a1);
    const __m128i b01 = _mm_unpacklo_epi32(b0, b1), b23 = _mm_unpackhi_epi32(b0, b1);
    const __m128i c0 = _mm_unpacklo_epi64(a01, b01), c1 = _mm_unpackhi_epi64(a01, b01);
    const __m128i c2 = _mm_unpacklo_epi64(a23, b23), c3 = _mm_unpackhi_epi64(a23, b23);
    return {LargerMagnitude(_mm_add_epi16(c0, c1), _mm_add_epi16(c2, c3)),
            LargerMagnitude(_mm_sub_epi16(c0, c1), _mm_sub_epi16(c2, c3))};
}

} // namespace kernels
