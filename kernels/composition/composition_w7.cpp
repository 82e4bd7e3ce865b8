#include <emmintrin.h>

#include "kernels/composition/composition.h"

namespace kernels {
namespace {

__m128i AlphaOf(__m128i Pixels)
{
    return _mm_shufflehi_epi16(_mm_shufflelo_epi16(Pixels, _MM_SHUFFLE(3, 3, 3, 3)), _MM_SHUFFLE(3, 3, 3, 3));
}

#include "kernels/composition/composition_pixels.inc"

} // namespace

int32_t AlphaComp8uAC4_w7(const uint8_t* pFirst, ptrdiff_t FirstStep, const uint8_t* pSecond, ptrdiff_t SecondStep,
                          uint8_t* pTarget, ptrdiff_t TargetStep, int32_t Width, int32_t Height, int32_t Type)
{
    return AlphaComp(pFirst, FirstStep, pSecond, SecondStep, pTarget, TargetStep, Width, Height, Type);
}

} // namespace kernels
