// A count of memory that leaves out what the substitutes of drivers take.
#pragma once

#include "platform/shared_library.h"
#include "tests/support/drivers/driver_control.h"
#include "tests/support/failing_allocation.h"

/// While it lives, a FailingAllocation looks at the library alone and not at what the substitutes, and the loader in
/// front of them, take for themselves. One at a time.
class HeapWatch
{
public:
    HeapWatch()
    {
        s_pLibraries = &platform::Libraries();
        platform::SetLibraries(&kOperations);
        DriverVisits(FailingAllocation::Suspend, FailingAllocation::Resume);
    }
    ~HeapWatch()
    {
        DriverVisits(nullptr, nullptr);
        platform::SetLibraries(s_pLibraries);
    }
    HeapWatch(const HeapWatch&) = delete;
    HeapWatch& operator=(const HeapWatch&) = delete;

private:
    struct Visit {
        void* const pSuspended = FailingAllocation::Suspend();
        ~Visit() { FailingAllocation::Resume(pSuspended); }
    };
    static void* Open(const char* pName)
    {
        const Visit Unwatched;
        return s_pLibraries->Open(pName);
    }
    static void* Symbol(void* pLibrary, const char* pName)
    {
        const Visit Unwatched;
        return s_pLibraries->Symbol(pLibrary, pName);
    }
    static void Close(void* pLibrary)
    {
        const Visit Unwatched;
        s_pLibraries->Close(pLibrary);
    }
    static constexpr platform::LibraryOperations kOperations{Open, Symbol, Close};
    static inline const platform::LibraryOperations* s_pLibraries = nullptr;
};
