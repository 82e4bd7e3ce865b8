#include "platform/exception_frame.h"

#include <algorithm>
#include <atomic>
#include <csetjmp>
#include <csignal>
#include <cstdlib>
#include <cxxabi.h>
#include <mutex>
#include <sys/mman.h>
#include <unistd.h>

namespace platform {

namespace {

using SignalAction = struct sigaction; // apart from the function of the same name

struct Frame {
    sigjmp_buf Return;
    Frame* pOuter;
    volatile uint32_t Code;
};

thread_local Frame* t_pFrame = nullptr; // innermost frame of the thread; read by the signal handler

// The signals by which a processor, the kernel or a run-time library ends a body.
struct Fault {
    int Signal;
    uint32_t Code;
};
constexpr Fault kFaults[] = {{SIGSEGV, kFaultAccess},     {SIGBUS, kFaultAccess},
                             {SIGFPE, kFaultArithmetic},  {SIGILL, kFaultIllegalInstruction},
                             {SIGTRAP, kFaultBreakpoint}, {SIGSYS, kFaultSystemCall},
                             {SIGABRT, kFaultAbort}};
constexpr size_t kFaultCount = std::size(kFaults);

size_t IndexOf(int Signal)
{
    size_t i = 0;
    while (i < kFaultCount - 1 && kFaults[i].Signal != Signal) ++i;
    return i;
}

// Somebody called kill or raise: nothing will fault again by itself.
bool IsSent(const siginfo_t& Info) { return Info.si_code <= 0; }

// Another process's signal is meant for this one as a whole, not for what a frame holds.
bool IsSentFromOutside(const siginfo_t& Info)
{
    return (Info.si_code == SI_USER || Info.si_code == SI_QUEUE || Info.si_code == SI_TKILL) && Info.si_pid != getpid();
}

// The handlers of the process. They are installed by its first frame and then stay: a handler that somebody else puts
// on top of them is left alone, and one that stood before is called for what happens outside every frame.
class Handlers
{
public:
    ~Handlers(); // the library is unloaded
    void Stand()
    {
        if (!m_bStanding.load(std::memory_order_acquire)) Install();
    }
    void PassOn(int Signal, siginfo_t* pInfo, void* pContext);

private:
    void Install();

    std::mutex m_Lock; // held while the handlers are installed
    std::atomic<bool> m_bStanding{false};
    SignalAction m_Previous[kFaultCount]{}; // what stood before, in the order of kFaults
};

constinit Handlers g_Handlers;

void OnSignal(int Signal, siginfo_t* pInfo, void* pContext)
{
    Frame* const pFrame = t_pFrame;
    if (!pFrame || IsSentFromOutside(*pInfo)) return g_Handlers.PassOn(Signal, pInfo, pContext);
    pFrame->Code = kFaults[IndexOf(Signal)].Code;
    siglongjmp(pFrame->Return, 1);
}

void Handlers::Install()
{
    const std::lock_guard Held(m_Lock);
    if (m_bStanding) return;
    SignalAction Own{};
    Own.sa_sigaction = OnSignal;
    Own.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
    sigemptyset(&Own.sa_mask);
    for (size_t i = 0; i < kFaultCount; ++i) {
        sigaction(kFaults[i].Signal, nullptr, &m_Previous[i]); // in place before the handler may ask for it
        sigaction(kFaults[i].Signal, &Own, nullptr);
    }
    m_bStanding.store(true, std::memory_order_release);
}

Handlers::~Handlers()
{
    if (!m_bStanding.exchange(false)) return;
    for (size_t i = 0; i < kFaultCount; ++i) {
        SignalAction Current;
        sigaction(kFaults[i].Signal, nullptr, &Current);
        if (Current.sa_sigaction == OnSignal) sigaction(kFaults[i].Signal, &m_Previous[i], nullptr);
    }
}

// As if this library were not there. Runs on the thread that was hit, inside its signal handler.
void Handlers::PassOn(int Signal, siginfo_t* pInfo, void* pContext)
{
    SignalAction& Kept = m_Previous[IndexOf(Signal)];
    const SignalAction Previous = Kept;
    const bool bIgnored = Previous.sa_handler == SIG_IGN;
    if (bIgnored && IsSent(*pInfo)) return;
    if (bIgnored || Previous.sa_handler == SIG_DFL) { // a fault is not ignored
        SignalAction Default{};
        Default.sa_handler = SIG_DFL;
        sigaction(Signal, &Default, nullptr);
        // The instruction of a fault runs again after the return, that of a trap or a system call does not.
        if (IsSent(*pInfo) || Signal == SIGTRAP || Signal == SIGSYS) raise(Signal);
        return;
    }
    if (Previous.sa_flags & static_cast<int>(SA_RESETHAND)) Kept.sa_handler = SIG_DFL;
    pthread_sigmask(SIG_BLOCK, &Previous.sa_mask, nullptr);
    if (Previous.sa_flags & SA_SIGINFO)
        Previous.sa_sigaction(Signal, pInfo, pContext);
    else
        Previous.sa_handler(Signal);
}

// A stack for the handlers, so that an overflow of the thread's own stack is a fault like any other. It stands from the
// thread's first frame to the thread's end, also when the thread is killed inside a frame. A thread that has one keeps
// that.
class HandlerStack
{
public:
    ~HandlerStack();
    void Stand()
    {
        if (!m_bStanding) Install();
    }

private:
    void Install();

    static constexpr size_t kBytes = 64 * 1024;
    void* m_pMemory = nullptr;
    bool m_bStanding = false;
};

void HandlerStack::Install()
{
    stack_t Current;
    if (sigaltstack(nullptr, &Current) != 0) return;
    if (!(Current.ss_flags & SS_DISABLE)) {
        m_bStanding = true;
        return;
    }
    void* const pMemory = mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (pMemory == MAP_FAILED) return; // the next frame tries again
    stack_t Own{};
    Own.ss_sp = pMemory;
    Own.ss_size = kBytes;
    m_bStanding = sigaltstack(&Own, nullptr) == 0;
    if (m_bStanding)
        m_pMemory = pMemory;
    else
        munmap(pMemory, kBytes);
}

HandlerStack::~HandlerStack()
{
    m_bStanding = true; // a frame in a destructor that runs later goes without
    if (!m_pMemory) return;
    stack_t Current;
    if (sigaltstack(nullptr, &Current) == 0 && Current.ss_sp == m_pMemory) {
        stack_t None{};
        None.ss_flags = SS_DISABLE;
        sigaltstack(&None, nullptr);
    }
    munmap(m_pMemory, kBytes);
}

thread_local HandlerStack t_Stack;

} // namespace

bool RunInExceptionFrame(void (*pBody)(void* pContext), void* pContext, uint32_t* pCode)
{
    g_Handlers.Stand();
    t_Stack.Stand();
    Frame Own;
    Own.pOuter = t_pFrame;
    Own.Code = 0;
    if (sigsetjmp(Own.Return, 1) == 0) { // with the signal mask: a body may have changed it before it failed
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

void RaiseFault(uint32_t Code)
{
    raise(Code == kFaultArithmetic ? SIGFPE : SIGSEGV);
    std::abort(); // somebody ignores it
}

} // namespace platform
