// The system's critical section.
#pragma once

#include <cstddef>

namespace platform {

/// A lock that one thread may take several times. Making, taking and leaving it need no memory and do not fail. The
/// operations are named for std::lock_guard.
class CriticalSection
{
public:
    CriticalSection();
    ~CriticalSection();
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void lock();
    bool try_lock();
    void unlock();

private:
    alignas(void*) std::byte m_Place[48]; // the system's object
};

} // namespace platform
