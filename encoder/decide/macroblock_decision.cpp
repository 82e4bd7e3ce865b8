#include "encoder/decide/macroblock_decision.h"

#include "Common/h264/intra_modes.h"
#include "encoder/decide/inter_decision.h"
#include "encoder/decide/intra_decision.h"

#include <algorithm>
#include <cstring>

namespace UMC_H264_ENCODER {

namespace {

// The best intra form of a macroblock that can be coded at InterCost. Its cost is the chroma's too where chroma counts
// in motion; ChromaMode is then set.
template <class Sample>
Candidate IntraAgainst(int32_t InterCost, const EncoderSettings& Settings, SliceContext<Sample>& s)
{
    Candidate Best = Intra16x16(Settings, s);
    const bool TriesFiner = Best.Cost <= 2 * InterCost &&
                            InterCost >= Settings.TryAdvancedIntraThreshold[static_cast<size_t>(s.cur_mb.pLocal->Qp)] &&
                            (Settings.AnalysisFlags & ENC_ANALYSE_I4X4) && HasDetail(s);
    if (TriesFiner) TryFinerIntra(Settings, s, Best);
    if (Settings.AnalysisFlags & ENC_ANALYSE_ME_CHROMA) Best.Cost += IntraChroma(Settings, s, Best.ChromaMode);
    return Best;
}

// Four at a time.
void FillVectors(MotionVector* p, MotionVector v)
{
    uint32_t Four[4];
    std::fill_n(Four, 4, h264::AsWord(v));
    for (int i = 0; i < 4; ++i) std::memcpy(p + 4 * i, Four, sizeof Four);
}

} // namespace

template <class Sample>
void Commit(const Candidate& Won, SliceContext<Sample>& s)
{
    auto& mb = s.cur_mb;
    LocalMacroblock& Local = *mb.pLocal;
    mb.pGlobal->Type = Won.Type;
    Local.Cost = Won.Cost;
    Local.Intra16Mode = Won.Intra16Mode;
    Local.ChromaMode = Won.ChromaMode;
    FillVectors(mb.pVectors, Won.Vector);
    FillVectors(mb.pDifferences, Won.Difference);
    std::memset(mb.pReferences, Won.Ref, 16);
    if (Won.Type == MB_INTRA4X4)
        std::memcpy(mb.pIntraModes, s.work_area.Intra4x4Modes, 16);
    else
        std::memset(mb.pIntraModes, h264::kIntraDcMode, 16);
    s.intra_count += IsIntra(Won.Type);
}

template <class Sample>
void AnalyseMacroblock(const EncoderSettings& Settings, SliceContext<Sample>& s)
{
    s.work_area.IsTested = false;
    if (s.slice_type == h264::SLICE_I) {
        Candidate Intra = AnalyseIntra(Settings, s);
        IntraChroma(Settings, s, Intra.ChromaMode);
        return Commit(Intra, s);
    }
    const Candidate Inter = DecideP(Settings, s);
    const auto Qp = static_cast<size_t>(s.cur_mb.pLocal->Qp);
    if (Inter.Type == MB_SKIP_P || Inter.Cost < Settings.SkipIntraThreshold[Qp]) return Commit(Inter, s);
    Candidate Intra = IntraAgainst(Inter.Cost, Settings, s);
    if (Intra.Cost >= Inter.Cost) return Commit(Inter, s);
    if (!(Settings.AnalysisFlags & ENC_ANALYSE_ME_CHROMA)) IntraChroma(Settings, s, Intra.ChromaMode);
    Commit(Intra, s);
}

template void AnalyseMacroblock(const EncoderSettings&, SliceContext<uint8_t>&);
template void Commit(const Candidate&, SliceContext<uint8_t>&);

} // namespace UMC_H264_ENCODER
