// The best inter form of a macroblock.
#pragma once

#include "encoder/state/candidate.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

template <class Sample>
class TrialCoder;

/// Of a macroblock in a P slice; the cost of a skip is 0. What was made of its blocks lies in Inter[Slot].
/// @param pTrials  for ENC_ANALYSE_RD_OPT: divisions are then compared by trials. May be null without it
template <class Sample>
Candidate DecideP(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, uint8_t Slot,
                  WorkArea<Sample>& w, TrialCoder<Sample>* pTrials);

/// The same in a B slice. A candidate's motion lies in Motion[Slot].
template <class Sample>
Candidate DecideB(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, uint8_t Slot,
                  WorkArea<Sample>& w, TrialCoder<Sample>* pTrials);

} // namespace UMC_H264_ENCODER
