// The processing chain: which filters run, what they are given, and what comes out.
#include "process/conversion_pairs.h"
#include "process/video_filter.h"
#include "process/video_processing.h"

#include <gtest/gtest.h>

#include <libyuv.h>

#include <cmath>
#include <vector>

using namespace UMC;

namespace {

VideoData& Fill(VideoData& Picture, int32_t Width, int32_t Height, ColorFormat Format, int32_t Depth = 0,
                uint32_t Seed = 1)
{
    EXPECT_EQ(Picture.Init(Width, Height, Format, Depth), StatusOk);
    EXPECT_EQ(Picture.Alloc(), StatusOk);
    auto* const pBytes = static_cast<uint8_t*>(Picture.GetDataPointer());
    for (size_t i = 0; i < Picture.GetMappingSize(); ++i)
        pBytes[i] = static_cast<uint8_t>((Seed = Seed * 1103515245 + 12345) >> 16);
    return Picture;
}

std::vector<uint8_t> PlaneBytes(const VideoData& Picture, int32_t Index)
{
    PlaneInfo Info{};
    EXPECT_EQ(Picture.GetPlaneInfo(&Info, Index), StatusOk);
    std::vector<uint8_t> Bytes;
    for (int32_t y = 0; y < Info.m_Height; ++y) {
        const uint8_t* const pRow = Info.m_pPlane + ptrdiff_t{y} * Info.m_Pitch;
        Bytes.insert(Bytes.end(), pRow, pRow + Info.m_Width * Info.m_Samples * Info.m_SampleBytes);
    }
    return Bytes;
}

// A filter that counts its calls and copies.
class CountingFilter : public ColorSpaceConversion
{
public:
    Status GetFrame(MediaData* pInput, MediaData* pOutput) override
    {
        ++Calls;
        return Answer == StatusOk ? ColorSpaceConversion::GetFrame(pInput, pOutput) : Answer;
    }
    int Calls = 0;
    Status Answer = StatusOk;
};

} // namespace

TEST(VideoProcessing, NeedsPicturesOnBothSides)
{
    VideoProcessing Chain;
    VideoData In, Out;
    MediaData Bytes(10);
    Fill(Out, 16, 16, YUV420);
    EXPECT_EQ(Chain.GetFrame(&Bytes, &Out), StatusNullPointer);
    EXPECT_EQ(Chain.GetFrame(&Out, &Bytes), StatusNullPointer);
    EXPECT_EQ(Chain.GetFrame(nullptr, &Out), StatusNullPointer);
    EXPECT_EQ(Chain.GetFrame(&In, &Out), StatusNotEnoughData); // no planes
    ASSERT_EQ(In.Init(16, 16, YUV420, 8), StatusOk);
    EXPECT_EQ(Chain.GetFrame(&In, &Out), StatusNotEnoughData); // no pixels
}

TEST(VideoProcessing, EqualFormatAndSizeIsACopy)
{
    for (const ColorFormat Format : {YV12, NV12, YUY2, YUV420, YUV422, YUV444, RGB24, RGB32, GRAY, YUVA420}) {
        VideoProcessing Chain;
        VideoData In, Out;
        Fill(In, 35, 19, Format);
        Fill(Out, 35, 19, Format, 0, 99);
        In.SetFrameType(P_PICTURE);
        In.SetTime(4.0, 5.0);
        ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
        for (int32_t i = 0; i < In.GetPlaneCount(); ++i) EXPECT_EQ(PlaneBytes(In, i), PlaneBytes(Out, i));
        EXPECT_EQ(Out.GetFrameType(), P_PICTURE);
        EXPECT_EQ(Out.GetTime(), 4.0);
        EXPECT_EQ(Out.GetDataSize(), Out.GetMappingSize());
    }
}

TEST(VideoProcessing, FormatsFiveAndZeroExchangeTheChromaPlanes)
{
    for (const bool bForward : {true, false}) {
        VideoProcessing Chain;
        VideoData In, Out;
        Fill(In, 36, 20, bForward ? YUV420 : YV12);
        Fill(Out, 36, 20, bForward ? YV12 : YUV420, 0, 99);
        ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
        EXPECT_EQ(PlaneBytes(Out, 0), PlaneBytes(In, 0));
        EXPECT_EQ(PlaneBytes(Out, 1), PlaneBytes(In, 2));
        EXPECT_EQ(PlaneBytes(Out, 2), PlaneBytes(In, 1));
    }
}

