#include "encoder/decide/motion_tables.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;

TEST(MotionTables, BitsOfAVectorComponent)
{
    const uint8_t* const pBits = MVBits();
    EXPECT_EQ(pBits[0], 1);
    EXPECT_EQ(pBits[1], 3);
    EXPECT_EQ(pBits[2], 5);
    EXPECT_EQ(pBits[3], 5);
    EXPECT_EQ(pBits[4], 7);
    EXPECT_EQ(pBits[127], 15);
    EXPECT_EQ(pBits[128], 17); // the approximation: that of 1, and 14
    EXPECT_EQ(pBits[255], 17);
    EXPECT_EQ(pBits[256], 19);
    EXPECT_EQ(pBits[1536], 7 + 2 + 14); // that of 12
    for (int d = 1; d <= kMaxVectorDifference; ++d) ASSERT_EQ(pBits[d], pBits[-d]) << d;
}

TEST(MotionTables, PriceOfBits)
{
    EXPECT_EQ(MVBitCost[12][3], 3);
    EXPECT_EQ(MVBitCost[0][59], 59);
    EXPECT_EQ(MVBitCost[16][1], 2);
    EXPECT_EQ(MVBitCost[30][2], 16);
    EXPECT_EQ(MVBitCost[51][59], 59 * 91);
    for (const BitCostRow& Row : MVBitCost) EXPECT_EQ(Row[0], 0);
}

// 2^((QP - 12) / 6) to the nearest integer.
TEST(MotionTables, PriceOfABitAtEveryQp)
{
    constexpr int kFrom12[40]{1,  1,  1,  1,  2,  2,  2,  2,  3,  3,  3,  4,  4,  4,  5,  6,  6,  7,  8,  9,
                              10, 11, 13, 14, 16, 18, 20, 23, 25, 29, 32, 36, 40, 45, 51, 57, 64, 72, 81, 91};
    for (size_t Qp = 0; Qp < 52; ++Qp) {
        EXPECT_EQ(MVBitCost[Qp][1], Qp < 12 ? 1 : kFrom12[Qp - 12]) << Qp;
        for (size_t n = 0; n < 60; ++n) ASSERT_EQ(MVBitCost[Qp][n], static_cast<int>(n) * MVBitCost[Qp][1]) << Qp;
    }
}

TEST(MotionTables, TheLargestPriceOfAVectorIsInTheRow)
{
    const uint8_t* const pBits = MVBits();
    EXPECT_LT(static_cast<size_t>(2 * pBits[kMaxVectorDifference]), MVBitCost[0].size());
}

using Values = std::vector<int>;

// Values that repeat, in runs.
Values Runs(std::initializer_list<std::pair<int, int>> CountsAndValues)
{
    Values v;
    for (const auto& [Count, Value] : CountsAndValues) v.insert(v.end(), static_cast<size_t>(Count), Value);
    return v;
}
template <class Table>
Values All(const Table& t)
{
    return {t.begin(), t.end()};
}

TEST(MotionTables, EveryThresholdHasItsValue)
{
    Values Me = Runs({{9, 38}, {3, 46}, {4, 50}, {3, 60}, {6, 68}});
    for (const int v : {71,  95,  95,  95,  107, 153, 176, 176, 176, 202, 209, 209, 284, 294,
                        314, 359, 371, 383, 383, 396, 452, 516, 533, 628, 739, 841, 1020})
        Me.push_back(v);
    EXPECT_EQ(All(ThresholdME), Me);
    EXPECT_EQ(
        All(SkipIntraThreshold),
        (Values{3,   4,   20,  26,  31,  41,   47,   59,   71,   77,   86,   95,   103,  104,  106,  107, 127, 134,
                141, 167, 185, 198, 205, 212,  234,  294,  304,  314,  325,  335,  346,  357,  409,  461, 540, 653,
                741, 765, 790, 815, 840, 1045, 1259, 1340, 1556, 1772, 2006, 2069, 2102, 2134, 2569, 3290}));
    EXPECT_EQ(All(TryAdvancedIntraThreshold),
              (Values{25,   44,   49,   49,   113,  144,  106,  188,  129,  135,  263,   247,   290,
                      151,  121,  175,  234,  329,  356,  484,  501,  529,  685,  714,   795,   719,
                      649,  761,  804,  990,  1210, 1206, 1805, 1744, 1488, 1731, 1404,  1138,  2060,
                      2768, 3139, 3294, 3284, 3628, 4008, 4205, 4645, 7605, 8485, 28887, 32000, 32000}));
    Values Edges = Runs({{4, 0}, {4, 1}, {4, 2}, {4, 3}, {4, 4}, {4, 5}, {4, 6}, {4, 7}, {4, 8}, {3, 9}, {2, 10}});
    for (int v = 11; v <= 21; ++v) Edges.push_back(v);
    EXPECT_EQ(All(EdgePelDifference), Edges);
    EXPECT_EQ(All(EdgePelCount), Runs({{32, 0}, {6, 1}, {6, 2}, {6, 3}, {2, 4}}));
}

} // namespace
