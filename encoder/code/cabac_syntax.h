// The elements of a macroblock as bins (clause 9.3.2), with the contexts that its neighbours select (clause 9.3.3.1).
#pragma once

#include "Common/h264/block_order.h"
#include "encoder/code/cabac_mb_types.h"
#include "encoder/state/neighbour_cache.h"
#include "encoder/write/cabac_coder.h"

#include <algorithm>
#include <cstdlib>

namespace UMC_H264_ENCODER {

/// One macroblock's policy of WriteMacroblockSyntax.
template <class Output>
class CabacSyntax
{
public:
    static constexpr bool kCabac = true;

    CabacSyntax(BasicCabacCoder<Output>& Coder, const NeighbourCache& Around, bool IsIntraMb)
        : m_Coder(Coder), m_Around(Around), m_IsIntraMb(IsIntraMb)
    {
    }

    void Skip(bool IsSkip, bool IsB) { SkipBeside(IsSkip, IsB, m_Around.LeftType, m_Around.TopType); }
    /// Beside macroblocks of these types: in a frame of pairs they may be others than those of the rest of the syntax.
    void SkipBeside(bool IsSkip, bool IsB, uint8_t LeftType, uint8_t TopType)
    {
        const uint32_t First = IsB ? Offset::kSkipB : Offset::kSkipP;
        const MacroblockType Skipped = IsB ? MB_SKIP_B : MB_SKIP_P;
        Bin(First + Differs(LeftType, Skipped) + Differs(TopType, Skipped), IsSkip);
    }
    /// mb_field_decoding_flag. @param Context  pairs of field macroblocks to the left and above: 0..2
    void FieldFlag(bool IsField, uint32_t Context) { Bin(Offset::kFieldDecoding + Context, IsField); }
    void MbTypeI(uint32_t Type)
    {
        CabacMbTypes(m_Coder).I(Type, Differs(m_Around.LeftType, MB_INTRA4X4) + Differs(m_Around.TopType, MB_INTRA4X4));
    }
    void MbTypeP(uint32_t Type) { CabacMbTypes(m_Coder).P(Type); }
    void MbTypeB(uint32_t Type)
    {
        CabacMbTypes(m_Coder).B(Type, IsNotDirect(m_Around.LeftType) + IsNotDirect(m_Around.TopType));
    }
    void SubMbTypeP(uint32_t Type) { CabacMbTypes(m_Coder).SubP(Type); }
    void SubMbTypeB(uint32_t Type) { CabacMbTypes(m_Coder).SubB(Type); }
    /// The samples of I_PCM, and the coder at its start behind them.
    void Pcm(const uint16_t* pLuma, uint32_t LumaCount, int32_t LumaDepth, uint32_t ChromaCount, int32_t ChromaDepth)
    {
        m_Coder.Arithmetic.Finish();
        PcmPlane(pLuma, LumaCount, LumaDepth);
        PcmPlane(pLuma + LumaCount, ChromaCount, ChromaDepth);
        m_Coder.Arithmetic.Restart();
    }
    /// transform_size_8x8_flag
    void Transform8x8(bool Is8x8)
    {
        const auto Has = [](uint8_t Flags) { return (Flags & kFlagTransform8x8) != 0; };
        Bin(Offset::kTransform8x8 + Has(m_Around.LeftFlags) + Has(m_Around.TopFlags), Is8x8);
    }
    /// rem_intra4x4_pred_mode, or -1 for prev_intra4x4_pred_mode_flag alone.
    void IntraMode(int32_t Rem)
    {
        Bin(Offset::kPrevIntraMode, Rem < 0);
        if (Rem < 0) return;
        for (int32_t Bit = 0; Bit < 3; ++Bit) Bin(Offset::kRemIntraMode, static_cast<uint32_t>(Rem) >> Bit & 1);
    }
    void IntraChromaMode(uint32_t Mode)
    {
        // Inter macroblocks keep mode 0, which is what they count as.
        Bin(Offset::kIntraChromaMode + (m_Around.pLeft->ChromaMode != 0) + (m_Around.pTop->ChromaMode != 0), Mode > 0);
        if (Mode == 0) return;
        Bin(Offset::kIntraChromaMode + 3, Mode > 1);
        if (Mode > 1) Bin(Offset::kIntraChromaMode + 3, Mode > 2);
    }
    /// In front of the list's references: those of the macroblock, 16 in raster order, and its LocalMacroblock::Direct.
    void StartReferences(uint32_t List, const int8_t* pOwn, uint32_t Direct);
    /// Of the partition that starts with a quadrant.
    void RefIdx(uint32_t Quadrant, uint32_t Ref, uint32_t)
    {
        uint32_t Context = Offset::kRefIdx + (m_Left >> Quadrant & 1) + 2 * (m_Top >> Quadrant & 1);
        for (; Ref > 0; --Ref) {
            Bin(Context, 1);
            Context = Context < Offset::kRefIdx + 4 ? Offset::kRefIdx + 4 : Offset::kRefIdx + 5;
        }
        Bin(Context, 0);
    }
    /// mvd of the partition that starts with a 4x4 block, in raster order as are the macroblock's own.
    void Difference(uint32_t List, uint32_t Block, const MotionVector* pOwn)
    {
        const NeighbourMotion& n = m_Around.Motion[List];
        const MotionVector Left = Block % 4 > 0 ? pOwn[Block - 1] : n.LeftDifferences[Block / 4];
        const MotionVector Top = Block / 4 > 0 ? pOwn[Block - 4] : n.TopDifferences[Block % 4];
        Component(m_Coder, Offset::kMvdX, pOwn[Block].x, std::abs(Left.x) + std::abs(Top.x));
        Component(m_Coder, Offset::kMvdY, pOwn[Block].y, std::abs(Left.y) + std::abs(Top.y));
    }
    void CodedBlockPattern(uint32_t Pattern, bool IsIntraMb, bool HasChroma);
    void QpDelta(int32_t Delta)
    {
        uint32_t Context = Offset::kQpDelta + (m_Coder.LastQpDelta != 0);
        for (int32_t Ones = Delta > 0 ? 2 * Delta - 1 : -2 * Delta; Ones > 0; --Ones) {
            Bin(Context, 1);
            Context = Context < Offset::kQpDelta + 2 ? Offset::kQpDelta + 2 : Offset::kQpDelta + 3;
        }
        Bin(Context, 0);
        m_Coder.LastQpDelta = Delta;
    }
    void NoQpDelta() { m_Coder.LastQpDelta = 0; }

