#include "NVIDIA/inc/encode_buffer_queue.h"

#include <new>

bool EncodeBufferQueue::Initialize(EncodeBuffer* pBuffers, uint32_t Count)
{
    m_pBuffers.reset(Count ? new (std::nothrow) EncodeBuffer*[Count] : nullptr);
    m_Size = m_pBuffers ? Count : 0;
    m_PendingCount = m_NextAvailable = m_NextPending = 0;
    for (uint32_t i = 0; i < m_Size; ++i) m_pBuffers[i] = &pBuffers[i];
    return m_Size == Count;
}

EncodeBuffer* EncodeBufferQueue::GetAvailable()
{
    if (m_PendingCount == m_Size) return nullptr;
    EncodeBuffer* const pBuffer = m_pBuffers[m_NextAvailable];
    m_NextAvailable = (m_NextAvailable + 1) % m_Size;
    ++m_PendingCount;
    return pBuffer;
}

EncodeBuffer* EncodeBufferQueue::GetPending()
{
    if (m_PendingCount == 0) return nullptr;
    EncodeBuffer* const pBuffer = m_pBuffers[m_NextPending];
    m_NextPending = (m_NextPending + 1) % m_Size;
    --m_PendingCount;
    return pBuffer;
}
