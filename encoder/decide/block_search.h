// The search of one block of a macroblock in one picture: what the motion search is told about the macroblock.
#pragma once

#include "Common/h264/chroma_geometry.h"
#include "Common/h264/temporal_distance.h"
#include "encoder/decide/intra_decision.h"
#include "encoder/decide/motion_search.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/macroblock_motion.h"
#include "encoder/state/work_area.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

inline MotionVector WholeSamples(MotionVector v)
{
    return {static_cast<int16_t>(v.x >> 2), static_cast<int16_t>(v.y >> 2)};
}

/// How the settings have 16x16 blocks searched.
inline int32_t SearchMethodOf16x16(const UMC::H264EncoderParams& p)
{
    return p.search_method + (p.search_method > 0 ? kMethodWalkingRefinement : 0);
}
/// And all smaller ones: the walk in both stages, except that a full refinement stays one.
inline int32_t SearchMethodOfParts(const UMC::H264EncoderParams& p) { return p.search_method > 0 ? 330 : 0; }

/// The cost at which the search of a whole macroblock may stop; that of its parts is a share of it.
inline int32_t SearchLimit(const EncoderSettings& Settings, int32_t Qp)
{
    return Settings.AnalysisFlags & ENC_ANALYSE_ME_EARLY_EXIT ? Settings.ThresholdME[PriceIndex(Qp)] : 0;
}

/// Price of the difference of a vector to its prediction.
inline int32_t DifferencePrice(int32_t Qp, MotionVector Vector, MotionVector Predicted)
{
    const MotionVector d = Vector - Predicted;
    return BitPrice(Qp, MVBits()[d.x] + MVBits()[d.y]);
}

/// Price of naming reference r of n.
inline int32_t ReferencePrice(int32_t Qp, int32_t r, int32_t n)
{
    if (n == 1) return BitPrice(Qp, 1);
    if (n == 2) return BitPrice(Qp, r == 0 ? 1 : 2);
    return BitPrice(Qp, MVBits()[r]);
}

namespace detail {

// Where the chroma of a block at (x, y) of the macroblock lies.
template <class Sample>
void FillChroma(const CurrentMacroblock<Sample>& mb, const Reference<Sample>& Ref, int32_t x, int32_t y,
                MEParams<Sample>& p)
{
    p.chroma_format = mb.pSlice->Syntax.chroma_format_idc;
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[p.chroma_format];
    p.chroma_mv_offset = Chroma.ShiftY ? Ref.ChromaMvOffset : 0;
    const int32_t Column = x >> Chroma.ShiftX, Row = y >> Chroma.ShiftY;
    p.src_u = mb.pSrcU + Row * mb.SrcPitch + Column;
    p.src_v = mb.pSrcV + Row * mb.SrcPitch + Column;
    p.ref_u = Ref.View.pU + mb.pPosition->Chroma + Row * mb.pitch + Column;
    p.ref_v = Ref.View.pV + mb.pPosition->Chroma + Row * mb.pitch + Column;
}

} // namespace detail

/// Everything but candidates, predictor and threshold. Inlined, as the product searches whole macroblocks alone.
template <class Sample>
[[gnu::always_inline]] inline void FillSearch(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb,
                                              const Reference<Sample>& Ref, MotionPart Part, int32_t Method,
                                              WorkArea<Sample>& w, MEParams<Sample>& p)
{
    const MacroblockPosition& At = *mb.pPosition;
    const int32_t x = 4 * Part.x, y = 4 * Part.y;
    p.src_y = mb.pSrcY + y * mb.SrcPitch + x;
    p.ref_y = Ref.View.pY + At.Luma + y * mb.pitch + x;
    p.pitch = mb.pitch;
    p.SrcPitch = mb.SrcPitch;
    p.bit_depth = mb.pSlice->Syntax.BitDepthLuma;
    p.block_width = 4 * Part.Width;
    p.block_height = 4 * Part.Height;
    p.mv_cost_table = &MVBitCost[PriceIndex(mb.Records.pLocal->Qp)];
    p.limit_left = At.LimitLeft, p.limit_right = At.LimitRight;
    p.limit_top = At.LimitTop, p.limit_bottom = At.LimitBottom;
    p.range_x = std::max(Settings.Params.search_x, 0), p.range_y = std::max(Settings.Params.search_y, 0);
    p.flags = Settings.AnalysisFlags;
    p.method = Method;
    p.pHalves = &w.Halves;
    p.pTrial = w.Trial;
    p.pTrialUV = w.TrialUV;
    p.pVisited = w.pVisited.get();
    if (!(p.flags & ENC_ANALYSE_ME_CHROMA)) return;
    if (mb.pSlice->Syntax.chroma_format_idc == h264::CHROMA_400) // an auxiliary picture
        p.flags &= ~uint32_t{ENC_ANALYSE_ME_CHROMA};
    else
        detail::FillChroma(mb, Ref, x, y, p);
}

namespace detail {

// What a vector of a reference picture means for a macroblock of a B slice: its share of the way between the first
// pictures of the lists, as if it led from one to the other.
inline MotionVector ScaleTemporal(const BSliceFacts& b, int List, MotionVector v)
{
    const int32_t Factor = b.DistScale[0];
    const MotionVector Scaled = Factor == kNotScaled ? v : h264::ScaleVector(Factor, v);
    return List ? Scaled - v : Scaled;
}

} // namespace detail

/// Vectors that a 16x16 search of a list starts from: the predictor, none, the neighbours, and what the reference
/// picture did here.
template <class Sample>
[[gnu::always_inline]] inline void BuildCandidates(const CurrentMacroblock<Sample>& mb, int List,
                                                   const Reference<Sample>& Ref, MEParams<Sample>& p)
{
    const NeighbourMotion& Around = mb.Around.Motion[List];
    const bool IsB = mb.pSlice->slice_type == h264::SLICE_B;
    const auto AddTemporal = [&, IsB](MotionVector v) {
        AddCandidate(p, WholeSamples(IsB ? detail::ScaleTemporal(mb.pSlice->B, List, v) : v));
    };
    p.candidate_count = 0;
    AddCandidate(p, WholeSamples(p.pred_mv));
    AddCandidate(p, {0, 0});
    if (mb.Around.Has(kernels::kTop)) AddCandidate(p, WholeSamples(Around.TopVectors[0]));
    if (mb.Around.Has(kernels::kLeft)) AddCandidate(p, WholeSamples(Around.LeftVectors[0]));
    if (mb.Around.Has(kernels::kTopLeft)) AddCandidate(p, WholeSamples(Around.TopLeft.Mv));
    if (Around.pTopRightOfPicture) AddCandidate(p, WholeSamples(*Around.pTopRightOfPicture));
    const MotionVector* const pReference = Ref.pVectors[0] + static_cast<ptrdiff_t>(mb.mb_index) * 16;
    if (mb.pPosition->Below) AddTemporal(pReference[mb.pPosition->Below]);
    if (mb.pPosition->Right) AddTemporal(pReference[mb.pPosition->Right]);
    AddTemporal(*pReference);
}

/// Both stages of a search that is filled: the refinement where what was found, named for Price, is not good enough.
template <class Sample>
void SearchBlock(MEParams<Sample>& p, int32_t Price)
{
    SearchInteger(p);
    if ((p.flags & ENC_ANALYSE_SUBPEL) && p.best_cost + Price > p.threshold) SearchSubpel(p);
}

} // namespace UMC_H264_ENCODER