    void StartResidual(bool IsField) { m_IsField = IsField; }
    template <class LevelType>
    void LumaDc(const BlockLevels<LevelType>* pLevels)
    {
        if (DcFlag(h264::CAT_LUMA_DC, kCodedLumaDc, pLevels))
            m_Coder.Levels(h264::CAT_LUMA_DC, *pLevels, 16, m_IsField);
    }
    template <class LevelType>
    void ChromaDc(uint32_t Plane, uint32_t Blocks, const BlockLevels<LevelType>* pLevels)
    {
        if (!DcFlag(h264::CAT_CHROMA_DC, Plane ? kCodedCrDc : kCodedCbDc, pLevels)) return;
        if (Blocks == 4)
            m_Coder.Levels(h264::CAT_CHROMA_DC, *pLevels, 4, m_IsField);
        else
            m_Coder.ChromaDc422Levels(*pLevels, m_IsField);
    }
    void StartLuma(uint32_t Coded)
    {
        const uint32_t Current = h264::SwapBlockOrder(Coded & kCodedLuma);
        const uint32_t Left = CodedOf(kernels::kLeft, m_Around.pLeft), Top = CodedOf(kernels::kTop, m_Around.pTop);
        m_Left = (Current << 1 & 0xEEEE) | (h264::SwapBlockOrder(Left & kCodedLuma) >> 3 & 0x1111);
        m_Top = (Current << 4 & 0xFFF0) | h264::SwapBlockOrder(Top & kCodedLuma) >> 12;
    }
    template <class LevelType>
    void Luma(h264::BlockCat Cat, uint32_t Index, const BlockLevels<LevelType>* pLevels)
    {
        Block(Cat, h264::kBlockRaster[Index], pLevels, Cat == h264::CAT_LUMA_4x4 ? 16 : 15);
    }
    /// A quadrant with levels: its coded_block_flag is 1 and is not written.
    template <class LevelType>
    void Luma8x8(uint32_t Quadrant, const BlockLevels8x8<LevelType>* pBlocks, const BlockLevels<LevelType>*)
    {
        m_Coder.Levels8x8(pBlocks[Quadrant], m_IsField);
    }
    void StartChroma(uint32_t Plane, uint32_t Blocks, uint32_t Coded)
    {
        const int Shift = Plane ? kCodedCrShift : kCodedCbShift;
        const uint32_t Left = CodedOf(kernels::kLeft, m_Around.pLeft) >> Shift;
        const uint32_t Top = CodedOf(kernels::kTop, m_Around.pTop) >> Shift;
        m_Left = (Coded << 1 & 0b10101010) | (Left >> 1 & 0b01010101);
        m_Top = (Coded << 2 & 0b11111100) | (Top >> (Blocks - 2) & 0b11);
    }
    template <class LevelType>
    void ChromaAc(uint32_t, uint32_t Index, const BlockLevels<LevelType>* pLevels)
    {
        Block(h264::CAT_CHROMA_AC, Index, pLevels, 15);
    }

private:
    using Offset = h264::CtxIdxOffset;

