// Motion vector prediction of H.264 clause 8.4.1 for macroblocks of frames and fields, on the motion cache. With kMbaff
// they stand in pairs of either kind.
#pragma once

#include "decoder/slice/slice_cursor.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace UMC {

// For the block at Pos, Width 4x4 blocks wide. NoC: the block above-right comes later in decoding order though it lies
// in this macroblock; places outside the macroblock that are not there have h264::kRefUnavailable.
template <bool kMbaff>
inline h264::MotionNeighbours FindMotionNeighbours(const MotionCache& Cache, int Pos, int Width, bool NoC = false)
{
    const auto At = [&](int p) { return h264::BlockMotion{Cache.Mv[p], Cache.Ref[p]}; };
    const int Right = Pos - kCacheStride + Width;
    const bool HasC = !NoC && Cache.Ref[Right] != h264::kRefUnavailable;
    const int AboveLeft = Pos - kCacheStride - (kMbaff && Pos % kCacheStride == kCacheOrigin % kCacheStride ? 2 : 1);
    return {At(Pos - 1), At(Pos - kCacheStride), At(HasC ? Right : AboveLeft)};
}

// Makes motion of a neighbouring macroblock what it looks like from the one in hand.
template <class Index>
inline void SeeFrom(const MbState& Mb, const MbGlobalInfo& Neighbour, h264::MotionVector& Mv, Index& RefIdx)
{
    const bool IsField = IsFieldMb(Mb);
    if (RefIdx < 0 || IsFieldMb(Neighbour) == IsField) return;
    h264::SeeAcrossKinds(IsField, Mv, RefIdx);
}

// Where motion around the whole macroblock stands in the records' arrays: -1 for what is not there.
struct MotionPlaces {
    int32_t A, B, C;
};
template <bool kMbaff>
inline MotionPlaces FindMotionPlaces(const MbState& Mb)
{
    const auto In = [](NeighbourRow Block, int Column) {
        return Block.Mb < 0 ? -1 : Block.Mb * 16 + Block.Row * 4 + Column;
    };
    return {In(LeftBlock<kMbaff>(Mb, 0), 3), In({Mb.Top, 3}, 0),
            Mb.TopRight >= 0 ? In({Mb.TopRight, 3}, 0) : In(AboveLeftBlock<kMbaff>(Mb, 0), 3)};
}

// For the whole macroblock, straight from its neighbours' records.
template <bool kMbaff>
inline h264::MotionNeighbours FindMotionNeighbours(const H264MbInfo& Records, const MbState& Mb, const MotionPlaces& p,
                                                   int List)
{
    const auto At = [&](int32_t i) {
        if (i < 0) return h264::BlockMotion{{0, 0}, h264::kRefUnavailable};
        h264::BlockMotion m{Records.pMv[List][i], Records.pRefIdx[List][i]};
        if constexpr (kMbaff) SeeFrom(Mb, Records.pGlobal[i / 16], m.Mv, m.RefIdx);
        return m;
    };
    return {At(p.A), At(p.B), At(p.C)};
}
template <bool kMbaff>
inline h264::MotionNeighbours FindMotionNeighbours(const H264MbInfo& Records, const MbState& Mb, int List)
{
    return FindMotionNeighbours<kMbaff>(Records, Mb, FindMotionPlaces<kMbaff>(Mb), List);
}

template <bool kMbaff>
inline h264::MotionVector PredictMv(const MotionCache& Cache, int Pos, int Width, int RefIdx, bool NoC = false)
{
    return h264::PredictMedian(FindMotionNeighbours<kMbaff>(Cache, Pos, Width, NoC), RefIdx);
}

// Fills the borders of the cache of a list from the neighbours' records.
template <bool kMbaff>
void LoadMotion(MotionCache& Cache, const H264MbInfo& Records, const MbState& Mb, int List);
// The same for the vector differences that CABAC contexts read (clause 9.3.3.1.1.7).
template <bool kMbaff>
void LoadMvd(MotionCache& Cache, const H264MbInfo& Records, const MbMvd* pMvd, const MbState& Mb);

// Fills Width x Height 4x4 blocks from Pos on: Width is 1, 2 or 4.
[[gnu::always_inline]] inline void FillRef(MotionCache& Cache, int Pos, int Width, int Height, int RefIdx)
{
    const uint32_t Row = static_cast<uint8_t>(RefIdx) * 0x01010101u;
    for (int y = 0; y < Height; ++y, Pos += kCacheStride) {
        if (Width == 4)
            std::memcpy(&Cache.Ref[Pos], &Row, 4);
        else if (Width == 2)
            std::memcpy(&Cache.Ref[Pos], &Row, 2);
        else
            Cache.Ref[Pos] = static_cast<int8_t>(RefIdx);
    }
}
[[gnu::always_inline]] inline void FillMv(MotionCache& Cache, int Pos, int Width, int Height, h264::MotionVector Mv)
{
    for (int y = 0; y < Height; ++y, Pos += kCacheStride) {
        Cache.Mv[Pos] = Mv;
        if (Width >= 2) Cache.Mv[Pos + 1] = Mv;
        if (Width == 4) Cache.Mv[Pos + 2] = Cache.Mv[Pos + 3] = Mv;
    }
}
[[gnu::always_inline]] inline void FillMvd(MotionCache& Cache, int Pos, int Width, int Height, const uint8_t Mvd[2])
{
    uint16_t Pair;
    std::memcpy(&Pair, Mvd, 2);
    const auto Put = [&](int p) { std::memcpy(Cache.Mvd[p], &Pair, 2); };
    for (int y = 0; y < Height; ++y, Pos += kCacheStride) {
        Put(Pos);
        if (Width >= 2) Put(Pos + 1);
        if (Width < 4) continue;
        Put(Pos + 2);
        Put(Pos + 3);
    }
}

// Writes the macroblock's part of the cache to the frame's records of macroblock Number.
void StoreMotion(const MotionCache& Cache, const H264MbInfo& Records, int32_t Number, int List);
// Writes one motion for the whole macroblock; the cache is left alone.
void StoreUniformMotion(const H264MbInfo& Records, int32_t Number, int List, int RefIdx, h264::MotionVector Mv);
// The same for one quadrant of it.
void StoreQuadrantMotion(const H264MbInfo& Records, int32_t Number, int Quadrant, int List, int RefIdx,
                         h264::MotionVector Mv);
// Writes references of -1 alone: a list that the slice type does not use.
void StoreUnusedList(const H264MbInfo& Records, int32_t Number, int List);
// Writes the last row and column of differences.
void StoreMvd(const MotionCache& Cache, MbMvd& Mvd);
void StoreUniformMvd(MbMvd& Out, const uint8_t Mvd[2]);

} // namespace UMC
