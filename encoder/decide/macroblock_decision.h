// How a macroblock is coded.
#pragma once

#include "encoder/state/candidate.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

template <class Sample>
class TrialCoder;

/// The best way to code a macroblock.
/// @param pTrials  for the rate-distortion flags, of which none is set without it
template <class Sample>
Candidate AnalyseMacroblock(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                            TrialCoder<Sample>* pTrials);

/// Writes a decision into the macroblock's records. Nothing else does.
template <class Sample>
void Commit(const Candidate& Won, const WorkArea<Sample>& w, CurrentMacroblock<Sample>& mb);

} // namespace UMC_H264_ENCODER
