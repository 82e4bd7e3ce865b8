#include "kernels/interpolation/half_planes.h"

#include <emmintrin.h>

#include <initializer_list>

namespace kernels {

namespace {

constexpr int kColumns = 24;

__m128i Load8(const uint8_t* p)
{
    return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
}

// Taps 1, -5, 20, 20, -5, 1 of 8-bit samples: -2550..10710.
__m128i Taps(__m128i a, __m128i b, __m128i c, __m128i d, __m128i e, __m128i f)
{
    const __m128i Outer = _mm_add_epi16(a, f), Middle = _mm_add_epi16(b, e), Inner = _mm_add_epi16(c, d);
    // a - 5b + 20c = a + 5 * (4c - b)
    const __m128i t = _mm_sub_epi16(_mm_slli_epi16(Inner, 2), Middle);
    return _mm_add_epi16(Outer, _mm_add_epi16(t, _mm_slli_epi16(t, 2)));
}

__m128i Round5(__m128i v) { return _mm_srai_epi16(_mm_add_epi16(v, _mm_set1_epi16(16)), 5); }

void Store8(uint8_t* p, __m128i v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(v, v)); }

// Vertical taps for eight columns, walking down: the five rows above the next one are kept.
struct ColumnWalk {
    __m128i r[5];

    ColumnWalk(const uint8_t* pTop, ptrdiff_t Step)
    {
        for (int i = 0; i < 5; ++i) r[i] = Load8(pTop + i * Step);
    }
    __m128i Next(const uint8_t* pRow)
    {
        const __m128i New = Load8(pRow);
        const __m128i Sum = Taps(r[0], r[1], r[2], r[3], r[4], New);
        r[0] = r[1], r[1] = r[2], r[2] = r[3], r[3] = r[4], r[4] = New;
        return Sum;
    }
};

// The second pass over six vertical sums: (a - 5b + 20c + 512) >> 10 with a, b and c the sums of the outer, middle and
// inner pair, -5100..21420. (((a - b) >> 2) - b + c >> 2) + c is (a - 5b + 20c) >> 4 exactly, as one floor after
// another is the floor of the whole; only where the inner sum saturates is it not, and there the result clips either
// way.
__m128i Second(__m128i a, __m128i b, __m128i c, __m128i d, __m128i e, __m128i f)
{
    const __m128i Outer = _mm_add_epi16(a, f), Middle = _mm_add_epi16(b, e), Inner = _mm_add_epi16(c, d);
    const __m128i Quarter = _mm_sub_epi16(_mm_srai_epi16(_mm_sub_epi16(Outer, Middle), 2), Middle);
    const __m128i Sixteenth = _mm_add_epi16(_mm_srai_epi16(_mm_adds_epi16(Quarter, Inner), 2), Inner);
    return _mm_srai_epi16(_mm_add_epi16(Sixteenth, _mm_set1_epi16(32)), 6);
}

} // namespace

void HalfPlaneRight_w7(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep)
{
    pSrc -= SrcStep + 1;
    for (int y = 0; y < 18; ++y, pSrc += SrcStep, pDst += DstStep)
        for (int x = 0; x < kColumns; x += 8) {
            const uint8_t* const p = pSrc + x;
            Store8(pDst + x,
                   Round5(Taps(Load8(p - 2), Load8(p - 1), Load8(p), Load8(p + 1), Load8(p + 2), Load8(p + 3))));
        }
}

void HalfPlaneDown_w7(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep)
{
    pSrc -= SrcStep + 1;
    for (int x = 0; x < kColumns; x += 8) {
        ColumnWalk Walk(pSrc + x - 2 * SrcStep, SrcStep);
        const uint8_t* pRow = pSrc + x + 3 * SrcStep;
        uint8_t* pOut = pDst + x;
        for (int y = 0; y < 17; ++y, pRow += SrcStep, pOut += DstStep) Store8(pOut, Round5(Walk.Next(pRow)));
    }
}

void HalfPlaneBoth_w7(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep)
{
    // Vertical sums of the 29 columns from -3 on first. The last eight overlap: no column beyond 25 is read.
    alignas(16) int16_t Sums[17][32];
    pSrc -= SrcStep + 3;
    for (const int Column : {0, 8, 16, 21}) {
        ColumnWalk Walk(pSrc + Column - 2 * SrcStep, SrcStep);
        const uint8_t* pRow = pSrc + Column + 3 * SrcStep;
        for (int y = 0; y < 17; ++y, pRow += SrcStep)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(&Sums[y][Column]), Walk.Next(pRow));
    }
    for (int y = 0; y < 17; ++y, pDst += DstStep)
        for (int x = 0; x < kColumns; x += 8) {
            const int16_t* const p = &Sums[y][x];
            const auto At = [p](int i) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i)); };
            Store8(pDst + x, Second(At(0), At(1), At(2), At(3), At(4), At(5)));
        }
}

} // namespace kernels
