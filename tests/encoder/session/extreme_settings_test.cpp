// Settings beyond all reason: rates of nothing, ranges that no picture has, sizes that no memory holds.
#include "encoder/session/params_check.h"
#include "tests/encoder/encoder_testing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>
#include <vector>

namespace {

using namespace encoder_testing;
using UMC::H264EncoderParams;

using namespace UMC_H264_ENCODER;
constexpr int32_t kLargest = std::numeric_limits<int32_t>::max(), kSmallest = std::numeric_limits<int32_t>::min();
constexpr double kInfinity = std::numeric_limits<double>::infinity(), kNan = std::numeric_limits<double>::quiet_NaN();

H264EncoderParams Rated(int32_t Bitrate, double FrameRate)
{
    H264EncoderParams p = SizedParams(96, 80);
    p.m_Info.m_Bitrate = Bitrate;
    p.m_Info.m_FrameRate = FrameRate;
    return p;
}

// The access units of Count moving pictures; fewer where one failed.
std::vector<std::vector<uint8_t>> EncodeMoving(const H264EncoderParams& p, int Count)
{
    Driver d(p);
    std::vector<std::vector<uint8_t>> Units;
    for (Picture& Source : MakeClip(Scene::Pan, p.m_Info.m_Width, p.m_Info.m_Height, Count))
        if (AccessUnit u = d.Encode(Source); u.Result == UMC::StatusOk && !u.Bytes.empty())
            Units.push_back(std::move(u.Bytes));
    return Units;
}

TEST(RatesOfNothing, AreReplacedByTheDefaults)
{
    for (const int32_t Bitrate : {0, -5, kSmallest}) {
        H264EncoderParams p = Rated(Bitrate, 25.0);
        ASSERT_EQ(CheckParams(p), UMC::StatusOk);
        EXPECT_EQ(p.m_Info.m_Bitrate, 2222222);
        EXPECT_EQ(p.m_Info.m_FrameRate, 25.0);
    }
    for (const double FrameRate : {0.0, -1.0, -kInfinity, kInfinity, kNan}) {
        H264EncoderParams p = Rated(1, FrameRate);
        ASSERT_EQ(CheckParams(p), UMC::StatusOk);
        EXPECT_EQ(p.m_Info.m_FrameRate, 30.0);
        EXPECT_EQ(p.m_Info.m_Bitrate, 1);
    }
}

TEST(RatesOfNothing, AreRefusedOnceTheEncoderRuns)
{
    UMC::H264VideoEncoder e;
    H264EncoderParams p = Rated(200000, 30.0);
    ASSERT_EQ(e.Init(&p), UMC::StatusOk);
    for (const auto& [Bitrate, FrameRate] : std::vector<std::pair<int32_t, double>>{
             {0, 30.0}, {-5, 30.0}, {200000, 0.0}, {200000, -1.0}, {200000, kNan}, {200000, kInfinity}, {0, 0.0}}) {
        p.m_Info.m_Bitrate = Bitrate;
        p.m_Info.m_FrameRate = FrameRate;
        EXPECT_EQ(e.SetParams(&p), UMC::StatusInvalidParams) << Bitrate << " at " << FrameRate;
    }
    ASSERT_EQ(e.GetInfo(&p), UMC::StatusOk);
    EXPECT_EQ(p.m_Info.m_Bitrate, 200000);
    EXPECT_EQ(p.m_Info.m_FrameRate, 30.0);
}

TEST(RatesBeyondReason, StillMakePictures)
{
    for (const int32_t Bitrate : {1, kLargest})
        for (const double FrameRate : {std::numeric_limits<double>::denorm_min(), 1e-9, 1e9, 1e300})
            for (const int32_t Method : {1, 2}) {
                H264EncoderParams p = Rated(Bitrate, FrameRate);
                p.rate_control_method = Method;
                EXPECT_EQ(EncodeMoving(p, 4).size(), 4u) << Bitrate << " at " << FrameRate;
            }
}

// No vector of a macroblock is more than 254 samples from another, so beyond that a range decides nothing more.
class SearchRangeBeyondThePicture : public testing::TestWithParam<int32_t>
{
};
TEST_P(SearchRangeBeyondThePicture, FindsWhatTheWholeWindowHolds)
{
    H264EncoderParams p = Rated(200000, 30.0);
    p.search_method = GetParam();
    p.search_x = p.search_y = 511;
    const auto Whole = EncodeMoving(p, 3);
    p.search_x = p.search_y = kLargest;
    EXPECT_EQ(EncodeMoving(p, 3), Whole);
    p.search_x = p.search_y = kSmallest;
    EXPECT_EQ(EncodeMoving(p, 3).size(), 3u);
}
INSTANTIATE_TEST_SUITE_P(Methods, SearchRangeBeyondThePicture, testing::Range(0, 9));

TEST(SizeBeyondMemory, IsRefused)
{
    for (const auto& [Width, Height] : std::vector<std::pair<int32_t, int32_t>>{
             {1000000, 1000000}, {32768, 32768}, {kLargest, 16}, {16, kLargest}, {kLargest, kLargest}}) {
        H264EncoderParams p = SizedParams(Width, Height);
        EXPECT_EQ(CheckParams(p), UMC::StatusAllocFailed) << Width << " x " << Height;
        EXPECT_EQ(UMC::H264VideoEncoder().Init(&p), UMC::StatusAllocFailed) << Width << " x " << Height;
    }
    H264EncoderParams p = SizedParams(16384, 16384);
    EXPECT_EQ(CheckParams(p), UMC::StatusOk);
}

} // namespace
