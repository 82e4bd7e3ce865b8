#include "decoder/jobs/task_broker.h"

namespace UMC {

namespace {

bool IsReadyInfo(const H264DecoderFrameInfo& Au) { return !Au.m_Slices.empty() && Au.m_Status >= AuStatus::Ready; }

// A field-coded frame is ready with both fields, or with one that will stay alone; with Force one is enough.
bool IsReadyFrame(const H264DecoderFrame& Frame, bool Force)
{
    const bool First = IsReadyInfo(Frame.m_Au[0]);
    if (!Frame.IsFieldPair()) return First;
    const bool Second = IsReadyInfo(Frame.m_Au[1]);
    return Force ? First || Second : First && (Second || Frame.m_Au[1].m_Status == AuStatus::Empty);
}

} // namespace

bool TaskBroker::Init(int32_t ConsumerCount)
{
    Release();
    m_ConsumerCount = ConsumerCount;
    return true;
}

void TaskBroker::Reset()
{
    const AutomaticMutex Hold(m_Lock);
    m_pCurrentAu = nullptr;
}

void TaskBroker::Release() { Reset(); }

bool TaskBroker::PrepareFrames(H264DecoderFrame* pFirst, bool Force)
{
    const AutomaticMutex Hold(m_Lock);
    int32_t Ready = 0;
    for (const H264DecoderFrame* p = pFirst; p && Ready < m_ConsumerCount; p = p->m_pNext)
        Ready += IsReadyFrame(*p, Force);
    return Ready >= m_ConsumerCount || (Force && Ready > 0);
}

void TaskBroker::Start(H264DecoderFrame* pFirst, bool Force)
{
    const AutomaticMutex Hold(m_Lock);
    m_pCurrentAu = nullptr;
    H264DecoderFrameInfo* pLast = nullptr;
    for (H264DecoderFrame* p = pFirst; p; p = p->m_pNext) {
        for (H264DecoderFrame* const pPicture : {p, p->m_pAuxiliary.get()}) {
            if (!pPicture) continue;
            for (H264DecoderFrameInfo& Au : pPicture->m_Au) {
                if (Au.m_Status == AuStatus::InBroker) Au.m_Status = AuStatus::Ready;
                if (!IsReadyFrame(*p, Force) || Au.m_Status != AuStatus::Ready || Au.m_Slices.empty()) continue;
                Au.m_Status = AuStatus::InBroker;
                Au.m_pNext = nullptr;
                (pLast ? pLast->m_pNext : m_pCurrentAu) = &Au;
                pLast = &Au;
            }
        }
    }
}

bool TaskBroker::GetNextTask(H264Task& Task)
{
    const AutomaticMutex Hold(m_Lock);
    return m_pCurrentAu && NextTaskLocked(Task);
}

} // namespace UMC
