// From one chosen picture to NAL units.
#pragma once

#include "encoder/picture/picture_result.h"
#include "encoder/picture/sequence_state.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"
#include "media/umc_media_data.h"

namespace UMC_H264_ENCODER {

/// The QP that a sequence starts from, with the rate control as it is when its first picture comes.
int32_t PicInitQp(const UMC::H264EncoderParams& Params, const RateController& Rate);

/// What an attempt at a frame, or at the fields of one, begins with: the sets of its headers, and no unit yet.
template <class Sample>
PictureResult BeginResult(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence, int32_t PictureClass,
                          const UMC::MediaData& Output);

/// Makes an attempt at the job's picture, whose references are numbered (UpdateRefLists). Its NAL units lie behind the
/// first DataSize bytes that Result tells of, and Result tells of them too; neither the sequence nor the size of the
/// output's data knows. After a failure DataSize is as before.
template <class Sample>
void EncodePicture(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence, PictureJob<Sample>& Job,
                   UMC::MediaData& Output, PictureResult& Result);

} // namespace UMC_H264_ENCODER
