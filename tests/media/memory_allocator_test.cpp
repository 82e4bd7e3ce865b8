// The default allocator: blocks by handle, kept for reuse.
#include "media/umc_default_memory_allocator.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

using namespace UMC;

TEST(MemoryAllocator, RefusesBadArguments)
{
    DefaultMemoryAllocator Allocator;
    MemID Mid = 77;
    EXPECT_EQ(Allocator.Alloc(nullptr, 16, 0, 16), StatusNullPointer);
    EXPECT_EQ(Allocator.Alloc(&Mid, 0, 0, 16), StatusInvalidParamsExt);
    EXPECT_EQ(Mid, 0u);
    EXPECT_EQ(Allocator.Alloc(&Mid, 16, 0, 0), StatusInvalidParamsExt);
    EXPECT_EQ(Allocator.Alloc(&Mid, 16, 0, 3), StatusInvalidParamsExt);
    EXPECT_EQ(Allocator.Alloc(&Mid, 16, 0, 2097152), StatusInvalidParamsExt);
    EXPECT_EQ(Allocator.Alloc(&Mid, SIZE_MAX / 2, 0, 16), StatusAllocFailed);
    EXPECT_EQ(Allocator.Alloc(&Mid, 16, 0, 1048576), StatusOk);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(Allocator.Lock(Mid)) % 1048576, 0u);
}

TEST(MemoryAllocator, UnknownHandlesAreRefused)
{
    DefaultMemoryAllocator Allocator;
    for (const MemID Bad : {0u, 5u}) {
        EXPECT_EQ(Allocator.Lock(Bad), nullptr);
        EXPECT_EQ(Allocator.Unlock(Bad), StatusFailed);
        EXPECT_EQ(Allocator.Free(Bad), StatusFailed);
    }
    EXPECT_EQ(Allocator.DeallocateMem(0), StatusFailed);
    EXPECT_EQ(Allocator.DeallocateMem(5), StatusOk);
}

TEST(MemoryAllocator, AFreedBlockIsFoundAgain)
{
    DefaultMemoryAllocator Allocator;
    MemID First, Second;
    ASSERT_EQ(Allocator.Alloc(&First, 1000, 0, 64), StatusOk);
    void* const pBlock = Allocator.Lock(First);
    std::memset(pBlock, 1, 1000);
    EXPECT_EQ(Allocator.Unlock(First), StatusOk);
    EXPECT_EQ(Allocator.Unlock(First), StatusFailed); // no lock outstanding
    EXPECT_EQ(Allocator.Free(First), StatusOk);
    EXPECT_EQ(Allocator.Free(First), StatusFailed);
    ASSERT_EQ(Allocator.Alloc(&Second, 900, 0, 64), StatusOk);
    EXPECT_NE(Second, First);
    EXPECT_EQ(Allocator.Lock(Second), pBlock);
}

TEST(MemoryAllocator, ABlockOfAnotherSizeGoesBack)
{
    DefaultMemoryAllocator Allocator;
    const FailingAllocation Count(0);
    MemID Large[3], Small;
    for (MemID& Mid : Large) ASSERT_EQ(Allocator.Alloc(&Mid, 100000, 0, 64), StatusOk);
    const ptrdiff_t Held = FailingAllocation::BlocksHeld();
    for (const MemID Mid : Large) EXPECT_EQ(Allocator.Free(Mid), StatusOk);
    EXPECT_EQ(FailingAllocation::BlocksHeld(), Held) << "kept for the next of their size";
    ASSERT_EQ(Allocator.Alloc(&Small, 100, 0, 64), StatusOk);
    EXPECT_EQ(FailingAllocation::BlocksHeld(), Held - 2);
}

TEST(MemoryAllocator, ALockedBlockIsFreedByTheLastUnlock)
{
    DefaultMemoryAllocator Allocator;
    MemID Mid, Other;
    ASSERT_EQ(Allocator.Alloc(&Mid, 100, 0, 16), StatusOk);
    void* const pBlock = Allocator.Lock(Mid);
    Allocator.Lock(Mid);
    EXPECT_EQ(Allocator.Free(Mid), StatusOk);
    ASSERT_EQ(Allocator.Alloc(&Other, 100, 0, 16), StatusOk);
    EXPECT_NE(Allocator.Lock(Other), pBlock); // not given out while locked
    EXPECT_EQ(Allocator.Unlock(Mid), StatusOk);
    EXPECT_EQ(Allocator.Unlock(Mid), StatusOk);
    EXPECT_EQ(Allocator.Unlock(Mid), StatusFailed); // free now
    MemID Again;
    ASSERT_EQ(Allocator.Alloc(&Again, 100, 0, 16), StatusOk);
    EXPECT_EQ(Allocator.Lock(Again), pBlock);
}

