#include "decoder/macroblock/inter_prediction.inc"

namespace UMC {

template void PredictInter<uint8_t, 0>(const SliceView&, const MbState&, PredictionScratch&);
template void PredictInter<uint8_t, 1>(const SliceView&, const MbState&, PredictionScratch&);
template void PredictInter<uint8_t, 2>(const SliceView&, const MbState&, PredictionScratch&);
template void PredictInter<uint16_t, 0>(const SliceView&, const MbState&, PredictionScratch&);
template void PredictInter<uint16_t, 1>(const SliceView&, const MbState&, PredictionScratch&);
template void PredictInter<uint16_t, 2>(const SliceView&, const MbState&, PredictionScratch&);
template void PredictInter<uint8_t, 0, true>(const SliceView&, const MbState&, PredictionScratch&);
template void PredictInter<uint8_t, 1, true>(const SliceView&, const MbState&, PredictionScratch&);
template void PredictInter<uint8_t, 2, true>(const SliceView&, const MbState&, PredictionScratch&);
template void PredictInter<uint16_t, 0, true>(const SliceView&, const MbState&, PredictionScratch&);
template void PredictInter<uint16_t, 1, true>(const SliceView&, const MbState&, PredictionScratch&);
template void PredictInter<uint16_t, 2, true>(const SliceView&, const MbState&, PredictionScratch&);

} // namespace UMC
