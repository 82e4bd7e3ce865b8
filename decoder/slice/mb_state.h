// What a segment decoder keeps of the macroblock in hand and of its neighbours.
#pragma once

#include "Common/h264/chroma_geometry.h"
#include "Common/h264/motion_prediction.h"
#include "decoder/picture/mb_info.h"
#include "decoder/slice/neighbours.h"

#include <cstdint>

namespace UMC {

// A scratch of 4x4 blocks with a border: five rows of eight, the macroblock at columns 4..7 of rows 1..4, the left
// neighbour at column 3, the row above at row 0, what lies above-right at column 0 of row 1 and above-left at column 3
// of row 0. A step right of column 7 thus lands on the next row's column 0, where rows 2..4 hold nothing at all. In
// MBAFF frames column 2 of rows 0..3 has what lies above-left of the first block in each row of the macroblock, for
// that need not be what lies left of the block above.
inline constexpr int kCacheStride = 8;
inline constexpr int kCacheSize = 5 * kCacheStride;
inline constexpr int kCacheOrigin = kCacheStride + 4;
inline constexpr int CachePos(int x, int y) { return kCacheOrigin + y * kCacheStride + x; }
inline constexpr int kCacheTopRight = CachePos(4, -1);

// Cache places of the 16 luma blocks in luma4x4BlkIdx order (clause 6.4.3).
inline constexpr uint8_t kBlockCachePos[16] = {CachePos(0, 0), CachePos(1, 0), CachePos(0, 1), CachePos(1, 1),
                                               CachePos(2, 0), CachePos(3, 0), CachePos(2, 1), CachePos(3, 1),
                                               CachePos(0, 2), CachePos(1, 2), CachePos(0, 3), CachePos(1, 3),
                                               CachePos(2, 2), CachePos(3, 2), CachePos(2, 3), CachePos(3, 3)};
// Of a chroma block: two a row in raster order, but in 4:4:4 as luma (clauses 6.4.3 and 6.4.7).
template <int color_format>
constexpr int ChromaCachePos(int Block)
{
    if constexpr (color_format == h264::CHROMA_444) return kBlockCachePos[Block];
    return CachePos(Block & 1, Block >> 1);
}

// Motion of one list around the macroblock. A vector whose reference is negative is 0.
struct alignas(16) MotionCache {
    h264::MotionVector Mv[kCacheSize];
    int8_t Ref[kCacheSize];
    uint8_t Mvd[kCacheSize][2]; // magnitudes as in MbMvd
};

inline bool IsIntra(int8_t MbType) { return MbType <= MBTYPE_PCM; }
inline bool IsIntra(const MbGlobalInfo& Mb) { return IsIntra(Mb.MbType); }
inline bool IsFieldMb(const MbGlobalInfo& Mb) { return (Mb.MbFlags & MBFLAG_FIELD) != 0; }

// The macroblock in hand. Neighbours are -1 when they lie outside the picture or the slice; their records then are the
// slice's stand-ins, which add nothing to any CABAC context. Part of a cursor, whose BeginMacroblock() alone writes it;
// the stages write what pGlobal and pLocal point to.
struct MbState : MbAround {
    int32_t Number = 0;            // in the frame's arrays
    int32_t X = 0, Y = 0;          // in macroblocks, within the frame or field
    PairNeighbours Pairs;          // MBAFF frames
    MbLocalInfo SeenLeft, SeenTop; // MBAFF frames: the neighbours' records as they look from here
    MbGlobalInfo* pGlobal = nullptr;
    MbLocalInfo* pLocal = nullptr;
    const MbGlobalInfo *pLeftGlobal = nullptr, *pTopGlobal = nullptr;
    const MbLocalInfo *pLeftLocal = nullptr, *pTopLocal = nullptr;
};

inline bool IsFieldMb(const MbState& Mb) { return IsFieldMb(*Mb.pGlobal); }

// The 4x4 block left of the macroblock beside row y of its blocks, of which there are Rows: 4, and 2 or 4 in chroma
// planes. Row counts blocks.
template <bool kMbaff>
[[gnu::always_inline]] inline NeighbourRow LeftBlock(const MbState& Mb, int y, int Rows = 4)
{
    if constexpr (!kMbaff) return {Mb.Left, y};
    const NeighbourRow r = Mb.Pairs.At(Column::Left, y * 4, Rows * 4, IsFieldMb(Mb));
    return {r.Mb, r.Row / 4};
}
// The luma block that holds the sample above-left of the first block of row y.
template <bool kMbaff>
[[gnu::always_inline]] inline NeighbourRow AboveLeftBlock(const MbState& Mb, int y)
{
    if constexpr (!kMbaff) return y == 0 ? NeighbourRow{Mb.TopLeft, 3} : NeighbourRow{Mb.Left, y - 1};
    const NeighbourRow r = Mb.Pairs.At(Column::Left, y * 4 - 1, 16, IsFieldMb(Mb));
    return {r.Mb, r.Row / 4};
}

// Inter prediction shape of a macroblock or of an 8x8 block.
enum BlockShape : uint8_t { SHAPE_WHOLE = 0, SHAPE_ROWS = 1, SHAPE_COLUMNS = 2, SHAPE_QUARTERS = 3, SHAPE_DIRECT = 4 };

// SubBlockType bit that marks a direct 8x8 block; the low two bits hold its shape.
inline constexpr uint8_t SUBTYPE_SHAPE = 3;
inline constexpr uint8_t SUBTYPE_DIRECT = 4;

} // namespace UMC
