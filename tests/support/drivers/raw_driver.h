// How a substitute sees its caller: structures as bytes at the offsets that the driver's interface is published with,
// and functions by their calling convention. None of it comes from the headers that the library is built with, so that
// a fault of those shows. Freestanding: the Windows substitutes are built by another compiler, without its libraries.
#pragma once

#include "tests/support/drivers/driver_control.h"

#if defined(_WIN32)
#define DRIVER_CALL __stdcall
#define DRIVER_EXPORT extern "C" __declspec(dllexport)
#else
#define DRIVER_CALL
#define DRIVER_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace raw {

inline constexpr bool kIs64Bit = sizeof(void*) == 8;

/// One of two numbers: of a 64-bit process and of a 32-bit one.
constexpr size_t At(size_t On64, size_t On32) { return kIs64Bit ? On64 : On32; }

template <class Value>
Value Get(const void* pBase, size_t Offset)
{
    Value Read;
    __builtin_memcpy(&Read, static_cast<const char*>(pBase) + Offset, sizeof Read);
    return Read;
}

template <class Value>
void Put(void* pBase, size_t Offset, Value Written)
{
    __builtin_memcpy(static_cast<char*>(pBase) + Offset, &Written, sizeof Written);
}

/// An address that no other living thread has.
inline const void* ThisThread()
{
#if defined(_WIN32)
    const void* pBlock; // the thread's own, which holds its address
    __asm__("movl %%fs:0x18, %0" : "=r"(pBlock));
    return pBlock;
#else
    static thread_local const char s_Mark = 0;
    return &s_Mark;
#endif
}

/// A field of the trace, read from a structure.
template <class Value>
void Field(const char* pName, const void* pBase, size_t Offset)
{
    DriverField(pName, static_cast<int64_t>(Get<Value>(pBase, Offset)));
}

} // namespace raw
