#include "platform/killable_thread.h"

#include <windows.h>

#include <memory>
#include <process.h>

namespace platform {

namespace {

struct Work {
    void (*pWork)(void*);
    void* pContext;
};

unsigned __stdcall ThreadMain(void* pArgument)
{
    const auto* const pOwn = static_cast<const Work*>(pArgument);
    pOwn->pWork(pOwn->pContext);
    return 0;
}

constexpr DWORD kKillMilliseconds = 500; // for the killed thread to end: one that waits in a driver does so later

// Deliberate: a hung driver answers to nothing else. Nothing of the thread is cleaned up: locks that it holds stay
// held, the loader's and the heap's among them, and the run-time library's record of it is lost.
BoundedResult Kill(HANDLE Thread)
{
    TerminateThread(Thread, 0);
    const bool bEnded = WaitForSingleObject(Thread, kKillMilliseconds) == WAIT_OBJECT_0;
    return bEnded ? BoundedResult::TimedOut : BoundedResult::Abandoned;
}

} // namespace

BoundedResult RunWithTimeout(void (*pWork)(void* pContext), void* pContext, uint32_t Milliseconds)
{
    auto pOwn = std::make_unique<Work>(Work{pWork, pContext});
    const auto Thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, ThreadMain, pOwn.get(), 0, nullptr));
    if (!Thread) return BoundedResult::NotStarted;
    BoundedResult Result = BoundedResult::Finished;
    if (WaitForSingleObject(Thread, Milliseconds) == WAIT_TIMEOUT) Result = Kill(Thread);
    if (Result == BoundedResult::Abandoned) static_cast<void>(pOwn.release()); // the thread's now
    CloseHandle(Thread);
    return Result;
}

} // namespace platform
