// The lock that the codec front and the engines share, and its scope object.
#pragma once

#include "platform/critical_section.h"

#include <cstdint>

/// A lock behind an interface. Both operations return 1.
struct ISyncObject {
    virtual ~ISyncObject() = default;
    virtual int32_t Lock(int32_t iTimeout) = 0;
    virtual int32_t Unlock() = 0;
};

/// Recursive on one thread; the time-out is ignored.
class WCritSec : public ISyncObject
{
public:
    int32_t Lock(int32_t /*iTimeout*/) override
    {
        m_Section.lock();
        return 1;
    }
    int32_t Unlock() override
    {
        m_Section.unlock();
        return 1;
    }

private:
    platform::CriticalSection m_Section;
};

/// Holds a lock for a scope; null holds nothing.
class WLockGuard
{
public:
    explicit WLockGuard(ISyncObject* pLock) : m_pLock(pLock)
    {
        if (m_pLock) m_pLock->Lock(-1);
    }
    ~WLockGuard()
    {
        if (m_pLock) m_pLock->Unlock();
    }
    WLockGuard(const WLockGuard&) = delete;
    WLockGuard& operator=(const WLockGuard&) = delete;

private:
    ISyncObject* m_pLock;
};
