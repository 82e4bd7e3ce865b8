// Replacement of a keyed background.
#include "tests/process/video_process_fixture.h"

#include <gtest/gtest.h>
#include <libyuv.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <thread>

namespace {

constexpr RgbColor kKey{69, 250, 92}, kRed{200, 30, 20}, kBlue{10, 20, 220};

// The frame as three planes at full resolution and back, as keying has it travel.
struct Planes444 {
    int32_t Width, Height;
    std::vector<uint8_t> Y, U, V, Argb;

    explicit Planes444(const RgbPicture& p)
        : Width(p.Width), Height(p.Height), Y(static_cast<size_t>(p.Width * p.Height)), U(Y), V(Y), Argb(Y.size() * 4)
    {
        const int32_t w = Width;
        libyuv::RGB24ToARGB(p.Bytes.data(), p.Pitch, Argb.data(), w * 4, w, Height);
        libyuv::ARGBToI444(Argb.data(), w * 4, Y.data(), w, U.data(), w, V.data(), w, w, Height);
        libyuv::I444ToARGB(Y.data(), w, U.data(), w, V.data(), w, Argb.data(), w * 4, w, Height);
    }
    size_t Index(int32_t x, int32_t y) const { return static_cast<size_t>(y * Width + x); }
    bool IsInside(int32_t x, int32_t y) const { return x > 0 && y > 0 && x < Width - 1 && y < Height - 1; }

    // The 3x3 binomial mean in whole levels, a half to even.
    double Smoothed(const std::vector<uint8_t>& Plane, int32_t x, int32_t y) const
    {
        if (!IsInside(x, y)) return Plane[Index(x, y)];
        double Sum = 0;
        for (int32_t dy = -1; dy <= 1; ++dy)
            for (int32_t dx = -1; dx <= 1; ++dx) Sum += (2 - dx * dx) * (2 - dy * dy) * Plane[Index(x + dx, y + dy)];
        return std::nearbyint(Sum / 16);
    }
    double Ramp(const ChromaKey& Key, int32_t x, int32_t y) const
    {
        const double u = Smoothed(U, x, y) - Key.U, v = Smoothed(V, x, y) - Key.V;
        return std::clamp((u * u + v * v - Key.Threshold1) / (Key.Threshold2 - Key.Threshold1), 0.0, 1.0);
    }
    // How much of a pixel is foreground, 0 to 1.
    double Matte(const ChromaKey& Key, int32_t x, int32_t y) const
    {
        if (!IsInside(x, y)) return Ramp(Key, x, y);
        double Sum = 0;
        for (int32_t dy = -1; dy <= 1; ++dy)
            for (int32_t dx = -1; dx <= 1; ++dx) Sum += Ramp(Key, x + dx, y + dy);
        return Sum / 9;
    }
};

// Cubic convolution with a = -0.5, coordinates clamped to the crop.
double CubicWeight(double t)
{
    t = std::fabs(t);
    if (t < 1) return (1.5 * t - 2.5) * t * t + 1;
    return t < 2 ? ((-0.5 * t + 2.5) * t - 4) * t + 2 : 0;
}

struct Crop {
    int32_t X, Y, Width, Height;
};

double BackgroundAt(const RgbPicture& Background, const Crop& c, const RgbPicture& Frame, int32_t x, int32_t y,
                    int Channel)
{
    const double sx = (x + 0.5) * c.Width / Frame.Width - 0.5, sy = (y + 0.5) * c.Height / Frame.Height - 0.5;
    const auto bx = static_cast<int32_t>(std::floor(sx)), by = static_cast<int32_t>(std::floor(sy));
    double Sum = 0;
    for (int32_t j = by - 1; j <= by + 2; ++j)
        for (int32_t i = bx - 1; i <= bx + 2; ++i)
            Sum += CubicWeight(sx - i) * CubicWeight(sy - j) *
                   Background.At(c.X + std::clamp(i, 0, c.Width - 1), c.Y + std::clamp(j, 0, c.Height - 1))[Channel];
    return std::clamp(Sum, 0.0, 255.0);
}

// The largest difference, in levels, of a treated frame from the same computed plainly in double precision: from the
// smoothed chroma on without a rounding, and with an exactly resized background.
double CompositeError(const RgbPicture& Frame, const RgbPicture& Background, const Crop& c, const ChromaKey& Key,
                      const RgbPicture& Treated)
{
    const Planes444 Planes(Frame);
    double Largest = 0;
    for (int32_t y = 0; y < Frame.Height; ++y)
        for (int32_t x = 0; x < Frame.Width; ++x) {
            const double Matte = Planes.Matte(Key, x, y);
            for (int Channel = 0; Channel < 3; ++Channel) {
                const double Front = Planes.Argb[4 * Planes.Index(x, y) + static_cast<size_t>(Channel)];
                const double Back = BackgroundAt(Background, c, Frame, x, y, Channel);
                const double Expected = Front * Matte + Back * (1 - Matte);
                Largest = std::max(Largest, std::fabs(Expected - Treated.At(x, y)[Channel]));
            }
        }
    return Largest;
}

constexpr ChromaKey kDefault{85, 60, 3600, 4624};

// Switches keying on with a red background, and takes a frame of the key colour through it.
RgbPicture KeyOutOnRed(OpenProcess& p)
{
    p.SetSmoothingEnabled(1);
    p.SetKeyingEnabled(1);
    SetBackground(p, Solid(10, 10, kRed));
    RgbPicture Picture = Solid(40, 30, kKey);
    Treat(p, Picture);
    return Picture;
}

} // namespace

