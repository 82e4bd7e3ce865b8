// The elements of a macroblock as bins (clause 9.3.2), with the contexts that its neighbours select (clause 9.3.3.1).
#pragma once

#include "Common/h264/block_order.h"
#include "Common/h264/mb_type.h"
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
    CabacSyntax(BasicCabacCoder<Output>& Coder, const NeighbourCache& Around, bool IsIntraMb)
        : m_Coder(Coder), m_Around(Around), m_IsIntraMb(IsIntraMb)
    {
    }

    void Skip(bool IsSkip)
    {
        Bin(Offset::kSkipP + Differs(m_Around.LeftType, MB_SKIP_P) + Differs(m_Around.TopType, MB_SKIP_P), IsSkip);
    }
    void MbTypeI(uint32_t Type)
    {
        Bin(Offset::kMbTypeI + Differs(m_Around.LeftType, MB_INTRA4X4) + Differs(m_Around.TopType, MB_INTRA4X4),
            Type != 0);
        if (Type != 0) Intra16x16Type(Offset::kMbTypeI + 3, 1, Type - 1);
    }
    void MbTypeP(uint32_t Type)
    {
        if (Type == 0) { // P_L0_16x16
            for (uint32_t i = 0; i < 3; ++i) Bin(Offset::kMbTypeP + i, 0);
            return;
        }
        Bin(Offset::kMbTypeP, 1);
        const uint32_t Intra = Type - h264::kFirstIntraTypeP;
        Bin(Offset::kMbTypeIntraInP, Intra != h264::kIntraNxNType);
        if (Intra != h264::kIntraNxNType)
            Intra16x16Type(Offset::kMbTypeIntraInP + 1, 0, Intra - h264::kFirstIntra16x16Type);
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
    void RefIdx(uint32_t Ref, uint32_t)
    {
        const NeighbourMotion& n = m_Around.Motion[0];
        uint32_t Context = Offset::kRefIdx + (n.LeftRefs[0] > 0) + 2 * (n.TopRefs[0] > 0);
        for (; Ref > 0; --Ref) {
            Bin(Context, 1);
            Context = Context < Offset::kRefIdx + 4 ? Offset::kRefIdx + 4 : Offset::kRefIdx + 5;
        }
        Bin(Context, 0);
    }
    void Difference(MotionVector d)
    {
        const NeighbourMotion& n = m_Around.Motion[0];
        const MotionVector Left = n.LeftDifferences[0], Top = n.TopDifferences[0];
        Component(m_Coder, Offset::kMvdX, d.x, std::abs(Left.x) + std::abs(Top.x));
        Component(m_Coder, Offset::kMvdY, d.y, std::abs(Left.y) + std::abs(Top.y));
    }
    void CodedBlockPattern(uint32_t Pattern, bool IsIntraMb);
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

    template <class LevelType>
    void LumaDc(const BlockLevels<LevelType>* pLevels)
    {
        if (DcFlag(h264::CAT_LUMA_DC, kCodedLumaDc, pLevels)) m_Coder.Levels(h264::CAT_LUMA_DC, *pLevels, 16);
    }
    template <class LevelType>
    void ChromaDc(uint32_t Plane, uint32_t Blocks, const BlockLevels<LevelType>* pLevels)
    {
        if (!DcFlag(h264::CAT_CHROMA_DC, Plane ? kCodedCrDc : kCodedCbDc, pLevels)) return;
        if (Blocks == 4)
            m_Coder.Levels(h264::CAT_CHROMA_DC, *pLevels, 4);
        else
            m_Coder.ChromaDc422Levels(*pLevels);
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
    // An absent neighbour's blocks count as coded for an intra macroblock.
    uint32_t CodedOf(kernels::IntraAvailable Which, const LocalMacroblock* pNeighbour) const
    {
        return m_IsIntraMb && !m_Around.Has(Which) ? ~0u : pNeighbour->Coded;
    }

    // Type: of 24, behind the first bin. Step: contexts advance by one in I slices only.
    void Intra16x16Type(uint32_t First, uint32_t Step, uint32_t Type);
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
        if (pLevels) m_Coder.Levels(Cat, *pLevels, Positions);
    }

    BasicCabacCoder<Output>& m_Coder;
    const NeighbourCache& m_Around;
    bool m_IsIntraMb;
    uint32_t m_Left = 0, m_Top = 0; // bit of a block: the one left of it, or above, is coded
};

template <class Output>
void CabacSyntax<Output>::Intra16x16Type(uint32_t First, uint32_t Step, uint32_t Type)
{
    const uint32_t Chroma = Type / 4 % 3;
    m_Coder.Arithmetic.EncodeTerminate(0); // not I_PCM
    Bin(First, Type >= 12);
    Bin(First + 1, Chroma != 0);
    if (Chroma != 0) Bin(First + 1 + Step, Chroma >> 1);
    Bin(First + 2 + Step, Type >> 1 & 1);
    Bin(First + 2 + 2 * Step, Type & 1);
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
void CabacSyntax<Output>::CodedBlockPattern(uint32_t Pattern, bool)
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
    const uint32_t Chroma = Pattern >> 4;
    Bin(Offset::kPatternChroma + (Left >> 4 != 0) + 2 * (Top >> 4 != 0), Chroma != 0);
    if (Chroma) Bin(Offset::kPatternChroma + 4 + (Left >> 4 == 2) + 2 * (Top >> 4 == 2), Chroma == 2);
}

} // namespace UMC_H264_ENCODER
