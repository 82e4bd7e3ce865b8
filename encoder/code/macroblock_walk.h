// The walk over a macroblock's syntax. It is compiled once for each entropy coder and type of level, in a source of its
// own: together they would be too much for the compiler to inline what each macroblock runs through. For the same
// reason its functions are static: those with one caller become part of it, whatever their size.
#pragma once

#include "Common/h264/intra_modes.h"
#include "Common/h264/mb_type.h"
#include "encoder/code/inter_syntax.h"

namespace UMC_H264_ENCODER {

template <class LevelType>
static bool Is8x8(const MacroblockSyntax<LevelType>& m)
{
    return (m.Flags & kFlagTransform8x8) != 0;
}

// mb_type of an intra macroblock, Table 7-11.
template <class LevelType>
static uint32_t IntraMbType(const MacroblockSyntax<LevelType>& m)
{
    if (m.Type == MB_INTRA4X4) return h264::kIntraNxNType;
    if (m.Type == MB_PCM) return h264::kIntraPcmType;
    const uint32_t Pattern = m.Local.Pattern;
    return h264::Intra16x16Type(m.Local.Intra16Mode, Pattern >> 4, (Pattern & 15) != 0);
}

template <class LevelType, class Policy>
static void WriteMbType(const MacroblockSyntax<LevelType>& m, Policy& p, bool IsIntraMb)
{
    if (m.Slice.slice_type == h264::SLICE_P)
        p.MbTypeP(IsIntraMb ? h264::kFirstIntraTypeP + IntraMbType(m) : InterMbTypeP<Policy>(m.Type));
    else if (m.Slice.slice_type == h264::SLICE_I)
        p.MbTypeI(IntraMbType(m));
    else
        p.MbTypeB(IsIntraMb ? h264::kFirstIntraTypeB + IntraMbType(m) : InterMbTypeB(m));
}

// Modes of 4x4 or 8x8 blocks. An 8x8 block looks at the 4x4 blocks left of and above its first one (clause 8.3.2.1).
template <size_t kStep, class LevelType, class Policy>
static void WriteIntraModes(const MacroblockSyntax<LevelType>& m, Policy& p)
{
    const uint8_t* const pModes = m.pIntraModes;
    for (size_t Index = 0; Index < 16; Index += kStep) {
        const uint8_t r = h264::kBlockRaster[Index];
        const int32_t x = r & 3, y = r >> 2, Mode = pModes[r];
        const int32_t Left = x > 0 ? pModes[r - 1] : m.Around.LeftModes[y];
        const int32_t Top = y > 0 ? pModes[r - 4] : m.Around.TopModes[x];
        const int32_t Predicted = h264::PredictIntraMode(Left, Top);
        p.IntraMode(Mode == Predicted ? -1 : Mode < Predicted ? Mode : Mode - 1);
    }
}

template <class LevelType>
static bool HasChroma(const MacroblockSyntax<LevelType>& m)
{
    return m.Slice.chroma_format_idc != h264::CHROMA_400;
}

template <class LevelType, class Policy>
static void WriteIntraPrediction(const MacroblockSyntax<LevelType>& m, Policy& p)
{
    if (m.Type == MB_INTRA4X4) {
        if (m.Slice.transform_8x8_mode_flag) p.Transform8x8(Is8x8(m));
        if (Is8x8(m))
            WriteIntraModes<4>(m, p);
        else
            WriteIntraModes<1>(m, p);
    }
    if (HasChroma(m)) p.IntraChromaMode(m.Local.ChromaMode);
}

template <class LevelType, class Policy>
[[gnu::noinline]] static void WritePcm(const MacroblockSyntax<LevelType>& m, Policy& p)
{
    const auto ChromaSamples = static_cast<uint32_t>(2 * 16 * h264::kChromaGeometry[m.Slice.chroma_format_idc].Blocks);
    p.Pcm(m.pPcm, 256, m.Slice.BitDepthLuma, ChromaSamples, m.Slice.BitDepthChroma);
    p.NoQpDelta();
}

// coded_block_pattern, and transform_size_8x8_flag where it stands behind it.
template <class LevelType, class Policy>
static void WritePattern(const MacroblockSyntax<LevelType>& m, Policy& p, bool IsIntraMb)
{
    p.CodedBlockPattern(m.Local.Pattern, IsIntraMb, HasChroma(m));
    if (m.Slice.transform_8x8_mode_flag && !IsIntraMb && (m.Local.Pattern & 15) != 0 && MayTransform8x8(m))
        p.Transform8x8(Is8x8(m));
}

// A difference of two QPY as clause 7.4.5 has it in range: what lies beyond comes back from the other end.
static int32_t WrapQpDelta(int32_t Delta, int32_t BitDepthLuma)
{
    const int32_t Half = 26 + 3 * (BitDepthLuma - 8); // 26 + QpBdOffsetY / 2
    return Delta < -Half ? Delta + 2 * Half : Delta >= Half ? Delta - 2 * Half : Delta;
}

template <class LevelType, class Policy>
[[gnu::noinline]] static void WriteLuma8x8(const MacroblockSyntax<LevelType>& m, Policy& p)
{
    for (uint32_t Quadrant = 0; Quadrant < 4; ++Quadrant)
        if (m.Local.Pattern >> Quadrant & 1) p.Luma8x8(Quadrant, m.pLuma8x8, m.pLuma);
}

template <h264::BlockCat kCat, class LevelType, class Policy>
static void WriteLuma(const MacroblockSyntax<LevelType>& m, Policy& p)
{
    p.StartLuma(m.Local.Coded);
    for (uint32_t Quadrant = 0; Quadrant < 4; ++Quadrant) {
        if (!(m.Local.Pattern >> Quadrant & 1)) continue;
        for (uint32_t Index = 4 * Quadrant; Index < 4 * Quadrant + 4; ++Index)
            p.Luma(kCat, Index, m.Local.Coded >> Index & 1 ? &m.pLuma[Index] : nullptr);
    }
}

// The chroma of clause 7.3.5.3, of planes with kBlocks blocks: as many levels has their DC.
template <uint32_t kBlocks, class LevelType, class Policy>
static void WriteChroma(const MacroblockSyntax<LevelType>& m, Policy& p)
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
[[gnu::noinline]] static void WriteResidual(const MacroblockSyntax<LevelType>& m, Policy& p)
{
    p.StartResidual((m.Flags & kFlagField) != 0);
    if (m.Type == MB_INTRA16X16) {
        p.LumaDc(m.Local.CodedDc & kCodedLumaDc ? &m.LumaDc : nullptr);
        WriteLuma<h264::CAT_LUMA_AC>(m, p);
    } else if (!Is8x8(m)) {
        WriteLuma<h264::CAT_LUMA_4x4>(m, p);
    } else {
        WriteLuma8x8(m, p);
    }
    if (m.Local.Pattern >> 4 == 0) return;
    if (m.Slice.chroma_format_idc == h264::CHROMA_422)
        WriteChroma<8>(m, p);
    else
        WriteChroma<4>(m, p);
}

template <class LevelType, class Policy>
bool WriteMacroblockSyntax(const MacroblockSyntax<LevelType>& m, Policy p)
{
    const bool IsSkip = m.Type == MB_SKIP_P || m.Type == MB_SKIP_B;
    if (m.Slice.slice_type != h264::SLICE_I) p.Skip(IsSkip, m.Slice.slice_type == h264::SLICE_B);
    if (!IsSkip) return WriteMacroblockLayer(m, p);
    p.NoQpDelta();
    return false;
}

template <class LevelType, class Policy>
bool WriteMacroblockLayer(const MacroblockSyntax<LevelType>& m, Policy p)
{
    const bool IsIntraMb = IsIntra(m.Type);
    WriteMbType(m, p, IsIntraMb);
    if (m.Type == MB_PCM) {
        WritePcm(m, p);
        return false;
    }
    if (IsIntraMb)
        WriteIntraPrediction(m, p);
    else
        WriteInterPrediction(m, p);
    if (m.Type != MB_INTRA16X16) {
        WritePattern(m, p, IsIntraMb);
        if (m.Local.Pattern == 0) {
            p.NoQpDelta();
            return false;
        }
    }
    p.QpDelta(WrapQpDelta(m.QpDelta, m.Slice.BitDepthLuma));
    WriteResidual(m, p);
    return true;
}

} // namespace UMC_H264_ENCODER
