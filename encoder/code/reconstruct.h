// Residual, quantisation and reconstruction of a macroblock whose mode is decided.
#pragma once

#include "encoder/state/candidate.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

/// Levels of what was committed into the work area, samples into the picture, Coded and Pattern of the macroblock's
/// record.
template <class Sample>
void Reconstruct(const Candidate& Won, CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w);

} // namespace UMC_H264_ENCODER
