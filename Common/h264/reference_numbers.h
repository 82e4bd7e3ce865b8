// The numbers that references are called by, H.264 clause 8.2.4.1, and the sliding window's rule, clause 8.2.5.3.
#pragma once

#include <algorithm>
#include <cstdint>

namespace h264 {

/// FrameNumWrap of a short-term reference: frames behind the wrap of frame_num count below 0.
constexpr int32_t FrameNumWrap(int32_t FrameNum, int32_t CurrentFrameNum, int32_t MaxFrameNum)
{
    return FrameNum > CurrentFrameNum ? FrameNum - MaxFrameNum : FrameNum;
}

/// PicNum or LongTermPicNum of a field, by FrameNumWrap or LongTermFrameIdx of its frame; that of a frame is the number
/// itself. A picture in work is of its own parity: its CurrPicNum is FieldPicNum(frame_num, true).
constexpr int32_t FieldPicNum(int32_t FrameNumber, bool IsSameParity) { return 2 * FrameNumber + IsSameParity; }

/// Whether the oldest short-term reference has to go before one more picture is marked. A stream that states no
/// references keeps one all the same.
constexpr bool IsWindowFull(int32_t References, int32_t num_ref_frames)
{
    return References >= std::max(num_ref_frames, 1);
}

} // namespace h264
