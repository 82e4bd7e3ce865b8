#include "decoder/entropy/direct.h"

#include "decoder/entropy/motion.h"

#include <algorithm>
#include <cstring>

namespace UMC {

namespace {

constexpr int8_t kCornerBlock[4] = {0, 3, 12, 15}; // raster place of the 4x4 block in a quadrant's outer corner

struct Motion {
    int Ref[2];
    h264::MotionVector Mv[2];
};

void FillMotion(MotionState& m, int Pos, int Size, const Motion& From)
{
    for (int List = 0; List < 2; ++List) {
        FillRef(m.Cache[List], Pos, Size, Size, From.Ref[List]);
        FillMv(m.Cache[List], Pos, Size, Size, From.Mv[List]);
    }
}

uint8_t DirectionOf(int Ref0, int Ref1) { return Ref1 < 0 ? 0 : Ref0 < 0 ? 1 : 2; }

// Runs Derive(raster block of the co-located macroblock) for each part of the quadrants: one 8x8 block that goes by its
// corner with direct_8x8_inference_flag, else four 4x4 blocks.
template <class F>
void ForEachPart(const SliceView& s, const MbState& Mb, MotionState& m, uint32_t Quadrants, F&& Derive)
{
    const bool Inference = s.pSequenceSet->direct_8x8_inference_flag != 0;
    for (int q = 0; q < 4; ++q) {
        if (!(Quadrants >> q & 1)) continue;
        if (Inference) {
            FillMotion(m, kBlockCachePos[q * 4], 2, Derive(kCornerBlock[q]));
        } else {
            for (int i = q * 4; i < q * 4 + 4; ++i) FillMotion(m, kBlockCachePos[i], 1, Derive(h264::kBlockRaster[i]));
        }
        const int8_t* const pRef0 = m.Cache[0].Ref + kBlockCachePos[q * 4];
        const int8_t* const pRef1 = m.Cache[1].Ref + kBlockCachePos[q * 4];
        Mb.pGlobal->SubBlockType[q] = static_cast<uint8_t>(SUBTYPE_DIRECT | (Inference ? SHAPE_WHOLE : SHAPE_QUARTERS));
        Mb.pLocal->SubBlockDirection[q] = DirectionOf(*pRef0, *pRef1);
    }
}

// Table 8-8 in a picture of the other kind: the block, in the frame's arrays, that is co-located with the corner block
// Block of a quadrant. The vertical halves of a field macroblock lie in a frame macroblock each, those of a frame
// macroblock share a half of a field macroblock.
struct ColPlace {
    int32_t Mb;
    int Block;
};
ColPlace PlaceInOtherKind(const SliceView& s, const MbState& Mb, int32_t FirstMb, int Block)
{
    const int Column = Block & 3, Half = Block / 8, Width = s.Picture.MbWidth;
    if (s.Picture.IsField) return {(2 * Mb.Y + Half) * Width + Mb.X, Half * 8 + Column};
    return {FirstMb + Mb.Y / 2 * Width + Mb.X, ((Mb.Y & 1) * 2 + Half) * 4 + Column};
}

// colZeroFlag of clause 8.4.1.2.2, the reference being short-term.
bool IsColZero(const H264MbInfo& Col, int32_t Mb, int Block)
{
    const int i = Mb * 16 + Block;
    const int List = Col.pRefIdx[0][i] >= 0 ? 0 : 1;
    if (Col.pRefIdx[List][i] != 0) return false;
    const h264::MotionVector Mv = Col.pMv[List][i];
    return Mv.x >= -1 && Mv.x <= 1 && Mv.y >= -1 && Mv.y <= 1;
}

// Clause 8.4.1.2.2: references and vectors of the whole macroblock from its neighbours.
template <bool kMbaff>
Motion PredictSpatial(const H264MbInfo& Records, const MbState& Mb)
{
    Motion m;
    for (int List = 0; List < 2; ++List) {
        const h264::MotionNeighbours n = FindMotionNeighbours<kMbaff>(Records, Mb, List);
        // As unsigned numbers the negative ones are the largest: the minimum is MinPositive of equation 8-184.
        const auto Unsigned = [](const h264::BlockMotion& b) { return static_cast<uint8_t>(b.RefIdx); };
        m.Ref[List] = static_cast<int8_t>(std::min({Unsigned(n.A), Unsigned(n.B), Unsigned(n.C)}));
        m.Mv[List] = m.Ref[List] < 0 ? h264::MotionVector{0, 0} : h264::PredictMedian(n, m.Ref[List]);
    }
    return m;
}

// Motion of blocks that move, and of those whose co-located block stands still.
struct SpatialMotion {
    Motion Moving, Still;
    bool MayStand;
};

template <bool kMbaff>
SpatialMotion DeriveSpatialMotion(const H264MbInfo& Records, const MbState& Mb, const DirectState& Direct)
{
    SpatialMotion s{PredictSpatial<kMbaff>(Records, Mb), {}, false};
    Motion& m = s.Moving;
    if (m.Ref[0] < 0 && m.Ref[1] < 0) {
        m = {};
        return s;
    }
    for (int& Ref : m.Ref) Ref = std::max(Ref, int{h264::kRefNone});
    s.Still = m;
    for (int List = 0; List < 2; ++List) {
        if (m.Ref[List] != 0) continue;
        s.MayStand |= AsWord(m.Mv[List]) != 0;
        s.Still.Mv[List] = {0, 0};
    }
    if (Direct.pColFrame)
        s.MayStand &=
            Direct.ColIsShortTerm && !IsIntra(Direct.pColFrame->m_MbInfo.pGlobal[Mb.Number + Direct.ColOffset]);
    else
        s.MayStand &= Direct.ColIsShortTerm && Direct.pOtherKind;
    return s;
}

void DeriveSpatial(const SliceView& s, const MbState& Mb, MotionState& m, uint32_t Quadrants,
                   const SpatialMotion& Derived)
{
    const DirectState& Direct = m.Direct;
    if (Derived.MayStand && !Direct.pColFrame) {
        const H264MbInfo& Col = Direct.pOtherKind->m_MbInfo;
        ForEachPart(s, Mb, m, Quadrants, [&](int Block) {
            const ColPlace c = PlaceInOtherKind(s, Mb, Direct.ColOffset, Block);
            return !IsIntra(Col.pGlobal[c.Mb]) && IsColZero(Col, c.Mb, c.Block) ? Derived.Still : Derived.Moving;
        });
        return;
    }
    const int32_t ColMb = Mb.Number + Direct.ColOffset;
    ForEachPart(s, Mb, m, Quadrants, [&](int Block) {
        return Derived.MayStand && IsColZero(Direct.pColFrame->m_MbInfo, ColMb, Block) ? Derived.Still : Derived.Moving;
    });
}

// References of a slice of the co-located picture as indices into our list 0: the lowest that names the same picture.
// A field knows a frame's references by their fields of its own parity, a frame those of a field by their frames. One
// that is not there, which only damage can cause, becomes 0.
void BuildColMap(const SliceView& s, DirectState& Direct, int32_t ColSlice)
{
    Direct.ColMapSlice = ColSlice;
    const H264DecoderFrame& ColFrame = Direct.pColFrame ? *Direct.pColFrame : *Direct.pOtherKind;
    const H264RefPicIndices* const pCol = ColFrame.RefPicIndicesOf(static_cast<uint32_t>(ColSlice));
    int8_t ByPicture[kMaxPictures] = {}; // our index of each picture
    for (int i = s.References.Active[0] - 1; i >= 0; --i)
        if (const H264DecoderFrame* const p = s.pLists->List[0].Frame[i]; p && p->m_Index >= 0)
            ByPicture[PictureIndex(p->m_Index, RefFlagField(s.pLists->List[0].Flag[i]))] = static_cast<int8_t>(i);
    for (int List = 0; List < 2; ++List)
        for (int i = 0; i < 32; ++i) {
            int Index = pCol ? pCol->Index[List][i] : H264RefPicIndices::kNone;
            if (Direct.pOtherKind) Index = PictureIndex(Index / 2, s.Picture.IsBottom);
            Direct.ColMap[List][i] = Index < kMaxPictures ? ByPicture[Index] : int8_t{0};
        }
}

int16_t ScaleMv(int Factor, int16_t Mv) { return static_cast<int16_t>((Factor * Mv + 128) >> 8); }

// Of a block whose co-located one is block i of the frame's arrays. See() makes its vector one of our kind of picture.
template <class F>
Motion ScaleMotion(const DirectState& Direct, const H264MbInfo& Col, int i, F&& See)
{
    const int List = Col.pRefIdx[0][i] >= 0 ? 0 : 1;
    const int ColRef = Col.pRefIdx[List][i];
    if (ColRef < 0 || ColRef >= 32) return Motion{};
    const h264::MotionVector ColMv = See(Col.pMv[List][i]);
    Motion Scaled{{Direct.ColMap[List][ColRef], 0}, {ColMv, {0, 0}}};
    const int Factor = Direct.pTables->DistScaleFactor[Scaled.Ref[0]];
    if (Factor != kNotScaled) {
        Scaled.Mv[0] = {ScaleMv(Factor, ColMv.x), ScaleMv(Factor, ColMv.y)};
        Scaled.Mv[1] = Scaled.Mv[0] - ColMv;
    }
    return Scaled;
}

// From no motion, or that of a picture of the other kind, whose macroblocks may be of different slices.
void DeriveTemporalFromOther(const SliceView& s, const MbState& Mb, MotionState& m, uint32_t Quadrants)
{
    DirectState& Direct = m.Direct;
    ForEachPart(s, Mb, m, Quadrants, [&](int Block) {
        if (!Direct.pOtherKind) return Motion{};
        const H264MbInfo& Col = Direct.pOtherKind->m_MbInfo;
        const ColPlace c = PlaceInOtherKind(s, Mb, Direct.ColOffset, Block);
        if (IsIntra(Col.pGlobal[c.Mb])) return Motion{};
        if (Col.pGlobal[c.Mb].SliceId != Direct.ColMapSlice) BuildColMap(s, Direct, Col.pGlobal[c.Mb].SliceId);
        return ScaleMotion(Direct, Col, c.Mb * 16 + c.Block, [&](h264::MotionVector Mv) -> h264::MotionVector {
            return {Mv.x, static_cast<int16_t>(s.Picture.IsField ? Mv.y / 2 : Mv.y * 2)};
        });
    });
}

// Clause 8.4.1.2.3.
void DeriveTemporal(const SliceView& s, const MbState& Mb, MotionState& m, uint32_t Quadrants)
{
    DirectState& Direct = m.Direct;
    if (!Direct.pColFrame) return DeriveTemporalFromOther(s, Mb, m, Quadrants);
    const H264MbInfo& Col = Direct.pColFrame->m_MbInfo;
    const int32_t ColMb = Mb.Number + Direct.ColOffset;
    if (IsIntra(Col.pGlobal[ColMb])) {
        ForEachPart(s, Mb, m, Quadrants, [&](int) { return Motion{}; });
        return;
    }
    if (Col.pGlobal[ColMb].SliceId != Direct.ColMapSlice) BuildColMap(s, Direct, Col.pGlobal[ColMb].SliceId);
    ForEachPart(s, Mb, m, Quadrants, [&](int Block) {
        return ScaleMotion(Direct, Col, ColMb * 16 + Block, [](h264::MotionVector Mv) { return Mv; });
    });
}

} // namespace

template <bool kMbaff>
void DeriveDirect(const SliceView& Slice, const MbState& Mb, MotionState& Motion, uint32_t Quadrants)
{
    if (Slice.pHeader->direct_spatial_mv_pred_flag)
        DeriveSpatial(Slice, Mb, Motion, Quadrants, DeriveSpatialMotion<kMbaff>(Slice.Records, Mb, Motion.Direct));
    else
        DeriveTemporal(Slice, Mb, Motion, Quadrants);
}
template void DeriveDirect<false>(const SliceView&, const MbState&, MotionState&, uint32_t);
template void DeriveDirect<true>(const SliceView&, const MbState&, MotionState&, uint32_t);

template <bool kMbaff>
void DeriveDirectMacroblock(const SliceView& Slice, const MbState& Mb, MotionState& Motion)
{
    if (Slice.pHeader->direct_spatial_mv_pred_flag) {
        const SpatialMotion s = DeriveSpatialMotion<kMbaff>(Slice.Records, Mb, Motion.Direct);
        if (!s.MayStand) {
            for (int List = 0; List < 2; ++List)
                StoreUniformMotion(Slice.Records, Mb.Number, List, s.Moving.Ref[List], s.Moving.Mv[List]);
            std::memset(Mb.pGlobal->SubBlockType, SUBTYPE_DIRECT, 4);
            std::memset(Mb.pLocal->SubBlockDirection, DirectionOf(s.Moving.Ref[0], s.Moving.Ref[1]), 4);
            Mb.pGlobal->MbFlags |= MBFLAG_ONE_MOTION;
            return;
        }
        DeriveSpatial(Slice, Mb, Motion, 15, s);
    } else {
        DeriveTemporal(Slice, Mb, Motion, 15);
    }
    for (int List = 0; List < 2; ++List) StoreMotion(Motion.Cache[List], Slice.Records, Mb.Number, List);
}
template void DeriveDirectMacroblock<false>(const SliceView&, const MbState&, MotionState&);
template void DeriveDirectMacroblock<true>(const SliceView&, const MbState&, MotionState&);

} // namespace UMC
