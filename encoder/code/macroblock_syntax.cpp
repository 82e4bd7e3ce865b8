#include "encoder/code/macroblock_syntax.h"

#include "Common/h264/intra_modes.h"
#include "Common/h264/mb_type.h"
#include "encoder/code/cabac_syntax.h"
#include "encoder/code/cavlc_syntax.h"
#include "encoder/code/traced_syntax.h"

namespace UMC_H264_ENCODER {

namespace {

// mb_type of an intra macroblock, Table 7-11.
template <class LevelType>
uint32_t IntraMbType(const MacroblockSyntax<LevelType>& m)
{
    if (m.Type == MB_INTRA4X4) return h264::kIntraNxNType;
    const uint32_t Pattern = m.Local.Pattern;
    return h264::Intra16x16Type(m.Local.Intra16Mode, Pattern >> 4, (Pattern & 15) != 0);
}

template <class LevelType, class Policy>
void WriteIntra4x4Modes(const MacroblockSyntax<LevelType>& m, Policy& p)
{
    const uint8_t* const pModes = m.pIntraModes;
    for (const uint8_t r : h264::kBlockRaster) {
        const int32_t x = r & 3, y = r >> 2, Mode = pModes[r];
        const int32_t Left = x > 0 ? pModes[r - 1] : m.Around.LeftModes[y];
        const int32_t Top = y > 0 ? pModes[r - 4] : m.Around.TopModes[x];
        const int32_t Predicted = h264::PredictIntraMode(Left, Top);
        p.IntraMode(Mode == Predicted ? -1 : Mode < Predicted ? Mode : Mode - 1);
    }
}

template <class LevelType, class Policy>
void WriteLuma(const MacroblockSyntax<LevelType>& m, Policy& p, h264::BlockCat Cat)
{
    p.StartLuma(m.Local.Coded);
    for (uint32_t Quadrant = 0; Quadrant < 4; ++Quadrant) {
        if (!(m.Local.Pattern >> Quadrant & 1)) continue;
        for (uint32_t Index = 4 * Quadrant; Index < 4 * Quadrant + 4; ++Index)
            p.Luma(Cat, Index, m.Local.Coded >> Index & 1 ? &m.pLuma[Index] : nullptr);
    }
}

// The chroma of clause 7.3.5.3, of planes with kBlocks blocks: as many levels has their DC.
template <uint32_t kBlocks, class LevelType, class Policy>
void WriteChroma(const MacroblockSyntax<LevelType>& m, Policy& p)
{
    const uint32_t Coded = m.Local.Coded, CodedDc = m.Local.CodedDc;
    p.ChromaDc(0, kBlocks, CodedDc & kCodedCbDc ? &m.pChromaDc[0] : nullptr);
    p.ChromaDc(1, kBlocks, CodedDc & kCodedCrDc ? &m.pChromaDc[1] : nullptr);
    if (m.Local.Pattern >> 4 != 2) return;
    for (uint32_t Plane = 0; Plane < 2; ++Plane) {
        const uint32_t Bits = Coded >> (Plane ? kCodedCrShift : kCodedCbShift);
        p.StartChroma(Plane, kBlocks, Bits);
        for (uint32_t Block = 0; Block < kBlocks; ++Block)
            p.ChromaAc(Plane, Block, Bits >> Block & 1 ? &m.pChromaAc[Plane][Block] : nullptr);
    }
}

// Clause 7.3.5.3.
template <class LevelType, class Policy>
void WriteResidual(const MacroblockSyntax<LevelType>& m, Policy& p)
{
    if (m.Type == MB_INTRA16X16) p.LumaDc(m.Local.CodedDc & kCodedLumaDc ? &m.LumaDc : nullptr);
    WriteLuma(m, p, m.Type == MB_INTRA16X16 ? h264::CAT_LUMA_AC : h264::CAT_LUMA_4x4);
    if (m.Local.Pattern >> 4 == 0) return;
    if (m.Slice.chroma_format_idc == h264::CHROMA_422)
        WriteChroma<8>(m, p);
    else
        WriteChroma<4>(m, p);
}

} // namespace

template <class LevelType, class Policy>
bool WriteMacroblockSyntax(const MacroblockSyntax<LevelType>& m, Policy p)
{
    if (m.Slice.slice_type == h264::SLICE_P) p.Skip(m.Type == MB_SKIP_P);
    if (m.Type == MB_SKIP_P) {
        p.NoQpDelta();
        return false;
    }
    const bool IsIntraMb = IsIntra(m.Type);
    if (m.Slice.slice_type == h264::SLICE_I)
        p.MbTypeI(IntraMbType(m));
    else
        p.MbTypeP(IsIntraMb ? h264::kFirstIntraTypeP + IntraMbType(m) : 0);
    if (IsIntraMb) {
        if (m.Type == MB_INTRA4X4) WriteIntra4x4Modes(m, p);
        p.IntraChromaMode(m.Local.ChromaMode);
    } else {
        if (m.num_ref_idx[0] > 1)
            p.RefIdx(static_cast<uint32_t>(m.pReferences[0][0]), static_cast<uint32_t>(m.num_ref_idx[0]));
        p.Difference(m.pDifferences[0][0]);
    }
    if (m.Type != MB_INTRA16X16) {
        p.CodedBlockPattern(m.Local.Pattern, IsIntraMb);
        if (m.Local.Pattern == 0) {
            p.NoQpDelta();
            return false;
        }
    }
    p.QpDelta(m.QpDelta);
    WriteResidual(m, p);
    return true;
}

template bool WriteMacroblockSyntax(const MacroblockSyntax<int16_t>&, CabacSyntax<StoredBytes>);
template bool WriteMacroblockSyntax(const MacroblockSyntax<int16_t>&, CabacSyntax<CountedBytes>);
template bool WriteMacroblockSyntax(const MacroblockSyntax<int16_t>&, CavlcSyntax<StoredBits>);
template bool WriteMacroblockSyntax(const MacroblockSyntax<int16_t>&, CavlcSyntax<CountedBits>);
#if defined(QUILVEX_TRACE)
template bool WriteMacroblockSyntax(const MacroblockSyntax<int16_t>&, TracedSyntax<CabacSyntax<StoredBytes>>);
template bool WriteMacroblockSyntax(const MacroblockSyntax<int16_t>&, TracedSyntax<CavlcSyntax<StoredBits>>);
#endif

} // namespace UMC_H264_ENCODER
