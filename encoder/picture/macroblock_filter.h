// The edge filter of one macroblock of the encoder's pictures (clause 8.7).
#pragma once

#include "Common/h264/block_order.h"
#include "Common/h264/boundary_strength.h"
#include "Common/h264/deblocking_thresholds.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"

#include <cstring>

namespace UMC_H264_ENCODER {

using kernels::EdgeParams;

// Strengths of the four edges of one direction.
struct EdgeStrengths {
    uint32_t Edge[4];
    bool Any() const { return (Edge[0] | Edge[1] | Edge[2] | Edge[3]) != 0; }
};

/// The filter of one macroblock. In frames of pairs it is that of a pair's macroblocks: see PairFilter.
template <class Sample>
class MacroblockFilter
{
public:
    MacroblockFilter(const EncoderSettings& Settings, const PictureJob<Sample>& Job, const SliceFacts<Sample>& s)
        : m_pPositions(Settings.Positions.data()), m_MbWidth(Settings.Layout.MbWidth),
          m_pLocal(Job.LocalMacroblocks.data() + Job.FirstMb),
          m_pGlobal(Job.pCurrent->mb_global + Job.FirstMb), m_pVectors{Job.pCurrent->mb_motion[0] + 16 * Job.FirstMb,
                                                                       Job.pCurrent->mb_motion[1] + 16 * Job.FirstMb},
          m_pReferences{Job.pCurrent->mb_reference[0] + 16 * Job.FirstMb,
                        Job.pCurrent->mb_reference[1] + 16 * Job.FirstMb},
          m_pIds(Job.pCurrent->reference_ids[Job.Structure == STRUCTURE_BOTTOM]), m_View(Job.Reconstruction),
          m_OffsetA((s.deblock_alpha >> 1) * 2), m_OffsetB((s.deblock_beta >> 1) * 2),
          m_FirstMb(s.deblock_idc == 2 ? s.first_mb : 0), m_DepthLuma(s.Syntax.BitDepthLuma),
          m_DepthChroma(s.Syntax.BitDepthChroma), m_IsISlice(s.slice_type == h264::SLICE_I),
          m_IsBSlice(s.slice_type == h264::SLICE_B), m_VectorLimit(s.IsField ? 2 : 4),
          m_IntraTop(s.IsField ? h264::kIntraFieldTop : h264::kIntraOuter),
          m_ChromaHeight(h264::kChromaGeometry[s.Syntax.chroma_format_idc].MbHeight)
    {
    }

    /// Number Index of the picture.
    void Filter(int32_t Index);

protected:
    struct CachedParams {
        int32_t QpOuter = kNoQp, QpInner = kNoQp;
        EdgeParams Params;
    };

    uint32_t Coded(int32_t Index) const { return h264::SwapBlockOrder(m_pLocal[Index].Coded & kCodedLuma); }
    // Whether two 4x4 blocks of inter macroblocks differ in motion.
    [[gnu::always_inline]] bool Moves(int32_t Block, int32_t Other) const
    {
        if (m_IsBSlice) return MovesB(Block, Other);
        return m_pReferences[0][Block] != m_pReferences[0][Other] ||
               h264::VectorsDiffer(m_pVectors[0][Block], m_pVectors[0][Other], m_VectorLimit);
    }
    [[gnu::noinline]] bool MovesB(int32_t Block, int32_t Other) const;
    int32_t PictureOf(int List, int32_t Block) const
    {
        const int8_t Ref = m_pReferences[List][Block];
        return Ref < 0 ? -1 : m_pIds[List][Ref >> m_CountsFields] + (Ref & m_CountsFields);
    }
    bool IsOfOneMotion(int32_t Index) const;
    [[gnu::noinline]] uint32_t InnerMoves(int32_t Index, bool IsVertical) const;
    uint32_t OuterMoves(int32_t Index, int32_t Neighbour, bool IsVertical) const;
    [[gnu::always_inline]] inline void Derive(int32_t Index, int32_t Left, int32_t Top, EdgeStrengths& Vertical,
                                              EdgeStrengths& Horizontal) const;
    void DeriveInter(int32_t Index, int32_t Left, int32_t Top, EdgeStrengths& Vertical,
                     EdgeStrengths& Horizontal) const;
    void SetThresholds(EdgeParams& p, size_t Slot, int32_t MeanQp) const;
    [[gnu::always_inline]] inline void SetParams(CachedParams& p, const EdgeStrengths& s, int32_t QpOuter,
                                                 int32_t QpInner) const;
    void Run(int32_t Index, int32_t Neighbour, const EdgeStrengths& s, bool IsVertical);

