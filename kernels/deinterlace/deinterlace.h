// Deinterlacing of a plane.
#pragma once

#include "kernels/status.h"

#include <cstddef>

namespace kernels {

// Which rows are filtered; the others are copied. Row 0 is a line of the top field. Any other number filters all rows.
enum DeinterlaceLayout : int32_t {
    kFilterAll = 0,         // a blend of both fields
    kFilterAllButFirst = 1, // the same, with the picture's first line as it is
    kFilterOdd = 2,         // keeps the top field, and filters the bottom field's lines to match it
    kFilterEven = 4,        // keeps the bottom field
};

// Triangle filter across lines: target = ((above + below) * side + middle * CentreWeight) >> 8 with side = (256 -
// CentreWeight) >> 1, rounding down, and CentreWeight limited to 0..256. The first and the last row have the line that
// is missing from their other side, so that the shares of the two fields are the same everywhere. With CentreWeight 0 a
// filtered row has nothing of its own line: kFilterOdd and kFilterEven then make a picture of one field. An odd
// CentreWeight makes the weights add up to 255 of 256.
//
// Planes of Width x Height 8-bit samples, steps in bytes from one row to the next; no pointer needs alignment, source
// and target do not overlap. Statuses (kernels/status.h): 0, -8, -6 for a width below 1 or a height below 3, -14.
using DeinterlaceBlendSig = int32_t(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget,
                                    ptrdiff_t TargetStep, int32_t Width, int32_t Height, int32_t CentreWeight,
                                    int32_t Layout);
DeinterlaceBlendSig DeinterlaceBlend_px, DeinterlaceBlend_w7;

} // namespace kernels
