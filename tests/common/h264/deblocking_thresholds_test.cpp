#include "Common/h264/deblocking_thresholds.h"

#include <gtest/gtest.h>

namespace h264 {
namespace {

// Tables 8-16 and 8-17.
TEST(DeblockingThresholds, AreThoseOfTheQp)
{
    const DeblockingThresholds t = FindDeblockingThresholds(30, 0, 0);
    EXPECT_EQ(t.Alpha, 25);
    EXPECT_EQ(t.Beta, 8);
    EXPECT_EQ(t.Clip[1], 1);
    EXPECT_EQ(t.Clip[2], 1);
    EXPECT_EQ(t.Clip[3], 2);
}

TEST(DeblockingThresholds, AlphaAndClipFollowOneOffsetBetaTheOther)
{
    const DeblockingThresholds Plain = FindDeblockingThresholds(36, 0, 0), Other = FindDeblockingThresholds(24, 0, 0),
                               Mixed = FindDeblockingThresholds(30, 6, -6);
    EXPECT_EQ(Mixed.Alpha, Plain.Alpha);
    EXPECT_EQ(Mixed.Clip[3], Plain.Clip[3]);
    EXPECT_EQ(Mixed.Beta, Other.Beta);
    EXPECT_NE(Plain.Alpha, Other.Alpha);
    EXPECT_NE(Plain.Beta, Other.Beta);
}

TEST(DeblockingThresholds, TheIndexStaysInTheTable)
{
    EXPECT_EQ(FindDeblockingThresholds(51, 12, 12).Alpha, 255);
    EXPECT_EQ(FindDeblockingThresholds(51, 12, 12).Beta, 18);
    EXPECT_EQ(FindDeblockingThresholds(51, 12, 12).Clip[3], 25);
    EXPECT_EQ(FindDeblockingThresholds(0, -12, -12).Alpha, 0);
    EXPECT_EQ(FindDeblockingThresholds(30, -51, -51).Beta, 0); // what a slice without the filter stores
}

} // namespace
} // namespace h264
