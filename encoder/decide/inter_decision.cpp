#include "encoder/decide/inter_decision.h"

#include "encoder/code/coefficients.h"
#include "encoder/code/compensation.h"
#include "encoder/code/quantise.h"
#include "encoder/decide/intra_decision.h"
#include "encoder/decide/motion_search.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace UMC_H264_ENCODER {

namespace {

template <class Sample>
bool SkipLeavesLuma(const InterTrial<Sample>& t)
{
    int32_t Cost = 0;
    for (uint32_t Rest = t.LumaMask; Rest; Rest &= Rest - 1) {
        Cost += CoefficientCost(t.Luma + 16 * std::countr_zero(Rest), 0);
        if (IsLumaTooMuchToSkip(Cost)) return true;
    }
    return false;
}

template <class Sample>
bool SkipLeavesChroma(const CurrentMacroblock<Sample>& mb, const Sample* pPredUV, WorkArea<Sample>& w)
{
    const auto* const pQuant = mb.pQuant->pChroma;
    for (int Plane = 0; Plane < 2; ++Plane) {
        if (ChromaHasNoLevels(mb, pPredUV, Plane)) continue;
        auto* const pLevels = w.Chroma[Plane];
        const uint32_t Mask =
            Kernels<Sample>.ForwardQuantAc8x8(Plane ? mb.pSrcV : mb.pSrcU, mb.SrcPitch, pPredUV + 8 * Plane,
                                              w.kPredStep, pLevels, w.ChromaDc[Plane], pQuant);
        if (Kernels<Sample>.ForwardChromaDc420(w.ChromaDc[Plane], pQuant->Factor[0], pQuant->Rounding, pQuant->Shift))
            return true;
        int32_t Cost = 0;
        for (uint32_t Rest = Mask; Rest; Rest &= Rest - 1)
            Cost += CoefficientCost(pLevels + 16 * std::countr_zero(Rest), 1);
        if (IsChromaTooMuchToSkip(Cost)) return true;
    }
    return false;
}

// How far the skip test came: what it leaves in the trial are the blocks at the skip vector.
struct SkipTest {
    bool IsSkip;
    BlocksAtHand AtHand;
};

// Whether the macroblock is as good as its prediction at the skip vector. The test is only made for a vector within a
// quarter sample of it.
template <class Sample>
SkipTest CheckSkipP(const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w, InterTrial<Sample>& t,
                    MotionVector Vector, MotionVector Skip)
{
    if (std::abs(Vector.x - Skip.x) > 1 || std::abs(Vector.y - Skip.y) > 1) return {false, BLOCKS_NONE};
    const PictureView<const Sample>& Ref = mb.pSlice->ref_pic_lists.Pictures[0][0].View;
    CompensateLuma(w, Ref, Skip, mb.mb_x * 16, mb.mb_y * 16, 16, 16, t.PredY, w.kPredStep, mb.pSlice->BitDepthLuma);
    QuantiseInterLuma(mb, t);
    if (SkipLeavesLuma(t)) return {false, BLOCKS_LUMA};
    CompensateChroma(w, Ref, Skip, mb.mb_x * 16, mb.mb_y * 16, 16, 16, t.PredUV, w.kPredStep);
    return {!SkipLeavesChroma(mb, t.PredUV, w), BLOCKS_ALL};
}

// A skip costs nothing.
Candidate Skipped(MotionVector Skip, uint8_t Slot)
{
    return {.Cost = 0, .Type = MB_SKIP_P, .Ref = 0, .Vector = Skip, .Slot = Slot, .AtHand = BLOCKS_ALL};
}

MotionVector Whole(MotionVector v) { return {static_cast<int16_t>(v.x >> 2), static_cast<int16_t>(v.y >> 2)}; }

// Vectors that a 16x16 search starts from: the predictor, none, the neighbours, and what the reference picture did
// here.
template <class Sample>
void BuildCandidates(const CurrentMacroblock<Sample>& mb, const Reference<Sample>& Ref, MEParams<Sample>& p)
{
    const NeighbourMotion& Around = mb.Around.Motion;
    p.candidate_count = 0;
    AddCandidate(p, Whole(p.pred_mv));
    AddCandidate(p, {0, 0});
    if (mb.Around.Has(kernels::kTop)) AddCandidate(p, Whole(Around.TopVectors[0]));
    if (mb.Around.Has(kernels::kLeft)) AddCandidate(p, Whole(Around.LeftVectors[0]));
    if (mb.Around.Has(kernels::kTopLeft)) AddCandidate(p, Whole(Around.TopLeft.Mv));
    if (Around.pTopRightOfPicture) AddCandidate(p, Whole(*Around.pTopRightOfPicture));
    const MotionVector* const pReference = Ref.pVectors + static_cast<ptrdiff_t>(mb.mb_index) * 16;
    // A row of macroblocks has as many vectors as there are samples in a line: 16 for each macroblock.
    if (16 * mb.mb_y + 16 < Ref.View.Height) AddCandidate(p, Whole(pReference[Ref.View.Width]));
    if (16 * mb.mb_x + 16 < Ref.View.Width) AddCandidate(p, Whole(pReference[16]));
    AddCandidate(p, Whole(*pReference));
}

template <class Sample>
void FillSearch(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb,
                const PictureView<const Sample>& Ref, WorkArea<Sample>& w, MEParams<Sample>& p)
{
    const MacroblockPosition& At = *mb.pPosition;
    p.src_y = mb.pSrcY, p.src_u = mb.pSrcU, p.src_v = mb.pSrcV;
    p.ref_y = Ref.pY + At.Luma;
    p.ref_u = Ref.pU + At.Chroma;
    p.ref_v = Ref.pV + At.Chroma;
    p.pitch = mb.pitch;
    p.SrcPitch = mb.SrcPitch;
    p.bit_depth = mb.pSlice->BitDepthLuma;
    p.block_width = p.block_height = 16;
    p.mv_cost_table = &MVBitCost[static_cast<size_t>(mb.Records.pLocal->Qp)];
    p.limit_left = At.LimitLeft, p.limit_right = At.LimitRight;
    p.limit_top = At.LimitTop, p.limit_bottom = At.LimitBottom;
    p.range_x = std::max(Settings.Params.search_x, 0), p.range_y = std::max(Settings.Params.search_y, 0);
    p.flags = Settings.AnalysisFlags;
    p.method = Settings.Params.search_method + (Settings.Params.search_method > 0 ? kMethodWalkingRefinement : 0);
    p.pHalves = &w.Halves;
    p.pTrial = w.Trial;
    p.pTrialUV = w.TrialUV;
    p.pVisited = w.pVisited.get();
}

// Price of naming reference r of n.
int32_t ReferencePrice(int32_t Qp, int32_t r, int32_t n)
{
    if (n == 1) return BitPrice(Qp, 1);
    if (n == 2) return BitPrice(Qp, r == 0 ? 1 : 2);
    return BitPrice(Qp, MVBits()[r]);
}

} // namespace

