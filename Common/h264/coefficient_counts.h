// nC, by which CAVLC chooses the code of a block's coeff_token (H.264 clause 9.2.1).
#pragma once

#include "Common/h264/chroma_geometry.h"

#include <cstdint>

namespace h264 {

/// total_coeff of a neighbouring block that is not available.
inline constexpr uint8_t kNoCount = 64;

/// From the counts of the blocks to the left and above: their mean, or the only one, or 0. kNoCount is a power of two
/// above all counts, so that one sum tells all cases.
constexpr int32_t FindNc(int32_t Left, int32_t Top)
{
    const int32_t Sum = Left + Top;
    return Sum < kNoCount ? (Sum + 1) >> 1 : Sum & (kNoCount - 1);
}

/// Of a chroma DC block.
constexpr int32_t ChromaDcNc(int32_t chroma_format_idc)
{
    return chroma_format_idc == CHROMA_444 ? 0 : chroma_format_idc == CHROMA_422 ? -2 : -1;
}

} // namespace h264
