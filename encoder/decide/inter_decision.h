// The best inter form of a macroblock.
#pragma once

#include "encoder/decide/candidate.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

/// Of a macroblock in a P slice; the cost of a skip is 0. A skip leaves its prediction in PredY and PredUV of the work
/// area, and a skip test that failed what was tested (IsTested).
template <class Sample>
Candidate DecideP(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w);

} // namespace UMC_H264_ENCODER
