#include "Common/h264/intra_modes.h"

#include <gtest/gtest.h>

namespace h264 {
namespace {

TEST(IntraModes, ThePredictionIsTheLesserNeighbourOrDc)
{
    EXPECT_EQ(PredictIntraMode(5, 3), 3);
    EXPECT_EQ(PredictIntraMode(0, 8), 0);
    EXPECT_EQ(PredictIntraMode(-1, 8), 2);
    EXPECT_EQ(PredictIntraMode(0, -1), 2);
    EXPECT_EQ(PredictIntraMode(-1, -1), 2);
}

} // namespace
} // namespace h264
