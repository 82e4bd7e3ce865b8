// Frame rates as fractions, on every branch of the rule.
#include "intel/frame_rate.h"

#include <gtest/gtest.h>

namespace {

struct Case {
    double FramesPerSecond;
    uint32_t N, D;
};

class FrameRates : public testing::TestWithParam<Case>
{
};

} // namespace

TEST_P(FrameRates, AreFractions)
{
    const FrameRate Rate = FrameRateOf(GetParam().FramesPerSecond);
    EXPECT_EQ(Rate.N, GetParam().N);
    EXPECT_EQ(Rate.D, GetParam().D);
}
static const Case s_Cases[] = {{1, 1, 1},
                               {15, 15, 1},
                               {30, 30, 1},
                               {2147483647, 2147483647, 1},
                               {30.00009, 30, 1},
                               {29.9998, 299998, 10000}, // too far from a whole one
                               {29.97, 30000, 1001},
                               {30000 / 1001.0, 30000, 1001},
                               {23.976, 24000, 1001},
                               {59.94, 60000, 1001},
                               {12.5, 125000, 10000},
                               {7.12344, 71234, 10000}};
INSTANTIATE_TEST_SUITE_P(Rule, FrameRates, testing::ValuesIn(s_Cases));
