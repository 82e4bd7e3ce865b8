// The syntax of a macroblock (clause 7.3.5): which elements stand in it, and in what order. How an element becomes bins
// or codes is the policy's matter: CabacSyntax or CavlcSyntax, on a coder that writes or counts.
#pragma once

#include "encoder/state/neighbour_cache.h"
#include "encoder/write/block_levels.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

// What is to be written of a macroblock. Levels of a block are read where LocalMacroblock::Coded has its bit.
template <class LevelType>
struct MacroblockSyntax {
    int32_t slice_type;
    int32_t num_ref_idx_l0;
    int32_t chroma_format_idc; // 1 or 2
    uint8_t Type;              // MB_INTRA4X4, MB_INTRA16X16, MB_INTER16X16 or MB_SKIP_P
    int8_t RefIdx;
    MotionVector Difference; // mvd_l0
    int32_t QpDelta;         // mb_qp_delta, where it stands
    const LocalMacroblock& Local;
    const NeighbourCache& Around;
    const uint8_t* pIntraModes;          // 16, raster order
    const BlockLevels<LevelType>* pLuma; // 16, luma4x4BlkIdx order
    const BlockLevels<LevelType>& LumaDc;
    const BlockLevels<LevelType>* pChromaDc; // Cb, Cr
    const BlockLevels<LevelType> (*pChromaAc)[kMaxChromaBlocks];
};

/// Writes mb_skip_flag or counts it to mb_skip_run, and all that follows but end_of_slice_flag.
/// @return whether mb_qp_delta stood in it
template <class LevelType, class Policy>
bool WriteMacroblockSyntax(const MacroblockSyntax<LevelType>& m, Policy p);

} // namespace UMC_H264_ENCODER
