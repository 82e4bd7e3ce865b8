#include "kernels/resize/resize_rows.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/support/kernel_testing.h"

namespace {

using namespace kernels;
using namespace kernel_testing;

// A resize of a region of a picture of Width x Height pixels.
struct Task {
    int Width, Height;
    int RegionX, RegionY, RegionWidth, RegionHeight;
    int ToWidth, ToHeight;
    double xFactor, yFactor;
    int Type;
};

Task Whole(int Width, int Height, int ToWidth, int ToHeight, int Type)
{
    return {Width,
            Height,
            0,
            0,
            Width,
            Height,
            ToWidth,
            ToHeight,
            static_cast<double>(ToWidth) / Width,
            static_cast<double>(ToHeight) / Height,
            Type};
}

std::string Text(const Task& t)
{
    return testing::PrintToString(std::vector<double>{
        double(t.Width), double(t.Height), double(t.RegionX), double(t.RegionY), double(t.RegionWidth),
        double(t.RegionHeight), double(t.ToWidth), double(t.ToHeight), t.xFactor, t.yFactor, double(t.Type)});
}

int32_t Apply(ResizeSig* pFn, const Task& t, const Block& Source, Block& Target)
{
    return pFn(Source.At(0, 0), t.Width, t.Height, Source.Step, t.RegionX, t.RegionY, t.RegionWidth, t.RegionHeight,
               Target.At(0, 0), Target.Step, t.ToWidth, t.ToHeight, t.xFactor, t.yFactor, t.Type);
}

// A target that ends with its last sample, between rows of guard bytes.
Block MakeTarget(int Bytes, int Height, size_t Shift)
{
    const ptrdiff_t Step = Bytes + 5;
    return {std::vector<uint8_t>(
                Shift + static_cast<size_t>(Step) * static_cast<size_t>(Height - 1) + static_cast<size_t>(Bytes), 0xA5),
            Shift, Step};
}

constexpr std::pair<int, int> kSizes[]{{1, 1}, {1, 7}, {2, 2}, {3, 1}, {5, 9}, {17, 4}, {20, 14}, {33, 31}, {64, 24}};

std::vector<Task> AllTasks()
{
    std::vector<Task> Tasks;
    for (const int Type : {kCubic, kArea}) {
        for (const auto& [Width, Height] : kSizes)
            for (const auto& [ToWidth, ToHeight] : kSizes)
                Tasks.push_back(Whole(Width, Height, ToWidth, ToHeight, Type));
        Tasks.push_back(Whole(40, 30, 20, 15, Type));
        Tasks.push_back(Whole(200, 3, 21, 2, Type)); // more than 16 bytes to four target samples
        Tasks.push_back(Whole(300, 50, 300, 1, Type));
        Tasks.push_back(Whole(3, 2, 100, 90, Type));
        Tasks.push_back({40, 30, 7, 5, 21, 11, 30, 20, 30.0 / 21, 20.0 / 11, Type}); // a region inside
        Tasks.push_back({40, 30, 0, 0, 13, 30, 9, 30, 9.0 / 13, 1.0, Type});         // at the left border
        Tasks.push_back({40, 30, 39, 29, 1, 1, 8, 6, 8.0, 6.0, Type});               // the last pixel
        Tasks.push_back({40, 30, 27, 19, 13, 11, 9, 6, 9.0 / 13, 6.0 / 11, Type});   // at the right and lower border
        Tasks.push_back({40, 30, 2, 3, 20, 20, 30, 30, 0.5, 0.25, Type});            // the target asks for more
        Tasks.push_back({40, 30, 2, 3, 20, 20, 10, 8, 0.9, 0.77, Type});             // for less
        Tasks.push_back({40, 30, 0, 0, 40, 30, 9, 9, 3.5, 1.0, Type});
        Tasks.push_back({40, 30, 0, 0, 40, 30, 9, 9, 1e-300, 1e-300, Type});
        Tasks.push_back({40, 30, 0, 0, 40, 30, 9, 9, 1e300, 1e-9, Type});
    }
    return Tasks;
}

void CheckEqual(int Channels, ResizeSig* pFn, ResizeSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Task& t : AllTasks())
        for (const Fill How : kAllFills) {
            const size_t Shift = kShifts[static_cast<size_t>(Rng.Range(0, 3))];
            const Block Source = Rng.MakeBlock(How, t.Width * Channels, t.Height, t.Width * Channels + 3, Shift);
            Block Want = MakeTarget(t.ToWidth * Channels, t.ToHeight, Shift), Got = Want;
            ASSERT_EQ(Apply(pReference, t, Source, Want), kStatusOk) << Text(t);
            ASSERT_EQ(Apply(pFn, t, Source, Got), kStatusOk) << Text(t);
            ASSERT_EQ(Got.Bytes, Want.Bytes) << Text(t);
            for (int y = 0; y + 1 < t.ToHeight; ++y)
                for (int i = 0; i < 5; ++i) ASSERT_EQ(*Got.At(t.ToWidth * Channels + i, y), 0xA5);
            if (How == Fill::AllZero || How == Fill::AllMax) { // flat stays flat
                ASSERT_EQ(*Got.At(0, 0), *Source.At(0, 0));
                ASSERT_EQ(Got.Bytes.back(), *Source.At(0, 0));
            }
        }
}

