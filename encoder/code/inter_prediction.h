// The prediction of a whole inter macroblock from the motion of a candidate (clause 8.4.2).
#pragma once

#include "encoder/state/candidate.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

/// Rows of kPredStep samples.
template <class Sample>
void PredictInterLuma(const Candidate& c, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w, Sample* pY);
/// Cb in columns 0..7, Cr in 8..15.
template <class Sample>
void PredictInterChroma(const Candidate& c, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w, Sample* pUV);

} // namespace UMC_H264_ENCODER
