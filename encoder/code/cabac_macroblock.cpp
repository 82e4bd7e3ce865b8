#include "encoder/code/cabac_macroblock.h"

#include "Common/h264/h264_tables.h"

#include <algorithm>
#include <cstdlib>

namespace UMC_H264_ENCODER {

namespace {

// First context of each element (Table 9-34).
constexpr uint32_t kCtxMbTypeI = 3, kCtxSkipP = 11, kCtxMbTypeP = 14, kCtxMbTypeIntraInP = 17;
constexpr uint32_t kCtxMvdX = 40, kCtxMvdY = 47, kCtxRefIdx = 54, kCtxQpDelta = 60, kCtxChromaMode = 64;
constexpr uint32_t kCtxPrevIntraMode = 68, kCtxRemIntraMode = 69, kCtxPatternLuma = 73, kCtxPatternChroma = 77;

enum BlockCat : uint32_t { CAT_LUMA_DC, CAT_LUMA_AC, CAT_LUMA, CAT_CHROMA_DC, CAT_CHROMA_AC };

// The rest of a value from its unary prefix on, in Exp-Golomb code of order k (clause 9.3.2.3), all bypass bins.
template <class Coder>
void EncodeEscape(Coder& Arithmetic, uint32_t Rest, uint32_t k)
{
    while (Rest >= 1u << k) {
        Arithmetic.EncodeBypass(1);
        Rest -= 1u << k++;
    }
    Arithmetic.EncodeBypass(0);
    while (k--) Arithmetic.EncodeBypass(Rest >> k & 1);
}

template <class Core, class Coder>
class CabacMacroblock
{
public:
    CabacMacroblock(const Core& c, typename Core::Slice& s, Coder& Arithmetic, CabacContexts& Contexts)
        : m_c(c), m_s(s), m_mb(s.cur_mb), m_Coder(Arithmetic), m_pContexts(Contexts.data()), m_pLeft(Local(m_mb.left)),
          m_pTop(Local(m_mb.top)), m_bIntra(IsIntra(m_mb.global->Type))
    {
    }

    void Write();

private:
    using Mb = CurrentMacroblock<typename Core::Pix>;

    void Bin(uint32_t Context, uint32_t Value) { m_Coder.EncodeBin(m_pContexts[Context], Value); }
    const LocalMacroblock* Local(int32_t Index) const
    {
        return Index < 0 ? nullptr : &m_c.local_macroblocks[static_cast<size_t>(Index)];
    }
    uint8_t TypeOf(int32_t Index) const { return m_c.current->mb_global[Index].Type; }

    void WriteSkipFlag();
    void WriteIntraType(uint32_t First, uint32_t Step);
    void WriteTypeI();
    void WriteTypeP();
    void WriteIntra4x4Modes();
    void WriteChromaMode();
    void WriteReference();
    void WriteVector();
    void WriteVectorComponent(uint32_t First, int32_t Value, int32_t NeighbourSum);
    void WritePattern();
    void WriteQpDelta();
    void WriteResidual();
    void WriteLuma(BlockCat Cat, const BlockLevels* pLevels);
    void WriteChromaAc();
    void WriteDcBlock(BlockCat Cat, uint32_t CodedBit, const BlockLevels& Levels, uint32_t Positions);
    void WriteLevels(BlockCat Cat, const BlockLevels& Levels, uint32_t Positions);

    // Coded bit of the left or upper macroblock; an absent one counts as coded for an intra macroblock.
    uint32_t CodedOf(const LocalMacroblock* pNeighbour, uint32_t Bit) const
    {
        return pNeighbour ? (pNeighbour->Coded & Bit ? 1u : 0u) : m_bIntra;
    }

