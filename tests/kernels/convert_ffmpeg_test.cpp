// Every conversion against ffmpeg's, on a smooth picture: the order of the bytes, the planes and the matrix are those
// that others use. ffmpeg filters chroma and dithers where the kernels repeat, average and cut, so the results are near
// and not equal; the arithmetic itself is tested beside the kernels.
#include "kernels/convert/convert_rows.h"

#include "tests/support/colour_model.h"
#include "tests/support/ffmpeg_oracle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

namespace {

using namespace kernels;
using colour_model::Layout;

constexpr int kWidth = 96, kHeight = 64;

const char* FfmpegName(Layout Id)
{
    constexpr const char* kNames[]{"nv12", "yuyv422", "uyvy422", "yuv411p",  "yuv420p",  "yuv422p",
                                   "y41p", "bgra",    "bgr24",   "rgb565le", "rgb555le", "rgb444le"};
    return kNames[static_cast<size_t>(Id)];
}

// Slopes in every colour, no two the same, within what all layouts can hold.
std::vector<uint8_t> SmoothRgb24()
{
    std::vector<uint8_t> Bytes;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            Bytes.push_back(static_cast<uint8_t>(40 + x + y / 2));
            Bytes.push_back(static_cast<uint8_t>(200 - x / 2 - y));
            Bytes.push_back(static_cast<uint8_t>(60 + 2 * y - x / 4 + 20));
        }
    return Bytes;
}

// The planes of a picture that has them one behind the other; of no picture, their sizes.
template <class Planes, class Byte>
size_t Lay(Layout Id, Byte* pFirst, Planes* pOut)
{
    size_t Offset = 0;
    for (int i = 0; i < PlaneCount(Id); ++i) {
        const int Step = RowBytes(Id, i, kWidth);
        if (pOut) pOut->pPlane[i] = pFirst + Offset, pOut->Step[i] = Step;
        Offset += static_cast<size_t>(Step * Rows(Id, i, kHeight));
    }
    return Offset;
}

colour_model::Picture Read(Layout Id, const std::vector<uint8_t>& Bytes)
{
    SourcePlanes p{};
    Lay(Id, Bytes.data(), &p);
    std::array<colour_model::PlaneView, 3> Views{};
    for (size_t i = 0; i < 3; ++i) Views[i] = {p.pPlane[i], p.Step[i]};
    return colour_model::Read(Id, Views, kWidth, kHeight);
}

// In steps of each component's own bits, alpha left out: ffmpeg has none in Rgb555.
double LargestStep(const colour_model::Picture& a, const colour_model::Picture& b)
{
    double Largest = 0;
    for (size_t c = 0; c < 3; ++c)
        for (size_t i = 0; i < a.Value[c].size(); ++i)
            Largest = std::max(Largest, std::abs(a.Value[c][i] - b.Value[c][i]));
    return Largest;
}

double Bound(Layout From, Layout To)
{
    const bool bFewBits = From == Layout::Rgb565 || From == Layout::Rgb555;
    if (To > Layout::Rgb24) return 2; // both cut, and ffmpeg dithers
    if (From < Layout::Rgb32) return To < Layout::Rgb32 ? 1 : 3;
    if (To < Layout::Rgb32) return bFewBits ? 4 : 1;
    return bFewBits && To == Layout::Rgb32 ? 7 : 0; // on that way ffmpeg leaves the low bits at 0
}

class ConversionFfmpeg : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!ffmpeg_oracle::IsInstalled()) GTEST_SKIP() << "no ffmpeg";
    }
    static const std::vector<uint8_t>& SmoothPicture(Layout Id)
    {
        static std::array<std::vector<uint8_t>, 12> s_Pictures;
        std::vector<uint8_t>& Picture = s_Pictures[static_cast<size_t>(Id)];
        if (Picture.empty())
            Picture = ffmpeg_oracle::ConvertPicture(SmoothRgb24(), kWidth, kHeight, "bgr24", FfmpegName(Id));
        return Picture;
    }
    static double Compare(ConvertSig* pFn, Layout From, Layout To)
    {
        const std::vector<uint8_t>& Source = SmoothPicture(From);
        const std::vector<uint8_t> Theirs =
            ffmpeg_oracle::ConvertPicture(Source, kWidth, kHeight, FfmpegName(From), FfmpegName(To));
        std::vector<uint8_t> Ours(Lay<TargetPlanes, uint8_t>(To, nullptr, nullptr));
        EXPECT_EQ(Theirs.size(), Ours.size());
        if (Theirs.size() != Ours.size()) return 256;
        SourcePlanes In{};
        TargetPlanes Out{};
        EXPECT_EQ(Lay(From, Source.data(), &In), Source.size());
        Lay(To, Ours.data(), &Out);
        EXPECT_EQ(pFn(&In, &Out, kWidth, kHeight), kStatusOk);
        const double Largest = LargestStep(Read(To, Ours), Read(To, Theirs));
        RecordProperty("largest_difference", std::to_string(Largest));
        return Largest;
    }
};

#define CONVERSION(A, B, Tolerance, Rule)                                                                              \
    TEST_F(ConversionFfmpeg, A##To##B)                                                                                 \
    {                                                                                                                  \
        EXPECT_LE(Compare(k##A##To##B.At(Tier::px), Layout::A, Layout::B), Bound(Layout::A, Layout::B));               \
    }
#include "tests/kernels/conversions.def"
#undef CONVERSION

} // namespace
