#include "decoder/entropy/mb_layer.h"

#include "decoder/entropy/direct.h"
#include "decoder/entropy/motion.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace UMC {

namespace {

// Lists that a partition uses: bit 0 list 0, bit 1 list 1.
enum Lists : uint8_t { USES_L0 = 1, USES_L1 = 2, USES_BOTH = 3 };

// Partitions of mb_type 4..21 of B slices (Table 7-14); even types are 16x8, odd ones 8x16.
constexpr uint8_t kPartListsB[18][2] = {
    {USES_L0, USES_L0},   {USES_L0, USES_L0},     {USES_L1, USES_L1},    {USES_L1, USES_L1},   {USES_L0, USES_L1},
    {USES_L0, USES_L1},   {USES_L1, USES_L0},     {USES_L1, USES_L0},    {USES_L0, USES_BOTH}, {USES_L0, USES_BOTH},
    {USES_L1, USES_BOTH}, {USES_L1, USES_BOTH},   {USES_BOTH, USES_L0},  {USES_BOTH, USES_L0}, {USES_BOTH, USES_L1},
    {USES_BOTH, USES_L1}, {USES_BOTH, USES_BOTH}, {USES_BOTH, USES_BOTH}};

struct SubType {
    uint8_t Shape, Lists;
};
// Table 7-17: the values of P slices are the shapes. Table 7-18 by sub_mb_type; type 0 is direct.
constexpr SubType kSubTypeB[13] = {{SHAPE_DIRECT, 0},          {SHAPE_WHOLE, USES_L0},    {SHAPE_WHOLE, USES_L1},
                                   {SHAPE_WHOLE, USES_BOTH},   {SHAPE_ROWS, USES_L0},     {SHAPE_COLUMNS, USES_L0},
                                   {SHAPE_ROWS, USES_L1},      {SHAPE_COLUMNS, USES_L1},  {SHAPE_ROWS, USES_BOTH},
                                   {SHAPE_COLUMNS, USES_BOTH}, {SHAPE_QUARTERS, USES_L0}, {SHAPE_QUARTERS, USES_L1},
                                   {SHAPE_QUARTERS, USES_BOTH}};

void SetDirection(H264SegmentDecoder& d, int Quadrant, uint8_t Lists)
{
    d.m_Mb.m_pLocal->SubBlockDirection[Quadrant] = static_cast<uint8_t>(Lists - 1);
}

// Contexts that later macroblocks take from a reference index of the quadrants whose bit is set.
void AddRefContext(H264SegmentDecoder& d, int List, uint32_t Quadrants, int RefIdx)
{
    uint32_t Bits = RefIdx > 0 ? Quadrants : 0;
    if (RefIdx > 1) Bits |= Quadrants << 4;
    d.m_Mb.m_pLocal->RefIdxContext[List] = static_cast<uint8_t>(d.m_Mb.m_pLocal->RefIdxContext[List] | Bits);
}

template <class Syntax>
int ReadRefIdx(H264SegmentDecoder& d, int List, int Quadrant, uint32_t Quadrants)
{
    const int Count = d.m_ActiveRefs[List];
    if (Count <= 1) return 0;
    const int RefIdx = Syntax::RefIdx(d, List, Quadrant, Count);
    if constexpr (Syntax::kCabac) AddRefContext(d, List, Quadrants, RefIdx);
    return RefIdx;
}

void TrackMv(H264SegmentDecoder& d, h264::MotionVector Mv)
{
    d.m_MaxMv = std::max(d.m_MaxMv, Mv.y < 0 ? -int32_t{Mv.y} : int32_t{Mv.y});
}

template <class Syntax>
void Load(H264SegmentDecoder& d, int List)
{
    LoadMotion(d, List);
    if constexpr (Syntax::kCabac) LoadMvd(d, List);
}

// Reads the difference of the block at Pos and fills prediction plus difference into the cache.
template <class Syntax>
void ReadBlockMv(H264SegmentDecoder& d, int List, int Pos, int Width, int Height, h264::MotionVector Prediction)
{
    uint8_t Mvd[2];
    const h264::MotionVector Mv = Prediction + Syntax::Mvd(d, List, Pos, Mvd);
    FillMv(d.m_Motion[List], Pos, Width, Height, Mv);
    if constexpr (Syntax::kCabac) FillMvd(d.m_Motion[List], Pos, Width, Height, Mvd);
    TrackMv(d, Mv);
}

void FillUnused(H264SegmentDecoder& d, int List, int Pos, int Width, int Height)
{
    constexpr uint8_t kNoMvd[2] = {};
    FillMv(d.m_Motion[List], Pos, Width, Height, {0, 0});
    FillMvd(d.m_Motion[List], Pos, Width, Height, kNoMvd);
}

template <class Syntax>
void Store(H264SegmentDecoder& d, int List)
{
    StoreMotion(d, List);
    if constexpr (Syntax::kCabac) StoreMvd(d, List);
}

template <class Syntax, int kLists>
void Read16x16(H264SegmentDecoder& d, uint32_t Lists)
{
    int RefIdx[2];
    for (int List = 0; List < kLists; ++List)
        RefIdx[List] = Lists >> List & 1 ? ReadRefIdx<Syntax>(d, List, 0, 15) : int{h264::kRefNone};
    for (int List = 0; List < kLists; ++List) {
        uint8_t Mvd[2] = {};
        h264::MotionVector Mv{0, 0};
        if (RefIdx[List] >= 0) {
            if constexpr (Syntax::kCabac) LoadMvd(d, List);
            Mv = h264::PredictMedian(FindMotionNeighbours(d, List), RefIdx[List]) +
                 Syntax::Mvd(d, List, kCacheOrigin, Mvd);
            TrackMv(d, Mv);
        }
        StoreUniformMotion(d, List, RefIdx[List], Mv);
        if constexpr (Syntax::kCabac) StoreUniformMvd(d, List, Mvd);
    }
    d.m_Mb.m_pGlobal->MbFlags |= MBFLAG_ONE_MOTION;
}

// 16x8 and 8x16.
template <class Syntax, int kLists>
void ReadHalves(H264SegmentDecoder& d, bool Rows, const uint8_t PartLists[2])
{
    const int Width = Rows ? 4 : 2, Height = Rows ? 2 : 4;
    const int Pos[2] = {kCacheOrigin, Rows ? CachePos(0, 2) : CachePos(2, 0)};
    const int SecondQuadrant = Rows ? 2 : 1;
    const uint32_t FirstQuadrants = Rows ? 3 : 5;
    int RefIdx[2][2];
    for (int List = 0; List < kLists; ++List)
        for (int Part = 0; Part < 2; ++Part)
            RefIdx[List][Part] =
                PartLists[Part] >> List & 1
                    ? ReadRefIdx<Syntax>(d, List, Part * SecondQuadrant, FirstQuadrants << (Part * SecondQuadrant))
                    : int{h264::kRefNone};
    for (int List = 0; List < kLists; ++List) {
        Load<Syntax>(d, List);
        for (int Part = 0; Part < 2; ++Part) FillRef(d.m_Motion[List], Pos[Part], Width, Height, RefIdx[List][Part]);
        for (int Part = 0; Part < 2; ++Part) {
            const int Ref = RefIdx[List][Part];
            if (Ref < 0) {
                FillUnused(d, List, Pos[Part], Width, Height);
                continue;
            }
            const h264::MotionNeighbours n = FindMotionNeighbours(d.m_Motion[List], Pos[Part], Width);
            const h264::MotionVector Prediction =
                Rows ? h264::PredictHalfRows(n, Part, Ref) : h264::PredictHalfColumns(n, Part, Ref);
            ReadBlockMv<Syntax>(d, List, Pos[Part], Width, Height, Prediction);
        }
        Store<Syntax>(d, List);
    }
}

// Vectors of one 8x8 block. A part whose upper right neighbour lies in the next 8x8 block of the row is told so: that
// one is decoded later.
template <class Syntax>
void ReadSubBlock(H264SegmentDecoder& d, int List, int Pos, int Shape, int RefIdx)
{
    const auto Part = [&](int Offset, int Width, int Height, bool NoC) {
        const h264::MotionVector Prediction = PredictMv(d.m_Motion[List], Pos + Offset, Width, RefIdx, NoC);
        ReadBlockMv<Syntax>(d, List, Pos + Offset, Width, Height, Prediction);
    };
    switch (Shape) {
    case SHAPE_WHOLE: Part(0, 2, 2, false); break;
    case SHAPE_ROWS:
        Part(0, 2, 1, false);
        Part(kCacheStride, 2, 1, true);
        break;
    case SHAPE_COLUMNS:
        Part(0, 1, 2, false);
        Part(1, 1, 2, false);
        break;
    default:
        Part(0, 1, 1, false);
        Part(1, 1, 1, false);
        Part(kCacheStride, 1, 1, false);
        Part(kCacheStride + 1, 1, 1, true);
    }
}

template <class Syntax, int kLists>
void ReadQuarters(H264SegmentDecoder& d, const SubType Sub[4], bool AllRef0)
{
    int RefIdx[2][4];
    for (int List = 0; List < kLists; ++List)
        for (int q = 0; q < 4; ++q) {
            RefIdx[List][q] = h264::kRefNone;
            if (Sub[q].Lists >> List & 1) RefIdx[List][q] = AllRef0 ? 0 : ReadRefIdx<Syntax>(d, List, q, 1u << q);
        }
    for (int List = 0; List < kLists; ++List) {
        MotionCache& Cache = d.m_Motion[List];
        for (int q = 0; q < 4; ++q)
            if (Sub[q].Shape != SHAPE_DIRECT) FillRef(Cache, kBlockCachePos[q * 4], 2, 2, RefIdx[List][q]);
        for (int q = 0; q < 4; ++q) {
            constexpr uint8_t kNoMvd[2] = {};
            const int Pos = kBlockCachePos[q * 4];
            if (Sub[q].Shape == SHAPE_DIRECT)
                FillMvd(Cache, Pos, 2, 2, kNoMvd);
            else if (RefIdx[List][q] < 0)
                FillUnused(d, List, Pos, 2, 2);
            else
                ReadSubBlock<Syntax>(d, List, Pos, Sub[q].Shape, RefIdx[List][q]);
        }
        Store<Syntax>(d, List);
    }
}

template <class Syntax, SliceType kSlice>
bool ReadMotion8x8(H264SegmentDecoder& d, bool AllRef0)
{
    constexpr int kLists = kSlice == B_SLICE ? 2 : 1;
    SubType Sub[4];
    uint32_t Direct = 0;
    bool Allows8x8 = true;
    for (int q = 0; q < 4; ++q) {
        if constexpr (kSlice == B_SLICE)
            Sub[q] = kSubTypeB[Syntax::SubMbTypeB(d)];
        else
            Sub[q] = {static_cast<uint8_t>(Syntax::SubMbTypeP(d)), USES_L0};
        if (Sub[q].Shape == SHAPE_DIRECT) {
            Direct |= 1u << q;
            Allows8x8 &= d.m_pSeqParamSet->direct_8x8_inference_flag != 0;
            continue;
        }
        Allows8x8 &= Sub[q].Shape == SHAPE_WHOLE;
        d.m_Mb.m_pGlobal->SubBlockType[q] = Sub[q].Shape;
        SetDirection(d, q, Sub[q].Lists);
    }
    for (int List = 0; List < kLists; ++List) Load<Syntax>(d, List);
    if (Direct) DeriveDirect(d, Direct);
    ReadQuarters<Syntax, kLists>(d, Sub, AllRef0);
    return Allows8x8;
}

void StoreDirect(H264SegmentDecoder& d)
{
    DeriveDirectMacroblock(d);
    d.m_Mb.m_pGlobal->MbType = MBTYPE_DIRECT;
    d.m_Mb.m_pGlobal->MbFlags |= MBFLAG_DIRECT;
}

template <class Syntax>
bool ReadMotionB(H264SegmentDecoder& d, uint32_t Type)
{
    MbGlobalInfo& Global = *d.m_Mb.m_pGlobal;
    if (Type == 0) {
        StoreDirect(d);
        if constexpr (Syntax::kCabac)
            for (MbMvd* const pMvd : d.m_Local.m_pMvd) pMvd[d.m_Mb.m_Mb] = MbMvd{};
        return d.m_pSeqParamSet->direct_8x8_inference_flag != 0;
    }
    if (Type <= 3) {
        constexpr int8_t kType[4] = {0, MBTYPE_FORWARD, MBTYPE_BACKWARD, MBTYPE_BIDIRECTIONAL};
        Global.MbType = kType[Type];
        std::memset(d.m_Mb.m_pLocal->SubBlockDirection, static_cast<int>(Type - 1), 4);
        Read16x16<Syntax, 2>(d, Type);
        return true;
    }
    if (Type == 22) {
        Global.MbType = MBTYPE_INTER8x8;
        return ReadMotion8x8<Syntax, B_SLICE>(d, false);
    }
    const bool Rows = (Type & 1) == 0;
    const uint8_t* const pLists = kPartListsB[Type - 4];
    Global.MbType = Rows ? MBTYPE_INTER16x8 : MBTYPE_INTER8x16;
    for (int q = 0; q < 4; ++q) SetDirection(d, q, pLists[Rows ? q >> 1 : q & 1]);
    ReadHalves<Syntax, 2>(d, Rows, pLists);
    return true;
}

template <class Syntax>
bool ReadMotionP(H264SegmentDecoder& d, uint32_t Type)
{
    constexpr uint8_t kList0[2] = {USES_L0, USES_L0};
    d.m_Mb.m_pGlobal->MbType = static_cast<int8_t>(MBTYPE_INTER16x16 + Type);
    StoreUnusedList(d, 1);
    switch (Type) {
    case 0: Read16x16<Syntax, 1>(d, USES_L0); return true;
    case 1:
    case 2: ReadHalves<Syntax, 1>(d, Type == 1, kList0); return true;
    default: return ReadMotion8x8<Syntax, P_SLICE>(d, Type == 4);
    }
}

// The mode that a neighbouring 4x4 block suggests: -1 makes DC the prediction (dcPredModePredictedFlag).
void LoadIntraModes(const H264SegmentDecoder& d, int8_t* pCache)
{
    constexpr int kOwnModes = 100; // the neighbour has modes of its own
    const auto Source = [&](int32_t Neighbour, const MbGlobalInfo& Mb) {
        if (Neighbour < 0) return -1;
        if (Mb.MbType == MBTYPE_INTRA4x4) return kOwnModes;
        return !IsIntra(Mb) && d.m_pPicParamSet->constrained_intra_pred_flag ? -1 : 2;
    };
    const uint8_t* const pModes = d.m_Local.m_pIntraModes;
    const int Left = Source(d.m_Mb.m_Left, *d.m_Mb.m_pLeftGlobal), Top = Source(d.m_Mb.m_Top, *d.m_Mb.m_pTopGlobal);
    for (int i = 0; i < 4; ++i) {
        pCache[CachePos(-1, i)] =
            static_cast<int8_t>(Left == kOwnModes ? pModes[d.m_Mb.m_Left * 16 + i * 4 + 3] : Left);
        pCache[CachePos(i, -1)] = static_cast<int8_t>(Top == kOwnModes ? pModes[d.m_Mb.m_Top * 16 + 12 + i] : Top);
    }
}

} // namespace

