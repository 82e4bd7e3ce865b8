// What the macroblocks around the current one say to its decision, its predictions and its syntax.
#pragma once

#include "Common/h264/coefficient_counts.h"
#include "Common/h264/mb_neighbours.h"
#include "Common/h264/motion_prediction.h"
#include "encoder/state/encoder_types.h"
#include "kernels/intra/intra.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

inline constexpr uint8_t kNoMacroblock = 0xFF; // MacroblockType of a neighbour that is not available

// The record of a neighbour that is not available: all luma is in its pattern, and no block is coded.
inline constexpr LocalMacroblock kAbsentMacroblock = [] {
    LocalMacroblock m{};
    m.Pattern = 15;
    return m;
}();

// total_coeff of a macroblock's blocks: 16 luma in raster order, then room for all of Cb and of Cr.
inline constexpr int32_t kFirstCount[3]{0, 16, 16 + kMaxChromaBlocks};
inline constexpr int32_t kCountsPerMb = 16 + 2 * kMaxChromaBlocks;

// The picture's tables that a slice's neighbours are read from, set when the slice begins.
struct NeighbourTables {
    int32_t FirstMb; // of the slice: what lies before it is not available
    int32_t MbWidth;
    int32_t ChromaFormat; // chroma_format_idc
    const GlobalMacroblock* pGlobal;
    const LocalMacroblock* pLocal;
    const uint8_t* pIntraModes; // 16 for each macroblock, raster order, as are those below
    int32_t Lists;              // that the slice uses: 0, 1 or 2
    const MotionVector* pVectors[2];
    const int8_t* pReferences[2];
    const MotionVector* pDifferences[2]; // mvd; null where no context asks for them
    const uint8_t* pCounts;              // kCountsPerMb for each macroblock; null where no code asks for them
};

// Motion around a macroblock, of one list.
struct NeighbourMotion {
    h264::BlockMotion Left(size_t Row) const { return {LeftVectors[Row], LeftRefs[Row]}; }       // A of clause 6.4.11.7
    h264::BlockMotion Top(size_t Column) const { return {TopVectors[Column], TopRefs[Column]}; } // B
    /// The neighbours of the whole macroblock, D in place of a C that is not available (clause 8.4.1.3.2).
    h264::MotionNeighbours Of16x16() const
    {
        return {Left(0), Top(0), TopRight.RefIdx == h264::kRefUnavailable ? TopLeft : TopRight};
    }

    MotionVector LeftVectors[4], TopVectors[4];
    MotionVector LeftDifferences[4], TopDifferences[4]; // mvd; not filled with CAVLC
    int8_t LeftRefs[4], TopRefs[4];
    h264::BlockMotion TopRight, TopLeft; // C and D
    // In frames of pairs, D of the blocks in rows 1..3 of the left column: they may lie in other macroblocks than the
    // blocks beside the row above.
    h264::BlockMotion LeftCorners[3];
    bool HasLeftCorners = false; // an encoder's macroblocks either all have them or none has
    // Where C lies, in whatever slice: a search may start from it. Null outside the picture.
    const MotionVector* pTopRightOfPicture;
};

/// Filled in one place when a macroblock begins, and nowhere else. What lies to the left is kept by row of 4x4 blocks,
/// what lies above by column.
struct NeighbourCache {
    bool Has(kernels::IntraAvailable What) const { return (Available & What) != 0; }

    uint32_t Available; // kernels::IntraAvailable
    uint8_t LeftType, TopType;
    uint8_t LeftFlags, TopFlags; // of GlobalMacroblock; 0 where not available
    // Records whose right column (left) and lower row (above) lie beside the current macroblock.
    const LocalMacroblock *pLeft, *pTop;
    int8_t LeftModes[4], TopModes[4];          // Intra4x4PredMode, -1 where not available
    NeighbourMotion Motion[2];                 // those of the lists that the slice uses
    uint8_t LeftCounts[3][4], TopCounts[3][4]; // [Y, Cb, Cr]; those that the plane is wide or high
    LocalMacroblock MixedLeft; // pLeft where two macroblocks lie there: the first one, with the right column of both
};

/// @param X  the column of macroblock Index
void FillNeighbours(NeighbourCache& n, const NeighbourTables& t, int32_t Index, int32_t X);
/// The same of a macroblock in a frame of pairs, for the kind that it is taken for (clauses 6.4.12.2 and 8.4.1.3.1).
/// @param Pairs  found for its pair, and gone to the macroblock
void FillNeighboursInPair(NeighbourCache& n, const NeighbourTables& t, const h264::PairNeighbours& Pairs, bool IsField);

} // namespace UMC_H264_ENCODER