TEST(VideoProcessing, WithAResizeTheExchangeCostsNoConversion)
{
    for (const auto& [From, To] : {std::pair{YUV420, YV12}, std::pair{YV12, YUV420}}) {
        VideoProcessing Chain;
        VideoData In, Swapped, Plain;
        Fill(In, 64, 48, From);
        Fill(Swapped, 32, 24, To);
        Fill(Plain, 32, 24, From);
        ASSERT_EQ(Chain.GetFrame(&In, &Swapped), StatusOk);
        ASSERT_EQ(Chain.GetFrame(&In, &Plain), StatusOk);
        EXPECT_EQ(PlaneBytes(Swapped, 0), PlaneBytes(Plain, 0));
        EXPECT_EQ(PlaneBytes(Swapped, 1), PlaneBytes(Plain, 2));
        EXPECT_EQ(PlaneBytes(Swapped, 2), PlaneBytes(Plain, 1));
        EXPECT_EQ(Swapped.GetColorFormat(), To);
    }
}

TEST(VideoProcessing, CropsBeforeAllElse)
{
    VideoProcessing Chain;
    VideoProcessingParams Params;
    Params.m_CropX = 3;
    Params.m_CropY = 5;
    Params.m_CropWidth = 20;
    Params.m_CropHeight = 8;
    ASSERT_EQ(Chain.Init(&Params), StatusOk);
    VideoData In, Out;
    Fill(In, 32, 16, YUV420);
    Fill(Out, 20, 8, YUV420, 0, 99);
    ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
    EXPECT_EQ(Out.Plane(0)[0], In.Plane(0)[5 * 32 + 3]);
    EXPECT_EQ(Out.Plane(1)[0], In.Plane(1)[2 * 16 + 1]); // chroma origins round down
    EXPECT_EQ(In.GetWidth(), 32);                        // the input itself is left as it is

    Params.m_CropWidth = 30;
    ASSERT_EQ(Chain.SetParams(&Params), StatusOk);
    EXPECT_EQ(Chain.GetFrame(&In, &Out), StatusInvalidParamsExt);
    Params.m_CropWidth = 0;
    ASSERT_EQ(Chain.SetParams(&Params), StatusOk);
    EXPECT_EQ(Chain.GetFrame(&In, &Out), StatusInvalidParamsExt);

    VideoProcessingParams Read;
    EXPECT_EQ(Chain.GetInfo(&Read), StatusOk);
    EXPECT_EQ(Read.m_CropX, 3);
    BaseCodecParams Wrong;
    EXPECT_EQ(Chain.GetInfo(&Wrong), StatusNullPointer);
    EXPECT_EQ(Chain.SetParams(&Wrong), StatusNullPointer);
}

TEST(VideoProcessing, APairWithoutAKernelGoesByAnIntermediateFormat)
{
    // 13 to 5 has no conversion; by way of 12 there is none either, since 13 to 12 has none: the second refusal is
    // final.
    VideoProcessing Chain;
    VideoData In, Out;
    Fill(In, 32, 16, RGB565);
    Fill(Out, 32, 16, YUV420);
    EXPECT_EQ(Chain.GetFrame(&In, &Out), StatusNotImplemented);

    // 1 to 12 goes by way of 5.
    VideoData Nv12, Rgb, Planar, Direct;
    Fill(Nv12, 32, 16, NV12);
    Fill(Rgb, 32, 16, RGB24);
    Fill(Planar, 32, 16, YUV420);
    Fill(Direct, 32, 16, RGB24, 0, 50);
    ASSERT_EQ(Chain.GetFrame(&Nv12, &Rgb), StatusOk);
    ASSERT_EQ(Chain.GetFrame(&Nv12, &Planar), StatusOk);
    ASSERT_EQ(Chain.GetFrame(&Planar, &Direct), StatusOk);
    EXPECT_EQ(PlaneBytes(Rgb, 0), PlaneBytes(Direct, 0));
}

TEST(VideoProcessing, TheIntermediateFormatsAreTheTable)
{
    const ColorFormat Expected[22] = {YUV420, YUV420, YUV420, YUV420, YUV422, YV12,  YUY2,  RGB24,
                                      YUV420, YUV411, YUV411, RGB24,  RGB32,  RGB24, RGB24, RGB24,
                                      YUV420, YUV420, YUV422, YUV444, YUV420, YUV420};
    for (int32_t Id = 0; Id < 22; ++Id)
        EXPECT_EQ(VideoProcessing::IntermediateFormat(static_cast<ColorFormat>(Id)), Expected[Id]) << Id;
}

