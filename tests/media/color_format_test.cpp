// The table of layouts, and the pitches that follow from its rows.
#include "media/umc_color_format.h"

#include "media/umc_video_data.h"

#include <gtest/gtest.h>

#include <vector>

using namespace UMC;

namespace {

std::vector<int32_t> PitchesOf(ColorFormat Format, int32_t Width, int32_t Alignment, int32_t BitDepth = 0)
{
    VideoData Picture;
    EXPECT_EQ(Picture.SetAlignment(Alignment), StatusOk);
    EXPECT_EQ(Picture.Init(Width, 7, Format, BitDepth), StatusOk);
    std::vector<int32_t> Pitches;
    for (int32_t i = 0; i < Picture.GetPlaneCount(); ++i) Pitches.push_back(Picture.Pitch(i));
    return Pitches;
}

using Pitches = std::vector<int32_t>;

} // namespace

TEST(ColorFormat, TheNumbersAreFixed)
{
    EXPECT_EQ(YV12, 0);
    EXPECT_EQ(NV12, 1);
    EXPECT_EQ(YUV420, 5);
    EXPECT_EQ(Y411, 9);
    EXPECT_EQ(Y41P, 10);
    EXPECT_EQ(RGB32, 11);
    EXPECT_EQ(RGB24, 12);
    EXPECT_EQ(GRAYA, 21);
    for (int32_t Id = 0; Id <= 21; ++Id) {
        const ColorFormatInfo* const pRow = FindColorFormat(static_cast<ColorFormat>(Id));
        ASSERT_NE(pRow, nullptr) << Id;
        EXPECT_EQ(pRow->Id, Id);
    }
    EXPECT_EQ(FindColorFormat(NONE_FORMAT), nullptr);
    EXPECT_EQ(FindColorFormat(static_cast<ColorFormat>(22)), nullptr);
}

TEST(ColorFormat, SixteenBitPixelsHaveTheirDepthFromTheTable)
{
    for (const ColorFormat Format : {RGB565, RGB555, RGB444}) {
        EXPECT_EQ(FindColorFormat(Format)->MinBitDepth, 16);
        EXPECT_EQ(PitchesOf(Format, 5, 1), Pitches{10});
    }
    for (const ColorFormat Format : {YV12, NV12, Y411, Y41P, RGB32, GRAYA, YUVA444, YUV410})
        EXPECT_EQ(FindColorFormat(Format)->MinBitDepth, 8);
}

// Rounding by a mask: the six and twelve bytes of these two are no power of two, and the pitch may pass the row's
// bytes.
TEST(ColorFormat, PackedFourOneOneRowsRoundByTheMask)
{
    EXPECT_EQ(PitchesOf(Y411, 1, 1), Pitches{10});
    EXPECT_EQ(PitchesOf(Y411, 18, 1), Pitches{34});
    EXPECT_EQ(PitchesOf(Y411, 40, 1), Pitches{64});
    EXPECT_EQ(PitchesOf(Y411, 18, 16), Pitches{32});
    EXPECT_EQ(PitchesOf(Y411, 40, 128), Pitches{128});
    EXPECT_EQ(PitchesOf(Y41P, 1, 1), Pitches{20});
    EXPECT_EQ(PitchesOf(Y41P, 18, 1), Pitches{36});
    EXPECT_EQ(PitchesOf(Y41P, 40, 1), Pitches{68});
    EXPECT_EQ(PitchesOf(Y41P, 18, 16), Pitches{48});
    EXPECT_EQ(PitchesOf(Y41P, 90, 128), Pitches{256});
}

TEST(ColorFormat, RowsRoundToThePicturesAlignmentOrTheTables)
{
    EXPECT_EQ(PitchesOf(YV12, 100, 1), (Pitches{100, 50, 50}));
    EXPECT_EQ(PitchesOf(YV12, 101, 1), (Pitches{102, 51, 51})); // luma doubles the alignment
    EXPECT_EQ(PitchesOf(YV12, 100, 16), (Pitches{128, 64, 64}));
    EXPECT_EQ(PitchesOf(YV12, 100, 128), (Pitches{256, 128, 128}));
    EXPECT_EQ(PitchesOf(NV12, 35, 1), (Pitches{36, 36}));
    EXPECT_EQ(PitchesOf(YUV420, 35, 1), (Pitches{35, 18, 18}));
    EXPECT_EQ(PitchesOf(YUV420, 35, 128), (Pitches{128, 128, 128}));
    EXPECT_EQ(PitchesOf(YUV420, 300, 256), (Pitches{512, 256, 256}));
    EXPECT_EQ(PitchesOf(YUV420, 35, 1, 10), (Pitches{70, 36, 36}));
    EXPECT_EQ(PitchesOf(RGB24, 5, 1), Pitches{16});
    EXPECT_EQ(PitchesOf(RGB24, 5, 128), Pitches{128});
    EXPECT_EQ(PitchesOf(RGB32, 5, 1), Pitches{20});
    EXPECT_EQ(PitchesOf(YUY2, 5, 1), Pitches{12});
    EXPECT_EQ(PitchesOf(YUV410, 17, 1), (Pitches{17, 5, 5}));
    EXPECT_EQ(PitchesOf(YUVA422, 17, 4), (Pitches{20, 12, 12, 20}));
}
