// Both forms of dispatch: the waterfall over tables with and without holes, and the tables of the library.
#include "kernels/dispatch/kernels.h"
#include "kernels/dispatch/processor_class.h"
#include "kernels/dispatch/waterfall.h"

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace kernels;

using NumberSig = int();
template <int N>
int Number()
{
    return N;
}

constexpr KernelRow<NumberSig> kFull{"Full", {Number<0>, Number<1>, Number<2>, Number<3>, Number<4>, Number<5>}};
constexpr KernelRow<NumberSig> kHole{"Hole", {Number<10>, Number<11>, Number<12>, nullptr, Number<14>, nullptr}};
constexpr KernelRow<NumberSig> kEmpty{"Empty", {}};

std::vector<std::string> s_Shown;
uint32_t s_Beeps = 0, s_Style = 0;

const platform::MessageBoxOperations kRecordingBox{[](uint32_t Type) {
                                                       s_Beeps = Type;
                                                       return true;
                                                   },
                                                   [](const char* pText, const char* pCaption, uint32_t Style) {
                                                       s_Shown = {pText, pCaption};
                                                       s_Style = Style;
                                                       return 1;
                                                   }};
const platform::MessageBoxOperations kFailingBox{[](uint32_t) { return false; },
                                                 [](const char*, const char*, uint32_t) { return 0; }};

class Waterfall : public testing::Test
{
protected:
    void SetUp() override
    {
        s_Shown.clear();
        s_Beeps = s_Style = 0;
    }
    int Apply(std::vector<KernelRecord> Records, int Tier)
    {
        return ApplyWaterfall(Records, Tier, " no tier", kRecordingBox, m_Bound);
    }
    NumberSig* m_pFull = Number<-1>;
    NumberSig* m_pHole = Number<-2>;
    NumberSig* m_pLast = Number<-3>;
    int32_t m_Bound = 99;
};

TEST_F(Waterfall, AFullTableTakesTheTierItself)
{
    for (int Tier = 0; Tier < 6; ++Tier) {
        EXPECT_EQ(Apply({RecordOf(&m_pFull, &kFull)}, Tier), 1);
        EXPECT_EQ(m_pFull(), Tier);
        EXPECT_EQ(m_Bound, Tier);
    }
    EXPECT_TRUE(s_Shown.empty());
}

TEST_F(Waterfall, AHoleSendsAllSlotsToTheNextLowerTier)
{
    const std::vector<KernelRecord> Records{RecordOf(&m_pFull, &kFull), RecordOf(&m_pHole, &kHole),
                                            RecordOf(&m_pLast, &kFull)};
    EXPECT_EQ(Apply(Records, 3), 1);
    EXPECT_EQ(m_pFull(), 2); // written for tier 3 first, and overwritten
    EXPECT_EQ(m_pHole(), 12);
    EXPECT_EQ(m_pLast(), 2);
    EXPECT_EQ(m_Bound, 2);
    EXPECT_EQ(Apply(Records, 5), 1);
    EXPECT_EQ(m_pHole(), 14);
    EXPECT_EQ(m_Bound, 4);
}

TEST_F(Waterfall, WithoutATierThatServesTheBoxIsShown)
{
    EXPECT_EQ(Apply({RecordOf(&m_pFull, &kFull), RecordOf(&m_pHole, &kEmpty), RecordOf(&m_pLast, &kFull)}, 4), 0);
    EXPECT_EQ(m_pFull(), 0); // what the last attempt wrote stays
    EXPECT_EQ(m_pHole(), -2);
    EXPECT_EQ(m_pLast(), -3); // behind the hole nothing is written
    EXPECT_EQ(m_Bound, 99);
    EXPECT_EQ(s_Shown, (std::vector<std::string>{" no tier", "Set IPP library error"}));
    EXPECT_EQ(s_Beeps, 16u);
    EXPECT_EQ(s_Style, 16u);
}

TEST_F(Waterfall, AnEmptyTableOrATierOutsideFails)
{
    EXPECT_EQ(Apply({}, 2), 0);
    EXPECT_FALSE(s_Shown.empty());
    for (const int Tier : {-1, 6, 100}) {
        SetUp();
        EXPECT_EQ(Apply({RecordOf(&m_pFull, &kFull)}, Tier), 0);
        EXPECT_EQ(m_pFull(), -1);
        EXPECT_FALSE(s_Shown.empty());
    }
}

TEST_F(Waterfall, ABoxThatCannotBeShownChangesNothing)
{
    EXPECT_EQ(ApplyWaterfall({}, 0, " no tier", kFailingBox, m_Bound), 0);
}

TEST(WaterfallOrder, EachRowGoesDownToTheEndMark)
{
    for (int Tier = 0; Tier < 6; ++Tier)
        for (int i = 0; i < 7; ++i)
            EXPECT_EQ(kWaterfall[Tier][i], i <= Tier ? Tier - i : i == Tier + 1 ? kWaterfallEnd : 0);
}

// One call a kernel: eighty assertions in one function take the compiler minutes under the sanitizers.
template <class Sig>
void ExpectSlot(const KernelRow<Sig>& Row, Sig* pSlot, enum Tier t)
{
    EXPECT_EQ(pSlot, Row.Pick(t)) << Row.Name;
}

void ExpectSlots(const KernelSlots& Slots, enum Tier t)
{
#define KERNEL(Kernel) ExpectSlot(k##Kernel, Slots.Kernel, t);
#include "kernels/dispatch/kernels.def"
#undef KERNEL
}

// ---- The library's own tables ------------------------------------------------------------------------------

// Binds what the processor has again, whatever a test has bound.
class BoundKernels : public testing::Test
{
protected:
    void TearDown() override { InitKernelsWaterfall(); }
};

TEST_F(BoundKernels, AreTheProcessorsWhenTheLibraryIsLoaded)
{
    const char* const pWanted = std::getenv("TEST_TIER"); // the start of the program has bound another one
    const int Tier = pWanted ? std::atoi(pWanted) : TierOfClass(DetectProcessorClass());
    EXPECT_EQ(g_BoundTier, Tier);
    ExpectSlots(g_Kernels, static_cast<enum Tier>(Tier));
}

TEST_F(BoundKernels, FollowAForcedTier)
{
    for (const enum Tier t : kAllTiers) {
        EXPECT_EQ(InitKernelsForTier(static_cast<int>(t)), 1);
        EXPECT_EQ(g_BoundTier, static_cast<int32_t>(t));
        ExpectSlots(g_Kernels, t);
    }
}

TEST_F(BoundKernels, StayWhenATierIsUnknown)
{
    const int32_t Before = g_BoundTier;
    EXPECT_EQ(InitKernelsForTier(6), 0);
    EXPECT_EQ(g_BoundTier, Before);
}

TEST(KernelSlotsAtFirst, HoldTheReference) { ExpectSlots(KernelSlots{}, Tier::px); }

TEST(KernelRow, FilledPointsEmptyTiersAtTheOneBelow)
{
    const KernelRow<NumberSig> Row = kHole.Filled();
    EXPECT_EQ(Row.At(Tier::t7), kHole.At(Tier::w7));
    EXPECT_EQ(Row.At(Tier::p8), kHole.At(Tier::v8));
    EXPECT_EQ(Row.At(Tier::a6), kHole.At(Tier::a6));
}

} // namespace
