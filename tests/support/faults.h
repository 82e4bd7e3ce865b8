// Faults that a test makes on purpose.
#pragma once

#include "platform/exception_frame.h"

#include <csignal>

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kSanitized = true; // the sanitizer reports a real fault before any handler sees it
#else
inline constexpr bool kSanitized = false;
#endif

inline void WriteToNull()
{
    volatile int* volatile pNull = nullptr;
    *pNull = 1;
}

#if defined(_WIN32)

inline void RaiseAccessFault() { WriteToNull(); }
inline void RaiseIllegalInstruction() { __asm__ volatile("ud2"); }
inline constexpr uint32_t kOverflowCode = 0xC00000FD; // told apart from an access

#else

inline void RaiseAccessFault() { raise(SIGSEGV); }
inline void RaiseIllegalInstruction() { raise(SIGILL); }
inline constexpr uint32_t kOverflowCode = platform::kFaultAccess;

#endif

inline int TakeStack(volatile char* pOuter, int Depth)
{
    volatile char Local[4096];
    Local[0] = *pOuter;
    return Depth ? TakeStack(Local, Depth - 1) + Local[0] : 0;
}

/// Takes far more stack than a thread has.
inline void OverflowStack()
{
    volatile char Seed = 0;
    Seed = static_cast<char>(TakeStack(&Seed, 1 << 20));
}
