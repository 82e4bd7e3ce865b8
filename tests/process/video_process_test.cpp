// Treatment of camera pictures: the settings and what becomes of a frame. Keying is in video_process_keying_test.
#include "front/stdafx.h"
#include "kernels/dispatch/kernels.h"
#include "platform/paths.h"
#include "quilvex/Quilvex.h"
#include "tests/process/video_process_fixture.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/recording_log.h"
#include "tests/support/user_folder.h"

#include <gtest/gtest.h>
#include <libyuv.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <thread>

namespace {

// What the conversions alone make of a frame with keying off.
RgbPicture RoundTrip420(const RgbPicture& Picture)
{
    RgbPicture Out = Picture;
    const int32_t w = Picture.Width, h = Picture.Height;
    std::vector<uint8_t> Planes(static_cast<size_t>(w * h * 3));
    uint8_t *const pY = Planes.data(), *const pU = pY + w * h, *const pV = pU + w * h;
    libyuv::RGB24ToI420(Picture.Bytes.data(), w * 3, pY, w, pU, w / 2, pV, w / 2, w, h);
    libyuv::I420ToRGB24(pY, w, pU, w / 2, pV, w / 2, Out.Bytes.data(), Out.Pitch, w, h);
    return Out;
}

std::vector<uint8_t> LumaOf(const RgbPicture& Picture)
{
    const int32_t w = Picture.Width, h = Picture.Height;
    std::vector<uint8_t> Planes(static_cast<size_t>(w * h * 3));
    uint8_t *const pY = Planes.data(), *const pU = pY + w * h, *const pV = pU + w * h;
    libyuv::RGB24ToI420(Picture.Bytes.data(), w * 3, pY, w, pU, w / 2, pV, w / 2, w, h);
    Planes.resize(static_cast<size_t>(w * h));
    return Planes;
}

std::vector<uint8_t> LumaIn(const OpenProcess& Process, const RgbPicture& Picture)
{
    return {Process.m_pY.get(), Process.m_pY.get() + Picture.Width * Picture.Height};
}

RgbPicture Flipped(const RgbPicture& Picture)
{
    RgbPicture Out = Picture;
    for (int32_t y = 0; y < Picture.Height; ++y)
        std::copy_n(Picture.At(0, y), Picture.Width * 3, Out.At(0, Picture.Height - 1 - y));
    return Out;
}

// The largest difference from the weighted mean of nine taps, six apart, in double precision.
double SmoothingError(const RgbPicture& Picture, const std::vector<uint8_t>& Before, const std::vector<uint8_t>& After)
{
    const int32_t w = Picture.Width, h = Picture.Height;
    const auto At = [w](const std::vector<uint8_t>& p, int32_t x, int32_t y) {
        return static_cast<double>(p[static_cast<size_t>(y * w + x)]);
    };
    double Largest = 0;
    for (int32_t y = 6; y < h - 6; ++y)
        for (int32_t x = 6; x < w - 6; ++x) {
            double Sum = 0, Weights = 0;
            for (int32_t dy = -6; dy <= 6; dy += 6)
                for (int32_t dx = -6; dx <= 6; dx += 6) {
                    const double Value = At(Before, x + dx, y + dy), v = Value - At(Before, x, y);
                    const double Weight = std::exp(-0.5 * (dx * dx + dy * dy) / 200.0) * std::exp(-0.5 * v * v / 200.0);
                    Sum += Weight * Value;
                    Weights += Weight;
                }
            Largest = std::max(Largest, std::fabs(Sum / Weights - At(After, x, y)));
        }
    return Largest;
}

} // namespace

TEST(VideoProcess, TheExportMakesOneWithOneReference)
{
    IVideoProcess* const pProcess = CreateVideoProcess();
    ASSERT_NE(pProcess, nullptr);
    EXPECT_NE(dynamic_cast<CVideoProcessIPP*>(pProcess), nullptr);
    EXPECT_EQ(pProcess->AddRef(), 2);
    EXPECT_EQ(pProcess->Release(), 1);
    EXPECT_EQ(pProcess->Release(), 0);
}