void CheckStatuses(int Channels, ResizeSig* pFn)
{
    constexpr double kNothing = std::numeric_limits<double>::quiet_NaN(), kEndless = HUGE_VAL;
    const size_t Pixel = static_cast<size_t>(Channels);
    const Block Source{std::vector<uint8_t>(8 * 8 * Pixel), 0, 8 * Channels};
    const Block Target{std::vector<uint8_t>(4 * 4 * Pixel, 7), 0, 4 * Channels};
    const Task Good = Whole(8, 8, 4, 4, kCubic);
    const auto Expect = [&](int32_t Status, const Task& t, const Block& From, const Block& Untouched) {
        Block To = Untouched;
        EXPECT_EQ(Apply(pFn, t, From, To), Status) << Text(t);
        EXPECT_EQ(To.Bytes, Target.Bytes);
    };
    const auto Refuses = [&](int32_t Status, const Task& t) { Expect(Status, t, Source, Target); };
    const struct {
        int Task::*pField;
        int Value;
    } kWrongSizes[]{{&Task::RegionWidth, 0},     {&Task::RegionHeight, -1}, {&Task::RegionX, 1},
                    {&Task::RegionY, 1},         {&Task::RegionX, -1},      {&Task::RegionY, INT32_MIN},
                    {&Task::RegionX, INT32_MAX}, {&Task::Height, 0},        {&Task::Height, 7},
                    {&Task::ToWidth, 0},         {&Task::ToHeight, -4}};
    for (const auto& [pField, Value] : kWrongSizes) {
        Task t = Good;
        t.*pField = Value;
        Refuses(kStatusSize, t);
    }
    Task Least = Good;
    Least.Width = INT32_MIN, Least.RegionX = 1;
    Refuses(kStatusSize, Least);
    for (const double Factor : {0.0, -1.0, kNothing, kEndless}) {
        Task x = Good, y = Good;
        x.xFactor = y.yFactor = Factor;
        Refuses(kStatusSize, x);
        Refuses(kStatusSize, y);
    }
    for (const ptrdiff_t Step : {0, -8}) {
        Expect(kStatusStep, Good, {Source.Bytes, 0, Step}, Target);
        Expect(kStatusStep, Good, Source, {Target.Bytes, 0, Step});
    }
    for (const int Type : {0, 1, 2, 3, 5, 7, 9, -4}) Refuses(kStatusMode, Whole(8, 8, 4, 4, Type));
    uint8_t Sample = 7;
    EXPECT_EQ(pFn(nullptr, 8, 8, 8, 0, 0, 8, 8, &Sample, 8, 1, 1, 1, 1, kCubic), kStatusNullPointer);
    EXPECT_EQ(pFn(Source.At(0, 0), 8, 8, 8, 0, 0, 8, 8, nullptr, 8, 1, 1, 1, 1, kCubic), kStatusNullPointer);
    // A target of which not a row can be held; it is refused before it is touched.
    EXPECT_EQ(pFn(Source.At(0, 0), 8, 8, 8, 0, 0, 8, 8, &Sample, 8, INT32_MAX, 1, 1, 1, kCubic), kStatusNoMemory);
    EXPECT_EQ(Sample, 7);
}

template <int Channels>
void CheckResize(ResizeSig* pFn, ResizeSig* pReference)
{
    CheckEqual(Channels, pFn, pReference);
    CheckStatuses(Channels, pFn);
}
KERNEL_TEST(Resize8uC1, CheckResize<1>);
KERNEL_TEST(Resize8uC2, CheckResize<2>);
KERNEL_TEST(Resize8uC3, CheckResize<3>);
KERNEL_TEST(Resize8uC4, CheckResize<4>);

