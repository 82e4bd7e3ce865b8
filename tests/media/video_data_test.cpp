// VideoData: a picture in planes.
#include "media/umc_video_data.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

using namespace UMC;

namespace {

PlaneInfo PlaneOf(const VideoData& Picture, int32_t Index)
{
    PlaneInfo Info{};
    EXPECT_EQ(Picture.GetPlaneInfo(&Info, Index), StatusOk);
    return Info;
}

struct FormatCase {
    ColorFormat Format;
    int32_t Planes;
    std::vector<int32_t> Widths, Heights, Pitches; // for 18 x 6 at alignment 1
};

} // namespace

TEST(VideoData, InitRefusesWhatHasNoGeometry)
{
    VideoData Picture;
    EXPECT_EQ(Picture.Init(0, 8, 3, 8), StatusInvalidParams);
    EXPECT_EQ(Picture.Init(8, 0, 3, 8), StatusInvalidParams);
    EXPECT_EQ(Picture.Init(8, 8, 0, 8), StatusInvalidParams);
    EXPECT_EQ(Picture.Init(8, 8, 3, 7), StatusInvalidParams);
    EXPECT_EQ(Picture.Init(8, 8, static_cast<ColorFormat>(22), 8), StatusInvalidParams);
    EXPECT_EQ(Picture.Init(8, 8, NONE_FORMAT, 8), StatusInvalidParams);
    EXPECT_EQ(Picture.GetPlaneCount(), 0);
    EXPECT_EQ(Picture.GetMappingSize(), 0u);
    EXPECT_EQ(Picture.Alloc(), StatusInvalidParams);
}

TEST(VideoData, InitByPlanesSetsOnlyDepths)
{
    VideoData Picture;
    ASSERT_EQ(Picture.Init(16, 8, 3, 10), StatusOk);
    const PlaneInfo Info = PlaneOf(Picture, 2);
    EXPECT_EQ(Info.m_Samples, 1);
    EXPECT_EQ(Info.m_SampleBytes, 2);
    EXPECT_EQ(Info.m_BitDepth, 10);
    EXPECT_EQ(Info.m_Width, 0);
    EXPECT_EQ(Info.m_pPlane, nullptr);
    EXPECT_EQ(Picture.GetPictureStructure(), PROGRESSIVE_FRAME);
}

TEST(VideoData, EveryLayoutHasItsShape)
{
    const FormatCase Cases[] = {
        {YV12, 3, {18, 9, 9}, {6, 3, 3}, {18, 9, 9}},
        {NV12, 2, {18, 18}, {6, 3}, {18, 18}},
        {YUY2, 1, {9}, {6}, {36}},
        {UYVY, 1, {9}, {6}, {36}},
        {YUV411, 3, {18, 5, 5}, {6, 6, 6}, {18, 5, 5}},
        {YUV420, 3, {18, 9, 9}, {6, 3, 3}, {18, 9, 9}},
        {YUV422, 3, {18, 9, 9}, {6, 6, 6}, {18, 9, 9}},
        {YUV444, 3, {18, 18, 18}, {6, 6, 6}, {18, 18, 18}},
        {YUV420M, 3, {18, 9, 9}, {6, 3, 3}, {18, 9, 9}},
        {RGB32, 1, {18}, {6}, {72}},
        {RGB24, 1, {18}, {6}, {56}}, // the row's own alignment of 4
        {RGB565, 1, {18}, {6}, {36}},
        {RGB555, 1, {18}, {6}, {36}},
        {RGB444, 1, {18}, {6}, {36}},
        {GRAY, 1, {18}, {6}, {18}},
        {GRAYA, 2, {18, 18}, {6, 6}, {18, 18}},
        {YUVA420, 4, {18, 9, 9, 18}, {6, 3, 3, 6}, {18, 9, 9, 18}},
        {YUVA422, 4, {18, 9, 9, 18}, {6, 6, 6, 6}, {18, 9, 9, 18}},
        {YUVA444, 4, {18, 18, 18, 18}, {6, 6, 6, 6}, {18, 18, 18, 18}},
        {YUV410, 3, {18, 5, 5}, {6, 2, 2}, {18, 5, 5}},
    };
    for (const FormatCase& Case : Cases) {
        SCOPED_TRACE(Case.Format);
        VideoData Picture;
        ASSERT_EQ(Picture.Init(18, 6, Case.Format, 0), StatusOk);
        EXPECT_EQ(Picture.GetColorFormat(), Case.Format);
        ASSERT_EQ(Picture.GetPlaneCount(), Case.Planes);
        size_t Offset = 0;
        for (int32_t i = 0; i < Case.Planes; ++i) {
            const PlaneInfo Info = PlaneOf(Picture, i);
            EXPECT_EQ(Info.m_Width, Case.Widths[static_cast<size_t>(i)]);
            EXPECT_EQ(Info.m_Height, Case.Heights[static_cast<size_t>(i)]);
            EXPECT_GE(Info.m_Pitch, Case.Pitches[static_cast<size_t>(i)]);
            EXPECT_EQ(Info.m_Offset, Offset);
            Offset += Info.m_Size;
        }
        EXPECT_EQ(Picture.GetMappingSize(), Offset);
    }
}

