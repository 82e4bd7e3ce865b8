#include "platform/killable_thread.h"

#include "platform/event.h"

#include <atomic>
#include <chrono>
#include <csetjmp>
#include <csignal>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <thread>

namespace platform {

namespace {

using SignalAction = struct sigaction; // apart from the function of the same name

struct Work {
    void (*pWork)(void*);
    void* pContext;
    std::atomic<bool> bDone{false}; // and then Done is signalled
    Event Done{};
};

thread_local sigjmp_buf t_End;
thread_local volatile bool t_bKillable = false;

// The highest real-time signal: nothing in the C library or in common use sends it.
int KillSignal() { return SIGRTMAX; }

// On the thread to be killed: leaves whatever runs and ends the thread at its start.
void OnKill(int)
{
    if (t_bKillable) siglongjmp(t_End, 1);
}

void* ThreadMain(void* pArgument)
{
    auto* const pOwn = static_cast<Work*>(pArgument);
    sigset_t Unblocked;
    sigemptyset(&Unblocked);
    sigaddset(&Unblocked, KillSignal());
    pthread_sigmask(SIG_UNBLOCK, &Unblocked, nullptr);
    if (sigsetjmp(t_End, 1) == 0) {
        t_bKillable = true;
        pOwn->pWork(pOwn->pContext);
    }
    t_bKillable = false;
    pOwn->bDone = true;
    pOwn->Done.Signal();
    return nullptr;
}

// Waits for the thread's end, at most that long, on a clock that nobody sets; whether it came. Not by one call of the
// system that does both: the thread sanitizer takes no notice of those.
bool Join(pthread_t Thread, Work& Own, uint32_t Milliseconds)
{
    using Clock = std::chrono::steady_clock;
    const auto End = Clock::now() + std::chrono::milliseconds(Milliseconds);
    if (!Own.bDone) Own.Done.Wait(Milliseconds);
    while (pthread_tryjoin_np(Thread, nullptr) != 0) { // what is left to it are its thread-local objects
        if (Clock::now() >= End) return false;
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    return true;
}

constexpr uint32_t kKillMilliseconds = 500; // for the killed thread to end

std::mutex g_SignalLock; // guards the handler of the kill signal

BoundedResult Kill(pthread_t Thread, Work& Own)
{
    const std::lock_guard Held(g_SignalLock);
    SignalAction Action{}, Previous{};
    Action.sa_handler = OnKill;
    sigaction(KillSignal(), &Action, &Previous);
    pthread_kill(Thread, KillSignal());
    const bool bEnded = Join(Thread, Own, kKillMilliseconds);
    if (!bEnded) pthread_detach(Thread);
    sigaction(KillSignal(), &Previous, nullptr);
    return bEnded ? BoundedResult::TimedOut : BoundedResult::Abandoned;
}

} // namespace

BoundedResult RunWithTimeout(void (*pWork)(void* pContext), void* pContext, uint32_t Milliseconds)
{
    std::unique_ptr<Work> pOwn(new Work{pWork, pContext});
    pthread_t Thread;
    if (!pOwn->Done.Ok() || pthread_create(&Thread, nullptr, ThreadMain, pOwn.get()) != 0)
        return BoundedResult::NotStarted;
    if (Join(Thread, *pOwn, Milliseconds)) return BoundedResult::Finished;
    const BoundedResult Result = Kill(Thread, *pOwn);
    if (Result == BoundedResult::Abandoned) static_cast<void>(pOwn.release()); // the thread's now
    return Result;
}

} // namespace platform
