// Which pairs of layouts convert, by what way, and to what.
#include "process/conversion_pairs.h"
#include "process/video_filter.h"
#include "tests/support/test_pictures.h"

#include <gtest/gtest.h>

#include <vector>

using namespace UMC;
using test_pictures::Fill;
using test_pictures::PlaneBytes;

TEST(ColorSpaceConversion, NeverResizes)
{
    ColorSpaceConversion Filter;
    VideoData In, Out;
    Fill(In, 16, 16, YUV420);
    Fill(Out, 18, 16, YUV420);
    EXPECT_EQ(Filter.GetFrame(&In, &Out), StatusInvalidParamsExt);
}

TEST(ColorSpaceConversion, DropsTheAlphaPlane)
{
    ColorSpaceConversion Filter;
    for (const auto& [From, To] : {std::pair{YUVA420, YUV420}, std::pair{YUV420M, YUV420}, std::pair{GRAYA, GRAY}}) {
        VideoData In, Out;
        Fill(In, 20, 12, From);
        Fill(Out, 20, 12, To, 0, 9);
        ASSERT_EQ(Filter.GetFrame(&In, &Out), StatusOk);
        for (int32_t i = 0; i < Out.GetPlaneCount(); ++i) EXPECT_EQ(PlaneBytes(Out, i), PlaneBytes(In, i));
    }
}

TEST(ColorSpaceConversion, DeepSamplesAreNarrowedAndNotWidened)
{
    ColorSpaceConversion Filter;
    VideoData Deep, Plain;
    Fill(Deep, 16, 16, YUV420, 10);
    Fill(Plain, 16, 16, YUV420, 8);
    auto* const pDeep = reinterpret_cast<uint16_t*>(Deep.Plane(0));
    pDeep[0] = 1023;
    pDeep[1] = 5;
    pDeep[2] = 6;
    ASSERT_EQ(Filter.GetFrame(&Deep, &Plain), StatusOk);
    EXPECT_EQ(Plain.Plane(0)[0], 255); // saturated
    EXPECT_EQ(Plain.Plane(0)[1], 1);   // 1.25 rounds down
    EXPECT_EQ(Plain.Plane(0)[2], 2);   // 1.5 rounds up
    EXPECT_EQ(Filter.GetFrame(&Plain, &Deep), StatusUnsupported);
}

TEST(ColorSpaceConversion, Format6ToOthersReadsEverySecondChromaRow)
{
    ColorSpaceConversion Filter;
    VideoData In, Half, FromFull, FromHalf;
    Fill(In, 16, 16, YUV422);
    Fill(Half, 16, 16, YUV420);
    Fill(FromFull, 16, 16, RGB32);
    Fill(FromHalf, 16, 16, RGB32, 0, 9);
    for (int32_t y = 0; y < 16; ++y) std::copy_n(In.Plane(0) + y * In.Pitch(0), 16, Half.Plane(0) + y * Half.Pitch(0));
    for (int32_t i = 1; i < 3; ++i)
        for (int32_t y = 0; y < 8; ++y)
            std::copy_n(In.Plane(i) + 2 * y * In.Pitch(i), 8, Half.Plane(i) + y * Half.Pitch(i));
    ASSERT_EQ(Filter.GetFrame(&In, &FromFull), StatusOk);
    ASSERT_EQ(Filter.GetFrame(&Half, &FromHalf), StatusOk);
    EXPECT_EQ(PlaneBytes(FromFull, 0), PlaneBytes(FromHalf, 0));
}

TEST(ColorSpaceConversion, EveryPairOfTheTableRunsAndTouchesItsTarget)
{
    constexpr ColorFormat Pairs[][2] = {
        {NV12, YUV420},   {YUY2, YUV420},  {UYVY, YUV420},  {YUV420, NV12},   {YUV420, YUY2},   {YUV420, UYVY},
        {YUV420, YUV422}, {YUV420, RGB32}, {YUV420, RGB24}, {YUV420, RGB565}, {YUV420, RGB555}, {YUV420, RGB444},
        {YUV422, YUV420}, {RGB32, YUV420}, {RGB32, RGB24},  {RGB24, YUV420},  {RGB24, RGB32}};
    for (const auto& Pair : Pairs) {
        SCOPED_TRACE(testing::Message() << Pair[0] << " to " << Pair[1]);
        ColorSpaceConversion Filter;
        VideoData In, Out;
        Fill(In, 34, 18, Pair[0]);
        Fill(Out, 34, 18, Pair[1], 0, 77);
        std::vector<std::vector<uint8_t>> Before;
        for (int32_t i = 0; i < Out.GetPlaneCount(); ++i) Before.push_back(PlaneBytes(Out, i));
        ASSERT_EQ(Filter.GetFrame(&In, &Out), StatusOk);
        for (int32_t i = 0; i < Out.GetPlaneCount(); ++i)
            EXPECT_TRUE(PlaneBytes(Out, i) != Before[static_cast<size_t>(i)]);
    }
}

TEST(ColorSpaceConversion, LumaAndChromaSurviveThePackedRoundTrip)
{
    ColorSpaceConversion Filter;
    for (const ColorFormat Packed : {NV12, YUY2, UYVY}) {
        VideoData In, Between, Back;
        Fill(In, 34, 18, YUV420);
        Fill(Between, 34, 18, Packed);
        Fill(Back, 34, 18, YUV420, 0, 9);
        ASSERT_EQ(Filter.GetFrame(&In, &Between), StatusOk);
        ASSERT_EQ(Filter.GetFrame(&Between, &Back), StatusOk);
        for (int32_t i = 0; i < 3; ++i) EXPECT_EQ(PlaneBytes(Back, i), PlaneBytes(In, i)) << Packed;
    }
}

