#include "Common/h264/coefficient_counts.h"

#include <gtest/gtest.h>

namespace h264 {
namespace {

TEST(CoefficientCounts, NcIsTheMeanOfBothNeighboursRoundedUp)
{
    for (int32_t Left = 0; Left <= 16; ++Left)
        for (int32_t Top = 0; Top <= 16; ++Top) EXPECT_EQ(FindNc(Left, Top), (Left + Top + 1) / 2);
}

TEST(CoefficientCounts, NcIsTheCountOfTheOnlyNeighbourOr0)
{
    for (int32_t Count = 0; Count <= 16; ++Count) {
        EXPECT_EQ(FindNc(Count, kNoCount), Count);
        EXPECT_EQ(FindNc(kNoCount, Count), Count);
    }
    EXPECT_EQ(FindNc(kNoCount, kNoCount), 0);
}

TEST(CoefficientCounts, NcOfChromaDcStandsForItsFormat)
{
    EXPECT_EQ(ChromaDcNc(CHROMA_420), -1);
    EXPECT_EQ(ChromaDcNc(CHROMA_422), -2);
    EXPECT_EQ(ChromaDcNc(CHROMA_444), 0);
}

} // namespace
} // namespace h264
