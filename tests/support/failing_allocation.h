// Memory that runs out on purpose, and a count of the requests.
//
// Link the object library quilvex_failing_allocation to a test program that uses this: it replaces operator new and, by
// the linker's --wrap, the malloc family for everything that is linked statically. Other test programs keep the
// system's.
#pragma once

#include <cstddef>

/// While it lives, the requests of the thread that made it are counted, and one of them fails: operator new throws
/// std::bad_alloc (its nothrow forms and malloc, calloc, realloc and aligned_alloc answer null). One at a time on a
/// thread.
class FailingAllocation
{
public:
    enum class After { Succeed, Fail }; ///< what becomes of the requests behind the one that fails

    /// @param FailAt  the request that fails, counted from 1; 0: none does, they are only counted
    explicit FailingAllocation(size_t FailAt, After Rest = After::Succeed);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Requests of this thread since the object was made, those that failed included. 0 without an object.
    static size_t Requests();
    /// Blocks that this thread took since the object was made less those that it gave back: 0 again when all that was
    /// made meanwhile is gone.
    static ptrdiff_t BlocksHeld();
    /// The same in bytes, as large as the system made the blocks, and the most that there ever were.
    static ptrdiff_t BytesHeld();
    static ptrdiff_t MostBytesHeld();
    /// Whether a request has failed.
    bool Failed() const;

    /// Takes the watch off this thread and puts it back: for the work of others, such as a substitute of a driver, in
    /// the midst of what is watched.
    static void* Suspend();
    static void Resume(void* pSuspended);
};
