#include "decoder/slice/neighbours.h"

#include <gtest/gtest.h>

#include <utility>

namespace UMC {
namespace {

TEST(Places, OfPairsGoDownBeforeTheyGoRight)
{
    const auto Place = [](int32_t Number, bool IsMbaff) {
        const MbPlace p = IsMbaff ? PlaceOf<true>(Number, 3) : PlaceOf<false>(Number, 3);
        return std::pair{p.X, p.Y};
    };
    EXPECT_EQ(Place(5, false), (std::pair{2, 1}));
    EXPECT_EQ(Place(5, true), (std::pair{2, 1}));
    EXPECT_EQ(Place(4, false), (std::pair{1, 1}));
    EXPECT_EQ(Place(4, true), (std::pair{2, 0}));
    EXPECT_EQ(Place(9, true), (std::pair{1, 3}));
}

template <bool kMbaff>
void ExpectStepsInTheOrderOfNumbers()
{
    constexpr int32_t kMbs = 3 * 4;
    MbPlace Place = PlaceOf<kMbaff>(0, 3);
    for (int32_t Number = 0; Number < kMbs; ++Number, Place = NextPlace<kMbaff>(Place, 3)) {
        const MbPlace Want = PlaceOf<kMbaff>(Number, 3);
        EXPECT_EQ(std::pair(Place.X, Place.Y), std::pair(Want.X, Want.Y)) << Number;
        const MbPlace Below = PlaceOf<kMbaff>(Number + RowLength<kMbaff>(3), 3);
        EXPECT_EQ(std::pair(Below.X, Below.Y), std::pair(Want.X, Want.Y + (kMbaff ? 2 : 1))) << Number;
    }
}

TEST(Places, StepInTheOrderOfNumbers)
{
    ExpectStepsInTheOrderOfNumbers<false>();
    ExpectStepsInTheOrderOfNumbers<true>();
}

TEST(Places, OfTheNextRowBeginInTheFirstColumn)
{
    EXPECT_EQ(NextRow<false>(0, 3), 3);
    EXPECT_EQ(NextRow<false>(5, 3), 6);
    EXPECT_EQ(NextRow<false>(6, 3), 9);
    EXPECT_EQ(NextRow<true>(0, 3), 6);
    EXPECT_EQ(NextRow<true>(5, 3), 6);
    EXPECT_EQ(NextRow<true>(6, 3), 12);
}

} // namespace
} // namespace UMC
