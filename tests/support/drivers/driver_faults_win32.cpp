#include "tests/support/drivers/driver_control.h"
#include "tests/support/drivers/driver_faults.h"

#include <windows.h>

#include <cstdlib>

namespace {

constexpr DWORD kMicrosoftException = 0xE06D7363; // a C++ exception of that compiler

void WriteToNull()
{
    volatile int* volatile pNull = nullptr;
    *pNull = 1;
}

void DivideByZero()
{
    __asm__ volatile("xorl %%ecx, %%ecx\n\tmovl $1, %%eax\n\tcltd\n\tidivl %%ecx" : : : "eax", "ecx", "edx", "cc");
}

} // namespace

void RaiseDriverFault(int32_t Action)
{
    switch (Action) {
    case kDriverAccess: WriteToNull(); break;
    case kDriverArithmetic: DivideByZero(); break;
    case kDriverIllegal: __asm__ volatile("ud2"); break;
    case kDriverAbort: std::abort();
    case kDriverThrow: RaiseException(kMicrosoftException, EXCEPTION_NONCONTINUABLE, 0, nullptr); break;
    default: break;
    }
    for (;;) Sleep(INFINITE);
}