    void Bin(uint32_t Context, uint32_t Value) { m_Coder.Bin(Context, Value); }
    // condTermFlag of a neighbour: it is there and of another type.
    static uint32_t Differs(uint8_t Type, uint8_t From) { return Type != kNoMacroblock && Type != From; }
    static uint32_t IsNotDirect(uint8_t Type) { return Type < MB_DIRECT ? 1 : 0; }
    // An absent neighbour's blocks count as coded for an intra macroblock.
    uint32_t CodedOf(kernels::IntraAvailable Which, const LocalMacroblock* pNeighbour) const
    {
        return m_IsIntraMb && !m_Around.Has(Which) ? ~0u : pNeighbour->Coded;
    }

    void PcmPlane(const uint16_t* pSamples, uint32_t Count, int32_t Depth);
    static void Component(BasicCabacCoder<Output>& Coder, uint32_t First, int32_t Value, int32_t NeighbourSum);
    // coded_block_flag of a block of DC; returns it.
    template <class LevelType>
    bool DcFlag(h264::BlockCat Cat, uint8_t CodedBit, const BlockLevels<LevelType>* pLevels)
    {
        const auto IsCoded = [&](kernels::IntraAvailable Which, const LocalMacroblock* pNeighbour) {
            return m_IsIntraMb && !m_Around.Has(Which) ? true : (pNeighbour->CodedDc & CodedBit) != 0;
        };
        const uint32_t Flag = h264::kBlockCatContexts[Cat].CodedBlockFlag;
        Bin(Flag + (IsCoded(kernels::kLeft, m_Around.pLeft) ? 1 : 0) + (IsCoded(kernels::kTop, m_Around.pTop) ? 2 : 0),
            pLevels != nullptr);
        return pLevels != nullptr;
    }
    // Place: the bit of m_Left and m_Top that stands for the block.
    template <class LevelType>
    void Block(h264::BlockCat Cat, uint32_t Place, const BlockLevels<LevelType>* pLevels, uint32_t Positions)
    {
        Bin(h264::kBlockCatContexts[Cat].CodedBlockFlag + (m_Left >> Place & 1) + 2 * (m_Top >> Place & 1),
            pLevels != nullptr);
        if (pLevels) m_Coder.Levels(Cat, *pLevels, Positions, m_IsField);
    }

