// The pictures that an encoder holds.
#pragma once

#include "encoder/state/encoder_frame.h"
#include "media/umc_base_codec.h"

namespace UMC_H264_ENCODER {

/// A doubly linked list that owns its frames. The frame step alone moves them.
template <class Sample>
class H264EncoderFrameList
{
public:
    using Frame = H264EncoderFrame<Sample>;

    H264EncoderFrameList() = default;
    ~H264EncoderFrameList();
    H264EncoderFrameList(const H264EncoderFrameList&) = delete;
    H264EncoderFrameList& operator=(const H264EncoderFrameList&) = delete;

    Frame* Head() const { return m_pHead; }
    void Append(Frame* pFrame);
    /// Takes the frame out without deleting it.
    void RemoveFrame(Frame* pFrame);
    Frame* FindFree() const;

    /// A free frame, or a new one, with the source's samples and times and nothing else of a picture.
    /// @return StatusOk; StatusAllocFailed; StatusInvalidParams when the source cannot be converted. On failure pFrame
    ///         stays and the list has the same pictures as before
    UMC::Status InsertFrame(UMC::VideoData& Source, const FrameLayout& Layout, UMC::MemoryAllocator* pAllocator,
                            UMC::BaseCodec& Converter, Frame*& pFrame);

private:
    Frame* m_pHead = nullptr;
    Frame* m_pTail = nullptr;
};

extern template class H264EncoderFrameList<uint8_t>;
extern template class H264EncoderFrameList<uint16_t>;

} // namespace UMC_H264_ENCODER
