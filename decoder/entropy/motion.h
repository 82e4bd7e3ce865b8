// Motion vector prediction of H.264 clause 8.4.1 for macroblocks of frames and fields, on the motion cache.
#pragma once

#include "decoder/jobs/segment_decoder.h"

#include <algorithm>
#include <cstdint>

namespace UMC {

inline int16_t Median(int16_t a, int16_t b, int16_t c) { return std::max(std::min(a, b), std::min(std::max(a, b), c)); }

// Sum as 16-bit numbers: a damaged difference wraps.
inline H264DecoderMotionVector operator+(H264DecoderMotionVector a, H264DecoderMotionVector b)
{
    return {static_cast<int16_t>(a.mvx + b.mvx), static_cast<int16_t>(a.mvy + b.mvy)};
}

// Motion of one neighbouring block. A vector whose reference is negative is 0.
struct BlockMotion {
    H264DecoderMotionVector Mv;
    int RefIdx;
};

// Of the neighbours left of a block (A), above (B) and above-right, or above-left when that is not there (C).
struct MotionNeighbours {
    BlockMotion A, B, C;
};

// For the block at Pos, Width 4x4 blocks wide. NoC: the block above-right comes later in decoding order though it lies
// in this macroblock; places outside the macroblock that are not there have kRefUnavailable.
inline MotionNeighbours FindMotionNeighbours(const MotionCache& Cache, int Pos, int Width, bool NoC = false)
{
    const auto At = [&](int p) { return BlockMotion{Cache.Mv[p], Cache.Ref[p]}; };
    const int Right = Pos - kCacheStride + Width;
    const bool HasC = !NoC && Cache.Ref[Right] != kRefUnavailable;
    return {At(Pos - 1), At(Pos - kCacheStride), At(HasC ? Right : Pos - kCacheStride - 1)};
}

// For the whole macroblock, straight from its neighbours' records.
inline MotionNeighbours FindMotionNeighbours(const H264SegmentDecoder& Decoder, int List)
{
    const MbState& Mb = Decoder.m_Mb;
    const auto At = [&](int32_t Neighbour, int Block) {
        if (Neighbour < 0) return BlockMotion{{0, 0}, kRefUnavailable};
        const int32_t i = Neighbour * 16 + Block;
        return BlockMotion{Decoder.m_MbInfo.m_pMv[List][i], Decoder.m_MbInfo.m_pRefIdx[List][i]};
    };
    return {At(Mb.m_Left, 3), At(Mb.m_Top, 12), Mb.m_TopRight >= 0 ? At(Mb.m_TopRight, 12) : At(Mb.m_TopLeft, 15)};
}

// Clause 8.4.1.3.1: the median, or the only neighbour with the same reference.
inline H264DecoderMotionVector PredictMedian(const MotionNeighbours& n, int RefIdx)
{
    const int Matches = (n.A.RefIdx == RefIdx) + (n.B.RefIdx == RefIdx) + (n.C.RefIdx == RefIdx);
    if (Matches == 1) return n.A.RefIdx == RefIdx ? n.A.Mv : n.B.RefIdx == RefIdx ? n.B.Mv : n.C.Mv;
    if (n.B.RefIdx == kRefUnavailable && n.C.RefIdx == kRefUnavailable && n.A.RefIdx != kRefUnavailable) return n.A.Mv;
    return {Median(n.A.Mv.mvx, n.B.Mv.mvx, n.C.Mv.mvx), Median(n.A.Mv.mvy, n.B.Mv.mvy, n.C.Mv.mvy)};
}

inline H264DecoderMotionVector PredictMv(const MotionCache& Cache, int Pos, int Width, int RefIdx, bool NoC = false)
{
    return PredictMedian(FindMotionNeighbours(Cache, Pos, Width, NoC), RefIdx);
}

// Clause 8.4.1.3, directional prediction of 16x8 and 8x16 partitions, Part 0 or 1.
H264DecoderMotionVector PredictMv16x8(const MotionCache& Cache, int Part, int RefIdx);
H264DecoderMotionVector PredictMv8x16(const MotionCache& Cache, int Part, int RefIdx);

// Clause 8.4.1.1.
H264DecoderMotionVector PredictMvSkip(const MotionNeighbours& Neighbours);

// Fills the borders of the cache of a list from the neighbours' records.
void LoadMotion(H264SegmentDecoder& Decoder, int List);
// The same for the vector differences that CABAC contexts read.
void LoadMvd(H264SegmentDecoder& Decoder, int List);

// Fills Width x Height 4x4 blocks from Pos on.
void FillRef(MotionCache& Cache, int Pos, int Width, int Height, int RefIdx);
void FillMv(MotionCache& Cache, int Pos, int Width, int Height, H264DecoderMotionVector Mv);
void FillMvd(MotionCache& Cache, int Pos, int Width, int Height, const uint8_t Mvd[2]);

// Writes the macroblock's part of the cache to the frame's records.
void StoreMotion(H264SegmentDecoder& Decoder, int List);
// Writes one motion for the whole macroblock; the cache is left alone.
void StoreUniformMotion(H264SegmentDecoder& Decoder, int List, int RefIdx, H264DecoderMotionVector Mv);
// Writes references of -1 alone: a list that the slice type does not use.
void StoreUnusedList(H264SegmentDecoder& Decoder, int List);
// Writes the last row and column of differences.
void StoreMvd(H264SegmentDecoder& Decoder, int List);
void StoreUniformMvd(H264SegmentDecoder& Decoder, int List, const uint8_t Mvd[2]);

} // namespace UMC