void SetQp(H264SegmentDecoder& Decoder, int Delta)
{
    const int Offset = 6 * (Decoder.m_BitDepthLuma - 8);
    if (Delta < -(26 + Offset / 2) || Delta > 25 + Offset / 2) throw h264_exception(StatusInvalidParams);
    Decoder.m_PrevDeltaQp = Delta;
    Decoder.m_QpLuma = (Decoder.m_QpLuma + Delta + 52 + 2 * Offset) % (52 + Offset) - Offset;
    Decoder.m_Mb.m_pLocal->Qp = static_cast<int8_t>(Decoder.m_QpLuma);
}

void SkipMotionP(H264SegmentDecoder& Decoder)
{
    const h264::MotionVector Mv = h264::PredictSkip(FindMotionNeighbours(Decoder, 0));
    TrackMv(Decoder, Mv);
    StoreUniformMotion(Decoder, 0, 0, Mv);
    StoreUnusedList(Decoder, 1);
    Decoder.m_Mb.m_pGlobal->MbType = MBTYPE_SKIPPED;
    Decoder.m_Mb.m_pGlobal->MbFlags |= MBFLAG_SKIPPED | MBFLAG_ONE_MOTION;
}

void SkipMotionB(H264SegmentDecoder& Decoder)
{
    StoreDirect(Decoder);
    Decoder.m_Mb.m_pGlobal->MbFlags |= MBFLAG_SKIPPED;
}

