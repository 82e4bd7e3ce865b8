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

// One request of each kind that the library makes; true when it was granted. What was granted is given back.
bool Request(int Kind)
try {
    switch (Kind) {
    case 0: delete new int; return true;
    case 1: delete[] new int[7]; return true;
    case 2: {
        auto* const p = new Wide;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
        delete p;
        return true;
    }
    case 3: delete[] new Wide[2]; return true;
    case 4: {
        const int* const p = new (std::nothrow) int;
        delete p;
        return p;
    }
    case 5: {
        const Wide* const p = new (std::nothrow) Wide;
        delete p;
        return p;
    }
    case 6: std::vector<int>{}.reserve(100); return true;
    case 7: std::string().reserve(1000); return true; // inside the standard library's own code
    default: {
        uint8_t* const p = kernels::Malloc8u(100); // malloc
        kernels::Free(p);
        return p;
    }
    }
} catch (const std::bad_alloc&) {
    return false;
}
constexpr int kKinds = 9;

TEST(FailingAllocation, FailsTheRequestItIsAskedToAndNoOther)
{
    for (size_t FailAt = 0; FailAt <= kKinds + 1; ++FailAt) {
        bool bGranted[kKinds];
        bool bFailed;
        {
            const FailingAllocation Memory(FailAt);
            for (int Kind = 0; Kind < kKinds; ++Kind) {
                bGranted[Kind] = Request(Kind);
                EXPECT_EQ(FailingAllocation::Requests(), static_cast<size_t>(Kind) + 1);
            }
            bFailed = Memory.Failed();
        }
        for (size_t Kind = 0; Kind < kKinds; ++Kind) EXPECT_EQ(bGranted[Kind], Kind + 1 != FailAt) << Kind;
        EXPECT_EQ(bFailed, FailAt >= 1 && FailAt <= kKinds);
    }
}

TEST(FailingAllocation, MayFailAllBehindIt)
{
    int Granted = 0;
    {
        const FailingAllocation Memory(4, FailingAllocation::After::Fail);
        for (int Kind = 0; Kind < kKinds; ++Kind) Granted += Request(Kind);
    }
    EXPECT_EQ(Granted, 3);
}

TEST(FailingAllocation, CountsTheBlocksThatAreStillHeld)
{
    ptrdiff_t Held[3];
    {
        const FailingAllocation Memory(0);
        uint8_t* const pBlock = kernels::Malloc8u(10);
        const auto* const pNumber = new int(5);
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
    bool bOther = false;
    const auto Ask = [&bOther] { bOther = Request(0); };
    std::thread Other;
    {
        const FailingAllocation Memory(2, FailingAllocation::After::Fail);
        Other = std::thread(Ask); // the thread's record is one request of this thread
        Other.join();
        EXPECT_FALSE(Request(0));
    }
    EXPECT_TRUE(bOther);
    EXPECT_TRUE(Request(0));
    EXPECT_EQ(FailingAllocation::Requests(), 0u);
}

} // namespace
