// An interface's table of operations, called as a client of another compiler calls it: by slot number alone.
#pragma once

#include <cstddef>

// On 32-bit Windows a member takes its object in ecx and pops its arguments itself; elsewhere the object is the first
// argument.
#if defined(_WIN32) && defined(__i386__)
#define QUILVEX_MEMBER_CALL __attribute__((thiscall))
#else
#define QUILVEX_MEMBER_CALL
#endif

template <class Result, class... Arguments>
Result CallSlot(void* pObject, size_t Slot, Arguments... Values)
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wattributes" // of a function that is no member
    using Operation = Result(QUILVEX_MEMBER_CALL*)(void*, Arguments...);
#pragma GCC diagnostic pop
    void* const* const pTable = *static_cast<void***>(pObject);
    return reinterpret_cast<Operation>(pTable[Slot])(pObject, Values...);
}
