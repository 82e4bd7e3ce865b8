// Intra prediction of a macroblock, H.264 clause 8.3, for 8-bit samples. A mode that needs a neighbour which is not
// there throws h264_exception: only damaged data has one.
#pragma once

#include "decoder/jobs/segment_decoder.h"

#include <cstdint>

namespace UMC {

// Neighbouring macroblocks that intra prediction may read, as kernels::IntraAvailable bits: with
// constrained_intra_pred_flag only intra ones.
unsigned FindIntraNeighbours(const H264SegmentDecoder& Decoder);

// Predict into the picture; the residual is added by the caller.
void PredictIntra16x16(H264SegmentDecoder& Decoder);
void PredictIntraChroma(H264SegmentDecoder& Decoder); // both 4:2:0 planes

// Predict each block and add its residual before the next is predicted. pCoeffs: 256 values, cleared.
void ReconstructIntra4x4(H264SegmentDecoder& Decoder, int16_t* pCoeffs);
void ReconstructIntra8x8(H264SegmentDecoder& Decoder, int16_t* pCoeffs);

} // namespace UMC
