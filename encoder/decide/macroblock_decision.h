// How a macroblock is coded.
#pragma once

#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"

namespace UMC_H264_ENCODER {

/// Decides the slice's current macroblock.
template <class Sample>
void AnalyseMacroblock(const EncoderSettings& Settings, const PictureJob<Sample>& Job, SliceContext<Sample>& s);

} // namespace UMC_H264_ENCODER
