#include "platform/killable_thread.h"

#include <windows.h>

namespace platform {

namespace {

struct Work {
    void (*pWork)(void*);
    void* pContext;
};

DWORD WINAPI ThreadMain(void* pArgument)
{
    const auto* const pOwn = static_cast<Work*>(pArgument);
    pOwn->pWork(pOwn->pContext);
    return 0;
}

} // namespace

BoundedResult RunWithTimeout(void (*pWork)(void* pContext), void* pContext, uint32_t Milliseconds)
{
    Work Own{pWork, pContext};
    const HANDLE Thread = CreateThread(nullptr, 0, ThreadMain, &Own, 0, nullptr);
    if (!Thread) return BoundedResult::NotStarted;
    BoundedResult Result = BoundedResult::Finished;
    if (WaitForSingleObject(Thread, Milliseconds) == WAIT_TIMEOUT) {
        Result = BoundedResult::TimedOut;
        TerminateThread(Thread, 0); // deliberate: a hung driver answers to nothing else
        WaitForSingleObject(Thread, INFINITE);
    }
    CloseHandle(Thread);
    return Result;
}

} // namespace platform
