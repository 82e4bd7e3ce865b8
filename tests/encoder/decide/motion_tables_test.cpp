#include "encoder/decide/motion_tables.h"

#include <gtest/gtest.h>

namespace {

using namespace UMC_H264_ENCODER;

TEST(MotionTables, BitsOfAVectorComponent)
{
    const uint8_t* const pBits = MVBits();
    EXPECT_EQ(pBits[0], 1);
    EXPECT_EQ(pBits[1], 3);
    EXPECT_EQ(pBits[2], 5);
    EXPECT_EQ(pBits[3], 5);
    EXPECT_EQ(pBits[4], 7);
    EXPECT_EQ(pBits[127], 15);
    EXPECT_EQ(pBits[128], 17); // the approximation: that of 1, and 14
    EXPECT_EQ(pBits[255], 17);
    EXPECT_EQ(pBits[256], 19);
    EXPECT_EQ(pBits[1536], 7 + 2 + 14); // that of 12
    for (int d = 1; d <= kMaxVectorDifference; ++d) ASSERT_EQ(pBits[d], pBits[-d]) << d;
}

TEST(MotionTables, PriceOfBits)
{
    EXPECT_EQ(MVBitCost[12][3], 3);
    EXPECT_EQ(MVBitCost[0][59], 59);
    EXPECT_EQ(MVBitCost[16][1], 2);
    EXPECT_EQ(MVBitCost[30][2], 16);
    EXPECT_EQ(MVBitCost[51][59], 59 * 91);
    for (const BitCostRow& Row : MVBitCost) EXPECT_EQ(Row[0], 0);
}

TEST(MotionTables, TheLargestPriceOfAVectorIsInTheRow)
{
    const uint8_t* const pBits = MVBits();
    EXPECT_LT(static_cast<size_t>(2 * pBits[kMaxVectorDifference]), MVBitCost[0].size());
}

TEST(MotionTables, ThresholdsByQp)
{
    EXPECT_EQ(ThresholdME[8], 38);
    EXPECT_EQ(ThresholdME[9], 46);
    EXPECT_EQ(ThresholdME[25], 71);
    EXPECT_EQ(ThresholdME[51], 1020);
    EXPECT_EQ(SkipIntraThreshold[20], 185);
    EXPECT_EQ(TryAdvancedIntraThreshold[49], 28887);
    EXPECT_EQ(EdgePelDifference[38], 9);
    EXPECT_EQ(EdgePelDifference[41], 11);
    EXPECT_EQ(EdgePelDifference[51], 21);
    EXPECT_EQ(EdgePelCount[31], 0);
    EXPECT_EQ(EdgePelCount[32], 1);
    EXPECT_EQ(EdgePelCount[50], 4);
}

} // namespace
