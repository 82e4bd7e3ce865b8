#include "decoder/entropy/mb_layer.h"

#include "Common/h264/intra_modes.h"
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

void SetDirection(const MbState& Mb, int Quadrant, uint8_t Lists)
{
    Mb.pLocal->SubBlockDirection[Quadrant] = static_cast<uint8_t>(Lists - 1);
}

// Contexts that later macroblocks take from a reference index of the quadrants whose bit is set.
void AddRefContext(const MbState& Mb, int List, uint32_t Quadrants, int RefIdx)
{
    uint32_t Bits = RefIdx > 0 ? Quadrants : 0;
    if (RefIdx > 1) Bits |= Quadrants << 4;
    Mb.pLocal->RefIdxContext[List] = static_cast<uint8_t>(Mb.pLocal->RefIdxContext[List] | Bits);
}

template <class Syntax>
int ReadRefIdx(const SliceView& s, const MbState& Mb, EntropyState& e, int List, int Quadrant, uint32_t Quadrants)
{
    const int Count = s.References.Active[List] << (Syntax::kMbaff && IsFieldMb(Mb) ? 1 : 0); // 32 at most
    if (Count <= 1) return 0;
    const int RefIdx = Syntax::RefIdx(e, Mb, List, Quadrant, Count);
    if constexpr (Syntax::kCabac) AddRefContext(Mb, List, Quadrants, RefIdx);
    return RefIdx;
}

void TrackMv(MotionState& m, h264::MotionVector Mv)
{
    m.MaxMv = std::max(m.MaxMv, Mv.y < 0 ? -int32_t{Mv.y} : int32_t{Mv.y});
}

template <class Syntax>
void Load(const SliceView& s, const MbState& Mb, MotionState& m, int List)
{
    LoadMotion<Syntax::kMbaff>(m.Cache[List], s.Records, Mb, List);
    if constexpr (Syntax::kCabac) LoadMvd<Syntax::kMbaff>(m.Cache[List], s.Records, s.Local.pMvd[List], Mb);
}

// Reads the difference of the block at Pos and fills prediction plus difference into the cache.
template <class Syntax>
void ReadBlockMv(EntropyState& e, MotionState& m, int List, int Pos, int Width, int Height,
                 h264::MotionVector Prediction)
{
    uint8_t Mvd[2];
    const h264::MotionVector Mv = Prediction + Syntax::Mvd(e, m.Cache[List], Pos, Mvd);
    FillMv(m.Cache[List], Pos, Width, Height, Mv);
    if constexpr (Syntax::kCabac) FillMvd(m.Cache[List], Pos, Width, Height, Mvd);
    TrackMv(m, Mv);
}

void FillUnused(MotionCache& Cache, int Pos, int Width, int Height)
{
    constexpr uint8_t kNoMvd[2] = {};
    FillMv(Cache, Pos, Width, Height, {0, 0});
    FillMvd(Cache, Pos, Width, Height, kNoMvd);
}

template <class Syntax>
void Store(const SliceView& s, const MbState& Mb, const MotionState& m, int List)
{
    StoreMotion(m.Cache[List], s.Records, Mb.Number, List);
    if constexpr (Syntax::kCabac) StoreMvd(m.Cache[List], s.Local.pMvd[List][Mb.Number]);
}

template <class Syntax, int kLists>
void Read16x16(const SliceView& s, const MbState& Mb, EntropyState& e, MotionState& m, uint32_t Lists)
{
    int RefIdx[2];
    for (int List = 0; List < kLists; ++List)
        RefIdx[List] = Lists >> List & 1 ? ReadRefIdx<Syntax>(s, Mb, e, List, 0, 15) : int{h264::kRefNone};
    for (int List = 0; List < kLists; ++List) {
        uint8_t Mvd[2] = {};
        h264::MotionVector Mv{0, 0};
        if (RefIdx[List] >= 0) {
            if constexpr (Syntax::kCabac) LoadMvd<Syntax::kMbaff>(m.Cache[List], s.Records, s.Local.pMvd[List], Mb);
            Mv = h264::PredictMedian(FindMotionNeighbours<Syntax::kMbaff>(s.Records, Mb, List), RefIdx[List]) +
                 Syntax::Mvd(e, m.Cache[List], kCacheOrigin, Mvd);
            TrackMv(m, Mv);
        }
        StoreUniformMotion(s.Records, Mb.Number, List, RefIdx[List], Mv);
        if constexpr (Syntax::kCabac) StoreUniformMvd(s.Local.pMvd[List][Mb.Number], Mvd);
    }
    Mb.pGlobal->MbFlags |= MBFLAG_ONE_MOTION;
}