// Exact arithmetic in one direction: the weights of the source pixels for target pixel i.
using Weights = std::vector<double>;

double Cubic(double x)
{
    x = std::abs(x);
    if (x < 1) return (1.5 * x - 2.5) * x * x + 1;
    return x < 2 ? ((-0.5 * x + 2.5) * x - 4) * x + 2 : 0;
}

Weights CubicWeights(int i, int Count, double Factor)
{
    Weights w(static_cast<size_t>(Count));
    const double x = std::min((i + 0.5) / Factor - 0.5, Count + 4.0); // where all taps see the last pixel
    const int Base = static_cast<int>(std::floor(x));
    for (int k = Base - 1; k <= Base + 2; ++k) w[static_cast<size_t>(std::clamp(k, 0, Count - 1))] += Cubic(x - k);
    return w;
}

Weights AreaWeights(int i, int Count, double Factor)
{
    Weights w(static_cast<size_t>(Count));
    const double From = i / Factor, To = std::min<double>((i + 1) / Factor, Count);
    if (From >= Count) w.back() = 1;
    for (int k = 0; k < Count && From < Count; ++k)
        w[static_cast<size_t>(k)] =
            std::max(0.0, std::min<double>(k + 1, To) - std::max<double>(k, From)) / (To - From);
    return w;
}

struct Errors {
    double Most = 0, Sum = 0, Count = 0;
    double Mean() const { return Sum / Count; }
};

void AddErrors(const Task& t, const Block& Source, const Block& Got, int Channels, Errors& All)
{
    auto* const pWeights = t.Type == kArea && t.xFactor <= 1 && t.yFactor <= 1 ? AreaWeights : CubicWeights;
    std::vector<Weights> Columns;
    for (int x = 0; x < t.ToWidth; ++x) Columns.push_back(pWeights(x, t.RegionWidth, t.xFactor));
    for (int y = 0; y < t.ToHeight; ++y) {
        const Weights Rows = pWeights(y, t.RegionHeight, t.yFactor);
        std::vector<double> Row(static_cast<size_t>(t.RegionWidth * Channels));
        for (int j = 0; j < t.RegionHeight; ++j)
            for (int i = 0; i < t.RegionWidth * Channels; ++i)
                Row[static_cast<size_t>(i)] +=
                    Rows[static_cast<size_t>(j)] * *Source.At(t.RegionX * Channels + i, t.RegionY + j);
        for (int i = 0; i < t.ToWidth * Channels; ++i) {
            const Weights& Column = Columns[static_cast<size_t>(i / Channels)];
            double Exact = 0;
            for (size_t k = 0; k < Column.size(); ++k)
                Exact += Column[k] * Row[k * static_cast<size_t>(Channels) + static_cast<size_t>(i % Channels)];
            const double Error = std::abs(std::clamp(Exact, 0.0, 255.0) - *Got.At(i, y));
            All.Most = std::max(All.Most, Error);
            All.Sum += Error;
            All.Count += 1;
        }
    }
}

Errors ErrorsOf(int Channels, ResizeSig* pFn, const Task& t, Fill How, TestRandom& Rng)
{
    Errors All;
    const Block Source = Rng.MakeBlock(How, t.Width * Channels, t.Height, t.Width * Channels, 0);
    Block Got = MakeTarget(t.ToWidth * Channels, t.ToHeight, 0);
    EXPECT_EQ(Apply(pFn, t, Source, Got), kStatusOk);
    AddErrors(t, Source, Got, Channels, All);
    return All;
}

TEST(ResizeReference, IsWithinOneLevelOfExactArithmetic)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Task& t : AllTasks())
        for (const Fill How : kAllFills) {
            ASSERT_LE(ErrorsOf(1, Resize8uC1_px, t, How, Rng).Most, 1.0) << Text(t);
            ASSERT_LE(ErrorsOf(2, Resize8uC2_px, t, How, Rng).Most, 1.0) << Text(t);
            ASSERT_LE(ErrorsOf(3, Resize8uC3_px, t, How, Rng).Most, 1.0) << Text(t);
            ASSERT_LE(ErrorsOf(4, Resize8uC4_px, t, How, Rng).Most, 1.0) << Text(t);
        }
}

