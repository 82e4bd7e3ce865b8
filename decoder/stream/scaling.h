// Scaling lists of parameter sets (clauses 7.3.2.1.1.1 and 7.4.2.1.1.1) and the products with normAdjust made of them.
#pragma once

#include "decoder/stream/bitstream.h"
#include "decoder/stream/headers.h"

namespace UMC {

// Every weight 16, every status 0.
void SetFlatScalingLists(H264ScalingLists& Lists);

// Reads the six 4x4 lists and, with Read8x8, the two 8x8 lists. An absent list follows the list before it of its kind;
// the first of a kind follows Fallback (rule B of Table 7-2), or the default list when Fallback is null (rule A).
// Throws h264_exception.
void ReadScalingLists(H264Bitstream& Bits, H264ScalingLists& Lists, bool Read8x8, const H264ScalingLists* pFallback);

// LevelScale of clause 8.5.9 for all lists and every QP modulo 6.
void ComputeLevelScale(const H264ScalingLists& Lists, H264LevelScale& Scale);

} // namespace UMC
