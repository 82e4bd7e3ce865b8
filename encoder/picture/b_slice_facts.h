// What a B slice derives from its reference lists.
#pragma once

#include "encoder/state/slice_facts.h"

namespace UMC_H264_ENCODER {

/// Weights, distances and what the co-located picture's references are called here (clauses 8.4.1.2.3 and 8.4.2.3.1).
/// The lists and their active counts are there. Poc is that of the picture.
template <class Sample>
void DeriveBSliceFacts(bool HasImplicitWeights, int32_t Poc, SliceFacts<Sample>& s);
/// Weights and distances alone: of field macroblocks in a frame of pairs, whose other facts are those of the frame. Poc
/// is that of their field.
template <class Sample>
void DeriveDistances(int32_t Poc, SliceFacts<Sample>& s);

} // namespace UMC_H264_ENCODER