// 16x8 and 8x16.
template <class Syntax, int kLists>
void ReadHalves(const SliceView& s, const MbState& Mb, EntropyState& e, MotionState& m, bool Rows,
                const uint8_t PartLists[2])
{
    const int Width = Rows ? 4 : 2, Height = Rows ? 2 : 4;
    const int Pos[2] = {kCacheOrigin, Rows ? CachePos(0, 2) : CachePos(2, 0)};
    const int SecondQuadrant = Rows ? 2 : 1;
    const uint32_t FirstQuadrants = Rows ? 3 : 5;
    int RefIdx[2][2];
    for (int List = 0; List < kLists; ++List)
        for (int Part = 0; Part < 2; ++Part)
            RefIdx[List][Part] = PartLists[Part] >> List & 1
                                     ? ReadRefIdx<Syntax>(s, Mb, e, List, Part * SecondQuadrant,
                                                          FirstQuadrants << (Part * SecondQuadrant))
                                     : int{h264::kRefNone};
    for (int List = 0; List < kLists; ++List) {
        Load<Syntax>(s, Mb, m, List);
        for (int Part = 0; Part < 2; ++Part) FillRef(m.Cache[List], Pos[Part], Width, Height, RefIdx[List][Part]);
        for (int Part = 0; Part < 2; ++Part) {
            const int Ref = RefIdx[List][Part];
            if (Ref < 0) {
                FillUnused(m.Cache[List], Pos[Part], Width, Height);
                continue;
            }
            const h264::MotionNeighbours n = FindMotionNeighbours<Syntax::kMbaff>(m.Cache[List], Pos[Part], Width);
            const h264::MotionVector Prediction =
                Rows ? h264::PredictHalfRows(n, Part, Ref) : h264::PredictHalfColumns(n, Part, Ref);
            ReadBlockMv<Syntax>(e, m, List, Pos[Part], Width, Height, Prediction);
        }
        Store<Syntax>(s, Mb, m, List);
    }
}

