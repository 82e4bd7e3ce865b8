// Which part of a background is shown.
#include "process/background_fit.h"

#include <gtest/gtest.h>

TEST(FitBackground, AWideFrameKeepsTheWidth)
{
    EXPECT_EQ(FitBackground(640, 360, 1280, 960), (CropRectangle{0, 120, 1280, 720}));
    EXPECT_EQ(FitBackground(1280, 720, 100, 100), (CropRectangle{0, 22, 100, 56})); // 56.25 cut, 22 of 44 on each side
    EXPECT_EQ(FitBackground(100, 100, 50, 81), (CropRectangle{0, 15, 50, 50}));     // 15.5 rows above
}

TEST(FitBackground, ATallFrameKeepsTheHeight)
{
    EXPECT_EQ(FitBackground(360, 640, 960, 1280), (CropRectangle{120, 0, 720, 1280}));
    EXPECT_EQ(FitBackground(99, 100, 200, 100), (CropRectangle{50, 0, 99, 100}));
}

TEST(FitBackground, AWiderBackgroundIsStretchedWhereTheCropMeetsItsLimit)
{
    EXPECT_EQ(FitBackground(640, 360, 2000, 500), (CropRectangle{0, 0, 2000, 500}));
    EXPECT_EQ(FitBackground(360, 640, 500, 2000), (CropRectangle{0, 0, 500, 2000}));
}

TEST(FitBackground, ARowAndAColumnAreLeftOfTheNarrowest)
{
    EXPECT_EQ(FitBackground(1000, 10, 1, 5000), (CropRectangle{0, 2499, 1, 1}));
    EXPECT_EQ(FitBackground(10, 1000, 5000, 1), (CropRectangle{2499, 0, 1, 1}));
}

TEST(FitBackground, ExtremeRatiosDoNotOverflow)
{
    EXPECT_EQ(FitBackground(1, 1, 400000000, 1), (CropRectangle{0, 0, 400000000, 1}));
    EXPECT_EQ(FitBackground(1, 2, 1, 400000000), (CropRectangle{0, 0, 1, 400000000}));
}
