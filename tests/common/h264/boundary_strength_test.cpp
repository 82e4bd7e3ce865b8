#include "Common/h264/boundary_strength.h"

#include <gtest/gtest.h>

TEST(SpreadStrengths, GivesTwoWhereCodedElseOneWhereMotionDiffers)
{
    uint32_t Edge[4];
    h264::SpreadStrengths(0x8421, 0xC361, Edge);
    EXPECT_EQ(Edge[0], 0x00000002u);
    EXPECT_EQ(Edge[1], 0x00010200u);
    EXPECT_EQ(Edge[2], 0x00020001u | 0x00000100u);
    EXPECT_EQ(Edge[3], 0x02010000u);
}

TEST(VectorsDiffer, FromFourQuarterSamplesOnOrAVerticalLimit)
{
    const h264::MotionVector Zero{0, 0};
    for (const int Sign : {1, -1}) {
        const auto At = [&](int x, int y) {
            return h264::MotionVector{static_cast<int16_t>(Sign * x), static_cast<int16_t>(Sign * y)};
        };
        EXPECT_FALSE(h264::VectorsDiffer(Zero, At(3, 3), 4));
        EXPECT_TRUE(h264::VectorsDiffer(Zero, At(4, 0), 4));
        EXPECT_TRUE(h264::VectorsDiffer(Zero, At(0, 4), 4));
        EXPECT_FALSE(h264::VectorsDiffer(Zero, At(0, 1), 2));
        EXPECT_TRUE(h264::VectorsDiffer(Zero, At(0, 2), 2));
    }
}

TEST(IntraStrengths, Are3WithinAndTheOuterOneAtTheBorder)
{
    uint32_t Edge[4];
    h264::SetIntraStrengths(0x04040404, false, Edge);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(Edge[i], i == 0 ? 0x04040404u : 0x03030303u);
    h264::SetIntraStrengths(0, false, Edge);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(Edge[i], i == 0 ? 0u : 0x03030303u);
    EXPECT_EQ(h264::kIntraOuter, 0x04040404u);
    EXPECT_EQ(h264::kIntraFieldTop, 0x03030303u);
}

TEST(IntraStrengths, HaveNoOddEdgesWithThe8x8Transform)
{
    uint32_t Edge[4];
    h264::SetIntraStrengths(h264::kIntraFieldTop, true, Edge);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(Edge[i], i & 1 ? 0u : 0x03030303u);
}
