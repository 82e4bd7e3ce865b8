// Levels of a block: their worth, and the form the writers take.
#pragma once

#include "encoder/write/block_levels.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

inline constexpr int32_t kCostOfLargeLevel = 9; // a level above 1 is always worth its block

/// What a 4x4 block of levels (raster order) is worth: 3, 2, 2, 1, 1, 1 for a level behind 0 to 5 zeros in scan order
/// and nothing beyond; 9 for the whole block as soon as a magnitude exceeds 1.
/// @param First  1 to leave out the DC level
template <class Coeff>
int32_t CoefficientCost(const Coeff* pLevels, int32_t First);

/// Lists the levels of a 4x4 block (raster order) in scan order; position 0 is scan position First.
/// @return CoefficientCost of the block
template <class Coeff, class LevelType>
int32_t ListLevels(const Coeff* pLevels, int32_t First, BlockLevels<LevelType>& Out);
/// Lists Count levels that are in scan order already (chroma DC).
template <class Coeff, class LevelType>
void ListDcLevels(const Coeff* pLevels, int32_t Count, BlockLevels<LevelType>& Out);

/// What is worth its bits, by the sum of CoefficientCost: the luma of an 8x8 quadrant and of a whole inter macroblock,
/// and the AC levels of a 4:2:0 chroma plane. Levels that are not are dropped.
constexpr bool IsQuadrantWorthCoding(int32_t Cost) { return Cost >= 5; }
constexpr bool IsMacroblockWorthCoding(int32_t Cost) { return Cost >= 7; }
constexpr bool IsChromaAcWorthCoding(int32_t Cost) { return Cost > 7; }

/// Whether an inter macroblock has too much to be skipped, by the luma so far or by the AC levels of one chroma plane.
constexpr bool IsLumaTooMuchToSkip(int32_t Cost) { return Cost >= 6; }
constexpr bool IsChromaTooMuchToSkip(int32_t Cost) { return Cost >= 7; }

} // namespace UMC_H264_ENCODER