TEST(MemoryAllocator, DeallocateFreesALockedBlock)
{
    DefaultMemoryAllocator Allocator;
    MemID Mid;
    ASSERT_EQ(Allocator.Alloc(&Mid, 100, 0, 16), StatusOk);
    Allocator.Lock(Mid);
    EXPECT_EQ(Allocator.DeallocateMem(Mid), StatusOk);
    EXPECT_EQ(Allocator.Lock(Mid), nullptr);
}

TEST(MemoryAllocator, TheNinthBlockGrowsTheTable)
{
    DefaultMemoryAllocator Allocator;
    MemID Mids[9];
    void* pBlocks[9];
    for (int i = 0; i < 9; ++i) {
        ASSERT_EQ(Allocator.Alloc(&Mids[i], 50, 0, 16), StatusOk);
        pBlocks[i] = Allocator.Lock(Mids[i]);
        EXPECT_EQ(Allocator.GetCapacity(), i < 8 ? 8 : 16);
    }
    for (int i = 0; i < 9; ++i) EXPECT_EQ(Allocator.Lock(Mids[i]), pBlocks[i]); // handles outlive the growth
}

TEST(MemoryAllocator, ATooSmallFreeBlockIsReplacedBeforeTheTableGrows)
{
    const FailingAllocation Count(0);
    DefaultMemoryAllocator Allocator;
    MemID Mid, Mids[8];
    for (MemID& Each : Mids) ASSERT_EQ(Allocator.Alloc(&Each, 50, 0, 16), StatusOk);
    EXPECT_EQ(Allocator.Free(Mids[3]), StatusOk);
    ASSERT_EQ(Allocator.Alloc(&Mid, 5000, 0, 16), StatusOk);
    std::memset(Allocator.Lock(Mid), 1, 5000);
    EXPECT_EQ(Allocator.GetCapacity(), 8);
    EXPECT_EQ(FailingAllocation::BlocksHeld(), 9); // eight blocks and the table
}

TEST(MemoryAllocator, CloseGivesEverythingBack)
{
    DefaultMemoryAllocator Allocator;
    MemID Mid;
    ASSERT_EQ(Allocator.Alloc(&Mid, 50, 0, 16), StatusOk);
    Allocator.Lock(Mid);
    EXPECT_EQ(Allocator.Close(), StatusOk);
    EXPECT_EQ(Allocator.GetCapacity(), 0);
    EXPECT_EQ(Allocator.Lock(Mid), nullptr);
    EXPECT_EQ(Allocator.Alloc(&Mid, 50, 0, 16), StatusOk);
}

TEST(MemoryAllocator, ServesManyThreads)
{
    DefaultMemoryAllocator Allocator;
    std::vector<std::thread> Threads;
    for (int t = 0; t < 4; ++t)
        Threads.emplace_back([&Allocator, t] {
            for (int i = 0; i < 200; ++i) {
                MemID Mid;
                ASSERT_EQ(Allocator.Alloc(&Mid, 64, 0, 16), StatusOk);
                auto* const pBlock = static_cast<uint8_t*>(Allocator.Lock(Mid));
                std::memset(pBlock, t, 64);
                std::this_thread::yield();
                for (int b = 0; b < 64; ++b) ASSERT_EQ(pBlock[b], t);
                Allocator.Unlock(Mid);
                Allocator.Free(Mid);
            }
        });
    for (std::thread& Thread : Threads) Thread.join();
}

TEST(MemoryAllocator, AlignmentsUpToTheLargestAreKeptForWholeBlocks)
{
    DefaultMemoryAllocator Allocator;
    for (uint32_t Align = 64; Align <= 1048576; Align *= 2)
        for (const size_t Size : {size_t{1}, size_t{127}, size_t{5000}}) {
            MemID Mid;
            ASSERT_EQ(Allocator.Alloc(&Mid, Size, 0, Align), StatusOk);
            auto* const pBlock = static_cast<uint8_t*>(Allocator.Lock(Mid));
            EXPECT_EQ(reinterpret_cast<uintptr_t>(pBlock) % Align, 0u) << Align;
            std::memset(pBlock, 1, Size); // the sanitizer watches its end
        }
}

