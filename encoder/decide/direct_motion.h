// The motion that a B macroblock has without writing any (clause 8.4.1.2).
#pragma once

#include "encoder/state/current_macroblock.h"
#include "encoder/state/macroblock_motion.h"

namespace UMC_H264_ENCODER {

/// Spatial or temporal, as the slice says.
/// @return false where there is none that can be used: the co-located block's reference is gone, or a vector leads
///         further than any that is searched; m is then of no use
template <class Sample>
bool DeriveDirectMotion(const CurrentMacroblock<Sample>& mb, MacroblockMotion& m);

} // namespace UMC_H264_ENCODER
