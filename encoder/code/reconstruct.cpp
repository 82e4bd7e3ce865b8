#include "encoder/code/reconstruct.h"

#include "Common/h264/h264_tables.h"
#include "encoder/code/coefficients.h"
#include "encoder/code/inter_prediction.h"
#include "encoder/code/quantise.h"

#include <cstring>

namespace UMC_H264_ENCODER {

namespace {

// One bit of coded_block_pattern for each quadrant with a coded block.
uint8_t LumaPattern(uint32_t Coded)
{
    uint32_t Pattern = 0;
    for (uint32_t Quadrant = 0; Quadrant < 4; ++Quadrant)
        Pattern |= (Coded >> (4 * Quadrant) & 15 ? 1u : 0u) << Quadrant;
    return static_cast<uint8_t>(Pattern);
}

// What is not at hand of the prediction and of the luma's levels.
template <class Sample>
void CompleteTrial(const Candidate& Won, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    InterTrial<Sample>& t = w.Inter[Won.Slot];
    if (Won.AtHand < BLOCKS_LUMA) {
        PredictInterLuma(Won, mb, w, t.PredY);
        QuantiseInterLuma(mb, t);
    }
    if (Won.AtHand < BLOCKS_ALL) PredictInterChroma(Won, mb, w, t.PredUV);
}

// Levels of an inter macroblock's luma after the blocks that are not worth their bits have been dropped.
template <class Sample>
uint32_t InterLumaLevels(const InterTrial<Sample>& t, WorkArea<Sample>& w)
{
    const uint32_t Mask = t.LumaMask;
    uint32_t Coded = 0;
    int32_t Total = 0;
    for (uint32_t Quadrant = 0; Quadrant < 4; ++Quadrant) {
        const uint32_t Bits = Mask & (15u << (4 * Quadrant));
        int32_t Cost = 0;
        for (uint32_t Rest = Bits; Rest; Rest &= Rest - 1) {
            const auto Block = static_cast<size_t>(std::countr_zero(Rest));
            Cost += ListLevels(t.Luma + 16 * Block, 0, w.LumaLevels[Block]);
        }
        if (IsQuadrantWorthCoding(Cost)) Coded |= Bits;
        Total += Cost;
    }
    return IsMacroblockWorthCoding(Total) ? Coded : 0;
}

// Residual of both chroma planes against a prediction; sets the chroma bits of Coded and Pattern.
template <class Sample>
void ReconstructChroma(const Sample* pPredUV, CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    const MacroblockQuant& q = *mb.pQuant;
    uint32_t AnyAc = 0, AnyDc = 0;
    for (int Plane = 0; Plane < 2; ++Plane) {
        const auto* const pSrc = Plane ? mb.pSrcV : mb.pSrcU;
        Sample* const pDst = Plane ? mb.pRecV : mb.pRecU;
        const Sample* const pPred = pPredUV + 8 * Plane;
        auto* const pLevels = w.Chroma[Plane];
        if (mb.pSlice->slice_type != h264::SLICE_I && ChromaHasNoLevels(mb, pPredUV, Plane)) {
            Kernels<Sample>.CopyBlock8(pPred, w.kPredStep, pDst, mb.pitch, 8);
            continue;
        }
        uint32_t Mask = Kernels<Sample>.ForwardQuantAc8x8(pSrc, mb.SrcPitch, pPred, w.kPredStep, pLevels,
                                                          w.ChromaDc[Plane], q.pChroma);
        const uint32_t Dc = Kernels<Sample>.ForwardChromaDc420(w.ChromaDc[Plane], q.pChroma->Factor[0],
                                                               q.pChroma->Rounding, q.pChroma->Shift);
        int32_t Cost = 0;
        for (uint32_t Rest = Mask; Rest; Rest &= Rest - 1) {
            const auto Block = static_cast<size_t>(std::countr_zero(Rest));
            Cost += ListLevels(pLevels + 16 * Block, 1, w.ChromaAcLevels[Plane][Block]);
        }
        if (Mask && !IsChromaAcWorthCoding(Cost)) {
            Mask = 0;
            std::memset(pLevels, 0, sizeof(w.Chroma[Plane]));
        }
        Kernels<Sample>.CopyBlock8(pPred, w.kPredStep, pDst, mb.pitch, 8);
        if (Mask) {
            Kernels<Sample>.DequantBlocks(pLevels, Mask, 4, q.pChromaScale, q.ChromaPer, 1);
            mb.Records.pLocal->Coded |= Mask << (Plane ? kCodedCrShift : kCodedCbShift);
        }
        uint32_t Bits = Mask;
        if (Dc) {
            ListDcLevels(w.ChromaDc[Plane], 4, w.ChromaDcLevels[Plane]);
            mb.Records.pLocal->CodedDc |= Plane ? kCodedCrDc : kCodedCbDc;
            Kernels<Sample>.InverseChromaDc420(w.ChromaDc[Plane], q.pChromaScale[0], q.ChromaPer, pLevels);
            for (uint32_t Block = 0; Block < 4; ++Block) Bits |= (pLevels[16 * Block] != 0 ? 1u : 0u) << Block;
        }
        if (Bits) Kernels<Sample>.AddResidualChroma(pLevels, pDst, mb.pitch, Bits, mb.pSlice->Syntax.BitDepthChroma);
        AnyAc |= Mask;
        AnyDc |= Dc;
    }
    const uint32_t Pattern = AnyAc ? 2u << 4 : AnyDc ? 1u << 4 : 0u;
    mb.Records.pLocal->Pattern = static_cast<uint8_t>(mb.Records.pLocal->Pattern | Pattern);
}

template <class Sample>
void ReconstructInter(const Candidate& Won, CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    CompleteTrial(Won, mb, w);
    InterTrial<Sample>& t = w.Inter[Won.Slot];
    const uint32_t Coded = InterLumaLevels(t, w);
    Kernels<Sample>.CopyBlock16(t.PredY, w.kPredStep, mb.pRecY, mb.pitch, 16);
    if (Coded) {
        Kernels<Sample>.DequantBlocks(t.Luma, Coded, 16, mb.pQuant->pLumaScale, mb.pQuant->LumaPer, 0);
        Kernels<Sample>.AddResidualLuma4x4(t.Luma, mb.pRecY, mb.pitch, Coded, mb.pSlice->Syntax.BitDepthLuma);
    }
    mb.Records.pLocal->Coded = Coded;
    mb.Records.pLocal->Pattern = LumaPattern(Coded);
    ReconstructChroma(t.PredUV, mb, w);
}

template <class Sample>
void ReconstructIntra16x16(uint8_t Slot, CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    const MacroblockQuant& q = *mb.pQuant;
    const auto* const pPred = w.IntraY[Slot];
    uint32_t Mask =
        Kernels<Sample>.ForwardQuantAc16x16(mb.pSrcY, mb.SrcPitch, pPred, w.kPredStep, w.Luma, w.LumaDc, q.pLuma);
    // The DC levels always take the rounding of intra, in every slice type.
    const uint32_t Dc =
        Kernels<Sample>.ForwardLumaDc(w.LumaDc, q.pLumaIntra->Factor[0], q.pLumaIntra->Rounding, q.pLumaIntra->Shift);
    for (uint32_t Rest = Mask; Rest; Rest &= Rest - 1) {
        const auto Block = static_cast<size_t>(std::countr_zero(Rest));
        ListLevels(w.Luma + 16 * Block, 1, w.LumaLevels[Block]);
    }
    mb.Records.pLocal->Coded = Mask;
    mb.Records.pLocal->Pattern = Mask ? 15 : 0;
    Kernels<Sample>.CopyBlock16(pPred, w.kPredStep, mb.pRecY, mb.pitch, 16);
    if (Mask) Kernels<Sample>.DequantBlocks(w.Luma, Mask, 16, q.pLumaScale, q.LumaPer, 1);
    if (Dc) {
        mb.Records.pLocal->CodedDc |= kCodedLumaDc;
        ListLevels(w.LumaDc, 0, w.LumaDcLevels);
        Kernels<Sample>.InverseLumaDc(w.LumaDc, q.pLumaScale[0], q.LumaPer, w.Luma);
        for (uint32_t Block = 0; Block < 16; ++Block) Mask |= (w.Luma[16 * Block] != 0 ? 1u : 0u) << Block;
    }
    if (Mask) Kernels<Sample>.AddResidualLuma4x4(w.Luma, mb.pRecY, mb.pitch, Mask, mb.pSlice->Syntax.BitDepthLuma);
}

// The skip test has made the prediction already.
template <class Sample>
void ReconstructSkip(const InterTrial<Sample>& t, CurrentMacroblock<Sample>& mb)
{
    constexpr int kStep = WorkArea<Sample>::kPredStep;
    Kernels<Sample>.CopyBlock16(t.PredY, kStep, mb.pRecY, mb.pitch, 16);
    Kernels<Sample>.CopyBlock8(t.PredUV, kStep, mb.pRecU, mb.pitch, 8);
    Kernels<Sample>.CopyBlock8(t.PredUV + 8, kStep, mb.pRecV, mb.pitch, 8);
}

// The decision has reconstructed the blocks in the local copy already.
template <class Sample>
void ReconstructIntra4x4(const WorkArea<Sample>& w, CurrentMacroblock<Sample>& mb)
{
    Kernels<Sample>.CopyBlock16(w.Local + w.kLocalOrigin, w.kLocalStep, mb.pRecY, mb.pitch, 16);
    mb.Records.pLocal->Coded = w.Intra4x4Coded;
    mb.Records.pLocal->Pattern = LumaPattern(w.Intra4x4Coded);
}

} // namespace

template <class Sample>
void Reconstruct(const Candidate& Won, CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    switch (Won.Type) {
    case MB_SKIP_P:
    case MB_SKIP_B: return ReconstructSkip(w.Inter[Won.Slot], mb);
    case MB_INTRA16X16: ReconstructIntra16x16(Won.Slot, mb, w); break;
    case MB_INTRA4X4: ReconstructIntra4x4(w, mb); break;
    default: return ReconstructInter(Won, mb, w);
    }
    ReconstructChroma(w.IntraUV, mb, w);
}

void SetQuantisers(const QuantTables& Tables, int32_t SliceType, int32_t Qp, MacroblockQuant& q)
{
    q.Qp = Qp;
    const auto Luma = static_cast<size_t>(Qp);
    const size_t Chroma = h264::kChromaQp[Luma];
    // Intra macroblocks of P and B slices take the smaller rounding too: the slice decides, not the macroblock.
    const auto& Table = SliceType == h264::SLICE_I ? Tables.Intra : Tables.Inter;
    q.pLuma = &Table[Luma];
    q.pLumaIntra = &Tables.Intra[Luma];
    q.pChroma = &Table[Chroma];
    q.pLumaScale = Tables.Scale[Luma % 6];
    q.pChromaScale = Tables.Scale[Chroma % 6];
    q.LumaZeroSad = Tables.LumaZeroSad[Luma];
    q.ChromaZeroSad = Tables.ChromaZeroSad[Chroma];
    q.LumaPer = static_cast<int32_t>(Luma / 6);
    q.ChromaPer = static_cast<int32_t>(Chroma / 6);
}

template void Reconstruct(const Candidate&, CurrentMacroblock<uint8_t>&, WorkArea<uint8_t>&);

} // namespace UMC_H264_ENCODER
