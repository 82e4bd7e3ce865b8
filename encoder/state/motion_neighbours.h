// The motion around a whole macroblock of a frame picture, as the prediction of its vector looks at it.
#pragma once

#include "Common/h264/motion_prediction.h"
#include "encoder/state/slice_context.h"

namespace UMC_H264_ENCODER {

template <class Sample>
h264::BlockMotion MotionOf(const H264EncoderFrame<Sample>& Frame, int32_t List, int32_t MbIndex, int32_t RasterBlock)
{
    if (MbIndex < 0) return {{0, 0}, h264::kRefUnavailable};
    const ptrdiff_t i = static_cast<ptrdiff_t>(MbIndex) * 16 + RasterBlock;
    return {Frame.mb_motion[List][i], Frame.mb_reference[List][i]};
}

// The neighbours of a 16x16 block; the one above left stands in for the one above right (clause 8.4.1.3.2).
template <class Sample>
h264::MotionNeighbours NeighboursOf16x16(const H264EncoderFrame<Sample>& f, const CurrentMacroblock<Sample>& mb,
                                         int32_t List)
{
    return {MotionOf(f, List, mb.left, 3), MotionOf(f, List, mb.top, 12),
            mb.top_right >= 0 ? MotionOf(f, List, mb.top_right, 12) : MotionOf(f, List, mb.top_left, 15)};
}

} // namespace UMC_H264_ENCODER
