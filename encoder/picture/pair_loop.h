// The loop over the pairs of macroblocks of a slice in a macroblock-adaptive frame.
#pragma once

#include "encoder/picture/picture_result.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"

namespace UMC_H264_ENCODER {

/// What CompressSlice() is for other pictures. Each pair is tried as two macroblocks of the frame and as one of either
/// field, and coded in the cheaper way; the job's source lies apart from its reconstruction.
template <class Sample>
void CompressSliceAdaptive(const EncoderSettings& Settings, const PictureSets& Sets, PictureJob<Sample>& Job,
                           SliceContext<Sample>& s);

} // namespace UMC_H264_ENCODER
