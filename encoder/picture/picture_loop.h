// From one chosen picture to NAL units.
#pragma once

#include "encoder/picture/sequence_state.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"
#include "media/umc_media_data.h"

namespace UMC_H264_ENCODER {

/// Codes the job's picture and appends its NAL units to Output.
template <class Sample>
UMC::Status EncodePicture(const EncoderSettings& Settings, SequenceState<Sample>& Sequence, PictureJob<Sample>& Job,
                          UMC::MediaData& Output);

} // namespace UMC_H264_ENCODER
