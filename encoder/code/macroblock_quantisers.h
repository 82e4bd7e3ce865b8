// Which quantisers serve a macroblock.
#pragma once

#include "encoder/state/encoder_settings.h"
#include "encoder/state/macroblock_quant.h"
#include "encoder/state/syntax_of_slice.h"

namespace UMC_H264_ENCODER {

/// QPC of a QPY (clause 8.5.8), with a chroma_qp_index_offset of 0.
int32_t ChromaQp(int32_t Qp, int32_t BitDepthChroma);

/// The quantisers of QPY in a slice.
void SetQuantisers(const EncoderSettings& Settings, const SyntaxOfSlice& Slice, int32_t Qp, MacroblockQuant& q);

} // namespace UMC_H264_ENCODER
