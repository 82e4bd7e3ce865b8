// Which lines of which pictures are filtered, and how.
#include "process/video_filter.h"
#include "tests/support/test_pictures.h"

#include <gtest/gtest.h>

#include <vector>

using namespace UMC;
using test_pictures::Fill;
using test_pictures::PlaneBytes;

namespace {

constexpr ColorFormat kFormats[]{YV12, NV12, YUY2,  UYVY,  YUV411, YUV420, YUV422,  YUV444,
                                 Y411, Y41P, RGB32, RGB24, GRAY,   GRAYA,  YUVA420, YUV410};

struct Lines {
    std::vector<uint8_t> Bytes;
    size_t Step;
    size_t Count() const { return Bytes.size() / Step; }
    int At(size_t x, size_t y) const { return Bytes[y * Step + x]; }
};

Lines LinesOf(const VideoData& Picture, int32_t Plane)
{
    PlaneInfo Info{};
    EXPECT_EQ(Picture.GetPlaneInfo(&Info, Plane), StatusOk);
    return {PlaneBytes(Picture, Plane), static_cast<size_t>(Info.m_Width * Info.m_Samples)};
}

// Calls Check(in, out) for every plane of every layout, the input being of the structure.
template <class Function>
void ForEachPlane(int32_t Structure, Function&& Check)
{
    Deinterlacing Filter;
    for (const ColorFormat Format : kFormats) {
        SCOPED_TRACE(testing::Message() << "layout " << Format);
        VideoData In, Out;
        Fill(In, 36, 21, Format);
        Fill(Out, 36, 21, Format, 0, 99);
        In.SetPictureStructure(Structure);
        ASSERT_EQ(Filter.GetFrame(&In, &Out), StatusOk);
        for (int32_t i = 0; i < In.GetPlaneCount(); ++i) Check(LinesOf(In, i), LinesOf(Out, i));
    }
}

} // namespace

TEST(Deinterlacing, BlendsTheFieldsOfAFrameBelowItsFirstLine)
{
    for (const int32_t Structure : {int32_t{INTERLACED_FRAME}, 0, 9})
        ForEachPlane(Structure, [](const Lines& In, const Lines& Out) {
            for (size_t y = 0; y < In.Count(); ++y)
                for (size_t x = 0; x < In.Step; ++x) {
                    const size_t Below = y + 1 < In.Count() ? y + 1 : y - 1;
                    const int Blend = y ? (In.At(x, y - 1) + 2 * In.At(x, y) + In.At(x, Below)) / 4 : In.At(x, 0);
                    ASSERT_EQ(Out.At(x, y), Blend) << x << ", " << y;
                }
        });
}

TEST(Deinterlacing, OfOneFieldOnlyThatFieldsLinesAreRead)
{
    for (const int32_t Structure : {TOP_FIELD_ONLY, BOTTOM_FIELD_ONLY})
        ForEachPlane(Structure, [=](const Lines& In, const Lines& Out) {
            const size_t Kept = Structure == TOP_FIELD_ONLY ? 0 : 1;
            for (size_t y = 0; y < In.Count(); ++y)
                for (size_t x = 0; x < In.Step; ++x) {
                    const size_t Above = y ? y - 1 : 1, Below = y + 1 < In.Count() ? y + 1 : y - 1;
                    const int Want = y % 2 == Kept ? In.At(x, y) : (In.At(x, Above) + In.At(x, Below)) / 2;
                    ASSERT_EQ(Out.At(x, y), Want) << x << ", " << y;
                }
        });
}

TEST(Deinterlacing, AProgressivePictureIsCopied)
{
    ForEachPlane(PROGRESSIVE_FRAME, [](const Lines& In, const Lines& Out) { EXPECT_EQ(Out.Bytes, In.Bytes); });
}

TEST(Deinterlacing, PlanesOfLessThanThreeLinesAreCopied)
{
    Deinterlacing Filter;
    VideoData In, Out;
    Fill(In, 16, 4, YUV420);
    Fill(Out, 16, 4, YUV420, 0, 99);
    In.SetPictureStructure(INTERLACED_FRAME);
    ASSERT_EQ(Filter.GetFrame(&In, &Out), StatusOk);
    EXPECT_NE(PlaneBytes(Out, 0), PlaneBytes(In, 0));
    EXPECT_EQ(PlaneBytes(Out, 1), PlaneBytes(In, 1)); // two lines
    EXPECT_EQ(PlaneBytes(Out, 2), PlaneBytes(In, 2));
}

TEST(Deinterlacing, RefusesWhatItCannotFilter)
{
    Deinterlacing Filter;
    VideoData In, Out;
    MediaData Bytes(10);
    Fill(In, 16, 16, YUV420);
    Fill(Out, 16, 16, YUV420, 0, 99);
    EXPECT_EQ(Filter.GetFrame(nullptr, &Out), StatusNullPointer);
    EXPECT_EQ(Filter.GetFrame(&In, nullptr), StatusNullPointer);
    EXPECT_EQ(Filter.GetFrame(&In, &Bytes), StatusNullPointer);

    for (const auto& [Width, Height, Format] :
         {std::tuple{18, 16, YUV420}, std::tuple{16, 18, YUV420}, std::tuple{16, 16, YUV422}}) {
        VideoData Other;
        Fill(Other, Width, Height, Format);
        const auto Before = PlaneBytes(Other, 0);
        EXPECT_EQ(Filter.GetFrame(&In, &Other), StatusInvalidParamsExt);
        EXPECT_EQ(PlaneBytes(Other, 0), Before);
    }

    VideoData Deep, DeepOut, Words, WordsOut, Empty;
    Fill(Deep, 16, 16, YUV420, 10);
    Fill(DeepOut, 16, 16, YUV420, 10);
    EXPECT_EQ(Filter.GetFrame(&Deep, &DeepOut), StatusUnsupported);
    EXPECT_EQ(Filter.GetFrame(&Deep, &Out), StatusUnsupported);
    Fill(Words, 16, 16, RGB565);
    Fill(WordsOut, 16, 16, RGB565);
    EXPECT_EQ(Filter.GetFrame(&Words, &WordsOut), StatusUnsupported);
    ASSERT_EQ(Empty.Init(16, 16, YUV420), StatusOk);
    EXPECT_EQ(Filter.GetFrame(&Empty, &Out), StatusNullPointer);
    EXPECT_EQ(Filter.GetFrame(&In, &Empty), StatusNullPointer);
    In.SetPlanePitch(-16, 0);
    EXPECT_EQ(Filter.GetFrame(&In, &Out), StatusInvalidParamsExt);
}
