// The queue of pictures to be shown.
#include "NVIDIA/FrameQueue.h"

#include <gtest/gtest.h>

namespace {

CUVIDPARSERDISPINFO Picture(int Index, int64_t Time = 0)
{
    CUVIDPARSERDISPINFO Info{};
    Info.picture_index = Index;
    Info.timestamp = Time;
    return Info;
}

int64_t Next(FrameQueue& Queue)
{
    CUVIDPARSERDISPINFO Info{};
    return Queue.dequeue(Info) ? Info.timestamp : -1;
}

} // namespace

TEST(FrameQueue, IsEmptyAtFirst)
{
    FrameQueue Queue;
    CUVIDPARSERDISPINFO Info = Picture(7);
    EXPECT_FALSE(Queue.dequeue(Info));
    EXPECT_EQ(Info.picture_index, -1);
    for (int i = 0; i < FrameQueue::kCapacity; ++i) EXPECT_FALSE(Queue.isInUse(i));
    EXPECT_FALSE(Queue.isEndOfDecode());
    EXPECT_FALSE(Queue.Changed().Wait(0));
}

TEST(FrameQueue, GivesAPictureBackWithAllItsFields)
{
    FrameQueue Queue;
    CUVIDPARSERDISPINFO In = Picture(3, 1ll << 40), Out{};
    In.progressive_frame = 1;
    In.top_field_first = 2;
    In.repeat_first_field = -1;
    Queue.enqueue(In);
    ASSERT_TRUE(Queue.dequeue(Out));
    EXPECT_EQ(Out.picture_index, 3);
    EXPECT_EQ(Out.progressive_frame, 1);
    EXPECT_EQ(Out.top_field_first, 2);
    EXPECT_EQ(Out.repeat_first_field, -1);
    EXPECT_EQ(Out.timestamp, 1ll << 40);
}

TEST(FrameQueue, KeepsTheOrderRoundAndRound)
{
    FrameQueue Queue;
    int64_t In = 0, Out = 0;
    for (const int Filled : {20, 1, 7, 20, 13}) {
        for (int i = 0; i < Filled; ++i, ++In) Queue.enqueue(Picture(static_cast<int>(In % 20), In));
        for (int i = 0; i < Filled; ++i) EXPECT_EQ(Next(Queue), Out++);
        EXPECT_EQ(Next(Queue), -1);
    }
}

TEST(FrameQueue, ASurfaceIsInUseUntilItIsReleased)
{
    FrameQueue Queue;
    Queue.enqueue(Picture(0));
    Queue.enqueue(Picture(19));
    EXPECT_TRUE(Queue.isInUse(0));
    EXPECT_TRUE(Queue.isInUse(19));
    EXPECT_FALSE(Queue.isInUse(1));
    Next(Queue);
    EXPECT_TRUE(Queue.isInUse(0)); // taken, not released
    Queue.releaseFrame(Picture(0));
    EXPECT_FALSE(Queue.isInUse(0));
    EXPECT_TRUE(Queue.isInUse(19));
}

TEST(FrameQueue, AFullOneDropsItsOldestPicture)
{
    FrameQueue Queue;
    for (int i = 0; i < 20; ++i) Queue.enqueue(Picture(i, i));
    Queue.enqueue(Picture(5, 20));
    EXPECT_FALSE(Queue.isInUse(0));
    EXPECT_TRUE(Queue.isInUse(1));
    for (int i = 1; i <= 20; ++i) EXPECT_EQ(Next(Queue), i);
    EXPECT_EQ(Next(Queue), -1);
}

TEST(FrameQueue, APictureOnTheDroppedOnesSurfaceIsInUse)
{
    FrameQueue Queue;
    for (int i = 0; i < 21; ++i) Queue.enqueue(Picture(i % 20));
    EXPECT_TRUE(Queue.isInUse(0));
}

TEST(FrameQueue, TellsOfEveryPictureAndOfTheEnd)
{
    FrameQueue Queue;
    Queue.enqueue(Picture(0));
    EXPECT_TRUE(Queue.Changed().Wait(0));
    EXPECT_FALSE(Queue.Changed().Wait(0)); // one signal, once
    Queue.endDecode();
    EXPECT_TRUE(Queue.isEndOfDecode());
    EXPECT_TRUE(Queue.Changed().Wait(0));
}

TEST(FrameQueue, KnowsItsIndices)
{
    for (const int Good : {0, 1, 19}) EXPECT_TRUE(FrameQueue::isIndex(Good));
    for (const int Bad : {-1, 20, INT32_MIN, INT32_MAX}) EXPECT_FALSE(FrameQueue::isIndex(Bad));
}
