#include "encoder/decide/intra_decision.h"

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
constexpr int32_t kBitsOfIntra4x4 = 24; // estimate of what the type costs beyond the modes counted

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
        Kernels<Sample>.Predict16x16(Mode, mb.pRecY, mb.pitch, pTrial, w.kPredStep, Available, mb.pSlice->BitDepthLuma);
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
    const unsigned Available = mb.Around.Available;
    const int32_t BitDepth = mb.pSlice->BitDepthChroma;
    const auto pDistance = Settings.AnalysisFlags & ENC_ANALYSE_SAD ? Kernels<Sample>.Sad8x8 : Kernels<Sample>.Satd8x8;
    int32_t Best = kImpossible;
    const auto Try = [&](ChromaMode Tried, int32_t Bits) {
        if (kernels::kIntraChromaNeeds[Tried] & ~Available) return;
        auto* const pTrial = w.TrialUV;
        Kernels<Sample>.PredictChroma(Tried, 8, mb.pRecU, mb.pitch, pTrial, w.kPredStep, Available, BitDepth);
        Kernels<Sample>.PredictChroma(Tried, 8, mb.pRecV, mb.pitch, pTrial + 8, w.kPredStep, Available, BitDepth);
        const int32_t Cost = BitPrice(mb.Records.pLocal->QpChroma, Bits) +
                             pDistance(mb.pSrcU, mb.SrcPitch, pTrial, w.kPredStep) +
                             pDistance(mb.pSrcV, mb.SrcPitch, pTrial + 8, w.kPredStep);
        if (Cost >= Best) return;
        Best = Cost;
        Mode = Tried;
        Kernels<Sample>.CopyBlock16(pTrial, w.kPredStep, w.IntraUV, w.kPredStep, 8);
    };
    Try(CHROMA_DC, 1);
    Try(CHROMA_VERTICAL, 3);
    Try(CHROMA_HORIZONTAL, 3);
    Try(CHROMA_PLANE, 5);
    return Best;
}

