// The syntax of a macroblock (clause 7.3.5): which elements stand in it, and in what order. How an element becomes bins
// or codes is the policy's matter: CabacSyntax or CavlcSyntax, on a coder that writes or counts.
#pragma once

#include "encoder/state/neighbour_cache.h"
#include "encoder/state/syntax_of_slice.h"
#include "encoder/write/block_levels.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

// What is to be written of a macroblock. Levels of a block are read where LocalMacroblock::Coded has its bit.
//
// With the 8x8 transform (kFlagTransform8x8) all four bits of a quadrant with levels are set. CABAC then reads
// pLuma8x8; CAVLC reads the quadrant's four interleaved lists (clause 7.3.5.3.2) in pLuma, any of which may be empty.
// An inter macroblock without luma in its pattern is not one with that transform, for its neighbours either. The record
// of MB_PCM, for the contexts of later macroblocks, has all bits of Coded and CodedDc, Pattern 0x2F and ChromaMode 0.
template <class LevelType>
struct MacroblockSyntax {
    const SyntaxOfSlice& Slice;
    int32_t num_ref_idx[2]; // active for this macroblock: twice those of the slice for a field macroblock of a frame
    uint8_t Type;           // MacroblockType
    uint8_t Flags;          // of GlobalMacroblock
    int32_t QpDelta;        // QPY less that of the macroblock before; mb_qp_delta, where it stands
    const LocalMacroblock& Local;
    const NeighbourCache& Around;
    const int8_t* pReferences[2];        // of the lists, 16 each, raster order; a list that a block does not use has
                                         // kRefNone there. In P slices list 1 is not read
    const MotionVector* pDifferences[2]; // mvd, likewise; 0 where nothing is written
    const uint8_t* pIntraModes;          // 16, raster order; of an 8x8 block four times
    const BlockLevels<LevelType>* pLuma; // 16, luma4x4BlkIdx order
    const BlockLevels8x8<LevelType>* pLuma8x8; // 4
    const BlockLevels<LevelType>& LumaDc;
    const BlockLevels<LevelType>* pChromaDc; // Cb, Cr
    const BlockLevels<LevelType> (*pChromaAc)[kMaxChromaBlocks];
    const uint16_t* pPcm; // of MB_PCM: luma, Cb, Cr, each in raster order
};

/// Writes mb_skip_flag or counts it to mb_skip_run, and all that follows but end_of_slice_flag.
/// @return whether mb_qp_delta stood in it
template <class LevelType, class Policy>
bool WriteMacroblockSyntax(const MacroblockSyntax<LevelType>& m, Policy p);

/// What follows mb_skip_flag or mb_skip_run of a macroblock that is not skipped, for the pairs of a frame: there
/// mb_field_decoding_flag may stand between the two. @return as above
template <class LevelType, class Policy>
bool WriteMacroblockLayer(const MacroblockSyntax<LevelType>& m, Policy p);

} // namespace UMC_H264_ENCODER
