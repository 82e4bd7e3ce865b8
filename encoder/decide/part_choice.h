// How a part of a macroblock is predicted best: from one of the slice's lists, from both, or as derived.
#pragma once

#include "encoder/code/inter_prediction.h"
#include "encoder/decide/list_search.h"

namespace UMC_H264_ENCODER {

// A way to predict a part, with its cost.
struct PartChoice {
    int32_t Cost = kNotTried;
    PartMotion Motion{{h264::kRefNone, h264::kRefNone}, {{0, 0}, {0, 0}}};

    bool IsOfOneList() const { return (Motion.Ref[0] < 0) != (Motion.Ref[1] < 0); }
};

/// Prices of prediction from one list and from both, beyond vectors and references.
struct ListPrices {
    int32_t One, Both;
};

/// Difference of a prediction of the part, which lies in its place at pY and pUV, to the source; of luma, and of chroma
/// where the search counts it.
template <class Sample>
int32_t PartDistance(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, MotionPart Part,
                     const Sample* pY, const Sample* pUV);

/// The best of what was found in either list and of both together; a tie stays with the earlier list. In P slices
/// the second is left out.
template <class Sample>
PartChoice ChooseLists(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, MotionPart Part,
                       const FoundPart (&Found)[2], const ListPrices& Prices, WorkArea<Sample>& w);

} // namespace UMC_H264_ENCODER
