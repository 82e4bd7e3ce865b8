#include "decoder/entropy/direct.h"

#include "Common/h264/colocated_in_pair.h"
#include "Common/h264/temporal_distance.h"
#include "decoder/entropy/motion.h"

#include <algorithm>
#include <cstring>

namespace UMC {

namespace {

constexpr int8_t kCornerBlock[4] = {0, 3, 12, 15}; // raster place of the 4x4 block in a quadrant's outer corner

struct Motion {
    int Ref[2];
    h264::MotionVector Mv[2];
    friend bool operator==(const Motion&, const Motion&) = default;
};

[[gnu::always_inline]] inline void FillMotion(MotionState& m, int Pos, int Size, const Motion& From)
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
void FillParts(const SliceView& s, const MbState& Mb, MotionState& m, uint32_t Quadrants, F&& Derive)
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

// A macroblock that moves as one, straight into the records.
void StoreWhole(const SliceView& s, const MbState& Mb, const Motion& m)
{
    for (int List = 0; List < 2; ++List) StoreUniformMotion(s.Records, Mb.Number, List, m.Ref[List], m.Mv[List]);
    std::memset(Mb.pGlobal->SubBlockType, SUBTYPE_DIRECT, 4);
    std::memset(Mb.pLocal->SubBlockDirection, DirectionOf(m.Ref[0], m.Ref[1]), 4);
    Mb.pGlobal->MbFlags |= MBFLAG_ONE_MOTION;
}

// What FillParts() does for the whole macroblock, into the records. Quadrants of one motion are one block for whoever
// comes behind.
template <class F>
void StoreParts(const SliceView& s, const MbState& Mb, MotionState& m, F&& Derive)
{
    if (!s.pSequenceSet->direct_8x8_inference_flag) {
        FillParts(s, Mb, m, 15, Derive);
        for (int List = 0; List < 2; ++List) StoreMotion(m.Cache[List], s.Records, Mb.Number, List);
        return;
    }
    Motion Of[4];
    for (int q = 0; q < 4; ++q) Of[q] = Derive(kCornerBlock[q]);
    if (Of[0] == Of[1] && Of[2] == Of[3] && Of[0] == Of[2]) return StoreWhole(s, Mb, Of[0]);
    for (int q = 0; q < 4; ++q) {
        for (int List = 0; List < 2; ++List)
            StoreQuadrantMotion(s.Records, Mb.Number, q, List, Of[q].Ref[List], Of[q].Mv[List]);
        Mb.pGlobal->SubBlockType[q] = SUBTYPE_DIRECT | SHAPE_WHOLE;
        Mb.pLocal->SubBlockDirection[q] = DirectionOf(Of[q].Ref[0], Of[q].Ref[1]);
    }
}

// Where derived motion goes: quadrants of a macroblock into the caches, or a whole one into the records.
struct QuadrantParts {
    uint32_t Quadrants;
    template <class F>
    void Put(const SliceView& s, const MbState& Mb, MotionState& m, F&& Derive) const
    {
        FillParts(s, Mb, m, Quadrants, Derive);
    }
    // All of the co-located macroblock being the same.
    template <class F>
    void PutOne(const SliceView& s, const MbState& Mb, MotionState& m, F&& Derive) const
    {
        Put(s, Mb, m, [Of = Derive(0)](int) { return Of; });
    }
};
struct WholeMacroblock {
    template <class F>
    void Put(const SliceView& s, const MbState& Mb, MotionState& m, F&& Derive) const
    {
        StoreParts(s, Mb, m, Derive);
    }
    template <class F>
    void PutOne(const SliceView& s, const MbState& Mb, MotionState&, F&& Derive) const
    {
        StoreWhole(s, Mb, Derive(0));
    }
};

// A 4x4 block of the co-located picture, and what its vector and references count in.
struct ColBlock {
    int32_t Mb;
    int Block;               // raster
    bool IsField;            // of a field, or of a field macroblock
    bool CountsFieldsInPair; // of a field macroblock of an MBAFF frame: references are twice the frame's, plus 1 for
                             // the field of the other parity
};

// Tables 8-6 and 8-8: what is co-located with block Block of the macroblock where macroblocks of the other picture may
// be of the other kind; a corner block of a quadrant then. The vertical halves of a field macroblock lie in a frame
// macroblock each, those of a frame macroblock share a half of a field macroblock.
template <bool kMbaff>
ColBlock FindAcrossKinds(const SliceView& s, const MbState& Mb, const DirectState& Direct, int Block)
{
    const H264DecoderFrame& Col = *Direct.pOtherKind;
    const int Column = Block & 3, Half = Block / 8;
    const bool IsField = kMbaff ? IsFieldMb(Mb) : s.Picture.IsField;
    const int Parity = kMbaff ? Mb.Number & 1 : s.Picture.IsBottom;
    // The pair of macroblocks in frames, the macroblock of a field.
    const int32_t Pair = kMbaff ? Mb.Number / 2 : Mb.Y / (IsField ? 1 : 2) * s.Picture.MbWidth + Mb.X;
    const int Lower = kMbaff ? Parity : Mb.Y & 1; // of a frame macroblock: which one of its pair it is
    if (Col.IsFieldPair()) {
        const int32_t FieldMbs = Col.m_Format.MbCount() / 2;
        if (IsField) return {Parity * FieldMbs + Pair, Block, true, false};
        return {Direct.ColField * FieldMbs + Pair, (Lower * 2 + Half) * 4 + Column, true, false};
    }
    if (Col.m_PictureStructure != MBAFF_FRAME) { // pairs see one where it was made up, or before their sequence began
        const int32_t Upper = Pair / s.Picture.MbWidth * 2 * s.Picture.MbWidth + Pair % s.Picture.MbWidth;
        if (!IsField) return {Upper + Lower * s.Picture.MbWidth, Block, false, false};
        return {Upper + Half * s.Picture.MbWidth, Half * 8 + Column, false, false};
    }
    const int32_t First = 2 * Pair;
    const bool ColIsField = (Col.m_MbInfo.pGlobal[First].MbFlags & MBFLAG_FIELD) != 0;
    const h264::PairBlock At =
        h264::FindInColocatedPair(First + (IsField ? Parity : Lower), Block, IsField, ColIsField, Direct.ColField);
    return {At.Mb, At.Block, ColIsField, ColIsField};
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
    const MotionPlaces Places = FindMotionPlaces<kMbaff>(Mb);
    for (int List = 0; List < 2; ++List) {
        const h264::MotionNeighbours n = FindMotionNeighbours<kMbaff>(Records, Mb, Places, List);
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

// All 4x4 blocks of the macroblock move alike, or none does.
bool IsOne(const MbGlobalInfo& Mb) { return IsIntra(Mb) || (Mb.MbFlags & MBFLAG_ONE_MOTION); }

template <bool kMbaff, class Parts>
void DeriveSpatial(const SliceView& s, const MbState& Mb, MotionState& m, const Parts& To, const SpatialMotion& Derived)
{
    const DirectState& Direct = m.Direct;
    if (!Derived.MayStand) return To.PutOne(s, Mb, m, [&](int) { return Derived.Moving; });
    if (kMbaff || !Direct.pColFrame) {
        const H264MbInfo& Col = Direct.pOtherKind->m_MbInfo;
        return To.Put(s, Mb, m, [&](int Block) {
            const ColBlock c = FindAcrossKinds<kMbaff>(s, Mb, Direct, Block);
            return !IsIntra(Col.pGlobal[c.Mb]) && IsColZero(Col, c.Mb, c.Block) ? Derived.Still : Derived.Moving;
        });
    }
    const H264MbInfo& Col = Direct.pColFrame->m_MbInfo;
    const int32_t ColMb = Mb.Number + Direct.ColOffset;
    const auto Derive = [&](int Block) { return IsColZero(Col, ColMb, Block) ? Derived.Still : Derived.Moving; };
    IsOne(Col.pGlobal[ColMb]) ? To.PutOne(s, Mb, m, Derive) : To.Put(s, Mb, m, Derive);
}

// What the references of a slice of the co-located picture are.
void SeeColSlice(DirectState& Direct, const H264DecoderFrame& Col, int32_t Slice)
{
    static const H264RefPicIndices s_None = [] {
        H264RefPicIndices None;
        std::memset(&None, H264RefPicIndices::kNone, sizeof None);
        return None;
    }();
    Direct.ColSlice = Slice;
    const H264RefPicIndices* const pIndices = Col.RefPicIndicesOf(static_cast<uint32_t>(Slice));
    Direct.pColReferences = pIndices ? pIndices : &s_None;
}

// Our reference index for that of a block across kinds (clause 8.4.1.2.3). From another kind it means the frame that
// the field belongs to, or the frame's field of our parity; between fields it is the same field.
template <bool kMbaff>
int RefAcrossKinds(const SliceView& s, const MbState& Mb, const DirectState& Direct, const ColBlock& c, int List,
                   int ColRef)
{
    const uint8_t Picture = Direct.pColReferences->Index[List][c.CountsFieldsInPair ? ColRef >> 1 : ColRef];
    const int Frame = Picture / 2;
    if constexpr (kMbaff) {
        const int Ref = Direct.RefOf[FramePicture(Frame)];
        if (!IsFieldMb(Mb)) return Ref;
        if (!c.IsField) return 2 * Ref;
        return 2 * Ref + (c.CountsFieldsInPair ? ColRef & 1 : (Picture ^ Mb.Number) & 1);
    }
    if (!s.Picture.IsField) return Direct.RefOf[FramePicture(Frame)];
    return Direct.RefOf[FramePicture(Frame) + (s.Picture.IsBottom ^ (c.CountsFieldsInPair ? ColRef & 1 : 0))];
}

// From a co-located block's reference, as our index, and its vector, in our unit.
Motion ScaleMotion(const H264DirectTables& Tables, int Ref, h264::MotionVector ColMv)
{
    Motion Scaled{{Ref, 0}, {ColMv, {0, 0}}};
    const int Factor = Tables.DistScaleFactor[Ref];
    if (Factor != kNotScaled) {
        Scaled.Mv[0] = h264::ScaleVector(Factor, ColMv);
        Scaled.Mv[1] = Scaled.Mv[0] - ColMv;
    }
    return Scaled;
}

// The list and entry of the frame's arrays that block i of the co-located picture moves by.
struct ColMotion {
    int List, Ref; // below 0 where nothing moves
    explicit ColMotion(const H264MbInfo& Col, int32_t i)
        : List(Col.pRefIdx[0][i] >= 0 ? 0 : 1), Ref(Col.pRefIdx[List][i])
    {
    }
    bool IsUsable() const { return Ref >= 0 && Ref < 32; }
};

// Where there is no motion, or that of a picture whose macroblocks are of other kinds and may be of different slices.
template <bool kMbaff, class Parts>
void DeriveTemporalAcrossKinds(const SliceView& s, const MbState& Mb, MotionState& m, const Parts& To)
{
    DirectState& Direct = m.Direct;
    const bool IsField = kMbaff ? IsFieldMb(Mb) : s.Picture.IsField;
    To.Put(s, Mb, m, [&](int Block) {
        if (!Direct.pOtherKind) return Motion{};
        const H264MbInfo& Col = Direct.pOtherKind->m_MbInfo;
        const ColBlock c = FindAcrossKinds<kMbaff>(s, Mb, Direct, Block);
        if (IsIntra(Col.pGlobal[c.Mb])) return Motion{};
        if (Col.pGlobal[c.Mb].SliceId != Direct.ColSlice)
            SeeColSlice(Direct, *Direct.pOtherKind, Col.pGlobal[c.Mb].SliceId);
        const int32_t i = c.Mb * 16 + c.Block;
        const ColMotion Moved(Col, i);
        if (!Moved.IsUsable()) return Motion{};
        h264::MotionVector Mv = Col.pMv[Moved.List][i];
        if (IsField != c.IsField) Mv.y = static_cast<int16_t>(IsField ? Mv.y / 2 : Mv.y * 2);
        return ScaleMotion(s.References.Sets[KindOf<kMbaff>(Mb)].Tables,
                           RefAcrossKinds<kMbaff>(s, Mb, Direct, c, Moved.List, Moved.Ref), Mv);
    });
}

// Clause 8.4.1.2.3.
template <bool kMbaff, class Parts>
void DeriveTemporal(const SliceView& s, const MbState& Mb, MotionState& m, const Parts& To)
{
    DirectState& Direct = m.Direct;
    if (kMbaff || !Direct.pColFrame) return DeriveTemporalAcrossKinds<kMbaff>(s, Mb, m, To);
    const H264MbInfo& Col = Direct.pColFrame->m_MbInfo;
    const int32_t ColMb = Mb.Number + Direct.ColOffset;
    if (IsIntra(Col.pGlobal[ColMb])) return To.PutOne(s, Mb, m, [](int) { return Motion{}; });
    if (Col.pGlobal[ColMb].SliceId != Direct.ColSlice)
        SeeColSlice(Direct, *Direct.pColFrame, Col.pGlobal[ColMb].SliceId);
    const auto Derive = [&](int Block) {
        const int32_t i = ColMb * 16 + Block;
        const ColMotion Moved(Col, i);
        if (!Moved.IsUsable()) return Motion{};
        return ScaleMotion(s.References.Sets[REFERENCES_PICTURE].Tables,
                           Direct.RefOf[Direct.pColReferences->Index[Moved.List][Moved.Ref]], Col.pMv[Moved.List][i]);
    };
    IsOne(Col.pGlobal[ColMb]) ? To.PutOne(s, Mb, m, Derive) : To.Put(s, Mb, m, Derive);
}

template <bool kMbaff, class Parts>
void Derive(const SliceView& s, const MbState& Mb, MotionState& m, const Parts& To)
{
    if (s.pHeader->direct_spatial_mv_pred_flag)
        DeriveSpatial<kMbaff>(s, Mb, m, To, DeriveSpatialMotion<kMbaff>(s.Records, Mb, m.Direct));
    else
        DeriveTemporal<kMbaff>(s, Mb, m, To);
}

} // namespace

template <bool kMbaff>
void DeriveDirect(const SliceView& Slice, const MbState& Mb, MotionState& Motion, uint32_t Quadrants)
{
    Derive<kMbaff>(Slice, Mb, Motion, QuadrantParts{Quadrants});
}
template void DeriveDirect<false>(const SliceView&, const MbState&, MotionState&, uint32_t);
template void DeriveDirect<true>(const SliceView&, const MbState&, MotionState&, uint32_t);

template <bool kMbaff>
void DeriveDirectMacroblock(const SliceView& Slice, const MbState& Mb, MotionState& Motion)
{
    Derive<kMbaff>(Slice, Mb, Motion, WholeMacroblock{});
}
template void DeriveDirectMacroblock<false>(const SliceView&, const MbState&, MotionState&);
template void DeriveDirectMacroblock<true>(const SliceView&, const MbState&, MotionState&);

} // namespace UMC
