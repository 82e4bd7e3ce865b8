// Worth of levels, block distances, motion search and intra choice.
#include "encoder/code/coefficients.h"
#include "encoder/decide/block_distance.h"
#include "encoder/decide/motion_search.h"
#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "kernels/dispatch/kernels.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"

#include <gtest/gtest.h>

#include <limits>

#include <set>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

// ---- Worth of levels ---------------------------------------------------------------------------------------

struct Levels {
    alignas(16) int16_t Raster[16]{};
    Levels(std::initializer_list<std::pair<int, int>> PositionsAndLevels)
    {
        for (const auto& [Position, Level] : PositionsAndLevels)
            Raster[h264::kZigzag4x4[Position]] = static_cast<int16_t>(Level);
    }
};

int32_t CostOf(const Levels& l, int32_t First = 0) { return CoefficientCost(l.Raster, First, g_Zigzag); }

TEST(CoefficientCost, FallsWithTheRunAhead)
{
    EXPECT_EQ(CostOf(Levels{}), 0);
    const int kByRun[]{3, 2, 2, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    for (int Run = 0; Run < 16; ++Run) EXPECT_EQ(CostOf(Levels{{Run, -1}}), kByRun[Run]) << Run;
    EXPECT_EQ(CostOf(Levels({{0, 1}, {1, 1}})), 6);
    EXPECT_EQ(CostOf(Levels({{0, 1}, {4, 1}})), 4);
    EXPECT_EQ(CostOf(Levels({{0, 1}, {3, -1}})), 5);
}

TEST(CoefficientCost, AMagnitudeAboveOneIsNine)
{
    EXPECT_EQ(CostOf(Levels{{15, 2}}), 9);
    EXPECT_EQ(CostOf(Levels({{0, 1}, {1, 1}, {2, -2}})), 9);
}

TEST(CoefficientCost, MayLeaveOutTheDc)
{
    EXPECT_EQ(CostOf(Levels({{0, 50}, {1, 1}}), 1), 3);
    EXPECT_EQ(CostOf(Levels({{0, 50}}), 1), 0);
}

TEST(DropRules, AQuadrantOfThreeAndOneIsDroppedAndOfThreeAndTwoStays)
{
    EXPECT_FALSE(IsQuadrantWorthCoding(CostOf(Levels({{0, 1}, {4, 1}})))); // runs of 0 and 3
    EXPECT_TRUE(IsQuadrantWorthCoding(CostOf(Levels({{0, 1}, {2, 1}}))));  // runs of 0 and 1
    EXPECT_FALSE(IsMacroblockWorthCoding(6));
    EXPECT_TRUE(IsMacroblockWorthCoding(7));
}

TEST(DropRules, ChromaAcWorthSevenIsDroppedAndEightIsKept)
{
    const int32_t Seven = CostOf(Levels({{1, 1}, {2, 1}, {7, 1}}), 1); // runs of 0, 0 and 4
    const int32_t Eight = CostOf(Levels({{1, 1}, {2, 1}, {4, 1}}), 1); // runs of 0, 0 and 1
    ASSERT_EQ(Seven, 7);
    ASSERT_EQ(Eight, 8);
    EXPECT_FALSE(IsChromaAcWorthCoding(Seven, 1));
    EXPECT_TRUE(IsChromaAcWorthCoding(Eight, 1));
    EXPECT_FALSE(IsChromaAcWorthCoding(14, 2)); // of 4:2:2
    EXPECT_TRUE(IsChromaAcWorthCoding(15, 2));
}

TEST(DropRules, TwoLevelsWithoutARunAreTooMuchToSkip)
{
    EXPECT_TRUE(IsLumaTooMuchToSkip(CostOf(Levels({{0, 1}, {1, 1}}))));  // 3 + 3
    EXPECT_FALSE(IsLumaTooMuchToSkip(CostOf(Levels({{0, 1}, {2, 1}})))); // 3 + 2
    EXPECT_FALSE(IsChromaTooMuchToSkip(6));
    EXPECT_TRUE(IsChromaTooMuchToSkip(7));
}

TEST(ListLevels, GivesPositionsInScanOrderAndTheCost)
{
    BlockLevels<int16_t> Out{};
    EXPECT_EQ(ListLevels(Levels({{0, 7}, {2, 1}, {15, -1}}).Raster, 0, g_Zigzag, Out), 9);
    ASSERT_EQ(Out.Count, 3);
    EXPECT_EQ(Out.Position[1], 2);
    EXPECT_EQ(Out.Level[0], 7);
    EXPECT_EQ(Out.Level[2], -1);
    EXPECT_EQ(ListLevels(Levels({{0, 7}, {2, 1}, {15, -1}}).Raster, 1, g_Zigzag, Out), 2);
    ASSERT_EQ(Out.Count, 2);
    EXPECT_EQ(Out.Position[0], 1); // counted from coefficient 1
    EXPECT_EQ(Out.Position[1], 14);
    std::mt19937 Rng(5);
    for (int i = 0; i < 500; ++i) {
        Levels l{};
        for (int16_t& v : l.Raster) v = static_cast<int16_t>(Rng() % 5 ? 0 : static_cast<int>(Rng() % 5) - 2);
        for (const int First : {0, 1}) EXPECT_EQ(ListLevels(l.Raster, First, g_Zigzag, Out), CostOf(l, First));
    }
}

TEST(Quantiser, RoundsByAThirdInISlicesAndASixthElsewhere)
{
    UMC::DefaultMemoryAllocator Allocator;
    Core8 c;
    ASSERT_EQ(InitCore(c, SizedParams(16, 16), &Allocator), UMC::StatusOk);
    const kernels::QuantParams &Intra = c.Settings.Quant.Intra[0], &Inter = c.Settings.Quant.Inter[0];
    EXPECT_EQ(Intra.Factor[0], 13107);
    EXPECT_EQ(Intra.Rounding, 10922u);
    EXPECT_EQ(Inter.Rounding, 5461u);
    EXPECT_EQ((2 * Intra.Factor[0] + static_cast<int>(Intra.Rounding)) >> Intra.Shift, 1);
    EXPECT_EQ((2 * Inter.Factor[0] + static_cast<int>(Inter.Rounding)) >> Inter.Shift, 0);
    EXPECT_EQ(c.Settings.Quant.Intra[51].Shift, 23);
    EXPECT_EQ(c.Settings.Quant.Inter[51].Rounding, (1u << 23) / 6);
    EXPECT_EQ(c.Settings.Quant.Scale[0][0], 160);
}

// ---- Distances ---------------------------------------------------------------------------------------------

TEST(BlockDistance, IsNamedByTheSizeCode)
{
    EXPECT_EQ(SizeCode(16, 16), 20);
    EXPECT_EQ(SizeCode(16, 8), 18);
    EXPECT_EQ(SizeCode(8, 16), 12);
    EXPECT_EQ(SizeCode(8, 4), 9);
    EXPECT_EQ(SizeCode(4, 4), 5);
    std::vector<uint8_t> a(256, 10), b(256, 12);
    const struct {
        int w, h;
    } kSizes[]{{4, 4}, {8, 4}, {4, 8}, {8, 8}, {16, 8}, {8, 16}, {16, 16}, {2, 2}, {2, 4}, {4, 2}};
    for (const auto& s : kSizes) {
        EXPECT_EQ(SAD(a.data(), 16, b.data(), 16, SizeCode(s.w, s.h)), 2 * s.w * s.h) << s.w << 'x' << s.h;
        // A flat difference is the DC of each transform alone.
        EXPECT_EQ(SATD(a.data(), 16, b.data(), 16, SizeCode(s.w, s.h)), 2 * s.w * s.h) << s.w << 'x' << s.h;
    }
    for (const int Unknown : {0, 1, 7, 19, 21, 100}) {
        EXPECT_EQ(SAD(a.data(), 16, b.data(), 16, Unknown), 0) << Unknown;
        EXPECT_EQ(SATD(a.data(), 16, b.data(), 16, Unknown), 0) << Unknown;
    }
}

// Transforms of 2x2 samples, of which 2x4 and 4x2 have two: one that differs alone counts in all four coefficients.
TEST(BlockDistance, OfSmallChromaIsASumOfTransforms)
{
    const struct {
        int w, h;
    } kSizes[]{{2, 2}, {2, 4}, {4, 2}};
    const std::vector<uint8_t> Flat(64, 100);
    for (const auto& s : kSizes) {
        const auto Sum = [&](const std::vector<uint8_t>& p) {
            return SATD(p.data(), 8, Flat.data(), 8, SizeCode(s.w, s.h));
        };
        for (int i = 0; i < s.w * s.h; ++i) {
            std::vector<uint8_t> One = Flat;
            One[static_cast<size_t>(i / s.w * 8 + i % s.w)] = 103;
            EXPECT_EQ(Sum(One), 4 * 3) << s.w << 'x' << s.h << ' ' << i;
        }
        for (const int Odd : {1, 2, 3}) { // columns, rows and both by turns: one coefficient of each transform
            std::vector<uint8_t> Turns = Flat;
            for (int y = 0; y < s.h; ++y)
                for (int x = 0; x < s.w; ++x)
                    Turns[static_cast<size_t>(y * 8 + x)] =
                        static_cast<uint8_t>(((Odd & 1 ? x : 0) + (Odd & 2 ? y : 0)) % 2 ? 95 : 105);
            EXPECT_EQ(Sum(Turns), 5 * s.w * s.h) << s.w << 'x' << s.h << ' ' << Odd;
        }
    }
}

// ---- Motion search -----------------------------------------------------------------------------------------

TEST(Candidates, AreKeptOnce)
{
    MEParams<uint8_t> p{};
    AddCandidate(p, {1, 1});
    AddCandidate(p, {0, 0});
    AddCandidate(p, {1, 1});
    EXPECT_EQ(p.candidate_count, 2);
}

TEST(Candidates, ANinthTakesThePredictorsPlace)
{
    MEParams<uint8_t> p{};
    p.pred_mv = {40, -8};
    for (int16_t i = 0; i < 9; ++i) AddCandidate(p, {i, 7});
    EXPECT_EQ(p.candidate_count, 9);
    EXPECT_EQ(p.candidates[7], (MotionVector{7, 7}));
    EXPECT_EQ(p.pred_mv, (MotionVector{8, 7}));
    p.mv_cost_table = &MVBitCost[30];
    EXPECT_EQ(VectorCost(p, 8, 7), MVBitCost[30][2]); // counted from the whole-sample vector as if in quarter samples
}

TEST(Candidates, AnEighthLeavesThePredictor)
{
    MEParams<uint8_t> p{};
    p.pred_mv = {40, -8};
    for (int16_t i = 0; i < 8; ++i) AddCandidate(p, {i, 7});
    EXPECT_EQ(p.pred_mv, (MotionVector{40, -8}));
}

// A search over a picture of its own, which notes the points that it measures.
class Search : public testing::Test
{
protected:
    static constexpr int kSize = 320, kStep = 320, kCentre = 152;

    void SetUp() override
    {
        s_pSearch = this;
        m_Kernels = kernels::g_Kernels;
        kernels::g_Kernels.Sad16x16 = &OneSad;
        kernels::g_Kernels.Sad16x16x4 = &FourSads;
        m_Reference.assign(kSize * kSize, 0);
        m_Source.assign(16 * kStep, 255); // nothing matches
        m_p.src_y = m_Source.data();
        m_p.ref_y = m_Reference.data() + kCentre * kStep + kCentre;
        m_p.pitch = m_p.SrcPitch = kStep;
        m_p.block_width = m_p.block_height = 16;
        m_p.mv_cost_table = &MVBitCost[20];
        m_p.limit_left = m_p.limit_top = -127;
        m_p.limit_right = m_p.limit_bottom = 127;
        m_p.range_x = m_p.range_y = 8;
        m_p.flags = ENC_ANALYSE_SAD | ENC_ANALYSE_SUBPEL;
        m_p.method = SEARCH_LOG;
        m_p.threshold = 0;
        m_p.pHalves = &m_Halves;
        m_p.pTrial = m_Trial;
        m_p.pVisited = m_Visited;
        AddCandidate(m_p, {0, 0});
    }
    void TearDown() override { kernels::g_Kernels = m_Kernels; }

    // Puts the source block into the reference at a vector.
    void Place(int x, int y)
    {
        for (int j = 0; j < 16; ++j)
            for (int i = 0; i < 16; ++i) {
                const auto v = static_cast<uint8_t>(40 + ((i * 7 + j * 13) & 63));
                m_Source[static_cast<size_t>(j * kStep + i)] = v;
                m_Reference[static_cast<size_t>((kCentre + y + j) * kStep + kCentre + x + i)] = v;
            }
    }
    using Points = std::set<std::pair<int, int>>;

    void Note(const uint8_t* p)
    {
        const auto At = static_cast<int>(p - m_p.ref_y) + kCentre * kStep + kCentre;
        m_Measured.emplace(At % kStep - kCentre, At / kStep - kCentre);
    }
    static int32_t OneSad(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
    {
        s_pSearch->Note(pB);
        return s_pSearch->m_Kernels.Sad16x16(pA, StepA, pB, StepB);
    }
    static void FourSads(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* const ppB[4], ptrdiff_t StepB,
                         int32_t Sum[4])
    {
        for (int i = 0; i < 4; ++i) s_pSearch->Note(ppB[i]);
        s_pSearch->m_Kernels.Sad16x16x4(pA, StepA, ppB, StepB, Sum);
    }
    static Points Ring(int x, int y) { return {{-x, -y}, {0, -y}, {x, -y}, {-x, 0}, {x, 0}, {-x, y}, {0, y}, {x, y}}; }

    static inline Search* s_pSearch = nullptr;
    kernels::KernelSlots m_Kernels;
    std::vector<uint8_t> m_Reference, m_Source;
    HalfPlanes<uint8_t> m_Halves;
    alignas(16) uint8_t m_Trial[256];
    uint8_t m_Visited[kVisitedPoints];
    MEParams<uint8_t> m_p{};
    Points m_Measured;
};

TEST_F(Search, LogHalvesBothStepsUntilOneIsGone)
{
    m_p.range_y = 2;
    // At QP 0 a vector costs next to nothing, so every point is measured.
    m_p.mv_cost_table = &MVBitCost[0];
    m_Source.assign(m_Source.size(), 255);
    m_Reference[0] = 0;
    SearchInteger(m_p);
    Points Want{{0, 0}};
    Want.merge(Ring(8, 2));
    Want.merge(Ring(4, 1));
    // Nothing can beat the start, as all points have the same distortion and cost more; only those whose price is below
    // the best cost are measured, which here is all.
    EXPECT_EQ(m_Measured, Want);
    EXPECT_EQ(m_p.best_mv, (MotionVector{0, 0}));
    EXPECT_EQ(m_p.best_cost, 255 * 256 + 2);
}

TEST_F(Search, LogTakesTheSteps8421)
{
    m_p.mv_cost_table = &MVBitCost[0];
    SearchInteger(m_p);
    Points Want{{0, 0}};
    for (const int Step : {8, 4, 2, 1}) Want.merge(Ring(Step, Step));
    EXPECT_EQ(m_Measured, Want);
}

// Ranges that no window has: the points of the unbounded steps that lie within reach, and no walk through the others.
class SearchBeyondReach : public Search
{
protected:
    static constexpr int32_t kLargest = std::numeric_limits<int32_t>::max();

    const Points& Measured(int32_t Method, int32_t RangeX, int32_t RangeY)
    {
        m_p.mv_cost_table = &MVBitCost[0];
        m_p.method = Method;
        m_p.range_x = RangeX;
        m_p.range_y = RangeY;
        m_Measured.clear();
        SearchInteger(m_p);
        return m_Measured;
    }
};

TEST_F(SearchBeyondReach, LogHalvesItsStepsAsAnyOthers)
{
    Points Want{{0, 0}};
    for (int Step = 127; Step > 0; Step /= 2) Want.merge(Ring(Step, Step));
    EXPECT_EQ(Measured(SEARCH_LOG, kLargest, kLargest), Want);
    Want = {{0, 0}};
    for (int Step = 8; Step > 0; Step /= 2) Want.merge(Points{{0, -Step}, {0, Step}});
    EXPECT_EQ(Measured(SEARCH_LOG, kLargest, 8), Want);
}

TEST_F(SearchBeyondReach, CrossLogTakesThePowerThatCrossesTheWindow)
{
    AddCandidate(m_p, {-100, 0});
    m_p.pred_mv = {-400, 0};
    EXPECT_TRUE(Measured(SEARCH_CROSS_LOG, kLargest, kLargest).count({28, 0}));
    EXPECT_EQ(Measured(SEARCH_CROSS_LOG, kLargest, kLargest), Measured(SEARCH_CROSS_LOG, 256, 256));
}

TEST_F(SearchBeyondReach, CrossKeepsTheParityOfItsLines)
{
    for (const int32_t Range : {1000, 1001, kLargest}) {
        const Points& Line = Measured(SEARCH_CROSS, Range, Range);
        for (int i = 1; i <= 127; ++i) {
            EXPECT_EQ(Line.count({i, 0}), size_t{i % 2 == Range % 2}) << Range << ' ' << i;
            EXPECT_EQ(Line.count({0, -i}), size_t{i % 2 == Range % 2}) << Range << ' ' << i;
        }
    }
}

TEST_F(SearchBeyondReach, AxisBisectionStartsAtTheFirstStepWithin)
{
    Points Want{{0, 0}};
    for (int Step = 127; Step > 0; Step /= 2) Want.merge(Points{{-Step, 0}, {Step, 0}, {0, -Step}, {0, Step}});
    EXPECT_EQ(Measured(SEARCH_AXIS_BISECTION, kLargest, kLargest), Want);
}

TEST_F(SearchBeyondReach, UmbrellaFindsWhatTheWholeWindowHolds)
{
    const Points Whole = Measured(SEARCH_UMBRELLA, kLargest, kLargest);
    EXPECT_EQ(Whole, Measured(SEARCH_UMBRELLA, 1023, 1023));
    EXPECT_TRUE(Whole.count({127, 0}));
}

// ---- Steps of the patterns where nothing improves --------------------------------------------------------------

class SearchSteps : public SearchBeyondReach
{
protected:
    static Points Inside(const Points& All, int Range)
    {
        Points In;
        for (const auto& [x, y] : All)
            if (std::abs(x) <= Range && std::abs(y) <= Range) In.emplace(x, y);
        return In;
    }
    static Points Axes(int x, int y) { return {{-x, 0}, {x, 0}, {0, -y}, {0, y}}; }
};

TEST_F(SearchSteps, OfACrossLogHalveDownToASquare)
{
    Points Want{{0, 0}};
    for (const int Step : {4, 2}) Want.merge(Axes(Step, Step));
    Want.merge(Ring(1, 1));
    EXPECT_EQ(Measured(SEARCH_CROSS_LOG, 8, 8), Want);
    EXPECT_EQ(Measured(SEARCH_CROSS_LOG, 15, 15), Want);
    Want.merge(Axes(8, 8));
    EXPECT_EQ(Measured(SEARCH_CROSS_LOG, 16, 16), Want);
    Want = {{0, 0}};
    Want.merge(Ring(1, 1));
    EXPECT_EQ(Measured(SEARCH_CROSS_LOG, 1, 1), Want); // a first step of 2 leads out of the window
}

TEST_F(SearchSteps, OfAHexagonLogBeginAtAQuarterOfBothSides)
{
    Points All{{0, 0}};
    for (const int Step : {8, 4, 2, 1}) {
        All.merge(Axes(2 * Step, 2 * Step));
        All.merge(Points{{-Step, -Step}, {Step, -Step}, {Step, Step}, {-Step, Step}});
    }
    All.merge(Axes(1, 1));
    EXPECT_EQ(Measured(SEARCH_HEXAGON_LOG, 8, 8), Inside(All, 8));
}

TEST_F(SearchSteps, OfACrossAreEverySecondPointButTheLast)
{
    Points Want;
    for (const int i : {-8, -6, -4, -2, 0, 2, 4, 6}) Want.merge(Points{{i, 0}, {0, i}});
    EXPECT_EQ(Measured(SEARCH_CROSS, 8, 8), Want);
}

TEST_F(SearchSteps, OfAnAxisBisectionHalveOnEachAxis)
{
    Points Want{{0, 0}};
    for (const int Step : {8, 4, 2, 1}) Want.merge(Points{{-Step, 0}, {Step, 0}});
    for (const int Step : {3, 1}) Want.merge(Points{{0, -Step}, {0, Step}});
    EXPECT_EQ(Measured(SEARCH_AXIS_BISECTION, 8, 3), Want);
}

TEST_F(SearchSteps, OfTheWalkAreTheEightAround)
{
    Points Want{{0, 0}};
    Want.merge(Ring(1, 1));
    for (const int32_t Method : {6, 7, 330 & 15}) EXPECT_EQ(Measured(Method, 8, 8), Want) << Method;
}

TEST_F(SearchSteps, OfTheUmbrellaAreLinesASquareAndRings)
{
    Points Want;
    for (const int i : {-8, -6, -4, -2, 0, 2, 4, 6}) Want.emplace(i, 0);
    for (const int i : {-4, -2, 0, 2}) Want.emplace(0, i); // half of the range
    for (int y = -2; y <= 2; ++y)
        for (int x = -2; x <= 2; ++x) Want.emplace(x, y);
    for (const int r : {1, 2}) // a quarter of the range
        for (const auto& [x, y] : Points{{0, 4}, {2, 3}, {4, 2}, {4, 1}, {4, 0}})
            for (const int Side : {-r, r}) Want.merge(Points{{Side * x, r * y}, {Side * x, -r * y}});
    Want.merge(Points{{-1, -2}, {1, -2}, {2, 0}, {1, 2}, {-1, 2}, {-2, 0}}); // the hexagon and the four beside
    Want.merge(Axes(1, 1));
    EXPECT_EQ(Measured(SEARCH_UMBRELLA, 8, 8), Want);
}

TEST_F(Search, TheWindowIsCutToTheLimits)
{
    m_p.mv_cost_table = &MVBitCost[0];
    m_p.limit_left = m_p.limit_top = -3;
    SearchInteger(m_p);
    for (const auto& [x, y] : m_Measured) EXPECT_TRUE(x >= -3 && y >= -3) << x << ' ' << y;
    EXPECT_TRUE(m_Measured.count({8, 8}));
}

TEST_F(Search, TheWindowIsCentredOnTheBestCandidate)
{
    Place(30, -20);
    AddCandidate(m_p, {28, -20});
    m_p.method = SEARCH_FULL;
    m_p.range_x = 2;
    m_p.range_y = 1;
    SearchInteger(m_p);
    EXPECT_EQ(m_p.best_mv, (MotionVector{120, -80}));
}

TEST_F(Search, ACandidateOutsideTheLimitsIsNotTried)
{
    Place(30, 0);
    AddCandidate(m_p, {30, 0});
    m_p.limit_right = 29;
    m_p.range_x = m_p.range_y = 0;
    SearchInteger(m_p);
    EXPECT_EQ(m_p.best_mv, (MotionVector{0, 0}));
}

TEST_F(Search, StopsAtTheThreshold)
{
    Place(0, 0);
    m_p.mv_cost_table = &MVBitCost[0];
    m_p.threshold = 2; // the price of a zero difference
    SearchInteger(m_p);
    EXPECT_EQ(m_Measured, (Points{{0, 0}}));
    EXPECT_EQ(m_p.best_cost, 2);
}

TEST_F(Search, ACandidateStopsAtTheThresholdAndNotAboveIt)
{
    Place(0, 0);
    m_Source[5] = static_cast<uint8_t>(m_Source[5] + 50); // so that vectors are cheaper than what is left
    m_p.mv_cost_table = &MVBitCost[0];
    for (const int32_t Threshold : {52, 51}) {
        m_Measured.clear();
        m_p.threshold = Threshold;
        SearchInteger(m_p);
        EXPECT_EQ(m_p.best_cost, 52);
        EXPECT_EQ(m_Measured == (Points{{0, 0}}), Threshold == 52);
    }
}

TEST_F(Search, APointOfTheWalkStopsAtTheThresholdToo)
{
    Place(-8, -8);
    m_p.mv_cost_table = &MVBitCost[0];
    const int32_t Cost = VectorCost(m_p, -32, -32);
    for (const int32_t Threshold : {Cost, Cost - 1}) {
        m_Measured.clear();
        m_p.threshold = Threshold;
        SearchInteger(m_p);
        EXPECT_EQ(m_p.best_cost, Cost);
        Points Want{{0, 0}};
        Want.merge(Ring(8, 8));
        EXPECT_EQ(m_Measured == Want, Threshold == Cost); // else it goes on from there
    }
}

TEST_F(Search, AThresholdOfZeroStopsAtACostOfZero)
{
    static constexpr BitCostRow kFree{};
    Place(0, 0);
    m_p.mv_cost_table = &kFree;
    SearchInteger(m_p);
    EXPECT_EQ(m_Measured, (Points{{0, 0}}));
    EXPECT_EQ(m_p.best_cost, 0);
}

TEST_F(Search, AVectorThatCostsTooMuchIsNotMeasured)
{
    Place(0, 0);
    m_p.mv_cost_table = &MVBitCost[51]; // the start costs 182, and any other vector more
    SearchInteger(m_p);
    EXPECT_EQ(m_Measured, (Points{{0, 0}}));
}

TEST_F(Search, EveryMethodFindsAVectorNearby)
{
    for (const int Method : {0, 1, 2, 3, 6, 7, 8, 10}) {
        m_Reference.assign(m_Reference.size(), 0);
        // A wide bump that leads the way.
        for (int y = 0; y < kSize; ++y)
            for (int x = 0; x < kSize; ++x) {
                const int d = std::abs(x - kCentre - 8 - 3) + std::abs(y - kCentre - 8 + 2);
                m_Reference[static_cast<size_t>(y * kStep + x)] = static_cast<uint8_t>(d < 120 ? 240 - 2 * d : 0);
            }
        for (int y = 0; y < 16; ++y)
            for (int x = 0; x < 16; ++x)
                m_Source[static_cast<size_t>(y * kStep + x)] =
                    m_Reference[static_cast<size_t>((kCentre - 2 + y) * kStep + kCentre + 3 + x)];
        m_p.method = Method;
        m_p.best_cost = 0;
        m_p.mv_cost_table = &MVBitCost[10];
        SearchInteger(m_p);
        EXPECT_EQ(m_p.best_mv, (MotionVector{12, -8})) << Method;
    }
}

TEST_F(Search, CrossAndBisectionMeasureTheirFirstPassInRowZero)
{
    for (const int Method : {SEARCH_CROSS, SEARCH_AXIS_BISECTION}) {
        m_Measured.clear();
        m_p.candidate_count = 0;
        m_p.mv_cost_table = &MVBitCost[0];
        m_p.limit_top = 10; // the start lies in row 20, and row 0 is not in the window
        AddCandidate(m_p, {0, 20});
        m_p.method = Method;
        SearchInteger(m_p);
        EXPECT_TRUE(m_Measured.count({-8, 0})) << Method;
        EXPECT_FALSE(m_Measured.count({-8, 20})) << Method;
        EXPECT_EQ(m_p.best_mv.y, 80) << Method; // the column alone may change
    }
}

TEST_F(Search, RefinementReachesThreeQuarterSamples)
{
    for (int y = 0; y < kSize; ++y)
        for (int x = 0; x < kSize; ++x) m_Reference[static_cast<size_t>(y * kStep + x)] = Clip8(Texture(x, y, 1));
    for (const auto& [fx, fy] : {std::pair{1, 0}, {2, 2}, {3, 1}, {-3, 3}, {-1, -2}, {0, -3}, {-2, 1}, {3, -3}}) {
        const uint8_t* const pAt = m_p.ref_y + (fy >> 2) * kStep + (fx >> 2);
        m_Kernels.InterpolateLuma16(pAt, kStep, m_Source.data(), kStep, fx & 3, fy & 3, 16);
        for (const int32_t Method : {int32_t{SEARCH_FULL}, SEARCH_LOG + kMethodWalkingRefinement})
            for (const uint32_t Sad : {0u, static_cast<uint32_t>(ENC_ANALYSE_SAD)}) {
                m_p.method = Method;
                m_p.flags = Sad | ENC_ANALYSE_SUBPEL;
                m_p.mv_cost_table = &MVBitCost[0];
                m_p.best_mv = {0, 0};
                m_p.best_cost = INT32_MAX;
                SearchSubpel(m_p);
                EXPECT_EQ(m_p.best_mv, (MotionVector{static_cast<int16_t>(fx), static_cast<int16_t>(fy)}))
                    << Method << ' ' << Sad;
            }
    }
}

// Chroma rows that rise by 8 each differ by one for an eighth of a row.
TEST_F(Search, ChromaBetweenFieldsOfOtherParityLiesAQuarterOfARowOff)
{
    std::vector<uint8_t> Rows(32 * 32), TrialUV(16 * 8);
    for (size_t i = 0; i < Rows.size(); ++i) Rows[i] = static_cast<uint8_t>(8 * (i / 32));
    m_p.src_u = m_p.src_v = m_p.ref_u = m_p.ref_v = &Rows[8 * 32 + 8];
    m_p.pitch = m_p.SrcPitch = 32;
    m_p.pTrialUV = TrialUV.data();
    m_p.chroma_format = 1;
    for (const int32_t Offset : {-2, 0, 2})
        for (const int32_t y : {-1, 0, 3, 8}) {
            m_p.chroma_mv_offset = Offset;
            EXPECT_EQ(ChromaDistortion(m_p, 0, y), 2 * 64 * std::abs(y + Offset)) << Offset << ' ' << y;
        }
}

// ---- Intra -------------------------------------------------------------------------------------------------

// The macroblock records of a coded picture.
struct CodedPicture {
    CodedPicture(int32_t Width, int32_t Height, Scene s, int32_t Qp)
    {
        UMC::H264EncoderParams p = SizedParams(Width, Height);
        p.rate_control_method = 3;
        p.quant_i = p.quant_p = static_cast<uint8_t>(Qp);
        EXPECT_EQ(InitCore(c, p, &Allocator), UMC::StatusOk);
        auto Clip = MakeClip(s, Width, Height, 1);
        UMC::VideoData Input;
        Input.Init(Width, Height, UMC::YUV420, 8);
        Input.SetBufferPointer(Clip[0].data(), Clip[0].size());
        UMC::MediaData Output(1 << 20);
        EXPECT_EQ(FrameStep(c, &Input, &Output), UMC::StatusOk);
    }
    UMC::DefaultMemoryAllocator Allocator;
    Core8 c;
};

TEST(IntraDecision, TheFirstMacroblockHasNothingToPredictFrom)
{
    const CodedPicture Flat(16, 16, Scene::Still, 51);
    EXPECT_EQ(Flat.c.Job.pCurrent->mb_global[0].Type, MB_INTRA16X16);
    EXPECT_EQ(Flat.c.Job.LocalMacroblocks[0].Intra16Mode, 2);
    EXPECT_EQ(Flat.c.Job.LocalMacroblocks[0].ChromaMode, 0);
    const CodedPicture Fine(16, 16, Scene::Pan, 12);
    EXPECT_EQ(Fine.c.Job.pCurrent->mb_global[0].Type, MB_INTRA4X4);
    EXPECT_EQ(Fine.c.Job.IntraModes[0], 2); // the first block as well
}

TEST(IntraDecision, MacroblocksOtherThan4x4StandForDc)
{
    const CodedPicture p(64, 64, Scene::Still, 44);
    bool bAny16 = false;
    for (size_t i = 0; i < 16; ++i) {
        if (p.c.Job.pCurrent->mb_global[i].Type != MB_INTRA16X16) continue;
        bAny16 = true;
        for (size_t b = 0; b < 16; ++b) EXPECT_EQ(p.c.Job.IntraModes[i * 16 + b], 2);
    }
    EXPECT_TRUE(bAny16);
}

TEST(VectorLimits, ReachFifteenSamplesBeyondThePictureAndNoMoreThan127)
{
    UMC::DefaultMemoryAllocator Allocator;
    Core8 c;
    ASSERT_EQ(InitCore(c, SizedParams(640, 64), &Allocator), UMC::StatusOk);
    const MacroblockPosition &First = c.Settings.Positions[0], &Last = c.Settings.Positions[159],
                             &Middle = c.Settings.Positions[20];
    EXPECT_EQ(First.LimitLeft, -15);
    EXPECT_EQ(First.LimitTop, -15);
    EXPECT_EQ(First.LimitRight, 127);
    EXPECT_EQ(First.LimitBottom, 63);
    EXPECT_EQ(Last.LimitRight, 15);
    EXPECT_EQ(Last.LimitBottom, 15);
    EXPECT_EQ(Middle.LimitLeft, -127);
}

} // namespace
