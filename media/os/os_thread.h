// Threads of the framework.
#pragma once

#include "media/os/os_section.h"
#include "media/umc_status.h"

#include <cstdint>

namespace UMC {

using os_thread_function = uint32_t (*)(void* pArgument);

struct os_thread_state;

struct os_thread {
    os_thread_state* pState = nullptr; // null: no thread
    os_section Section;                // guards pState and WaiterCount
    int32_t WaiterCount = 0;
};

enum class os_priority { Low, Normal, High };

/// Starts a thread; first waits for an earlier one on the record. False when it cannot be started.
bool os_thread_create(os_thread& Thread, os_thread_function pFunction, void* pArgument);
/// Waits without limit; the last waiter closes the handle. Any number of threads may wait.
void os_thread_wait(os_thread& Thread);
/// Whether the thread runs. One that has ended, with nobody waiting, is closed on the spot.
bool os_thread_is_valid(os_thread& Thread);
/// Waits, then gives the record's section back.
void os_thread_close(os_thread& Thread);
/// Best effort: false where the system refuses.
bool os_thread_set_priority(os_thread& Thread, os_priority Priority);

/// The same as an object; the destructor waits.
class Thread
{
public:
    Thread() = default;
    virtual ~Thread() { os_thread_close(m_Thread); }
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    Status Create(os_thread_function pFunction, void* pArgument)
    {
        return os_thread_create(m_Thread, pFunction, pArgument) ? StatusOk : StatusInitFailed;
    }
    void Wait() { os_thread_wait(m_Thread); }
    bool IsValid() { return os_thread_is_valid(m_Thread); }
    bool SetPriority(os_priority Priority) { return os_thread_set_priority(m_Thread, Priority); }

private:
    os_thread m_Thread;
};

} // namespace UMC
