// Slices become pictures: which picture a slice belongs to, when a picture begins and when it is complete.
#pragma once

#include "Common/h264/pic_order_cnt.h"
#include "decoder/jobs/segment_decoder.h"
#include "decoder/session/frame_gaps.h"
#include "decoder/session/frame_store.h"
#include "decoder/session/local_mb_pool.h"
#include "decoder/session/pictures_in_work.h"
#include "decoder/session/reference_marking.h"
#include "decoder/session/skipping.h"
#include "decoder/session/stream_headers.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace UMC {

using SegmentDecoders = std::vector<std::unique_ptr<H264SegmentDecoderMultiThreaded>>; // one a thread

// Writes the picture in hand (FramesInHand::CurrentFrame) until it is complete and ready for the broker. Functions that
// may fail tell in Refused what a later call cannot mend; false without that means that there is no room yet. They may
// throw std::bad_alloc, which leaves the buffer consistent.
class PictureAssembly
{
public:
    // Decoders patch what is missing of a picture.
    PictureAssembly(FramesInHand& Frames, FrameStore& Store, PicturesInWork& Work, StreamHeaders& Headers,
                    Skipping& Skip, const SegmentDecoders& Decoders);

    ReferenceMarking& Marking() { return m_Marking; }
    void Init(int32_t ThreadCount) { m_LocalMbInfo.Init(ThreadCount); }
    void Reset();
    void Close();

    // A slice of the picture in hand that is more than the picture can need; to be dropped as if its header were bad.
    bool IsSurplus(const H264Slice& Slice, uint32_t UnitBytes) const;
    // Finds or begins the slice's picture and reserves room for it there.
    bool PlaceSlice(const H264Slice& Slice, Status& Refused);
    // Nothing can refuse a slice that was placed any more. Belongs to its picture from now on.
    void AppendSlice(H264Slice& Slice, uint32_t UnitBytes, Status& Refused);
    // The first slice of the picture in hand; null while there is none that waits for more.
    const H264Slice* FirstInHand() const;
    // A slice of an auxiliary picture that the picture in hand has: reserves room for it there, and adds it. False also
    // drops it.
    bool PlaceAuxiliarySlice(const H264Slice& Slice, uint32_t UnitBytes, Status& Refused);
    void AppendAuxiliarySlice(H264Slice& Slice, uint32_t UnitBytes);

    void EndPicture(); // completes the picture in hand, if there is one
    void EndInput();   // completes it without what is missing; none is in hand any more

private:
    bool OpenPicture(const H264Slice& Slice, Status& Refused);
    H264DecoderFrame* AddFrame(const H264Slice& Slice, Status& Refused);
    void StartPicture(H264DecoderFrame& Frame, const H264Slice& Slice);
    void CompleteMissingField(H264DecoderFrame& Frame);
    void FinishPicture(H264DecoderFrame& Frame, int Field);
    bool SkipPicture(H264DecoderFrame& Frame, int Field);
    std::shared_ptr<LocalMbMemory> Prepare(H264DecoderFrame& Frame, int Field);
    void MakeReady(H264DecoderFrame& Frame, int Field, std::shared_ptr<LocalMbMemory> pLocal);
    void OrderSliceBounds(H264DecoderFrameInfo& Au);
    void SetUpSliceGroups(H264DecoderFrameInfo& Au, LocalMbMemory& Local);

    FramesInHand& m_Frames;
    FrameStore& m_Store;
    PicturesInWork& m_Work;
    StreamHeaders& m_Headers;
    Skipping& m_Skip;
    const SegmentDecoders& m_SegmentDecoders;

    h264::PicOrderCounter m_PicOrder;
    ReferenceMarking m_Marking;
    FrameGaps m_Gaps;
    LocalMbPool m_LocalMbInfo;
    std::vector<uint8_t> m_GroupOfUnit; // scratch: the slice groups of a picture
    int32_t m_FieldIndex = 0;           // 0 while the first field or a frame is filled, 1 for a second field
};

} // namespace UMC