// The rounding of the result alone leaves a mean error of 0.25 wherever results fall between two levels at random.
TEST(ResizeReference, TheMeanErrorIsThatOfTheLastRounding)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Type : {kCubic, kArea})
        for (const auto& [ToWidth, ToHeight] : {std::pair{413, 290}, {97, 77}, {70, 31}}) {
            const Errors All = ErrorsOf(1, Resize8uC1_px, Whole(211, 113, ToWidth, ToHeight, Type), Fill::Smooth, Rng);
            EXPECT_NEAR(All.Mean(), 0.25, 0.015) << ToWidth << ' ' << Type;
            EXPECT_LE(All.Most, 0.75);
            RecordProperty("mean_" + std::to_string(Type) + "_" + std::to_string(ToWidth), std::to_string(All.Mean()));
            RecordProperty("most_" + std::to_string(Type) + "_" + std::to_string(ToWidth), std::to_string(All.Most));
        }
}

TEST(ResizeReference, AFactorOfOneIsACopy)
{
    TestRandom Rng;
    for (const int Type : {kCubic, kArea}) {
        const Block Source = Rng.MakeBlock(Fill::ZeroOrMax, 60, 9, 60, 0);
        Block Got{std::vector<uint8_t>(60 * 9), 0, 60};
        ASSERT_EQ(Apply(Resize8uC3_px, Whole(20, 9, 20, 9, Type), Source, Got), kStatusOk);
        EXPECT_EQ(Got.Bytes, Source.Bytes);
    }
}

TEST(ResizeReference, PixelsOutsideTheRegionHaveNoInfluence)
{
    TestRandom Rng;
    for (const int Type : {kCubic, kArea})
        for (const double Factor : {1.7, 0.4}) {
            Block Source = Rng.MakeBlock(Fill::Random, 30, 20, 30, 0);
            const Task t{30, 20, 6, 5, 15, 10, 12, 9, Factor, Factor, Type};
            Block Want = MakeTarget(12, 9, 0), Got = Want;
            ASSERT_EQ(Apply(Resize8uC1_px, t, Source, Want), kStatusOk);
            for (int y = 0; y < 20; ++y)
                for (int x = 0; x < 30; ++x)
                    if (x < 6 || x >= 21 || y < 5 || y >= 15) *Source.At(x, y) ^= 0xFF;
            ASSERT_EQ(Apply(Resize8uC1_px, t, Source, Got), kStatusOk);
            EXPECT_EQ(Got.Bytes, Want.Bytes);
        }
}

TEST(ResizeReference, AreaAboveOneIsCubic)
{
    TestRandom Rng;
    const Block Source = Rng.MakeBlock(Fill::Random, 30, 20, 30, 0);
    for (const auto& [ToWidth, ToHeight] : {std::pair{31, 20}, {15, 21}, {40, 10}}) {
        Block Area = MakeTarget(ToWidth, ToHeight, 0), Cubic = Area;
        ASSERT_EQ(Apply(Resize8uC1_px, Whole(30, 20, ToWidth, ToHeight, kArea), Source, Area), kStatusOk);
        ASSERT_EQ(Apply(Resize8uC1_px, Whole(30, 20, ToWidth, ToHeight, kCubic), Source, Cubic), kStatusOk);
        EXPECT_EQ(Area.Bytes, Cubic.Bytes);
    }
}

// Long enough for sums of more than 32 bits along the row, and for borders without a fraction.
TEST(ResizeReference, ALongLineHasTheMeanOfAllOfIt)
{
    const int Length = 20'000'000;
    Block Line{std::vector<uint8_t>(Length, 255), 0, Length};
    uint8_t Got = 0;
    const auto Mean = [&](int Width, int Height) {
        return Resize8uC1_px(Line.At(0, 0), Width, Height, Width, 0, 0, Width, Height, &Got, 1, 1, 1, 1.0 / Width,
                             1.0 / Height, kArea);
    };
    ASSERT_EQ(Mean(Length, 1), kStatusOk);
    EXPECT_EQ(Got, 255);
    std::fill_n(Line.Bytes.begin(), Length / 5, uint8_t{0});
    ASSERT_EQ(Mean(Length, 1), kStatusOk);
    EXPECT_EQ(Got, 204);
    ASSERT_EQ(Mean(2, Length / 2), kStatusOk);
    EXPECT_EQ(Got, 204);
    EXPECT_EQ(Mean(1, Length), kStatusSize);
}

