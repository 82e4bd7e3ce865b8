#include "encoder/decide/inter_decision.h"

#include "encoder/decide/divided_decision.h"
#include "encoder/decide/skip_test.h"

namespace UMC_H264_ENCODER {

namespace {

// A skip costs nothing.
Candidate Skipped(MotionVector Skip, uint8_t Slot)
{
    return {.Cost = 0, .Type = MB_SKIP_P, .Ref = 0, .Vector = Skip, .Slot = Slot, .AtHand = BLOCKS_ALL};
}

} // namespace

template <class Sample>
Candidate DecideP(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, uint8_t Slot,
                  WorkArea<Sample>& w, TrialCoder<Sample>* pTrials)
{
    const uint32_t Flags = Settings.AnalysisFlags;
    const int32_t Limit = SearchLimit(Settings, mb.Records.pLocal->Qp);
    const h264::MotionNeighbours Around = mb.Around.Motion[0].Of16x16();
    const MotionVector Skip = h264::PredictSkip(Around);
    Candidate Best{.Cost = kNotTried, .Type = MB_INTER16X16, .Slot = Slot};
    SkipTest Tested{};
    // Without loss a skip would have to be exact.
    const bool TestsSkip = !mb.pQuant->IsLossless, TestsFirst = (Flags & ENC_ANALYSE_ME_EARLY_EXIT) != 0;
    ListSearch<Sample> List(Settings, mb, 0, w);
    const int32_t Count = List.Count();
    for (int32_t r = 0; r < Count; ++r) {
        const MotionVector Predicted = h264::PredictMedian(Around, r);
        if (r == 0 && TestsSkip && TestsFirst) {
            Tested = CheckSkipP(mb, w, w.Inter[Slot], Predicted, Skip);
            if (Tested.IsSkip) return Skipped(Skip, Slot);
        }
        const FoundPart Found = List.SearchWhole(r, Predicted, Limit);
        if (r == 0 && TestsSkip && !TestsFirst) {
            Tested = CheckSkipP(mb, w, w.Inter[Slot], Found.Vector, Skip);
            if (Tested.IsSkip) return Skipped(Skip, Slot);
        }
        if (Found.Cost < Best.Cost) {
            Best.Cost = Found.Cost;
            Best.Ref = static_cast<int8_t>(r);
            Best.Vector = Found.Vector;
            Best.Difference = Found.Vector - Predicted;
            if (Best.Cost <= Limit) break;
        } else if (!(Flags & (ENC_ANALYSE_ALL_REFS | ENC_ANALYSE_P_8X8))) {
            break;
        }
    }
    if (Best.Ref == 0 && Best.Vector == Skip) Best.AtHand = Tested.AtHand;
    if (!(Flags & ENC_ANALYSE_P_8X8) || Best.Cost <= Limit) return Best;
    List.Last = Flags & ENC_ANALYSE_ALL_REFS ? List.Count() - 1 : Best.Ref;
    return DecideDivided(Settings, mb, Best, &List, {}, w, pTrials);
}

#define INSTANTIATE(Sample)                                                                                            \
    template Candidate DecideP(const EncoderSettings&, const CurrentMacroblock<Sample>&, uint8_t, WorkArea<Sample>&,   \
                               TrialCoder<Sample>*);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
