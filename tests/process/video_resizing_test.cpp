// How each layout is resized: component by component, whatever its packing, by the method that suits the change.
#include "kernels/dispatch/kernels.h"
#include "process/video_filter.h"
#include "tests/support/test_pictures.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

using namespace UMC;
using test_pictures::Fill;
using test_pictures::PlaneBytes;

namespace {

constexpr ColorFormat kFormats[]{YV12,    NV12,    YUY2,    UYVY,    YUV411, YUV420, YUV422, YUV444,
                                 YUV420M, Y411,    Y41P,    RGB32,   RGB24,  RGB565, RGB555, RGB444,
                                 GRAY,    YUVA420, YUVA422, YUVA444, YUV410, GRAYA};

// One component of a picture as bytes.
struct Component {
    int32_t Width, Height;
    std::vector<uint8_t> Samples;
    bool operator==(const Component&) const = default;
};

template <class Function>
Component Read(int32_t Width, int32_t Height, Function&& At)
{
    Component Result{Width, Height, {}};
    for (int32_t y = 0; y < Height; ++y)
        for (int32_t x = 0; x < Width; ++x) Result.Samples.push_back(At(x, y));
    return Result;
}

int32_t Divided(int32_t Size, int32_t By) { return (Size + By - 1) / By; }

// Bits from the lowest of a 16-bit pixel, widened to 8 bits by repeating them.
uint8_t Field(const uint8_t* pPixel, int Low, int Bits)
{
    uint16_t Word;
    std::memcpy(&Word, pPixel, sizeof Word);
    const int Value = Word >> Low & ((1 << Bits) - 1);
    int Wide = 0;
    for (int Have = 0; Have < 8; Have += Bits) Wide = Wide << Bits | Value;
    return static_cast<uint8_t>(Wide >> (Divided(8, Bits) * Bits - 8));
}

struct WordLayout {
    ColorFormat Format;
    int Bits[4];
};
constexpr WordLayout kWordLayouts[]{{RGB565, {5, 6, 5, 0}}, {RGB555, {5, 5, 5, 1}}, {RGB444, {4, 4, 4, 4}}};

std::vector<Component> ComponentsOf(const VideoData& p)
{
    const int32_t w = p.GetWidth(), h = p.GetHeight();
    const auto Row = [&](int32_t Plane, int32_t y) { return p.Plane(Plane) + ptrdiff_t{y} * p.Pitch(Plane); };
    // Bytes of plane 0, Bytes to a group of Count samples that lie at the places.
    const auto Packed = [&](int32_t Width, int32_t Bytes, std::vector<int> Places) {
        const auto Count = static_cast<int32_t>(Places.size());
        return Read(Width, h, [&](int32_t x, int32_t y) {
            return Row(0, y)[x / Count * Bytes + Places[static_cast<size_t>(x % Count)]];
        });
    };
    std::vector<Component> All;
    switch (p.GetColorFormat()) {
    case YUY2: return {Packed(w, 4, {0, 2}), Packed(Divided(w, 2), 4, {1}), Packed(Divided(w, 2), 4, {3})};
    case UYVY: return {Packed(w, 4, {1, 3}), Packed(Divided(w, 2), 4, {0}), Packed(Divided(w, 2), 4, {2})};
    case Y411: return {Packed(w, 6, {1, 2, 4, 5}), Packed(Divided(w, 4), 6, {0}), Packed(Divided(w, 4), 6, {3})};
    case Y41P:
        return {Packed(w, 12, {1, 3, 5, 7, 8, 9, 10, 11}), Packed(Divided(w, 4), 12, {0, 4}),
                Packed(Divided(w, 4), 12, {2, 6})};
    case RGB24: return {Packed(w, 3, {0}), Packed(w, 3, {1}), Packed(w, 3, {2})};
    case RGB32: return {Packed(w, 4, {0}), Packed(w, 4, {1}), Packed(w, 4, {2}), Packed(w, 4, {3})};
    case NV12:
        for (int i = 0; i < 2; ++i)
            All.push_back(
                Read(Divided(w, 2), Divided(h, 2), [&](int32_t x, int32_t y) { return Row(1, y)[2 * x + i]; }));
        All.insert(All.begin(), Packed(w, 1, {0}));
        return All;
    default: break;
    }
    for (const WordLayout& Layout : kWordLayouts)
        if (Layout.Format == p.GetColorFormat()) {
            for (int i = 0, Low = 0; i < 4 && Low < 16; Low += Layout.Bits[i++])
                All.push_back(
                    Read(w, h, [&](int32_t x, int32_t y) { return Field(Row(0, y) + 2 * x, Low, Layout.Bits[i]); }));
            return All;
        }
    for (int32_t i = 0; i < p.GetPlaneCount(); ++i) {
        PlaneInfo Plane{};
        p.GetPlaneInfo(&Plane, i);
        All.push_back({Plane.m_Width, Plane.m_Height, PlaneBytes(p, i)});
    }
    return All;
}

Component Resized(const Component& From, int32_t Width, int32_t Height)
{
    Component To{Width, Height, std::vector<uint8_t>(static_cast<size_t>(Width) * static_cast<size_t>(Height))};
    const double xFactor = static_cast<double>(Width) / From.Width, yFactor = static_cast<double>(Height) / From.Height;
    const auto Type = xFactor <= 0.5 && yFactor <= 0.5 ? kernels::kArea : kernels::kCubic;
    EXPECT_EQ(kernels::g_Kernels.Resize8uC1(From.Samples.data(), From.Width, From.Height, From.Width, 0, 0, From.Width,
                                            From.Height, To.Samples.data(), Width, Width, Height, xFactor, yFactor,
                                            Type),
              kernels::kStatusOk);
    return To;
}

// The value as a word of so many bits holds it.
uint8_t Rounded(uint8_t Value, int Bits)
{
    const int Most = (1 << Bits) - 1;
    const auto Word = static_cast<uint16_t>((Value * Most * 2 + 255) / 510);
    return Field(reinterpret_cast<const uint8_t*>(&Word), 0, Bits);
}

void RoundToWords(std::vector<Component>& All, ColorFormat Format)
{
    for (const WordLayout& Layout : kWordLayouts)
        if (Layout.Format == Format)
            for (size_t i = 0; i < All.size(); ++i)
                for (uint8_t& Sample : All[i].Samples) Sample = Rounded(Sample, Layout.Bits[i]);
}

struct Sizes {
    int32_t Width, Height, ToWidth, ToHeight;
};

void ExpectEachComponentResized(VideoResizing& Filter, ColorFormat Format, const Sizes& s)
{
    SCOPED_TRACE(testing::Message() << "layout " << Format << ", " << s.Width << 'x' << s.Height << " to " << s.ToWidth
                                    << 'x' << s.ToHeight);
    VideoData In, Out;
    Fill(In, s.Width, s.Height, Format);
    Fill(Out, s.ToWidth, s.ToHeight, Format, 0, 99);
    ASSERT_EQ(Filter.GetFrame(&In, &Out), StatusOk);
    const auto From = ComponentsOf(In), Got = ComponentsOf(Out);
    ASSERT_EQ(From.size(), Got.size());
    std::vector<Component> Want;
    for (size_t i = 0; i < From.size(); ++i) Want.push_back(Resized(From[i], Got[i].Width, Got[i].Height));
    RoundToWords(Want, Format);
    for (size_t i = 0; i < Want.size(); ++i) ASSERT_TRUE(Got[i] == Want[i]) << "component " << i;
}

} // namespace

