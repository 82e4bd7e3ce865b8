// What the processing chain needs beside its two pictures: work pictures, conversions, memory.
#include "process/video_filter.h"
#include "process/video_processing.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/test_pictures.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

using namespace UMC;
using test_pictures::Fill;
using test_pictures::PlaneBytes;

namespace {

size_t RequestsOf(BaseCodec& Filter, VideoData& In, VideoData& Out)
{
    const FailingAllocation Count(0);
    EXPECT_EQ(Filter.GetFrame(&In, &Out), StatusOk);
    return FailingAllocation::Requests();
}

// Halves every sample: a change that shows where in the chain it was made.
class HalvingFilter : public VideoFilter
{
public:
    Status GetFrame(MediaData* pInput, MediaData* pOutput) override
    {
        auto& In = *DynamicCast<VideoData>(pInput);
        auto& Out = *DynamicCast<VideoData>(pOutput);
        Width = In.GetWidth();
        Format = In.GetColorFormat();
        TargetFormat = Out.GetColorFormat();
        if (const Status Result = ColorSpaceConversion().GetFrame(pInput, pOutput); Result != StatusOk) return Result;
        PlaneInfo Plane;
        Out.GetPlaneInfo(&Plane, 0);
        for (int32_t y = 0; y < Plane.m_Height; ++y)
            for (int32_t x = 0; x < Plane.m_Width * Plane.m_Samples; ++x) Plane.m_pPlane[y * Plane.m_Pitch + x] /= 2;
        return StatusOk;
    }
    int32_t Width = 0;
    ColorFormat Format = NONE_FORMAT, TargetFormat = NONE_FORMAT;
};

} // namespace

TEST(VideoProcessingWork, EqualFormatAndSizeNeedsNoMemory)
{
    VideoProcessing Chain;
    VideoData In, Out, Swapped;
    Fill(In, 64, 48, YUV420);
    Fill(Out, 64, 48, YUV420);
    Fill(Swapped, 64, 48, YV12);
    EXPECT_EQ(RequestsOf(Chain, In, Out), 0u);
    EXPECT_EQ(RequestsOf(Chain, In, Swapped), 0u); // a copy with the chroma planes exchanged
}

TEST(VideoProcessingWork, AResizeAloneNeedsNoWorkPictureNorOneWithTheChromaPlanesExchanged)
{
    for (const auto& [From, To] : {std::pair{YUV420, YV12}, std::pair{YV12, YUV420}}) {
        VideoProcessing Chain;
        VideoData In, Plain, Swapped, Other;
        Fill(In, 64, 48, From);
        Fill(Plain, 40, 30, From);
        Fill(Swapped, 40, 30, To);
        Fill(Other, 40, 30, YUV422);
        VideoResizing Alone;
        RequestsOf(Alone, In, Plain);
        const size_t Resize = RequestsOf(Alone, In, Plain);
        EXPECT_EQ(RequestsOf(Chain, In, Plain), Resize);
        EXPECT_EQ(RequestsOf(Chain, In, Swapped), Resize + 1); // the records of three planes, made once
        EXPECT_EQ(RequestsOf(Chain, In, Swapped), Resize);
        EXPECT_EQ(RequestsOf(Chain, In, Other), Resize + 2); // a conversion has a work picture
        EXPECT_EQ(RequestsOf(Chain, In, Other), Resize);
    }
}

TEST(VideoProcessingWork, PicturesOfChangingSizeComeOutAsFromAFreshChainAndHoldNoMoreMemory)
{
    struct Case {
        int32_t Width, Height, OutWidth, OutHeight;
        ColorFormat From, To;
    };
    constexpr Case kCases[] = {
        {64, 48, 32, 20, NV12, RGB24}, {32, 20, 64, 48, NV12, RGB24}, {64, 48, 32, 20, NV12, RGB24},
        {64, 48, 64, 48, NV12, RGB24}, {48, 64, 20, 32, RGB24, NV12}, {64, 48, 32, 20, RGB24, NV12},
        {64, 48, 16, 12, NV12, RGB32}, {33, 17, 21, 40, YUY2, RGB24}, {64, 32, 32, 20, NV12, RGB24},
        {64, 60, 32, 20, NV12, RGB24}, {48, 60, 32, 20, NV12, RGB24}};
    VideoProcessing Chain;
    ptrdiff_t Most = 0;
    for (int Round = 0; Round < 3; ++Round)
        for (const Case& c : kCases) {
            VideoData In, Out, Expected;
            Fill(In, c.Width, c.Height, c.From);
            Fill(Out, c.OutWidth, c.OutHeight, c.To, 0, 99);
            Fill(Expected, c.OutWidth, c.OutHeight, c.To, 0, 7);
            ASSERT_EQ(VideoProcessing().GetFrame(&In, &Expected), StatusOk);
            const FailingAllocation Count(0);
            ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
            Most += FailingAllocation::BlocksHeld();
            for (int32_t i = 0; i < Out.GetPlaneCount(); ++i)
                EXPECT_EQ(PlaneBytes(Out, i), PlaneBytes(Expected, i)) << &c - kCases;
        }
    EXPECT_LE(Most, 3 * 2 + 2 * 2 + 2); // three work pictures, the resizing's two, two descriptions
}

