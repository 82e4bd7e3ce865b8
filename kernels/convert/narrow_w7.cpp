#include "kernels/convert/convert.h"

#include <cstring>

#include <emmintrin.h>

namespace kernels {

namespace {

// How 16-bit samples become 8-bit ones. The sum with Half saturates at 65535, which gives 255 at every shift all the
// same; the largest result is then taken down to 255 by what it is above it, since SSE2 packs signed words only.
struct Narrowing {
    __m128i Half, Shift;

    __m128i operator()(const uint8_t* pSource) const
    {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pSource));
        const __m128i Result = _mm_srl_epi16(_mm_adds_epu16(v, Half), Shift);
        return _mm_sub_epi16(Result, _mm_subs_epu16(Result, _mm_set1_epi16(255)));
    }
};

void NarrowRow(const uint8_t* pSource, uint8_t* pTarget, int32_t Width, const Narrowing& Narrow)
{
    int32_t x = 0;
    for (; x + 16 <= Width; x += 16) {
        const uint8_t* const p = pSource + ptrdiff_t{x} * 2;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pTarget + x), _mm_packus_epi16(Narrow(p), Narrow(p + 16)));
    }
    for (; x < Width; ++x) { // the same arithmetic on one sample, so that there is only one
        uint8_t One[16]{};
        std::memcpy(One, pSource + ptrdiff_t{x} * 2, 2);
        pTarget[x] = static_cast<uint8_t>(_mm_cvtsi128_si32(Narrow(One)));
    }
}

} // namespace

int32_t Narrow16uTo8u_w7(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                         int32_t Width, int32_t Height, int32_t BitDepth)
{
    if (!pSource || !pTarget) return kStatusNullPointer;
    if (Width <= 0 || Height <= 0) return kStatusSize;
    if (SourceStep <= 0 || TargetStep <= 0) return kStatusStep;
    const int32_t Shift = BitDepth <= 8 ? 0 : BitDepth >= 16 ? 8 : BitDepth - 8;
    const auto Half = static_cast<int16_t>(Shift ? 1 << (Shift - 1) : 0);
    const Narrowing Narrow{_mm_set1_epi16(Half), _mm_cvtsi32_si128(Shift)};
    for (int32_t y = 0; y < Height; ++y, pSource += SourceStep, pTarget += TargetStep)
        NarrowRow(pSource, pTarget, Width, Narrow);
    return kStatusOk;
}

} // namespace kernels
