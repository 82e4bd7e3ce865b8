// Which pairs of layouts convert, by what way, and to what.
#include "process/conversion_pairs.h"
#include "process/video_filter.h"
#include "process/video_processing.h"
#include "tests/support/test_pictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>
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

TEST(ColorSpaceConversion, Format6AtAnOddHeightReadsNoRowBeyondTheLast)
{
    ColorSpaceConversion Filter;
    VideoData In, Out;
    ASSERT_EQ(In.Init(5, 7, YUV422, 8), StatusOk);
    Fill(Out, 5, 7, NV12);
    std::vector<uint8_t> Y(5 * 7), U(3 * 7, 20), V(3 * 7, 30); // the sanitizer sees a row too many
    In.SetPlanePointer(Y.data(), 0);
    In.SetPlanePointer(U.data(), 1);
    In.SetPlanePointer(V.data(), 2);
    ASSERT_EQ(Filter.GetFrame(&In, &Out), StatusOk);
    EXPECT_EQ(Out.Plane(1)[3 * Out.Pitch(1)], 20);
    EXPECT_EQ(Out.Plane(1)[3 * Out.Pitch(1) + 5], 30);
}

TEST(ColorSpaceConversion, ANullPlaneIsRefused)
{
    ColorSpaceConversion Filter;
    for (const ColorFormat To : {YUV420, NV12}) { // a copy and a conversion
        VideoData In, Out;
        Fill(In, 16, 16, YUV420);
        Fill(Out, 16, 16, To);
        In.SetPlanePointer(nullptr, 1);
        EXPECT_EQ(Filter.GetFrame(&In, &Out), StatusInvalidParamsExt);
    }
}

TEST(ColorSpaceConversion, CopiesTheWholeLastPairOfFormat1)
{
    ColorSpaceConversion Filter;
    VideoData In, Out;
    Fill(In, 21, 12, NV12);
    Fill(Out, 21, 12, NV12, 0, 9);
    ASSERT_EQ(Filter.GetFrame(&In, &Out), StatusOk);
    for (int32_t y = 0; y < 6; ++y) EXPECT_EQ(Out.Plane(1)[y * Out.Pitch(1) + 21], In.Plane(1)[y * In.Pitch(1) + 21]);
    // Without room for it the described row is copied, and the byte behind the last one stays.
    std::vector<uint8_t> Narrow(21 * 6 + 1, 7);
    Out.SetPlanePointer(Narrow.data(), 1);
    Out.SetPlanePitch(21, 1);
    ASSERT_EQ(Filter.GetFrame(&In, &Out), StatusOk);
    EXPECT_EQ(Narrow[20], In.Plane(1)[20]);
    EXPECT_EQ(Narrow[21 * 6], 7);
}

TEST(ColorSpaceConversion, APitchBelowTheRowIsRefused)
{
    ColorSpaceConversion Filter;
    for (const auto& [From, To] : {std::pair{YUV420, RGB32}, {YUV420, NV12}, {NV12, YUV420}}) {
        VideoData In, Out;
        Fill(In, 21, 12, From);
        Fill(Out, 21, 12, To);
        EXPECT_EQ(Filter.GetFrame(&In, &Out), StatusOk);
        In.SetPlanePitch(From == NV12 ? 21 : 10, 1); // the pairs of format 1 take 22 bytes, chroma of format 5 11
        EXPECT_EQ(Filter.GetFrame(&In, &Out), StatusInvalidParamsExt);
        Fill(In, 21, 12, From);
        Out.SetPlanePitch(Out.Pitch(0) / 21 * 21 - 1, 0);
        EXPECT_EQ(Filter.GetFrame(&In, &Out), StatusInvalidParamsExt);
    }
}

TEST(ColorSpaceConversion, DeepSamplesHaveNoOtherConversion)
{
    ColorSpaceConversion Filter;
    VideoData Deep, Rgb, DeepTarget, Plain;
    Fill(Deep, 16, 16, YUV420, 10);
    Fill(DeepTarget, 16, 16, YUV422, 10);
    Fill(Rgb, 16, 16, RGB32);
    Fill(Plain, 16, 16, YUV420);
    EXPECT_EQ(Filter.GetFrame(&Deep, &Rgb), StatusNotImplemented);
    EXPECT_EQ(Filter.GetFrame(&Plain, &DeepTarget), StatusNotImplemented);
}

using kernels::g_Kernels;
using kernels::KernelSlots;