TEST(VideoData, TheRawPictureOfTheLibraryHasNoPadding)
{
    VideoData Picture;
    ASSERT_EQ(Picture.Init(176, 144, YUV420, 8), StatusOk);
    EXPECT_EQ(Picture.GetMappingSize(), 176u * 144 * 3 / 2);
    EXPECT_EQ(PlaneOf(Picture, 1).m_Offset, 176u * 144);
    EXPECT_EQ(PlaneOf(Picture, 2).m_Pitch, 88);
}

TEST(VideoData, AnOddWidthRoundsChromaUp)
{
    VideoData Picture;
    ASSERT_EQ(Picture.Init(177, 99, YUV420, 8), StatusOk);
    EXPECT_EQ(PlaneOf(Picture, 1).m_Width, 89);
    EXPECT_EQ(PlaneOf(Picture, 1).m_Height, 50);
}

TEST(VideoData, AnAlignmentOfFourDoesNotRoundThreeBytePixelsToWholePixels)
{
    VideoData Picture;
    ASSERT_EQ(Picture.Init(5, 2, RGB24, 8), StatusOk);
    EXPECT_EQ(PlaneOf(Picture, 0).m_Pitch, 16); // 15 bytes of pixels
}

TEST(VideoData, ASmallBufferIsRecordedAndRefused)
{
    VideoData Picture;
    std::vector<uint8_t> Bytes(64);
    EXPECT_EQ(Picture.SetBufferPointer(Bytes.data(), Bytes.size()), StatusNotInitialized);
    EXPECT_EQ(Picture.GetBufferPointer(), Bytes.data());
    ASSERT_EQ(Picture.Init(8, 8, YUV420, 8), StatusOk);
    EXPECT_EQ(Picture.SetBufferPointer(Bytes.data(), 64), StatusNotEnoughBuffer);
    EXPECT_EQ(Picture.GetBufferPointer(), Bytes.data());
    Bytes.resize(96);
    EXPECT_EQ(Picture.SetBufferPointer(Bytes.data(), 96), StatusOk);
    EXPECT_EQ(Picture.GetDataSize(), 96u);
    EXPECT_EQ(Picture.Plane(2), Bytes.data() + 80);
}

TEST(VideoData, AllocHonoursTheAlignment)
{
    VideoData Picture;
    EXPECT_EQ(Picture.SetAlignment(3), StatusInvalidParams);
    ASSERT_EQ(Picture.SetAlignment(16), StatusOk);
    ASSERT_EQ(Picture.Init(20, 10, YUV420, 8), StatusOk);
    ASSERT_EQ(Picture.Alloc(), StatusOk);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(Picture.Plane(0)) % 16, 0u);
    EXPECT_EQ(Picture.Pitch(0), 32);
    EXPECT_EQ(Picture.GetDataPointer(), Picture.Plane(0));
    EXPECT_EQ(Picture.GetDataSize(), Picture.GetMappingSize());
    EXPECT_EQ(Picture.ReleaseImage(), StatusOk);
    EXPECT_EQ(Picture.Plane(0), nullptr);
    EXPECT_EQ(Picture.GetPlaneCount(), 3); // geometry stays
    EXPECT_EQ(Picture.Close(), StatusOk);
    EXPECT_EQ(Picture.GetPlaneCount(), 0);
}

TEST(VideoData, SetImagePointerLaysPlanesOutByThePitch)
{
    VideoData Picture;
    std::vector<uint8_t> Bytes(1000);
    EXPECT_EQ(Picture.SetImagePointer(nullptr, 0), StatusNullPointer);
    EXPECT_EQ(Picture.SetImagePointer(Bytes.data(), 0), StatusNotInitialized);
    ASSERT_EQ(Picture.Init(16, 8, YUV420, 8), StatusOk);
    ASSERT_EQ(Picture.SetImagePointer(Bytes.data(), 32), StatusOk);
    EXPECT_EQ(Picture.Pitch(1), 16);
    EXPECT_EQ(Picture.Plane(1), Bytes.data() + 256);
    EXPECT_EQ(Picture.Plane(2), Bytes.data() + 256 + 64);
    EXPECT_EQ(Picture.GetDataSize(), 384u);
    ASSERT_EQ(Picture.SetImagePointer(Bytes.data(), 0), StatusOk); // keeps plane 0's pitch
    EXPECT_EQ(Picture.Pitch(0), 32);
}

