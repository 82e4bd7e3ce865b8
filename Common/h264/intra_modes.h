// How the modes of intra blocks are coded, H.264 clauses 8.3.1.1 and 8.3.2.1.
#pragma once

#include <algorithm>
#include <cstdint>

namespace h264 {

/// Intra_4x4_DC and Intra_8x8_DC: also what a macroblock of another kind stands for.
inline constexpr uint8_t kIntraDcMode = 2;

/// predIntra4x4PredMode or predIntra8x8PredMode, from the modes left and above; -1 for one that makes DC the prediction
/// (dcPredModePredictedFlag).
constexpr int32_t PredictIntraMode(int32_t Left, int32_t Top)
{
    const int32_t Least = std::min(Left, Top);
    return Least < 0 ? kIntraDcMode : Least;
}

} // namespace h264
