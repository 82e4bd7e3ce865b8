#include "decoder/macroblock/inter_prediction.inc"

namespace UMC {

#define INSTANTIATE(Sample, kMbaff)                                                                                    \
    template void PredictInter<Sample, 0, kMbaff>(const SliceView&, const MbState&, PredictionScratch&);               \
    template void PredictInter<Sample, 1, kMbaff>(const SliceView&, const MbState&, PredictionScratch&);               \
    template void PredictInter<Sample, 2, kMbaff>(const SliceView&, const MbState&, PredictionScratch&);               \
    template void PredictInter<Sample, 3, kMbaff>(const SliceView&, const MbState&, PredictionScratch&)

INSTANTIATE(uint8_t, false);
INSTANTIATE(uint8_t, true);
INSTANTIATE(uint16_t, false);
INSTANTIATE(uint16_t, true);

} // namespace UMC
