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

void FillMotion(H264SegmentDecoder& d, int Pos, int Size, const Motion& m)
{
    for (int List = 0; List < 2; ++List) {
        FillRef(d.m_Motion[List], Pos, Size, Size, m.Ref[List]);
        FillMv(d.m_Motion[List], Pos, Size, Size, m.Mv[List]);
    }
}

uint8_t DirectionOf(int Ref0, int Ref1) { return Ref1 < 0 ? 0 : Ref0 < 0 ? 1 : 2; }

// Runs Derive(raster block of the co-located macroblock) for each part of the quadrants: one 8x8 block that goes by its
// corner with direct_8x8_inference_flag, else four 4x4 blocks.
template <class F>
void ForEachPart(H264SegmentDecoder& d, uint32_t Quadrants, F&& Derive)
{
    const bool Inference = d.m_pSeqParamSet->direct_8x8_inference_flag != 0;
    for (int q = 0; q < 4; ++q) {
        if (!(Quadrants >> q & 1)) continue;
        if (Inference) {
            FillMotion(d, kBlockCachePos[q * 4], 2, Derive(kCornerBlock[q]));
        } else {
            for (int i = q * 4; i < q * 4 + 4; ++i) FillMotion(d, kBlockCachePos[i], 1, Derive(h264::kBlockRaster[i]));
        }
        const int8_t* const pRef0 = d.m_Motion[0].Ref + kBlockCachePos[q * 4];
        const int8_t* const pRef1 = d.m_Motion[1].Ref + kBlockCachePos[q * 4];
        d.m_Mb.m_pGlobal->SubBlockType[q] =
            static_cast<uint8_t>(SUBTYPE_DIRECT | (Inference ? SHAPE_WHOLE : SHAPE_QUARTERS));
        d.m_Mb.m_pLocal->SubBlockDirection[q] = DirectionOf(*pRef0, *pRef1);
    }
}

// colZeroFlag of clause 8.4.1.2.2, the reference being short-term.
bool IsColZero(const H264MbInfo& Col, int32_t Mb, int Block)
{
    const int i = Mb * 16 + Block;
    const int List = Col.m_pRefIdx[0][i] >= 0 ? 0 : 1;
    if (Col.m_pRefIdx[List][i] != 0) return false;
    const h264::MotionVector Mv = Col.m_pMv[List][i];
    return Mv.x >= -1 && Mv.x <= 1 && Mv.y >= -1 && Mv.y <= 1;
}

