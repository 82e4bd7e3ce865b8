// Levels of a block: their worth, and the form the writers take.
#pragma once

#include "encoder/state/encoder_types.h"
#include "encoder/write/block_levels.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

inline constexpr int32_t kCostOfLargeLevel = 9; // a level above 1 is always worth its block

/// The order in which a block's levels are coded (clause 8.5.6).
struct ScanOrder {
    uint8_t Scan4x4[16], Scan8x8[64]; // place in raster order by scan position
    // By eight flags in raster order, of the upper and of the lower half of a 4x4 block: the same flags in scan order.
    uint16_t Flags[2][256];
};
extern const ScanOrder g_Zigzag, g_FieldScan;
inline const ScanOrder& ScanOf(const GlobalMacroblock& mb) { return mb.Flags & kFlagField ? g_FieldScan : g_Zigzag; }

/// What a 4x4 block of levels (raster order) is worth: 3, 2, 2, 1, 1, 1 for a level behind 0 to 5 zeros in scan order
/// and nothing beyond; 9 for the whole block as soon as a magnitude exceeds 1.
/// @param First  1 to leave out the DC level
template <class Coeff>
int32_t CoefficientCost(const Coeff* pLevels, int32_t First, const ScanOrder& Order);

/// Lists the levels of a 4x4 block (raster order) in scan order; position 0 is scan position First.
/// @return CoefficientCost of the block
template <class Coeff, class LevelType>
int32_t ListLevels(const Coeff* pLevels, int32_t First, const ScanOrder& Order, BlockLevels<LevelType>& Out);
/// The same of an 8x8 block, whose levels are worth 3 behind up to 3 zeros, 2 behind up to 11, 1 behind up to 23.
template <class Coeff, class LevelType>
int32_t ListLevels8x8(const Coeff* pLevels, const ScanOrder& Order, BlockLevels8x8<LevelType>& Out);
/// An 8x8 block as the four lists of 16 in which CAVLC codes it (clause 7.3.5.3.2).
template <class LevelType>
void Interleave(const BlockLevels8x8<LevelType>& Block, BlockLevels<LevelType>* pLists);
/// Lists Count levels that are in scan order already (chroma DC).
template <class Coeff, class LevelType>
void ListDcLevels(const Coeff* pLevels, int32_t Count, BlockLevels<LevelType>& Out);

/// What is worth its bits, by the sum of CoefficientCost: the luma of an 8x8 quadrant and of a whole inter macroblock,
/// an 8x8 block, and the AC levels of a chroma plane of one or two 8x8 halves. Levels that are not are dropped.
constexpr bool IsQuadrantWorthCoding(int32_t Cost) { return Cost >= 5; }
constexpr bool IsMacroblockWorthCoding(int32_t Cost) { return Cost >= 7; }
constexpr bool IsBlock8x8WorthCoding(int32_t Cost) { return Cost >= 1; }
constexpr bool IsChromaAcWorthCoding(int32_t Cost, int32_t Halves) { return Cost > 7 * Halves; }

/// Whether an inter macroblock has too much to be skipped, by the luma so far or by the AC levels of one chroma plane.
constexpr bool IsLumaTooMuchToSkip(int32_t Cost) { return Cost >= 6; }
constexpr bool IsChromaTooMuchToSkip(int32_t Cost) { return Cost >= 7; }

} // namespace UMC_H264_ENCODER
