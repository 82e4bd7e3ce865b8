// What a B slice derives from its reference lists.
#pragma once

#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"

namespace UMC_H264_ENCODER {

/// Weights, distances and what the co-located picture's references are called here (clauses 8.4.1.2.3 and 8.4.2.3.1).
/// The lists and their active counts are there.
template <class Sample>
void DeriveBSliceFacts(bool HasImplicitWeights, const PictureJob<Sample>& Job, SliceFacts<Sample>& s);

} // namespace UMC_H264_ENCODER
