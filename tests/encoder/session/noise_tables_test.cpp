// The temporal stages of the noise filter, sample by sample.
#include "encoder/session/noise_tables.h"
#include "tests/encoder/noise_testing.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using namespace UMC_H264_ENCODER;
using noise_testing::Plane;

constexpr BlendThresholds kDefaults{.Low = 6, .Mid = 12, .High = 20};

TEST(BlendTable, HoldsTheSharesOfTheThreeBands)
{
    const BlendTable t = MakeBlendTable(kDefaults);
    const std::pair<int, int> Expected[]{
        {0, 0},    {1, 1},  {-1, -1},  {2, 1},  {-2, -1}, {3, 2},  {-3, -2},  {4, 2},    {-4, -3},  {5, 3},
        {-5, -3},  {6, 3},  {-6, -3},  {7, 3},  {-7, -4}, {11, 5}, {-11, -6}, {12, 4},   {-12, -5}, {13, 5},
        {-13, -5}, {19, 7}, {-19, -7}, {20, 0}, {-20, 0}, {21, 0}, {255, 0},  {-255, 0}, {256, 0},
    };
    for (const auto& [v, Entry] : Expected) EXPECT_EQ(t.Correction[static_cast<size_t>(v + 255)], Entry) << v;
}

TEST(BlendTable, HasNoBandBelowALimitOfNought)
{
    for (const int8_t c : MakeBlendTable({}).Correction) EXPECT_EQ(c, 0);
    // The widest bands: one each.
    EXPECT_EQ(MakeBlendTable({.Low = 128, .Mid = 0, .High = 0}).Correction[255 + 127], (127 * 5 + 3) / 8);
    EXPECT_EQ(MakeBlendTable({.Low = 0, .Mid = 128, .High = 0}).Correction[255 - 127], -64);
    EXPECT_EQ(MakeBlendTable({.Low = 0, .Mid = 0, .High = 128}).Correction[255 + 127], 48);
    EXPECT_EQ(MakeBlendTable({.Low = 0, .Mid = 0, .High = 128}).Correction[255 + 128], 0);
}

template <class Sample>
class NoiseTables : public testing::Test
{
};
using SampleTypes = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(NoiseTables, SampleTypes);

TYPED_TEST(NoiseTables, BlendPullsTowardsThePreviousPicture)
{
    // previous - current: 4, -4, 6, 20, -20, 19, 0, -255.
    Plane<TypeParam> Now(4, {100, 100, 100, 100, 100, 100, 100, 255});
    Plane<TypeParam> Before(4, {104, 96, 106, 120, 80, 119, 100, 0});
    const Plane<TypeParam> Expected(4, {102, 97, 103, 100, 100, 107, 100, 255}), BeforeThen = Before;
    Blend(Now.View(), Before.View(), MakeBlendTable(kDefaults));
    EXPECT_EQ(Now, Expected);
    EXPECT_EQ(Before, BeforeThen);
}

TYPED_TEST(NoiseTables, BlendStaysInTheRangeOfSamples)
{
    const BlendTable t = MakeBlendTable({.Low = 128, .Mid = 128, .High = 128});
    for (int Current = 0; Current < 256; ++Current)
        for (int Previous = 0; Previous < 256; ++Previous) {
            const int c = t.Correction[static_cast<size_t>(Previous - Current + 255)];
            ASSERT_GE(c, std::min(0, Previous - Current));
            ASSERT_LE(c, std::max(0, Previous - Current));
        }
}

TEST(NoiseTablesOf16Bits, DifferencesBeyondTheTablesAreMotion)
{
    const std::vector<int> Current{4000, 100, 1000, 1000, 65535, 0, 300, 4095};
    Plane<uint16_t> Now(4, Current), Before(4, {100, 4000, 744, 1256, 0, 65535, 304, 4090});
    Blend(Now.View(), Before.View(), MakeBlendTable(kDefaults));
    EXPECT_EQ(Now, Plane<uint16_t>(4, {4000, 100, 1000, 1000, 65535, 0, 302, 4092}));
    Plane<uint16_t> Cored(4, Current);
    Core(Cored.View(), Before.View());
    EXPECT_EQ(Cored, Plane<uint16_t>(4, {4000, 100, 1000, 1000, 65535, 0, 303, 4091}));
}

TEST(Coring, HoldsItsTable)
{
    const std::pair<int, int> Expected[]{
        {0, 0},   {1, 1},   {2, 1},   {3, 1},   {4, 1},   {5, 1},   {6, 1},   {7, 1},   {8, 2},   {9, 2},   {10, 3},
        {11, 4},  {12, 6},  {13, 7},  {14, 8},  {15, 10}, {16, 11}, {17, 12}, {18, 14}, {19, 15}, {20, 17}, {21, 18},
        {22, 20}, {23, 21}, {24, 22}, {25, 23}, {26, 25}, {27, 26}, {50, 49}, {86, 85}, {87, 87}, {88, 88}, {255, 255}};
    for (const auto& [d, Left] : Expected) {
        EXPECT_EQ(Coring(d), Left) << d;
        EXPECT_EQ(Coring(-d), -Left) << d;
    }
    for (int d = 26; d <= 86; ++d) EXPECT_EQ(Coring(d), d - 1);
    for (int d = 87; d <= 255; ++d) EXPECT_EQ(Coring(d), d);
    EXPECT_EQ(Coring(-256), -256);
}

TYPED_TEST(NoiseTables, CoringMovesSmallDifferencesByOneStep)
{
    // current - previous: 7, -7, 8, 86, 87, -87, 0, 255.
    Plane<TypeParam> Now(4, {107, 93, 108, 186, 187, 13, 100, 255});
    Plane<TypeParam> Before(4, {100, 100, 100, 100, 100, 100, 100, 0});
    Core(Now.View(), Before.View());
    EXPECT_EQ(Now, Plane<TypeParam>(4, {101, 99, 102, 185, 187, 13, 100, 255}));
}

} // namespace
