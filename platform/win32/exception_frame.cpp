#include "platform/exception_frame.h"

#include <windows.h>

#include <cstddef>

#if !defined(__i386__)
#error "Structured exception frames are linked by hand here, in the form of 32-bit x86."
#endif

namespace platform {

namespace {

// A frame in the thread's chain of exception registrations, which starts at fs:[0].
struct Registration {
    Registration* pOuter;
    void* pHandler;
    void* Return[5]; // for __builtin_longjmp
    volatile uint32_t Code;
};

Registration* ChainHead()
{
    Registration* pHead;
    __asm__ volatile("movl %%fs:0, %0" : "=r"(pHead));
    return pHead;
}

void SetChainHead(Registration* pHead) { __asm__ volatile("movl %0, %%fs:0" : : "r"(pHead) : "memory"); }

extern "C" EXCEPTION_DISPOSITION __cdecl OnException(EXCEPTION_RECORD* pRecord, void* pEstablisher, CONTEXT*, void*)
{
    auto* const pFrame = static_cast<Registration*>(pEstablisher);
    if (pRecord->ExceptionFlags & (EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND)) return ExceptionContinueSearch;
    pFrame->Code = pRecord->ExceptionCode;
    // The frames between the fault and this one get their chance to clean up, then this one goes on.
    RtlUnwind(pEstablisher, nullptr, pRecord, nullptr);
    __builtin_longjmp(pFrame->Return, 1);
}

__attribute__((noinline)) bool RunFrame(void (*pBody)(void*), void* pContext, Registration* pOwn)
{
    if (__builtin_setjmp(pOwn->Return) == 0) {
        SetChainHead(pOwn);
        try {
            pBody(pContext);
        } catch (...) {
            pOwn->Code = kFaultCppException;
        }
    }
    SetChainHead(pOwn->pOuter);
    return pOwn->Code == 0;
}

} // namespace

bool RunInExceptionFrame(void (*pBody)(void* pContext), void* pContext, uint32_t* pCode)
{
    Registration Own{ChainHead(), reinterpret_cast<void*>(&OnException), {}, 0};
    const bool bDone = RunFrame(pBody, pContext, &Own);
    *pCode = Own.Code;
    return bDone;
}

} // namespace platform
