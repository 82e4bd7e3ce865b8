// Resizing of a picture region, and shrinking of whole planes to a half and a quarter.
//
// Pixels are interleaved channels of 8 bits; C1 to C4 in a name tells how many. Steps are bytes from one row to the
// next. No pointer needs alignment, source and target do not overlap. Statuses (kernels/status.h): 0, -8, -6, -14; of
// Resize also -9999 and -9.
#pragma once

#include "kernels/status.h"

#include <cstddef>

namespace kernels {

enum Interpolation : int32_t { kCubic = 4, kArea = 8 };

// Maps the region (RegionX, RegionY, RegionWidth, RegionHeight) of the source to the target of TargetWidth x
// TargetHeight pixels. A factor is the size of a target pixel's image over its source: target size over region size
// when all of the region goes to all of the target. With other factors the region's first pixel still goes to the
// target's first; pixels outside the region count as the nearest of the region, inside the source or not.
//
// kCubic: pixel centres correspond, so target x lies at (x + 0.5) / xFactor - 0.5 in the region. Cubic convolution with
// a = -0.5 over 4x4 source pixels, which is exact for a factor of 1. Weights have 12 bits across and 14 bits down, rows
// between the passes 6 bits of fraction.
// kArea, when both factors are at most 1: a target pixel is the mean of the source area that it covers, from x /
// xFactor to (x + 1) / xFactor, each source pixel weighted by how much of it is covered; 12 bits of fraction in the
// borders. kArea with a factor above 1 is kCubic.
//
// Both round to nearest and are within one level of exact arithmetic everywhere; the mean error of noise is 0.25 of a
// level, as that of exact arithmetic with its result rounded.
//
// Returns -6 for a size that is not positive, a region not inside the source, a factor that is not positive or not
// finite, and an area of more than 2^24 source rows to a target row; -9999 for another interpolation; -9 when memory is
// exhausted. The work memory is a few rows and is given back before the return.
using ResizeSig = int32_t(const uint8_t* pSource, int32_t SourceWidth, int32_t SourceHeight, ptrdiff_t SourceStep,
                          int32_t RegionX, int32_t RegionY, int32_t RegionWidth, int32_t RegionHeight, uint8_t* pTarget,
                          ptrdiff_t TargetStep, int32_t TargetWidth, int32_t TargetHeight, double xFactor,
                          double yFactor, int32_t Interpolation);
ResizeSig Resize8uC1_px, Resize8uC2_px, Resize8uC3_px, Resize8uC4_px;
ResizeSig Resize8uC1_w7, Resize8uC2_w7, Resize8uC3_w7, Resize8uC4_w7;
ResizeSig Resize8uC1_v8, Resize8uC2_v8, Resize8uC3_v8, Resize8uC4_v8;

// A target pixel is the mean of 2x2 (Halve) or 4x4 (Quarter) source pixels, rounded to nearest, a half up: what Resize
// gives with kArea and factors of 0.5 and 0.25. Width x Height is the target's size in pixels, the source has two or
// four times as many each way.
using ShrinkSig = int32_t(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                          int32_t Width, int32_t Height);
ShrinkSig Halve8uC1_px, Halve8uC2_px, Halve8uC3_px, Halve8uC4_px, Quarter8uC1_px;
ShrinkSig Halve8uC1_w7, Quarter8uC1_w7;
ShrinkSig Halve8uC1_v8, Halve8uC2_v8, Halve8uC3_v8, Halve8uC4_v8, Quarter8uC1_v8;

} // namespace kernels
