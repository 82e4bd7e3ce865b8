// The median of the noise filter: which samples it takes, and in which order it replaces them.
#include "encoder/session/noise_median.h"
#include "tests/encoder/noise_testing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <utility>

namespace {

using namespace UMC_H264_ENCODER;
using noise_testing::Plane;

constexpr MedianThresholds kFour{.Neighbour = 15, .Trigger = 6, .HasFourNeighbours = true};
constexpr MedianThresholds kEight{.Neighbour = 15, .Trigger = 6, .HasFourNeighbours = false};

// What becomes of the middle of nine samples, which alone has changed since the previous picture.
template <class Sample>
Sample Middle(const std::vector<int>& Nine, const MedianThresholds& t, int Change = 50)
{
    Plane<Sample> Now(4, 4, Sample{0});
    for (int i = 0; i < 9; ++i) Now.At(i % 3, i / 3) = static_cast<Sample>(Nine[static_cast<size_t>(i)]);
    Plane<Sample> Before = Now;
    Before.At(1, 1) = static_cast<Sample>(Before.At(1, 1) + Change);
    ReduceByMedian(Now.View(), Before.View(), t);
    return Now.At(1, 1);
}

template <class Sample>
class NoiseMedian : public testing::Test
{
};
using SampleTypes = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(NoiseMedian, SampleTypes);

TYPED_TEST(NoiseMedian, OfFourNeighboursTakesTheCloseOnes)
{
    const auto Of = [](int Up, int Left, int Right, int Down) {
        return Middle<TypeParam>({100, Up, 100, Left, 100, Right, 100, Down, 100}, kFour);
    };
    EXPECT_EQ(Of(90, 94, 108, 110), 100);   // 110 108 100 94 90
    EXPECT_EQ(Of(102, 104, 108, 110), 104); // 110 108 104 102 100
    EXPECT_EQ(Of(88, 90, 92, 94), 92);
    EXPECT_EQ(Of(90, 92, 200, 104), 96);    // 104 100 92 90: the mean of the middle two
    EXPECT_EQ(Of(90, 93, 200, 104), 96);    // 100 and 93, rounded down
    EXPECT_EQ(Of(90, 200, 200, 92), 92);    // 100 92 90
    EXPECT_EQ(Of(200, 91, 200, 200), 95);   // 100 91, rounded down
    EXPECT_EQ(Of(200, 0, 200, 0), 100);     // nothing is close
    EXPECT_EQ(Of(114, 200, 200, 200), 107); // 14 is close,
    EXPECT_EQ(Of(115, 200, 200, 200), 100); // 15 is not
    EXPECT_EQ(Of(86, 200, 200, 200), 93);
    EXPECT_EQ(Of(85, 200, 200, 200), 100);
}

TYPED_TEST(NoiseMedian, OfFourNeighboursTakesTheZeroesOfPlacesThatAreNotTakenForNoSamples)
{
    EXPECT_EQ(Middle<TypeParam>({9, 0, 9, 0, 5, 200, 9, 200, 9}, kFour), 0);   // 5 0 0
    EXPECT_EQ(Middle<TypeParam>({9, 0, 9, 200, 5, 200, 9, 200, 9}, kFour), 2); // 5 0
    EXPECT_EQ(Middle<TypeParam>({9, 8, 9, 9, 5, 200, 9, 200, 9}, kFour), 8);   // 9 8 5 of three
    EXPECT_EQ(Middle<TypeParam>({9, 200, 9, 200, 5, 200, 9, 200, 9}, kFour), 5);
}

TYPED_TEST(NoiseMedian, OfEightNeighboursTakesTheDiagonalsToo)
{
    EXPECT_EQ(Middle<TypeParam>({101, 102, 103, 104, 100, 105, 106, 107, 108}, kEight), 104);
    EXPECT_EQ(Middle<TypeParam>({101, 102, 103, 104, 100, 105, 106, 107, 108}, kFour), 104); // 107 105 104 102 100
    EXPECT_EQ(Middle<TypeParam>({90, 200, 92, 200, 100, 200, 94, 200, 96}, kEight), 94);     // 100 96 94 92 90
    EXPECT_EQ(Middle<TypeParam>({90, 200, 92, 200, 100, 200, 94, 200, 96}, kFour), 100);
    EXPECT_EQ(Middle<TypeParam>({90, 200, 92, 200, 100, 200, 94, 200, 200}, kEight), 93); // 100 94 92 90
    EXPECT_EQ(Middle<TypeParam>({200, 200, 200, 200, 100, 200, 200, 200, 200}, kEight), 100);
    EXPECT_EQ(Middle<TypeParam>({98, 96, 94, 92, 100, 90, 88, 87, 86}, kEight), 92);
}

TYPED_TEST(NoiseMedian, RunsFromTheTriggerOn)
{
    const std::vector<int> Nine{90, 90, 90, 90, 100, 90, 90, 90, 90};
    EXPECT_EQ(Middle<TypeParam>(Nine, kFour, 6), 90);
    EXPECT_EQ(Middle<TypeParam>(Nine, kFour, -6), 90);
    EXPECT_EQ(Middle<TypeParam>(Nine, kFour, 5), 100);
    EXPECT_EQ(Middle<TypeParam>(Nine, kFour, -5), 100);
    EXPECT_EQ(Middle<TypeParam>(Nine, {.Neighbour = 15, .Trigger = 0, .HasFourNeighbours = true}, 0), 90);
}

TEST(NoiseMedianOf16Bits, HasTheSameThresholds)
{
    EXPECT_EQ(Middle<uint16_t>({0, 3010, 0, 3014, 3000, 3015, 0, 4000, 0}, kFour, 1000), 3010); // 3014 3010 3000
}

// A sample changes what later medians see: worked by hand.
TYPED_TEST(NoiseMedian, SeesTheEarlierResults)
{
    Plane<TypeParam> Now(4, {10, 10, 10, 10, //
                             10, 22, 34, 10, //
                             10, 46, 10, 10, //
                             10, 10, 10, 10});
    Plane<TypeParam> Before(4, 4, TypeParam{200});
    ReduceByMedian(Now.View(), Before.View(), kFour);
    // (1,1): 22 with 10, 34, 10 (46 is too far): 34 22 10 10, 16. (1,2), the next of its column: 46 stays alone.
    // (2,1): 34 with none of 16, 10, 10, 10. (2,2): 10 with 10, 10.
    EXPECT_EQ(Now, Plane<TypeParam>(4, {10, 10, 10, 10, //
                                        10, 16, 34, 10, //
                                        10, 46, 10, 10, //
                                        10, 10, 10, 10}));
}

using Order = std::vector<std::pair<int32_t, int32_t>>; // x, y

// The same stage by another way: a given order, and a sort of the library's.
template <class Sample>
void Model(Plane<Sample>& Now, const Plane<Sample>& Before, const MedianThresholds& t, const Order& Places)
{
    for (const auto& [x, y] : Places) {
        const int Centre = Now.At(x, y);
        if (std::abs(Centre - Before.At(x, y)) < t.Trigger) continue;
        std::vector<int> Close;
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx) {
                if (t.HasFourNeighbours && dx != 0 && dy != 0) continue;
                const int s = Now.At(x + dx, y + dy);
                if (std::abs(s - Centre) < t.Neighbour) Close.push_back(s);
            }
        std::sort(Close.begin(), Close.end(), std::greater<>());
        const size_t n = Close.size();
        Now.At(x, y) = static_cast<Sample>(n % 2 ? Close[n / 2] : (Close[n / 2] + Close[n / 2 - 1]) / 2);
    }
}

