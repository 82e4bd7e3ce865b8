// Bytes that wait for a decoder: first in, first out.
#include "front/unread_input.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <deque>
#include <numeric>
#include <random>

namespace {

TEST(UnreadInput, GivesTheBytesInTheirOrder)
{
    std::mt19937 Random(7);
    UnreadInput Queue;
    std::deque<uint8_t> Expected;
    uint8_t Next = 0;
    for (int i = 0; i < 2000; ++i) {
        std::vector<uint8_t> More(Random() % 40);
        std::iota(More.begin(), More.end(), Next);
        Next = static_cast<uint8_t>(Next + More.size());
        ASSERT_TRUE(Queue.Append(More.data(), More.size()));
        Expected.insert(Expected.end(), More.begin(), More.end());
        const size_t Drop = Random() % 8 == 0 ? Expected.size() : std::min<size_t>(Expected.size(), Random() % 40);
        Queue.Drop(Drop);
        Expected.erase(Expected.begin(), Expected.begin() + static_cast<ptrdiff_t>(Drop));
        ASSERT_EQ(Queue.Size(), Expected.size());
        ASSERT_TRUE(std::equal(Expected.begin(), Expected.end(), Queue.Data())) << i;
    }
}

TEST(UnreadInput, HoldsWhatItHeldWhenMemoryRunsOut)
{
    const uint8_t Bytes[] = {1, 2, 3};
    UnreadInput Queue;
    ASSERT_TRUE(Queue.Append(Bytes, 3));
    const std::vector<uint8_t> Many(1000);
    {
        const FailingAllocation Starved(1);
        EXPECT_FALSE(Queue.Append(Many.data(), Many.size()));
    }
    ASSERT_EQ(Queue.Size(), 3u);
    EXPECT_EQ(Queue.Data()[2], 3);
}

TEST(UnreadInput, GivesItsMemoryBackWhenItIsEmpty)
{
    const std::vector<uint8_t> Many(1000);
    const FailingAllocation Count(0);
    UnreadInput Queue;
    ASSERT_TRUE(Queue.Append(Many.data(), Many.size()));
    Queue.Drop(400);
    Queue.Drop(600);
    EXPECT_EQ(Queue.Size(), 0u);
    EXPECT_EQ(FailingAllocation::BlocksHeld(), 0);
    ASSERT_TRUE(Queue.Append(Many.data(), 10));
    Queue.Clear();
    EXPECT_EQ(FailingAllocation::BlocksHeld(), 0);
}

} // namespace