// The kernel of each pair, by its name.
constexpr struct {
    ColorFormat From, To;
    kernels::ConvertSig* KernelSlots::*pKernel;
} kConversions[]{
    {NV12, YUV420, &KernelSlots::Nv12ToYuv420},     {YUY2, NV12, &KernelSlots::Yuy2ToNv12},
    {YUY2, UYVY, &KernelSlots::Yuy2ToUyvy},         {YUY2, YUV420, &KernelSlots::Yuy2ToYuv420},
    {YUY2, YUV422, &KernelSlots::Yuy2ToYuv422},     {YUY2, RGB32, &KernelSlots::Yuy2ToRgb32},
    {YUY2, RGB24, &KernelSlots::Yuy2ToRgb24},       {YUY2, RGB565, &KernelSlots::Yuy2ToRgb565},
    {YUY2, RGB555, &KernelSlots::Yuy2ToRgb555},     {YUY2, RGB444, &KernelSlots::Yuy2ToRgb444},
    {UYVY, NV12, &KernelSlots::UyvyToNv12},         {UYVY, YUY2, &KernelSlots::UyvyToYuy2},
    {UYVY, YUV420, &KernelSlots::UyvyToYuv420},     {UYVY, YUV422, &KernelSlots::UyvyToYuv422},
    {UYVY, RGB32, &KernelSlots::UyvyToRgb32},       {YUV411, YUV422, &KernelSlots::Yuv411ToYuv422},
    {YUV420, NV12, &KernelSlots::Yuv420ToNv12},     {YUV420, YUY2, &KernelSlots::Yuv420ToYuy2},
    {YUV420, UYVY, &KernelSlots::Yuv420ToUyvy},     {YUV420, YUV411, &KernelSlots::Yuv420ToYuv411},
    {YUV420, YUV422, &KernelSlots::Yuv420ToYuv422}, {YUV420, Y41P, &KernelSlots::Yuv420ToY41p},
    {YUV420, RGB32, &KernelSlots::Yuv420ToRgb32},   {YUV420, RGB24, &KernelSlots::Yuv420ToRgb24},
    {YUV420, RGB565, &KernelSlots::Yuv420ToRgb565}, {YUV420, RGB555, &KernelSlots::Yuv420ToRgb555},
    {YUV420, RGB444, &KernelSlots::Yuv420ToRgb444}, {YUV422, YUV420, &KernelSlots::Yuv422ToYuv420},
    {Y41P, YUV420, &KernelSlots::Y41pToYuv420},     {RGB32, YUY2, &KernelSlots::Rgb32ToYuy2},
    {RGB32, UYVY, &KernelSlots::Rgb32ToUyvy},       {RGB32, YUV420, &KernelSlots::Rgb32ToYuv420},
    {RGB32, RGB24, &KernelSlots::Rgb32ToRgb24},     {RGB24, NV12, &KernelSlots::Rgb24ToNv12},
    {RGB24, YUY2, &KernelSlots::Rgb24ToYuy2},       {RGB24, UYVY, &KernelSlots::Rgb24ToUyvy},
    {RGB24, YUV420, &KernelSlots::Rgb24ToYuv420},   {RGB24, YUV422, &KernelSlots::Rgb24ToYuv422},
    {RGB24, RGB32, &KernelSlots::Rgb24ToRgb32},     {RGB24, RGB565, &KernelSlots::Rgb24ToRgb565},
    {RGB24, RGB555, &KernelSlots::Rgb24ToRgb555},   {RGB24, RGB444, &KernelSlots::Rgb24ToRgb444},
    {RGB565, YUV420, &KernelSlots::Rgb565ToYuv420}, {RGB565, RGB32, &KernelSlots::Rgb565ToRgb32},
    {RGB565, RGB24, &KernelSlots::Rgb565ToRgb24},   {RGB555, YUV420, &KernelSlots::Rgb555ToYuv420},
    {RGB555, RGB32, &KernelSlots::Rgb555ToRgb32},   {RGB555, RGB24, &KernelSlots::Rgb555ToRgb24},
};

TEST(ColorSpaceConversion, EveryKernelServesThePairOfItsName)
{
    for (const auto& Pair : kConversions)
        EXPECT_EQ(FindConversion(Pair.From, Pair.To), g_Kernels.*Pair.pKernel) << Pair.From << " to " << Pair.To;
    EXPECT_EQ(FindConversion(YUVA422, YUV420), g_Kernels.Yuv422ToYuv420);
    EXPECT_EQ(FindConversion(YUVA422, YUV422), g_Kernels.CopyYuv422);
}

// The table of conversion_pairs.h: a row for each source, a column for each target.
constexpr std::string_view kPaths[22]{
    "c1111c1...111111......", "1c22212...222222......", "11c1211...211111......", "111c211...212222......",
    "2222c21...222222......", "c1111c1...111111......", "111111c...111111......", ".......c..............",
    "c2222c2.c.222222......", ".........c............", "1....1....c...........", "1211.12....c1222......",
    "1111.11....1c111......", "1222.12....11c22......", "1222.12....112c2......", "...............c......",
    "................c.....", "c2222c2...222222.c....", "1222211...222222..c...", "...................c..",
    "....................c.", "................c....c",
};

TEST(ColorSpaceConversion, EveryPairGoesTheStatedWay)
{
    for (int32_t i = 0; i < 22; ++i)
        for (int32_t j = 0; j < 22; ++j) {
            SCOPED_TRACE(testing::Message() << i << " to " << j);
            const auto From = static_cast<ColorFormat>(i), To = static_cast<ColorFormat>(j);
            const char Path = kPaths[static_cast<size_t>(i)][static_cast<size_t>(j)];
            VideoProcessing Chain;
            ColorSpaceConversion Filter;
            VideoData In, Out, Direct, Between;
            Fill(In, 21, 13, From);
            Fill(Out, 21, 13, To, 0, 9);
            Fill(Direct, 21, 13, To, 0, 9);
            Fill(Between, 21, 13, VideoProcessing::IntermediateFormat(From), 0, 9);
            const bool bDirect = Path == 'c' || Path == '1';
            EXPECT_EQ(Chain.GetFrame(&In, &Out), Path == '.' ? StatusNotImplemented : StatusOk);
            EXPECT_EQ(Filter.GetFrame(&In, &Direct), bDirect ? StatusOk : StatusNotImplemented);
            if (Path == '2') {
                EXPECT_EQ(Filter.GetFrame(&In, &Between), StatusOk);
                EXPECT_EQ(Filter.GetFrame(&Between, &Direct), StatusOk);
            }
            for (int32_t p = 0; p < Out.GetPlaneCount(); ++p) EXPECT_EQ(PlaneBytes(Out, p), PlaneBytes(Direct, p));
            for (int32_t p = 0; p < Out.GetPlaneCount() && Path == 'c'; ++p)
                EXPECT_EQ(PlaneBytes(Out, p), PlaneBytes(In, p && (i == 0) != (j == 0) ? 3 - p : p));
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
