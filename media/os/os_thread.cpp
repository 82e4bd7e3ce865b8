#include "media/os/os_thread.h"

#include "platform/thread_priority.h"

#include <atomic>
#include <exception>
#include <new>
#include <thread>

namespace UMC {

struct os_thread_state {
    std::thread Handle;
    std::atomic<bool> bEnded{false};
    std::mutex JoinLock; // several threads may wait for one
};

static void Join(os_thread_state& State)
{
    const std::lock_guard Held(State.JoinLock);
    if (State.Handle.joinable()) State.Handle.join();
}

// The caller holds the record's section.
static void CloseHandle(os_thread& Thread)
{
    Join(*Thread.pState);
    delete Thread.pState;
    Thread.pState = nullptr;
}

bool os_thread_create(os_thread& Thread, os_thread_function pFunction, void* pArgument)
{
    if (!pFunction) return false;
    os_section_init(Thread.Section);
    os_thread_wait(Thread);
    os_section_lock(Thread.Section);
    auto* const pState = new (std::nothrow) os_thread_state;
    bool bStarted = pState != nullptr;
    if (pState) {
        try {
            pState->Handle = std::thread([pState, pFunction, pArgument] {
                pFunction(pArgument);
                pState->bEnded = true;
            });
            Thread.pState = pState;
        } catch (const std::exception&) { // no thread to be had, or no memory for one
            delete pState;
            bStarted = false;
        }
    }
    os_section_unlock(Thread.Section);
    return bStarted;
}

void os_thread_wait(os_thread& Thread)
{
    if (!os_section_is_valid(Thread.Section)) return;
    os_section_lock(Thread.Section);
    if (os_thread_state* const pState = Thread.pState) {
        ++Thread.WaiterCount;
        os_section_unlock(Thread.Section);
        Join(*pState);
        os_section_lock(Thread.Section);
        if (--Thread.WaiterCount == 0 && Thread.pState) CloseHandle(Thread);
    }
    os_section_unlock(Thread.Section);
}

bool os_thread_is_valid(os_thread& Thread)
{
    if (!os_section_is_valid(Thread.Section)) return false;
    os_section_lock(Thread.Section);
    if (Thread.pState && Thread.pState->bEnded && Thread.WaiterCount == 0) CloseHandle(Thread);
    const bool bRuns = Thread.pState && !Thread.pState->bEnded;
    os_section_unlock(Thread.Section);
    return bRuns;
}

void os_thread_close(os_thread& Thread)
{
    os_thread_wait(Thread);
    os_section_destroy(Thread.Section);
}

bool os_thread_set_priority(os_thread& Thread, os_priority Priority)
{
    if (!os_section_is_valid(Thread.Section)) return false;
    os_section_lock(Thread.Section);
    const bool bDone = Thread.pState && Thread.pState->Handle.joinable() &&
                       platform::SetThreadPriority(Thread.pState->Handle, static_cast<int>(Priority) - 1);
    os_section_unlock(Thread.Section);
    return bDone;
}

} // namespace UMC
