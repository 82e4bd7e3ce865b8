#include "kernels/resize/resize.h"

#include <emmintrin.h>

namespace kernels {

static __m128i Load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// The sums of each two neighbours.
static __m128i PairSums(const uint8_t* p)
{
    const __m128i v = Load(p);
    return _mm_add_epi16(_mm_and_si128(v, _mm_set1_epi16(255)), _mm_srli_epi16(v, 8));
}

static __m128i PairSums(const uint8_t* p, ptrdiff_t Step, int Rows)
{
    __m128i Sum = PairSums(p);
    for (int i = 1; i < Rows; ++i) Sum = _mm_add_epi16(Sum, PairSums(p + i * Step));
    return Sum;
}

// Eight target samples as words.
static __m128i Halve8(const uint8_t* p, ptrdiff_t Step)
{
    return _mm_srli_epi16(_mm_add_epi16(PairSums(p, Step, 2), _mm_set1_epi16(2)), 2);
}

static __m128i Quarter8(const uint8_t* p, ptrdiff_t Step)
{
    const __m128i One = _mm_set1_epi16(1);
    const __m128i a = _mm_madd_epi16(PairSums(p, Step, 4), One), b = _mm_madd_epi16(PairSums(p + 16, Step, 4), One);
    return _mm_srli_epi16(_mm_add_epi16(_mm_packs_epi32(a, b), _mm_set1_epi16(8)), 4);
}

template <int Factor>
static void ShrinkRow(const uint8_t* p, ptrdiff_t Step, uint8_t* pTarget, int32_t Width)
{
    ptrdiff_t x = 0;
    for (; x + 8 <= Width; x += 8) {
        const __m128i Samples = Factor == 2 ? Halve8(p + Factor * x, Step) : Quarter8(p + Factor * x, Step);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(pTarget + x), _mm_packus_epi16(Samples, Samples));
    }
    for (; x < Width; ++x) {
        int32_t Sum = Factor * Factor / 2;
        for (int j = 0; j < Factor; ++j)
            for (int i = 0; i < Factor; ++i) Sum += p[j * Step + x * Factor + i];
        pTarget[x] = static_cast<uint8_t>(Sum / (Factor * Factor));
    }
}

template <int Factor>
static int32_t Shrink(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                      int32_t Width, int32_t Height)
{
    if (!pSource || !pTarget) return kStatusNullPointer;
    if (Width <= 0 || Height <= 0) return kStatusSize;
    if (SourceStep <= 0 || TargetStep <= 0) return kStatusStep;
    for (; Height > 0; --Height, pSource += Factor * SourceStep, pTarget += TargetStep)
        ShrinkRow<Factor>(pSource, SourceStep, pTarget, Width);
    return kStatusOk;
}

int32_t Halve8uC1_w7(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                     int32_t Width, int32_t Height)
{
    return Shrink<2>(pSource, SourceStep, pTarget, TargetStep, Width, Height);
}

int32_t Quarter8uC1_w7(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                       int32_t Width, int32_t Height)
{
    return Shrink<4>(pSource, SourceStep, pTarget, TargetStep, Width, Height);
}

} // namespace kernels
