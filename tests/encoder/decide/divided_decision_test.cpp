// The ladder of a P macroblock's divisions, one unit of cost at a time.
#include "tests/encoder/decide/stated_distances.h"

namespace {

using namespace encoder_testing;

constexpr int32_t kFar = 100000;

// Costs of the forms of a macroblock, each with all its prices; every quadrant, half or part of one costs the same.
struct FormCosts {
    int32_t Whole = kFar, Quadrant = kFar, Rows = kFar, Columns = kFar; // of one half: a half of the sum
    int32_t Of8x4 = kFar, Of4x8 = kFar, Of4x4 = kFar;                   // of one part
};

class DividedP : public StatedDistances
{
protected:
    // Distances that come to the costs, with one reference.
    void State(const FormCosts& f)
    {
        m_Distance = [f](const Compared& s) {
            const int32_t Cost = s.Is(16, 16)  ? f.Whole
                                 : s.Is(8, 8)  ? f.Quadrant
                                 : s.Is(16, 8) ? f.Rows
                                 : s.Is(8, 16) ? f.Columns
                                 : s.Is(8, 4)  ? f.Of8x4
                                 : s.Is(4, 8)  ? f.Of4x8
                                               : f.Of4x4;
            return std::max(Cost - kVector - (s.Width * s.Height >= 64 ? kRef : 0), 0);
        };
    }
    Candidate DecideAt(const FormCosts& f)
    {
        State(f);
        return Decide();
    }
};

// Quadrants cost 4 bits more than their sum, halves 2.
TEST_F(DividedP, ATieGoesToTheLargerPartAndOfHalvesToRows)
{
    StartP(1, 1);
    EXPECT_EQ(DecideAt({1000, 249, 499, 499}).Type, MB_INTER16X16);
    EXPECT_EQ(DecideAt({1001, 249, 499, 499}).Type, MB_INTER8X8_REF0);
    EXPECT_EQ(DecideAt({1001, 249, 499, 499}).Cost, 1000);
    EXPECT_EQ(DecideAt({1001, 250, 499, 499}).Type, MB_INTER16X8);
    EXPECT_EQ(DecideAt({1001, 250, 500, 499}).Type, MB_INTER8X16);
    EXPECT_EQ(DecideAt({1001, 250, 500, 499}).Cost, 1000);
    EXPECT_EQ(DecideAt({1001, 250, 500, 500}).Type, MB_INTER16X16);
}

TEST_F(DividedP, HalvesAreTriedWhereQuadrantsCostLessThanEightBitsMore)
{
    StartP(1, 1);
    for (const int32_t Whole : {991, 992, 993}) { // quadrants cost 1000
        DecideAt({Whole, 249});
        EXPECT_EQ(Seen(16, 8) > 0, Whole > 992) << Whole;
        EXPECT_EQ(Seen(8, 16) > 0, Whole > 992) << Whole;
    }
}

TEST_F(DividedP, NothingMoreIsTriedAtTheLimit)
{
    StartP(1, 2);
    for (const int32_t Quadrant : {38, 39, 40}) { // 156, 160 and 164 in all
        DecideAt({400, Quadrant});
        EXPECT_EQ(Seen(16, 8) > 0, Quadrant > 39) << Quadrant;
        EXPECT_EQ(Seen(4, 4) > 0, Quadrant > 39) << Quadrant;
    }
    for (const int32_t Whole : {kLimit - 1, kLimit, kLimit + 1}) {
        DecideAt({Whole, 249});
        EXPECT_EQ(Seen(8, 8) > 0, Whole > kLimit) << Whole;
    }
}

TEST_F(DividedP, WithoutTheFlagsLargerPartsStay)
{
    StartP(1, 1);
    DecideAt({1001, 249});
    EXPECT_GT(Seen(8, 8), 0u);
    EXPECT_EQ(Seen(4, 4) + Seen(8, 4) + Seen(4, 8), 0u);
    c.Settings.AnalysisFlags &= ~static_cast<uint32_t>(ENC_ANALYSE_P_8X8);
    DecideAt({1001, 249});
    EXPECT_EQ(Seen(8, 8), 0u);
}

TEST_F(DividedP, SmallerPartsAreTriedOnlyBelowTheCostOfTheWhole)
{
    StartP(1, 2);
    for (const int32_t Whole : {999, 1000, 1001}) {
        DecideAt({Whole, 249});
        for (const auto& [Width, Height] : {std::pair{4, 4}, {8, 4}, {4, 8}})
            EXPECT_EQ(Seen(Width, Height) > 0, Whole > 1000) << Whole;
    }
}

// A quadrant of 4x4 parts costs its reference, 5 bits and the parts; one of two parts 3 bits. Of equal ones the order
// is 8x8, 4x4, 8x4, 4x8.
TEST_F(DividedP, ATieOfShapesGoesToTheEarlier)
{
    StartP(1, 2);
    const auto Shape = [this](int32_t Plain, int32_t Of8x4, int32_t Of4x8, int32_t Of4x4) {
        const Candidate Won =
            DecideAt({.Whole = 5000, .Quadrant = Plain, .Of8x4 = Of8x4, .Of4x8 = Of4x8, .Of4x4 = Of4x4});
        EXPECT_EQ(Won.Type, MB_INTER8X8_REF0);
        EXPECT_EQ(std::count(Motion().SubTypes, Motion().SubTypes + 4, Motion().SubTypes[0]), 4);
        EXPECT_EQ(Won.Cost, 4 + 4 * std::min({Plain, 4 + 2 * Of8x4, 4 + 2 * Of4x8, 6 + 4 * Of4x4}));
        return int{Motion().SubTypes[0]};
    };
    EXPECT_EQ(Shape(242, 119, 119, 59), SUB_8X8);
    EXPECT_EQ(Shape(243, 119, 119, 59), SUB_4X4);
    EXPECT_EQ(Shape(243, 119, 119, 60), SUB_8X4);
    EXPECT_EQ(Shape(243, 120, 119, 60), SUB_4X8);
    EXPECT_EQ(Shape(243, 120, 120, 60), SUB_8X8);
}

TEST_F(DividedP, PartsAreSearchedFromTheWholesVectorAndThenFromTheirPredictor)
{
    StartP(1, 1);
    m_Distance = [](const Compared& s) {
        return s.Is(16, 16) ? 2000 + 100 * (std::abs(s.dx - 5) + std::abs(s.dy + 3)) : 5 * s.Width * s.Height;
    };
    Decide();
    using Places = std::vector<std::pair<int, int>>;
    for (const auto& [Width, Height] : {std::pair{8, 8}, {16, 8}, {8, 16}})
        for (int y = 0; y < 4; y += Height / 4)
            for (int x = 0; x < 4; x += Width / 4) {
                Places Found;
                for (const Compared& s : m_Seen)
                    if (s.Is(Width, Height) && s.x == x && s.y == y) Found.emplace_back(s.dx, s.dy);
                ASSERT_GE(Found.size(), 2u);
                EXPECT_EQ(Found[0], (std::pair{5, -3})) << Width << 'x' << Height;
                EXPECT_EQ(Found[1], (std::pair{0, 0})) << Width << 'x' << Height; // as all around
            }
}

// The last 4x4 block of the first quadrant: the block above right of it comes later, so the one above left stands in.
TEST_F(DividedP, SmallPartsArePredictedFromWhatComesBeforeThem)
{
    StartP(1, 2);
    m_Distance = [](const Compared& s) {
        const auto Towards = [&s](int x, int y) { return 50 * (std::abs(s.dx - x) + std::abs(s.dy - y)); };
        const bool IsFirst = s.x < 2 && s.y < 2;
        if (s.Is(8, 8)) return 100 + (IsFirst ? Towards(1, -1) : s.y == 0 ? Towards(3, 3) : 0);
        if (s.Is(4, 4) && IsFirst) return 20 + (s.x == s.y ? Towards(0, 0) : s.x ? Towards(2, 0) : Towards(0, 2));
        return s.Width * s.Height > 64 ? 5000 : 100;
    };
    Decide();
    std::vector<std::pair<int, int>> Found;
    for (const Compared& s : m_Seen)
        if (s.Is(4, 4) && s.x == 1 && s.y == 1) Found.emplace_back(s.dx, s.dy);
    ASSERT_GE(Found.size(), 2u);
    EXPECT_EQ(Found[0], (std::pair{1, -1})); // that of the quadrant
    EXPECT_EQ(Found[1], (std::pair{0, 0}));  // the median of (0, 2), (2, 0) and (0, 0)
}

// The search of a part stops at its share of the limit: at the first vector, which is the only one that it measures.
TEST_F(DividedP, PartsHaveTheirShareOfTheLimit)
{
    StartP(1, 2);
    const auto Measured = [this](const FormCosts& f, int Width, int Height) {
        DecideAt(f);
        return Seen(Width, Height);
    };
    // Vector and distance are compared; the reference comes on top.
    EXPECT_EQ(Measured({400, kLimit / 4 + kRef}, 8, 8), 4u);
    EXPECT_GT(Measured({400, kLimit / 4 + kRef + 1}, 8, 8), 4u);
    EXPECT_EQ(Measured({400, 60, kLimit / 2 + kRef, kLimit / 2 + kRef}, 16, 8), 2u);
    EXPECT_EQ(Measured({400, 60, kLimit / 2 + kRef, kLimit / 2 + kRef}, 8, 16), 2u);
    EXPECT_GT(Measured({400, 60, kLimit / 2 + kRef + 1, kFar}, 16, 8), 2u);
    EXPECT_EQ(Measured({.Whole = 400, .Quadrant = 60, .Of8x4 = kLimit / 8}, 8, 4), 8u);
    EXPECT_GT(Measured({.Whole = 400, .Quadrant = 60, .Of8x4 = kLimit / 8 + 1}, 8, 4), 8u);
    EXPECT_EQ(Measured({.Whole = 400, .Quadrant = 60, .Of4x8 = kLimit / 8}, 4, 8), 8u);
    EXPECT_EQ(Measured({.Whole = 400, .Quadrant = 60, .Of4x4 = kLimit / 16}, 4, 4), 16u);
    EXPECT_GT(Measured({.Whole = 400, .Quadrant = 60, .Of4x4 = kLimit / 16 + 1}, 4, 4), 16u);
}

// ---- References ----------------------------------------------------------------------------------------------

// Three references: the last picture is number 0 in the list, the first number 2. Distances of quadrants by reference.
class DividedPReferences : public StatedDistances
{
protected:
    // @param Best  the picture that each quadrant fits best, in coding order; the whole fits picture Whole
    void State(int Whole, std::array<int, 4> Best)
    {
        m_Distance = [=](const Compared& s) {
            if (s.Is(16, 16)) return s.Ref == Whole ? 900 : 1000;
            if (s.Is(8, 8)) return s.Ref == Best[static_cast<size_t>(s.y + s.x / 2)] ? 200 : 300;
            return 50000;
        };
    }
};

TEST_F(DividedPReferences, OfQuadrantsGoAsFarAsTheWholesBest)
{
    StartP(3, 1);
    State(1, {2, 2, 2, 2});
    Decide();
    EXPECT_EQ(RefsOf(16, 16, 0, 0), (std::set<int>{0, 1, 2}));
    for (const int x : {0, 2})
        for (const int y : {0, 2}) EXPECT_EQ(RefsOf(8, 8, x, y), (std::set<int>{1, 2}));
    c.Settings.AnalysisFlags |= ENC_ANALYSE_ALL_REFS;
    Decide();
    EXPECT_EQ(RefsOf(8, 8, 2, 2), (std::set<int>{0, 1, 2}));
}

TEST_F(DividedPReferences, OfHalvesAreThoseOfTheirQuadrants)
{
    StartP(3, 1);
    State(0, {2, 0, 0, 0});
    Decide();
    EXPECT_EQ(RefsOf(16, 8, 0, 0), (std::set<int>{0, 2})); // and not the one between
    EXPECT_EQ(RefsOf(16, 8, 0, 2), (std::set<int>{0}));
    EXPECT_EQ(RefsOf(8, 16, 0, 0), (std::set<int>{0, 2}));
    EXPECT_EQ(RefsOf(8, 16, 2, 0), (std::set<int>{0}));
    c.Settings.AnalysisFlags |= ENC_ANALYSE_ALL_REFS;
    Decide();
    EXPECT_EQ(RefsOf(16, 8, 0, 2), (std::set<int>{0, 1, 2}));
}

TEST_F(DividedPReferences, QuadrantsOfTheFirstAloneHaveATypeOfTheirOwn)
{
    StartP(3, 1);
    State(0, {2, 2, 2, 2});
    EXPECT_EQ(Decide().Type, MB_INTER8X8_REF0);
    State(0, {2, 2, 1, 2});
    EXPECT_EQ(Decide().Type, MB_INTER8X8);
    EXPECT_EQ(Motion().References[0][2], 1);
    EXPECT_EQ(Motion().References[0][3], 0);
}

// ---- Intra and transform ---------------------------------------------------------------------------------------

TEST_F(DividedP, IntraHasNoSurchargeInP)
{
    StartP(1, 0);
    for (const int32_t Intra : {298, 299, 300}) { // and one bit for the vertical mode
        m_Distance = [=](const Compared& s) { return s.With == Compared::INTRA ? Intra : 300 - kVector - kRef; };
        const Candidate Won = encoder_testing::AnalyseMacroblock(c.Settings, Slice());
        EXPECT_EQ(Won.Type, Intra + 1 < 300 ? MB_INTRA16X16 : MB_INTER16X16) << Intra;
    }
}

int32_t s_Of4x4, s_Of8x8; // sums of the transforms' coefficients: of a macroblock, and of a quadrant

class TransformOfP : public DividedP
{
protected:
    void StartParts(int32_t Level)
    {
        Start(1, [Level](auto& p) {
            p.partition_level = Level;
            p.transform_8x8_mode = 1;
        });
        kernels::g_Kernels.Satd16x16 = [](const uint8_t*, ptrdiff_t, const uint8_t*, ptrdiff_t) { return s_Of4x4; };
        kernels::g_Kernels.Satd8x8By8 = [](const uint8_t*, ptrdiff_t, const uint8_t*, ptrdiff_t) { return s_Of8x8; };
        c.Settings.SkipIntraThreshold[kQp] = kFar;
    }
    bool Has8x8(int32_t Of4x4, int32_t Of8x8)
    {
        s_Of4x4 = Of4x4;
        s_Of8x8 = Of8x8;
        return encoder_testing::AnalyseMacroblock(c.Settings, Slice()).Transform8x8;
    }
};

TEST_F(TransformOfP, Is8x8FromATieOfHalfTheSumAndTwoBitsOn)
{
    StartParts(0);
    State({.Whole = 300});
    EXPECT_FALSE(Has8x8(201, 100));
    EXPECT_TRUE(Has8x8(202, 100));
    c.Settings.Params.transform_8x8_mode = 0;
    EXPECT_FALSE(Has8x8(202, 100));
}

TEST_F(TransformOfP, IsNever8x8WithSmallerParts)
{
    StartParts(2);
    State({.Whole = 5000, .Quadrant = 300});
    EXPECT_TRUE(Has8x8(202, 100));
    EXPECT_EQ(Mb().Records.pGlobal->Type, MB_INTER8X8_REF0);
    State({.Whole = 5000, .Quadrant = 300, .Of4x8 = 100});
    EXPECT_FALSE(Has8x8(202, 100));
    EXPECT_EQ(Motion().SubTypes[3], SUB_4X8);
    State({.Whole = 5000, .Quadrant = 300, .Rows = 300});
    EXPECT_TRUE(Has8x8(202, 100));
    EXPECT_EQ(Mb().Records.pGlobal->Type, MB_INTER16X8);
}

// ---- Blocks without levels -------------------------------------------------------------------------------------

// Parts that differ from their prediction by less than their share of the threshold are emptied.
class CheapBlocksOfP : public DividedP
{
protected:
    static constexpr int32_t kCheap = 203; // of a whole; 101 of a half and 50 of a quadrant

