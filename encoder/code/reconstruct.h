// Residual, quantisation and reconstruction of a macroblock whose mode is decided.
#pragma once

#include "encoder/state/encoder_settings.h"
#include "encoder/state/slice_context.h"

namespace UMC_H264_ENCODER {

/// The quantisers of a QP for the slice's type.
template <class Sample>
void SetQuantisers(const QuantTables& Quant, SliceContext<Sample>& s, int32_t Qp);
/// Levels into the work area, samples into the picture, Coded and Pattern of the macroblock's record.
template <class Sample>
void Reconstruct(const FrameLayout& Layout, SliceContext<Sample>& s);

} // namespace UMC_H264_ENCODER
