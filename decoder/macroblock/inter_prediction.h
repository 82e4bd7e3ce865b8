// Inter prediction of a macroblock from its records, H.264 clause 8.4.2, for samples of either type and every chroma
// format.
#pragma once

#include "decoder/slice/slice_cursor.h"

#include <cstdint>

namespace UMC {

// Predicts the macroblock in hand into the picture, weights included; with kMbaff into a frame whose macroblocks stand
// in pairs.
template <class Sample, int color_format, bool kMbaff = false>
void PredictInter(const SliceView& Slice, const MbState& Mb, PredictionScratch& Scratch);

// What the library decodes. Whoever wants another includes inter_prediction.inc, which has the definitions.
extern template void PredictInter<uint8_t, 0>(const SliceView&, const MbState&, PredictionScratch&);
extern template void PredictInter<uint8_t, 1>(const SliceView&, const MbState&, PredictionScratch&);
extern template void PredictInter<uint8_t, 2>(const SliceView&, const MbState&, PredictionScratch&);
extern template void PredictInter<uint8_t, 3>(const SliceView&, const MbState&, PredictionScratch&);
extern template void PredictInter<uint16_t, 0>(const SliceView&, const MbState&, PredictionScratch&);
extern template void PredictInter<uint16_t, 1>(const SliceView&, const MbState&, PredictionScratch&);
extern template void PredictInter<uint16_t, 2>(const SliceView&, const MbState&, PredictionScratch&);
extern template void PredictInter<uint16_t, 3>(const SliceView&, const MbState&, PredictionScratch&);
extern template void PredictInter<uint8_t, 0, true>(const SliceView&, const MbState&, PredictionScratch&);
extern template void PredictInter<uint8_t, 1, true>(const SliceView&, const MbState&, PredictionScratch&);
extern template void PredictInter<uint8_t, 2, true>(const SliceView&, const MbState&, PredictionScratch&);
extern template void PredictInter<uint8_t, 3, true>(const SliceView&, const MbState&, PredictionScratch&);
extern template void PredictInter<uint16_t, 0, true>(const SliceView&, const MbState&, PredictionScratch&);
extern template void PredictInter<uint16_t, 1, true>(const SliceView&, const MbState&, PredictionScratch&);
extern template void PredictInter<uint16_t, 2, true>(const SliceView&, const MbState&, PredictionScratch&);
extern template void PredictInter<uint16_t, 3, true>(const SliceView&, const MbState&, PredictionScratch&);

} // namespace UMC
