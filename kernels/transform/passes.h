// Passes of the 4x4 and 8x8 transforms over registers of words or of 32 bits: a register is a row or a column of
// several blocks. For kernels with SSE2. Static: a tier's object shares no function with others.
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

// 8.5.12.2
template <class L>
[[gnu::always_inline]] static inline void Inverse4(__m128i v[4])
{
    const __m128i e0 = L::Add(v[0], v[2]), e1 = L::Sub(v[0], v[2]);
    const __m128i e2 = L::Sub(L::Down(v[1], 1), v[3]), e3 = L::Add(v[1], L::Down(v[3], 1));
    v[0] = L::Add(e0, e3);
    v[1] = L::Add(e1, e2);
    v[2] = L::Sub(e1, e2);
    v[3] = L::Sub(e0, e3);
}

template <class L>
[[gnu::always_inline]] static inline __m128i OneAndAHalf(__m128i v)
{
    return L::Add(v, L::Down(v, 1));
}

// 8.5.13.2
template <class L>
[[gnu::always_inline]] static inline void Inverse8(__m128i v[8])
{
    const __m128i e0 = L::Add(v[0], v[4]), e2 = L::Sub(v[0], v[4]);
    const __m128i e4 = L::Sub(L::Down(v[2], 1), v[6]), e6 = L::Add(v[2], L::Down(v[6], 1));
    const __m128i e1 = L::Sub(L::Sub(v[5], v[3]), OneAndAHalf<L>(v[7]));
    const __m128i e3 = L::Sub(L::Add(v[1], v[7]), OneAndAHalf<L>(v[3]));
    const __m128i e5 = L::Add(L::Sub(v[7], v[1]), OneAndAHalf<L>(v[5]));
    const __m128i e7 = L::Add(L::Add(v[3], v[5]), OneAndAHalf<L>(v[1]));
    const __m128i f0 = L::Add(e0, e6), f2 = L::Add(e2, e4), f4 = L::Sub(e2, e4), f6 = L::Sub(e0, e6);
    const __m128i f1 = L::Add(e1, L::Down(e7, 2)), f3 = L::Add(e3, L::Down(e5, 2));
    const __m128i f5 = L::Sub(L::Down(e3, 2), e5), f7 = L::Sub(e7, L::Down(e1, 2));
    v[0] = L::Add(f0, f7);
    v[1] = L::Add(f2, f5);
    v[2] = L::Add(f4, f3);
    v[3] = L::Add(f6, f1);
    v[4] = L::Sub(f6, f1);
    v[5] = L::Sub(f4, f3);
    v[6] = L::Sub(f2, f5);
    v[7] = L::Sub(f0, f7);
}

// The forward transform, whose rows are those of the matrix of 8.5.13.2, of eight values by the sums of the first and
// the last of them, of the second and the last but one and so on, and their differences.
template <class L>
[[gnu::always_inline]] static inline void Forward8(const __m128i s[4], const __m128i d[4], __m128i v[8])
{
    const __m128i e0 = L::Add(s[0], s[3]), e1 = L::Add(s[1], s[2]), e2 = L::Sub(s[0], s[3]), e3 = L::Sub(s[1], s[2]);
    const __m128i o0 = L::Add(L::Add(d[1], d[2]), OneAndAHalf<L>(d[0]));
    const __m128i o1 = L::Sub(L::Sub(d[0], d[3]), OneAndAHalf<L>(d[2]));
    const __m128i o2 = L::Sub(L::Add(d[0], d[3]), OneAndAHalf<L>(d[1]));
    const __m128i o3 = L::Add(L::Sub(d[1], d[2]), OneAndAHalf<L>(d[3]));
    v[0] = L::Add(e0, e1);
    v[1] = L::Add(o0, L::Down(o3, 2));
    v[2] = L::Add(e2, L::Down(e3, 1));
    v[3] = L::Add(o1, L::Down(o2, 2));
    v[4] = L::Sub(e0, e1);
    v[5] = L::Sub(o2, L::Down(o1, 2));
    v[6] = L::Sub(L::Down(e2, 1), e3);
    v[7] = L::Sub(L::Down(o0, 2), o3);
}

// The same of rows or columns of words.
[[gnu::always_inline]] static inline void Forward8InWords(__m128i v[8])
{
    __m128i s[4], d[4];
    for (int i = 0; i < 4; ++i) {
        s[i] = _mm_add_epi16(v[i], v[7 - i]);
        d[i] = _mm_sub_epi16(v[i], v[7 - i]);
    }
    Forward8<Words>(s, d, v);
}

} // namespace kernels
