#include "encoder/decide/block_search.h"

#include "Common/h264/chroma_geometry.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

template <class Sample>
void BuildCandidates(const CurrentMacroblock<Sample>& mb, int List, const Reference<Sample>& Ref, MEParams<Sample>& p)
{
    const NeighbourMotion& Around = mb.Around.Motion[List];
    p.candidate_count = 0;
    AddCandidate(p, WholeSamples(p.pred_mv));
    AddCandidate(p, {0, 0});
    if (mb.Around.Has(kernels::kTop)) AddCandidate(p, WholeSamples(Around.TopVectors[0]));
    if (mb.Around.Has(kernels::kLeft)) AddCandidate(p, WholeSamples(Around.LeftVectors[0]));
    if (mb.Around.Has(kernels::kTopLeft)) AddCandidate(p, WholeSamples(Around.TopLeft.Mv));
    if (Around.pTopRightOfPicture) AddCandidate(p, WholeSamples(*Around.pTopRightOfPicture));
    const MotionVector* const pReference = Ref.pVectors[0] + static_cast<ptrdiff_t>(mb.mb_index) * 16;
    // A row of macroblocks has as many vectors as there are samples in a line: 16 for each macroblock.
    if (16 * mb.mb_y + 16 < Ref.View.Height) AddCandidate(p, WholeSamples(pReference[Ref.View.Width]));
    if (16 * mb.mb_x + 16 < Ref.View.Width) AddCandidate(p, WholeSamples(pReference[16]));
    AddCandidate(p, WholeSamples(*pReference));
}

namespace {

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

} // namespace

template <class Sample>
void FillSearch(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, const Reference<Sample>& Ref,
                MotionPart Part, int32_t Method, WorkArea<Sample>& w, MEParams<Sample>& p)
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
    if (p.flags & ENC_ANALYSE_ME_CHROMA) FillChroma(mb, Ref, x, y, p);
}

#define INSTANTIATE(Sample)                                                                                            \
    template void BuildCandidates(const CurrentMacroblock<Sample>&, int, const Reference<Sample>&, MEParams<Sample>&); \
    template void FillSearch(const EncoderSettings&, const CurrentMacroblock<Sample>&, const Reference<Sample>&,       \
                             MotionPart, int32_t, WorkArea<Sample>&, MEParams<Sample>&);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
