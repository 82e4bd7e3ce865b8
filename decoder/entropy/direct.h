// Direct prediction of B slices, H.264 clause 8.4.1.2. With kMbaff the macroblocks around and those of the co-located
// picture stand in pairs of either kind.
#pragma once

#include "decoder/slice/slice_cursor.h"

#include <cstdint>

namespace UMC {

// Derives references and vectors of the 8x8 blocks whose bit is set in Quadrants and fills them into the motion caches
// of both lists. Sets their SubBlockType and SubBlockDirection.
template <bool kMbaff>
void DeriveDirect(const SliceView& Slice, const MbState& Mb, MotionState& Motion, uint32_t Quadrants);

// The same for a whole macroblock, straight into the frame's records.
template <bool kMbaff>
void DeriveDirectMacroblock(const SliceView& Slice, const MbState& Mb, MotionState& Motion);

} // namespace UMC
