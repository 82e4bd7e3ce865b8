// Arithmetic on planes of 8-bit samples and of 32-bit floats, sample by sample.
//
// Steps are bytes from one row to the next, also of float planes, whose steps are multiples of four. No pointer to
// 8-bit samples needs alignment, float planes are aligned to a float. A target may be the same plane as a source, with
// the same step; other overlaps are not allowed. Statuses (kernels/status.h): 0, -8, -6, -14; -9999 for a scale or
// rounding mode that is not listed.
#pragma once

#include "kernels/status.h"

#include <cstddef>

namespace kernels {

// target = max(second - first, 0) >> Scale. Scale is 0 to 8.
using Sub8uSig = int32_t(const uint8_t* pFirst, ptrdiff_t FirstStep, const uint8_t* pSecond, ptrdiff_t SecondStep,
                         uint8_t* pTarget, ptrdiff_t TargetStep, int32_t Width, int32_t Height, int32_t Scale);
// target = max(target - source, 0) >> Scale.
using SubInPlace8uSig = int32_t(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                                int32_t Width, int32_t Height, int32_t Scale);
// target = min(first + second, 255).
using Add8uSig = int32_t(const uint8_t* pFirst, ptrdiff_t FirstStep, const uint8_t* pSecond, ptrdiff_t SecondStep,
                         uint8_t* pTarget, ptrdiff_t TargetStep, int32_t Width, int32_t Height);
// plane = min((plane * Value) >> Scale, 255), the bits cut off rounded to nearest, a half to the even result. Value 0
// is a fill with 0. Scale is 0 to 16.
using MulConst8uInPlaceSig = int32_t(uint8_t Value, uint8_t* pPlane, ptrdiff_t Step, int32_t Width, int32_t Height,
                                     int32_t Scale);

// plane = plane - Value, plane = plane * Value: one single-precision operation a sample.
using ConstantSig = int32_t(float Value, float* pPlane, ptrdiff_t Step, int32_t Width, int32_t Height);
// target = target + source, target = target * source.
using PlanePairSig = int32_t(const float* pSource, ptrdiff_t SourceStep, float* pTarget, ptrdiff_t TargetStep,
                             int32_t Width, int32_t Height);

using Convert8uTo32fSig = int32_t(const uint8_t* pSource, ptrdiff_t SourceStep, float* pTarget, ptrdiff_t TargetStep,
                                  int32_t Width, int32_t Height);
enum RoundMode : int32_t { kRoundNearest = 0, kRoundCut = 1 };
// Saturates to 0 to 255; a sample that is no number gives 0. kRoundNearest takes a half to the even result, kRoundCut
// drops the fraction.
using Convert32fTo8uSig = int32_t(const float* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                                  int32_t Width, int32_t Height, int32_t RoundMode);
// A sample below LowLimit becomes LowValue, another above HighLimit becomes HighValue; one that is no number stays.
using ClampThreshold32fSig = int32_t(float* pPlane, ptrdiff_t Step, int32_t Width, int32_t Height, float LowLimit,
                                     float LowValue, float HighLimit, float HighValue);

Sub8uSig Sub8u_px;
SubInPlace8uSig SubInPlace8u_px;
Add8uSig Add8u_px;
MulConst8uInPlaceSig MulConst8uInPlace_px;
ConstantSig SubConst_px, MulConst_px;
PlanePairSig Add_px, Mul_px;
Convert8uTo32fSig Convert8uTo32f_px;
Convert32fTo8uSig Convert32fTo8u_px;
ClampThreshold32fSig ClampThreshold32f_px;

Sub8uSig Sub8u_w7;
SubInPlace8uSig SubInPlace8u_w7;
Add8uSig Add8u_w7;
MulConst8uInPlaceSig MulConst8uInPlace_w7;
Convert32fTo8uSig Convert32fTo8u_w7;
ClampThreshold32fSig ClampThreshold32f_w7;

} // namespace kernels
