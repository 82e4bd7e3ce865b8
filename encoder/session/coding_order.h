// The order in which pictures are coded.
#pragma once

#include "encoder/state/frame_list.h"

namespace UMC_H264_ENCODER {

/// Which picture of the input list is coded next: oldest IDR period first, then display order, except that a B picture
/// waits for AnchorsNeeded references behind it, and others for their type. Null when none can be.
template <class Sample>
H264EncoderFrame<Sample>* FindNextToCode(const H264EncoderFrameList<Sample>& Input,
                                         const H264EncoderFrameList<Sample>& Reconstructed, int32_t AnchorsNeeded,
                                         int32_t BRefMode);

} // namespace UMC_H264_ENCODER
