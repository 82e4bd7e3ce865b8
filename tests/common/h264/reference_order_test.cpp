#include "Common/h264/reference_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace h264 {
namespace {

std::vector<int32_t> ListB(int List, std::vector<int32_t> Counts, int32_t Current)
{
    std::sort(Counts.begin(), Counts.end(), [=](int32_t a, int32_t b) { return IsBeforeInListB(List, a, b, Current); });
    return Counts;
}

TEST(ReferenceOrder, TheLatestComesFirstInListP)
{
    EXPECT_TRUE(IsBeforeInListP(2, -6));
    EXPECT_FALSE(IsBeforeInListP(-6, 2));
    EXPECT_FALSE(IsBeforeInListP(2, 2));
}

TEST(ReferenceOrder, LongTermPicturesStandByRisingNumber)
{
    EXPECT_TRUE(IsBeforeInLongTerm(0, 3));
    EXPECT_FALSE(IsBeforeInLongTerm(3, 0));
    EXPECT_FALSE(IsBeforeInLongTerm(3, 3));
}

TEST(ReferenceOrder, ListBBeginsWithItsOwnSideOfThePictureTheNearestFirst)
{
    const std::vector<int32_t> Counts{12, -4, 20, 0, 16, 8};
    EXPECT_EQ(ListB(0, Counts, 10), (std::vector<int32_t>{8, 0, -4, 12, 16, 20}));
    EXPECT_EQ(ListB(1, Counts, 10), (std::vector<int32_t>{12, 16, 20, 8, 0, -4}));
}

TEST(ReferenceOrder, TheFirstFieldOfThePictureInHandIsPastEvenWithItsCount)
{
    EXPECT_EQ(ListB(0, {12, 10, 8}, 10), (std::vector<int32_t>{10, 8, 12}));
    EXPECT_EQ(ListB(1, {12, 10, 8}, 10), (std::vector<int32_t>{12, 10, 8}));
}

} // namespace
} // namespace h264
