// Prediction of motion vectors from neighbouring blocks, H.264 clause 8.4.1.
#pragma once

#include "Common/h264/motion_vector.h"

#include <algorithm>
#include <cstdint>

namespace h264 {

inline constexpr int8_t kRefNone = -1;        // intra, or the list is not used
inline constexpr int8_t kRefUnavailable = -2; // outside the slice or not decoded yet

/// Motion of one neighbouring block. A vector whose reference is negative is 0.
struct BlockMotion {
    MotionVector Mv;
    int RefIdx;
};

/// Of the neighbours left of a block (A), above (B) and above-right, or above-left when that is not there (C).
struct MotionNeighbours {
    BlockMotion A, B, C;
};

inline int16_t Median(int16_t a, int16_t b, int16_t c) { return std::max(std::min(a, b), std::min(std::max(a, b), c)); }

/// Clause 8.4.1.3.1: the median, or the only neighbour with the same reference.
inline MotionVector PredictMedian(const MotionNeighbours& n, int RefIdx)
{
    const int Matches = (n.A.RefIdx == RefIdx) + (n.B.RefIdx == RefIdx) + (n.C.RefIdx == RefIdx);
    if (Matches == 1) return n.A.RefIdx == RefIdx ? n.A.Mv : n.B.RefIdx == RefIdx ? n.B.Mv : n.C.Mv;
    if (n.B.RefIdx == kRefUnavailable && n.C.RefIdx == kRefUnavailable && n.A.RefIdx != kRefUnavailable) return n.A.Mv;
    return {Median(n.A.Mv.x, n.B.Mv.x, n.C.Mv.x), Median(n.A.Mv.y, n.B.Mv.y, n.C.Mv.y)};
}

/// Clause 8.4.1.3, directional prediction of Part 0 (upper, left) or 1 of a macroblock in two halves.
inline MotionVector PredictHalfRows(const MotionNeighbours& n, int Part, int RefIdx) // 16x8
{
    const BlockMotion& Preferred = Part == 0 ? n.B : n.A;
    return Preferred.RefIdx == RefIdx ? Preferred.Mv : PredictMedian(n, RefIdx);
}
inline MotionVector PredictHalfColumns(const MotionNeighbours& n, int Part, int RefIdx) // 8x16
{
    const BlockMotion& Preferred = Part == 0 ? n.A : n.C;
    return Preferred.RefIdx == RefIdx ? Preferred.Mv : PredictMedian(n, RefIdx);
}

/// Clause 8.4.1.1: the vector of P_Skip, whose reference is 0.
inline MotionVector PredictSkip(const MotionNeighbours& n)
{
    const auto Stops = [](const BlockMotion& m) {
        return m.RefIdx == kRefUnavailable || (m.RefIdx == 0 && AsWord(m.Mv) == 0);
    };
    if (Stops(n.A) || Stops(n.B)) return {0, 0};
    return PredictMedian(n, 0);
}

} // namespace h264
