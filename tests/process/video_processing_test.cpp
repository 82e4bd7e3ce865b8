// The processing chain: which filters run, what they are given, and what comes out.
#include "process/video_filter.h"
#include "process/video_processing.h"
#include "tests/support/test_pictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <vector>

using namespace UMC;
using test_pictures::Fill;
using test_pictures::PlaneBytes;

namespace {

// A filter that copies and remembers how it was called.
class CountingFilter : public ColorSpaceConversion
{
public:
    Status GetFrame(MediaData* pInput, MediaData* pOutput) override
    {
        ++Calls;
        pSource = DynamicCast<VideoData>(pInput)->Plane(0);
        bApart = pSource != DynamicCast<VideoData>(pOutput)->Plane(0);
        return Answer == StatusOk ? ColorSpaceConversion::GetFrame(pInput, pOutput) : Answer;
    }
    int Calls = 0;
    const uint8_t* pSource = nullptr; // the first plane of the last call
    bool bApart = true;               // from the target's
    Status Answer = StatusOk;
};

// One call gives what two calls give by way of Between.
void ExpectByWayOf(VideoProcessing& Chain, VideoData& In, VideoData& Between, VideoData& Out)
{
    VideoData Expected;
    Fill(Expected, Out.GetWidth(), Out.GetHeight(), Out.GetColorFormat(), 0, 9);
    ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
    ASSERT_EQ(Chain.GetFrame(&In, &Between), StatusOk);
    ASSERT_EQ(Chain.GetFrame(&Between, &Expected), StatusOk);
    for (int32_t i = 0; i < Out.GetPlaneCount(); ++i) EXPECT_EQ(PlaneBytes(Out, i), PlaneBytes(Expected, i));
}

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
    VideoData Nv12, Rgb, Planar;
    Fill(Nv12, 32, 16, NV12);
    Fill(Rgb, 32, 16, RGB24);
    Fill(Planar, 32, 16, YUV420);
    ExpectByWayOf(Chain, Nv12, Planar, Rgb);
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
    VideoData In, Out, Converted;
    Fill(In, 64, 32, YUY2);
    Fill(Out, 32, 16, YUV420);
    Fill(Converted, 64, 32, YUV420);
    ExpectByWayOf(Chain, In, Converted, Out);
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

TEST(VideoProcessing, WithEightFiltersNoFilterWorksInPlace)
{
    // Four filters around the chain's own four: deinterlacing, the way round by format 5, conversion, resizing.
    VideoProcessing Chain;
    VideoProcessingParams Params;
    Params.m_DeinterlaceMode = 1;
    ASSERT_EQ(Chain.Init(&Params), StatusOk);
    CountingFilter Filters[4];
    for (int i = 0; i < 4; ++i) ASSERT_EQ(Chain.AddFilter(&Filters[i], i % 2 == 1), StatusOk);
    VideoData In, Out;
    Fill(In, 33, 17, NV12);
    Fill(Out, 20, 30, RGB24);
    In.SetPictureStructure(INTERLACED_FRAME);
    std::vector<uint8_t> First;
    for (int Frame = 0; Frame < 4; ++Frame) {
        ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
        if (Frame == 0) First = PlaneBytes(Out, 0);
        EXPECT_EQ(PlaneBytes(Out, 0), First);
        for (const CountingFilter& Filter : Filters) {
            EXPECT_EQ(Filter.Calls, Frame + 1);
            EXPECT_TRUE(Filter.bApart);
        }
    }
    // The same by one filter after the other.
    VideoData Blended, Planar, Rgb, Expected;
    Fill(Blended, 33, 17, NV12);
    Fill(Planar, 33, 17, YUV420);
    Fill(Rgb, 33, 17, RGB24);
    Fill(Expected, 20, 30, RGB24);
    ASSERT_EQ(Deinterlacing().GetFrame(&In, &Blended), StatusOk);
    ASSERT_EQ(ColorSpaceConversion().GetFrame(&Blended, &Planar), StatusOk);
    ASSERT_EQ(ColorSpaceConversion().GetFrame(&Planar, &Rgb), StatusOk);
    ASSERT_EQ(VideoResizing().GetFrame(&Rgb, &Expected), StatusOk);
    EXPECT_EQ(First, PlaneBytes(Expected, 0));
}

TEST(VideoProcessing, WorkPicturesServeTheNextFrameToo)
{
    // By way of format 5, and resized: three work pictures of three layouts, none of them made anew.
    VideoProcessing Chain;
    CountingFilter Last;
    ASSERT_EQ(Chain.AddFilter(&Last, true), StatusOk);
    VideoData In, Out;
    Fill(In, 64, 48, NV12);
    Fill(Out, 32, 20, RGB24);
    ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
    const uint8_t* const pResized = Last.pSource;
    for (int Frame = 0; Frame < 5; ++Frame) {
        ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
        EXPECT_EQ(Last.pSource, pResized);
    }
}

TEST(VideoProcessing, AnAddedFilterAtTheFrontMovesTheOthers)
{
    VideoProcessing Chain;
    CountingFilter Filters[4];
    for (CountingFilter& Filter : Filters) ASSERT_EQ(Chain.AddFilter(&Filter, false), StatusOk);
    EXPECT_EQ(Chain.AddFilter(&Filters[0], false), StatusFailed);
    VideoData In, Out, Expected;
    Fill(In, 64, 32, YUY2);
    Fill(Out, 32, 16, YUV420);
    Fill(Expected, 32, 16, YUV420, 0, 9);
    ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
    ASSERT_EQ(VideoProcessing().GetFrame(&In, &Expected), StatusOk);
    for (int32_t i = 0; i < 3; ++i) EXPECT_EQ(PlaneBytes(Out, i), PlaneBytes(Expected, i));
}

TEST(VideoProcessing, WithAFilterAddedTheExchangeOfChromaNeedsNoConversion)
{
    for (const auto& [From, To] : {std::pair{YUV420, YV12}, std::pair{YV12, YUV420}}) {
        VideoProcessing Chain;
        CountingFilter Filter;
        ASSERT_EQ(Chain.AddFilter(&Filter, true), StatusOk);
        VideoData In, Out;
        Fill(In, 22, 14, From);
        Fill(Out, 22, 14, To, 0, 9);
        ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
        EXPECT_EQ(Filter.pSource, In.Plane(0)); // nothing ran before it
        EXPECT_EQ(PlaneBytes(Out, 1), PlaneBytes(In, 2));
        EXPECT_EQ(PlaneBytes(Out, 2), PlaneBytes(In, 1));
    }
}

TEST(VideoProcessing, CopiesWhatTravelsWithAPicture)
{
    VideoProcessing Chain;
    VideoData In, Out;
    Fill(In, 20, 10, YUV420);
    Fill(Out, 20, 10, NV12);
    for (int32_t Type = 0; Type <= 4; ++Type) {
        In.SetFrameType(Type);
        In.SetTime(Type + 0.25, Type + 0.5);
        Out.SetDataSize(3);
        ASSERT_EQ(Chain.GetFrame(&In, &Out), StatusOk);
        double Start, End;
        Out.GetTime(Start, End);
        EXPECT_EQ(Out.GetFrameType(), Type);
        EXPECT_EQ(Start, Type + 0.25);
        EXPECT_EQ(End, Type + 0.5);
        EXPECT_EQ(Out.GetDataSize(), Out.GetMappingSize());
    }
    // A chain that fails has copied them too, and leaves the data size.
    In.SetFrameType(I_PICTURE);
    VideoData Refusing;
    Fill(Refusing, 20, 10, YUV410);
    Refusing.SetDataSize(3);
    EXPECT_EQ(Chain.GetFrame(&In, &Refusing), StatusNotImplemented);
    EXPECT_EQ(Refusing.GetFrameType(), I_PICTURE);
    EXPECT_EQ(Refusing.GetDataSize(), 3u);
}

TEST(VideoProcessing, CropsEveryLayoutAtOddCoordinates)
{
    // What is cropped and converted in one call is what a plain copy of the region would give: origins rounded down.
    struct {
        ColorFormat Format;
        int32_t Columns, Rows; // of the pixels that one chroma sample or group stands for
    } const Layouts[]{{YUV420, 2, 2}, {YV12, 2, 2}, {NV12, 2, 2}, {YUV422, 2, 1}, {YUV411, 4, 1},
                      {YUY2, 2, 1},   {UYVY, 2, 1}, {Y41P, 8, 1}, {RGB24, 1, 1},  {RGB565, 1, 1}};
    for (const auto& Layout : Layouts) {
        SCOPED_TRACE(Layout.Format);
        VideoData Whole, Region;
        Fill(Whole, 45, 27, Layout.Format);
        constexpr int32_t X = 13, Y = 7, Width = 21, Height = 11;
        const bool bPacked = Whole.GetPlaneCount() == 1;
        ASSERT_EQ(Region.Init(Width, Height, Layout.Format, 0), StatusOk);
        for (int32_t i = 0; i < Whole.GetPlaneCount(); ++i) {
            PlaneInfo Info{};
            ASSERT_EQ(Whole.GetPlaneInfo(&Info, i), StatusOk);
            const int32_t Columns = i || bPacked ? Layout.Columns : 1, Rows = i ? Layout.Rows : 1;
            const int32_t Bytes = Info.m_Samples * Info.m_SampleBytes * (Layout.Format == NV12 && i ? 2 : 1);
            Region.SetPlanePointer(Whole.Plane(i) + X / Columns * Bytes + Y / Rows * Info.m_Pitch, i);
            Region.SetPlanePitch(Info.m_Pitch, i);
        }
        VideoProcessing Chain, Plain;
        VideoProcessingParams Params;
        Params.m_CropX = X, Params.m_CropY = Y, Params.m_CropWidth = Width, Params.m_CropHeight = Height;
        ASSERT_EQ(Chain.Init(&Params), StatusOk);
        for (const ColorFormat To : {YUV420, Layout.Format}) {
            VideoData Out, Expected;
            Fill(Out, Width, Height, To);
            Fill(Expected, Width, Height, To);
            ASSERT_EQ(Chain.GetFrame(&Whole, &Out), StatusOk);
            ASSERT_EQ(Plain.GetFrame(&Region, &Expected), StatusOk);
            for (int32_t i = 0; i < Out.GetPlaneCount(); ++i) EXPECT_EQ(PlaneBytes(Out, i), PlaneBytes(Expected, i));
        }
    }
}

TEST(VideoProcessing, RefusesARegionBeyondThePicture)
{
    struct {
        int16_t X, Y, Width, Height;
        Status Expected;
    } const Regions[]{{0, 0, 16, 12, StatusOk},
                      {15, 11, 1, 1, StatusOk},
                      {1, 0, 16, 12, StatusInvalidParamsExt},
                      {0, 1, 16, 12, StatusInvalidParamsExt},
                      {-1, 0, 4, 4, StatusInvalidParamsExt},
                      {0, -1, 4, 4, StatusInvalidParamsExt},
                      {0, 0, 0, 4, StatusInvalidParamsExt},
                      {0, 0, 4, -4, StatusInvalidParamsExt},
                      {32767, 0, 32767, 1, StatusInvalidParamsExt},
                      {16, 0, 1, 1, StatusInvalidParamsExt}};
    for (const auto& Region : Regions) {
        VideoProcessing Chain;
        VideoProcessingParams Params;
        Params.m_CropX = Region.X, Params.m_CropY = Region.Y;
        Params.m_CropWidth = Region.Width, Params.m_CropHeight = Region.Height;
        ASSERT_EQ(Chain.Init(&Params), StatusOk);
        VideoData In, Out;
        Fill(In, 16, 12, YUV420);
        Fill(Out, std::max<int32_t>(Region.Width, 1), std::max<int32_t>(Region.Height, 1), YUV420, 0, 9);
        EXPECT_EQ(Chain.GetFrame(&In, &Out), Region.Expected)
            << Region.X << ", " << Region.Y << ", " << Region.Width << " x " << Region.Height;
    }
}

TEST(VideoProcessing, DeepPicturesAreNarrowedOnTheWayRound)
{
    // 10 bits have no conversion to RGB; format 0, the way round, is a copy that narrows.
    VideoProcessing Chain;
    VideoData Deep, Narrow, Rgb;
    Fill(Deep, 22, 14, YUV420, 10);
    for (int32_t i = 0; i < 3; ++i)
        for (size_t k = 1; k < Deep.GetMappingSize() / 2; k += 2) Deep.Plane(0)[k] &= 3;
    Fill(Narrow, 22, 14, YUV420);
    Fill(Rgb, 22, 14, RGB32);
    ExpectByWayOf(Chain, Deep, Narrow, Rgb);
}

TEST(VideoProcessing, ClassesAreKnownByTheirNames)
{
    VideoProcessing Chain;
    VideoProcessingParams Params;
    ColorSpaceConversion Conversion;
    VideoResizing Resizing;
    Deinterlacing Blend;
    const auto Named = [](const char* pName) {
        static const char* s_pName;
        s_pName = pName;
        return +[] { return s_pName; };
    };
    EXPECT_TRUE(Chain.IsTypeOfName(Named("VideoProcessing")));
    EXPECT_TRUE(Params.IsTypeOfName(Named("VideoProcessingParams")));
    EXPECT_TRUE(Params.IsTypeOfName(Named("BaseCodecParams")));
    EXPECT_TRUE(Conversion.IsTypeOfName(Named("ColorSpaceConversion")));
    EXPECT_TRUE(Resizing.IsTypeOfName(Named("VideoResizing")));
    EXPECT_TRUE(Blend.IsTypeOfName(Named("Deinterlacing")));
    for (BaseCodec* pCodec : std::initializer_list<BaseCodec*>{&Chain, &Conversion, &Resizing, &Blend}) {
        EXPECT_TRUE(pCodec->IsTypeOfName(Named("BaseCodec")));
        EXPECT_FALSE(pCodec->IsTypeOfName(Named("VideoDecoder")));
        EXPECT_EQ(DynamicCast<VideoProcessing>(pCodec), pCodec == &Chain ? &Chain : nullptr);
    }
}

namespace {

// A picture of planes that each have a buffer of their own: a source without a byte to spare, a target with guards.
class GuardedPicture
{
public:
    GuardedPicture(std::mt19937& Engine, int32_t Width, int32_t Height, ColorFormat Format, int32_t Depth, int32_t Gap,
                   bool bGuards)
    {
        EXPECT_EQ(Picture.Init(Width, Height, Format, Depth), StatusOk);
        for (int32_t i = 0; i < Picture.GetPlaneCount(); ++i) {
            PlaneInfo Info{};
            Picture.GetPlaneInfo(&Info, i);
            const bool bPairs = Format == NV12 && i == 1;
            m_RowBytes.push_back((bPairs ? (Width + 1) / 2 * 2 : Info.m_Width * Info.m_Samples) * Info.m_SampleBytes);
            const int32_t Pitch = m_RowBytes.back() + Gap;
            const auto Bytes = static_cast<size_t>(Pitch * Info.m_Height - (bGuards ? 0 : Gap));
            m_Buffers.emplace_back(Bytes + (bGuards ? 2 * kMargin : 0));
            for (uint8_t& Byte : m_Buffers.back()) Byte = bGuards ? kGuard : static_cast<uint8_t>(Engine());
            Picture.SetPlanePointer(m_Buffers.back().data() + (bGuards ? kMargin : 0), i);
            Picture.SetPlanePitch(Pitch, i);
        }
    }
    bool GuardsStand() const
    {
        for (size_t i = 0; i < m_Buffers.size(); ++i) {
            std::vector<uint8_t> Rest = m_Buffers[i];
            PlaneInfo Info{};
            Picture.GetPlaneInfo(&Info, static_cast<int32_t>(i));
            for (int32_t y = 0; y < Info.m_Height; ++y)
                std::fill_n(Rest.data() + kMargin + ptrdiff_t{y} * Info.m_Pitch, m_RowBytes[i], kGuard);
            if (Rest != std::vector<uint8_t>(Rest.size(), kGuard)) return false;
        }
        return true;
    }
    VideoData Picture;

private:
    static constexpr uint8_t kGuard = 0xA5;
    static constexpr size_t kMargin = 64;
    std::vector<std::vector<uint8_t>> m_Buffers;
    std::vector<int32_t> m_RowBytes;
};

} // namespace

TEST(VideoProcessing, AnyPictureGivesAStatusAndTouchesNothingElse)
{
    std::mt19937 Engine(20264);
    const auto Range = [&](int Least, int Most) { return std::uniform_int_distribution<int>(Least, Most)(Engine); };
    const std::set<Status> Known{StatusOk, StatusNotImplemented, StatusInvalidParamsExt, StatusUnsupported};
    std::map<Status, int> Seen;
    VideoProcessing Chain; // one object, so that its work pictures change too
    for (int Round = 0; Round < 4000; ++Round) {
        const auto From = static_cast<ColorFormat>(Range(0, 21)), To = static_cast<ColorFormat>(Range(0, 21));
        const int32_t Width = Range(1, 40), Height = Range(1, 40);
        VideoProcessingParams Params;
        if (Range(0, 2) == 0) {
            Params.m_CropX = static_cast<int16_t>(Range(0, 20)), Params.m_CropY = static_cast<int16_t>(Range(0, 20));
            Params.m_CropWidth = static_cast<int16_t>(Range(1, 20));
            Params.m_CropHeight = static_cast<int16_t>(Range(1, 20));
        }
        Params.m_DeinterlaceMode = static_cast<uint32_t>(Range(0, 1));
        ASSERT_EQ(Chain.SetParams(&Params), StatusOk);
        const bool bResize = Range(0, 1) == 0;
        const int32_t OutWidth = bResize ? Range(1, 40) : Params.m_CropWidth ? Params.m_CropWidth : Width;
        const int32_t OutHeight = bResize ? Range(1, 40) : Params.m_CropHeight ? Params.m_CropHeight : Height;
        GuardedPicture In(Engine, Width, Height, From, Range(0, 9) ? 0 : 10, Range(0, 2), false);
        GuardedPicture Out(Engine, OutWidth, OutHeight, To, Range(0, 9) ? 0 : 10, Range(0, 2), true);
        In.Picture.SetPictureStructure(Range(0, 8));
        const Status Result = Chain.GetFrame(&In.Picture, &Out.Picture);
        ASSERT_TRUE(Known.contains(Result)) << Result;
        ASSERT_TRUE(Out.GuardsStand()) << From << " to " << To << ", " << Width << " x " << Height << " to " << OutWidth
                                       << " x " << OutHeight;
        ++Seen[Result];
    }
    EXPECT_EQ(Seen.size(), Known.size());
    EXPECT_GT(Seen[StatusOk], 800);
}
