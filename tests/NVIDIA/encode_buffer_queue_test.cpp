// The ring of buffers: who is next, who is pending.
#include "NVIDIA/inc/encode_buffer_queue.h"

#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

TEST(EncodeBufferQueue, HoldsNoneAtFirst)
{
    EncodeBufferQueue Queue;
    EXPECT_EQ(Queue.GetAvailable(), nullptr);
    EXPECT_EQ(Queue.GetPending(), nullptr);
}

TEST(EncodeBufferQueue, GivesInTurnAndTakesBackInTheSameOrder)
{
    EncodeBuffer Buffers[2];
    EncodeBufferQueue Queue;
    ASSERT_TRUE(Queue.Initialize(Buffers, 2));
    EXPECT_EQ(Queue.GetPending(), nullptr);
    for (int Round = 0; Round < 3; ++Round) {
        EXPECT_EQ(Queue.GetAvailable(), &Buffers[0]);
        EXPECT_EQ(Queue.GetAvailable(), &Buffers[1]);
        EXPECT_EQ(Queue.GetAvailable(), nullptr);
        EXPECT_EQ(Queue.GetPending(), &Buffers[0]);
        EXPECT_EQ(Queue.GetPending(), &Buffers[1]);
        EXPECT_EQ(Queue.GetPending(), nullptr);
    }
    EXPECT_EQ(Queue.GetAvailable(), &Buffers[0]);
    EXPECT_EQ(Queue.GetPending(), &Buffers[0]);
    EXPECT_EQ(Queue.GetAvailable(), &Buffers[1]);
}

TEST(EncodeBufferQueue, StartsAnewWithAnotherCount)
{
    EncodeBuffer Buffers[2];
    EncodeBufferQueue Queue;
    ASSERT_TRUE(Queue.Initialize(Buffers, 2));
    Queue.GetAvailable();
    ASSERT_TRUE(Queue.Initialize(Buffers, 1));
    EXPECT_EQ(Queue.GetPending(), nullptr);
    EXPECT_EQ(Queue.GetAvailable(), &Buffers[0]);
    EXPECT_EQ(Queue.GetAvailable(), nullptr);
    ASSERT_TRUE(Queue.Initialize(Buffers, 0));
    EXPECT_EQ(Queue.GetAvailable(), nullptr);
    EXPECT_EQ(Queue.GetPending(), nullptr);
}

TEST(EncodeBufferQueue, HoldsNoneWithoutMemory)
{
    EncodeBuffer Buffers[2];
    EncodeBufferQueue Queue;
    {
        const FailingAllocation Fail(1);
        EXPECT_FALSE(Queue.Initialize(Buffers, 2));
    }
    EXPECT_EQ(Queue.GetAvailable(), nullptr);
}