TEST(MemoryAllocator, AFreedBlockIsUsedAgainWhereItHoldsTheSizeBehindItsAlignedStart)
{
    for (const uint32_t Align : {128u, 256u, 4096u})
        for (size_t Size = 1; Size < 120; Size += 7) {
            DefaultMemoryAllocator Allocator;
            MemID Mid;
            constexpr size_t kSize = 100, kAlign = 16, kCapacity = kSize + kAlign;
            ASSERT_EQ(Allocator.Alloc(&Mid, kSize, 0, kAlign), StatusOk);
            const auto Start = reinterpret_cast<uintptr_t>(Allocator.Lock(Mid));
            Allocator.Unlock(Mid);
            Allocator.Free(Mid);
            const size_t Skip = (Start + Align - 1) / Align * Align - Start;
            const FailingAllocation Count(0);
            ASSERT_EQ(Allocator.Alloc(&Mid, Size, 0, Align), StatusOk);
            const bool bHeld = Skip + Size <= kCapacity;
            EXPECT_EQ(FailingAllocation::Requests(), bHeld ? 0u : 1u) << Align << " " << Size << " " << Skip;
            auto* const pBlock = static_cast<uint8_t*>(Allocator.Lock(Mid));
            if (bHeld) {
                EXPECT_EQ(reinterpret_cast<uintptr_t>(pBlock), Start + Skip);
            }
            EXPECT_EQ(reinterpret_cast<uintptr_t>(pBlock) % Align, 0u);
            std::memset(pBlock, 1, Size);
        }
}

TEST(MemoryAllocator, SizesThatComeAndGoHoldNoMoreMemory)
{
    const FailingAllocation Count(0);
    DefaultMemoryAllocator Allocator;
    for (int Round = 0; Round < 50; ++Round) {
        MemID Mids[6];
        for (size_t i = 0; i < 6; ++i)
            ASSERT_EQ(Allocator.Alloc(&Mids[i], 100 + 1000 * ((static_cast<size_t>(Round) + i) % 7), 0, 128), StatusOk);
        for (const MemID Mid : Mids) ASSERT_EQ(Allocator.Free(Mid), StatusOk);
        EXPECT_LE(FailingAllocation::BlocksHeld(), 9); // eight records at most, and the table
        EXPECT_EQ(Allocator.GetCapacity(), 8);
    }
    const size_t Before = FailingAllocation::Requests();
    for (int Round = 0; Round < 50; ++Round) { // at one size no system allocator is reached
        MemID Mid;
        ASSERT_EQ(Allocator.Alloc(&Mid, 100, 0, 16), StatusOk);
        ASSERT_EQ(Allocator.Free(Mid), StatusOk);
    }
    EXPECT_LE(FailingAllocation::Requests(), Before + 1);
    Allocator.Close();
    EXPECT_EQ(FailingAllocation::BlocksHeld(), 0);
}

TEST(MemoryAllocator, KeepsNoMoreThanItsLimitBesideAsMuchAsIsInUse)
{
    constexpr size_t kPart = DefaultMemoryAllocator::kMaxKept / 4 - 64; // beside their alignment
    const auto HoldsAfter = [](int Parts) { // blocks that the system has back when so many parts are freed
        DefaultMemoryAllocator Allocator;
        MemID Mids[8], Small = 0;
        EXPECT_EQ(Allocator.Alloc(&Small, 1, 0, 16), StatusOk);
        const FailingAllocation Count(0);
        for (MemID& Mid : Mids) EXPECT_EQ(Allocator.Alloc(&Mid, kPart, 0, 16), StatusOk);
        for (int i = 0; i < Parts; ++i) EXPECT_EQ(Allocator.Free(Mids[i]), StatusOk);
        return FailingAllocation::BlocksHeld();
    };
    EXPECT_EQ(HoldsAfter(5), 8) << "three parts are in use, five are kept";
    EXPECT_EQ(HoldsAfter(6), 8) << "two and six: the limit";
    EXPECT_EQ(HoldsAfter(7), 1);
}

TEST(MemoryAllocator, ABlockThatCouldNotBeHadLeavesTheOthersAndNoRecord)
{
    DefaultMemoryAllocator Allocator;
    MemID Mid, Kept;
    {
        const FailingAllocation Fail(1, FailingAllocation::After::Fail);
        EXPECT_EQ(Allocator.Alloc(&Kept, 50, 0, 16), StatusAllocFailed); // not even a table
        EXPECT_EQ(Kept, 0u);
    }
    ASSERT_EQ(Allocator.Alloc(&Kept, 50, 0, 16), StatusOk);
    void* const pKept = Allocator.Lock(Kept);
    for (int i = 0; i < 40; ++i) {
        const FailingAllocation Fail(1, FailingAllocation::After::Fail);
        EXPECT_EQ(Allocator.Alloc(&Mid, 500, 0, 16), StatusAllocFailed);
        EXPECT_EQ(Mid, 0u);
        EXPECT_EQ(Allocator.Lock(Mid), nullptr);
    }
    EXPECT_EQ(Allocator.GetCapacity(), 8);
    EXPECT_EQ(Allocator.Lock(Kept), pKept);
    EXPECT_EQ(Allocator.Alloc(&Mid, 500, 0, 16), StatusOk);
}
