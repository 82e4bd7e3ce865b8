// From one chosen frame to what it leaves in the stream and in the sequence.
#pragma once

#include "encoder/picture/picture_result.h"
#include "encoder/picture/sequence_state.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"
#include "media/umc_media_data.h"

namespace UMC_H264_ENCODER {

/// Codes a frame as the settings have it: in one picture or in two fields, and, where pictures may be coded again, by a
/// coarser QP until it fits. Only a frame that went well becomes data of the output, a reference and a part of the
/// sequence; else the sequence is as before.
template <class Sample>
PictureResult CodeFrame(const EncoderSettings& Settings, SequenceState<Sample>& Sequence, PictureJob<Sample>& Job,
                        H264EncoderFrame<Sample>& Frame, int32_t PictureClass, UMC::MediaData& Output);

} // namespace UMC_H264_ENCODER