TEST(VideoProcess, ReferencesMayComeAndGoOnAnyThread)
{
    IVideoProcess* const pProcess = CreateVideoProcess();
    pProcess->AddRef();
    const auto Churn = [pProcess] {
        for (int i = 0; i < 1000; ++i) {
            pProcess->AddRef();
            pProcess->Release();
        }
        pProcess->Release();
    };
    std::thread Other(Churn);
    Churn();
    Other.join(); // the address sanitizer sees one delete too few or too many
}

TEST(VideoProcess, EveryFieldBeginsAsStated)
{
    OpenProcess p;
    EXPECT_EQ(p.m_iRefCount, 1);
    EXPECT_NE(p.m_pLock, nullptr);
    EXPECT_EQ(p.m_bSmoothing, 0);
    EXPECT_EQ(p.m_Brightness, 0.0f);
    EXPECT_EQ(p.m_Width, 0);
    EXPECT_EQ(p.m_Height, 0);
    for (const ByteBlock* const pBlock : {&p.m_pY, &p.m_pU, &p.m_pV, &p.m_pScratch, &p.m_pArgb, &p.m_pBackground,
                                          &p.m_pScaledBackground, &p.m_pMask, &p.m_pAlpha})
        EXPECT_EQ(*pBlock, nullptr);
    EXPECT_EQ(p.m_pDistanceA, nullptr);
    EXPECT_EQ(p.m_pDistanceB, nullptr);
    EXPECT_EQ(p.m_KeyingEnabled, 0);
    EXPECT_EQ(p.m_bBackgroundChanged, 0);
    EXPECT_EQ(p.m_bBackgroundReady, 0);
    EXPECT_EQ(p.m_GreenThreshold1, 3600);
    EXPECT_EQ(p.m_GreenThreshold2, 4624);
    EXPECT_EQ(p.m_BlueThreshold1, 4900);
    EXPECT_EQ(p.m_BlueThreshold2, 6400);
    EXPECT_EQ(p.m_DefaultKeyColor, (RgbColor{69, 250, 92}));
    EXPECT_EQ(p.m_KeyColor, (RgbColor{69, 250, 92}));
    EXPECT_EQ(p.m_KeyU, 85);
    EXPECT_EQ(p.m_KeyV, 60);
    EXPECT_EQ(p.m_DefaultKeyDistance, 60);
    EXPECT_EQ(p.m_KeyDistance, 60);
    EXPECT_EQ(p.m_Threshold1, 3600);
    EXPECT_EQ(p.m_Threshold2, 4624);
    EXPECT_EQ(p.m_BackgroundWidth, 0);
    EXPECT_EQ(p.m_BackgroundHeight, 0);
}

TEST(VideoProcess, SettingsAreGivenBackAsTheyWereSet)
{
    OpenProcess Process;
    IVideoProcess& p = Process;
    EXPECT_EQ(p.SetKeyingEnabled(-7), 1);
    EXPECT_EQ(p.GetKeyingEnabled(), -7);
    EXPECT_EQ(p.SetSmoothingEnabled(5), 1);
    EXPECT_EQ(p.GetSmoothingEnabled(), 5);
    EXPECT_EQ(p.SetBrightness(-3.25f), 1);
    EXPECT_EQ(p.GetBrightness(), -3.25f);
    uint8_t R = 0, G = 0, B = 0;
    int32_t Distance = 0;
    EXPECT_EQ(p.GetDefaultKeyColor(&R, &G, &B), 1);
    EXPECT_EQ((RgbColor{R, G, B}), (RgbColor{69, 250, 92}));
    EXPECT_EQ(p.SetKeyColor(1, 2, 3), 1);
    EXPECT_EQ(p.GetKeyColor(&R, &G, &B), 1);
    EXPECT_EQ((RgbColor{R, G, B}), (RgbColor{1, 2, 3}));
    EXPECT_EQ(p.GetDefaultKeyDistance(&Distance), 1);
    EXPECT_EQ(Distance, 60);
    EXPECT_EQ(p.SetKeyDistance(-12), 1);
    EXPECT_EQ(p.GetKeyDistance(&Distance), 1);
    EXPECT_EQ(Distance, -12);
    EXPECT_EQ(p.GetDefaultKeyColor(&R, &G, &B), 1);
    EXPECT_EQ((RgbColor{R, G, B}), (RgbColor{69, 250, 92}));
}

