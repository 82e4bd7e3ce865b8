// What the tiers of the blend share: which row is made of which, one call a row.
#pragma once

#include "kernels/deinterlace/deinterlace.h"

namespace kernels {

// Blends one row of Width samples. Side and Centre are not negative, twice Side and Centre are at most 256.
using BlendRowSig = void(const uint8_t* pAbove, const uint8_t* pMiddle, const uint8_t* pBelow, uint8_t* pTarget,
                         int32_t Width, int32_t Side, int32_t Centre);

// Tests the arguments and takes the plane row by row through pBlendRow.
int32_t DeinterlaceRows(BlendRowSig* pBlendRow, const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget,
                        ptrdiff_t TargetStep, int32_t Width, int32_t Height, int32_t CentreWeight, int32_t Layout);

} // namespace kernels
