#include "encoder/code/reconstruct.h"

#include "Common/h264/h264_tables.h"
#include "encoder/code/chroma_residual.h"
#include "encoder/code/coefficients.h"
#include "encoder/code/inter_prediction.h"
#include "encoder/code/lossless.h"
#include "encoder/code/quantise.h"

#include <algorithm>
#include <bit>

namespace UMC_H264_ENCODER {

namespace {

// One bit of coded_block_pattern for each quadrant with a coded block.
uint8_t LumaPattern(uint32_t Coded)
{
    uint32_t Pattern = 0;
    if (!Coded) return 0;
    for (uint32_t Quadrant = 0; Quadrant < 4; ++Quadrant)
        Pattern |= (Coded >> (4 * Quadrant) & 15 ? 1u : 0u) << Quadrant;
    return static_cast<uint8_t>(Pattern);
}

// What is not at hand of the prediction and of the luma's levels.
template <class Sample>
void CompleteTrial(const Candidate& Won, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    InterTrial<Sample>& t = w.Inter[Won.Slot];
    if (Won.AtHand < BLOCKS_PREDICTED) PredictInterLuma(Won, mb, w, t.PredY);
    if (Won.Transform8x8)
        QuantiseInterLuma8x8(mb, t);
    else if (Won.AtHand < BLOCKS_LUMA)
        QuantiseInterLuma(mb, t);
    t.LumaMask &= ~uint32_t{Won.Emptied};
    if (Won.AtHand < BLOCKS_ALL) PredictInterChroma(Won, mb, w, t.PredUV);
}

// Levels of an inter macroblock's luma after the blocks that are not worth their bits have been dropped.
template <class Sample>
uint32_t InterLumaLevels(const InterTrial<Sample>& t, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    const ScanOrder& Order = ScanOf(*mb.Records.pGlobal);
    const uint32_t Mask = t.LumaMask;
    if (!Mask) return 0;
    uint32_t Coded = 0;
    int32_t Total = 0;
    for (uint32_t Quadrant = 0; Quadrant < 4; ++Quadrant) {
        const uint32_t Bits = Mask & (15u << (4 * Quadrant));
        int32_t Cost = 0;
        for (uint32_t Rest = Bits; Rest; Rest &= Rest - 1) {
            const auto Block = static_cast<size_t>(std::countr_zero(Rest));
            Cost += ListLevels(t.Luma + 16 * Block, 0, Order, w.LumaLevels[Block]);
        }
        if (IsQuadrantWorthCoding(Cost)) Coded |= Bits;
        Total += Cost;
    }
    if (mb.pQuant->IsLossless) [[unlikely]]
        return Mask;
    return IsMacroblockWorthCoding(Total) ? Coded : 0;
}

// The same of 8x8 blocks: all four bits of a quadrant that is coded.
template <class Sample>
uint32_t InterLumaLevels8x8(const InterTrial<Sample>& t, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    uint32_t Coded = 0;
    for (uint32_t q = 0; q < 4; ++q) {
        if (!(t.LumaMask >> (4 * q) & 1)) continue;
        const int32_t Cost = ListLevels8x8(t.Luma + 64 * q, ScanOf(*mb.Records.pGlobal), w.Luma8x8Levels[q]);
        if (mb.pQuant->IsLossless || IsBlock8x8WorthCoding(Cost)) Coded |= 15u << (4 * q);
        if (!mb.pSlice->Syntax.entropy_coding_mode_flag) Interleave(w.Luma8x8Levels[q], w.LumaLevels + 4 * q);
    }
    return Coded;
}

// Adds the levels of the blocks that are coded to the prediction.
template <class Sample>
void AddInterLuma(bool Is8x8, uint32_t Coded, InterTrial<Sample>& t, CurrentMacroblock<Sample>& mb)
{
    const MacroblockQuant& q = *mb.pQuant;
    const int32_t Depth = mb.pSlice->Syntax.BitDepthLuma;
    if (Is8x8) {
        const uint32_t Quadrants = (Coded & 1) | (Coded >> 3 & 2) | (Coded >> 6 & 4) | (Coded >> 9 & 8);
        Kernels<Sample>.DequantBlocks8x8(t.Luma, Quadrants, 4, q.pLumaScale8x8, q.LumaPer);
        Kernels<Sample>.AddResidualLuma8x8(t.Luma, mb.pRecY, mb.pitch, Coded & 0x1111, Depth);
    } else {
        Kernels<Sample>.DequantBlocks(t.Luma, Coded, 16, q.pLumaScale, q.LumaPer, 0);
        Kernels<Sample>.AddResidualLuma4x4(t.Luma, mb.pRecY, mb.pitch, Coded, Depth);
    }
}

// Without loss the reconstruction is the source.
template <class Sample>
void CopySourceLuma(CurrentMacroblock<Sample>& mb)
{
    if (mb.pSrcY != static_cast<const Sample*>(mb.pRecY))
        Kernels<Sample>.CopyBlock16(mb.pSrcY, mb.SrcPitch, mb.pRecY, mb.pitch, 16);
}

template <class Sample>
void ReconstructInter(const Candidate& Won, CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    CompleteTrial(Won, mb, w);
    InterTrial<Sample>& t = w.Inter[Won.Slot];
    const uint32_t Coded = Won.Transform8x8 ? InterLumaLevels8x8(t, mb, w) : InterLumaLevels(t, mb, w);
    if (mb.pQuant->IsLossless) [[unlikely]] {
        CopySourceLuma(mb);
    } else {
        Kernels<Sample>.CopyBlock16(t.PredY, w.kPredStep, mb.pRecY, mb.pitch, 16);
        if (Coded) AddInterLuma(Won.Transform8x8, Coded, t, mb);
    }
    mb.Records.pLocal->Coded = Coded;
    mb.Records.pLocal->Pattern = LumaPattern(Coded);
    // The flag stands only where there is luma to transform.
    if (!Coded) mb.Records.pGlobal->Flags &= static_cast<uint8_t>(~kFlagTransform8x8);
    ReconstructChroma(t.PredUV, mb, w);
}

// Levels of Intra 16x16 against a prediction, into Luma and LumaDc: a mask of the AC blocks with some.
template <class Sample>
uint32_t QuantiseIntra16x16(const Sample* pPred, const CurrentMacroblock<Sample>& mb, bool& HasDc, WorkArea<Sample>& w)
{
    const MacroblockQuant& q = *mb.pQuant;
    if (q.IsLossless) [[unlikely]] {
        uint32_t Mask = 0;
        HasDc = false;
        for (uint32_t Block = 0; Block < 16; ++Block) {
            const int Raster = h264::kBlockRaster[Block], x = 4 * (Raster & 3), y = 4 * (Raster >> 2);
            auto* const pLevels = w.Luma + 16 * Block;
            TakeDifferences(mb.pSrcY + y * mb.SrcPitch + x, mb.SrcPitch, pPred + y * w.kPredStep + x, w.kPredStep, 4,
                            pLevels);
            w.LumaDc[Raster] = pLevels[0];
            HasDc |= pLevels[0] != 0;
            pLevels[0] = 0;
            Mask |= (std::any_of(pLevels + 1, pLevels + 16, [](auto l) { return l != 0; }) ? 1u : 0u) << Block;
        }
        return Mask;
    }
    const uint32_t Mask =
        Kernels<Sample>.ForwardQuantAc16x16(mb.pSrcY, mb.SrcPitch, pPred, w.kPredStep, w.Luma, w.LumaDc, q.pLuma);
    // The DC levels always take the rounding of intra, in every slice type.
    HasDc = Kernels<Sample>.ForwardLumaDc(w.LumaDc, q.pLumaIntra->Factor[0], q.pLumaIntra->Rounding,
                                          q.pLumaIntra->Shift) != 0;
    return Mask;
}

template <class Sample>
void AddIntra16x16(uint32_t Mask, bool HasDc, CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    const MacroblockQuant& q = *mb.pQuant;
    if (Mask) Kernels<Sample>.DequantBlocks(w.Luma, Mask, 16, q.pLumaScale, q.LumaPer, 1);
    if (HasDc) {
        Kernels<Sample>.InverseLumaDc(w.LumaDc, q.pLumaScale[0], q.LumaPer, w.Luma);
        for (uint32_t Block = 0; Block < 16; ++Block) Mask |= (w.Luma[16 * Block] != 0 ? 1u : 0u) << Block;
    }
    if (Mask) Kernels<Sample>.AddResidualLuma4x4(w.Luma, mb.pRecY, mb.pitch, Mask, mb.pSlice->Syntax.BitDepthLuma);
}

template <class Sample>
void ReconstructIntra16x16(uint8_t Slot, CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    const Sample* const pPred = w.IntraY[Slot];
    const ScanOrder& Order = ScanOf(*mb.Records.pGlobal);
    bool HasDc;
    const uint32_t Mask = QuantiseIntra16x16(pPred, mb, HasDc, w);
    for (uint32_t Rest = Mask; Rest; Rest &= Rest - 1) {
        const auto Block = static_cast<size_t>(std::countr_zero(Rest));
        ListLevels(w.Luma + 16 * Block, 1, Order, w.LumaLevels[Block]);
    }
    if (HasDc) ListLevels(w.LumaDc, 0, Order, w.LumaDcLevels);
    mb.Records.pLocal->Coded = Mask;
    mb.Records.pLocal->Pattern = Mask ? 15 : 0;
    if (HasDc) mb.Records.pLocal->CodedDc |= kCodedLumaDc;
    if (mb.pQuant->IsLossless) [[unlikely]]
        return CopySourceLuma(mb);
    Kernels<Sample>.CopyBlock16(pPred, w.kPredStep, mb.pRecY, mb.pitch, 16);
    AddIntra16x16(Mask, HasDc, mb, w);
}

// The skip test has made the prediction already.
template <class Sample>
void ReconstructSkip(const InterTrial<Sample>& t, CurrentMacroblock<Sample>& mb)
{
    Kernels<Sample>.CopyBlock16(t.PredY, WorkArea<Sample>::kPredStep, mb.pRecY, mb.pitch, 16);
    CopyChroma(t.PredUV, mb);
}

// The decision has reconstructed the blocks in the local copy already.
template <class Sample>
void ReconstructIntraBlocks(bool Is8x8, CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    const IntraTrial<Sample>& t = Is8x8 ? w.Of8x8 : w.Of4x4;
    Kernels<Sample>.CopyBlock16(t.Local + t.kOrigin, t.kStep, mb.pRecY, mb.pitch, 16);
    mb.Records.pLocal->Coded = t.Coded;
    mb.Records.pLocal->Pattern = LumaPattern(t.Coded);
    if (!Is8x8 || mb.pSlice->Syntax.entropy_coding_mode_flag) return;
    for (int q = 0; q < 4; ++q)
        if (t.Coded >> (4 * q) & 1) Interleave(w.Luma8x8Levels[q], w.Intra4x4Levels + 4 * q);
}

} // namespace

template <class Sample>
void Reconstruct(const Candidate& Won, CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    switch (Won.Type) {
    case MB_SKIP_P:
    case MB_SKIP_B: return ReconstructSkip(w.Inter[Won.Slot], mb);
    case MB_INTRA16X16: ReconstructIntra16x16(Won.Slot, mb, w); break;
    case MB_INTRA4X4: ReconstructIntraBlocks(Won.Transform8x8, mb, w); break;
    default: return ReconstructInter(Won, mb, w);
    }
    ReconstructChroma(w.IntraUV, mb, w);
}

template void Reconstruct(const Candidate&, CurrentMacroblock<uint8_t>&, WorkArea<uint8_t>&);
template void Reconstruct(const Candidate&, CurrentMacroblock<uint16_t>&, WorkArea<uint16_t>&);

} // namespace UMC_H264_ENCODER
