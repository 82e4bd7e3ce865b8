// Residual and reconstruction of the chroma of a macroblock.
#pragma once

#include "encoder/state/current_macroblock.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

/// Both planes against a prediction (Cb in columns 0..7, Cr in 8..15): levels for the writer, samples, and the chroma
/// bits of Coded, CodedDc and Pattern. Nothing without chroma.
template <class Sample>
void ReconstructChroma(const Sample* pPredUV, CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w);

/// Both planes as they are predicted. Nothing without chroma.
template <class Sample>
void CopyChroma(const Sample* pPredUV, CurrentMacroblock<Sample>& mb);

} // namespace UMC_H264_ENCODER
