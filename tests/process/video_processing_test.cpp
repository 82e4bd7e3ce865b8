// The processing chain: which filters run, what they are given, and what comes out.
#include "process/video_filter.h"
#include "process/video_processing.h"
#include "tests/support/test_pictures.h"

#include <gtest/gtest.h>

using namespace UMC;
using test_pictures::Fill;
using test_pictures::PlaneBytes;

namespace {

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
    // 7 to 5 has no conversion, and neither has 7 to 12, the way round: the second refusal is final.
    VideoProcessing Chain;
    VideoData In, Out;
    Fill(In, 32, 16, YUV444);
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