    const MacroblockPosition* m_pPositions;
    int32_t m_MbWidth;
    const LocalMacroblock* m_pLocal; // the picture's tables
    const GlobalMacroblock* m_pGlobal;
    const MotionVector* m_pVectors[2];
    const int8_t* m_pReferences[2];
    const int32_t (*m_pIds)[kMaxReferences]; // the pictures that references are
    PictureView<Sample> m_View;
    int32_t m_OffsetA, m_OffsetB; // FilterOffsetA, FilterOffsetB
    int32_t m_FirstMb;            // neighbours before it are left alone
    int32_t m_DepthLuma, m_DepthChroma;
    bool m_IsISlice, m_IsBSlice;
    // References count fields, one by one those of the frames that are numbered: field macroblocks of frames.
    int32_t m_CountsFields = 0;
    int32_t m_VectorLimit;  // quarter samples, vertically
    uint32_t m_IntraTop;    // strengths of a top edge beside intra samples
    int32_t m_ChromaHeight; // of a macroblock; 0 without chroma
    CachedParams m_Luma, m_Chroma;
};

// Which pictures are referred to counts, not by which list.
template <class Sample>
bool MacroblockFilter<Sample>::MovesB(int32_t Block, int32_t Other) const
{
    const int32_t a[2]{PictureOf(0, Block), PictureOf(1, Block)}, b[2]{PictureOf(0, Other), PictureOf(1, Other)};
    const auto Differ = [&](int List, int OtherList) {
        return h264::VectorsDiffer(m_pVectors[List][Block], m_pVectors[OtherList][Other], m_VectorLimit);
    };
    const bool IsStraight = a[0] == b[0] && a[1] == b[1], IsCrossed = a[0] == b[1] && a[1] == b[0];
    return !(IsStraight && !Differ(0, 0) && !Differ(1, 1)) && !(IsCrossed && !Differ(0, 1) && !Differ(1, 0));
}

template <class Sample>
bool MacroblockFilter<Sample>::IsOfOneMotion(int32_t Index) const
{
    const uint8_t Type = m_pGlobal[Index].Type;
    return Type == MB_INTER16X16 || Type == MB_SKIP_P;
}

// Bit 4 * e + i: piece i of inner edge e, 1..3.
template <class Sample>
uint32_t MacroblockFilter<Sample>::InnerMoves(int32_t Index, bool IsVertical) const
{
    const int32_t Across = IsVertical ? 1 : 4, Along = IsVertical ? 4 : 1;
    uint32_t Bits = 0;
    for (int32_t e = 1; e < 4; ++e)
        for (int32_t i = 0; i < 4; ++i) {
            const int32_t Block = 16 * Index + e * Across + i * Along;
            Bits |= (Moves(Block, Block - Across) ? 1u : 0u) << (4 * e + i);
        }
    return Bits;
}

// Bit i: piece i of the outer edge.
template <class Sample>
uint32_t MacroblockFilter<Sample>::OuterMoves(int32_t Index, int32_t Neighbour, bool IsVertical) const
{
    if (IsOfOneMotion(Index) && IsOfOneMotion(Neighbour)) return Moves(16 * Index, 16 * Neighbour) ? 15 : 0;
    const int32_t Across = IsVertical ? 1 : 4, Along = IsVertical ? 4 : 1;
    uint32_t Bits = 0;
    for (int32_t i = 0; i < 4; ++i)
        Bits |= (Moves(16 * Index + i * Along, 16 * Neighbour + 3 * Across + i * Along) ? 1u : 0u) << i;
    return Bits;
}

template <class Sample>
void MacroblockFilter<Sample>::DeriveInter(int32_t Index, int32_t Left, int32_t Top, EdgeStrengths& Vertical,
                                           EdgeStrengths& Horizontal) const
{
    const uint32_t Rows = Coded(Index), Columns = h264::TransposeBlocks(Rows);
    uint32_t CodedColumns = (Columns | Columns << 4) & 0xFFF0, CodedRows = (Rows | Rows << 4) & 0xFFF0;
    uint32_t MovesLeft = 0, MovesTop = 0;
    if (Left >= 0) {
        CodedColumns |= (Columns | h264::TransposeBlocks(Coded(Left)) >> 12) & 15;
        MovesLeft = OuterMoves(Index, Left, true);
    }
    if (Top >= 0) {
        CodedRows |= (Rows | Coded(Top) >> 12) & 15;
        MovesTop = OuterMoves(Index, Top, false);
    }
    if (!IsOfOneMotion(Index)) {
        MovesLeft |= InnerMoves(Index, true);
        MovesTop |= InnerMoves(Index, false);
    }
    if (CodedColumns | MovesLeft) h264::SpreadStrengths(CodedColumns, MovesLeft, Vertical.Edge);
    if (CodedRows | MovesTop) h264::SpreadStrengths(CodedRows, MovesTop, Horizontal.Edge);
    if (Left >= 0 && IsIntra(m_pGlobal[Left].Type)) Vertical.Edge[0] = h264::kIntraOuter;
    if (Top >= 0 && IsIntra(m_pGlobal[Top].Type)) Horizontal.Edge[0] = m_IntraTop;
}

template <class Sample>
void MacroblockFilter<Sample>::SetThresholds(EdgeParams& p, size_t Slot, int32_t MeanQp) const
{
    const h264::DeblockingThresholds t = h264::FindDeblockingThresholds(MeanQp, m_OffsetA, m_OffsetB);
    p.Alpha[Slot] = t.Alpha;
    p.Beta[Slot] = t.Beta;
    std::memcpy(p.Clip[Slot], t.Clip, sizeof(t.Clip));
}

// Thresholds of an edge pair; those of the edge before mostly serve again, as the QP seldom changes.
template <class Sample>
void MacroblockFilter<Sample>::SetParams(CachedParams& p, const EdgeStrengths& s, int32_t QpOuter,
                                         int32_t QpInner) const
{
    if (p.QpOuter != QpOuter || p.QpInner != QpInner) {
        SetThresholds(p.Params, 0, QpOuter);
        SetThresholds(p.Params, 1, QpInner);
        p.QpOuter = QpOuter;
        p.QpInner = QpInner;
    }
    std::memcpy(p.Params.Strength, s.Edge, sizeof(p.Params.Strength));
}

template <class Sample>
void MacroblockFilter<Sample>::Run(int32_t Index, int32_t Neighbour, const EdgeStrengths& s, bool IsVertical)
{
    const GlobalMacroblock& Own = m_pGlobal[Index];
    const GlobalMacroblock& Other = m_pGlobal[Neighbour >= 0 ? Neighbour : Index];
    const MacroblockPosition& At = m_pPositions[Index];
    SetParams(m_Luma, s, (Own.Qp + Other.Qp + 1) >> 1, Own.Qp);
    // With the 8x8 transform the odd edges lie inside blocks of luma, but not of chroma.
    if (Own.Flags & kFlagTransform8x8)
        for (const int Edge : {1, 3}) std::memset(m_Luma.Params.Strength + 4 * Edge, 0, 4);
    Kernels<Sample>.FilterLuma(IsVertical, m_View.pY + At.Luma, m_View.Pitch, &m_Luma.Params, m_DepthLuma);
    const bool HasAllEdges = m_ChromaHeight == 16 && !IsVertical;
    if (m_ChromaHeight == 0 || !(s.Edge[0] | s.Edge[2] | (HasAllEdges ? s.Edge[1] | s.Edge[3] : 0))) return;
    SetParams(m_Chroma, s, (Own.QpChroma + Other.QpChroma + 1) >> 1, Own.QpChroma);
    Kernels<Sample>.FilterChroma(IsVertical, m_ChromaHeight, m_View.pU + At.Chroma, m_View.pV + At.Chroma, m_View.Pitch,
                                 &m_Chroma.Params, &m_Chroma.Params, m_DepthChroma);
}

template <class Sample>
[[gnu::always_inline]] inline void MacroblockFilter<Sample>::Derive(int32_t Index, int32_t Left, int32_t Top,
                                                                    EdgeStrengths& Vertical,
                                                                    EdgeStrengths& Horizontal) const
{
    if (m_IsISlice || IsIntra(m_pGlobal[Index].Type)) {
        h264::SetIntraStrengths(Left >= 0 ? h264::kIntraOuter : 0, false, Vertical.Edge);
        h264::SetIntraStrengths(Top >= 0 ? m_IntraTop : 0, false, Horizontal.Edge);
    } else {
        DeriveInter(Index, Left, Top, Vertical, Horizontal);
    }
}

template <class Sample>
void MacroblockFilter<Sample>::Filter(int32_t Index)
{
    const MacroblockPosition& At = m_pPositions[Index];
    const int32_t w = m_MbWidth;
    const int32_t Left = At.X > 0 && Index - 1 >= m_FirstMb ? Index - 1 : -1;
    const int32_t Top = At.Y > 0 && Index - w >= m_FirstMb ? Index - w : -1;
    EdgeStrengths Vertical{}, Horizontal{};
    Derive(Index, Left, Top, Vertical, Horizontal);
    if (Vertical.Any()) Run(Index, Left, Vertical, true);
    if (Horizontal.Any()) Run(Index, Top, Horizontal, false);
}

} // namespace UMC_H264_ENCODER
