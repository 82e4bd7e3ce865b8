// The deblocking filter of clause 8.7 on the pictures of the encoder.
#pragma once

#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"

namespace UMC_H264_ENCODER {

/// Filters the macroblocks of a slice that is coded.
template <class Sample>
void DeblockSlice(const EncoderSettings& Settings, const PictureJob<Sample>& Job, const SliceContext<Sample>& s);

} // namespace UMC_H264_ENCODER
