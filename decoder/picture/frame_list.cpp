#include "decoder/picture/frame_list.h"

namespace UMC {

void H264DecoderFrameList::Clear()
{
    while (m_pHead) Remove(m_pHead);
}

void H264DecoderFrameList::Append(H264DecoderFrame* pFrame)
{
    pFrame->m_pPrev = m_pTail;
    pFrame->m_pNext = nullptr;
    (m_pTail ? m_pTail->m_pNext : m_pHead) = pFrame;
    m_pTail = pFrame;
}

void H264DecoderFrameList::Unlink(H264DecoderFrame* pFrame)
{
    (pFrame->m_pPrev ? pFrame->m_pPrev->m_pNext : m_pHead) = pFrame->m_pNext;
    (pFrame->m_pNext ? pFrame->m_pNext->m_pPrev : m_pTail) = pFrame->m_pPrev;
}

void H264DecoderFrameList::Remove(H264DecoderFrame* pFrame)
{
    Unlink(pFrame);
    delete pFrame;
}

void H264DecoderFrameList::MoveToTail(H264DecoderFrame* pFrame)
{
    Unlink(pFrame);
    Append(pFrame);
}

} // namespace UMC
