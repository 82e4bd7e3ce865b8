// Boundary strengths, clause 8.7.2.1.
#include "decoder/h264_deblocking.h"

namespace UMC {

namespace {

constexpr uint32_t kAllPieces = 0x01010101;

// Four bits to four bytes of 0 or 1.
uint32_t SpreadNibble(uint32_t Nibble) { return (Nibble & 15) * 0x00204081u & kAllPieces; }

// Rows of a 4x4 matrix of bits become columns.
uint32_t Transpose(uint32_t Bits)
{
    uint32_t t = (Bits ^ Bits >> 3) & 0x0A0A;
    Bits ^= t ^ t << 3;
    t = (Bits ^ Bits >> 6) & 0x00CC;
    return Bits ^ t ^ t << 6;
}

// 2 where a block is coded, else 1 where motion differs. Four bits an edge.
void SpreadEdges(uint32_t Coded, uint32_t Moves, uint32_t* pEdge)
{
    Moves &= ~Coded;
    for (int i = 0; i < 4; ++i) pEdge[i] = 2 * SpreadNibble(Coded >> (4 * i)) | SpreadNibble(Moves >> (4 * i));
}

} // namespace

bool H264Deblocker::VectorsDiffer(H264DecoderMotionVector a, H264DecoderMotionVector b) const
{
    const auto Far = [](int d, int Limit) { return static_cast<unsigned>(d + Limit - 1) > static_cast<unsigned>(2 * Limit - 2); };
    return Far(a.mvx - b.mvx, 4) | Far(a.mvy - b.mvy, m_MvLimit);
}

const H264DecoderRefPicList* H264Deblocker::ListsOf(int32_t Mb) const
{
    const int32_t SliceId = m_pGlobal[Mb].SliceId;
    const auto& Lists = m_Decoder.m_pFrame->m_RefPicLists[m_Decoder.m_IsBottom ? 1 : 0];
    return static_cast<size_t>(SliceId) < Lists.size() ? Lists[static_cast<size_t>(SliceId)].get() : nullptr;
}

namespace {

// A reference picture as a number that is equal for the same picture, of the same parity in fields. 0 for none.
uintptr_t PictureOf(const H264DecoderRefPicList* pLists, int List, int RefIdx, bool IsField)
{
    if (RefIdx < 0 || !pLists) return 0;
    const auto Frame = reinterpret_cast<uintptr_t>(pLists->List[List].Frame[RefIdx]);
    return Frame + (IsField && Frame ? static_cast<uintptr_t>(RefFlagField(pLists->List[List].Flag[RefIdx]) & 1) : 0);
}

} // namespace

bool H264Deblocker::BothListsDiffer(int32_t i, int32_t j, const H264DecoderRefPicList* pOther) const
{
    const H264MbInfo& Info = m_Decoder.m_MbInfo;
    const bool IsField = m_Decoder.m_IsField;
    uintptr_t a[2], b[2];
    for (int List = 0; List < 2; ++List) {
        a[List] = PictureOf(m_pLists, List, Info.m_pRefIdx[List][i], IsField);
        b[List] = PictureOf(pOther, List, Info.m_pRefIdx[List][j], IsField);
    }
    const bool Straight = a[0] == b[0] && a[1] == b[1], Crossed = a[0] == b[1] && a[1] == b[0];
    if (!Straight && !Crossed) return true;
    const auto Differs = [&](int ListA, int ListB) { // a list that is not used has no vector
        return Info.m_pRefIdx[ListA][i] >= 0 && VectorsDiffer(Info.m_pMv[ListA][i], Info.m_pMv[ListB][j]);
    };
    const bool StraightDiffers = Straight && (Differs(0, 0) || Differs(1, 1));
    if (!Crossed) return StraightDiffers;
    const bool CrossedDiffers = Differs(0, 1) || Differs(1, 0);
    return Straight ? StraightDiffers && CrossedDiffers : CrossedDiffers;
}

bool H264Deblocker::MotionDiffers(int32_t Mb, int Block, int32_t OtherMb, int OtherBlock,
                                  const H264DecoderRefPicList* pOther) const
{
    const H264MbInfo& Info = m_Decoder.m_MbInfo;
    const int32_t i = Mb * 16 + Block, j = OtherMb * 16 + OtherBlock;
    if (m_IsBSlice || (pOther != m_pLists && Info.m_pRefIdx[1][j] >= 0)) return BothListsDiffer(i, j, pOther);
    const int RefI = Info.m_pRefIdx[0][i], RefJ = Info.m_pRefIdx[0][j];
    if ((RefI != RefJ || pOther != m_pLists) && PictureOf(m_pLists, 0, RefI, m_Decoder.m_IsField) !=
                                                    PictureOf(pOther, 0, RefJ, m_Decoder.m_IsField))
        return true;
    return VectorsDiffer(Info.m_pMv[0][i], Info.m_pMv[0][j]);
}

// Bits 0..3: pieces of the outer edge across which motion differs.
uint32_t H264Deblocker::OuterBits(int32_t Mb, int32_t Neighbour, int Direction) const
{
    const H264DecoderRefPicList* const pOther = m_pGlobal[Neighbour].SliceId == m_pGlobal[Mb].SliceId ? m_pLists : ListsOf(Neighbour);
    const int Step = Direction == 0 ? 4 : 1, Across = Direction == 0 ? 3 : 12;
    if (m_pGlobal[Mb].MbFlags & m_pGlobal[Neighbour].MbFlags & MBFLAG_ONE_MOTION)
        return MotionDiffers(Mb, 0, Neighbour, Across, pOther) ? 15 : 0;
    uint32_t Bits = 0;
    for (int i = 0; i < 4; ++i)
        Bits |= uint32_t{MotionDiffers(Mb, i * Step, Neighbour, i * Step + Across, pOther)} << i;
    return Bits;
}

H264Deblocker::EdgeBits H264Deblocker::MotionBits(int32_t Mb, Outer Neighbours) const
{
    EdgeBits Bits{0, 0};
    if (Neighbours.Left >= 0 && !IsIntra(m_pGlobal[Neighbours.Left])) {
        const uint32_t Left = OuterBits(Mb, Neighbours.Left, 0);
        Bits.Vertical = (Left & 1) | (Left & 2) << 3 | (Left & 4) << 6 | (Left & 8) << 9;
    }
    if (Neighbours.Top >= 0 && !IsIntra(m_pGlobal[Neighbours.Top])) Bits.Horizontal = OuterBits(Mb, Neighbours.Top, 1);
    const MbGlobalInfo& Global = m_pGlobal[Mb];
    if (Global.MbFlags & MBFLAG_ONE_MOTION) return Bits;

    const auto Differs = [&](int a, int b) { return uint32_t{MotionDiffers(Mb, a, Mb, b, m_pLists)}; };
    if (Global.MbType == MBTYPE_INTER16x8) {
        Bits.Horizontal |= Differs(8, 4) * 0x0F00;
    } else if (Global.MbType == MBTYPE_INTER8x16) {
        Bits.Vertical |= Differs(2, 1) * 0x4444;
    } else {
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 4; ++x) {
                const int i = y * 4 + x;
                if (x > 0) Bits.Vertical |= Differs(i, i - 1) << i;
                if (y > 0) Bits.Horizontal |= Differs(i, i - 4) << i;
            }
    }
    return Bits;
}