TEST(VideoResizing, EveryComponentOfEveryLayoutIsResizedByItself)
{
    constexpr Sizes kSizes[]{{64, 48, 96, 72}, {64, 48, 40, 30}, {64, 48, 32, 24}, {64, 48, 16, 12}, {66, 50, 20, 9},
                             {37, 23, 51, 33}, {37, 23, 19, 11}, {37, 23, 37, 11}, {37, 23, 37, 23}, {37, 23, 1, 1},
                             {1, 1, 9, 7},     {5, 3, 2, 2},     {130, 6, 61, 12}};
    VideoResizing Filter; // one for all, so that its pictures change their size on the way
    for (const Sizes& s : kSizes)
        for (const ColorFormat Format : kFormats) ExpectEachComponentResized(Filter, Format, s);
}

TEST(VideoResizing, AHalfAndAQuarterAreMeansOfBoxes)
{
    VideoResizing Filter;
    for (const int32_t Factor : {2, 4})
        for (const ColorFormat Format : {YUV420, NV12, YUV444, RGB24, RGB32, GRAY, YUY2, Y41P}) {
            VideoData In, Out;
            Fill(In, 64, 32, Format);
            Fill(Out, 64 / Factor, 32 / Factor, Format, 0, 99);
            ASSERT_EQ(Filter.GetFrame(&In, &Out), StatusOk);
            const auto From = ComponentsOf(In), Got = ComponentsOf(Out);
            for (size_t c = 0; c < From.size(); ++c) {
                const auto Mean = [&](int32_t x, int32_t y) {
                    int Sum = Factor * Factor / 2;
                    for (int32_t j = 0; j < Factor; ++j)
                        for (int32_t i = 0; i < Factor; ++i)
                            Sum +=
                                From[c].Samples[static_cast<size_t>((y * Factor + j) * From[c].Width + x * Factor + i)];
                    return static_cast<uint8_t>(Sum / (Factor * Factor));
                };
                EXPECT_TRUE(Got[c] == Read(Got[c].Width, Got[c].Height, Mean)) << Format << ", component " << c;
            }
        }
}

