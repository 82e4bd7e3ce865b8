// The test of a conversion's arguments, for the kernels of every tier: a function of its own and not inline, so that it
// holds no code of a tier.
#pragma once

#include "kernels/convert/convert.h"

namespace kernels {

/// The status that a conversion from that many planes to that many refuses its arguments with; kStatusOk for good ones.
int32_t ConvertRefusal(const SourcePlanes* pFrom, int Sources, const TargetPlanes* pTo, int Targets, int32_t Width,
                       int32_t Height);

} // namespace kernels
