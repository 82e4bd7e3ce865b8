// Intra 8x8: which modes are tried in which order, what they cost, and where it stands between 16x16 and 4x4.
#include "Common/h264/intra_modes.h"
#include "encoder/decide/intra_blocks.h"
#include "kernels/intra/intra.h"
#include "tests/encoder/decide/stated_distances.h"

#include <array>
#include <limits>

namespace {

using namespace encoder_testing;

constexpr int32_t kFar = 100000;

// The modes that were predicted, and the distance of each.
std::vector<int> s_Tried;
std::array<int32_t, 9> s_DistanceOfMode;

void NotedPrediction(int Mode, const uint8_t*, ptrdiff_t, uint8_t* pDst, ptrdiff_t, unsigned)
{
    s_Tried.push_back(Mode);
    std::fill_n(pDst, 64, uint8_t{100});
}
int32_t DistanceOfLast(const uint8_t*, ptrdiff_t, const uint8_t*, ptrdiff_t)
{
    return s_DistanceOfMode[static_cast<size_t>(s_Tried.back())];
}

class Intra8x8Trial : public StatedDistances
{
protected:
    void SetUp() override
    {
        StartP(1, 0);
        c.Settings.Params.transform_8x8_mode = 1;
        c.Settings.AnalysisFlags |= ENC_ANALYSE_I8X8 | ENC_ANALYSE_I4X4;
        kernels::g_Kernels.PredictIntra8x8 = NotedPrediction;
        kernels::g_Kernels.Sad8x8 = DistanceOfLast;
        s_DistanceOfMode.fill(10);
    }
    Candidate Try(int32_t Limit = std::numeric_limits<int32_t>::max())
    {
        s_Tried.clear();
        return Intra8x8(c.Settings, Mb(), Slice().work_area, Limit);
    }
    const uint8_t* Modes() { return Slice().work_area.Of8x8.Modes; }
    // The modes tried of the first block.
    std::vector<int> OfFirst(unsigned Missing)
    {
        FillNeighbours(Mb().Around, Slice().Facts.Neighbours, Mb().mb_index, Mb().mb_x);
        Mb().Around.Available &= ~Missing;
        Try(0); // which gives up behind it
        return s_Tried;
    }
};

TEST_F(Intra8x8Trial, TriesDcFirstAndThenWhatTheNeighboursAllow)
{
    using enum kernels::IntraAvailable;
    EXPECT_EQ(OfFirst(0), (std::vector<int>{2, 0, 1, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(OfFirst(kTopLeft), (std::vector<int>{2, 0, 1, 3, 7, 8}));
    EXPECT_EQ(OfFirst(kTopLeft | kLeft), (std::vector<int>{2, 0, 3, 7}));
    EXPECT_EQ(OfFirst(kTopLeft | kTop), (std::vector<int>{2, 1, 8}));
    EXPECT_EQ(OfFirst(kTopLeft | kTop | kLeft), (std::vector<int>{2}));
}

TEST_F(Intra8x8Trial, ATieGoesToTheLowerMode)
{
    const auto Won = [this](std::initializer_list<size_t> Tied) {
        s_DistanceOfMode.fill(kFar);
        for (const size_t m : Tied) s_DistanceOfMode[m] = 0;
        Try(0);
        return int{Modes()[0]};
    };
    EXPECT_EQ(Won({3, 7}), 3);
    EXPECT_EQ(Won({8, 4}), 4);
    EXPECT_EQ(Won({0, 1, 5}), 0);
    // DC is predicted here: a bit in place of four. At the same cost the lower number wins all the same.
    s_DistanceOfMode.fill(1000 - 3);
    s_DistanceOfMode[2] = 1000;
    Try(0);
    EXPECT_EQ(Modes()[0], 0);
    s_DistanceOfMode[0] = s_DistanceOfMode[1] = 1000;
    Try(0);
    EXPECT_EQ(Modes()[0], 2);
}

TEST_F(Intra8x8Trial, CostsTwelveBitsBeyondItsBlocks)
{
    const Candidate c8 = Try();
    EXPECT_EQ(c8.Cost, 4 * (10 + 1) + 12);
    EXPECT_EQ(c8.Type, MB_INTRA4X4);
    EXPECT_TRUE(c8.Transform8x8);
    EXPECT_EQ(std::count(Modes(), Modes() + 16, h264::kIntraDcMode), 16);
}

TEST_F(Intra8x8Trial, GivesUpAboveTheLimitOnly)
{
    EXPECT_EQ(Try(44).Cost, 44 + 12);
    EXPECT_EQ(Try(43).Cost, 44); // without the price of the type
    EXPECT_EQ(Try(33).Cost, 44);
    EXPECT_EQ(Try(32).Cost, 33);
    EXPECT_EQ(Try(0).Cost, 11);
}

TEST_F(Intra8x8Trial, TakesTheDistanceThatTheFlagsAskFor)
{
    kernels::g_Kernels.Satd8x8 = [](const uint8_t*, ptrdiff_t, const uint8_t*, ptrdiff_t) { return 70; };
    EXPECT_EQ(Try().Cost, 4 * (10 + 1) + 12);
    c.Settings.AnalysisFlags &= ~static_cast<uint32_t>(ENC_ANALYSE_SAD);
    EXPECT_EQ(Try().Cost, 4 * (70 + 1) + 12);
}

// Each block takes its mode from the one beside it: what is not predicted costs four bits.
TEST_F(Intra8x8Trial, PredictsModesFromTheBlocksBeside)
{
    s_DistanceOfMode.fill(kFar);
    s_DistanceOfMode[8] = 10;
    const Candidate All8 = Try();
    // The first three have a neighbour of DC, which is below 8; the last stands between two of 8.
    EXPECT_EQ(All8.Cost, 3 * (10 + 4) + (10 + 1) + 12);
}

// ---- Between 16x16 and 4x4 -------------------------------------------------------------------------------------

int32_t s_Of4x4;

class FinerTypes : public Intra8x8Trial
{
protected:
    void SetUp() override
    {
        Intra8x8Trial::SetUp();
        kernels::g_Kernels.PredictAll4x4 = [](const uint8_t*, ptrdiff_t, const uint8_t*, ptrdiff_t, unsigned,
                                              uint8_t(*pPredictions)[16], int32_t* pSad) {
            std::fill_n(pSad, 9, s_Of4x4);
            std::fill_n(pPredictions[0], 9 * 16, uint8_t{100});
        };
    }
    // The type that wins against a cost of 16x16: 16, 8 or 4.
    int Won(int32_t Of16x16, int32_t Of8x8, int32_t Of4x4)
    {
        s_DistanceOfMode.fill(Of8x8);
        s_Of4x4 = Of4x4;
        Candidate Best{.Cost = Of16x16, .Type = MB_INTRA16X16};
        TryFinerIntra(c.Settings, Slice(), Best);
        return Best.Type == MB_INTRA16X16 ? 16 : Best.Transform8x8 ? 8 : 4;
    }
};

TEST_F(FinerTypes, MustEachBeCheaperThanTheOneBefore)
{
    // 8x8 blocks of a distance of 10 come to 56, 4x4 blocks of a distance of 1 to 56 too.
    EXPECT_EQ(Won(56, 10, kFar), 16);
    EXPECT_EQ(Won(57, 10, kFar), 8);
    EXPECT_EQ(Won(56, kFar, 1), 16);
    EXPECT_EQ(Won(57, kFar, 1), 4);
    EXPECT_EQ(Won(57, 10, 1), 8);
    EXPECT_EQ(Won(57, 10, 0), 4); // 4x4 has the last word
}

TEST_F(FinerTypes, Of8x8NeedTheirFlagAndTheTransform)
{
    EXPECT_EQ(Won(57, 10, kFar), 8);
    c.Settings.Params.transform_8x8_mode = 0;
    EXPECT_EQ(Won(57, 10, kFar), 16);
    c.Settings.Params.transform_8x8_mode = 1;
    c.Settings.AnalysisFlags &= ~static_cast<uint32_t>(ENC_ANALYSE_I8X8);
    EXPECT_EQ(Won(57, 10, kFar), 16);
}

} // namespace
