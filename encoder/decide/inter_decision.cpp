#include "encoder/decide/inter_decision.h"

#include "encoder/decide/block_search.h"
#include "encoder/decide/divided_decision.h"
#include "encoder/decide/skip_test.h"

#include <limits>

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
                  WorkArea<Sample>& w)
{
    const SliceFacts<Sample>& Slice = *mb.pSlice;
    const uint32_t Flags = Settings.AnalysisFlags;
    const int32_t Qp = mb.Records.pLocal->Qp;
    const int32_t Limit = SearchLimit(Settings, Qp);
    const h264::MotionNeighbours Around = mb.Around.Motion[0].Of16x16();
    const MotionVector Skip = h264::PredictSkip(Around);
    Candidate Best{.Cost = std::numeric_limits<int32_t>::max(), .Type = MB_INTER16X16, .Slot = Slot};
    SkipTest Tested{};
    MotionVector Found[kMaxReferences];
    MEParams<Sample> p;
    for (int32_t r = 0; r < Slice.num_ref_idx_l0; ++r) {
        const Reference<Sample>& Ref = Slice.ref_pic_lists.Pictures[0][r];
        const MotionVector Predicted = h264::PredictMedian(Around, r);
        if (r == 0 && (Flags & ENC_ANALYSE_ME_EARLY_EXIT)) {
            Tested = CheckSkipP(mb, w, w.Inter[Slot], Predicted, Skip);
            if (Tested.IsSkip) return Skipped(Skip, Slot);
        }
        p.pred_mv = Predicted;
        p.threshold = Limit;
        FillSearch(Settings, mb, Ref, {0, 0, 4, 4}, SearchMethodOf16x16(Settings.Params), w, p);
        BuildCandidates(mb, 0, Ref, p);
        const int32_t Price = ReferencePrice(Qp, r, Slice.num_ref_idx_l0);
        SearchBlock(p, Price);
        Found[r] = p.best_mv;
        if (r == 0 && !(Flags & ENC_ANALYSE_ME_EARLY_EXIT)) {
            Tested = CheckSkipP(mb, w, w.Inter[Slot], p.best_mv, Skip);
            if (Tested.IsSkip) return Skipped(Skip, Slot);
        }
        if (p.best_cost + Price < Best.Cost) {
            Best.Cost = p.best_cost + Price;
            Best.Ref = static_cast<int8_t>(r);
            Best.Vector = p.best_mv;
            Best.Difference = p.best_mv - Predicted;
            if (Best.Cost <= Limit) break;
        } else if (!(Flags & (ENC_ANALYSE_ALL_REFS | ENC_ANALYSE_P_8X8))) {
            break;
        }
    }
    if (Best.Ref == 0 && Best.Vector == Skip) Best.AtHand = Tested.AtHand;
    if ((Flags & ENC_ANALYSE_P_8X8) && Best.Cost > Limit) return DecideDivided(Settings, mb, Best, Found, w);
    return Best;
}

template Candidate DecideP(const EncoderSettings&, const CurrentMacroblock<uint8_t>&, uint8_t, WorkArea<uint8_t>&);

} // namespace UMC_H264_ENCODER
