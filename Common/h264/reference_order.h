// The order of pictures in the initial reference lists, H.264 clause 8.2.4.2: whether a picture that has number a
// stands in front of one that has b.
#pragma once

#include <cstdint>

namespace h264 {

/// Short-term pictures of P slices, by PicNum in frames and by FrameNumWrap of the frame in fields: the latest first.
constexpr bool IsBeforeInListP(int32_t a, int32_t b) { return a > b; }

/// Short-term pictures of list 0 or 1 of B slices by order count: list 0 begins with those before the picture whose
/// count is Current, the nearest first, list 1 with those behind it. A count equal to Current is that of the frame
/// whose second field the picture is (clause 8.2.4.2.4), and lies before it.
constexpr bool IsBeforeInListB(int List, int32_t a, int32_t b, int32_t Current)
{
    const bool IsPastA = a <= Current, IsPastB = b <= Current;
    if (IsPastA != IsPastB) return IsPastA == (List == 0);
    return IsPastA ? a > b : a < b;
}

/// Long-term pictures of all lists, behind the others: by LongTermPicNum in frames, LongTermFrameIdx in fields.
constexpr bool IsBeforeInLongTerm(int32_t a, int32_t b) { return a < b; }

} // namespace h264
