// Boundary strengths, clause 8.7.2.1.
#include "decoder/macroblock/deblocking.h"

#include "Common/h264/block_order.h"
#include "Common/h264/boundary_strength.h"
#include "decoder/slice/mb_state.h"

namespace UMC {

namespace {

// Bit i to bit 4 * i.
constexpr uint16_t kColumn[16] = {0x0000, 0x0001, 0x0010, 0x0011, 0x0100, 0x0101, 0x0110, 0x0111,
                                  0x1000, 0x1001, 0x1010, 0x1011, 0x1100, 0x1101, 0x1110, 0x1111};

// A reference picture as a number that is equal for the same picture, of the same parity in fields. 0 for none.
uintptr_t PictureOf(const H264DecoderRefPicList* pLists, int List, int RefIdx, bool IsField)
{
    if (RefIdx < 0 || !pLists) return 0;
    const auto Frame = reinterpret_cast<uintptr_t>(pLists->List[List].Frame[RefIdx]);
    return Frame + (IsField && Frame ? static_cast<uintptr_t>(RefFlagField(pLists->List[List].Flag[RefIdx]) & 1) : 0);
}

} // namespace

void H264Deblocker::NumberPictures()
{
    for (int List = 0; List < 2; ++List)
        for (int RefIdx = -1; RefIdx < 32; ++RefIdx)
            m_PictureOf[List][RefIdx + 1] = PictureOf(m_pLists, List, RefIdx, m_Picture.IsField);
}

const H264DecoderRefPicList* H264Deblocker::ListsOf(int32_t Mb) const
{
    return m_pFrame->RefPicListOf(m_pGlobal[Mb].SliceId);
}

// Blocks i and j of the frame's arrays, i in this slice and j in one whose lists are pOther, with motion of list 0
// alone.
inline bool H264Deblocker::OneListDiffers(int32_t i, int32_t j, const H264DecoderRefPicList* pOther) const
{
    const int RefI = m_pRefIdx[0][i], RefJ = m_pRefIdx[0][j];
    if (RefI != RefJ || pOther != m_pLists) [[unlikely]]
        if (PictureOf(m_pLists, 0, RefI, m_Picture.IsField) != PictureOf(pOther, 0, RefJ, m_Picture.IsField))
            return true;
    return h264::VectorsDiffer(m_pMv[0][i], m_pMv[0][j], m_MvLimit);
}

template <bool kIsNumbered>
bool H264Deblocker::BothListsDiffer(int32_t i, int32_t j, const H264DecoderRefPicList* pOther) const
{
    const int RefI[2] = {m_pRefIdx[0][i], m_pRefIdx[1][i]}, RefJ[2] = {m_pRefIdx[0][j], m_pRefIdx[1][j]};
    const auto Number = [&](const H264DecoderRefPicList* pLists, int List, int RefIdx) {
        return kIsNumbered && pLists == m_pLists ? m_PictureOf[List][RefIdx + 1]
                                                 : PictureOf(pLists, List, RefIdx, m_Picture.IsField);
    };
    const uintptr_t a[2] = {Number(m_pLists, 0, RefI[0]), Number(m_pLists, 1, RefI[1])};
    const uintptr_t b[2] = {Number(pOther, 0, RefJ[0]), Number(pOther, 1, RefJ[1])};
    const bool Straight = a[0] == b[0] && a[1] == b[1], Crossed = a[0] == b[1] && a[1] == b[0];
    if (!Straight && !Crossed) return true;
    const auto Differs = [&](int ListA, int ListB) { // a list that is not used has no vector
        return RefI[ListA] >= 0 && h264::VectorsDiffer(m_pMv[ListA][i], m_pMv[ListB][j], m_MvLimit);
    };
    const bool StraightDiffers = Straight && (Differs(0, 0) || Differs(1, 1));
    if (!Crossed) return StraightDiffers;
    if (Straight && !StraightDiffers) return false;
    return Differs(0, 1) || Differs(1, 0);
}

template <bool kOneList>
inline bool H264Deblocker::MotionDiffers(int32_t i, int32_t j, const H264DecoderRefPicList* pOther) const
{
    // In a P slice list 1 can only be used across the border of another slice.
    if constexpr (kOneList)
        if (pOther == m_pLists || m_pRefIdx[1][j] < 0) return OneListDiffers(i, j, pOther);
    return BothListsDiffer<!kOneList>(i, j, pOther);
}

// Bits 0..3: pieces of the outer edge across which motion differs. Step leads from piece to piece, Across to the last
// row or column of the neighbour.
template <bool kOneList>
inline uint32_t H264Deblocker::OuterBits(int32_t Mb, int32_t Neighbour, int Step, int Across) const
{
    const bool SameSlice = m_pGlobal[Neighbour].SliceId == m_pGlobal[Mb].SliceId;
    const H264DecoderRefPicList* const pOther = SameSlice ? m_pLists : ListsOf(Neighbour);
    const int32_t i = Mb * 16, j = Neighbour * 16 + Across;
    if (m_pGlobal[Mb].MbFlags & m_pGlobal[Neighbour].MbFlags & MBFLAG_ONE_MOTION)
        return MotionDiffers<kOneList>(i, j, pOther) ? 15 : 0;
    uint32_t Bits = 0;
    for (int Piece = 0; Piece < 4; ++Piece)
        Bits |= uint32_t{MotionDiffers<kOneList>(i + Piece * Step, j + Piece * Step, pOther)} << Piece;
    return Bits;
}

template <bool kOneList>
H264Deblocker::EdgeBits H264Deblocker::InnerBits(int32_t Mb) const
{
    const auto Differs = [&](int a, int b) {
        return uint32_t{MotionDiffers<kOneList>(Mb * 16 + a, Mb * 16 + b, m_pLists)};
    };
    if (m_pGlobal[Mb].MbType == MBTYPE_INTER16x8) return {0, Differs(8, 4) * 0x0F00};
    if (m_pGlobal[Mb].MbType == MBTYPE_INTER8x16) return {Differs(2, 1) * 0x4444, 0};
    EdgeBits Bits{0, 0};
    for (int i = 0; i < 16; ++i) {
        if (i & 3) Bits.Vertical |= Differs(i, i - 1) << i;
        if (i > 3) Bits.Horizontal |= Differs(i, i - 4) << i;
    }
    return Bits;
}

inline H264Deblocker::EdgeBits H264Deblocker::CodedBits(const Place& p) const
{
    const uint32_t Own = m_pLocal[p.Mb].CodedBlockBits & 0xFFFF;
    EdgeBits Bits{Own | (Own << 1 & 0xEEEE), (Own | Own << 4) & 0xFFFF};
    if (p.Left >= 0)
        Bits.Vertical |= m_pLocal[p.Left].CodedBlockBits >> 3 & 0x1111;
    else
        Bits.Vertical &= 0xEEEE;
    if (p.Top >= 0)
        Bits.Horizontal |= m_pLocal[p.Top].CodedBlockBits >> 12 & 15;
    else
        Bits.Horizontal &= 0xFFF0;
    return Bits;
}

DeblockingStrength H264Deblocker::IntraStrength(const Place& p) const
{
    const uint32_t TopEdge = m_Picture.IsField ? h264::kIntraFieldTop : h264::kIntraOuter;
    const bool Transform8x8 = (m_pGlobal[p.Mb].MbFlags & MBFLAG_TRANSFORM8x8) != 0;
    DeblockingStrength s;
    h264::SetIntraStrengths(p.Left >= 0 ? h264::kIntraOuter : 0, Transform8x8, s.Edge[0]);
    h264::SetIntraStrengths(p.Top >= 0 ? TopEdge : 0, Transform8x8, s.Edge[1]);
    return s;
}

template <bool kOneList>
DeblockingStrength H264Deblocker::InterStrength(const Place& p) const
{
    const uint8_t Flags = m_pGlobal[p.Mb].MbFlags;
    const bool LeftIntra = p.Left >= 0 && IsIntra(m_pGlobal[p.Left]),
               TopIntra = p.Top >= 0 && IsIntra(m_pGlobal[p.Top]);
    EdgeBits Coded = CodedBits(p), Moves{0, 0};
    if (!(Flags & MBFLAG_ONE_MOTION)) Moves = InnerBits<kOneList>(p.Mb);
    if (p.Left >= 0 && !LeftIntra) Moves.Vertical |= kColumn[OuterBits<kOneList>(p.Mb, p.Left, 4, 3)];
    if (p.Top >= 0 && !TopIntra) Moves.Horizontal |= OuterBits<kOneList>(p.Mb, p.Top, 1, 12);
    if (Flags & MBFLAG_TRANSFORM8x8) {
        Coded.Vertical &= 0x5555;
        Coded.Horizontal &= 0x0F0F;
        Moves.Vertical &= 0x5555;
        Moves.Horizontal &= 0x0F0F;
    }
    DeblockingStrength s{};
    if (Coded.Vertical | Moves.Vertical)
        h264::SpreadStrengths(h264::TransposeBlocks(Coded.Vertical), h264::TransposeBlocks(Moves.Vertical), s.Edge[0]);
    if (Coded.Horizontal | Moves.Horizontal) h264::SpreadStrengths(Coded.Horizontal, Moves.Horizontal, s.Edge[1]);
    if (LeftIntra) s.Edge[0][0] = h264::kIntraOuter;
    if (TopIntra) s.Edge[1][0] = m_Picture.IsField ? h264::kIntraFieldTop : h264::kIntraOuter;
    return s;
}

DeblockingStrength H264Deblocker::FindStrength(const Place& p) const
{
    if (IsIntra(m_pGlobal[p.Mb])) return IntraStrength(p);
    return m_IsBSlice ? InterStrength<false>(p) : InterStrength<true>(p);
}

} // namespace UMC
