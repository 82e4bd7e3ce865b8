// The deblocking filter of clause 8.7 on the pictures of the encoder.
#pragma once

#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"

namespace UMC_H264_ENCODER {

/// Filters the first MbCount macroblocks of a slice, those that are coded.
template <class Sample>
void DeblockSlice(const EncoderSettings& Settings, const PictureJob<Sample>& Job, const SliceFacts<Sample>& s,
                  int32_t MbCount);

} // namespace UMC_H264_ENCODER