    void SetUp() override
    {
        StartP(1, 1);
        c.Settings.AnalysisFlags |= ENC_ANALYSE_CBP_EMPTY;
        c.Settings.SkipIntraThreshold[kQp] = kCheap;
    }
    // @param Left  by the part's place, what it differs from its prediction
    uint16_t Emptied(const FormCosts& f, const std::function<int32_t(int, int)>& Left)
    {
        State(f);
        m_Distance = [Searched = m_Distance, Left](const Compared& s) {
            if (s.With == Compared::INTRA) return kFar;
            return s.With == Compared::DERIVED ? Left(s.x / 2, s.y / 2) : Searched(s);
        };
        return encoder_testing::AnalyseMacroblock(c.Settings, Slice()).Emptied;
    }
};

TEST_F(CheapBlocksOfP, AreThoseBelowTheShareOfTheirPart)
{
    const FormCosts Whole{.Whole = 300}, Rows{.Whole = 5000, .Quadrant = 300, .Rows = 300},
        Columns{.Whole = 5000, .Quadrant = 300, .Columns = 300}, Quadrants{.Whole = 5000, .Quadrant = 300};
    for (const int32_t Off : {0, 1}) {
        EXPECT_EQ(Emptied(Whole, [=](int, int) { return kCheap - 1 + Off; }), Off ? 0 : 0xFFFF);
        EXPECT_EQ(Emptied(Rows, [=](int, int y) { return y == 0 ? 100 + Off : 101; }), Off ? 0 : 0x00FF);
        EXPECT_EQ(Emptied(Columns, [=](int x, int) { return x == 1 ? 100 + Off : 101; }), Off ? 0 : 0xF0F0);
        EXPECT_EQ(Emptied(Quadrants, [=](int x, int y) { return x == 1 && y == 0 ? 49 + Off : 50; }), Off ? 0 : 0x00F0);
    }
}

TEST_F(CheapBlocksOfP, NeedTheirFlagAndLoss)
{
    const auto None = [](int, int) { return 0; };
    EXPECT_EQ(Emptied({.Whole = 300}, None), 0xFFFF);
    Slice().Quant.IsLossless = true;
    EXPECT_EQ(Emptied({.Whole = 300}, None), 0);
    Slice().Quant.IsLossless = false;
    c.Settings.AnalysisFlags &= ~static_cast<uint32_t>(ENC_ANALYSE_CBP_EMPTY);
    EXPECT_EQ(Emptied({.Whole = 300}, None), 0);
}

TEST(LosslessThresholds, AreZeroAtQp0Alone)
{
    UMC::DefaultMemoryAllocator Allocator;
    Core8 Plain, Lossless;
    UMC::H264EncoderParams p = SizedParams(32, 32);
    p.profile_idc = 144;
    ASSERT_EQ(InitCore(Plain, p, &Allocator), UMC::StatusOk);
    p.qpprime_y_zero_transform_bypass = 1;
    ASSERT_EQ(InitCore(Lossless, p, &Allocator), UMC::StatusOk);
    for (const auto Table : {&EncoderSettings::ThresholdME, &EncoderSettings::SkipIntraThreshold,
                             &EncoderSettings::TryAdvancedIntraThreshold}) {
        const ThresholdTable &With = Lossless.Settings.*Table, &Without = Plain.Settings.*Table;
        EXPECT_EQ(With[0], 0);
        EXPECT_GT(Without[0], 0);
        EXPECT_TRUE(std::equal(With.begin() + 1, With.end(), Without.begin() + 1));
    }
}

} // namespace