TEST(VideoData, GetPitchForSizeGivesTheLargestThatFits)
{
    VideoData Picture;
    EXPECT_EQ(Picture.GetPitchForSize(1000), 0u);
    ASSERT_EQ(Picture.Init(16, 8, YUV420, 8), StatusOk);
    EXPECT_EQ(Picture.GetPitchForSize(384), 32u); // 8 rows and two planes of 4 half rows
    EXPECT_EQ(Picture.GetPitchForSize(383), 31u);
}

TEST(VideoData, PlaneAccessTestsTheIndex)
{
    VideoData Picture;
    PlaneInfo Info;
    EXPECT_EQ(Picture.GetPlaneInfo(&Info, 0), StatusFailed);
    ASSERT_EQ(Picture.Init(16, 8, YUV420, 8), StatusOk);
    EXPECT_EQ(Picture.GetPlaneInfo(nullptr, 0), StatusNullPointer);
    for (const int32_t Bad : {-1, 3}) {
        EXPECT_EQ(Picture.GetPlaneInfo(&Info, Bad), StatusFailed);
        EXPECT_EQ(Picture.SetPlanePointer(&Info, Bad), StatusFailed);
        EXPECT_EQ(Picture.SetPlanePitch(1, Bad), StatusFailed);
        EXPECT_EQ(Picture.SetPlaneBitDepth(8, Bad), StatusFailed);
    }
    EXPECT_EQ(Picture.SetPlanePitch(40, 0), StatusOk);
    EXPECT_EQ(PlaneOf(Picture, 0).m_Size, 320u);
    EXPECT_EQ(Picture.SetPlaneBitDepth(10, 0), StatusOk);
    EXPECT_EQ(PlaneOf(Picture, 0).m_SampleBytes, 2);
    EXPECT_EQ(Picture.SetPlaneBitDepth(8, 0), StatusOk);
    EXPECT_EQ(PlaneOf(Picture, 0).m_SampleBytes, 2); // only ever raised
}

TEST(VideoData, ExtraPlanesAreFullSize)
{
    VideoData Picture;
    ASSERT_EQ(Picture.Init(16, 8, 4, 8), StatusOk);
    ASSERT_EQ(Picture.SetColorFormat(YUV420), StatusOk);
    EXPECT_EQ(PlaneOf(Picture, 3).m_Width, 16);
    EXPECT_EQ(PlaneOf(Picture, 3).m_Height, 8);
    EXPECT_EQ(Picture.SetColorFormat(YUVA420), StatusOk);
    VideoData Small;
    ASSERT_EQ(Small.Init(16, 8, 1, 8), StatusOk);
    EXPECT_EQ(Small.SetColorFormat(YUV420), StatusInvalidParams);
}

TEST(VideoData, ACopyNeverOwnsThePixels)
{
    VideoData Picture;
    ASSERT_EQ(Picture.Init(16, 8, YUV420, 8), StatusOk);
    ASSERT_EQ(Picture.Alloc(), StatusOk);
    Picture.SetTime(2.0, 3.0);
    Picture.SetFrameType(B_PICTURE);
    Picture.SetAspectRatio(4, 3);
    {
        VideoData Copy;
        ASSERT_EQ(Copy.Init(4, 4, GRAY, 8), StatusOk);
        ASSERT_EQ(Copy.Alloc(), StatusOk);
        Copy = Picture;
        EXPECT_EQ(Copy.Plane(2), Picture.Plane(2));
        EXPECT_EQ(Copy.GetTime(), 2.0);
        EXPECT_EQ(Copy.GetFrameType(), B_PICTURE);
        int32_t X, Y;
        Copy.GetAspectRatio(X, Y);
        EXPECT_EQ(X, 4);
        Copy = *&Copy;
        EXPECT_EQ(Copy.Plane(0), Picture.Plane(0));
    }
    Picture.Plane(0)[0] = 1; // still there
}