TEST(VideoProcessingWork, AFilterAtTheFrontWorksOnTheSourceBeforeAllElse)
{
    VideoProcessing Chain;
    HalvingFilter First;
    ASSERT_EQ(Chain.AddFilter(&First, false), StatusOk);
    VideoData In, Out, Halved, Expected;
    Fill(In, 64, 32, NV12);
    Fill(Out, 32, 16, RGB24, 0, 99);
    Fill(Halved, 64, 32, NV12);
    Fill(Expected, 32, 16, RGB24, 0, 7);
    ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
    EXPECT_EQ(First.Width, 64);
    EXPECT_EQ(First.Format, NV12);
    EXPECT_EQ(First.TargetFormat, NV12); // neither the conversion's slot nor the resize's
    ASSERT_EQ(First.GetFrame(&In, &Halved), StatusOk);
    ASSERT_EQ(VideoProcessing().GetFrame(&Halved, &Expected), StatusOk);
    EXPECT_EQ(PlaneBytes(Out, 0), PlaneBytes(Expected, 0));
}

TEST(VideoProcessingWork, AFilterAtTheFrontLeavesDeinterlacingItsOwnFlag)
{
    VideoProcessing Chain;
    VideoProcessingParams Params;
    Params.m_DeinterlaceMode = 1;
    ASSERT_EQ(Chain.Init(&Params), StatusOk);
    HalvingFilter First;
    ASSERT_EQ(Chain.AddFilter(&First, false), StatusOk);
    VideoData In, Out, Halved, Expected;
    Fill(In, 32, 16, YUV420);
    In.SetPictureStructure(INTERLACED_FRAME);
    Fill(Out, 32, 16, YUV420, 0, 99);
    Fill(Halved, 32, 16, YUV420);
    Fill(Expected, 32, 16, YUV420, 0, 7);
    ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
    EXPECT_EQ(Out.GetPictureStructure(), PROGRESSIVE_FRAME);
    ASSERT_EQ(First.GetFrame(&In, &Halved), StatusOk);
    Halved.SetPictureStructure(INTERLACED_FRAME);
    ASSERT_EQ(Deinterlacing().GetFrame(&Halved, &Expected), StatusOk);
    for (int32_t i = 0; i < 3; ++i) EXPECT_EQ(PlaneBytes(Out, i), PlaneBytes(Expected, i)) << i;
}

TEST(VideoProcessingWork, EachRequestThatFailsEndsInAStatusAndTheNextFrameIsWhole)
{
    VideoData In, Out, Expected;
    Fill(In, 64, 48, NV12);
    Fill(Expected, 30, 20, RGB24);
    ASSERT_EQ(VideoProcessing().GetFrame(&In, &Expected), StatusOk);
    size_t n = 1;
    for (bool bFailed = true; bFailed; ++n) {
        VideoProcessing Chain;
        Fill(Out, 30, 20, RGB24, 0, 99);
        {
            const FailingAllocation Fail(n);
            const Status Result = Chain.GetFrame(&In, &Out);
            bFailed = Fail.Failed();
            EXPECT_TRUE(bFailed ? Result != StatusOk : Result == StatusOk) << n << " " << Result;
        }
        EXPECT_EQ(Chain.GetFrame(&In, &Out), StatusOk) << n;
        EXPECT_EQ(PlaneBytes(Out, 0), PlaneBytes(Expected, 0)) << n;
    }
    EXPECT_GT(n, 4u);
}
