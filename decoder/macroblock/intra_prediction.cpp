#include "decoder/macroblock/intra_prediction.inc"

namespace UMC {

template void PredictIntra16x16<uint8_t>(const SliceView&, const MbState&);
template void PredictIntraChroma<uint8_t, 1>(const SliceView&, const MbState&);
template void PredictIntraChroma<uint8_t, 2>(const SliceView&, const MbState&);
template void ReconstructIntra4x4<uint8_t>(const SliceView&, const MbState&, MbResidual&);
template void ReconstructIntra8x8<uint8_t>(const SliceView&, const MbState&, MbResidual&);
template void PredictIntra16x16<uint16_t>(const SliceView&, const MbState&);
template void PredictIntraChroma<uint16_t, 1>(const SliceView&, const MbState&);
template void PredictIntraChroma<uint16_t, 2>(const SliceView&, const MbState&);
template void ReconstructIntra4x4<uint16_t>(const SliceView&, const MbState&, MbResidual&);
template void ReconstructIntra8x8<uint16_t>(const SliceView&, const MbState&, MbResidual&);
template void ReconstructIntra4x4<uint8_t, false, BypassTraits<uint8_t>>(const SliceView&, const MbState&, MbResidual&);
template void ReconstructIntra8x8<uint8_t, false, BypassTraits<uint8_t>>(const SliceView&, const MbState&, MbResidual&);
template void ReconstructIntra4x4<uint16_t, false, BypassTraits<uint16_t>>(const SliceView&, const MbState&,
                                                                           MbResidual&);
template void ReconstructIntra8x8<uint16_t, false, BypassTraits<uint16_t>>(const SliceView&, const MbState&,
                                                                           MbResidual&);
template void PredictIntra16x16<uint8_t, true>(const SliceView&, const MbState&);
template void PredictIntraChroma<uint8_t, 1, true>(const SliceView&, const MbState&);
template void ReconstructIntra4x4<uint8_t, true>(const SliceView&, const MbState&, MbResidual&);
template void ReconstructIntra8x8<uint8_t, true>(const SliceView&, const MbState&, MbResidual&);
template void PredictIntra16x16<uint16_t, true>(const SliceView&, const MbState&);
template void PredictIntraChroma<uint8_t, 2, true>(const SliceView&, const MbState&);
template void PredictIntraChroma<uint16_t, 1, true>(const SliceView&, const MbState&);
template void PredictIntraChroma<uint16_t, 2, true>(const SliceView&, const MbState&);
template void ReconstructIntra4x4<uint16_t, true>(const SliceView&, const MbState&, MbResidual&);
template void ReconstructIntra8x8<uint16_t, true>(const SliceView&, const MbState&, MbResidual&);

} // namespace UMC
