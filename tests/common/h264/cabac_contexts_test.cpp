#include "Common/h264/cabac_contexts.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace h264 {
namespace {

int At(const CabacContexts& Contexts, size_t i) { return static_cast<int>(Contexts[i]); }

TEST(CabacContexts, AreSetByClause9311)
{
    ContextInit Table[kContextCount]{};
    Table[0] = {0, 64};
    Table[1] = {0, 63};
    Table[2] = {-28, 127};
    Table[3] = {127, 127};
    Table[4] = {-127, 0};
    CabacContexts c;
    InitCabacContexts(c, Table, 26);
    EXPECT_EQ(At(c, 0), 0 * 2 + 1); // preCtxState 64
    EXPECT_EQ(At(c, 1), 0 * 2 + 0);
    EXPECT_EQ(At(c, 2), (((-28 * 26) >> 4) + 127 - 64) * 2 + 1);
    EXPECT_EQ(At(c, 3), 62 * 2 + 1); // 126 at most
    EXPECT_EQ(At(c, 4), 62 * 2 + 0); // 1 at least
}

TEST(CabacContexts, OfISlicesTakeTheRowOfTheirOwn)
{
    CabacContexts c;
    InitCabacContexts(c, kContextInit[ContextInitRow(true, 2)], 26);
    EXPECT_EQ(At(c, 0), 46 * 2);     // ctxIdx 0: m 20, n -15: preCtxState 17
    EXPECT_EQ(At(c, 2), 14 * 2 + 1); // ctxIdx 2: m 3, n 74: preCtxState 78
}

TEST(CabacContexts, ThirdColumnServesInitIdc2)
{
    CabacContexts c;
    InitCabacContexts(c, kContextInit[ContextInitRow(false, 2)], 51);
    for (size_t i = 0; i < c.size(); ++i) {
        if (i == CtxIdxOffset::kTerminate) continue;
        const ContextInit Init = kContextInit[3][i];
        const int Pre = std::clamp(((Init.m * 51) >> 4) + Init.n, 1, 126);
        EXPECT_EQ(At(c, i), Pre > 63 ? (Pre - 64) * 2 + 1 : (63 - Pre) * 2) << i;
    }
}

TEST(CabacContexts, TheTerminateDecisionHasAStateOfItsOwn)
{
    ContextInit Table[kContextCount]{};
    Table[276] = {9, 9};
    CabacContexts c;
    InitCabacContexts(c, Table, 26);
    EXPECT_EQ(At(c, 276), 126);
}

TEST(CabacContexts, ClipTheQp)
{
    CabacContexts Low, Zero, High, Most;
    InitCabacContexts(Low, kContextInit[1], -12);
    InitCabacContexts(Zero, kContextInit[1], 0);
    InitCabacContexts(High, kContextInit[1], 60);
    InitCabacContexts(Most, kContextInit[1], 51);
    EXPECT_EQ(Low, Zero);
    EXPECT_EQ(High, Most);
    EXPECT_NE(Zero, Most);
}

TEST(CabacTables, StepAsTables944And945Say)
{
    for (uint32_t State = 0; State < 64; ++State)
        for (uint32_t Mps = 0; Mps < 2; ++Mps) {
            const size_t Context = static_cast<size_t>(PackContext(State, Mps));
            for (size_t Range = 0; Range < 4; ++Range)
                EXPECT_EQ(g_CabacTables.RangeLps[Context * 4 + Range], kRangeLps[State][Range]);
            EXPECT_EQ(g_CabacTables.Next[Context], PackContext(kTransIdxMps[State], Mps));
            // Only the state of even chances turns the more probable symbol round.
            EXPECT_EQ(g_CabacTables.Next[Context + 128], PackContext(kTransIdxLps[State], State == 0 ? 1 - Mps : Mps));
        }
}

TEST(CabacTables, BringEveryRangeTo256)
{
    for (uint32_t State = 0; State < 63; ++State) // 63 is that of the bin that ends a slice, which has no table
        for (const uint32_t Range : kRangeLps[State]) {
            const uint32_t Shifted = Range << g_CabacTables.LpsShift[Range / 8];
            EXPECT_TRUE(Shifted >= 256 && Shifted < 512) << Range;
        }
}

} // namespace
} // namespace h264