// Vectors of one 8x8 block. A part whose upper right neighbour lies in the next 8x8 block of the row is told so: that
// one is decoded later.
template <class Syntax>
void ReadSubBlock(EntropyState& e, MotionState& m, int List, int Pos, int Shape, int RefIdx)
{
    const auto Part = [&](int Offset, int Width, int Height, bool NoC) {
        const h264::MotionVector Prediction =
            PredictMv<Syntax::kMbaff>(m.Cache[List], Pos + Offset, Width, RefIdx, NoC);
        ReadBlockMv<Syntax>(e, m, List, Pos + Offset, Width, Height, Prediction);
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
void ReadQuarters(const SliceView& s, const MbState& Mb, EntropyState& e, MotionState& m, const SubType Sub[4],
                  bool AllRef0)
{
    int RefIdx[2][4];
    for (int List = 0; List < kLists; ++List)
        for (int q = 0; q < 4; ++q) {
            RefIdx[List][q] = h264::kRefNone;
            if (Sub[q].Lists >> List & 1)
                RefIdx[List][q] = AllRef0 ? 0 : ReadRefIdx<Syntax>(s, Mb, e, List, q, 1u << q);
        }
    for (int List = 0; List < kLists; ++List) {
        MotionCache& Cache = m.Cache[List];
        for (int q = 0; q < 4; ++q)
            if (Sub[q].Shape != SHAPE_DIRECT) FillRef(Cache, kBlockCachePos[q * 4], 2, 2, RefIdx[List][q]);
        for (int q = 0; q < 4; ++q) {
            constexpr uint8_t kNoMvd[2] = {};
            const int Pos = kBlockCachePos[q * 4];
            if (Sub[q].Shape == SHAPE_DIRECT)
                FillMvd(Cache, Pos, 2, 2, kNoMvd);
            else if (RefIdx[List][q] < 0)
                FillUnused(m.Cache[List], Pos, 2, 2);
            else
                ReadSubBlock<Syntax>(e, m, List, Pos, Sub[q].Shape, RefIdx[List][q]);
        }
        Store<Syntax>(s, Mb, m, List);
    }
}

template <class Syntax, SliceType kSlice>
bool ReadMotion8x8(const SliceView& s, const MbState& Mb, EntropyState& e, MotionState& m, bool AllRef0)
{
    constexpr int kLists = kSlice == SLICE_B ? 2 : 1;
    SubType Sub[4];
    uint32_t Direct = 0;
    bool Allows8x8 = true;
    for (int q = 0; q < 4; ++q) {
        if constexpr (kSlice == SLICE_B)
            Sub[q] = kSubTypeB[Syntax::SubMbTypeB(e)];
        else
            Sub[q] = {static_cast<uint8_t>(Syntax::SubMbTypeP(e)), USES_L0};
        if (Sub[q].Shape == SHAPE_DIRECT) {
            Direct |= 1u << q;
            Allows8x8 &= s.pSequenceSet->direct_8x8_inference_flag != 0;
            continue;
        }
        Allows8x8 &= Sub[q].Shape == SHAPE_WHOLE;
        Mb.pGlobal->SubBlockType[q] = Sub[q].Shape;
        SetDirection(Mb, q, Sub[q].Lists);
    }
    for (int List = 0; List < kLists; ++List) Load<Syntax>(s, Mb, m, List);
    if (Direct) DeriveDirect<Syntax::kMbaff>(s, Mb, m, Direct);
    ReadQuarters<Syntax, kLists>(s, Mb, e, m, Sub, AllRef0);
    return Allows8x8;
}

template <bool kMbaff>
void StoreDirect(const SliceView& s, const MbState& Mb, MotionState& m)
{
    DeriveDirectMacroblock<kMbaff>(s, Mb, m);
    Mb.pGlobal->MbType = MBTYPE_DIRECT;
    Mb.pGlobal->MbFlags |= MBFLAG_DIRECT;
}

template <class Syntax>
bool ReadMotionB(const SliceView& s, const MbState& Mb, EntropyState& e, MotionState& m, uint32_t Type)
{
    MbGlobalInfo& Global = *Mb.pGlobal;
    if (Type == 0) {
        StoreDirect<Syntax::kMbaff>(s, Mb, m);
        if constexpr (Syntax::kCabac)
            for (MbMvd* const pMvd : s.Local.pMvd) pMvd[Mb.Number] = MbMvd{};
        return s.pSequenceSet->direct_8x8_inference_flag != 0;
    }
    if (Type <= 3) {
        constexpr int8_t kType[4] = {0, MBTYPE_FORWARD, MBTYPE_BACKWARD, MBTYPE_BIDIRECTIONAL};
        Global.MbType = kType[Type];
        std::memset(Mb.pLocal->SubBlockDirection, static_cast<int>(Type - 1), 4);
        Read16x16<Syntax, 2>(s, Mb, e, m, Type);
        return true;
    }
    if (Type == 22) {
        Global.MbType = MBTYPE_INTER8x8;
        return ReadMotion8x8<Syntax, SLICE_B>(s, Mb, e, m, false);
    }
    const bool Rows = (Type & 1) == 0;
    const uint8_t* const pLists = kPartListsB[Type - 4];
    Global.MbType = Rows ? MBTYPE_INTER16x8 : MBTYPE_INTER8x16;
    for (int q = 0; q < 4; ++q) SetDirection(Mb, q, pLists[Rows ? q >> 1 : q & 1]);
    ReadHalves<Syntax, 2>(s, Mb, e, m, Rows, pLists);
    return true;
}

template <class Syntax>
bool ReadMotionP(const SliceView& s, const MbState& Mb, EntropyState& e, MotionState& m, uint32_t Type)
{
    constexpr uint8_t kList0[2] = {USES_L0, USES_L0};
    Mb.pGlobal->MbType = static_cast<int8_t>(MBTYPE_INTER16x16 + Type);
    StoreUnusedList(s.Records, Mb.Number, 1);
    switch (Type) {
    case 0: Read16x16<Syntax, 1>(s, Mb, e, m, USES_L0); return true;
    case 1:
    case 2: ReadHalves<Syntax, 1>(s, Mb, e, m, Type == 1, kList0); return true;
    default: return ReadMotion8x8<Syntax, SLICE_P>(s, Mb, e, m, Type == 4);
    }
}

// The mode that a neighbouring 4x4 block suggests: -1 makes DC the prediction (dcPredModePredictedFlag).
template <bool kMbaff>
void LoadIntraModes(const SliceView& s, const MbState& Mb, int8_t* pCache)
{
    const auto ModeOf = [&](int32_t Neighbour, const MbGlobalInfo& Global, int Block) {
        if (Neighbour < 0) return -1;
        if (Global.MbType == MBTYPE_INTRA4x4) return int{s.Local.pIntraModes[Neighbour * 16 + Block]};
        return !IsIntra(Global) && s.pPictureSet->constrained_intra_pred_flag ? -1 : int{h264::kIntraDcMode};
    };
    for (int i = 0; i < 4; ++i) {
        const NeighbourRow Left = LeftBlock<kMbaff>(Mb, i);
        const MbGlobalInfo& Global = kMbaff && Left.Mb >= 0 ? s.Records.pGlobal[Left.Mb] : *Mb.pLeftGlobal;
        pCache[CachePos(-1, i)] = static_cast<int8_t>(ModeOf(Left.Mb, Global, Left.Row * 4 + 3));
        pCache[CachePos(i, -1)] = static_cast<int8_t>(ModeOf(Mb.Top, *Mb.pTopGlobal, 12 + i));
    }
}

} // namespace

template <bool kMbaff>
void SkipMotionP(const SliceView& Slice, const MbState& Mb, MotionState& Motion)
{
    const h264::MotionVector Mv = h264::PredictSkip(FindMotionNeighbours<kMbaff>(Slice.Records, Mb, 0));
    TrackMv(Motion, Mv);
    StoreUniformMotion(Slice.Records, Mb.Number, 0, 0, Mv);
    StoreUnusedList(Slice.Records, Mb.Number, 1);
    Mb.pGlobal->MbType = MBTYPE_SKIPPED;
    Mb.pGlobal->MbFlags |= MBFLAG_SKIPPED | MBFLAG_ONE_MOTION;
}
template void SkipMotionP<false>(const SliceView&, const MbState&, MotionState&);
template void SkipMotionP<true>(const SliceView&, const MbState&, MotionState&);

template <bool kMbaff>
void SkipMotionB(const SliceView& Slice, const MbState& Mb, MotionState& Motion)
{
    StoreDirect<kMbaff>(Slice, Mb, Motion);
    Mb.pGlobal->MbFlags |= MBFLAG_SKIPPED;
}
template void SkipMotionB<false>(const SliceView&, const MbState&, MotionState&);
template void SkipMotionB<true>(const SliceView&, const MbState&, MotionState&);

void ClearMotion(const H264MbInfo& Records, int32_t Number, bool IsBSlice)
{
    StoreUniformMotion(Records, Number, 0, h264::kRefNone, {0, 0});
    if (IsBSlice)
        StoreUniformMotion(Records, Number, 1, h264::kRefNone, {0, 0});
    else
        StoreUnusedList(Records, Number, 1);
}

template <class Syntax, SliceType kSlice>
bool ReadMotion(const SliceView& Slice, const MbState& Mb, EntropyState& State, MotionState& Motion, uint32_t Type)
{
    if constexpr (kSlice == SLICE_B)
        return ReadMotionB<Syntax>(Slice, Mb, State, Motion, Type);
    else
        return ReadMotionP<Syntax>(Slice, Mb, State, Motion, Type);
}
#define INSTANTIATE(Elements, kSlice)                                                                                  \
    template bool ReadMotion<SyntaxOf<Elements, false>, kSlice>(const SliceView&, const MbState&, EntropyState&,       \
                                                                MotionState&, uint32_t);                               \
    template bool ReadMotion<SyntaxOf<Elements, true>, kSlice>(const SliceView&, const MbState&, EntropyState&,        \
                                                               MotionState&, uint32_t)
INSTANTIATE(CavlcSyntax, SLICE_P);
INSTANTIATE(CavlcSyntax, SLICE_B);
INSTANTIATE(CabacSyntax, SLICE_P);
INSTANTIATE(CabacSyntax, SLICE_B);
#undef INSTANTIATE

template <class Syntax>
void ReadIntraModes(const SliceView& Slice, const MbState& Mb, EntropyState& State)
{
    int8_t Cache[kCacheSize];
    LoadIntraModes<Syntax::kMbaff>(Slice, Mb, Cache);
    const bool Is8x8 = (Mb.pGlobal->MbFlags & MBFLAG_TRANSFORM8x8) != 0;
    for (int i = 0; i < 16; i += Is8x8 ? 4 : 1) {
        int8_t* const pMode = Cache + kBlockCachePos[i];
        const int Predicted = h264::PredictIntraMode(pMode[-1], pMode[-kCacheStride]);
        int Mode = Syntax::IntraMode(State);
        if (Mode < 0)
            Mode = Predicted;
        else if (Mode >= Predicted)
            ++Mode;
        pMode[0] = static_cast<int8_t>(Mode);
        if (Is8x8) pMode[1] = pMode[kCacheStride] = pMode[kCacheStride + 1] = pMode[0];
    }
    uint8_t* const pModes = Slice.Local.pIntraModes + Mb.Number * 16;
    for (int y = 0; y < 4; ++y) std::memcpy(pModes + y * 4, Cache + CachePos(0, y), 4);
}
template void ReadIntraModes<SyntaxOf<CavlcSyntax, false>>(const SliceView&, const MbState&, EntropyState&);
template void ReadIntraModes<SyntaxOf<CabacSyntax, false>>(const SliceView&, const MbState&, EntropyState&);
template void ReadIntraModes<SyntaxOf<CavlcSyntax, true>>(const SliceView&, const MbState&, EntropyState&);
template void ReadIntraModes<SyntaxOf<CabacSyntax, true>>(const SliceView&, const MbState&, EntropyState&);

} // namespace UMC
