// Every conversion against exact arithmetic, every tier against px, and the bytes around the planes.
#include "kernels/convert/convert_rows.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "tests/support/colour_model.h"
#include "tests/support/kernel_testing.h"

namespace {

using namespace kernels;
using namespace kernel_testing;
using colour_model::ChromaRule;
using colour_model::Layout;

constexpr int kWidthsFromOneTo = 34;
constexpr int kLargerWidths[]{47, 62, 63, 64, 66, 67, 97};
constexpr int kHeights[]{1, 2, 3, 4, 7, 18};
constexpr std::pair<int, int> kBeyondOneTile[]{{256, 16}, {257, 17}, {300, 33}, {513, 3}};
constexpr uint8_t kGuard = 0xA5;

// The planes of one picture, each in a buffer of its own.
struct Picture {
    Layout Id;
    int Width, Height;
    std::array<Block, 3> Plane;

    // Source: random, and not a byte to spare behind the last sample.
    Picture(TestRandom& Rng, Fill How, Layout TheId, int TheWidth, int TheHeight, size_t Shift)
        : Id(TheId), Width(TheWidth), Height(TheHeight)
    {
        for (int i = 0; i < PlaneCount(Id); ++i) {
            const int Bytes = RowBytes(Id, i, Width);
            Plane[static_cast<size_t>(i)] =
                Rng.MakeBlock(How, Bytes, Rows(Id, i, Height), Bytes + static_cast<ptrdiff_t>(Shift % 3), Shift);
        }
    }
    // Target: guard bytes in front of, behind and between the rows.
    Picture(Layout TheId, int TheWidth, int TheHeight, size_t Shift) : Id(TheId), Width(TheWidth), Height(TheHeight)
    {
        for (int i = 0; i < PlaneCount(Id); ++i) {
            Block& b = Plane[static_cast<size_t>(i)];
            b.Step = RowBytes(Id, i, Width) + static_cast<ptrdiff_t>(Shift % 2);
            b.First = 64 + Shift;
            b.Bytes.assign(b.First + static_cast<size_t>(b.Step * Rows(Id, i, Height)) + 64, kGuard);
        }
    }

