// The inter forms of a P macroblock in parts.
#pragma once

#include "encoder/state/candidate.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

/// The best of the macroblock in one part and of its divisions, which are searched as long as they have a chance. The
/// motion of a division lies in Motion[Slot].
/// @param Whole  the macroblock in one part, found by a search of all references up to the last one of interest
/// @param pFound  what these searches found, by reference
template <class Sample>
Candidate DecideDivided(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, const Candidate& Whole,
                        const MotionVector* pFound, WorkArea<Sample>& w);

} // namespace UMC_H264_ENCODER