namespace {

// Modes to try beside DC by the neighbours that are available, as a mask.
constexpr std::array<uint16_t, 16> kModesToTry = [] {
    std::array<uint16_t, 16> Table{};
    for (unsigned Available = 0; Available < Table.size(); ++Available)
        for (unsigned Mode = 0; Mode < std::size(kernels::kIntraBlockNeeds); ++Mode)
            if (Mode != h264::kIntraDcMode && (kernels::kIntraBlockNeeds[Mode] & ~Available) == 0)
                Table[Available] = static_cast<uint16_t>(Table[Available] | 1u << Mode);
    return Table;
}();

// One macroblock's try at Intra 4x4.
template <class Sample>
class Intra4x4Trial
{
public:
    Intra4x4Trial(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
        : m_Mb(mb), m_w(w), m_Available(mb.Around.Available), m_UsesSad((Settings.AnalysisFlags & ENC_ANALYSE_SAD) != 0)
    {
        LoadNeighbours();
        m_w.Intra4x4Coded = 0;
    }

    [[gnu::always_inline]] inline int32_t Block(uint32_t Index); // whose sixteen turns share what is loaded

private:
    void LoadNeighbours();
    int32_t ModeOf(int32_t bx, int32_t by) const;
    void Code(uint32_t Index, Sample* pLocal, const Sample* pSrc, const Sample* pPred);

    const CurrentMacroblock<Sample>& m_Mb;
    WorkArea<Sample>& m_w;
    unsigned m_Available;
    bool m_UsesSad;
};

template <class Sample>
void Intra4x4Trial<Sample>::LoadNeighbours()
{
    const auto& mb = m_Mb;
    Sample* const pLocal = m_w.Local + m_w.kLocalOrigin;
    if (mb.Around.Has(kernels::kTop)) {
        const Sample* const pAbove = mb.pRecY - mb.pitch;
        std::copy(pAbove - 1, pAbove + 20, pLocal - m_w.kLocalStep - 1);
    }
    if (mb.Around.Has(kernels::kLeft))
        for (int32_t y = 0; y < 16; ++y) pLocal[y * m_w.kLocalStep - 1] = mb.pRecY[y * mb.pitch - 1];
}

// Mode of a block for the prediction of modes; -1 outside the slice. Columns and rows from -1.
template <class Sample>
int32_t Intra4x4Trial<Sample>::ModeOf(int32_t bx, int32_t by) const
{
    if (bx < 0) return m_Mb.Around.LeftModes[by];
    if (by < 0) return m_Mb.Around.TopModes[bx];
    return m_w.Intra4x4Modes[by * 4 + bx];
}

template <class Sample>
void Intra4x4Trial<Sample>::Code(uint32_t Index, Sample* pLocal, const Sample* pSrc, const Sample* pPred)
{
    const MacroblockQuant& q = *m_Mb.pQuant;
    auto* const pLevels = m_w.Intra4x4 + 16 * Index;
    const uint32_t Mask = Kernels<Sample>.ForwardQuant4x4(pSrc, m_Mb.SrcPitch, pPred, 4, pLevels, q.pLuma);
    for (int32_t y = 0; y < 4; ++y) std::copy_n(pPred + 4 * y, 4, pLocal + y * m_w.kLocalStep);
    if (!Mask) return;
    m_w.Intra4x4Coded |= 1u << Index;
    ListLevels(pLevels, 0, m_w.Intra4x4Levels[Index]);
    Kernels<Sample>.DequantBlocks(pLevels, 1, 1, q.pLumaScale, q.LumaPer, 0);
    Kernels<Sample>.AddResidual4x4(pLevels, pLocal, m_w.kLocalStep, m_Mb.pSlice->BitDepthLuma);
}

template <class Sample>
int32_t Intra4x4Trial<Sample>::Block(uint32_t Index)
{
    const auto& mb = m_Mb;
    const int32_t Raster = h264::kBlockRaster[Index], bx = Raster & 3, by = Raster >> 2;
    const Sample* const pSrc = mb.pSrcY + 4 * by * mb.SrcPitch + 4 * bx;
    Sample* const pLocal = m_w.Local + m_w.kLocalOrigin + 4 * by * m_w.kLocalStep + 4 * bx;
    const unsigned Available = kernels::BlockNeighbours(m_Available, bx, by, 4);
    const int32_t Predicted = h264::PredictIntraMode(ModeOf(bx - 1, by), ModeOf(bx, by - 1));
    const int32_t PriceOfPredicted = BitPrice(mb.Records.pLocal->Qp, 1),
                  PriceOfOther = BitPrice(mb.Records.pLocal->Qp, 4);

    alignas(16) Sample Predictions[9][16];
    int32_t Distances[9];
    Kernels<Sample>.PredictAll4x4(pSrc, mb.SrcPitch, pLocal, m_w.kLocalStep, Available, Predictions, Distances,
                                  mb.pSlice->BitDepthLuma);
    int32_t Best = kImpossible, BestMode = 0;
    const auto Try = [&](int32_t Mode) {
        if (!m_UsesSad) Distances[Mode] = Kernels<Sample>.Satd4x4(pSrc, mb.SrcPitch, Predictions[Mode], 4);
        const int32_t Cost = (Mode == Predicted ? PriceOfPredicted : PriceOfOther) + Distances[Mode];
        if (Cost > Best || (Cost == Best && Mode > BestMode)) return;
        Best = Cost;
        BestMode = Mode;
    };
    Try(h264::kIntraDcMode);
    for (uint32_t Modes = kModesToTry[Available]; Modes; Modes &= Modes - 1) Try(std::countr_zero(Modes));
    m_w.Intra4x4Modes[Raster] = static_cast<uint8_t>(BestMode);
    Code(Index, pLocal, pSrc, Predictions[BestMode]);
    return Best;
}

} // namespace

template <class Sample>
Candidate Intra4x4(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                   int32_t Limit)
{
    Candidate Tried{.Cost = 0, .Type = MB_INTRA4X4};
    Intra4x4Trial<Sample> Trial(Settings, mb, w);
    for (uint32_t Index = 0; Index < 16; ++Index) {
        Tried.Cost += Trial.Block(Index);
        if (Tried.Cost > Limit) return Tried;
    }
    Tried.Cost += BitPrice(mb.Records.pLocal->Qp, kBitsOfIntra4x4);
    return Tried;
}

template <class Sample>
bool HasDetail(const CurrentMacroblock<Sample>& mb)
{
    const auto Qp = static_cast<size_t>(mb.Records.pLocal->Qp);
    return Kernels<Sample>.CountEdges16x16(mb.pSrcY, mb.SrcPitch, EdgePelDifference[Qp]) > EdgePelCount[Qp];
}

template <class Sample>
void TryFinerIntra(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                   Candidate& Best)
{
    const Candidate Finer = Intra4x4(Settings, mb, w, Best.Cost);
    if (Finer.Cost < Best.Cost) Best = Finer;
}

template <class Sample>
Candidate AnalyseIntra(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    Candidate Best = Intra16x16(Settings, mb, w);
    if ((Settings.AnalysisFlags & ENC_ANALYSE_I4X4) && HasDetail(mb)) TryFinerIntra(Settings, mb, w, Best);
    return Best;
}

template Candidate Intra16x16(const EncoderSettings&, const CurrentMacroblock<uint8_t>&, WorkArea<uint8_t>&);
template Candidate Intra4x4(const EncoderSettings&, const CurrentMacroblock<uint8_t>&, WorkArea<uint8_t>&, int32_t);
template int32_t IntraChroma(const EncoderSettings&, const CurrentMacroblock<uint8_t>&, WorkArea<uint8_t>&, uint8_t&);
template bool HasDetail(const CurrentMacroblock<uint8_t>&);
template void TryFinerIntra(const EncoderSettings&, const CurrentMacroblock<uint8_t>&, WorkArea<uint8_t>&, Candidate&);
template Candidate AnalyseIntra(const EncoderSettings&, const CurrentMacroblock<uint8_t>&, WorkArea<uint8_t>&);

} // namespace UMC_H264_ENCODER
