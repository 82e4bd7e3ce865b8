#include "encoder/decide/macroblock_decision.h"

#include "Common/h264/intra_modes.h"
#include "encoder/code/inter_prediction.h"
#include "encoder/decide/inter_decision.h"
#include "encoder/decide/intra_blocks.h"
#include "encoder/decide/intra_decision.h"
#include "encoder/decide/part_choice.h"
#include "encoder/decide/trial_coding.h"
#include "encoder/state/motion_grid.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace UMC_H264_ENCODER {

namespace {

constexpr int32_t kBitsOfIntraInB = 9; // an estimate of what an intra type costs in a B slice; P slices have none

// Four at a time.
void FillVectors(MotionVector* p, MotionVector v)
{
    uint32_t Four[4];
    std::fill_n(Four, 4, h264::AsWord(v));
    for (int i = 0; i < 4; ++i) std::memcpy(p + 4 * i, Four, sizeof Four);
}

void ClearMotion(MacroblockRecords& Records, int List)
{
    FillVectors(Records.pVectors[List], {0, 0});
    FillVectors(Records.pDifferences[List], {0, 0});
    std::memset(Records.pReferences[List], h264::kRefNone, 16);
}

// The motion of a macroblock in parts, and what of it is written: the difference of each part's vector to its
// prediction (clause 8.4.1).
void CommitMotion(uint8_t Type, const MacroblockMotion& m, int List, const NeighbourMotion& Around,
                  MacroblockRecords& Records)
{
    MotionVector* const pDifferences = Records.pDifferences[List];
    int8_t* const pReferences = Records.pReferences[List];
    std::memcpy(Records.pVectors[List], m.Vectors[List], sizeof(m.Vectors[List]));
    MotionGrid Grid;
    Grid.Begin(Around);
    ForEachPart(Type, m.SubTypes, [&](MotionPart Part) {
        const int8_t Ref = m.References[List][Part.Quadrant()];
        const MotionVector v = m.Vectors[List][Part.Raster()];
        MotionVector Difference{0, 0};
        if (Ref >= 0 && !(m.Direct >> Part.Quadrant() & 1))
            Difference = v - PredictPart(Grid, Type, Part.x, Part.y, Part.Width, Ref);
        Grid.Set(Part.x, Part.y, Part.Width, Part.Height, v, Ref);
        for (int y = Part.y; y < Part.y + Part.Height; ++y) {
            std::fill_n(pDifferences + 4 * y + Part.x, Part.Width, Difference);
            std::fill_n(pReferences + 4 * y + Part.x, Part.Width, Ref);
        }
    });
}

template <class Sample>
[[gnu::noinline]] void CommitParts(const Candidate& Won, const MacroblockMotion& m, int32_t Lists,
                                   CurrentMacroblock<Sample>& mb)
{
    for (int List = 0; List < Lists; ++List) CommitMotion(Won.Type, m, List, mb.Around.Motion[List], mb.Records);
    std::memcpy(mb.Records.pLocal->SubTypes, m.SubTypes, sizeof(m.SubTypes));
    mb.Records.pLocal->Direct = m.Direct;
}

} // namespace

template <class Sample>
void Commit(const Candidate& Won, const WorkArea<Sample>& w, CurrentMacroblock<Sample>& mb)
{
    MacroblockRecords& Records = mb.Records;
    LocalMacroblock& Local = *Records.pLocal;
    Records.pGlobal->Type = Won.Type;
    if (Won.Transform8x8) Records.pGlobal->Flags |= kFlagTransform8x8;
    Local.Cost = Won.Cost;
    Local.Intra16Mode = Won.Intra16Mode;
    Local.ChromaMode = Won.ChromaMode;
    const bool IsB = mb.pSlice->slice_type == h264::SLICE_B;
    if (IsIntra(Won.Type) || Won.Ref >= 0) {
        FillVectors(Records.pVectors[0], Won.Vector);
        FillVectors(Records.pDifferences[0], Won.Difference);
        std::memset(Records.pReferences[0], Won.Ref, 16);
        if (IsB) ClearMotion(Records, 1);
    } else {
        CommitParts(Won, w.Motion[Won.Slot], IsB ? 2 : 1, mb);
    }
    if (Won.Type == MB_INTRA4X4)
        std::memcpy(Records.pIntraModes, Won.Transform8x8 ? w.Of8x8.Modes : w.Of4x4.Modes, 16);
    else
        std::memset(Records.pIntraModes, h264::kIntraDcMode, 16);
}

