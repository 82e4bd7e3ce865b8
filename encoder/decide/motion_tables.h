// Prices of bits and the thresholds of the decisions, by QP.
#pragma once

#include <array>
#include <cstdint>

namespace UMC_H264_ENCODER {

inline constexpr int kMaxVectorDifference = 1536; // quarter samples

// Price in distortion units of n bits at a QP: [QP][n].
using BitCostRow = std::array<int16_t, 60>;
extern const std::array<BitCostRow, 52> MVBitCost;

// Bits of one component of a vector difference. From 128 quarter samples up the entry is an approximation, not the
// length of the code.
extern const std::array<uint8_t, 2 * kMaxVectorDifference + 1> MVBitsTable;
inline const uint8_t* MVBits() { return MVBitsTable.data() + kMaxVectorDifference; } // [-1536..1536]

extern const std::array<int32_t, 52> ThresholdME;               // a search may stop at this cost
extern const std::array<int32_t, 52> SkipIntraThreshold;        // below this inter cost intra is not tried
extern const std::array<int16_t, 52> TryAdvancedIntraThreshold; // from this inter cost on small intra blocks are tried
extern const std::array<uint8_t, 52> EdgePelDifference;         // two samples that differ by more make an edge
extern const std::array<uint8_t, 52> EdgePelCount;              // a macroblock with more edges has detail

} // namespace UMC_H264_ENCODER
