// Pictures that never came: gaps in frame_num (clause 8.2.5.2), and references for slices that have none.
#pragma once

#include "Common/h264/pic_order_cnt.h"
#include "decoder/session/frame_store.h"
#include "decoder/session/reference_marking.h"
#include "decoder/slice/slice.h"

namespace UMC {

// Makes frames up and marks them. What refuses the picture for want of room goes into Refused.
class FrameGaps
{
public:
    FrameGaps(const FramesInHand& Frames, FrameStore& Store, ReferenceMarking& Marking, h264::PicOrderCounter& PicOrder)
        : m_Frames(Frames), m_Store(Store), m_Marking(Marking), m_PicOrder(PicOrder)
    {
    }

    // In front of the picture of a slice. False when there is no room for all of the frames or for the picture, now or
    // while others are in flight.
    bool FillFrameGaps(const H264Slice& Slice, Status& Refused);
    // A P or B slice with nothing to refer to gets a grey picture, so that decoding can go on. Where memory runs out
    // the slice goes on without.
    void MakeUpReference(const H264Slice& Slice, Status& Refused);

private:
    bool FillOneGap(const H264Slice& Slice, int32_t FrameNum, Status& Refused);

    const FramesInHand& m_Frames;
    FrameStore& m_Store;
    ReferenceMarking& m_Marking;
    h264::PicOrderCounter& m_PicOrder; // counts the frames of a gap
};

} // namespace UMC
