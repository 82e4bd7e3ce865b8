#include "encoder/state/frame_list.h"

#include <new>

namespace UMC_H264_ENCODER {

template <class Sample>
H264EncoderFrameList<Sample>::~H264EncoderFrameList()
{
    while (Frame* const pFrame = m_pHead) {
        RemoveFrame(pFrame);
        delete pFrame;
    }
}

template <class Sample>
void H264EncoderFrameList<Sample>::Append(Frame* pFrame)
{
    pFrame->previous = m_pTail;
    pFrame->next = nullptr;
    (m_pTail ? m_pTail->next : m_pHead) = pFrame;
    m_pTail = pFrame;
}

template <class Sample>
void H264EncoderFrameList<Sample>::RemoveFrame(Frame* pFrame)
{
    (pFrame->previous ? pFrame->previous->next : m_pHead) = pFrame->next;
    (pFrame->next ? pFrame->next->previous : m_pTail) = pFrame->previous;
    pFrame->previous = pFrame->next = nullptr;
}

template <class Sample>
H264EncoderFrame<Sample>* H264EncoderFrameList<Sample>::FindFree() const
{
    Frame* p = m_pHead;
    while (p && !p->IsFree()) p = p->next;
    return p;
}

template <class Sample>
UMC::Status H264EncoderFrameList<Sample>::InsertFrame(UMC::VideoData& Source, const FrameLayout& Layout,
                                                      UMC::MemoryAllocator* pAllocator, UMC::BaseCodec& Converter,
                                                      Frame*& pFrame)
try {
    Frame* pFree = FindFree();
    if (!pFree) {
        pFree = new Frame(pAllocator);
        // Free until the picture is in it, so that a failure below leaves a frame for the next picture.
        pFree->was_encoded = true;
        Append(pFree);
    }
    if (const UMC::Status s = pFree->Allocate(Layout); s != UMC::StatusOk) return s;
    if (const UMC::Status s = Converter.GetFrame(&Source, pFree); s != UMC::StatusOk)
        return s == UMC::StatusAllocFailed ? s : UMC::StatusInvalidParams;
    pFree->LimitSamples();
    pFree->ResetPicture();
    double Start = 0.0, End = 0.0;
    Source.GetTime(Start, End);
    pFree->SetTime(Start, End);
    pFrame = pFree;
    return UMC::StatusOk;
} catch (const std::bad_alloc&) {
    return UMC::StatusAllocFailed;
}

template class H264EncoderFrameList<uint8_t>;
template class H264EncoderFrameList<uint16_t>;

} // namespace UMC_H264_ENCODER
