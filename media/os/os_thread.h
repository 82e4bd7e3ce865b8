// Threads of the framework.
#pragma once

#include "media/os/os_section.h"
#include "media/umc_status.h"

#include <cstdint>

namespace UMC {

using ThreadFunction = uint32_t (*)(void* pArgument);

struct ThreadState;

struct ThreadRecord {
    ThreadState* pState = nullptr; // null: no thread
    SectionRecord Section;         // guards pState and WaiterCount
    int32_t WaiterCount = 0;
};

enum class ThreadPriority { Low, Normal, High };

/// Starts a thread; first waits for an earlier one on the record. False when it cannot be started.
bool StartThread(ThreadRecord& Thread, ThreadFunction pFunction, void* pArgument);
/// Waits without limit; the last waiter closes the handle. Any number of threads may wait.
void WaitForThread(ThreadRecord& Thread);
/// Whether the thread runs. One that has ended, with nobody waiting, is closed on the spot.
bool IsThreadValid(ThreadRecord& Thread);
/// Waits, then gives the record's section back.
void CloseThread(ThreadRecord& Thread);
/// Best effort: false where the system refuses.
bool SetThreadPriority(ThreadRecord& Thread, ThreadPriority Priority);

/// The same as an object; the destructor waits.
class Thread
{
public:
    Thread() = default;
    ~Thread() { CloseThread(m_Thread); }
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    Status Create(ThreadFunction pFunction, void* pArgument)
    {
        return StartThread(m_Thread, pFunction, pArgument) ? StatusOk : StatusInitFailed;
    }
    void Wait() { WaitForThread(m_Thread); }
    bool IsValid() { return IsThreadValid(m_Thread); }
    bool SetPriority(ThreadPriority Priority) { return SetThreadPriority(m_Thread, Priority); }

private:
    ThreadRecord m_Thread;
};

} // namespace UMC
