// mb_type of the macroblock layer, as far as numbers are told apart by more than their own table (clause 7.4.5).
#pragma once

#include <cstdint>

namespace h264 {

// Table 7-11, I slices. P and B slices have the same types behind their own.
inline constexpr uint32_t kIntraNxNType = 0, kFirstIntra16x16Type = 1, kIntraPcmType = 25;
inline constexpr uint32_t kFirstIntraTypeP = 5;  // behind Table 7-13
inline constexpr uint32_t kFirstIntraTypeB = 23; // behind Table 7-14

/// The number of an Intra 16x16 macroblock. Chroma is 0..2, CodedBlockPatternChroma.
constexpr uint32_t Intra16x16Type(uint32_t Mode, uint32_t Chroma, bool HasLumaAc)
{
    return kFirstIntra16x16Type + Mode + 4 * Chroma + (HasLumaAc ? 12 : 0);
}

} // namespace h264
