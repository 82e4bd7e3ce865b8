// The ladder of a B macroblock: direct, either list, both, and its divisions.
#include "tests/encoder/decide/stated_distances.h"

namespace {

using namespace encoder_testing;

constexpr int32_t kFar = 100000;

// Costs of a part by its prediction, with all prices.
struct WayCosts {
    int32_t Direct = kFar, List0 = kFar, List1 = kFar, Both = kFar;
};

class DecisionInB : public StatedDistances
{
protected:
    // What is left of a cost for the distance: prices are those of list and vectors, and of references.
    static int32_t Distance(const Compared& s, const WayCosts& w, int32_t OneList, int32_t BothLists)
    {
        switch (s.With) {
        case Compared::DERIVED: return w.Direct;
        case Compared::JOINED: return w.Both - BothLists - 2 * (kVector + kRef);
        case Compared::REFERENCE: return (s.Ref == 0 ? w.List0 : w.List1) - OneList - kVector - kRef;
        default: return kFar;
        }
    }
    // A macroblock in one part. Direct costs a bit more than its quadrants, one list 3 bits and both 5.
    Candidate DecideWhole(const WayCosts& w)
    {
        m_Distance = [=](const Compared& s) {
            if (!s.Is(8, 8)) return Distance(s, w, 3, 5);
            return (w.Direct - 1) / 4 + (s.x + s.y == 0 ? (w.Direct - 1) % 4 : 0);
        };
        return Decide();
    }
    // The lists that the macroblock or a quadrant is predicted from, and 'd' where that is derived.
    std::string ListsOf(int Quadrant)
    {
        const MacroblockMotion& m = Motion();
        if (m.Direct >> Quadrant & 1) return "d";
        return std::string(m.References[0][Quadrant] >= 0 ? "0" : "") + (m.References[1][Quadrant] >= 0 ? "1" : "");
    }
};

TEST_F(DecisionInB, ATieGoesToDirectThenToTheEarlierList)
{
    StartB(0);
    EXPECT_EQ(DecideWhole({400, 400, 400, 400}).Type, MB_DIRECT);
    EXPECT_EQ(DecideWhole({400, 400, 400, 400}).Cost, 400);
    EXPECT_EQ(DecideWhole({401, 400, 400, 400}).Type, MB_INTER16X16);
    EXPECT_EQ(ListsOf(0), "0");
    EXPECT_EQ(DecideWhole({401, 401, 400, 400}).Cost, 400);
    EXPECT_EQ(ListsOf(0), "1");
    EXPECT_EQ(DecideWhole({401, 401, 401, 400}).Type, MB_INTER16X16);
    EXPECT_EQ(ListsOf(3), "01");
    EXPECT_EQ(DecideWhole({401, 401, 401, 401}).Type, MB_DIRECT);
}

TEST_F(DecisionInB, BothListsAreNotPredictedWhereTheirPriceAloneIsTooHigh)
{
    StartB(0);
    c.Settings.ThresholdME[kQp] = 0;
    const auto IsJoined = [this](int32_t List0) {
        DecideWhole({kFar, List0, kFar, 0});
        return std::any_of(m_Seen.begin(), m_Seen.end(), [](const Compared& s) { return s.With == Compared::JOINED; });
    };
    EXPECT_FALSE(IsJoined(11)); // 5 bits, two vectors and two references
    EXPECT_TRUE(IsJoined(12));
}

TEST_F(DecisionInB, ChromaOfDirectIsPredictedWhereItCounts)
{
    StartB(0);
    m_Distance = [](const Compared&) { return 300; };
    auto& PredUV = Slice().work_area.Inter[0].PredUV;
    for (const bool Counts : {false, true}) {
        if (Counts) c.Settings.AnalysisFlags |= ENC_ANALYSE_ME_CHROMA;
        std::fill(std::begin(PredUV), std::end(PredUV), uint8_t{7});
        Decide();
        EXPECT_EQ(PredUV[0] != 7, Counts);
        EXPECT_EQ(PredUV[7 * 16 + 15] != 7, Counts);
    }
}

TEST_F(DecisionInB, ChromaOfBothListsIsPredictedWhereItCounts)
{
    StartB(0);
    m_Distance = [](const Compared&) { return 300; };
    auto& JoinedUV = Slice().work_area.JoinedUV;
    for (const bool Counts : {false, true}) {
        if (Counts) c.Settings.AnalysisFlags |= ENC_ANALYSE_ME_CHROMA;
        std::fill(std::begin(JoinedUV), std::end(JoinedUV), uint8_t{7});
        Decide();
        EXPECT_EQ(JoinedUV[0] != 7, Counts);
        EXPECT_EQ(JoinedUV[7 * 16 + 15] != 7, Counts);
    }
}

// With the prices of vector and reference.
TEST_F(DecisionInB, ACostAtTheLimitEndsTheSearchOfAList)
{
    StartB(0);
    auto& s = Slice().Facts;
    auto& Lists = s.ref_pic_lists.Pictures;
    Lists[0][1] = Lists[1][0];
    Lists[1][0] = Lists[0][0];
    s.num_ref_idx_l0 = 2;
    for (const int32_t Cost : {kLimit, kLimit + 1}) {
        m_Distance = [=](const Compared& s) { return s.With == Compared::REFERENCE ? Cost - kVector - kRef : kFar; };
        Decide();
        EXPECT_EQ(RefsOf(16, 16, 0, 0).count(1), size_t{Cost > kLimit}) << Cost;
    }
}

// A second reference that is no better does not end the search of a list where quadrants come behind it.
TEST_F(DecisionInB, AWorseReferenceEndsTheSearchOfAListWithoutQuadrants)
{
    StartB(1);
    auto& s = Slice().Facts;
    auto& List0 = s.ref_pic_lists.Pictures[0];
    List0[1] = List0[0];
    List0[2] = s.ref_pic_lists.Pictures[1][0];
    s.num_ref_idx_l0 = 3;
    m_Distance = [](const Compared& s) { return s.With == Compared::REFERENCE ? 500 : kFar; };
    const auto SeenInLast = [this] {
        Decide();
        return std::count_if(m_Seen.begin(), m_Seen.end(),
                             [](const Compared& s) { return s.Is(16, 16) && s.Ref == 1; });
    };
    const auto WithQuadrants = SeenInLast();
    c.Settings.AnalysisFlags &= ~static_cast<uint32_t>(ENC_ANALYSE_B_8X8);
    const auto Without = SeenInLast();
    EXPECT_EQ(WithQuadrants, 2 * Without); // in both lists
    c.Settings.AnalysisFlags |= ENC_ANALYSE_ALL_REFS;
    EXPECT_EQ(SeenInLast(), WithQuadrants);
}

// Two bits name the second reference of list 1, where list 0 takes one for its only reference.
TEST_F(DecisionInB, BothListsNameTheirReferencesByTheirOwnNumber)
{
    StartB(0);
    auto& s = Slice().Facts;
    auto& Lists = s.ref_pic_lists.Pictures;
    Lists[1][1] = Lists[0][0];
    s.num_ref_idx_l1 = 2;
    for (const int32_t Joined : {93, 94}) {
        m_Distance = [=](const Compared& s) {
            return s.With == Compared::JOINED ? Joined : s.With != Compared::REFERENCE ? kFar : s.Ref == 0 ? 100 : 500;
        };
        // 100, 3 bits, the vector and 1 bit against 5 bits, two vectors, 1 bit and 2 bits.
        const Candidate Won = Decide();
        EXPECT_EQ(Won.Cost, std::min(100 + 3 + kVector + 1, Joined + 5 + 2 * kVector + 1 + 2));
        EXPECT_EQ(ListsOf(0), Joined == 93 ? "01" : "0");
    }
}

// The derived motion is tested before anything is searched.
TEST_F(DecisionInB, WhatIsAsGoodAsDerivedIsSkippedUnsearched)
{
    StartB(2);
    m_Distance = [](const Compared&) { return 0; };
    Mb().pSrcY = Mb().pSrcU; // as grey as the references
    const Candidate Won = Decide();
    EXPECT_EQ(Won.Type, MB_SKIP_B);
    EXPECT_EQ(Won.Cost, 0);
    EXPECT_EQ(Won.AtHand, BLOCKS_ALL);
    EXPECT_TRUE(m_Seen.empty());
    EXPECT_EQ(Motion().Direct, 15);
    c.Job.Slices[0].Quant.IsLossless = true; // a skip would have to be exact, and is not asked for
    EXPECT_EQ(Decide().Type, MB_DIRECT);
}

class QuadrantsOfB : public DecisionInB
{
protected:
    // Quadrants alone; the whole is far off.
    Candidate DecideQuadrants(const std::array<WayCosts, 4>& w)
    {
        m_Distance = [=](const Compared& s) {
            return s.Is(8, 8) ? Distance(s, w[static_cast<size_t>(s.y + s.x / 2)], 0, 0) : kFar;
        };
        return Decide();
    }
};

TEST_F(QuadrantsOfB, TakeTheEarlierOfEqualWaysAndCostNineBitsMore)
{
    StartB(1);
    const Candidate Won =
        DecideQuadrants({{{100, 100, 100, 100}, {130, 100, 100, 100}, {130, 130, 100, 100}, {130, 130, 130, 100}}});
    EXPECT_EQ(Won.Type, MB_INTER8X8);
    EXPECT_EQ(Won.Cost, 9 + 400);
    EXPECT_EQ(ListsOf(0), "d");
    EXPECT_EQ(ListsOf(1), "0");
    EXPECT_EQ(ListsOf(2), "1");
    EXPECT_EQ(ListsOf(3), "01");
}

// The whole as direct is cheaper by the difference of 9 bits and 1.
TEST_F(QuadrantsOfB, MustBeCheaperThanDirectAsAWhole)
{
    StartB(1);
    const WayCosts Same{100, 100, 100, 100};
    EXPECT_EQ(DecideQuadrants({Same, Same, Same, {100, 93, 100, 100}}).Type, MB_DIRECT);   // 401 against 402
    EXPECT_EQ(DecideQuadrants({Same, Same, Same, {100, 92, 100, 100}}).Type, MB_DIRECT);   // a tie
    EXPECT_EQ(DecideQuadrants({Same, Same, Same, {100, 91, 100, 100}}).Type, MB_INTER8X8); // 400
}

TEST_F(DecisionInB, QuadrantsAreNotTriedAtTheLimit)
{
    StartB(1);
    for (const int32_t List0 : {kLimit - 1, kLimit, kLimit + 1}) {
        DecideWhole({.List0 = List0});
        EXPECT_EQ(!RefsOf(8, 8, 0, 0).empty(), List0 > kLimit) << List0;
    }
}

TEST_F(DecisionInB, QuadrantsGoAsFarAsTheWholesBestOfEachList)
{
    StartB(1);
    auto& s = Slice().Facts;
    auto& Lists = s.ref_pic_lists.Pictures;
    Lists[0][1] = Lists[0][0]; // the first picture, which stands second now, behind that of list 1
    Lists[0][0] = Lists[1][0];
    s.num_ref_idx_l0 = 2;
    m_Distance = [](const Compared& s) { return s.With == Compared::REFERENCE ? s.Ref == 0 ? 600 : 500 : kFar; };
    Decide();
    EXPECT_EQ(RefsOf(16, 16, 0, 0), (std::set<int>{0, 1}));
    EXPECT_EQ(RefsOf(8, 8, 0, 0), (std::set<int>{1}));
    c.Settings.AnalysisFlags |= ENC_ANALYSE_ALL_REFS;
    Decide();
    EXPECT_EQ(RefsOf(8, 8, 0, 0), (std::set<int>{0, 1}));
}

TEST_F(QuadrantsOfB, OfOneListAloneAreDivided)
{
    StartB(2);
    DecideQuadrants({{{.Direct = 200}, {.List0 = 200}, {.List1 = 200}, {.Both = 200}}});
    EXPECT_EQ(RefsOf(4, 4, 0, 0), std::set<int>{});
    EXPECT_EQ(RefsOf(4, 4, 2, 0), std::set<int>{0});
    EXPECT_EQ(RefsOf(4, 4, 0, 2), std::set<int>{1});
    EXPECT_EQ(RefsOf(4, 4, 2, 2), std::set<int>{});
    c.Settings.AnalysisFlags &= ~static_cast<uint32_t>(ENC_ANALYSE_B_SUB8X8);
    DecideQuadrants({{{.Direct = 200}, {.List0 = 200}, {.List1 = 200}, {.Both = 200}}});
    EXPECT_EQ(Seen(4, 4), 0u);
}

TEST_F(DecisionInB, HalvesChooseTheirListsAndAreNeverDirect)
{
    StartB(1);
    m_Distance = [](const Compared& s) {
        if (s.Is(8, 8)) return Distance(s, {.Direct = 300, .List0 = 299}, 0, 0);
        if (s.Is(16, 8)) return Distance(s, s.y == 0 ? WayCosts{.List1 = 200} : WayCosts{.Both = 201}, 0, 0);
        return kFar;
    };
    const Candidate Won = Decide();
    EXPECT_EQ(Won.Type, MB_INTER16X8);
    EXPECT_EQ(Won.Cost, 2 + 401);
    EXPECT_EQ(ListsOf(0), "1");
    EXPECT_EQ(ListsOf(2), "01");
    EXPECT_EQ(Motion().Direct, 0);
    EXPECT_TRUE(std::none_of(m_Seen.begin(), m_Seen.end(), [](const Compared& s) {
        return (s.Is(16, 8) || s.Is(8, 16)) && s.With == Compared::DERIVED;
    }));
}

TEST_F(DecisionInB, IntraCostsNineBitsMore)
{
    StartB(0);
    for (const int32_t Intra : {289, 290, 291}) { // one bit for the vertical mode and nine for B
        m_Distance = [=](const Compared& s) {
            return s.With == Compared::INTRA ? Intra : Distance(s, {.Direct = 75, .List0 = 300}, 3, 5);
        };
        const Candidate Won = encoder_testing::AnalyseMacroblock(c.Settings, Slice());
        EXPECT_EQ(Won.Type, Intra + 10 < 300 ? MB_INTRA16X16 : MB_INTER16X16) << Intra;
    }
}

int32_t s_Of4x4; // sum of the coefficients of a macroblock's 4x4 transforms; those of 8x8 ones come to nothing

TEST_F(DecisionInB, DirectKeepsTheSmallTransform)
{
    StartB(0, [](auto& p) { p.transform_8x8_mode = 1; });
    c.Settings.SkipIntraThreshold[kQp] = kFar;
    s_Of4x4 = 1000;
    kernels::g_Kernels.Satd16x16 = [](const uint8_t*, ptrdiff_t, const uint8_t*, ptrdiff_t) { return s_Of4x4; };
    kernels::g_Kernels.Satd8x8By8 = [](const uint8_t*, ptrdiff_t, const uint8_t*, ptrdiff_t) { return 0; };
    const auto Analyse = [this](const WayCosts& w) {
        m_Distance = [=](const Compared& s) { return Distance(s, w, 3, 5); };
        return encoder_testing::AnalyseMacroblock(c.Settings, Slice());
    };
    const Candidate Direct = Analyse({.Direct = 70}), Whole = Analyse({.Direct = 100, .List0 = 300});
    EXPECT_EQ(Direct.Type, MB_DIRECT);
    EXPECT_FALSE(Direct.Transform8x8);
    EXPECT_EQ(Whole.Type, MB_INTER16X16);
    EXPECT_TRUE(Whole.Transform8x8);
}

} // namespace
