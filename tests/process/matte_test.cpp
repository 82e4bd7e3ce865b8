// The ramp of the matte, sample by sample: pictures of one row have no interior, so that no filter runs.
#include "process/matte.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

constexpr int32_t kWidth = 120;
constexpr int32_t kKeyU = 100, kKeyV = 60;

// Mask of samples whose chroma lies 0, 1, 2.. levels from the key.
std::vector<uint8_t> MaskOf(int32_t Threshold1, int32_t Threshold2)
{
    std::vector<uint8_t> U(kWidth), V(kWidth, kKeyV), Mask(kWidth, 77);
    std::vector<float> A(kWidth), B(kWidth);
    for (int32_t i = 0; i < kWidth; ++i) U[static_cast<size_t>(i)] = static_cast<uint8_t>(kKeyU + i);
    MakeMatte({U.data(), V.data(), A.data(), B.data(), Mask.data(), kWidth, 1}, {kKeyU, kKeyV, Threshold1, Threshold2});
    return Mask;
}

uint8_t RampAt(int32_t Distance, int32_t Threshold1, int32_t Threshold2)
{
    const float Inverse = 1.0f / static_cast<float>(Threshold2 - Threshold1);
    const float Share = (static_cast<float>(Distance * Distance) - static_cast<float>(Threshold1)) * Inverse;
    return static_cast<uint8_t>(std::nearbyint(std::clamp(Share, 0.0f, 1.0f) * 255.0f));
}

} // namespace

TEST(Matte, IsARampInTheSquareOfTheDistanceWhicheverThresholdIsLarger)
{
    for (const int32_t Distance : {-100, -20, -9, -8, -7, -6, -5, -4, -3, -2, -1, 0, 1, 5, 25, 59, 60, 61, 100}) {
        int32_t Inner, Outer;
        KeyRadiiOfDistance(Distance, Inner, Outer);
        ASSERT_NE(Inner, Outer);
        const auto Mask = MaskOf(Inner, Outer);
        for (int32_t i = 0; i < kWidth; ++i)
            ASSERT_EQ(Mask[static_cast<size_t>(i)], RampAt(i, Inner, Outer))
                << "distance " << Distance << ", level " << i;
    }
}

TEST(Matte, ASmallNegativeDistanceShowsTheKeyAndHidesTheRest)
{
    int32_t Inner, Outer;
    KeyRadiiOfDistance(-5, Inner, Outer);
    EXPECT_EQ(Inner, 25);
    EXPECT_EQ(Outer, 16); // -5.5 + 1, cut to -4
    const auto Mask = MaskOf(Inner, Outer);
    EXPECT_EQ(Mask[0], 255);
    EXPECT_EQ(Mask[4], 255);
    EXPECT_EQ(Mask[5], 0);
    EXPECT_EQ(Mask[119], 0);
}

TEST(Matte, EqualThresholdsMakeAStep)
{
    for (const int32_t Distance : {-10, -15, -19}) {
        int32_t Inner, Outer;
        KeyRadiiOfDistance(Distance, Inner, Outer);
        ASSERT_EQ(Inner, Outer);
        const auto Mask = MaskOf(Inner, Outer);
        for (int32_t i = 0; i < kWidth; ++i)
            ASSERT_EQ(Mask[static_cast<size_t>(i)], i * i <= Inner ? 0 : 255) << Distance << " " << i;
    }
}