TEST(VideoProcess, ColourAndDistanceSetTheKey)
{
    OpenProcess p;
    p.SetKeyColor(0, 0, 255);
    EXPECT_EQ(p.m_KeyU, 240);
    EXPECT_EQ(p.m_KeyV, 110);
    p.SetKeyColor(69, 250, 92);
    EXPECT_EQ(p.m_KeyU, 85);
    EXPECT_EQ(p.m_KeyV, 60);
    p.SetKeyDistance(61);
    EXPECT_EQ(p.m_Threshold1, 3721);
    EXPECT_EQ(p.m_Threshold2, 4624);
    p.SetKeyDistance(60);
    EXPECT_EQ(p.m_Threshold1, 3600);
    EXPECT_EQ(p.m_Threshold2, 4624);
}

TEST(VideoProcess, NullResultsArePassedOver)
{
    OpenProcess p;
    uint8_t G = 0;
    EXPECT_EQ(p.GetKeyColor(nullptr, &G, nullptr), 1);
    EXPECT_EQ(G, 250);
    EXPECT_EQ(p.GetDefaultKeyColor(nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(p.GetKeyDistance(nullptr), 1);
    EXPECT_EQ(p.GetDefaultKeyDistance(nullptr), 1);
}

class VideoProcessSettings : public testing::Test
{
protected:
    void Write(const std::string& Text) { std::ofstream(SettingsFile()) << Text; }
    std::vector<int32_t> Thresholds() const
    {
        return {m_Process.m_GreenThreshold1, m_Process.m_GreenThreshold2, m_Process.m_BlueThreshold1,
                m_Process.m_BlueThreshold2};
    }
    UserFolder m_Home;
    OpenProcess m_Process;
};

TEST_F(VideoProcessSettings, AMissingFileGivesTheDefaultsAndIsNotMade)
{
    m_Process.m_GreenThreshold1 = m_Process.m_BlueThreshold2 = 1;
    m_Process.SetKeyingEnabled(1);
    EXPECT_EQ(Thresholds(), (std::vector<int32_t>{3600, 4624, 4900, 6400}));
    EXPECT_TRUE(std::filesystem::is_empty(m_Home.Path()));
}

TEST_F(VideoProcessSettings, TheFourthThresholdIsReadUnderTheThirdsKey)
{
    Write("[CONFIG]\ngreenThreshold1=11\ngreenThreshold2=22\nblueThreshold1=33\nblueThreshold2=44\n");
    m_Process.SetKeyingEnabled(1);
    EXPECT_EQ(Thresholds(), (std::vector<int32_t>{11, 22, 33, 33}));
}

TEST_F(VideoProcessSettings, TheFileIsReadWhenKeyingIsSwitchedOnOnly)
{
    Write("[CONFIG]\ngreenThreshold1=11\n");
    m_Process.SetKeyingEnabled(0);
    EXPECT_EQ(Thresholds(), (std::vector<int32_t>{3600, 4624, 4900, 6400}));
    m_Process.SetKeyingEnabled(2);
    EXPECT_EQ(Thresholds(), (std::vector<int32_t>{11, 4624, 4900, 6400}));
}

TEST_F(VideoProcessSettings, TheHostMayNameAnotherFolder)
{
    class Host : public RecordingLog
    {
    public:
        explicit Host(std::string Folder) : m_Folder(std::move(Folder)) {}
        std::string UserDataPath(const std::string& Subdirectory) override
        {
            m_Asked = Subdirectory;
            return m_Folder;
        }
        std::string m_Folder, m_Asked;
    } Log(m_Home.Path().string());
    Write("[CONFIG]\ngreenThreshold1=11\n");
    std::ofstream(m_Home.File("Brellix.ini")) << "[CONFIG]\ngreenThreshold1=12\n";
    m_Process.SetKeyingEnabled(1);
    EXPECT_EQ(Log.m_Asked, platform::kPathSeparator + std::string("BrellixIni"));
    EXPECT_EQ(m_Process.m_GreenThreshold1, 12);
}

TEST_F(VideoProcessSettings, DetectionUsesTheThresholds)
{
    Write("[CONFIG]\ngreenThreshold1=4\ngreenThreshold2=9\n");
    m_Process.SetKeyingEnabled(1);
    const std::vector<uint8_t> U(20 * 20, 87), V(20 * 20, 60), Far(20 * 20, 88);
    ChromaKey Found{};
    EXPECT_TRUE(m_Process.DetectKeyColor(20, 20, U.data(), V.data(), Found));
    EXPECT_EQ(Found, (ChromaKey{85, 60, 4, 9}));
    EXPECT_FALSE(m_Process.DetectKeyColor(20, 20, Far.data(), V.data(), Found));
}

TEST(VideoProcessFrame, WithAllOffTheBufferIsUntouched)
{
    OpenProcess p;
    RgbPicture Picture = Scene(64, 48, 1);
    const RgbPicture Before = Picture;
    EXPECT_EQ(Treat(p, Picture), 1);
    p.SetBrightness(-0.0f);
    EXPECT_EQ(Treat(p, Picture), 1);
    p.SetBrightness(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(Treat(p, Picture), 1);
    EXPECT_EQ(Picture, Before);
    EXPECT_EQ(p.m_pY, nullptr) << "nothing is made for such a frame";
}

TEST(VideoProcessFrame, WhatIsNoPictureIsLeftAlone)
{
    OpenProcess p;
    p.SetKeyingEnabled(1);
    p.SetSmoothingEnabled(1);
    p.SetBrightness(0.5f);
    RgbPicture Picture = Scene(64, 48, 1);
    const RgbPicture Before = Picture;
    uint8_t* const pRgb = Picture.Bytes.data();
    EXPECT_EQ(p.ProcessFrame(64, 48, nullptr, 192), 1);
    for (const auto& [Width, Height] : {std::pair{0, 48},
                                        {64, 0},
                                        {-64, 48},
                                        {64, -48},
                                        {-64, -48},
                                        {INT32_MIN, INT32_MIN},
                                        {INT32_MAX, INT32_MAX},
                                        {30000, 30000},
                                        {1 << 30, 1},
                                        {1, 1 << 30}})
        EXPECT_EQ(p.ProcessFrame(Width, Height, pRgb, 192), 1);
    for (const int32_t Pitch : {1, 191, -1, -191}) EXPECT_EQ(p.ProcessFrame(64, 48, pRgb, Pitch), 1);
    p.SetKeyingEnabled(1);
    for (const int32_t Pitch : {0, 1, 191, -1, -191}) EXPECT_EQ(p.ProcessFrame(64, 48, pRgb, Pitch), 1);
    EXPECT_EQ(Picture, Before);
}

TEST(VideoProcessFrame, ExhaustedMemoryLeavesTheFrameAsItCameOrWithoutItsBackground)
{
    const RgbPicture Before = Scene(64, 48, 1);
    const RgbColor Background{40, 30, 20};
    const auto OpenWithBackground = [Background](OpenProcess& p) {
        p.SetKeyingEnabled(1);
        SetBackground(p, Solid(8, 8, Background));
    };
    OpenProcess Healthy;
    OpenWithBackground(Healthy);
    RgbPicture Expected = Before;
    Treat(Healthy, Expected);
    size_t n = 1;
    int LeftAlone = 0; // each of the ten buffers
    for (bool bFailed = true; bFailed; ++n) {
        OpenProcess p;
        OpenWithBackground(p);
        RgbPicture Picture = Before;
        {
            const FailingAllocation Fail(n, FailingAllocation::After::Fail);
            EXPECT_EQ(Treat(p, Picture), 1);
            bFailed = Fail.Failed();
        }
        const bool bWithoutBuffers = !p.m_pY && !p.m_pScaledBackground;
        LeftAlone += bWithoutBuffers;
        if (bWithoutBuffers) {
            EXPECT_EQ(Picture, Before) << n;
        } else { // with them and no memory for the scaling, the background is not there yet
            EXPECT_EQ(Picture == Expected, !bFailed) << n;
        }
        Picture = Before;
        Treat(p, Picture); // and the next frame tries again
        EXPECT_EQ(Picture, Expected) << n;
    }
    EXPECT_EQ(LeftAlone, 10);
}

TEST(VideoProcessFrame, SmoothingKeepsTheMarginAndIsTheMeanOfNineTaps)
{
    OpenProcess p;
    p.SetSmoothingEnabled(1);
    RgbPicture Picture = Scene(61, 47, 5);
    const std::vector<uint8_t> Before = LumaOf(Picture);
    Treat(p, Picture);
    const std::vector<uint8_t> After = LumaIn(p, Picture);
    EXPECT_LE(SmoothingError(Picture, Before, After), 0.51);
    for (int32_t y = 0; y < 47; ++y)
        for (int32_t x = 0; x < 61; ++x) {
            const auto i = static_cast<size_t>(y * 61 + x);
            const bool bMargin = x < 6 || y < 6 || x >= 55 || y >= 41;
            ASSERT_TRUE(!bMargin || After[i] == Before[i]) << x << ", " << y;
        }
    EXPECT_NE(After, Before);
}

TEST(VideoProcessFrame, SmoothingAloneMakesNoScratchCopy)
{
    OpenProcess p;
    p.SetSmoothingEnabled(1);
    RgbPicture Picture = Scene(40, 40, 5);
    Treat(p, Picture);
    std::fill_n(p.m_pScratch.get(), 40 * 40, uint8_t{77});
    Treat(p, Picture);
    EXPECT_EQ(std::count(p.m_pScratch.get(), p.m_pScratch.get() + 40 * 40, 77), 40 * 40);
}

TEST(VideoProcessFrame, AFrameSmallerThanTheWindowStaysUnsmoothed)
{
    for (const auto& [Width, Height] : {std::pair{12, 40}, {40, 12}, {12, 12}, {2, 2}}) {
        OpenProcess p;
        p.SetSmoothingEnabled(1);
        RgbPicture Picture = Scene(Width, Height, 5);
        const RgbPicture Expected = RoundTrip420(Picture);
        Treat(p, Picture);
        EXPECT_EQ(Picture, Expected) << Width << "x" << Height;
    }
    OpenProcess p;
    p.SetSmoothingEnabled(1);
    RgbPicture Picture = Scene(13, 13, 5);
    const std::vector<uint8_t> Before = LumaOf(Picture);
    Treat(p, Picture);
    const std::vector<uint8_t> After = LumaIn(p, Picture);
    int32_t Changed = 0;
    for (size_t i = 0; i < Before.size(); ++i) Changed += Before[i] != After[i];
    EXPECT_LE(Changed, 1) << "only the middle sample has a whole window";
}

TEST(VideoProcessFrame, BrightnessIsARelativeChangeOfTheLuma)
{
    // The share in 256ths that each value stands for.
    constexpr std::pair<float, int32_t> kShares[] = {
        {0.5f, 128}, {-0.5f, 128}, {1.0f, 255},  {-1.0f, 255}, {2.0f, 255},   {-2.0f, 255},    {0.25f, 64},
        {-0.1f, 25}, {0.001f, 0},  {-1e-30f, 0}, {1e30f, 255}, {0.999f, 255}, {-INFINITY, 255}};
    for (const auto& [Value, Share] : kShares) {
        OpenProcess p;
        p.SetBrightness(Value);
        RgbPicture Picture = Scene(50, 30, 9);
        const std::vector<uint8_t> Before = LumaOf(Picture);
        Treat(p, Picture);
        const std::vector<uint8_t> After = LumaIn(p, Picture);
        for (size_t i = 0; i < Before.size(); ++i) {
            const int32_t Part = static_cast<int32_t>(std::nearbyint(Before[i] * Share / 256.0)); // a half to even
            const int32_t Expected = Value > 0 ? std::min(Before[i] + Part, 255) : std::max(Before[i] - Part, 0);
            ASSERT_EQ(After[i], Expected) << "brightness " << Value << ", luma " << int{Before[i]};
        }
    }
}

TEST(VideoProcessFrame, BrightnessLeavesTheChromaAlone)
{
    OpenProcess Plain, Bright;
    Plain.SetBrightness(1e-30f);
    Bright.SetBrightness(0.7f);
    RgbPicture a = Scene(50, 30, 9), b = a;
    Treat(Plain, a);
    Treat(Bright, b);
    EXPECT_TRUE(std::equal(Plain.m_pU.get(), Plain.m_pU.get() + 25 * 15, Bright.m_pU.get()));
    EXPECT_TRUE(std::equal(Plain.m_pV.get(), Plain.m_pV.get() + 25 * 15, Bright.m_pV.get()));
    EXPECT_NE(a, b);
}

TEST(VideoProcessFrame, WithKeyingOffTheFrameTravelsAs420)
{
    OpenProcess p;
    p.SetBrightness(1e-30f); // switched on, and too little to change a sample
    RgbPicture Picture = Scene(50, 30, 9);
    const RgbPicture Expected = RoundTrip420(Picture);
    Treat(p, Picture);
    EXPECT_EQ(Picture, Expected);
    EXPECT_EQ(p.m_pArgb, nullptr) << "the buffers of keying are not made";
}

TEST(VideoProcessFrame, WithKeyingOffThePitchCountsOnTheWayOutOnly)
{
    OpenProcess p;
    p.SetBrightness(1e-30f);
    RgbPicture Picture = Scene(32, 16, 9, 12);
    const RgbPicture Expected = RoundTrip420(Picture); // reads without gaps, writes with the pitch
    Treat(p, Picture);
    EXPECT_EQ(Picture, Expected);
}

TEST(VideoProcessFrame, WithKeyingOffAPitchOfZeroStandsForRowsWithoutGaps)
{
    for (const auto& [Width, Height] : {std::pair{32, 16}, {33, 17}, {1, 1}}) {
        OpenProcess p;
        p.SetBrightness(0.4f);
        p.SetSmoothingEnabled(1);
        RgbPicture Picture = Scene(Width, Height, 9), Other = Picture;
        const RgbPicture Before = Picture;
        EXPECT_EQ(p.ProcessFrame(Width, Height, Picture.Bytes.data(), 0), 1);
        EXPECT_EQ(p.ProcessFrame(Width, Height, Other.Bytes.data(), Width * 3), 1);
        EXPECT_NE(Picture, Before);
        EXPECT_EQ(Picture, Other);
    }
}

TEST(VideoProcessFrame, ABottomUpFrameIsTreatedUpsideDown)
{
    for (const bool bKeying : {false, true}) {
        OpenProcess p;
        p.SetKeyingEnabled(bKeying);
        p.SetSmoothingEnabled(1);
        p.SetBrightness(0.3f);
        RgbPicture Upright = Scene(40, 31, 9), BottomUp = Flipped(Upright);
        Treat(p, Upright);
        p.ProcessFrame(40, 31, BottomUp.At(0, 30), -BottomUp.Pitch);
        EXPECT_EQ(Flipped(BottomUp), Upright) << bKeying;
    }
}

TEST(VideoProcessFrame, SizesDownToOnePixelAreTreated)
{
    for (int32_t Width = 1; Width <= 15; ++Width)
        for (int32_t Height = 1; Height <= 15; ++Height)
            for (const int32_t Keying : {0, 1}) {
                OpenProcess p;
                p.SetKeyingEnabled(Keying);
                p.SetSmoothingEnabled(1);
                p.SetBrightness(-0.5f);
                SetBackground(p, Scene(5, 3, 2));
                RgbPicture Picture = Scene(Width, Height, 4);
                EXPECT_EQ(Treat(p, Picture), 1); // the sanitizers watch
            }
}

TEST(VideoProcessFrame, BuffersFollowTheSizeAndStayOtherwise)
{
    OpenProcess p;
    p.SetSmoothingEnabled(1);
    RgbPicture Small = Scene(20, 20, 1), Large = Scene(60, 40, 1);
    Treat(p, Small);
    const uint8_t* const pFirst = p.m_pY.get();
    Treat(p, Small);
    EXPECT_EQ(p.m_pY.get(), pFirst);
    Treat(p, Large);
    EXPECT_EQ(p.m_Width, 60);
    EXPECT_EQ(p.m_Height, 40);
}

TEST(VideoProcessFrame, EveryTierGivesTheSamePicture)
{
    const int Bound = kernels::g_BoundTier;
    std::vector<RgbPicture> Results;
    for (int Tier = 0; Tier <= Bound; ++Tier) {
        kernels::InitKernelsForTier(Tier);
        OpenProcess p;
        p.SetKeyingEnabled(1);
        p.SetSmoothingEnabled(1);
        p.SetBrightness(0.4f);
        SetBackground(p, Scene(97, 55, 3));
        Results.push_back(GreenScreen(123, 77));
        Treat(p, Results.back());
        EXPECT_EQ(Results.back(), Results.front()) << "tier " << Tier;
    }
    kernels::InitKernelsForTier(Bound);
}