    BasicCabacCoder<Output>& m_Coder;
    const NeighbourCache& m_Around;
    bool m_IsIntraMb;
    bool m_IsField = false;
    // Bit of a block: the one left of it, or above, is coded; of a quadrant: it has a reference above 0.
    uint32_t m_Left = 0, m_Top = 0;
};

template <class Output>
void CabacSyntax<Output>::PcmPlane(const uint16_t* pSamples, uint32_t Count, int32_t Depth)
{
    uint32_t Word = 0;
    int32_t Held = 0; // bits of Word to be written; none when a plane ends
    for (uint32_t i = 0; i < Count; ++i) {
        Word = Word << Depth | pSamples[i];
        for (Held += Depth; Held >= 8; Held -= 8) m_Coder.Arithmetic.PutByte(static_cast<uint8_t>(Word >> (Held - 8)));
    }
}

template <class Output>
void CabacSyntax<Output>::StartReferences(uint32_t List, const int8_t* pOwn, uint32_t Direct)
{
    // Clause 9.3.3.1.1.6: what is derived counts as 0, whatever it refers to.
    const NeighbourMotion& n = m_Around.Motion[List];
    const uint32_t LeftDirect = m_Around.pLeft->Direct, TopDirect = m_Around.pTop->Direct;
    const auto Counts = [](int8_t Ref, uint32_t DirectBits, uint32_t Quadrant) {
        return Ref > 0 && !(DirectBits >> Quadrant & 1) ? 1u : 0u;
    };
    const uint32_t Own0 = Counts(pOwn[0], Direct, 0), Own1 = Counts(pOwn[2], Direct, 1),
                   Own2 = Counts(pOwn[8], Direct, 2);
    m_Left = Counts(n.LeftRefs[0], LeftDirect, 1) | Own0 << 1 | Counts(n.LeftRefs[2], LeftDirect, 3) << 2 | Own2 << 3;
    m_Top = Counts(n.TopRefs[0], TopDirect, 2) | Counts(n.TopRefs[2], TopDirect, 3) << 1 | Own0 << 2 | Own1 << 3;
}

template <class Output>
void CabacSyntax<Output>::Component(BasicCabacCoder<Output>& Coder, uint32_t First, int32_t Value, int32_t NeighbourSum)
{
    constexpr uint32_t kPrefixMax = 9;
    uint32_t Context = First + (NeighbourSum > 32 ? 2 : NeighbourSum > 2 ? 1 : 0);
    const auto Magnitude = static_cast<uint32_t>(std::abs(Value));
    for (uint32_t i = 0; i < std::min(Magnitude, kPrefixMax); ++i) {
        Coder.Bin(Context, 1);
        Context = First + std::min(3 + i, 6u);
    }
    if (Magnitude < kPrefixMax)
        Coder.Bin(Context, 0);
    else
        EncodeEscape(Coder.Arithmetic, Magnitude - kPrefixMax, 3);
    if (Magnitude) Coder.Arithmetic.EncodeBypass(Value < 0);
}

template <class Output>
void CabacSyntax<Output>::CodedBlockPattern(uint32_t Pattern, bool, bool HasChroma)
{
    const uint32_t Left = m_Around.pLeft->Pattern, Top = m_Around.pTop->Pattern;
    // A neighbouring quadrant counts when it is there and its bit is 0.
    const auto Quadrant = [&](uint32_t q, uint32_t A, uint32_t B) {
        Bin(Offset::kPatternLuma + (A & 1 ? 0 : 1) + (B & 1 ? 0 : 2), Pattern >> q & 1);
    };
    Quadrant(0, Left >> 1, Top >> 2);
    Quadrant(1, Pattern, Top >> 3);
    Quadrant(2, Left >> 3, Pattern);
    Quadrant(3, Pattern >> 2, Pattern >> 1);
    if (!HasChroma) return;
    const uint32_t Chroma = Pattern >> 4;
    Bin(Offset::kPatternChroma + (Left >> 4 != 0) + 2 * (Top >> 4 != 0), Chroma != 0);
    if (Chroma) Bin(Offset::kPatternChroma + 4 + (Left >> 4 == 2) + 2 * (Top >> 4 == 2), Chroma == 2);
}

} // namespace UMC_H264_ENCODER
