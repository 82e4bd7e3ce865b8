// A macroblock that would be skipped, made one that says its motion.
#include "encoder/decide/skip_test.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace UMC_H264_ENCODER;

// Skipped without motion, as the left one stands still; the median of its neighbours is not that (clause 8.4.1.1).
TEST(Unskipping, OfPSaysTheDifferenceToThePredictedVector)
{
    const auto pMb = std::make_unique<CurrentMacroblock<uint8_t>>();
    NeighbourMotion& m = pMb->Around.Motion[0];
    m.TopVectors[0] = {12, -6};
    m.TopRight = {{8, -10}, 0};
    Candidate c{.Cost = 0, .Type = MB_SKIP_P, .Ref = 0};
    Unskip(*pMb, c);
    EXPECT_EQ(c.Type, MB_INTER16X16);
    EXPECT_EQ(c.Vector, (MotionVector{0, 0}));
    EXPECT_EQ(c.Difference, (MotionVector{-8, 6}));
}

TEST(Unskipping, OfBKeepsTheDerivedMotion)
{
    const auto pMb = std::make_unique<CurrentMacroblock<uint8_t>>();
    Candidate c{.Cost = 0, .Type = MB_SKIP_B, .Slot = 1};
    Unskip(*pMb, c);
    EXPECT_EQ(c.Type, MB_DIRECT);
    EXPECT_EQ(c.Slot, 1);
}

} // namespace
