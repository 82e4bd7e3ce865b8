// Smoothing filters over 3x3 or 5x5 neighbourhoods.
//
// The region is Width x Height samples at pSource; one row and column around it are read (two for the 5x5 masks) and
// must exist. Steps are bytes from one row to the next. The target is the same plane with the same step, or does not
// overlap: both give the same result. Statuses (kernels/status.h): 0, -8, -6, -14, -33 for a mask other than 33 and 55,
// -9 when the row buffer cannot be had.
#pragma once

#include "kernels/status.h"

#include <cstddef>

namespace kernels {

enum FilterMask : int32_t { kMask3x3 = 33, kMask5x5 = 55 };

// Binomial: weights 1 2 1 (mask 33) or 1 4 6 4 1 (mask 55) across and down, sum v divided by 16 or 256, rounded to
// nearest, a half to the even result.
using FilterGauss8uSig = int32_t(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                                 int32_t Width, int32_t Height, int32_t Mask);
// Mean: the sum of the samples times the single-precision constant 0.1111111f (mask 33) or 0.04f (mask 55). Single
// precision throughout: each row of the mask is summed from left to right, then the row sums from the top down.
using FilterMean32fSig = int32_t(const float* pSource, ptrdiff_t SourceStep, float* pTarget, ptrdiff_t TargetStep,
                                 int32_t Width, int32_t Height, int32_t Mask);

FilterGauss8uSig FilterGauss8u_px, FilterGauss8u_w7;
FilterMean32fSig FilterMean32f_px, FilterMean32f_w7;

} // namespace kernels