template <class Sample>
Candidate DecideP(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, uint8_t Slot,
                  WorkArea<Sample>& w)
{
    const SliceFacts<Sample>& Slice = *mb.pSlice;
    const uint32_t Flags = Settings.AnalysisFlags;
    const int32_t Qp = mb.Records.pLocal->Qp;
    const int32_t Limit = Flags & ENC_ANALYSE_ME_EARLY_EXIT ? Settings.ThresholdME[static_cast<size_t>(Qp)] : 0;
    const h264::MotionNeighbours Around = mb.Around.Motion.Of16x16();
    const MotionVector Skip = h264::PredictSkip(Around);
    int32_t Best = std::numeric_limits<int32_t>::max(), BestRef = 0;
    MotionVector BestVector{0, 0}, Difference{0, 0};
    SkipTest Tested{};
    MEParams<Sample> p;
    for (int32_t r = 0; r < Slice.num_ref_idx_l0; ++r) {
        const Reference<Sample>& Ref = Slice.ref_pic_lists.Pictures[0][r];
        const MotionVector Predicted = h264::PredictMedian(Around, r);
        if (r == 0 && (Flags & ENC_ANALYSE_ME_EARLY_EXIT)) {
            Tested = CheckSkipP(mb, w, w.Inter[Slot], Predicted, Skip);
            if (Tested.IsSkip) return Skipped(Skip, Slot);
        }
        p.pred_mv = Predicted;
        FillSearch(Settings, mb, Ref.View, w, p);
        p.threshold = Limit;
        BuildCandidates(mb, Ref, p);
        SearchInteger(p);
        const int32_t Price = ReferencePrice(Qp, r, Slice.num_ref_idx_l0);
        if ((Flags & ENC_ANALYSE_SUBPEL) && p.best_cost + Price > Limit) SearchSubpel(p);
        if (r == 0 && !(Flags & ENC_ANALYSE_ME_EARLY_EXIT)) {
            Tested = CheckSkipP(mb, w, w.Inter[Slot], p.best_mv, Skip);
            if (Tested.IsSkip) return Skipped(Skip, Slot);
        }
        if (p.best_cost + Price < Best) {
            Best = p.best_cost + Price;
            BestRef = r;
            BestVector = p.best_mv;
            Difference = p.best_mv - Predicted;
            if (Best <= Limit) break;
        } else if (!(Flags & (ENC_ANALYSE_ALL_REFS | ENC_ANALYSE_P_8X8))) {
            break;
        }
    }
    return {.Cost = Best,
            .Type = MB_INTER16X16,
            .Ref = static_cast<int8_t>(BestRef),
            .Vector = BestVector,
            .Difference = Difference,
            .Slot = Slot,
            .AtHand = BestRef == 0 && BestVector == Skip ? Tested.AtHand : BLOCKS_NONE};
}

template Candidate DecideP(const EncoderSettings&, const CurrentMacroblock<uint8_t>&, uint8_t, WorkArea<uint8_t>&);

} // namespace UMC_H264_ENCODER
