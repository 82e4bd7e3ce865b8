#include <emmintrin.h>

#include "kernels/memory/memory.h"

namespace kernels {

// Four source bytes go into the first byte of each of the target's four pixels.
static void InsertFour(uint8_t* pTarget, __m128i Spread)
{
    auto* const p = reinterpret_cast<__m128i*>(pTarget);
    const __m128i Others = _mm_set1_epi32(static_cast<int>(0xFFFFFF00u));
    _mm_storeu_si128(p, _mm_or_si128(_mm_and_si128(_mm_loadu_si128(p), Others), Spread));
}

int32_t CopyChannel8uC1C4_w7(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                             int32_t Width, int32_t Height)
{
    // The target may begin at a pixel's last byte and end with a pixel, so vectors leave the last pixel alone. px takes
    // the columns that are left, and the calls to refuse.
    const ptrdiff_t Whole = Width > 0 ? (Width - 1) & ~15 : 0;
    if (!pSource || !pTarget || Whole <= 0 || Height <= 0 || SourceStep <= 0 || TargetStep <= 0)
        return CopyChannel8uC1C4_px(pSource, SourceStep, pTarget, TargetStep, Width, Height);
    CopyChannel8uC1C4_px(pSource + Whole, SourceStep, pTarget + 4 * Whole, TargetStep,
                         Width - static_cast<int32_t>(Whole), Height);
    const __m128i Zero = _mm_setzero_si128();
    for (int32_t y = 0; y < Height; ++y, pSource += SourceStep, pTarget += TargetStep)
        for (ptrdiff_t x = 0; x < Whole; x += 16) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pSource + x));
            const __m128i Low = _mm_unpacklo_epi8(v, Zero), High = _mm_unpackhi_epi8(v, Zero);
            InsertFour(pTarget + 4 * x, _mm_unpacklo_epi16(Low, Zero));
            InsertFour(pTarget + 4 * x + 16, _mm_unpackhi_epi16(Low, Zero));
            InsertFour(pTarget + 4 * x + 32, _mm_unpacklo_epi16(High, Zero));
            InsertFour(pTarget + 4 * x + 48, _mm_unpackhi_epi16(High, Zero));
        }
    return kStatusOk;
}

} // namespace kernels
