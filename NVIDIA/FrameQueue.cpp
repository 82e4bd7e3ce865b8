#include "NVIDIA/FrameQueue.h"

#include <mutex>

void FrameQueue::enqueue(const CUVIDPARSERDISPINFO& Info)
{
    {
        const std::lock_guard Held(m_Lock);
        if (m_Length == kCapacity) DropOldest();
        m_bInUse[Info.picture_index] = 1;
        m_Entries[(m_ReadPosition + m_Length) % kCapacity] = Info;
        ++m_Length;
    }
    m_Event.Signal();
}

void FrameQueue::DropOldest()
{
    m_bInUse[m_Entries[m_ReadPosition].picture_index] = 0;
    m_ReadPosition = (m_ReadPosition + 1) % kCapacity;
    --m_Length;
}

bool FrameQueue::dequeue(CUVIDPARSERDISPINFO& Info)
{
    Info.picture_index = -1;
    const std::lock_guard Held(m_Lock);
    if (m_Length == 0) return false;
    Info = m_Entries[m_ReadPosition];
    m_ReadPosition = (m_ReadPosition + 1) % kCapacity;
    --m_Length;
    return true;
}

void FrameQueue::releaseFrame(const CUVIDPARSERDISPINFO& Info)
{
    const std::lock_guard Held(m_Lock);
    m_bInUse[Info.picture_index] = 0;
}

bool FrameQueue::isInUse(int32_t Index) const
{
    const std::lock_guard Held(m_Lock);
    return m_bInUse[Index] != 0;
}

void FrameQueue::endDecode()
{
    {
        const std::lock_guard Held(m_Lock);
        m_bEndOfDecode = 1;
    }
    m_Event.Signal();
}