TEST(VideoData, ARegionNarrowsThePicture)
{
    VideoData Picture;
    ASSERT_EQ(Picture.Init(16, 8, YUV420, 8), StatusOk);
    ASSERT_EQ(Picture.Alloc(), StatusOk);
    uint8_t* const pLuma = Picture.Plane(0);
    uint8_t* const pChroma = Picture.Plane(1);
    for (const auto& [x, y, w, h] : {std::array{0, 0, 17, 8}, {-1, 0, 4, 4}, {0, 0, 0, 4}, {8, 4, 8, 5}, {0, 0, 4, -1}})
        EXPECT_EQ(Picture.SetRegion(x, y, w, h), StatusInvalidParamsExt);
    EXPECT_EQ(Picture.GetWidth(), 16);
    ASSERT_EQ(Picture.SetRegion(3, 5, 6, 2), StatusOk);
    EXPECT_EQ(Picture.Plane(0), pLuma + 5 * 16 + 3);
    EXPECT_EQ(Picture.Plane(1), pChroma + 2 * 8 + 1); // odd origins round down in chroma
    EXPECT_EQ(Picture.GetWidth(), 6);
    EXPECT_EQ(PlaneOf(Picture, 1).m_Width, 3);
    EXPECT_EQ(PlaneOf(Picture, 1).m_Height, 1);
}

TEST(VideoData, LargeAlignmentsHoldForEveryRowOfOwnedPixels)
{
    for (const int32_t Alignment : {128, 256, 4096}) {
        VideoData Picture;
        ASSERT_EQ(Picture.SetAlignment(Alignment), StatusOk);
        ASSERT_EQ(Picture.Init(100, 30, YUV420, 8), StatusOk);
        ASSERT_EQ(Picture.Alloc(), StatusOk);
        for (int32_t i = 0; i < 3; ++i) {
            EXPECT_EQ(reinterpret_cast<uintptr_t>(Picture.Plane(i)) % static_cast<uintptr_t>(Alignment), 0u);
            EXPECT_EQ(Picture.Pitch(i) % Alignment, 0);
        }
        EXPECT_EQ(Picture.GetDataPointer(), Picture.Plane(0));
        EXPECT_EQ(Picture.GetDataSize(), Picture.GetMappingSize());
        std::memset(Picture.Plane(0), 1, Picture.GetMappingSize()); // the sanitizer watches its end
    }
}

TEST(VideoData, PicturesOfChangingSizeHoldNoMoreMemory)
{
    const FailingAllocation Count(0);
    {
        VideoData Picture, Copy;
        for (int Round = 0; Round < 60; ++Round) {
            const int32_t Size = 16 + 40 * (Round * 5 % 7);
            ASSERT_EQ(Picture.SetAlignment(Round % 2 ? 1 : 128), StatusOk);
            ASSERT_EQ(Picture.Init(Size, 300 - Size, Round % 3 ? YUV420 : YUVA444, 8), StatusOk);
            EXPECT_EQ(Picture.Plane(0), nullptr) << "the pixels of another size are gone";
            ASSERT_EQ(Picture.Alloc(), StatusOk);
            ASSERT_EQ(Picture.Alloc(), StatusOk); // and again over the first
            std::memset(Picture.Plane(0), 1, Picture.GetMappingSize());
            Copy = Picture;
            EXPECT_LE(FailingAllocation::BlocksHeld(), 3); // the pixels and two arrays of planes
        }
        ASSERT_EQ(Picture.ReleaseImage(), StatusOk);
        EXPECT_LE(FailingAllocation::BlocksHeld(), 2);
    }
    EXPECT_EQ(FailingAllocation::BlocksHeld(), 0);
}

TEST(VideoData, WithoutMemoryThereIsAStatusAndNoPixels)
{
    VideoData Picture;
    {
        const FailingAllocation Fail(1);
        EXPECT_EQ(Picture.Init(32, 16, YUV420, 8), StatusAllocFailed);
    }
    EXPECT_EQ(Picture.GetPlaneCount(), 0);
    ASSERT_EQ(Picture.Init(32, 16, YUV420, 8), StatusOk);
    {
        const FailingAllocation Fail(1);
        EXPECT_EQ(Picture.Alloc(), StatusAllocFailed);
    }
    EXPECT_EQ(Picture.Plane(0), nullptr);
    {
        VideoData Copy;
        const FailingAllocation Fail(1);
        Copy = Picture;
        EXPECT_EQ(Copy.GetPlaneCount(), 0);
    }
    EXPECT_EQ(Picture.Alloc(), StatusOk);
    MediaData Bytes;
    const FailingAllocation Fail(1);
    EXPECT_EQ(Bytes.Alloc(100), StatusAllocFailed);
    EXPECT_EQ(Bytes.GetBufferSize(), 0u);
    EXPECT_EQ(Bytes.Alloc(100), StatusOk);
}
