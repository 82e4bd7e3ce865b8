// Alpha composition of pictures of four 8-bit channels, alpha last.
#pragma once

#include "kernels/status.h"

#include <cstddef>

namespace kernels {

enum AlphaCompositionType : int32_t { kAlphaPlus = 5 };

// For each of the three colour channels: target = min(first * alpha(first) / 255 + second * alpha(second) / 255, 255),
// the sum of the two products divided once and rounded to nearest. The target's alpha is min(alpha(first) +
// alpha(second), 255). Steps are bytes from one row to the next. The target may be the first or the second picture.
// Statuses (kernels/status.h): 0, -8, -6, -14, -9999 for another type.
using AlphaComp8uAC4Sig = int32_t(const uint8_t* pFirst, ptrdiff_t FirstStep, const uint8_t* pSecond,
                                  ptrdiff_t SecondStep, uint8_t* pTarget, ptrdiff_t TargetStep, int32_t Width,
                                  int32_t Height, int32_t Type);
AlphaComp8uAC4Sig AlphaComp8uAC4_px, AlphaComp8uAC4_w7, AlphaComp8uAC4_v8;

} // namespace kernels
