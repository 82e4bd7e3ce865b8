// Intra prediction of a macroblock, H.264 clause 8.3, for 8-bit samples. A mode that needs a neighbour which is not
// there throws h264_exception: only damaged data has one.
#pragma once

#include "decoder/slice/slice_cursor.h"

#include <cstdint>

namespace UMC {

// Neighbouring macroblocks that intra prediction may read, as kernels::IntraAvailable bits: with
// constrained_intra_pred_flag only intra ones.
unsigned FindIntraNeighbours(const SliceView& Slice, const MbState& Mb);

// Predict into the picture; the residual is added by the caller.
void PredictIntra16x16(const SliceView& Slice, const MbState& Mb);
void PredictIntraChroma(const SliceView& Slice, const MbState& Mb); // both 4:2:0 planes

// Predict each block and add its residual before the next is predicted.
void ReconstructIntra4x4(const SliceView& Slice, const MbState& Mb, MbResidual& Coeffs);
void ReconstructIntra8x8(const SliceView& Slice, const MbState& Mb, MbResidual& Coeffs);

} // namespace UMC
