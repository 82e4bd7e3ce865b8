#include "platform/exception_frame.h"

#include <csetjmp>
#include <csignal>
#include <cxxabi.h>
#include <memory>
#include <mutex>
#include <new>
#include <optional>

namespace platform {

namespace {

using SignalAction = struct sigaction; // apart from the function of the same name

struct Frame {
    sigjmp_buf Return;
    Frame* pOuter;
    volatile uint32_t Code;
};

thread_local Frame* t_pFrame = nullptr; // innermost frame of the thread; read by the signal handler

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};
constexpr size_t kSignalCount = std::size(kSignals);

std::mutex g_Lock;                         // guards the two below outside the handler
int g_FramesOpen = 0;                      // outermost frames of all threads; the handlers stand while there are any
struct sigaction g_Previous[kSignalCount]; // what stood before; constant while frames are open

size_t IndexOf(int Signal)
{
    size_t i = 0;
    while (i < kSignalCount - 1 && kSignals[i] != Signal) ++i;
    return i;
}

uint32_t CodeOf(int Signal)
{
    if (Signal == SIGFPE) return kFaultArithmetic;
    return Signal == SIGILL ? kFaultIllegalInstruction : kFaultAccess;
}

// A fault outside every frame: as if this library were not there.
void PassOn(int Signal, siginfo_t* pInfo, void* pContext)
{
    const struct sigaction& Previous = g_Previous[IndexOf(Signal)];
    if (Previous.sa_flags & SA_SIGINFO) {
        Previous.sa_sigaction(Signal, pInfo, pContext);
    } else if (Previous.sa_handler != SIG_DFL && Previous.sa_handler != SIG_IGN) {
        Previous.sa_handler(Signal);
    } else if (Previous.sa_handler == SIG_DFL) {
        sigaction(Signal, &Previous, nullptr);  // the instruction faults again, now with the default action
        if (pInfo->si_code <= 0) raise(Signal); // sent by a process: nothing will fault again
    }
}

void OnSignal(int Signal, siginfo_t* pInfo, void* pContext)
{
    Frame* const pFrame = t_pFrame;
    if (!pFrame) return PassOn(Signal, pInfo, pContext);
    pFrame->Code = CodeOf(Signal);
    siglongjmp(pFrame->Return, 1);
}

void InstallHandlers()
{
    const std::lock_guard Held(g_Lock);
    if (g_FramesOpen++) return;
    SignalAction Action{};
    Action.sa_sigaction = OnSignal;
    Action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&Action.sa_mask);
    for (size_t i = 0; i < kSignalCount; ++i) sigaction(kSignals[i], &Action, &g_Previous[i]);
}

void RemoveHandlers()
{
    const std::lock_guard Held(g_Lock);
    if (--g_FramesOpen) return;
    for (size_t i = 0; i < kSignalCount; ++i) {
        struct sigaction Current;
        sigaction(kSignals[i], nullptr, &Current);
        if (Current.sa_sigaction == OnSignal)
            sigaction(kSignals[i], &g_Previous[i], nullptr); // else somebody else's now
    }
}

// The outermost frame of a thread: handlers stand, and they run on a stack of their own, so that an overflow of the
// thread's stack is a fault like any other.
class OutermostFrame
{
public:
    OutermostFrame()
    {
        InstallHandlers();
        m_pStack.reset(new (std::nothrow) char[kStackSize]);
        stack_t Own{};
        Own.ss_sp = m_pStack.get();
        Own.ss_size = kStackSize;
        m_bStackSet = m_pStack && sigaltstack(&Own, &m_Previous) == 0;
    }
    ~OutermostFrame()
    {
        if (m_bStackSet) sigaltstack(&m_Previous, nullptr);
        RemoveHandlers();
    }

private:
    static constexpr size_t kStackSize = 64 * 1024;
    std::unique_ptr<char[]> m_pStack;
    stack_t m_Previous{};
    bool m_bStackSet = false;
};

// The thread's own, not a local object: a thread that is killed inside a frame still gives it back when it ends.
thread_local std::optional<OutermostFrame> t_Outermost;

bool RunFrame(void (*pBody)(void*), void* pContext, uint32_t* pCode)
{
    Frame Own;
    Own.pOuter = t_pFrame;
    Own.Code = 0;
    if (sigsetjmp(Own.Return, 1) == 0) {
        t_pFrame = &Own;
        try {
            pBody(pContext);
        } catch (const abi::__forced_unwind&) {
            t_pFrame = Own.pOuter;
            throw; // the thread is being cancelled: not to be held up
        } catch (...) {
            Own.Code = kFaultCppException;
        }
    }
    t_pFrame = Own.pOuter;
    *pCode = Own.Code;
    return Own.Code == 0;
}

} // namespace

bool RunInExceptionFrame(void (*pBody)(void* pContext), void* pContext, uint32_t* pCode)
{
    if (t_pFrame) return RunFrame(pBody, pContext, pCode);
    t_Outermost.emplace();
    const bool bDone = RunFrame(pBody, pContext, pCode);
    t_Outermost.reset();
    return bDone;
}

} // namespace platform
