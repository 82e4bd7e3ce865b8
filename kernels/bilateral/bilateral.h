// The edge-keeping smoothing filter: for each sample a weighted mean of a window around it, with the weight
//
//     exp(-0.5 * d^2 / PositionSquareSigma) * exp(-0.5 * v^2 / ValueSquareSigma)
//
// d being the distance from the window's centre in pixels and v the difference of the sample values. Only the window
// positions on a grid of StepInKernel around the centre take part: a step of 6 in a window of 13 leaves nine taps.
//
// A sample's result is the sample plus the weighted mean of the differences from it, that mean rounded to nearest and a
// half of it to even. The weights are integers: of 12 bits where these serve (few taps, none of which counts beyond a
// difference of 62), else of 30 bits. A result is the exact mean rounded, or the level beside it where the mean lies
// close to a half: with nine taps of a 13 x 13 window and both square sigmas 200 the results lie within 0.52 of the
// exact mean, and 0.08 % of those in noise, ramps and edges are not the level nearest to it.
//
// The work buffer holds the tables and the rows that let the filter run in place. BilateralGetSize tells its size,
// BilateralInit fills it for one set of parameters, BilateralFilter tests that it did; a buffer needs no alignment,
// stays where it was filled, serves one thread at a time and any number of calls with a width, height and window as
// they were given to BilateralGetSize, or smaller.
#pragma once

#include "kernels/status.h"

#include <cstddef>

namespace kernels {

// kBilateralGauss cuts the value table off where its terms are lost in the mean: at a difference of
// sqrt((6.3 + L) * ValueSquareSigma * 1.42), at most 256, with L = log2(taps * sqrt(ValueSquareSigma)), at least 0. All
// that is cut then weighs less than a tenth of a level. kBilateralGaussFull keeps all 256.
enum BilateralType : int32_t { kBilateralGauss = 100, kBilateralGaussFull = 101 };

// Bytes of the work buffer for a region of Width x Height and a window of KernelWidth x KernelHeight, both odd.
// -8; -6, also when the size exceeds 32 bits; -33 for a window side that is not positive and odd, or for more than 2^24
// positions; -9999 for another type. *pSize is written only with 0.
using BilateralGetSizeSig = int32_t(int32_t Type, int32_t Width, int32_t Height, int32_t KernelWidth,
                                    int32_t KernelHeight, int32_t* pSize);
// -8, -33 and -9999 as above, -5 for a square sigma or step that is not positive. The buffer is not freed or kept.
using BilateralInitSig = int32_t(int32_t Type, int32_t KernelWidth, int32_t KernelHeight, float ValueSquareSigma,
                                 float PositionSquareSigma, int32_t StepInKernel, uint8_t* pBuffer);
// The region is Width x Height samples at pSource; half a window around it is read and must exist. Steps are bytes from
// one row to the next. The target is the same plane with the same step, or does not overlap: both give the same result.
// -8, -6, -14, -33 for a window that is not usable or not the buffer's, -17 for a buffer without the tag, which has no
// window to compare with.
using BilateralFilterSig = int32_t(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                                   int32_t Width, int32_t Height, int32_t KernelWidth, int32_t KernelHeight,
                                   uint8_t* pBuffer);
BilateralGetSizeSig BilateralGetSize_px;
BilateralInitSig BilateralInit_px;
BilateralFilterSig BilateralFilter_px, BilateralFilter_v8;

} // namespace kernels