    SourcePlanes Source() const
    {
        SourcePlanes p{};
        for (size_t i = 0; i < static_cast<size_t>(PlaneCount(Id)); ++i)
            p.pPlane[i] = Plane[i].At(0, 0), p.Step[i] = static_cast<int32_t>(Plane[i].Step);
        return p;
    }
    TargetPlanes Target()
    {
        TargetPlanes p{};
        for (size_t i = 0; i < static_cast<size_t>(PlaneCount(Id)); ++i)
            p.pPlane[i] = Plane[i].At(0, 0), p.Step[i] = static_cast<int32_t>(Plane[i].Step);
        return p;
    }
    colour_model::Picture Read() const
    {
        std::array<colour_model::PlaneView, 3> Views{};
        for (size_t i = 0; i < static_cast<size_t>(PlaneCount(Id)); ++i) Views[i] = {Plane[i].At(0, 0), Plane[i].Step};
        return colour_model::Read(Id, Views, Width, Height);
    }
    // Whether every byte that belongs to no row is still a guard byte.
    bool GuardsStand() const
    {
        Picture Copy = *this;
        for (int i = 0; i < PlaneCount(Id); ++i)
            for (int y = 0; y < Rows(Id, i, Height); ++y)
                std::fill_n(Copy.Plane[static_cast<size_t>(i)].At(0, y), RowBytes(Id, i, Width), kGuard);
        return std::all_of(Copy.Plane.begin(), Copy.Plane.end(), [](const Block& b) {
            return std::all_of(b.Bytes.begin(), b.Bytes.end(), [](uint8_t v) { return v == kGuard; });
        });
    }
};

struct Case {
    Layout From, To;
    double Tolerance; // levels
    ChromaRule Rule;
};

double CheckOne(ConvertSig* pFn, ConvertSig* pReference, const Case& c, const Picture& Source, size_t Shift)
{
    Picture Got(c.To, Source.Width, Source.Height, Shift), Want = Got;
    const SourcePlanes From = Source.Source();
    const TargetPlanes To = Got.Target();
    EXPECT_EQ(pFn(&From, &To, Source.Width, Source.Height), kStatusOk);
    EXPECT_TRUE(Got.GuardsStand());
    if (c.Rule != ChromaRule::Mean && Source.Width <= 2) return 0; // no interpolation at one column of chroma
    if (pFn == pReference) return LargestDifference(Convert(Source.Read(), c.To, c.Rule), Got.Read());
    const TargetPlanes Reference = Want.Target();
    EXPECT_EQ(pReference(&From, &Reference, Source.Width, Source.Height), kStatusOk);
    EXPECT_EQ(Got.Plane, Want.Plane);
    return 0;
}

void CheckStatuses(ConvertSig* pFn, const Case& c)
{
    TestRandom Rng;
    const Picture Source(Rng, Fill::Random, c.From, 6, 4, 0);
    Picture Target(c.To, 6, 4, 0);
    const auto Call = [&](auto&& Change, int Width, int Height) {
        SourcePlanes From = Source.Source();
        TargetPlanes To = Target.Target();
        Change(From, To);
        return pFn(&From, &To, Width, Height);
    };
    const SourcePlanes From = Source.Source();
    const TargetPlanes To = Target.Target();
    EXPECT_EQ(pFn(nullptr, &To, 6, 4), kStatusNullPointer);
    EXPECT_EQ(pFn(&From, nullptr, 6, 4), kStatusNullPointer);
    for (int i = 0; i < PlaneCount(c.From); ++i) {
        EXPECT_EQ(Call([i](auto& f, auto&) { f.pPlane[i] = nullptr; }, 0, 4), kStatusNullPointer);
        for (const int Step : {0, -8}) EXPECT_EQ(Call([=](auto& f, auto&) { f.Step[i] = Step; }, 6, 4), kStatusStep);
    }
    for (int i = 0; i < PlaneCount(c.To); ++i) {
        EXPECT_EQ(Call([i](auto&, auto& t) { t.pPlane[i] = nullptr; }, 6, 4), kStatusNullPointer);
        for (const int Step : {0, -8}) EXPECT_EQ(Call([=](auto&, auto& t) { t.Step[i] = Step; }, 6, 4), kStatusStep);
    }
    for (const auto& [Width, Height] : {std::pair{0, 4}, {-2, 4}, {6, 0}, {6, -4}})
        EXPECT_EQ(Call([](auto& f, auto&) { f.Step[0] = 0; }, Width, Height), kStatusSize);
    for (const Block& b : Target.Plane)
        EXPECT_TRUE(std::all_of(b.Bytes.begin(), b.Bytes.end(), [](uint8_t v) { return v == kGuard; }));
}

void CheckConversion(ConvertSig* pFn, ConvertSig* pReference, const Case& c)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    double Largest = 0;
    size_t Turn = 0;
    const auto Run = [&](Fill How, int Width, int Height) {
        SCOPED_TRACE(testing::Message() << Width << " x " << Height);
        const size_t Shift = kShifts[Turn++ % std::size(kShifts)];
        const Picture Source(Rng, How, c.From, Width, Height, Shift);
        Largest = std::max(Largest, CheckOne(pFn, pReference, c, Source, Shift));
    };
    for (const Fill How : kAllFills) {
        for (const int Height : kHeights) {
            for (int Width = 1; Width <= kWidthsFromOneTo; ++Width) Run(How, Width, Height);
            for (const int Width : kLargerWidths) Run(How, Width, Height);
        }
        for (const auto& [Width, Height] : kBeyondOneTile) Run(How, Width, Height);
    }
    EXPECT_LE(Largest, c.Tolerance);
    testing::Test::RecordProperty("largest_difference", std::to_string(Largest));
    CheckStatuses(pFn, c);
}