TEST(VideoProcessKeying, WithoutABackgroundTheFrameOnlyMakesTheRoundTrip)
{
    OpenProcess p;
    p.SetKeyingEnabled(1);
    RgbPicture Picture = GreenScreen(50, 30);
    const Planes444 Planes(Picture);
    Treat(p, Picture);
    for (int32_t y = 0; y < 30; ++y)
        for (int32_t x = 0; x < 50; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(Picture.At(x, y)[c], Planes.Argb[4 * Planes.Index(x, y) + static_cast<size_t>(c)]);
    EXPECT_EQ(p.m_bBackgroundReady, 0);
}

TEST(VideoProcessKeying, AScreenOfTheKeyShowsTheBackgroundAsItIs)
{
    OpenProcess p;
    p.SetKeyingEnabled(1);
    const RgbPicture Background = Scene(50, 30, 3);
    EXPECT_EQ(SetBackground(p, Background), 1);
    RgbPicture Picture = Solid(50, 30, kKey);
    Treat(p, Picture);
    EXPECT_EQ(Picture, Background) << "one of the frame's size is copied, not resized";
}

TEST(VideoProcessKeying, AFrameWithoutTheKeyShowsNothingOfTheBackground)
{
    OpenProcess With, Without;
    With.SetKeyingEnabled(1);
    Without.SetKeyingEnabled(1);
    SetBackground(With, Solid(50, 30, kBlue));
    RgbPicture a = Solid(50, 30, kRed), b = a;
    Treat(With, a);
    Treat(Without, b);
    EXPECT_EQ(a, b);
    EXPECT_EQ(std::count(With.m_pMask.get(), With.m_pMask.get() + 50 * 30, 255), 50 * 30);
}

TEST(VideoProcessKeying, PaddingOfTheRowsIsReadAndWrittenAround)
{
    OpenProcess p;
    p.SetKeyingEnabled(1);
    const RgbPicture Background = Scene(50, 30, 3, 7);
    SetBackground(p, Background);
    RgbPicture Picture = Solid(50, 30, kKey, 11);
    Treat(p, Picture);
    for (int32_t y = 0; y < 30; ++y) {
        EXPECT_TRUE(std::equal(Picture.At(0, y), Picture.At(50, y), Background.At(0, y))) << y;
        EXPECT_EQ(std::count(Picture.At(50, y), Picture.At(50, y) + 11, 0xA5), 11);
    }
}

TEST(VideoProcessKeying, ABottomUpBackgroundIsTurned)
{
    OpenProcess p;
    p.SetKeyingEnabled(1);
    RgbPicture Background = Scene(20, 10, 3);
    EXPECT_EQ(p.SetBackgroundImage(20, 10, Background.At(0, 9), -Background.Pitch), 1);
    RgbPicture Picture = Solid(20, 10, kKey);
    Treat(p, Picture);
    for (int32_t y = 0; y < 10; ++y)
        EXPECT_TRUE(std::equal(Picture.At(0, y), Picture.At(0, y) + 60, Background.At(0, 9 - y)));
}

// The whole of matte, scaling and blend. The rounding of the mask to 255 steps, of the scaled background and of the
// blend make up the difference: 1.13 levels at most in these cases.
TEST(VideoProcessKeying, TheCompositeIsWhatDoublePrecisionGives)
{
    struct Case {
        int32_t Width, Height, BackgroundWidth, BackgroundHeight;
        Crop Shown;
    };
    constexpr Case kCases[] = {
        {96, 64, 96, 64, {0, 0, 96, 64}},   {96, 64, 40, 40, {0, 7, 40, 26}},     // rows cut above and below
        {96, 64, 200, 50, {0, 0, 200, 50}}, {64, 96, 150, 120, {35, 0, 80, 120}}, // stretched; columns cut
        {64, 96, 20, 120, {0, 0, 20, 120}}, {97, 61, 31, 200, {0, 90, 31, 19}},
    };
    double Largest = 0;
    for (const Case& c : kCases) {
        OpenProcess p;
        p.SetKeyingEnabled(1);
        const RgbPicture Frame = GreenScreen(c.Width, c.Height),
                         Background = Scene(c.BackgroundWidth, c.BackgroundHeight, 8);
        SetBackground(p, Background);
        RgbPicture Treated = Frame;
        Treat(p, Treated);
        const double Error = CompositeError(Frame, Background, c.Shown, kDefault, Treated);
        EXPECT_LE(Error, 1.25) << c.Width << "x" << c.Height << " over " << c.BackgroundWidth << "x"
                               << c.BackgroundHeight;
        Largest = std::max(Largest, Error);
        const auto Soft = std::count_if(p.m_pMask.get(), p.m_pMask.get() + c.Width * c.Height,
                                        [](uint8_t m) { return m > 20 && m < 235; });
        EXPECT_GT(Soft, 20) << "the picture has an edge";
    }
    RecordProperty("LargestDifference", std::to_string(Largest));
}

TEST(VideoProcessKeying, AnotherColourAndDistanceKeyByTheirOwnNumbers)
{
    OpenProcess p;
    p.SetKeyingEnabled(1);
    p.SetKeyColor(120, 60, 50);
    p.SetKeyDistance(25);
    const RgbPicture Frame = GreenScreen(80, 80), Background = Scene(80, 80, 8);
    SetBackground(p, Background);
    RgbPicture Treated = Frame;
    Treat(p, Treated);
    const ChromaKey Key{p.m_KeyU, p.m_KeyV, 625, 28 * 28};
    EXPECT_LE(CompositeError(Frame, Background, {0, 0, 80, 80}, Key, Treated), 1.25);
}

TEST(VideoProcessKeying, ADistanceOfMinusOneToMinusNineReplacesAllButTheKey)
{
    for (int32_t Distance = -9; Distance < 0; ++Distance) {
        OpenProcess p;
        p.SetKeyingEnabled(1);
        p.SetKeyDistance(Distance);
        SetBackground(p, Solid(48, 48, kBlue));
        RgbPicture Screen = Solid(48, 48, kKey), Other = Solid(48, 48, kRed);
        Treat(p, Screen);
        if (Distance <= -5) { // the conversion leads a level or two past the key
            EXPECT_EQ(p.m_pMask[24 * 48 + 24], 255) << Distance;
        }
        Treat(p, Other);
        EXPECT_EQ(Other, Solid(48, 48, kBlue)) << Distance;
    }
}

TEST(VideoProcessKeying, EqualThresholdsMakeAStep)
{
    for (const int32_t Distance : {-10, INT32_MIN}) { // both radii alike, and beyond any distance
        OpenProcess p;
        p.SetKeyingEnabled(1);
        p.SetKeyDistance(Distance);
        SetBackground(p, Solid(48, 48, kBlue));
        RgbPicture Picture = GreenScreen(48, 48);
        Treat(p, Picture);
        const RgbPicture Twice = Picture;
        EXPECT_EQ(p.m_pMask[0], 0) << "the corner is the key";
        EXPECT_EQ(Distance == INT32_MIN ? 0 : 255, p.m_pMask[24 * 48 + 24]) << "the middle is far from it";
    }
}

TEST(VideoProcessKeying, ANewSizeOfFramesScalesTheBackgroundAgain)
{
    OpenProcess p;
    p.SetKeyingEnabled(1);
    const RgbPicture Background = Solid(10, 10, kRed);
    SetBackground(p, Background);
    for (const auto& [Width, Height] : {std::pair{40, 30}, {30, 40}, {10, 10}, {64, 48}}) {
        RgbPicture Picture = Solid(Width, Height, kKey);
        Treat(p, Picture);
        EXPECT_EQ(Picture, Solid(Width, Height, kRed));
    }
}

TEST(VideoProcessKeying, TheScaledPictureOutlivesKeyingSwitchedOff)
{
    OpenProcess p;
    RgbPicture Picture = KeyOutOnRed(p);
    const uint8_t* const pScaled = p.m_pScaledBackground.get();
    p.SetKeyingEnabled(0);
    Treat(p, Picture);
    p.SetKeyingEnabled(1);
    Picture = Solid(40, 30, kKey);
    Treat(p, Picture);
    EXPECT_EQ(Picture, Solid(40, 30, kRed));
    EXPECT_EQ(p.m_pScaledBackground.get(), pScaled);
}

TEST(VideoProcessKeying, ASizeChangedWhileKeyingWasOffIsNoticedWhenItIsOnAgain)
{
    OpenProcess p;
    RgbPicture Picture = KeyOutOnRed(p);
    p.SetKeyingEnabled(0);
    RgbPicture Other = Solid(64, 48, kKey);
    Treat(p, Other);
    p.SetKeyingEnabled(1);
    Other = Solid(64, 48, kKey);
    Treat(p, Other);
    EXPECT_EQ(Other, Solid(64, 48, kRed));
}

TEST(VideoProcessKeying, ANewBackgroundShowsFromTheNextFrameOn)
{
    OpenProcess p;
    p.SetKeyingEnabled(1);
    for (const RgbColor Color : {kRed, kBlue}) {
        EXPECT_EQ(SetBackground(p, Solid(16, 9, Color)), 1);
        EXPECT_EQ(p.m_bBackgroundChanged, 1);
        RgbPicture Picture = Solid(40, 30, kKey);
        Treat(p, Picture);
        EXPECT_EQ(p.m_bBackgroundChanged, 0);
        EXPECT_EQ(Picture, Solid(40, 30, Color));
    }
}

TEST(VideoProcessKeying, WhatIsNoBackgroundIsRefused)
{
    OpenProcess p;
    const RgbPicture Red = Solid(8, 8, kRed);
    for (const auto& [Width, Height] : {std::pair{0, 0},
                                        {0, 8},
                                        {8, 0},
                                        {-8, 8},
                                        {8, -8},
                                        {-8, -8},
                                        {INT32_MIN, INT32_MIN},
                                        {INT32_MAX, INT32_MAX},
                                        {30000, 30000}}) {
        EXPECT_EQ(p.SetBackgroundImage(Width, Height, Red.Bytes.data(), 24), 0);
        EXPECT_EQ(p.m_BackgroundWidth, Width);
        EXPECT_EQ(p.m_pBackground, nullptr);
        EXPECT_EQ(p.m_bBackgroundChanged, 0);
    }
    p.SetKeyingEnabled(1);
    RgbPicture Picture = Solid(40, 30, kKey);
    Treat(p, Picture);
    EXPECT_EQ(p.m_bBackgroundReady, 0);
}

TEST(VideoProcessKeying, ANullPictureOfTheSameSizeKeepsTheStoredOne)
{
    OpenProcess p;
    p.SetKeyingEnabled(1);
    SetBackground(p, Solid(8, 8, kRed));
    EXPECT_EQ(p.SetBackgroundImage(8, 8, nullptr, 24), 0);
    RgbPicture Picture = Solid(40, 30, kKey);
    Treat(p, Picture);
    EXPECT_EQ(Picture, Solid(40, 30, kRed));
}

TEST(VideoProcessKeying, ABackgroundTakenAwayStaysOnShowUntilTheSizeChanges)
{
    OpenProcess p;
    p.SetKeyingEnabled(1);
    SetBackground(p, Solid(8, 8, kRed));
    RgbPicture Picture = Solid(40, 30, kKey);
    Treat(p, Picture);
    EXPECT_EQ(p.SetBackgroundImage(0, 0, nullptr, 0), 0);
    Picture = Solid(40, 30, kKey);
    Treat(p, Picture);
    EXPECT_EQ(Picture, Solid(40, 30, kRed));
    Picture = Solid(20, 20, kKey);
    Treat(p, Picture);
    EXPECT_EQ(Picture, Solid(20, 20, {0, 0, 0})) << "black, and never what the memory held";
    EXPECT_EQ(p.SetBackgroundImage(6, 6, nullptr, 18), 0);
    Picture = Solid(30, 20, kKey);
    Treat(p, Picture);
    EXPECT_EQ(Picture, Solid(30, 20, {0, 0, 0}));
}

TEST(VideoProcessKeying, LumaIsTreatedInFrontOnly)
{
    OpenProcess p;
    p.SetKeyingEnabled(1);
    p.SetBrightness(0.5f);
    p.SetSmoothingEnabled(1);
    const RgbPicture Background = Scene(50, 30, 3);
    SetBackground(p, Background);
    RgbPicture Picture = Solid(50, 30, kKey);
    Treat(p, Picture);
    EXPECT_EQ(Picture, Background);
}

TEST(VideoProcessKeying, TheBackgroundMayBeSetFromAnotherThread)
{
    OpenProcess p;
    p.SetKeyingEnabled(1);
    SetBackground(p, Solid(16, 16, kRed));
    RgbPicture First = Solid(32, 24, kKey);
    Treat(p, First); // a background is on show before the first is taken away
    std::atomic<bool> bDone = false;
    std::thread Setter([&] {
        const RgbPicture Pictures[] = {Solid(16, 16, kBlue), Solid(24, 10, kRed), Solid(24, 10, kBlue)};
        for (size_t i = 0; !bDone; ++i) {
            SetBackground(p, Pictures[i % 3]);
            if (i % 5 == 0) p.SetBackgroundImage(0, 0, nullptr, 0);
        }
    });
    for (int i = 0; i < 200; ++i) {
        const int32_t Width = i % 20 < 10 ? 32 : 24;
        RgbPicture Picture = Solid(Width, 24, kKey);
        Treat(p, Picture);
        const bool bWhole = Picture == Solid(Width, 24, kRed) || Picture == Solid(Width, 24, kBlue) ||
                            Picture == Solid(Width, 24, {0, 0, 0});
        EXPECT_TRUE(bWhole) << "a frame shows one background, never parts of two";
    }
    bDone = true;
    Setter.join();
}