namespace {

// Whether the costs of intra forms are those of trials in a slice. With trials of every candidate, I slices are decided
// by plain costs all the same.
bool TriesIntra(uint32_t Flags, int32_t SliceType)
{
    if (Flags & ENC_ANALYSE_RD_OPT) return SliceType != h264::SLICE_I;
    return (Flags & ENC_ANALYSE_RD_MODE) != 0;
}

// Puts a finer type in the place of Best when it is cheaper by trial. Plain is the cost that small blocks are given up
// at.
template <class Sample>
void TryFinerByTrial(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, int32_t Plain,
                     TrialCoder<Sample>& Trials, WorkArea<Sample>& w, Candidate& Best)
{
    const auto Offer = [&](Candidate Finer) {
        if (Finer.Cost >= Plain) return;
        Finer.ChromaMode = Best.ChromaMode;
        Finer.Cost = Trials.Cost(Finer, w);
        if (Finer.Cost < Best.Cost) Best = Finer;
    };
    if (Settings.Params.transform_8x8_mode && (Settings.AnalysisFlags & ENC_ANALYSE_I8X8))
        Offer(Intra8x8(Settings, mb, w, Plain));
    if (Settings.AnalysisFlags & ENC_ANALYSE_I4X4) Offer(Intra4x4(Settings, mb, w, Plain));
}

// The best intra form by trials, chroma included. In P and B slices against InterCost, which is one too.
template <class Sample>
[[gnu::noinline]] Candidate IntraByTrial(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb,
                                         int64_t InterCost, TrialCoder<Sample>& Trials, WorkArea<Sample>& w)
{
    Candidate Best = Intra16x16(Settings, mb, w);
    IntraChroma(Settings, mb, w, Best.ChromaMode);
    const int32_t Plain = Best.Cost;
    Best.Cost = Trials.Cost(Best, w);
    if (Best.Cost <= 2 * InterCost && HasFinerIntra(Settings) && HasDetail(mb))
        TryFinerByTrial(Settings, mb, Plain, Trials, w, Best);
    return Best;
}

// The best intra form of a macroblock that can be coded at InterCost. Its cost is the chroma's too where chroma counts
// in motion; ChromaMode is then set.
template <class Sample>
Candidate IntraAgainst(int32_t InterCost, const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb,
                       WorkArea<Sample>& w)
{
    Candidate Best = Intra16x16(Settings, mb, w);
    const bool TriesFiner = Best.Cost <= 2 * InterCost &&
                            InterCost >= Settings.TryAdvancedIntraThreshold[PriceIndex(mb.Records.pLocal->Qp)] &&
                            HasFinerIntra(Settings) && HasDetail(mb);
    if (TriesFiner) TryFinerIntra(Settings, mb, w, Best);
    if (Settings.AnalysisFlags & ENC_ANALYSE_ME_CHROMA) Best.Cost += IntraChroma(Settings, mb, w, Best.ChromaMode);
    return Best;
}

// Whether the 8x8 transform may serve an inter macroblock: no part of it is smaller.
template <class Sample>
bool MayTransform8x8(const EncoderSettings& Settings, const Candidate& c, const WorkArea<Sample>& w)
{
    if (!Settings.Params.transform_8x8_mode || IsIntra(c.Type) || IsSkip(c.Type) || c.Type == MB_DIRECT) return false;
    if (c.Type != MB_INTER8X8 && c.Type != MB_INTER8X8_REF0) return true;
    const uint8_t* const p = w.Motion[c.Slot].SubTypes;
    return std::all_of(p, p + 4, [](uint8_t Shape) { return Shape == SUB_8X8; });
}

// The transform of an inter macroblock: that with the smaller coefficients against the prediction. The 8x8 sum counts
// half: of one difference a Hadamard transform of 8x8 samples makes about twice the magnitudes that those of 4x4 make.
template <class Sample>
[[gnu::noinline]] void ChooseTransform(const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w, Candidate& Inter)
{
    constexpr int32_t kBitsOf8x8 = 2;
    Sample* const pPred = w.Inter[Inter.Slot].PredY;
    if (Inter.AtHand < BLOCKS_PREDICTED) {
        PredictInterLuma(Inter, mb, w, pPred);
        Inter.AtHand = BLOCKS_PREDICTED;
    }
    const int32_t Cost4x4 = Kernels<Sample>.Satd16x16(mb.pSrcY, mb.SrcPitch, pPred, w.kPredStep);
    int32_t Sum8x8 = 0;
    for (int32_t y = 0; y < 16; y += 8)
        for (int32_t x = 0; x < 16; x += 8)
            Sum8x8 += Kernels<Sample>.Satd8x8By8(mb.pSrcY + y * mb.SrcPitch + x, mb.SrcPitch,
                                                 pPred + y * w.kPredStep + x, w.kPredStep);
    Inter.Transform8x8 = Cost4x4 >= Sum8x8 / 2 + BitPrice(mb.Records.pLocal->Qp, kBitsOf8x8);
}

// Quadrants as bits of luma4x4BlkIdx.
constexpr uint16_t QuadrantBlocks(int q) { return static_cast<uint16_t>(15 << (4 * q)); }

// The blocks of parts that differ so little from their prediction that no level of them is worth its bits. Parts below
// 8x8 are taken together.
template <class Sample>
[[gnu::noinline]] uint16_t FindCheapBlocks(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb,
                                           WorkArea<Sample>& w, Candidate& Inter)
{
    InterTrial<Sample>& t = w.Inter[Inter.Slot];
    if (Inter.AtHand < BLOCKS_PREDICTED) {
        PredictInterLuma(Inter, mb, w, t.PredY);
        Inter.AtHand = BLOCKS_PREDICTED;
    }
    if (Settings.AnalysisFlags & ENC_ANALYSE_ME_CHROMA) PredictInterChroma(Inter, mb, w, t.PredUV);
    const int32_t Threshold = Settings.SkipIntraThreshold[PriceIndex(mb.Records.pLocal->Qp)];
    static constexpr uint8_t kQuadrants[4]{SUB_8X8, SUB_8X8, SUB_8X8, SUB_8X8};
    uint16_t Blocks = 0;
    ForEachPart(Inter.Type, kQuadrants, [&](MotionPart Part) {
        const int32_t Quarters = Part.Width * Part.Height / 4; // of a macroblock
        const int32_t Shift = Quarters == 4 ? 0 : Quarters == 2 ? 1 : 2;
        if (PartDistance(Settings, mb, Part, t.PredY, t.PredUV) >= Threshold >> Shift) return;
        for (int y = Part.y; y < Part.y + Part.Height; y += 2)
            for (int x = Part.x; x < Part.x + Part.Width; x += 2)
                Blocks = static_cast<uint16_t>(Blocks | QuadrantBlocks((y & 2) + (x >> 1)));
    });
    return Blocks;
}

template <class Sample>
Candidate DecideInter(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                      TrialCoder<Sample>* pTrials)
{
    return mb.pSlice->slice_type == h264::SLICE_B ? DecideB(Settings, mb, 0, w, pTrials)
                                                  : DecideP(Settings, mb, 0, w, pTrials);
}

// The best form of a macroblock in a P or B slice.
template <class Sample>
Candidate AnalyseInter(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    Candidate Inter = DecideInter<Sample>(Settings, mb, w, nullptr);
    if (MayTransform8x8(Settings, Inter, w)) ChooseTransform(mb, w, Inter);
    if ((Settings.AnalysisFlags & ENC_ANALYSE_CBP_EMPTY) && !IsSkip(Inter.Type) && !mb.pQuant->IsLossless)
        Inter.Emptied = FindCheapBlocks(Settings, mb, w, Inter);
    const size_t Qp = PriceIndex(mb.Records.pLocal->Qp);
    if (IsSkip(Inter.Type) || Inter.Cost < Settings.SkipIntraThreshold[Qp]) return Inter;
    Candidate Intra = IntraAgainst(Inter.Cost, Settings, mb, w);
    if (mb.pSlice->slice_type == h264::SLICE_B) Intra.Cost += BitPrice(mb.Records.pLocal->Qp, kBitsOfIntraInB);
    if (Intra.Cost >= Inter.Cost) return Inter;
    if (!(Settings.AnalysisFlags & ENC_ANALYSE_ME_CHROMA)) IntraChroma(Settings, mb, w, Intra.ChromaMode);
    return Intra;
}

// The same by trials of the winners, or of every candidate. Intra is tried whatever inter costs.
template <class Sample>
[[gnu::noinline]] Candidate AnalyseInterByTrial(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb,
                                                WorkArea<Sample>& w, TrialCoder<Sample>& Trials)
{
    Candidate Inter = DecideInter(Settings, mb, w, &Trials);
    Inter.Cost = Trials.Cost(Inter, w);
    Inter.AtHand = BLOCKS_NONE;
    if (MayTransform8x8(Settings, Inter, w)) {
        Candidate With8x8 = Inter;
        With8x8.Transform8x8 = true;
        With8x8.Cost = Trials.Cost(With8x8, w);
        if (With8x8.Cost < Inter.Cost) Inter = With8x8;
    }
    const Candidate Intra = IntraByTrial(Settings, mb, Inter.Cost, Trials, w);
    return Intra.Cost < Inter.Cost ? Intra : Inter;
}

} // namespace

template <class Sample>
Candidate AnalyseMacroblock(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                            TrialCoder<Sample>* pTrials)
{
    if (mb.pSlice->slice_type != h264::SLICE_I)
        return pTrials ? AnalyseInterByTrial(Settings, mb, w, *pTrials) : AnalyseInter(Settings, mb, w);
    if (pTrials && TriesIntra(Settings.AnalysisFlags, h264::SLICE_I))
        return IntraByTrial(Settings, mb, std::numeric_limits<int32_t>::max(), *pTrials, w);
    Candidate Intra = AnalyseIntra(Settings, mb, w);
    IntraChroma(Settings, mb, w, Intra.ChromaMode);
    return Intra;
}

#define INSTANTIATE(Sample)                                                                                            \
    template Candidate AnalyseMacroblock(const EncoderSettings&, const CurrentMacroblock<Sample>&, WorkArea<Sample>&,  \
                                         TrialCoder<Sample>*);                                                         \
    template void Commit(const Candidate&, const WorkArea<Sample>&, CurrentMacroblock<Sample>&);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