H264Deblocker::EdgeBits H264Deblocker::CodedBits(int32_t Mb, Outer Neighbours) const
{
    const uint32_t Own = m_pLocal[Mb].CodedBlockBits & 0xFFFF;
    EdgeBits Bits{Own | (Own << 1 & 0xEEEE), (Own | Own << 4) & 0xFFFF};
    if (Neighbours.Left >= 0)
        Bits.Vertical |= m_pLocal[Neighbours.Left].CodedBlockBits >> 3 & 0x1111;
    else
        Bits.Vertical &= 0xEEEE;
    if (Neighbours.Top >= 0)
        Bits.Horizontal |= m_pLocal[Neighbours.Top].CodedBlockBits >> 12 & 15;
    else
        Bits.Horizontal &= 0xFFF0;
    return Bits;
}

DeblockingStrength H264Deblocker::IntraStrength(int32_t Mb, Outer Neighbours) const
{
    const uint32_t TopEdge = m_Decoder.m_IsField ? 3 * kAllPieces : 4 * kAllPieces;
    const uint32_t Odd = m_pGlobal[Mb].MbFlags & MBFLAG_TRANSFORM8x8 ? 0 : 3 * kAllPieces;
    return {{{Neighbours.Left >= 0 ? 4 * kAllPieces : 0, Odd, 3 * kAllPieces, Odd},
             {Neighbours.Top >= 0 ? TopEdge : 0, Odd, 3 * kAllPieces, Odd}}};
}

DeblockingStrength H264Deblocker::InterStrength(int32_t Mb, Outer Neighbours) const
{
    EdgeBits Coded = CodedBits(Mb, Neighbours), Moves = MotionBits(Mb, Neighbours);
    if (m_pGlobal[Mb].MbFlags & MBFLAG_TRANSFORM8x8) {
        Coded.Vertical &= 0x5555;
        Coded.Horizontal &= 0x0F0F;
        Moves.Vertical &= 0x5555;
        Moves.Horizontal &= 0x0F0F;
    }
    DeblockingStrength s{};
    if (Coded.Vertical | Moves.Vertical) SpreadEdges(Transpose(Coded.Vertical), Transpose(Moves.Vertical), s.Edge[0]);
    if (Coded.Horizontal | Moves.Horizontal) SpreadEdges(Coded.Horizontal, Moves.Horizontal, s.Edge[1]);
    if (Neighbours.Left >= 0 && IsIntra(m_pGlobal[Neighbours.Left])) s.Edge[0][0] = 4 * kAllPieces;
    if (Neighbours.Top >= 0 && IsIntra(m_pGlobal[Neighbours.Top]))
        s.Edge[1][0] = m_Decoder.m_IsField ? 3 * kAllPieces : 4 * kAllPieces;
    return s;
}

H264Deblocker::Outer H264Deblocker::FindOuter(int32_t Mb, int32_t X, int32_t Y) const
{
    const auto Find = [&](bool Inside, int32_t Neighbour) {
        if (!Inside) return -1;
        const uint16_t SliceId = m_pGlobal[Neighbour].SliceId;
        // Nothing was decoded there, or this slice keeps to itself.
        if (SliceId == kNoSlice || (m_WithinSlice && SliceId != m_pGlobal[Mb].SliceId)) return -1;
        return Neighbour;
    };
    return {Find(X > 0, Mb - 1), Find(Y > 0, Mb - m_Decoder.m_MbWidth)};
}

DeblockingStrength H264Deblocker::FindStrength(int32_t Number) const
{
    const int32_t Mb = Number + m_Decoder.m_FieldOffset;
    const Outer Neighbours = FindOuter(Mb, Number % m_Decoder.m_MbWidth, Number / m_Decoder.m_MbWidth);
    return IsIntra(m_pGlobal[Mb]) ? IntraStrength(Mb, Neighbours) : InterStrength(Mb, Neighbours);
}

} // namespace UMC
