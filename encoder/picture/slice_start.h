// The start of a slice: its facts, and its header.
#pragma once

#include "encoder/picture/picture_result.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"

namespace UMC_H264_ENCODER {

/// What the settings say of every slice, and the tables that its neighbours are read from.
template <class Sample>
void CompleteFacts(const EncoderSettings& Settings, const PictureSets& Sets, const PictureJob<Sample>& Job,
                   SliceFacts<Sample>& s);
/// Completes the facts of a slice, whose type, QP and lists are set, and writes its header.
template <class Sample>
void StartSlice(const EncoderSettings& Settings, const PictureSets& Sets, const PictureJob<Sample>& Job,
                SliceContext<Sample>& s);

} // namespace UMC_H264_ENCODER
