// Inter prediction of a macroblock from its records, H.264 clause 8.4.2, for 8-bit samples.
#pragma once

#include "decoder/slice/slice_cursor.h"

namespace UMC {

// Predicts the macroblock in hand into the picture, weights included. Chroma is 4:2:0, or absent when HasChroma is
// false.
template <bool HasChroma>
void PredictInter(const SliceView& Slice, const MbState& Mb, PredictionScratch& Scratch);

} // namespace UMC
