// Deinterlacing of a plane.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kernels {

// Triangle filter across lines: target = ((above + below) * side + middle * CentreWeight) >> 8 with side = (256 -
// CentreWeight) >> 1 and CentreWeight limited to 256; the first and last row use themselves for the line that is
// missing. Layout 1 copies the first row unfiltered, any other filters every row. Rows of 8-bit samples, steps in
// bytes; source and target do not overlap. Returns 0, -8 for null, -6 for a width below 1 or a height below 3.
using DeinterlaceBlendSig = int32_t(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget,
                                    ptrdiff_t TargetStep, int32_t Width, int32_t Height, int32_t CentreWeight,
                                    int32_t Layout);
DeinterlaceBlendSig DeinterlaceBlend_px;

} // namespace kernels
