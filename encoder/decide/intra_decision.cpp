#include "encoder/decide/intra_decision.h"

#include "Common/h264/chroma_geometry.h"
#include "encoder/decide/intra_blocks.h"

#include "Common/h264/h264_tables.h"
#include "Common/h264/intra_modes.h"
#include "encoder/code/coefficients.h"
#include "kernels/intra/intra_neighbours.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <utility>

namespace UMC_H264_ENCODER {

namespace {

constexpr int32_t kImpossible = std::numeric_limits<int32_t>::max();

} // namespace

template <class Sample>
Candidate Intra16x16(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    const unsigned Available = mb.Around.Available;
    const auto pDistance =
        Settings.AnalysisFlags & ENC_ANALYSE_SAD ? Kernels<Sample>.Sad16x16 : Kernels<Sample>.Satd16x16;
    int32_t Best = kImpossible;
    uint8_t BestMode = INTRA16_DC, Slot = 0;
    Sample *pBest = w.IntraY[0], *pTrial = w.IntraY[1];
    // Bits are an estimate, not the length of the code; a tie stays with the earlier mode.
    const auto Try = [&](Intra16Mode Mode, int32_t Bits) {
        const int32_t Price = BitPrice(mb.Records.pLocal->Qp, Bits);
        if ((kernels::kIntra16x16Needs[Mode] & ~Available) || Price >= Best) return;
        Kernels<Sample>.Predict16x16(Mode, mb.pRecY, mb.pitch, pTrial, w.kPredStep, Available,
                                     mb.pSlice->Syntax.BitDepthLuma);
        const int32_t Cost = Price + pDistance(mb.pSrcY, mb.SrcPitch, pTrial, w.kPredStep);
        if (Cost >= Best) return;
        Best = Cost;
        BestMode = Mode;
        std::swap(pBest, pTrial);
        Slot ^= 1;
    };
    Try(INTRA16_DC, 3);
    Try(INTRA16_VERTICAL, 1);
    Try(INTRA16_HORIZONTAL, 3);
    Try(INTRA16_PLANE, 5);
    return {.Cost = Best, .Type = MB_INTRA16X16, .Intra16Mode = BestMode, .Slot = Slot};
}

template <class Sample>
int32_t IntraChroma(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                    uint8_t& Mode)
{
    if (mb.pSlice->Syntax.chroma_format_idc == h264::CHROMA_400) return 0;
    const unsigned Available = mb.Around.Available;
    const int32_t BitDepth = mb.pSlice->Syntax.BitDepthChroma;
    const int32_t Height = h264::kChromaGeometry[mb.pSlice->Syntax.chroma_format_idc].MbHeight;
    const bool IsSad = (Settings.AnalysisFlags & ENC_ANALYSE_SAD) != 0;
    const auto pDistance = Height == 16 ? IsSad ? Kernels<Sample>.Sad8x16 : Kernels<Sample>.Satd8x16
                           : IsSad      ? Kernels<Sample>.Sad8x8
                                        : Kernels<Sample>.Satd8x8;
    int32_t Best = kImpossible;
    const auto Try = [&](ChromaMode Tried, int32_t Bits) {
        if (kernels::kIntraChromaNeeds[Tried] & ~Available) return;
        auto* const pTrial = w.TrialUV;
        Kernels<Sample>.PredictChroma(Tried, Height, mb.pRecU, mb.pitch, pTrial, w.kPredStep, Available, BitDepth);
        Kernels<Sample>.PredictChroma(Tried, Height, mb.pRecV, mb.pitch, pTrial + 8, w.kPredStep, Available, BitDepth);
        const int32_t Cost = BitPrice(mb.Records.pLocal->QpChroma, Bits) +
                             pDistance(mb.pSrcU, mb.SrcPitch, pTrial, w.kPredStep) +
                             pDistance(mb.pSrcV, mb.SrcPitch, pTrial + 8, w.kPredStep);
        if (Cost >= Best) return;
        Best = Cost;
        Mode = Tried;
        Kernels<Sample>.CopyBlock16(pTrial, w.kPredStep, w.IntraUV, w.kPredStep, Height);
    };
    Try(CHROMA_DC, 1);
    Try(CHROMA_VERTICAL, 3);
    Try(CHROMA_HORIZONTAL, 3);
    Try(CHROMA_PLANE, 5);
    return Best;
}

template <class Sample>
bool HasDetail(const CurrentMacroblock<Sample>& mb)
{
    const auto Qp = PriceIndex(mb.Records.pLocal->Qp);
    return Kernels<Sample>.CountEdges16x16(mb.pSrcY, mb.SrcPitch, EdgePelDifference[Qp]) > EdgePelCount[Qp];
}

bool HasFinerIntra(const EncoderSettings& Settings)
{
    return (Settings.AnalysisFlags & ENC_ANALYSE_I4X4) ||
           (Settings.Params.transform_8x8_mode && (Settings.AnalysisFlags & ENC_ANALYSE_I8X8));
}

template <class Sample>
void TryFinerIntra(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                   Candidate& Best)
{
    if (Settings.Params.transform_8x8_mode && (Settings.AnalysisFlags & ENC_ANALYSE_I8X8)) {
        const Candidate Finer = Intra8x8(Settings, mb, w, Best.Cost);
        if (Finer.Cost < Best.Cost) Best = Finer;
    }
    if (!(Settings.AnalysisFlags & ENC_ANALYSE_I4X4)) return;
    const Candidate Finer = Intra4x4(Settings, mb, w, Best.Cost);
    if (Finer.Cost < Best.Cost) Best = Finer;
}

template <class Sample>
Candidate AnalyseIntra(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    Candidate Best = Intra16x16(Settings, mb, w);
    if (HasFinerIntra(Settings) && HasDetail(mb)) TryFinerIntra(Settings, mb, w, Best);
    return Best;
}

#define INSTANTIATE(Sample)                                                                                            \
    template Candidate Intra16x16(const EncoderSettings&, const CurrentMacroblock<Sample>&, WorkArea<Sample>&);        \
    template int32_t IntraChroma(const EncoderSettings&, const CurrentMacroblock<Sample>&, WorkArea<Sample>&,          \
                                 uint8_t&);                                                                            \
    template bool HasDetail(const CurrentMacroblock<Sample>&);                                                         \
    template void TryFinerIntra(const EncoderSettings&, const CurrentMacroblock<Sample>&, WorkArea<Sample>&,           \
                                Candidate&);                                                                           \
    template Candidate AnalyseIntra(const EncoderSettings&, const CurrentMacroblock<Sample>&, WorkArea<Sample>&);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
