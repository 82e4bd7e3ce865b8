#include "platform/killable_thread.h"

#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <ctime>
#include <memory>
#include <mutex>
#include <pthread.h>

namespace platform {

namespace {

using SignalAction = struct sigaction; // apart from the function of the same name

struct Work {
    void (*pWork)(void*);
    void* pContext;
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
    const auto* const pOwn = static_cast<const Work*>(pArgument);
    sigset_t Unblocked;
    sigemptyset(&Unblocked);
    sigaddset(&Unblocked, KillSignal());
    pthread_sigmask(SIG_UNBLOCK, &Unblocked, nullptr);
    if (sigsetjmp(t_End, 1) == 0) {
        t_bKillable = true;
        pOwn->pWork(pOwn->pContext);
    }
    t_bKillable = false;
    return nullptr;
}

// On a clock that nobody sets: a wall clock put forward would kill a healthy thread, one put back would never end.
constexpr clockid_t kClock = CLOCK_MONOTONIC;

timespec Deadline(uint32_t Milliseconds)
{
    timespec Time;
    clock_gettime(kClock, &Time);
    Time.tv_sec += Milliseconds / 1000;
    Time.tv_nsec += static_cast<long>(Milliseconds % 1000) * 1000000;
    if (Time.tv_nsec >= 1000000000) ++Time.tv_sec, Time.tv_nsec -= 1000000000;
    return Time;
}

constexpr uint32_t kKillMilliseconds = 500; // for the killed thread to end

std::mutex g_SignalLock; // guards the handler of the kill signal

BoundedResult Kill(pthread_t Thread)
{
    const std::lock_guard Held(g_SignalLock);
    SignalAction Action{}, Previous{};
    Action.sa_handler = OnKill;
    sigaction(KillSignal(), &Action, &Previous);
    pthread_kill(Thread, KillSignal());
    const timespec Until = Deadline(kKillMilliseconds);
    const bool bEnded = pthread_clockjoin_np(Thread, nullptr, kClock, &Until) == 0;
    if (!bEnded) pthread_detach(Thread);
    sigaction(KillSignal(), &Previous, nullptr);
    return bEnded ? BoundedResult::TimedOut : BoundedResult::Abandoned;
}

} // namespace

BoundedResult RunWithTimeout(void (*pWork)(void* pContext), void* pContext, uint32_t Milliseconds)
{
    auto pOwn = std::make_unique<Work>(Work{pWork, pContext});
    pthread_t Thread;
    if (pthread_create(&Thread, nullptr, ThreadMain, pOwn.get()) != 0) return BoundedResult::NotStarted;
    const timespec Until = Deadline(Milliseconds);
    if (pthread_clockjoin_np(Thread, nullptr, kClock, &Until) == 0) return BoundedResult::Finished;
    const BoundedResult Result = Kill(Thread);
    if (Result == BoundedResult::Abandoned) static_cast<void>(pOwn.release()); // the thread's now
    return Result;
}

} // namespace platform