// Clause 8.4.1.2.2: references and vectors of the whole macroblock from its neighbours.
Motion PredictSpatial(const H264SegmentDecoder& d)
{
    Motion m;
    for (int List = 0; List < 2; ++List) {
        const h264::MotionNeighbours n = FindMotionNeighbours(d, List);
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

SpatialMotion DeriveSpatialMotion(const H264SegmentDecoder& d)
{
    SpatialMotion s{PredictSpatial(d), {}, false};
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
    s.MayStand &= d.m_pColFrame && d.m_ColIsShortTerm && !IsIntra(d.m_pColFrame->m_MbInfo.m_pGlobal[d.m_Mb.m_Mb]);
    return s;
}

void DeriveSpatial(H264SegmentDecoder& d, uint32_t Quadrants, const SpatialMotion& s)
{
    const int32_t Mb = d.m_Mb.m_Mb;
    ForEachPart(d, Quadrants, [&](int Block) {
        return s.MayStand && IsColZero(d.m_pColFrame->m_MbInfo, Mb, Block) ? s.Still : s.Moving;
    });
}

// References of a slice of the co-located picture as indices into our list 0: the lowest that names the same picture.
// One that is not there, which only damage can cause, becomes 0.
void BuildColMap(H264SegmentDecoder& d, int32_t ColSlice)
{
    d.m_ColMapSlice = ColSlice;
    const H264RefPicIndices* const pCol = d.m_pColFrame->RefPicIndicesOf(static_cast<uint32_t>(ColSlice));
    int8_t ByFrame[kMaxFrames] = {}; // our index of each frame
    for (int i = d.m_ActiveRefs[0] - 1; i >= 0; --i)
        if (const H264DecoderFrame* const p = d.m_pRefPicList->List[0].Frame[i]; p && p->m_Index >= 0)
            ByFrame[p->m_Index] = static_cast<int8_t>(i);
    for (int List = 0; List < 2; ++List)
        for (int i = 0; i < 32; ++i) {
            const int Index = pCol ? pCol->Index[List][i] : H264RefPicIndices::kNone;
            d.m_ColMap[List][i] = Index < kMaxFrames ? ByFrame[Index] : int8_t{0};
        }
}

int16_t ScaleMv(int Factor, int16_t Mv) { return static_cast<int16_t>((Factor * Mv + 128) >> 8); }

// Clause 8.4.1.2.3.
void DeriveTemporal(H264SegmentDecoder& d, uint32_t Quadrants)
{
    constexpr int kNotScaled = 9999;
    const Motion Zero{};
    const int32_t Mb = d.m_Mb.m_Mb;
    if (!d.m_pColFrame || IsIntra(d.m_pColFrame->m_MbInfo.m_pGlobal[Mb])) {
        ForEachPart(d, Quadrants, [&](int) { return Zero; });
        return;
    }
    const H264MbInfo& Col = d.m_pColFrame->m_MbInfo;
    if (Col.m_pGlobal[Mb].SliceId != d.m_ColMapSlice) BuildColMap(d, Col.m_pGlobal[Mb].SliceId);
    ForEachPart(d, Quadrants, [&](int Block) {
        const int i = Mb * 16 + Block;
        const int List = Col.m_pRefIdx[0][i] >= 0 ? 0 : 1;
        const int ColRef = Col.m_pRefIdx[List][i];
        if (ColRef < 0 || ColRef >= 32) return Zero;
        const h264::MotionVector ColMv = Col.m_pMv[List][i];
        Motion m{{d.m_ColMap[List][ColRef], 0}, {ColMv, {0, 0}}};
        const int Factor = d.m_DirectTables.DistScaleFactor[m.Ref[0]];
        if (Factor != kNotScaled) {
            m.Mv[0] = {ScaleMv(Factor, ColMv.x), ScaleMv(Factor, ColMv.y)};
            m.Mv[1] = {static_cast<int16_t>(m.Mv[0].x - ColMv.x), static_cast<int16_t>(m.Mv[0].y - ColMv.y)};
        }
        return m;
    });
}

} // namespace

void DeriveDirect(H264SegmentDecoder& Decoder, uint32_t Quadrants)
{
    if (Decoder.m_pHeader->direct_spatial_mv_pred_flag)
        DeriveSpatial(Decoder, Quadrants, DeriveSpatialMotion(Decoder));
    else
        DeriveTemporal(Decoder, Quadrants);
}

void DeriveDirectMacroblock(H264SegmentDecoder& Decoder)
{
    if (Decoder.m_pHeader->direct_spatial_mv_pred_flag) {
        const SpatialMotion s = DeriveSpatialMotion(Decoder);
        if (!s.MayStand) {
            for (int List = 0; List < 2; ++List)
                StoreUniformMotion(Decoder, List, s.Moving.Ref[List], s.Moving.Mv[List]);
            std::memset(Decoder.m_Mb.m_pGlobal->SubBlockType, SUBTYPE_DIRECT, 4);
            std::memset(Decoder.m_Mb.m_pLocal->SubBlockDirection, DirectionOf(s.Moving.Ref[0], s.Moving.Ref[1]), 4);
            Decoder.m_Mb.m_pGlobal->MbFlags |= MBFLAG_ONE_MOTION;
            return;
        }
        DeriveSpatial(Decoder, 15, s);
    } else {
        DeriveTemporal(Decoder, 15);
    }
    for (int List = 0; List < 2; ++List) StoreMotion(Decoder, List);
}

} // namespace UMC
