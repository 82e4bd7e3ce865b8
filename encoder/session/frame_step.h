// The reordering machine: which type a picture gets, and which picture is coded next.
#pragma once

#include "encoder/session/encoder_core.h"

namespace UMC_H264_ENCODER {

/// Takes a picture (null when flushing), and codes the next one if one can be.
template <class Sample>
UMC::Status FrameStep(EncoderCore<Sample>& c, UMC::VideoData* pInput, UMC::MediaData* pOutput);
/// The type the GOP rule gives the next picture: FRAME_I, FRAME_P or FRAME_B.
template <class Sample>
int32_t NextFrameType(const EncoderSettings& Settings, SequenceState<Sample>& Sequence);

} // namespace UMC_H264_ENCODER