void ClearMotion(H264SegmentDecoder& Decoder, bool IsBSlice)
{
    StoreUniformMotion(Decoder, 0, h264::kRefNone, {0, 0});
    if (IsBSlice)
        StoreUniformMotion(Decoder, 1, h264::kRefNone, {0, 0});
    else
        StoreUnusedList(Decoder, 1);
}

template <class Syntax, SliceType kSlice>
bool ReadMotion(H264SegmentDecoder& Decoder, uint32_t Type)
{
    if constexpr (kSlice == B_SLICE)
        return ReadMotionB<Syntax>(Decoder, Type);
    else
        return ReadMotionP<Syntax>(Decoder, Type);
}
template bool ReadMotion<CavlcSyntax, P_SLICE>(H264SegmentDecoder&, uint32_t);
template bool ReadMotion<CavlcSyntax, B_SLICE>(H264SegmentDecoder&, uint32_t);
template bool ReadMotion<CabacSyntax, P_SLICE>(H264SegmentDecoder&, uint32_t);
template bool ReadMotion<CabacSyntax, B_SLICE>(H264SegmentDecoder&, uint32_t);

template <class Syntax>
void ReadIntraModes(H264SegmentDecoder& Decoder)
{
    int8_t Cache[kCacheSize];
    LoadIntraModes(Decoder, Cache);
    const bool Is8x8 = (Decoder.m_Mb.m_pGlobal->MbFlags & MBFLAG_TRANSFORM8x8) != 0;
    for (int i = 0; i < 16; i += Is8x8 ? 4 : 1) {
        int8_t* const pMode = Cache + kBlockCachePos[i];
        int Predicted = std::min(pMode[-1], pMode[-kCacheStride]);
        if (Predicted < 0) Predicted = 2;
        int Mode = Syntax::IntraMode(Decoder);
        if (Mode < 0)
            Mode = Predicted;
        else if (Mode >= Predicted)
            ++Mode;
        pMode[0] = static_cast<int8_t>(Mode);
        if (Is8x8) pMode[1] = pMode[kCacheStride] = pMode[kCacheStride + 1] = pMode[0];
    }
    uint8_t* const pModes = Decoder.m_Local.m_pIntraModes + Decoder.m_Mb.m_Mb * 16;
    for (int y = 0; y < 4; ++y) std::memcpy(pModes + y * 4, Cache + CachePos(0, y), 4);
}
template void ReadIntraModes<CavlcSyntax>(H264SegmentDecoder&);
template void ReadIntraModes<CabacSyntax>(H264SegmentDecoder&);

} // namespace UMC
