// Which kind of direct prediction is taken, to the skip.
#include "encoder/picture/direct_choice.h"

#include <gtest/gtest.h>

namespace {

using UMC_H264_ENCODER::DirectChoice;

bool IsSpatialAfter(bool WasSpatial, int32_t TemporalSkips, int32_t SpatialSkips)
{
    DirectChoice c{WasSpatial, TemporalSkips, SpatialSkips};
    c.Choose();
    EXPECT_EQ(c.TemporalSkips, 0);
    EXPECT_EQ(c.SpatialSkips, 0);
    return c.IsSpatial;
}

// Of 512 skips the other kind needs more than 545, and of 100 more than 106.
TEST(DirectChoice, TheOtherKindMustLeadByAMargin)
{
    EXPECT_FALSE(IsSpatialAfter(false, 512, 545));
    EXPECT_TRUE(IsSpatialAfter(false, 512, 546));
    EXPECT_FALSE(IsSpatialAfter(false, 100, 106));
    EXPECT_TRUE(IsSpatialAfter(false, 100, 107));
    EXPECT_TRUE(IsSpatialAfter(true, 545, 512));
    EXPECT_FALSE(IsSpatialAfter(true, 546, 512));
    EXPECT_TRUE(IsSpatialAfter(true, 106, 100));
    EXPECT_FALSE(IsSpatialAfter(true, 107, 100));
}

TEST(DirectChoice, WithoutSkipsStays)
{
    EXPECT_FALSE(IsSpatialAfter(false, 0, 0));
    EXPECT_TRUE(IsSpatialAfter(true, 0, 0));
}

TEST(DirectChoice, CountsUnderTheKindInForce)
{
    DirectChoice c;
    c.Count(3);
    c.Count(4);
    EXPECT_EQ(c.TemporalSkips, 7);
    EXPECT_EQ(c.SpatialSkips, 0);
    c.IsSpatial = true;
    c.Count(5);
    EXPECT_EQ(c.TemporalSkips, 7);
    EXPECT_EQ(c.SpatialSkips, 5);
}

TEST(DirectChoice, SkipsOfAPictureOfManyMacroblocksDoNotOverflow)
{
    EXPECT_FALSE(IsSpatialAfter(false, 139264 * 60, 139264 * 60));
    EXPECT_TRUE(IsSpatialAfter(true, 139264 * 60, 139264 * 60));
}

} // namespace