    const Core& m_c;
    typename Core::Slice& m_s;
    const Mb& m_mb;
    Coder& m_Coder;
    uint8_t* m_pContexts;
    const LocalMacroblock *m_pLeft, *m_pTop; // null when not available
    uint32_t m_bIntra;
};

template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::WriteSkipFlag()
{
    const uint32_t Left = m_mb.left >= 0 && TypeOf(m_mb.left) != MB_SKIP_P;
    const uint32_t Top = m_mb.top >= 0 && TypeOf(m_mb.top) != MB_SKIP_P;
    Bin(kCtxSkipP + Left + Top, m_mb.global->Type == MB_SKIP_P);
}

// Everything of an intra mb_type behind its first bin. Step: contexts advance by one in I slices only.
template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::WriteIntraType(uint32_t First, uint32_t Step)
{
    if (m_mb.global->Type == MB_INTRA4X4) return;
    m_Coder.EncodeTerminate(0); // not I_PCM
    const uint32_t Chroma = m_mb.local->Pattern >> 4, Mode = m_mb.local->Intra16Mode;
    Bin(First, (m_mb.local->Pattern & 15) != 0);
    Bin(First + 1, Chroma != 0);
    if (Chroma != 0) Bin(First + 1 + Step, Chroma >> 1);
    Bin(First + 2 + Step, Mode >> 1);
    Bin(First + 2 + 2 * Step, Mode & 1);
}

template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::WriteTypeI()
{
    const uint32_t Left = m_mb.left >= 0 && TypeOf(m_mb.left) != MB_INTRA4X4;
    const uint32_t Top = m_mb.top >= 0 && TypeOf(m_mb.top) != MB_INTRA4X4;
    Bin(kCtxMbTypeI + Left + Top, m_mb.global->Type != MB_INTRA4X4);
    WriteIntraType(kCtxMbTypeI + 3, 1);
}

template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::WriteTypeP()
{
    Bin(kCtxMbTypeP, m_bIntra);
    if (m_bIntra) {
        Bin(kCtxMbTypeIntraInP, m_mb.global->Type != MB_INTRA4X4);
        WriteIntraType(kCtxMbTypeIntraInP + 1, 0);
    } else { // P_L0_16x16
        Bin(kCtxMbTypeP + 1, 0);
        Bin(kCtxMbTypeP + 2, 0);
    }
}

template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::WriteIntra4x4Modes()
{
    const uint8_t* const pModes = m_mb.intra_modes;
    const uint8_t* const pAll = m_c.intra_modes.data();
    for (uint32_t Index = 0; Index < 16; ++Index) {
        const int32_t r = h264::kBlockRaster[Index], bx = r & 3, by = r >> 2;
        int32_t Left = -1, Top = -1;
        if (bx > 0)
            Left = pModes[r - 1];
        else if (m_mb.left >= 0)
            Left = pAll[m_mb.left * 16 + r + 3];
        if (by > 0)
            Top = pModes[r - 4];
        else if (m_mb.top >= 0)
            Top = pAll[m_mb.top * 16 + r + 12];
        const int32_t Least = std::min(Left, Top);
        const int32_t Predicted = Least < 0 ? kIntra4x4Dc : Least, Mode = pModes[r];
        Bin(kCtxPrevIntraMode, Mode == Predicted);
        if (Mode == Predicted) continue;
        const auto Rem = static_cast<uint32_t>(Mode < Predicted ? Mode : Mode - 1);
        for (uint32_t Bit = 0; Bit < 3; ++Bit) Bin(kCtxRemIntraMode, Rem >> Bit & 1);
    }
}

template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::WriteChromaMode()
{
    // Inter macroblocks keep mode 0 in the table, which is what they count as.
    const uint32_t Left = m_pLeft && m_pLeft->ChromaMode != 0, Top = m_pTop && m_pTop->ChromaMode != 0;
    const uint32_t Mode = m_mb.local->ChromaMode;
    Bin(kCtxChromaMode + Left + Top, Mode > 0);
    if (Mode == 0) return;
    Bin(kCtxChromaMode + 3, Mode > 1);
    if (Mode > 1) Bin(kCtxChromaMode + 3, Mode > 2);
}

template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::WriteReference()
{
    if (m_s.num_ref_idx_l0 <= 1) return;
    const int8_t* const pRefs = m_c.current->mb_reference[0];
    const uint32_t Left = m_mb.left >= 0 && pRefs[m_mb.left * 16 + 3] > 0;
    const uint32_t Top = m_mb.top >= 0 && pRefs[m_mb.top * 16 + 12] > 0;
    uint32_t Context = kCtxRefIdx + Left + 2 * Top;
    int32_t Ref = m_mb.ref[0][0];
    for (; Ref > 0; --Ref) {
        Bin(Context, 1);
        Context = Context < kCtxRefIdx + 4 ? kCtxRefIdx + 4 : kCtxRefIdx + 5;
    }
    Bin(Context, 0);
}

template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::WriteVectorComponent(uint32_t First, int32_t Value, int32_t NeighbourSum)
{
    constexpr uint32_t kPrefixMax = 9;
    uint32_t Context = First + (NeighbourSum > 32 ? 2 : NeighbourSum > 2 ? 1 : 0);
    const auto Magnitude = static_cast<uint32_t>(std::abs(Value));
    for (uint32_t i = 0; i < std::min(Magnitude, kPrefixMax); ++i) {
        Bin(Context, 1);
        Context = First + std::min(3 + i, 6u);
    }
    if (Magnitude < kPrefixMax)
        Bin(Context, 0);
    else
        EncodeEscape(m_Coder, Magnitude - kPrefixMax, 3);
    if (Magnitude) m_Coder.EncodeBypass(Value < 0);
}

template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::WriteVector()
{
    const MotionVector* const pDifferences = m_c.vector_differences[0].data();
    const MotionVector None{0, 0};
    const MotionVector Left = m_mb.left >= 0 ? pDifferences[m_mb.left * 16 + 3] : None;
    const MotionVector Top = m_mb.top >= 0 ? pDifferences[m_mb.top * 16 + 12] : None;
    const MotionVector d = m_mb.mvd[0][0];
    WriteVectorComponent(kCtxMvdX, d.x, std::abs(Left.x) + std::abs(Top.x));
    WriteVectorComponent(kCtxMvdY, d.y, std::abs(Left.y) + std::abs(Top.y));
}

template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::WritePattern()
{
    const uint32_t Pattern = m_mb.local->Pattern;
    // A neighbouring quadrant counts when it is there and its bit is 0; one that is not there counts as coded.
    const uint32_t Left = m_pLeft ? m_pLeft->Pattern : 15, Top = m_pTop ? m_pTop->Pattern : 15;
    const auto Quadrant = [&](uint32_t q, uint32_t A, uint32_t B) {
        Bin(kCtxPatternLuma + (A & 1 ? 0 : 1) + (B & 1 ? 0 : 2), Pattern >> q & 1);
    };
    Quadrant(0, Left >> 1, Top >> 2);
    Quadrant(1, Pattern, Top >> 3);
    Quadrant(2, Left >> 3, Pattern);
    Quadrant(3, Pattern >> 2, Pattern >> 1);

    const uint32_t Chroma = Pattern >> 4;
    const uint32_t LeftChroma = m_pLeft ? m_pLeft->Pattern >> 4 : 0, TopChroma = m_pTop ? m_pTop->Pattern >> 4 : 0;
    Bin(kCtxPatternChroma + (LeftChroma != 0) + 2 * (TopChroma != 0), Chroma != 0);
    if (Chroma) Bin(kCtxPatternChroma + 4 + (LeftChroma == 2) + 2 * (TopChroma == 2), Chroma == 2);
}

template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::WriteQpDelta()
{
    const int32_t Delta = m_mb.local->Qp - m_s.slice_qp;
    m_mb.local->QpDelta = static_cast<int8_t>(Delta);
    uint32_t Context = kCtxQpDelta + (m_s.last_qp_delta != 0);
    for (int32_t Ones = Delta > 0 ? 2 * Delta - 1 : -2 * Delta; Ones > 0; --Ones) {
        Bin(Context, 1);
        Context = Context < kCtxQpDelta + 2 ? kCtxQpDelta + 2 : kCtxQpDelta + 3;
    }
    Bin(Context, 0);
    m_s.last_qp_delta = Delta;
    m_s.slice_qp = m_mb.local->Qp;
}

template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::WriteLevels(BlockCat Cat, const BlockLevels& Levels, uint32_t Positions)
{
    const h264::BlockCatContexts& Ctx = h264::kBlockCatContexts[Cat];
    // A copy that nothing else can point to stays in registers.
    Coder Arithmetic = m_Coder;
    uint8_t* const pSignificant = m_pContexts + Ctx.Significant[0];
    uint8_t* const pLast = m_pContexts + Ctx.Last[0];
    const uint32_t Count = Levels.Count;
    uint32_t Position = 0;
    for (uint32_t i = 0; i < Count; ++i, ++Position) {
        const uint32_t Next = Levels.Position[i];
        // Chroma DC has three positions of its own, so its context is the position as well (NumC8x8 is 1).
        for (; Position < Next; ++Position) Arithmetic.EncodeBin(pSignificant[Position], 0);
        if (Position == Positions - 1) break; // the last one needs no flag
        Arithmetic.EncodeBin(pSignificant[Position], 1);
        Arithmetic.EncodeBin(pLast[Position], i + 1 == Count);
    }
    uint8_t* const pAbs = m_pContexts + Ctx.AbsLevel;
    const uint32_t GreaterMax = Cat == CAT_CHROMA_DC ? 3 : 4;
    uint32_t Ones = 0, Greater = 0;
    for (uint32_t i = Count; i-- > 0;) {
        const int32_t Level = Levels.Level[i];
        const auto Minus1 = static_cast<uint32_t>(std::abs(Level)) - 1;
        uint8_t& First = pAbs[Greater ? 0 : std::min(4u, 1 + Ones)];
        if (Minus1 == 0) {
            Arithmetic.EncodeBin(First, 0);
            ++Ones;
        } else {
            constexpr uint32_t kPrefixMax = 14;
            Arithmetic.EncodeBin(First, 1);
            uint8_t& Other = pAbs[5 + std::min(GreaterMax, Greater)];
            for (uint32_t b = 1; b < std::min(Minus1, kPrefixMax); ++b) Arithmetic.EncodeBin(Other, 1);
            if (Minus1 < kPrefixMax)
                Arithmetic.EncodeBin(Other, 0);
            else
                EncodeEscape(Arithmetic, Minus1 - kPrefixMax, 0);
            ++Greater;
        }
        Arithmetic.EncodeBypass(Level < 0);
    }
    m_Coder = Arithmetic;
}

template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::WriteLuma(BlockCat Cat, const BlockLevels* pLevels)
{
    const uint32_t Coded = m_mb.local->Coded;
    const uint32_t Flags = h264::kBlockCatContexts[Cat].CodedBlockFlag;
    const uint32_t Absent = m_bIntra ? 0xFFFF : 0;
    const uint32_t Current = SwapBlockOrder(Coded & kCodedLuma);
    // Bit r: the block left of (above) raster block r is coded.
    const uint32_t LeftBits = m_pLeft ? SwapBlockOrder(m_pLeft->Coded & kCodedLuma) : Absent;
    const uint32_t TopBits = m_pTop ? SwapBlockOrder(m_pTop->Coded & kCodedLuma) : Absent;
    const uint32_t Left = (Current << 1 & 0xEEEE) | (LeftBits >> 3 & 0x1111);
    const uint32_t Top = (Current << 4 & 0xFFF0) | (TopBits >> 12);
    for (uint32_t Quadrant = 0; Quadrant < 4; ++Quadrant) {
        if (!(m_mb.local->Pattern >> Quadrant & 1)) continue;
        for (uint32_t Index = 4 * Quadrant; Index < 4 * Quadrant + 4; ++Index) {
            const uint32_t r = h264::kBlockRaster[Index], Bit = Coded >> Index & 1;
            Bin(Flags + (Left >> r & 1) + 2 * (Top >> r & 1), Bit);
            if (Bit) WriteLevels(Cat, pLevels[Index], Cat == CAT_LUMA ? 16 : 15);
        }
    }
}

template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::WriteDcBlock(BlockCat Cat, uint32_t CodedBit, const BlockLevels& Levels,
                                                uint32_t Positions)
{
    const uint32_t Bit = m_mb.local->Coded & CodedBit ? 1 : 0;
    Bin(h264::kBlockCatContexts[Cat].CodedBlockFlag + CodedOf(m_pLeft, CodedBit) + 2 * CodedOf(m_pTop, CodedBit), Bit);
    if (Bit) WriteLevels(Cat, Levels, Positions);
}

template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::WriteChromaAc()
{
    const uint32_t Flags = h264::kBlockCatContexts[CAT_CHROMA_AC].CodedBlockFlag;
    for (uint32_t Plane = 0; Plane < 2; ++Plane) {
        const uint32_t Shift = static_cast<uint32_t>(Plane ? kCodedCrShift : kCodedCbShift);
        for (uint32_t Block = 0; Block < 4; ++Block) {
            const uint32_t Own = m_mb.local->Coded >> Shift;
            const uint32_t Left = Block & 1 ? Own >> (Block - 1) & 1 : CodedOf(m_pLeft, 1u << (Shift + Block + 1));
            const uint32_t Top = Block & 2 ? Own >> (Block - 2) & 1 : CodedOf(m_pTop, 1u << (Shift + Block + 2));
            Bin(Flags + Left + 2 * Top, Own >> Block & 1);
            if (Own >> Block & 1) WriteLevels(CAT_CHROMA_AC, m_s.work_area.ChromaAcLevels[Plane][Block], 15);
        }
    }
}

template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::WriteResidual()
{
    const auto& w = m_s.work_area;
    const uint8_t Type = m_mb.global->Type;
    if (Type == MB_INTRA16X16) {
        WriteDcBlock(CAT_LUMA_DC, kCodedLumaDc, w.LumaDcLevels, 16);
        WriteLuma(CAT_LUMA_AC, w.LumaLevels);
    } else {
        WriteLuma(CAT_LUMA, Type == MB_INTRA4X4 ? w.Intra4x4Levels : w.LumaLevels);
    }
    const uint32_t Chroma = m_mb.local->Pattern >> 4;
    if (Chroma == 0) return;
    WriteDcBlock(CAT_CHROMA_DC, kCodedCbDc, w.ChromaDcLevels[0], 4);
    WriteDcBlock(CAT_CHROMA_DC, kCodedCrDc, w.ChromaDcLevels[1], 4);
    if (Chroma == 2) WriteChromaAc();
}

template <class Core, class Coder>
void CabacMacroblock<Core, Coder>::Write()
{
    const uint8_t Type = m_mb.global->Type;
    if (m_s.slice_type == SLICE_P) WriteSkipFlag();
    if (Type == MB_SKIP_P) {
        m_s.last_qp_delta = 0;
        return;
    }
    if (m_s.slice_type == SLICE_P)
        WriteTypeP();
    else
        WriteTypeI();
    if (m_bIntra) {
        if (Type == MB_INTRA4X4) WriteIntra4x4Modes();
        WriteChromaMode();
    } else {
        WriteReference();
        WriteVector();
    }
    if (Type != MB_INTRA16X16) WritePattern();
    if (m_mb.local->Pattern == 0 && Type != MB_INTRA16X16) {
        m_s.last_qp_delta = 0;
        return;
    }
    WriteQpDelta();
    WriteResidual();
}

} // namespace

template <class Core, class Coder>
void WriteMacroblockCabac(const Core& c, typename Core::Slice& s, Coder& Arithmetic, CabacContexts& Contexts)
{
    CabacMacroblock<Core, Coder>(c, s, Arithmetic, Contexts).Write();
}

template void WriteMacroblockCabac(const PictureJob<uint8_t>&, SliceContext<uint8_t>&, ArithmeticCoder&,
                                   CabacContexts&);
template void WriteMacroblockCabac(const PictureJob<uint8_t>&, SliceContext<uint8_t>&, CountingCoder&, CabacContexts&);

} // namespace UMC_H264_ENCODER