struct RowOfPair {
    const ConvertRow* pRow;
    Case Pair;
};
constexpr RowOfPair kRows[]{
#define CONVERSION(A, B, Tolerance, Rule) {&k##A##To##B, {Layout::A, Layout::B, Tolerance, ChromaRule::Rule}},
#include "tests/kernels/conversions.def"
#undef CONVERSION
    {&kCopyYuv422, {Layout::Yuv422, Layout::Yuv422, 0, ChromaRule::Mean}}};

// A suite for each row, as KERNEL_TEST makes one.
[[maybe_unused]] const bool s_bTested = [] {
    for (const RowOfPair& Row : kRows)
        AddKernelTests(
            *Row.pRow, [&Row](ConvertSig* pFn, ConvertSig* pReference) { CheckConversion(pFn, pReference, Row.Pair); },
            __FILE__, __LINE__);
    return true;
}();

void CheckNarrow(NarrowSig* pFn, NarrowSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (const int Depth : {8, 9, 10, 12, 14, 15, 16})
            for (const int Width : {1, 2, 15, 16, 17, 40})
                for (const size_t Shift : kShifts) {
                    const Block Source = Rng.MakeBlock(How, Width * 2, 3, Width * 2 + 3, Shift);
                    Block Want{std::vector<uint8_t>(Shift + static_cast<size_t>(Width + 5) * 3, kGuard), Shift,
                               Width + 5};
                    Block Got = Want;
                    EXPECT_EQ(pReference(Source.At(0, 0), Source.Step, Want.At(0, 0), Want.Step, Width, 3, Depth),
                              kStatusOk);
                    EXPECT_EQ(pFn(Source.At(0, 0), Source.Step, Got.At(0, 0), Got.Step, Width, 3, Depth), kStatusOk);
                    ASSERT_EQ(Got.Bytes, Want.Bytes) << Width << " samples of " << Depth << " bits";
                    for (int y = 0; y < 3; ++y)
                        for (int x = Width; x < Width + 5; ++x) ASSERT_EQ(*Got.At(x, y), kGuard);
                }
    uint8_t From[4]{1, 0, 1, 0}, To[2]{7, 7};
    EXPECT_EQ(pFn(nullptr, 4, To, 2, 2, 1, 10), kStatusNullPointer);
    EXPECT_EQ(pFn(From, 4, nullptr, 2, 2, 1, 10), kStatusNullPointer);
    for (const auto& [Width, Height] : {std::pair{0, 1}, {-1, 1}, {2, 0}, {2, -1}})
        EXPECT_EQ(pFn(From, 0, To, 2, Width, Height, 10), kStatusSize);
    EXPECT_EQ(pFn(From, 0, To, 2, 2, 1, 10), kStatusStep);
    EXPECT_EQ(pFn(From, 4, To, -2, 2, 1, 10), kStatusStep);
    EXPECT_EQ(To[0], 7);
}
KERNEL_TEST(Narrow16uTo8u, CheckNarrow);

// Every 16-bit value at every depth, against the rounded quotient.
TEST(Narrow16uTo8uReference, RoundsAHalfUpAndSaturates)
{
    std::vector<uint16_t> Values(65536);
    for (size_t i = 0; i < Values.size(); ++i) Values[i] = static_cast<uint16_t>(i);
    std::vector<uint8_t> Out(Values.size());
    for (const Tier t : FilledTiers(kNarrow16uTo8u))
        for (int Depth = 7; Depth <= 17; ++Depth) {
            if (t > CpuTier()) continue;
            ASSERT_EQ(kNarrow16uTo8u.At(t)(reinterpret_cast<const uint8_t*>(Values.data()), 131072, Out.data(), 65536,
                                           65536, 1, Depth),
                      kStatusOk);
            for (size_t i = 0; i < Values.size(); ++i) {
                const double Quotient = static_cast<double>(i) / std::exp2(std::clamp(Depth, 8, 16) - 8);
                ASSERT_EQ(Out[i], std::min(std::floor(Quotient + 0.5), 255.0)) << i << " of " << Depth << " bits";
            }
        }
}

} // namespace
