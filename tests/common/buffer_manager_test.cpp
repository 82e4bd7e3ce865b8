// The pool of reusable buffers.
#include "Common/h/MyBufferMgr.h"
#include "tests/support/recording_log.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

TEST(AlignedAlloc, GivesSixteenByteAlignment)
{
    for (const uint32_t Size : {0u, 1u, 15u, 16u, 1000u}) {
        void* const pBlock = AlignedAlloc(Size);
        ASSERT_NE(pBlock, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(pBlock) % 16, 0u);
        std::memset(pBlock, 0xAA, Size);
        AlignedFree(pBlock);
    }
    AlignedFree(nullptr);
}

TEST(BufferManager, AnIdleBufferIsReusedAndNeverShrinks)
{
    CMyBufferMgr Pool;
    uint8_t* const pFirst = Pool.GetBuffer(200);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(pFirst) % 16, 0u);
    Pool.FreeBuffer(pFirst);
    EXPECT_EQ(Pool.GetBuffer(100), pFirst);
    Pool.FreeBuffer(pFirst);
    EXPECT_EQ(Pool.GetBuffer(200), pFirst); // its capacity stayed
    EXPECT_EQ(Pool.InUse(), 1);
    Pool.FreeBuffer(pFirst);
}

TEST(BufferManager, ATooSmallIdleBufferIsReplaced)
{
    CMyBufferMgr Pool;
    Pool.FreeBuffer(Pool.GetBuffer(16));
    uint8_t* const pLarge = Pool.GetBuffer(100000);
    std::memset(pLarge, 1, 100000);
    EXPECT_EQ(Pool.IdleCount(), 0u);
    Pool.FreeBuffer(pLarge);
}

TEST(BufferManager, TheEleventhIdleBufferIsFreed)
{
    CMyBufferMgr Pool;
    std::vector<uint8_t*> Taken;
    for (int i = 0; i < 11; ++i) Taken.push_back(Pool.GetBuffer(64));
    EXPECT_EQ(Pool.InUse(), 11);
    for (uint8_t* const pBuffer : Taken) Pool.FreeBuffer(pBuffer);
    EXPECT_EQ(Pool.IdleCount(), 10u);
    EXPECT_EQ(Pool.InUse(), 0);
    EXPECT_EQ(Pool.GetBuffer(64), Taken[0]); // the one idle for longest
    Pool.FreeBuffer(Taken[0]);
}

TEST(BufferManager, FreeAllForgetsEverything)
{
    CMyBufferMgr Pool;
    Pool.FreeBuffer(Pool.GetBuffer(64));
    uint8_t* const pOut = Pool.GetBuffer(128);
    Pool.FreeAll();
    EXPECT_EQ(Pool.InUse(), 0);
    EXPECT_EQ(Pool.IdleCount(), 0u);
    Pool.FreeBuffer(pOut);
}

TEST(BufferManager, FailuresAreAssertedAndCounted)
{
    RecordingLog Log;
    CMyBufferMgr Pool;
    Pool.FreeBuffer(nullptr);
    EXPECT_EQ(Pool.InUse(), 0);
    EXPECT_EQ(Pool.GetBuffer(0xFFFFFFFFu), nullptr); // cannot be had with its header
    EXPECT_EQ(Pool.InUse(), 1);                      // counts requests
    EXPECT_EQ(Log.With("file=MyBufferMgr").size(), 2u);
    EXPECT_EQ(Log.With("expr=pBuffer").size(), 2u);
}

TEST(BufferManager, IsSafeFromManyThreads)
{
    CMyBufferMgr Pool;
    std::vector<std::thread> Threads;
    for (int t = 0; t < 4; ++t)
        Threads.emplace_back([&Pool, t] {
            for (uint32_t i = 0; i < 500; ++i) {
                uint8_t* const pBuffer = Pool.GetBuffer(64 + i % 64);
                std::memset(pBuffer, t, 64);
                Pool.FreeBuffer(pBuffer);
            }
        });
    for (std::thread& Thread : Threads) Thread.join();
    EXPECT_EQ(Pool.InUse(), 0);
    EXPECT_LE(Pool.IdleCount(), 10u);
}
