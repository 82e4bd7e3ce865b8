// How a macroblock is coded.
#pragma once

#include "encoder/decide/candidate.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/slice_context.h"

namespace UMC_H264_ENCODER {

/// Decides the slice's current macroblock and commits what won.
template <class Sample>
void AnalyseMacroblock(const EncoderSettings& Settings, SliceContext<Sample>& s);

/// Writes a decision into the records of the slice's current macroblock. Nothing else does.
template <class Sample>
void Commit(const Candidate& Won, SliceContext<Sample>& s);

} // namespace UMC_H264_ENCODER
