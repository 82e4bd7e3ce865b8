// The six exported image functions.
#include "quilvex/Quilvex.h"
#include "tests/support/recording_log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

std::vector<uint8_t> Noise(size_t Size, uint32_t Seed = 1)
{
    std::vector<uint8_t> Bytes(Size);
    for (uint8_t& Byte : Bytes) Byte = static_cast<uint8_t>((Seed = Seed * 1103515245 + 12345) >> 16);
    return Bytes;
}

std::vector<uint8_t> Solid(int Width, int Height, uint8_t B, uint8_t G, uint8_t R)
{
    std::vector<uint8_t> Rgb;
    for (int i = 0; i < Width * Height; ++i) Rgb.insert(Rgb.end(), {B, G, R});
    return Rgb;
}

} // namespace

TEST(IppRgb24ToYuv420, GivesVideoRangeBlackAndWhite)
{
    std::vector<uint8_t> Out(8 * 4 * 3 / 2);
    EXPECT_EQ(IPP_RGB24ToYUV420(Solid(8, 4, 0, 0, 0).data(), Out.data(), 8, 4), 1);
    EXPECT_EQ(Out[0], 16);
    EXPECT_EQ(Out[32], 128);
    EXPECT_EQ(Out[40], 128);
    EXPECT_EQ(IPP_RGB24ToYUV420(Solid(8, 4, 255, 255, 255).data(), Out.data(), 8, 4), 1);
    EXPECT_EQ(Out[31], 235);
}

TEST(IppRgb24ToYuv420, BlueIsFirstInMemory)
{
    std::vector<uint8_t> Out(8 * 4 * 3 / 2);
    EXPECT_EQ(IPP_RGB24ToYUV420(Solid(8, 4, 255, 0, 0).data(), Out.data(), 8, 4), 1);
    EXPECT_GT(Out[32], 200); // Cb follows luma at width * height
    EXPECT_LT(Out[40], 128); // Cr a quarter of that further on
}

TEST(IppRgb24ToYuv420, ZeroArgumentsAreAsserted)
{
    RecordingLog Log;
    const auto In = Noise(8 * 4 * 3);
    std::vector<uint8_t> Out(48, 7);
    EXPECT_EQ(IPP_RGB24ToYUV420(nullptr, Out.data(), 8, 4), 0);
    EXPECT_EQ(IPP_RGB24ToYUV420(In.data(), nullptr, 8, 4), 0);
    EXPECT_EQ(IPP_RGB24ToYUV420(In.data(), Out.data(), 0, 4), 0);
    EXPECT_EQ(IPP_RGB24ToYUV420(In.data(), Out.data(), 8, 0), 0);
    EXPECT_EQ(Log.With("Assert failed: file=Quilvex line=").size(), 4u);
    EXPECT_EQ(Log.With("expr=InBuf && OutBuf && iWidth && iHeight").size(), 4u);
    EXPECT_EQ(Out, std::vector<uint8_t>(48, 7));
}

TEST(IppYuv420ToRgb24, ANegativeHeightFlipsThePicture)
{
    const auto In = Noise(16 * 6 * 3 / 2);
    std::vector<uint8_t> Up(16 * 6 * 3), Down(16 * 6 * 3);
    EXPECT_EQ(IPP_YUV420ToRGB24(In.data(), Up.data(), 16, 6), 1);
    EXPECT_EQ(IPP_YUV420ToRGB24(In.data(), Down.data(), 16, -6), 1);
    for (int y = 0; y < 6; ++y)
        EXPECT_TRUE(std::equal(&Up[static_cast<size_t>(y) * 48], &Up[static_cast<size_t>(y) * 48] + 48,
                               &Down[static_cast<size_t>(5 - y) * 48]));
}

TEST(IppYuv420ToRgb24, ZeroArgumentsAreAsserted)
{
    RecordingLog Log;
    std::vector<uint8_t> Out(8 * 4 * 3);
    EXPECT_EQ(IPP_YUV420ToRGB24(nullptr, Out.data(), 8, 4), 0);
    EXPECT_EQ(IPP_YUV420ToRGB24(Out.data(), Out.data(), 8, 0), 0);
    EXPECT_EQ(Log.With("file=Quilvex").size(), 2u);
}

TEST(IppRgb32, GoesThereAndBackWithPitches)
{
    const auto Rgb24 = Noise(40 * 5);
    std::vector<uint8_t> Rgb32(64 * 5), Back(40 * 5, 9);
    EXPECT_EQ(IPP_RGB24ToRGB32(Rgb24.data(), 40, Rgb32.data(), 64, 13, 5), 0);
    EXPECT_EQ(Rgb32[3], 255);
    EXPECT_EQ(Rgb32[64 * 4 + 2], Rgb24[40 * 4 + 2]);
    EXPECT_EQ(IPP_RGB32ToRGB24(Rgb32.data(), 64, Back.data(), 40, 13, 5), 0);
    EXPECT_TRUE(std::equal(Back.begin(), Back.begin() + 39, Rgb24.begin()));
    EXPECT_EQ(Back[39], 9); // behind the row
    EXPECT_EQ(IPP_RGB24ToRGB32(nullptr, 40, Rgb32.data(), 64, 13, 5), -1);
    EXPECT_EQ(IPP_RGB32ToRGB24(Rgb32.data(), 64, Back.data(), 40, 0, 5), -1);
}

TEST(IppYuv420Scale, KeepsFlatPicturesAndTellsFailure)
{
    std::vector<uint8_t> In(32 * 16 * 3 / 2, 90), Out(16 * 8 * 3 / 2);
    EXPECT_EQ(IPP_YUV420_Scale(In.data(), 32, 16, Out.data(), 16, 8), 0);
    EXPECT_EQ(Out, std::vector<uint8_t>(Out.size(), 90));
    EXPECT_EQ(IPP_YUV420_Scale(nullptr, 32, 16, Out.data(), 16, 8), -1);
    EXPECT_EQ(IPP_YUV420_Scale(In.data(), 32, 16, Out.data(), 0, 8), -1);
}

TEST(IppRgb24Scale, EqualSizesCopy)
{
    const auto In = Noise(20 * 9 * 3);
    std::vector<uint8_t> Out(In.size());
    EXPECT_EQ(IPP_RGB24_Scale(In.data(), 20, 9, 60, Out.data(), 20, 9, 60), 0);
    EXPECT_EQ(Out, In);
}

TEST(IppRgb24Scale, AlwaysReportsSuccess)
{
    std::vector<uint8_t> Out(60, 3);
    EXPECT_EQ(IPP_RGB24_Scale(nullptr, 20, 9, 60, Out.data(), 10, 2, 30), 0);
    EXPECT_EQ(IPP_RGB24_Scale(Out.data(), 0, 9, 60, Out.data(), 10, 2, 30), 0);
    EXPECT_EQ(Out, std::vector<uint8_t>(60, 3));
}

TEST(IppFunctions, AnOddWidthHasChromaPitchesRoundedDown)
{
    // libyuv's chroma rows are one sample longer than the pitch: the last row reaches beyond a quarter plane.
    std::vector<uint8_t> Out(9 * 6 + 2 * (9 * 6 / 4) + 16, 0);
    EXPECT_EQ(IPP_RGB24ToYUV420(Solid(9, 6, 0, 0, 255).data(), Out.data(), 9, 6), 1);
    const size_t Cr = 9 * 6 + 9 * 6 / 4;
    EXPECT_GT(Out[Cr + 2 * 4 + 4], 200); // row 2 of Cr starts at pitch 4 and holds 5 samples
}
