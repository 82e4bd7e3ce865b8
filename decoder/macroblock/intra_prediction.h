// Intra prediction of a macroblock, H.264 clause 8.3, for samples of either type. A mode that needs a neighbour which
// is not there throws h264_exception: only damaged data has one.
#pragma once

#include "decoder/picture/codec_traits.h"
#include "decoder/slice/slice_cursor.h"

#include <cstdint>

namespace UMC {

// Predict into the picture; the residual is added by the caller. With kMbaff the macroblock stands in an MBAFF frame:
// the samples around it lie where they would in the frame or in its field, whatever macroblocks they belong to.
template <class Sample, bool kMbaff = false>
void PredictIntra16x16(const SliceView& Slice, const MbState& Mb);
template <class Sample, int color_format, bool kMbaff = false>
void PredictIntraChroma(const SliceView& Slice, const MbState& Mb); // both planes

// Predict each block and add its residual, as Traits have it, before the next is predicted.
template <class Sample, bool kMbaff = false, class Traits = CodecTraits<Sample>>
void ReconstructIntra4x4(const SliceView& Slice, const MbState& Mb, MbResidual& Coeffs);
template <class Sample, bool kMbaff = false, class Traits = CodecTraits<Sample>>
void ReconstructIntra8x8(const SliceView& Slice, const MbState& Mb, MbResidual& Coeffs);

// What the library decodes. Whoever wants another includes intra_prediction.inc, which has the definitions.
extern template void PredictIntra16x16<uint8_t>(const SliceView&, const MbState&);
extern template void PredictIntraChroma<uint8_t, 1>(const SliceView&, const MbState&);
extern template void PredictIntraChroma<uint8_t, 2>(const SliceView&, const MbState&);
extern template void PredictIntraChroma<uint8_t, 3>(const SliceView&, const MbState&);
extern template void ReconstructIntra4x4<uint8_t>(const SliceView&, const MbState&, MbResidual&);
extern template void ReconstructIntra8x8<uint8_t>(const SliceView&, const MbState&, MbResidual&);
extern template void PredictIntra16x16<uint16_t>(const SliceView&, const MbState&);
extern template void PredictIntraChroma<uint16_t, 1>(const SliceView&, const MbState&);
extern template void PredictIntraChroma<uint16_t, 2>(const SliceView&, const MbState&);
extern template void PredictIntraChroma<uint16_t, 3>(const SliceView&, const MbState&);
extern template void ReconstructIntra4x4<uint16_t>(const SliceView&, const MbState&, MbResidual&);
extern template void ReconstructIntra8x8<uint16_t>(const SliceView&, const MbState&, MbResidual&);
extern template void ReconstructIntra4x4<uint8_t, false, BypassTraits<uint8_t>>(const SliceView&, const MbState&,
                                                                                MbResidual&);
extern template void ReconstructIntra8x8<uint8_t, false, BypassTraits<uint8_t>>(const SliceView&, const MbState&,
                                                                                MbResidual&);
extern template void ReconstructIntra4x4<uint16_t, false, BypassTraits<uint16_t>>(const SliceView&, const MbState&,
                                                                                  MbResidual&);
extern template void ReconstructIntra8x8<uint16_t, false, BypassTraits<uint16_t>>(const SliceView&, const MbState&,
                                                                                  MbResidual&);
extern template void PredictIntra16x16<uint8_t, true>(const SliceView&, const MbState&);
extern template void PredictIntraChroma<uint8_t, 1, true>(const SliceView&, const MbState&);
extern template void ReconstructIntra4x4<uint8_t, true>(const SliceView&, const MbState&, MbResidual&);
extern template void ReconstructIntra8x8<uint8_t, true>(const SliceView&, const MbState&, MbResidual&);
extern template void PredictIntra16x16<uint16_t, true>(const SliceView&, const MbState&);
extern template void PredictIntraChroma<uint8_t, 2, true>(const SliceView&, const MbState&);
extern template void PredictIntraChroma<uint8_t, 3, true>(const SliceView&, const MbState&);
extern template void PredictIntraChroma<uint16_t, 1, true>(const SliceView&, const MbState&);
extern template void PredictIntraChroma<uint16_t, 2, true>(const SliceView&, const MbState&);
extern template void PredictIntraChroma<uint16_t, 3, true>(const SliceView&, const MbState&);
extern template void ReconstructIntra4x4<uint16_t, true>(const SliceView&, const MbState&, MbResidual&);
extern template void ReconstructIntra8x8<uint16_t, true>(const SliceView&, const MbState&, MbResidual&);

} // namespace UMC
