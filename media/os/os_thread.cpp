#include "media/os/os_thread.h"

#include "platform/thread_priority.h"

#include <atomic>
#include <exception>
#include <new>
#include <thread>

namespace UMC {

struct ThreadState {
    std::thread Handle;
    std::atomic<bool> bEnded{false};
    std::mutex JoinLock; // several threads may wait for one
};

static void Join(ThreadState& State)
{
    const std::lock_guard Held(State.JoinLock);
    if (State.Handle.joinable()) State.Handle.join();
}

// The caller holds the record's section.
static void CloseHandle(ThreadRecord& Thread)
{
    Join(*Thread.pState);
    delete Thread.pState;
    Thread.pState = nullptr;
}

bool StartThread(ThreadRecord& Thread, ThreadFunction pFunction, void* pArgument)
{
    if (!pFunction) return false;
    InitSection(Thread.Section);
    WaitForThread(Thread);
    LockSection(Thread.Section);
    auto* const pState = new (std::nothrow) ThreadState;
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
    UnlockSection(Thread.Section);
    return bStarted;
}

void WaitForThread(ThreadRecord& Thread)
{
    if (!IsSectionValid(Thread.Section)) return;
    LockSection(Thread.Section);
    if (ThreadState* const pState = Thread.pState) {
        ++Thread.WaiterCount;
        UnlockSection(Thread.Section);
        Join(*pState);
        LockSection(Thread.Section);
        if (--Thread.WaiterCount == 0 && Thread.pState) CloseHandle(Thread);
    }
    UnlockSection(Thread.Section);
}

bool IsThreadValid(ThreadRecord& Thread)
{
    if (!IsSectionValid(Thread.Section)) return false;
    LockSection(Thread.Section);
    if (Thread.pState && Thread.pState->bEnded && Thread.WaiterCount == 0) CloseHandle(Thread);
    const bool bRuns = Thread.pState && !Thread.pState->bEnded;
    UnlockSection(Thread.Section);
    return bRuns;
}

void CloseThread(ThreadRecord& Thread)
{
    WaitForThread(Thread);
    DestroySection(Thread.Section);
}

bool SetThreadPriority(ThreadRecord& Thread, ThreadPriority Priority)
{
    if (!IsSectionValid(Thread.Section)) return false;
    LockSection(Thread.Section);
    const bool bDone = Thread.pState && Thread.pState->Handle.joinable() &&
                       platform::SetThreadPriority(Thread.pState->Handle, static_cast<int>(Priority) - 1);
    UnlockSection(Thread.Section);
    return bDone;
}

} // namespace UMC