// Two rows at a time: the first column, pairs of columns with the upper row first, the last column.
const Order kInPairs{{1, 1}, {1, 2}, {2, 1}, {3, 1}, {2, 2}, {3, 2}, {4, 1}, {5, 1}, {4, 2}, {5, 2}, {6, 1}, {6, 2},
                     {1, 3}, {1, 4}, {2, 3}, {3, 3}, {2, 4}, {3, 4}, {4, 3}, {5, 3}, {4, 4}, {5, 4}, {6, 3}, {6, 4}};

TYPED_TEST(NoiseMedian, GoesInPairsOfColumnsOfTwoRows)
{
    Order ByRows = kInPairs;
    std::sort(ByRows.begin(), ByRows.end(),
              [](auto a, auto b) { return std::pair(a.second, a.first) < std::pair(b.second, b.first); });
    std::mt19937 Rng(3);
    int Others = 0;
    for (int i = 0; i < 200; ++i)
        for (const MedianThresholds& t : {kFour, kEight}) {
            Plane<TypeParam> Now(8, 6), Before(8, 6);
            Now.FillRandom(Rng, 90, 120);
            Before.FillRandom(Rng, 90, 120);
            Plane<TypeParam> Expected = Now, Other = Now;
            Model(Expected, Before, t, kInPairs);
            Model(Other, Before, t, ByRows);
            ReduceByMedian(Now.View(), Before.View(), t);
            ASSERT_EQ(Now, Expected);
            Others += !(Expected == Other);
        }
    EXPECT_GT(Others, 20); // so that another order would be seen
}

// The smallest plane of chroma: two outer columns and no pair.
TYPED_TEST(NoiseMedian, OfFourColumnsHasNoPair)
{
    std::mt19937 Rng(4);
    for (int i = 0; i < 100; ++i) {
        Plane<TypeParam> Now(4, 4), Before(4, 4);
        Now.FillRandom(Rng, 90, 120);
        Before.FillRandom(Rng, 90, 120);
        Plane<TypeParam> Expected = Now;
        Model(Expected, Before, kEight, {{1, 1}, {1, 2}, {2, 1}, {2, 2}});
        ReduceByMedian(Now.View(), Before.View(), kEight);
        ASSERT_EQ(Now, Expected);
    }
}

TYPED_TEST(NoiseMedian, NeverChangesTheFirstAndLastRowsAndColumns)
{
    std::mt19937 Rng(5);
    Plane<TypeParam> Now(16, 12), Before(16, 12);
    Now.FillRandom(Rng, 0, 255);
    const Plane<TypeParam> Then = Now;
    ReduceByMedian(Now.View(), Before.View(), {.Neighbour = 256, .Trigger = 0, .HasFourNeighbours = false});
    int Changed = 0;
    for (int32_t y = 0; y < 12; ++y)
        for (int32_t x = 0; x < 16; ++x) {
            if (x == 0 || y == 0 || x == 15 || y == 11) {
                EXPECT_EQ(Now.At(x, y), Then.At(x, y)) << x << ' ' << y;
            }
            Changed += Now.At(x, y) != Then.At(x, y);
        }
    EXPECT_GT(Changed, 100);
}

} // namespace
