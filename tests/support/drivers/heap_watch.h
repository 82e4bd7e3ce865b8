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

    /// Time in which this thread's requests are neither counted nor failed.
    struct Pause {
        void* const pSuspended = FailingAllocation::Suspend();
        ~Pause() { FailingAllocation::Resume(pSuspended); }
    };

private:
    static void* Open(const char* pName)
    {
        const Pause Unwatched;
        return s_pLibraries->Open(pName);
    }
    static void* Symbol(void* pLibrary, const char* pName)
    {
        const Pause Unwatched;
        return s_pLibraries->Symbol(pLibrary, pName);
    }
    static void Close(void* pLibrary)
    {
        const Pause Unwatched;
        s_pLibraries->Close(pLibrary);
    }
    static constexpr platform::LibraryOperations kOperations{Open, Symbol, Close};
    static inline const platform::LibraryOperations* s_pLibraries = nullptr;
};
