#include "kernels/deblocking/deblocking_rows.h"

#include <algorithm>

#include "tests/kernels/deblocking_inputs.h"

namespace {

using namespace kernels;
using namespace kernel_testing;

// The macroblock lies at (Left, Above) of a block that ends with it. Without an outer edge nothing lies before it.
template <int Left, int Above>
void CheckLuma(FilterEdgesSig* pFn, FilterEdgesSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 400; ++Round)
        for (const Strengths How : kStrengths) {
            const EdgeParams Params = RandomParams(Rng, How);
            const bool Outer = std::any_of(Params.Strength, Params.Strength + 4, [](int s) { return s != 0; });
            const int x = Outer ? Left : 0, y = Outer ? Above : 0;
            Block Want = Samples(Rng, Round, 16 + x, 16 + y), Got = Want;
            pReference(Want.At(x, y), Want.Step, &Params);
            pFn(Got.At(x, y), Got.Step, &Params);
            ASSERT_EQ(Got.Bytes, Want.Bytes) << "round " << Round;
        }
}
KERNEL_TEST(FilterLumaVertical, (CheckLuma<4, 0>));
KERNEL_TEST(FilterLumaHorizontal, (CheckLuma<0, 4>));

template <int Left, int Above>
void CheckChroma(FilterChromaEdgesSig* pFn, FilterChromaEdgesSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 400; ++Round)
        for (const Strengths How : kStrengths) {
            const EdgeParams ParamsU = RandomParams(Rng, How), Other = RandomParams(Rng, How);
            const EdgeParams& ParamsV = Round & 1 ? ParamsU : Other;
            const bool Outer = std::any_of(ParamsU.Strength, ParamsU.Strength + 4, [](int s) { return s != 0; });
            const int x = Outer ? Left : 0, y = Outer ? Above : 0;
            Block WantU = Samples(Rng, Round, 8 + x, 8 + y), WantV = Samples(Rng, Round + 1, 8 + x, 8 + y);
            WantV.Step = WantU.Step;
            Block GotU = WantU, GotV = WantV;
            pReference(WantU.At(x, y), WantV.At(x, y), WantU.Step, &ParamsU, &ParamsV);
            pFn(GotU.At(x, y), GotV.At(x, y), GotU.Step, &ParamsU, &ParamsV);
            ASSERT_EQ(GotU.Bytes, WantU.Bytes) << "round " << Round;
            ASSERT_EQ(GotV.Bytes, WantV.Bytes) << "round " << Round;
        }
}
KERNEL_TEST(FilterChromaVertical, (CheckChroma<4, 0>));
KERNEL_TEST(FilterChromaHorizontal, (CheckChroma<0, 4>));

// ---- The reference's own results ---------------------------------------------------------------------------

// Row 0 of a macroblock and its left neighbour after the outer vertical edge was filtered.
std::vector<int> FilteredRow(std::vector<uint8_t> Row, int Strength)
{
    std::vector<uint8_t> Plane;
    for (int y = 0; y < 16; ++y) Plane.insert(Plane.end(), Row.begin(), Row.end());
    EdgeParams Params{{40, 40}, {10, 10}, {{0, 2, 3, 4}, {0, 2, 3, 4}}, {}};
    Params.Strength[0] = static_cast<uint8_t>(Strength);
    FilterLumaVertical_px(&Plane[4], 20, &Params);
    EXPECT_TRUE(std::equal(Row.begin(), Row.end(), Plane.begin() + 4 * 20)) << "piece 1 has strength 0";
    return {Plane.begin(), Plane.begin() + 8};
}

std::vector<uint8_t> RowOf(std::vector<uint8_t> Start)
{
    Start.resize(20, Start.back());
    return Start;
}

TEST(FilterLumaReference, NormalFilterClipsByStrength)
{
    // ap and aq are 0, so the limit is 2 + 2: (20 * 4 + 4) >> 3 = 10 becomes 4; (100 + 110 - 200) >> 1 = 5 becomes 2.
    EXPECT_EQ(FilteredRow(RowOf({100, 100, 100, 100, 120, 120, 120, 120}), 1),
              (std::vector<int>{100, 100, 102, 104, 116, 118, 120, 120}));
}

TEST(FilterLumaReference, AnUnevenSideLimitsTheChange)
{
    // |p2 - p0| is 10, not below beta: p1 stays and the limit is 2 + 1.
    EXPECT_EQ(FilteredRow(RowOf({100, 90, 99, 100, 120, 120, 120, 120}), 1),
              (std::vector<int>{100, 90, 99, 103, 117, 118, 120, 120}));
}

TEST(FilterLumaReference, StrongFilterOnASmallStep)
{
    // |p0 - q0| = 8 is below 40 / 4 + 2.
    EXPECT_EQ(FilteredRow(RowOf({100, 100, 100, 100, 108, 108, 108, 108}), 4),
              (std::vector<int>{100, 101, 102, 103, 105, 106, 107, 108}));
}

TEST(FilterLumaReference, StrongFilterOnALargeStepChangesOneSample)
{
    EXPECT_EQ(FilteredRow(RowOf({100, 100, 100, 100, 120, 120, 120, 120}), 4),
              (std::vector<int>{100, 100, 100, 105, 115, 120, 120, 120}));
}

TEST(FilterLumaReference, AStepOfAlphaIsAnEdgeOfThePicture)
{
    const std::vector<uint8_t> Row = RowOf({100, 100, 100, 100, 140, 140, 140, 140});
    EXPECT_EQ(FilteredRow(Row, 3), std::vector<int>(Row.begin(), Row.begin() + 8));
}

TEST(FilterChromaReference, ChangesOneSampleOnEachSideInBothPlanes)
{
    std::vector<uint8_t> u(12 * 8), v(12 * 8, 50);
    for (size_t i = 0; i < u.size(); ++i) u[i] = i / 8 < 4 ? 100 : 116; // four rows above the macroblock
    EdgeParams ParamsU{{40, 40}, {10, 10}, {{0, 2, 3, 4}, {0, 2, 3, 4}}, {4, 2, 0, 1}};
    const EdgeParams ParamsV = ParamsU;
    FilterChromaHorizontal_px(&u[4 * 8], &v[4 * 8], 8, &ParamsU, &ParamsV);
    EXPECT_EQ(std::vector<int>(&u[3 * 8], &u[4 * 8]), (std::vector<int>{104, 104, 104, 104, 100, 100, 103, 103}));
    EXPECT_EQ(std::vector<int>(&u[4 * 8], &u[5 * 8]), (std::vector<int>{112, 112, 112, 112, 116, 116, 113, 113}));
    EXPECT_EQ(std::count(v.begin(), v.end(), 50), 96);
}

} // namespace