TEST(VideoResizing, AFlatPictureStaysFlat)
{
    VideoResizing Filter;
    for (const ColorFormat Format : kFormats)
        for (const Sizes& s : {Sizes{32, 16, 50, 37}, {32, 16, 11, 5}}) {
            VideoData In, Out;
            Fill(In, s.Width, s.Height, Format);
            Fill(Out, s.ToWidth, s.ToHeight, Format, 0, 99);
            std::fill_n(static_cast<uint8_t*>(In.GetDataPointer()), In.GetMappingSize(), uint8_t{173});
            ASSERT_EQ(Filter.GetFrame(&In, &Out), StatusOk);
            const auto From = ComponentsOf(In), Got = ComponentsOf(Out);
            for (size_t c = 0; c < Got.size(); ++c)
                for (const uint8_t Sample : Got[c].Samples) ASSERT_EQ(Sample, From[c].Samples[0]) << Format;
        }
}

TEST(VideoResizing, ResizesTheRegionOfALargerPicture)
{
    VideoResizing Filter;
    VideoData In, Small, FromRegion, FromSmall;
    Fill(In, 64, 48, YUV420);
    Fill(Small, 32, 24, YUV420);
    for (int32_t i = 0; i < 3; ++i)
        for (int32_t y = 0; y < (i ? 12 : 24); ++y)
            std::memcpy(Small.Plane(i) + y * Small.Pitch(i),
                        In.Plane(i) + (y + (i ? 4 : 8)) * In.Pitch(i) + (i ? 8 : 16), i ? 16 : 32);
    VideoData Region(In);
    ASSERT_EQ(Region.SetRegion(16, 8, 32, 24), StatusOk);
    Fill(FromRegion, 50, 30, YUV420, 0, 99);
    Fill(FromSmall, 50, 30, YUV420, 0, 98);
    ASSERT_EQ(Filter.GetFrame(&Region, &FromRegion), StatusOk);
    ASSERT_EQ(Filter.GetFrame(&Small, &FromSmall), StatusOk);
    for (int32_t i = 0; i < 3; ++i) EXPECT_EQ(PlaneBytes(FromRegion, i), PlaneBytes(FromSmall, i));
}

TEST(VideoResizing, RefusesWhatItCannotResize)
{
    VideoResizing Filter;
    VideoData In, Out, Other, Planes, Empty;
    MediaData Bytes(10);
    Fill(In, 32, 16, YUV420);
    Fill(Out, 16, 8, YUV420, 0, 99);
    const auto Before = PlaneBytes(Out, 0);
    EXPECT_EQ(Filter.GetFrame(nullptr, &Out), StatusNullPointer);
    EXPECT_EQ(Filter.GetFrame(&In, nullptr), StatusNullPointer);
    EXPECT_EQ(Filter.GetFrame(&Bytes, &Out), StatusNullPointer);
    Fill(Other, 16, 8, YUV422);
    EXPECT_EQ(Filter.GetFrame(&In, &Other), StatusInvalidParamsExt);
    ASSERT_EQ(Planes.Init(32, 16, 3), StatusOk); // planes without a layout
    EXPECT_EQ(Filter.GetFrame(&Planes, &Planes), StatusNotImplemented);
    ASSERT_EQ(Empty.Init(32, 16, YUV420), StatusOk);
    EXPECT_EQ(Filter.GetFrame(&Empty, &Out), StatusNullPointer);
    EXPECT_EQ(Filter.GetFrame(&In, &Empty), StatusNullPointer);
    for (const int32_t Pitch : {-32, 0, 31}) {
        ASSERT_EQ(In.SetPlanePitch(Pitch, 0), StatusOk);
        EXPECT_EQ(Filter.GetFrame(&In, &Out), StatusInvalidParamsExt);
    }
    EXPECT_EQ(PlaneBytes(Out, 0), Before);
}

TEST(VideoResizing, RefusesPackedPicturesWithoutPixelsOrRows)
{
    VideoResizing Filter;
    for (const ColorFormat Format : {YUY2, UYVY, Y411, Y41P, RGB565, RGB555, RGB444}) {
        VideoData In, Out, Empty;
        Fill(In, 32, 16, Format);
        Fill(Out, 48, 20, Format, 0, 99);
        ASSERT_EQ(Empty.Init(32, 16, Format), StatusOk);
        EXPECT_EQ(Filter.GetFrame(&Empty, &Out), StatusNullPointer);
        EXPECT_EQ(Filter.GetFrame(&In, &Empty), StatusNullPointer);
        for (const int32_t Pitch : {-64, 0, 47}) {
            ASSERT_EQ(In.SetPlanePitch(Pitch, 0), StatusOk);
            EXPECT_EQ(Filter.GetFrame(&In, &Out), StatusInvalidParamsExt);
        }
    }
}

TEST(VideoResizing, RefusesDeepSamples)
{
    VideoResizing Filter;
    for (const ColorFormat Format : {YUV420, NV12, YUY2, RGB24}) {
        VideoData In, Out, Plain;
        Fill(In, 32, 16, Format, 10);
        Fill(Out, 16, 8, Format, 10);
        Fill(Plain, 16, 8, Format);
        EXPECT_EQ(Filter.GetFrame(&In, &Out), StatusUnsupported) << Format;
        EXPECT_EQ(Filter.GetFrame(&In, &Plain), StatusUnsupported) << Format;
        EXPECT_EQ(Filter.GetFrame(&Plain, &Out), StatusUnsupported) << Format;
    }
}
