// What follows from the distance of pictures in order count: the scale of temporal direct prediction, H.264 clause
// 8.4.1.2.3, and implicit weights, clause 8.4.2.3.1.
#pragma once

#include "Common/h264/motion_vector.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace h264 {

inline constexpr int16_t kEvenWeight = 32; // of 64

/// DiffPicOrderCnt as both clauses limit it.
inline int32_t LimitedDistance(int32_t Count, int32_t From)
{
    return static_cast<int32_t>(std::clamp<int64_t>(int64_t{Count} - From, -128, 127));
}

/// DistScaleFactor of a picture with order count Current between two references, whose counts differ: -1024..1023.
inline int32_t DistScaleFactor(int32_t Current, int32_t Count0, int32_t Count1)
{
    const int32_t tb = LimitedDistance(Current, Count0), td = LimitedDistance(Count1, Count0);
    const int32_t tx = (16384 + std::abs(td / 2)) / td;
    return std::clamp((tb * tx + 32) >> 6, -1024, 1023);
}

/// The implicit weight of the list 1 prediction from two short-term references; that of list 0 is 64 less it.
inline int16_t ImplicitWeight(int32_t Current, int32_t Count0, int32_t Count1)
{
    if (Count0 == Count1) return kEvenWeight;
    const int32_t Weight = DistScaleFactor(Current, Count0, Count1) >> 2;
    return Weight < -64 || Weight > 128 ? kEvenWeight : static_cast<int16_t>(Weight);
}

/// A co-located vector by a DistScaleFactor.
constexpr MotionVector ScaleVector(int32_t Factor, MotionVector v)
{
    return {static_cast<int16_t>((Factor * v.x + 128) >> 8), static_cast<int16_t>((Factor * v.y + 128) >> 8)};
}

} // namespace h264