TEST(VideoProcessing, ConvertsAndResizesInOneCall)
{
    VideoProcessing Chain;
    VideoData In, Out, Converted, Resized;
    Fill(In, 64, 32, YUY2);
    Fill(Out, 32, 16, YUV420);
    Fill(Converted, 64, 32, YUV420);
    Fill(Resized, 32, 16, YUV420, 0, 9);
    ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
    ASSERT_EQ(Chain.GetFrame(&In, &Converted), StatusOk);
    ASSERT_EQ(Chain.GetFrame(&Converted, &Resized), StatusOk);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(PlaneBytes(Out, i), PlaneBytes(Resized, i));
}

TEST(VideoProcessing, DeinterlacesOnlyInterlacedSources)
{
    VideoProcessing Chain;
    VideoProcessingParams Params;
    Params.m_DeinterlaceMode = 1;
    ASSERT_EQ(Chain.Init(&Params), StatusOk);
    VideoData In, Out;
    Fill(In, 16, 16, YUV420);
    Fill(Out, 16, 16, YUV420, 0, 99);
    In.SetPictureStructure(INTERLACED_FRAME);
    ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
    EXPECT_EQ(Out.GetPictureStructure(), PROGRESSIVE_FRAME);
    EXPECT_EQ(Out.Plane(0)[0], In.Plane(0)[0]);
    EXPECT_EQ(Out.Plane(0)[16], ((In.Plane(0)[0] + In.Plane(0)[32]) * 64 + In.Plane(0)[16] * 128) >> 8);
    In.SetPictureStructure(PROGRESSIVE_FRAME);
    ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
    EXPECT_EQ(PlaneBytes(Out, 0), PlaneBytes(In, 0));
}

TEST(VideoProcessing, WithoutDeinterlacingTheStructurePassesOn)
{
    VideoProcessing Chain;
    VideoData In, Out;
    Fill(In, 16, 16, YUV420);
    Fill(Out, 16, 16, YUV420);
    In.SetPictureStructure(INTERLACED_FRAME);
    ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
    EXPECT_EQ(Out.GetPictureStructure(), INTERLACED_FRAME);
}

TEST(VideoProcessing, AddedFiltersRunAtBothEnds)
{
    VideoProcessing Chain;
    CountingFilter First, Last;
    EXPECT_EQ(Chain.AddFilter(nullptr, true), StatusNullPointer);
    ASSERT_EQ(Chain.AddFilter(&Last, true), StatusOk);
    ASSERT_EQ(Chain.AddFilter(&First, false), StatusOk);
    VideoData In, Out;
    Fill(In, 64, 32, NV12);
    Fill(Out, 32, 16, YUV420);
    ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
    EXPECT_EQ(First.Calls, 1);
    EXPECT_EQ(Last.Calls, 1);
    First.Answer = StatusFailed;
    EXPECT_EQ(Chain.GetFrame(&In, &Out), StatusFailed); // ends the chain
    EXPECT_EQ(Last.Calls, 1);
}

TEST(VideoProcessing, HoldsEightFilters)
{
    VideoProcessing Chain;
    CountingFilter Filters[5];
    for (int i = 0; i < 4; ++i) EXPECT_EQ(Chain.AddFilter(&Filters[i], true), StatusOk);
    EXPECT_EQ(Chain.AddFilter(&Filters[4], true), StatusFailed);
}

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

TEST(VideoResizing, RefusesLayoutsOfMixedSamples)
{
    VideoResizing Filter;
    for (const ColorFormat Format : {NV12, YUY2, UYVY, RGB565}) {
        VideoData In, Out;
        Fill(In, 32, 16, Format);
        Fill(Out, 16, 8, Format);
        EXPECT_EQ(Filter.GetFrame(&In, &Out), StatusNotImplemented);
    }
}

TEST(VideoResizing, AFlatPictureStaysFlat)
{
    VideoResizing Filter;
    for (const ColorFormat Format : {YUV420, YUV444, RGB24, RGB32, GRAY}) {
        VideoData In, Out;
        Fill(In, 32, 16, Format);
        Fill(Out, 50, 37, Format);
        std::fill_n(static_cast<uint8_t*>(In.GetDataPointer()), In.GetMappingSize(), uint8_t{173});
        ASSERT_EQ(Filter.GetFrame(&In, &Out), StatusOk);
        for (int32_t i = 0; i < Out.GetPlaneCount(); ++i)
            for (const uint8_t Sample : PlaneBytes(Out, i)) ASSERT_EQ(Sample, 173);
    }
}
