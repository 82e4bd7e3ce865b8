// Motion vector prediction of H.264 clause 8.4.1 for macroblocks of frames and fields, on the motion cache.
#pragma once

#include "decoder/h264_segment_decoder.h"

#include <algorithm>
#include <cstdint>

namespace UMC {

inline int16_t Median(int16_t a, int16_t b, int16_t c) { return std::max(std::min(a, b), std::min(std::max(a, b), c)); }

// Sum as 16-bit numbers: a damaged difference wraps.
inline H264DecoderMotionVector operator+(H264DecoderMotionVector a, H264DecoderMotionVector b)
{
    return {static_cast<int16_t>(a.mvx + b.mvx), static_cast<int16_t>(a.mvy + b.mvy)};
}

// Where a block's neighbours stand in the cache. C is the block above-right, or above-left when that is not there.
struct MotionNeighbours {
    int A, B, C;
};

// For the block at Pos, Width 4x4 blocks wide. NoC: the block above-right comes later in decoding order though it lies in
// this macroblock; places outside the macroblock that are not there have kRefUnavailable.
inline MotionNeighbours FindMotionNeighbours(const MotionCache& Cache, int Pos, int Width, bool NoC = false)
{
    const int Right = Pos - kCacheStride + Width;
    const bool HasC = !NoC && Cache.Ref[Right] != kRefUnavailable;
    return {Pos - 1, Pos - kCacheStride, HasC ? Right : Pos - kCacheStride - 1};
}

// Clause 8.4.1.3.1: the median, or the only neighbour with the same reference.
inline H264DecoderMotionVector PredictMedian(const MotionCache& Cache, const MotionNeighbours& n, int RefIdx)
{
    const H264DecoderMotionVector A = Cache.Mv[n.A], B = Cache.Mv[n.B], C = Cache.Mv[n.C];
    const int RefA = Cache.Ref[n.A], RefB = Cache.Ref[n.B], RefC = Cache.Ref[n.C];
    const int Matches = (RefA == RefIdx) + (RefB == RefIdx) + (RefC == RefIdx);
    if (Matches == 1) return RefA == RefIdx ? A : RefB == RefIdx ? B : C;
    if (RefB == kRefUnavailable && RefC == kRefUnavailable && RefA != kRefUnavailable) return A;
    return {Median(A.mvx, B.mvx, C.mvx), Median(A.mvy, B.mvy, C.mvy)};
}

inline H264DecoderMotionVector PredictMv(const MotionCache& Cache, int Pos, int Width, int RefIdx, bool NoC = false)
{
    return PredictMedian(Cache, FindMotionNeighbours(Cache, Pos, Width, NoC), RefIdx);
}

// Clause 8.4.1.3, directional prediction of 16x8 and 8x16 partitions, Part 0 or 1.
H264DecoderMotionVector PredictMv16x8(const MotionCache& Cache, int Part, int RefIdx);
H264DecoderMotionVector PredictMv8x16(const MotionCache& Cache, int Part, int RefIdx);

// Clause 8.4.1.1.
H264DecoderMotionVector PredictMvSkip(const MotionCache& Cache);

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
