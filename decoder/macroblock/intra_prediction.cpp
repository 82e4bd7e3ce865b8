#include "decoder/macroblock/intra_prediction.inc"

namespace UMC {

#define INSTANTIATE(Sample, kMbaff)                                                                                    \
    template void PredictIntra16x16<Sample, kMbaff>(const SliceView&, const MbState&);                                 \
    template void PredictIntraChroma<Sample, 1, kMbaff>(const SliceView&, const MbState&);                             \
    template void PredictIntraChroma<Sample, 2, kMbaff>(const SliceView&, const MbState&);                             \
    template void PredictIntraChroma<Sample, 3, kMbaff>(const SliceView&, const MbState&);                             \
    template void ReconstructIntra4x4<Sample, kMbaff>(const SliceView&, const MbState&, MbResidual&);                  \
    template void ReconstructIntra8x8<Sample, kMbaff>(const SliceView&, const MbState&, MbResidual&);                  \
    template void ReconstructIntra4x4<Sample, kMbaff, BypassTraits<Sample>>(const SliceView&, const MbState&,          \
                                                                            MbResidual&);                              \
    template void ReconstructIntra8x8<Sample, kMbaff, BypassTraits<Sample>>(const SliceView&, const MbState&,          \
                                                                            MbResidual&)

INSTANTIATE(uint8_t, false);
INSTANTIATE(uint8_t, true);
INSTANTIATE(uint16_t, false);
INSTANTIATE(uint16_t, true);

} // namespace UMC
