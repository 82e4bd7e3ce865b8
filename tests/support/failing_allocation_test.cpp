#include "tests/support/failing_allocation.h"

#include "kernels/memory/memory.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <thread>
#include <vector>

namespace {

struct alignas(64) Wide {
    char Bytes[100];
};

// A compiler may leave out a new whose result nobody sees.
const void* volatile s_pSeen;
template <class T>
T* Seen(T* p)
{
    s_pSeen = p;
    return p;
}

// One request of each kind that the library makes; true when it was granted. What was granted is given back.
bool Request(int Kind)
try {
    switch (Kind) {
    case 0: delete Seen(new int); return true;
    case 1: delete[] Seen(new int[7]); return true;
    case 2: {
        const Wide* const p = Seen(new Wide);
        const bool bAligned = reinterpret_cast<uintptr_t>(p) % alignof(Wide) == 0;
        delete p;
        return bAligned;
    }
    case 3: delete[] Seen(new Wide[2]); return true;
    case 4: {
        const int* const p = Seen(new (std::nothrow) int);
        delete p;
        return p;
    }
    case 5: {
        const Wide* const p = Seen(new (std::nothrow) Wide);
        delete p;
        return p;
    }
    case 6: Seen(std::vector<int>(100).data()); return true;
    case 7: Seen(std::string(1000, 'a').data()); return true; // inside the standard library's own code
    default: {
        uint8_t* const p = kernels::Malloc8u(100); // malloc
        kernels::Free(p);
        return p;
    }
    }
} catch (const std::bad_alloc&) {
    return false;
}
constexpr size_t kKinds = 9;

TEST(FailingAllocation, FailsTheRequestItIsAskedToAndNoOther)
{
    for (size_t FailAt = 0; FailAt <= kKinds + 1; ++FailAt) {
        bool bGranted[kKinds];
        size_t Requests[kKinds];
        bool bFailed;
        {
            const FailingAllocation Memory(FailAt);
            for (size_t Kind = 0; Kind < kKinds; ++Kind) {
                bGranted[Kind] = Request(static_cast<int>(Kind));
                Requests[Kind] = FailingAllocation::Requests();
            }
            bFailed = Memory.Failed();
        }
        for (size_t Kind = 0; Kind < kKinds; ++Kind) {
            EXPECT_EQ(bGranted[Kind], Kind + 1 != FailAt) << Kind;
            EXPECT_EQ(Requests[Kind], Kind + 1);
        }
        EXPECT_EQ(bFailed, FailAt >= 1 && FailAt <= kKinds);
    }
}

TEST(FailingAllocation, MayFailAllBehindIt)
{
    int Granted = 0;
    {
        const FailingAllocation Memory(4, FailingAllocation::After::Fail);
        for (size_t Kind = 0; Kind < kKinds; ++Kind) Granted += Request(static_cast<int>(Kind));
    }
    EXPECT_EQ(Granted, 3);
}

TEST(FailingAllocation, CountsTheBlocksThatAreStillHeld)
{
    ptrdiff_t Held[3];
    {
        const FailingAllocation Memory(0);
        uint8_t* const pBlock = kernels::Malloc8u(10);
        const int* const pNumber = Seen(new int(5));
        Held[0] = FailingAllocation::BlocksHeld();
        delete pNumber;
        Held[1] = FailingAllocation::BlocksHeld();
        kernels::Free(pBlock);
        Held[2] = FailingAllocation::BlocksHeld();
    }
    EXPECT_EQ(Held[0], 2);
    EXPECT_EQ(Held[1], 1);
    EXPECT_EQ(Held[2], 0);
}

TEST(FailingAllocation, LeavesOtherThreadsAndLaterRequestsAlone)
{
    bool bOwn, bOther = false;
    {
        const FailingAllocation Memory(2, FailingAllocation::After::Fail);
        std::thread([&bOther] { bOther = Request(0); }).join(); // its record is one request of this thread
        bOwn = Request(0);
    }
    EXPECT_FALSE(bOwn);
    EXPECT_TRUE(bOther);
    EXPECT_TRUE(Request(0));
    EXPECT_EQ(FailingAllocation::Requests(), 0u);
}

} // namespace
