// The frames of the decoded picture buffer: taking one for a picture, and giving back what no picture needs.
#pragma once

#include "decoder/picture/dpb.h"
#include "decoder/session/frames_in_hand.h"
#include "decoder/session/stream_headers.h"
#include "decoder/slice/picture_slices.h"
#include "media/umc_video_data.h"

#include <cstdint>

namespace UMC {

// Owns the frames and the slices in them. It alone makes and removes frames and puts them in their order; what stands
// in a frame is written by those who ask for it.
class FrameStore
{
public:
    // Output may point into a frame that is removed: it is closed then.
    FrameStore(FramesInHand& Frames, const StreamHeaders& Headers, VideoData& Output, MemoryAllocator* pAllocator)
        : m_Frames(Frames), m_Headers(Headers), m_Output(Output), m_pAllocator(pAllocator)
    {
    }

    H264DBPList& Dpb() { return m_Dpb; }
    const H264DBPList& Dpb() const { return m_Dpb; }
    SlicePool& Slices() { return m_SliceHeap; }
    int32_t DpbSize() const { return m_DpbSize; }
    int32_t SpareFrames() const { return m_SpareFrames; }
    void SetDpbSize(int32_t Frames) { m_DpbSize = Frames; }
    void SetSpareFrames(int32_t Frames) { m_SpareFrames = Frames; }

    bool HasRoom() const; // for one more picture
    // A frame for the picture of a slice, with planes and records, behind all others. Null when there is no room, or
    // when it cannot be made, which Refused tells.
    H264DecoderFrame* TakeFrame(const H264Slice& Slice, Status& Refused);
    // The same for a picture that no data came for: grey, ready at once and never shown.
    H264DecoderFrame* TakeMadeUpFrame(const H264Slice& Slice, Status& Refused);
    // The frame of the auxiliary picture of Primary, for one more slice of it. Null when it cannot be made, which
    // Refused tells. Throws std::bad_alloc.
    H264DecoderFrame* TakeAuxiliary(H264DecoderFrame& Primary, const H264Slice& Slice, Status& Refused);
    void DiscardFrame(H264DecoderFrame& Frame); // its picture is not to be

    void RemoveSurplusFrames(const H264SeqParamSet& Seq); // in front of a picture of Seq
    void RemoveOutdatedFrames();                          // those that were kept until their picture had left

    void Reset(); // no picture is left in the frames
    void Close();

private:
    int32_t MaxFrames() const; // beyond which no frame is made
    H264DecoderFrame* GetFreeFrame();
    H264DecoderFrame* PrepareFrame(const H264Slice& Slice, Status& Refused); // nobody is busy with it yet
    template <class Unwanted>
    void RemoveFrames(Unwanted&& IsUnwanted); // those of them that nobody needs
    void RemoveFrame(H264DecoderFrame* pFrame);

    FramesInHand& m_Frames;
    const StreamHeaders& m_Headers;
    VideoData& m_Output;
    MemoryAllocator* const m_pAllocator;
    SlicePool m_SliceHeap;
    H264DBPList m_Dpb;
    int32_t m_DpbSize = 1; // frames, by level
    int32_t m_SpareFrames = 1;
#if defined(QUILVEX_TRACE)
    int32_t m_FrameUid = 0; // frames taken so far
#endif
};

} // namespace UMC
