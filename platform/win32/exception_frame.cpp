#include "platform/exception_frame.h"

#include <windows.h>

#include <csignal>
#include <cstddef>
#include <malloc.h>

#if !defined(__i386__)
#error "Structured exception frames are linked by hand here, in the form of 32-bit x86."
#endif

namespace platform {

namespace {

// A frame in the thread's chain of exception registrations, which starts at fs:[0] and runs towards older stack. The
// system reads the first two fields.
struct Registration {
    Registration* pOuter;
    void* pHandler;
    void* Return[5]; // for __builtin_longjmp
    volatile uint32_t Code;
};

NT_TIB& ThisThread()
{
    NT_TIB* pThread;
    __asm__ volatile("movl %%fs:%c1, %0" : "=r"(pThread) : "i"(offsetof(NT_TIB, Self)));
    return *pThread;
}

Registration* ChainHead() { return reinterpret_cast<Registration*>(ThisThread().ExceptionList); }

void SetChainHead(Registration* pHead)
{
    ThisThread().ExceptionList = reinterpret_cast<EXCEPTION_REGISTRATION_RECORD*>(pHead);
}

// Calls the handlers between the fault and pFrame once more, to clean up. RtlUnwind() may come back with other values
// in the registers that a function keeps, which its declaration does not tell the compiler.
Registration* Unwind(Registration* pFrame, EXCEPTION_RECORD* pRecord)
{
    __asm__ volatile("pushl %%eax\n\t"
                     "pushl $0\n\t"
                     "pushl %%ecx\n\t"
                     "pushl $1f\n\t"
                     "pushl %%eax\n\t"
                     "call _RtlUnwind@16\n"
                     "1:\n\t"
                     "popl %%eax"
                     : "+a"(pFrame), "+c"(pRecord)
                     :
                     : "ebx", "edx", "esi", "edi", "memory", "cc");
    return pFrame;
}

extern "C" EXCEPTION_DISPOSITION __cdecl OnException(EXCEPTION_RECORD* pRecord, void* pEstablisher, CONTEXT*, void*)
{
    if (pRecord->ExceptionFlags & (EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND)) return ExceptionContinueSearch;
    auto* const pFrame = static_cast<Registration*>(pEstablisher);
    pFrame->Code = pRecord->ExceptionCode;
    __builtin_longjmp(Unwind(pFrame, pRecord)->Return, 1);
}

bool IsInFrame()
{
    const NT_TIB& Thread = ThisThread();
    for (const Registration* p = ChainHead(); p >= Thread.StackLimit && p < Thread.StackBase; p = p->pOuter)
        if (p->pHandler == reinterpret_cast<void*>(&OnException)) return true;
    return false;
}

// abort() raises a signal of the C run time and no exception. The handler for it is installed by the first frame of the
// process and then stays; one that stood before is called for what happens outside every frame.
class AbortHandler
{
public:
    ~AbortHandler(); // the library is unloaded
    void Stand() { InitOnceExecuteOnce(&m_Once, Install, this, nullptr); }
    void PassOn();

private:
    using SignalHandler = void (*)(int);
    static BOOL CALLBACK Install(INIT_ONCE*, void* pSelf, void**);

    INIT_ONCE m_Once = INIT_ONCE_STATIC_INIT;
    bool m_bStanding = false;
    SignalHandler m_pPrevious = nullptr; // null is SIG_DFL
};

constinit AbortHandler g_AbortHandler;

void OnAbort(int)
{
    std::signal(SIGABRT, OnAbort); // the run time has put the default back
    if (IsInFrame()) RaiseException(kFaultAbort, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    g_AbortHandler.PassOn();
}

BOOL CALLBACK AbortHandler::Install(INIT_ONCE*, void* pSelf, void**)
{
    auto& Self = *static_cast<AbortHandler*>(pSelf);
    Self.m_pPrevious = std::signal(SIGABRT, OnAbort);
    Self.m_bStanding = true;
    return TRUE;
}

AbortHandler::~AbortHandler()
{
    if (!m_bStanding) return;
    const SignalHandler pCurrent = std::signal(SIGABRT, m_pPrevious);
    if (pCurrent != OnAbort) std::signal(SIGABRT, pCurrent);
}

// As if this library were not there.
void AbortHandler::PassOn()
{
    const SignalHandler pPrevious = m_pPrevious;
    if (pPrevious == SIG_IGN) return;
    if (pPrevious == SIG_DFL) {
        std::signal(SIGABRT, SIG_DFL);
        std::raise(SIGABRT);
        return;
    }
    m_pPrevious = SIG_DFL; // the run time calls a handler once
    pPrevious(SIGABRT);
}

// Rounding, precision and exception masks of both floating-point units. A function keeps them for its caller, so what
// stood at the entry stands at the end as well, whatever a driver set in between and however it ended.
class FloatControl
{
public:
    FloatControl() { __asm__ volatile("fnstcw %0\n\tstmxcsr %1" : "=m"(m_X87), "=m"(m_Sse)); }

    // And strings go upwards, as every function finds them.
    void Restore() const
    {
        uint16_t Now;
        __asm__ volatile("cld\n\tfnstcw %0" : "=m"(Now) : : "cc");
        if (Now != m_X87) __asm__ volatile("fnclex\n\tfldcw %0" : : "m"(m_X87)); // else a masked fault could come up
        __asm__ volatile("ldmxcsr %0" : : "m"(m_Sse));
    }

    // After a fault, which may have left the x87 registers in use or in the form of MMX.
    void Reset() const
    {
        __asm__ volatile("fninit");
        Restore();
    }

private:
    uint16_t m_X87;
    uint32_t m_Sse;
};

__attribute__((noinline)) bool RunBody(void (*pBody)(void*), void* pContext)
{
    try {
        pBody(pContext);
        return true;
    } catch (...) {
        return false;
    }
}

// Apart from the record, so that nothing of it is in a register across the return from a fault.
__attribute__((noinline)) bool RunFrame(void (*pBody)(void*), void* pContext, Registration* pOwn)
{
    bool bDone = false;
    if (__builtin_setjmp(pOwn->Return) == 0) {
        SetChainHead(pOwn);
        bDone = RunBody(pBody, pContext);
        if (!bDone) pOwn->Code = kFaultCppException;
    }
    SetChainHead(pOwn->pOuter);
    return bDone;
}

} // namespace

bool RunInExceptionFrame(void (*pBody)(void* pContext), void* pContext, uint32_t* pCode)
{
    g_AbortHandler.Stand();
    const FloatControl Float;
    Registration Own{ChainHead(), reinterpret_cast<void*>(&OnException), {}, 0};
    const bool bDone = RunFrame(pBody, pContext, &Own);
    if (bDone)
        Float.Restore();
    else
        Float.Reset();
    if (Own.Code == EXCEPTION_STACK_OVERFLOW) _resetstkoflw(); // the next one is to be told again
    *pCode = Own.Code;
    return bDone;
}

void RaiseFault(uint32_t Code)
{
    RaiseException(Code, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    __builtin_unreachable();
}

} // namespace platform
