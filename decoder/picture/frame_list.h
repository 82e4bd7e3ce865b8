// The frames of the decoder in decoding order.
#pragma once

#include "decoder/picture/frame.h"

namespace UMC {

// Doubly linked list that owns its frames.
class H264DecoderFrameList
{
public:
    H264DecoderFrameList() = default;
    virtual ~H264DecoderFrameList() { Clear(); }
    H264DecoderFrameList(const H264DecoderFrameList&) = delete;
    H264DecoderFrameList& operator=(const H264DecoderFrameList&) = delete;

    H264DecoderFrame* Head() const { return m_pHead; }
    H264DecoderFrame* Tail() const { return m_pTail; }
    void Append(H264DecoderFrame* pFrame);     // takes ownership
    void MoveToTail(H264DecoderFrame* pFrame); // a frame of this list
    void Remove(H264DecoderFrame* pFrame);     // deletes it
    void Clear();

protected:
    void Unlink(H264DecoderFrame* pFrame);

    H264DecoderFrame* m_pHead = nullptr;
    H264DecoderFrame* m_pTail = nullptr;
};

} // namespace UMC
