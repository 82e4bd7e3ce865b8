// The loop over the macroblocks of a slice.
#pragma once

#include "encoder/picture/picture_result.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"

namespace UMC_H264_ENCODER {

/// Codes a slice of the job, whose type, QP and lists are set, from its header to the end of its data.
template <class Sample>
void CompressSlice(const EncoderSettings& Settings, const PictureSets& Sets, PictureJob<Sample>& Job,
                   SliceContext<Sample>& s);

} // namespace UMC_H264_ENCODER
