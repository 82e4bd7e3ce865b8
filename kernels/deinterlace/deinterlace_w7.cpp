#include "kernels/deinterlace/deinterlace_blend.h"

#include <emmintrin.h>

namespace kernels {

static __m128i Load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// 255 times twice Side and Centre is at most 65280: the sum fits into a word without sign.
static __m128i Blend(__m128i Neighbours, __m128i Middle, __m128i Side, __m128i Centre)
{
    return _mm_srli_epi16(_mm_add_epi16(_mm_mullo_epi16(Neighbours, Side), _mm_mullo_epi16(Middle, Centre)), 8);
}

// (a + b) >> 1 of bytes: the average rounds up, which the lowest bits undo.
static __m128i FloorAverage(__m128i a, __m128i b)
{
    return _mm_sub_epi8(_mm_avg_epu8(a, b), _mm_and_si128(_mm_xor_si128(a, b), _mm_set1_epi8(1)));
}

// The blend of a quarter, a half and a quarter, which the processing chain takes: two averages that round down.
static void BlendRowEvenly(const uint8_t* pAbove, const uint8_t* pMiddle, const uint8_t* pBelow, uint8_t* pTarget,
                           int32_t Width, int32_t, int32_t)
{
    int32_t x = 0;
    for (; x + 16 <= Width; x += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pTarget + x),
                         FloorAverage(FloorAverage(Load(pAbove + x), Load(pBelow + x)), Load(pMiddle + x)));
    for (; x < Width; ++x) pTarget[x] = static_cast<uint8_t>((pAbove[x] + pBelow[x] + 2 * pMiddle[x]) >> 2);
}

static void BlendRow(const uint8_t* pAbove, const uint8_t* pMiddle, const uint8_t* pBelow, uint8_t* pTarget,
                     int32_t Width, int32_t Side, int32_t Centre)
{
    const __m128i Zero = _mm_setzero_si128(), s = _mm_set1_epi16(static_cast<int16_t>(Side)),
                  c = _mm_set1_epi16(static_cast<int16_t>(Centre));
    int32_t x = 0;
    for (; x + 16 <= Width; x += 16) {
        const __m128i Above = Load(pAbove + x), Middle = Load(pMiddle + x), Below = Load(pBelow + x);
        const __m128i Left = _mm_add_epi16(_mm_unpacklo_epi8(Above, Zero), _mm_unpacklo_epi8(Below, Zero));
        const __m128i Right = _mm_add_epi16(_mm_unpackhi_epi8(Above, Zero), _mm_unpackhi_epi8(Below, Zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pTarget + x),
                         _mm_packus_epi16(Blend(Left, _mm_unpacklo_epi8(Middle, Zero), s, c),
                                          Blend(Right, _mm_unpackhi_epi8(Middle, Zero), s, c)));
    }
    for (; x < Width; ++x)
        pTarget[x] = static_cast<uint8_t>(((pAbove[x] + pBelow[x]) * Side + pMiddle[x] * Centre) >> 8);
}

int32_t DeinterlaceBlend_w7(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                            int32_t Width, int32_t Height, int32_t CentreWeight, int32_t Layout)
{
    return DeinterlaceRows(CentreWeight == 128 ? BlendRowEvenly : BlendRow, pSource, SourceStep, pTarget, TargetStep,
                           Width, Height, CentreWeight, Layout);
}

} // namespace kernels
