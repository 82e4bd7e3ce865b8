// Resizing of a picture region.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kernels {

enum Interpolation : int32_t { kCubic = 4 };

// Maps the region (RegionX, RegionY, RegionWidth, RegionHeight) of the source to the target of TargetWidth x
// TargetHeight pixels with the two factors (target size over source size). Pixel centres correspond: target x lies at
// (x + 0.5) / xFactor - 0.5 in the region. Cubic convolution with a = -0.5 over 4x4 source pixels, coordinates
// clamped to the region, rounded to nearest; the result is within one level of exact arithmetic. Steps are bytes from
// one row to the next. The name tells the interleaved channels of 8 bits: C1, C3, C4.
// Returns 0, -8 for null, -6 for a region or target that is not positive or not inside the source, -14 for a
// non-positive step, -9 when memory is exhausted, -9999 for another interpolation.
using ResizeSig = int32_t(const uint8_t* pSource, int32_t SourceWidth, int32_t SourceHeight, ptrdiff_t SourceStep,
                          int32_t RegionX, int32_t RegionY, int32_t RegionWidth, int32_t RegionHeight, uint8_t* pTarget,
                          ptrdiff_t TargetStep, int32_t TargetWidth, int32_t TargetHeight, double xFactor,
                          double yFactor, int32_t Interpolation);
ResizeSig Resize8uC1_px, Resize8uC3_px, Resize8uC4_px;

} // namespace kernels
