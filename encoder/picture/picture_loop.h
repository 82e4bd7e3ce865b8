// From one chosen picture to NAL units.
#pragma once

#include "encoder/picture/picture_result.h"
#include "encoder/picture/sequence_state.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"
#include "media/umc_media_data.h"

namespace UMC_H264_ENCODER {

/// Makes an attempt at the job's picture, whose references are numbered (UpdateRefLists): its NAL units lie behind the
/// data of Output, and neither the sequence nor the size of that data knows of them.
template <class Sample>
PictureResult EncodePicture(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence,
                            PictureJob<Sample>& Job, UMC::MediaData& Output);
/// Takes over an attempt that went well: its units become data of Output, its picture a reference.
template <class Sample>
void CommitPicture(const EncoderSettings& Settings, const PictureJob<Sample>& Job, const PictureResult& Result,
                   SequenceState<Sample>& Sequence, UMC::MediaData& Output);

} // namespace UMC_H264_ENCODER
