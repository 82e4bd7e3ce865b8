#include "platform/critical_section.h"

#include <mutex>
#include <new>

namespace platform {

static std::recursive_mutex& Mutex(std::byte* pPlace)
{
    return *std::launder(reinterpret_cast<std::recursive_mutex*>(pPlace));
}

CriticalSection::CriticalSection()
{
    static_assert(sizeof(std::recursive_mutex) <= sizeof m_Place &&
                  alignof(std::recursive_mutex) <= alignof(CriticalSection));
    new (m_Place) std::recursive_mutex;
}

CriticalSection::~CriticalSection() { Mutex(m_Place).~recursive_mutex(); }
void CriticalSection::lock() { Mutex(m_Place).lock(); }
bool CriticalSection::try_lock() { return Mutex(m_Place).try_lock(); }
void CriticalSection::unlock() { Mutex(m_Place).unlock(); }

} // namespace platform