void CheckShrinkOf(int Factor, int Channels, ShrinkSig* pFn, ShrinkSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (const int Width : {1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 16, 17, 40})
            for (const int Height : {1, 2, 5})
                for (const size_t Shift : kShifts) {
                    const int Row = Width * Channels;
                    const Block Source = Rng.MakeBlock(How, Row * Factor, Height * Factor, Row * Factor + 3, Shift);
                    Block Want = MakeTarget(Row, Height, Shift), Got = Want;
                    ASSERT_EQ(pReference(Source.At(0, 0), Source.Step, Want.At(0, 0), Want.Step, Width, Height),
                              kStatusOk);
                    ASSERT_EQ(pFn(Source.At(0, 0), Source.Step, Got.At(0, 0), Got.Step, Width, Height), kStatusOk);
                    ASSERT_EQ(Got.Bytes, Want.Bytes) << Width << "x" << Height << " shift " << Shift;
                }
    uint8_t From[64 * 4]{}, To[4]{9, 9, 9, 9};
    EXPECT_EQ(pFn(nullptr, 16, To, 4, 1, 1), kStatusNullPointer);
    EXPECT_EQ(pFn(From, 16, nullptr, 4, 1, 1), kStatusNullPointer);
    for (const auto& [Width, Height] : {std::pair{0, 1}, {-1, 1}, {1, 0}, {1, -1}})
        EXPECT_EQ(pFn(From, 16, To, 4, Width, Height), kStatusSize);
    for (const ptrdiff_t Step : {0, -16}) {
        EXPECT_EQ(pFn(From, Step, To, 4, 1, 1), kStatusStep);
        EXPECT_EQ(pFn(From, 16, To, Step, 1, 1), kStatusStep);
    }
    EXPECT_EQ(To[0], 9);
}

template <int Factor, int Channels>
void CheckShrink(ShrinkSig* pFn, ShrinkSig* pReference)
{
    CheckShrinkOf(Factor, Channels, pFn, pReference);
}
constexpr auto CheckHalve1 = CheckShrink<2, 1>, CheckHalve2 = CheckShrink<2, 2>, CheckHalve3 = CheckShrink<2, 3>,
               CheckHalve4 = CheckShrink<2, 4>, CheckQuarter1 = CheckShrink<4, 1>;
KERNEL_TEST(Halve8uC1, CheckHalve1);
KERNEL_TEST(Halve8uC2, CheckHalve2);
KERNEL_TEST(Halve8uC3, CheckHalve3);
KERNEL_TEST(Halve8uC4, CheckHalve4);
KERNEL_TEST(Quarter8uC1, CheckQuarter1);

TEST(ShrinkReference, RoundsHalfUp)
{
    const uint8_t Source[]{1, 0, 9, 9, 1, 0, 9, 8, 0, 0, 0, 0, 0, 0, 0, 0};
    uint8_t Half[2], Quarter;
    ASSERT_EQ(Halve8uC1_px(Source, 4, Half, 2, 2, 1), kStatusOk);
    EXPECT_EQ(Half[0], 1); // 0.5
    EXPECT_EQ(Half[1], 9); // 8.75
    ASSERT_EQ(Quarter8uC1_px(Source, 4, &Quarter, 1, 1, 1), kStatusOk);
    EXPECT_EQ(Quarter, 2); // 37 / 16
}

void ExpectArea(int Factor, int Channels, ShrinkSig* pShrink, ResizeSig* pResize)
{
    TestRandom Rng;
    const int Row = 21 * Channels;
    const Block Source = Rng.MakeBlock(Fill::Random, Row * Factor, 11 * Factor, Row * Factor, 0);
    Block Shrunk = MakeTarget(Row, 11, 0), Mean = Shrunk;
    ASSERT_EQ(pShrink(Source.At(0, 0), Source.Step, Shrunk.At(0, 0), Shrunk.Step, 21, 11), kStatusOk);
    ASSERT_EQ(Apply(pResize, Whole(21 * Factor, 11 * Factor, 21, 11, kArea), Source, Mean), kStatusOk);
    EXPECT_EQ(Shrunk.Bytes, Mean.Bytes);
}

TEST(ShrinkReference, IsTheMeanOfTheArea)
{
    ExpectArea(2, 1, Halve8uC1_px, Resize8uC1_px);
    ExpectArea(2, 2, Halve8uC2_px, Resize8uC2_px);
    ExpectArea(2, 3, Halve8uC3_px, Resize8uC3_px);
    ExpectArea(2, 4, Halve8uC4_px, Resize8uC4_px);
    ExpectArea(4, 1, Quarter8uC1_px, Resize8uC1_px);
}

} // namespace
