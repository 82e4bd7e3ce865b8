// Lists and costs of levels against the block walked position by position.
#include "encoder/code/coefficients.h"

#include "Common/h264/h264_tables.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;

// A block with about one level in Rarity, of magnitude 1 mostly.
void Fill(int16_t (&Levels)[16], uint32_t Rarity, std::mt19937& Rng)
{
    constexpr int16_t kValues[8]{1, -1, 1, -1, 1, 2, INT16_MIN, INT16_MAX};
    for (int16_t& Level : Levels) Level = Rng() % Rarity ? int16_t{0} : kValues[Rng() % (Rng() % 4 ? 5 : 8)];
}

struct Walk {
    std::vector<std::pair<int32_t, int32_t>> List; // position, level
    int32_t Cost = 0;

    Walk(const int16_t (&Levels)[16], int32_t First)
    {
        constexpr int32_t kCosts[6]{3, 2, 2, 1, 1, 1};
        int32_t Run = 0;
        bool HasLarge = false;
        for (int32_t i = First; i < 16; ++i) {
            const int32_t Level = Levels[h264::kZigzag4x4[i]];
            if (Level == 0) {
                ++Run;
                continue;
            }
            List.emplace_back(i - First, Level);
            HasLarge |= Level < -1 || Level > 1;
            Cost += Run < 6 ? kCosts[Run] : 0;
            Run = 0;
        }
        if (HasLarge) Cost = 9;
    }
};

TEST(Levels, AreListedAndPricedInScanOrder)
{
    std::mt19937 Rng(5);
    for (const int32_t First : {0, 1})
        for (const uint32_t Rarity : {1u, 2u, 5u, 16u, 64u})
            for (int i = 0; i < 2000; ++i) {
                int16_t Levels[16];
                Fill(Levels, Rarity, Rng);
                const Walk Wanted(Levels, First);
                BlockLevels<int16_t> Got;
                ASSERT_EQ(ListLevels(Levels, First, g_Zigzag, Got), Wanted.Cost);
                ASSERT_EQ(CoefficientCost(Levels, First, g_Zigzag), Wanted.Cost);
                ASSERT_EQ(Got.Count, Wanted.List.size());
                for (size_t k = 0; k < Wanted.List.size(); ++k)
                    ASSERT_EQ((std::pair<int32_t, int32_t>{Got.Position[k], Got.Level[k]}), Wanted.List[k]);
            }
}

// One level of an 8x8 block behind a run of zeros.
int32_t CostBehind(int32_t Run, int Level = 1)
{
    int16_t Levels[64]{};
    Levels[h264::kZigzag8x8[Run]] = static_cast<int16_t>(Level);
    BlockLevels8x8<int16_t> List;
    return ListLevels8x8(Levels, g_Zigzag, List);
}

TEST(Levels8x8, AreWorthLessTheFurtherTheyLie)
{
    for (int32_t Run = 0; Run < 64; ++Run)
        EXPECT_EQ(CostBehind(Run), Run <= 3 ? 3 : Run <= 11 ? 2 : Run <= 23 ? 1 : 0) << Run;
    for (const int Large : {2, -2}) EXPECT_EQ(CostBehind(63, Large), 9);
    EXPECT_EQ(CostBehind(63, -1), 0);
}

TEST(Levels8x8, CountTheRunFromTheLevelBefore)
{
    int16_t Levels[64]{};
    for (const int32_t Position : {3, 8, 20, 44}) Levels[h264::kZigzag8x8[Position]] = -1;
    BlockLevels8x8<int16_t> List;
    EXPECT_EQ(ListLevels8x8(Levels, g_Zigzag, List), 3 + 2 + 2 + 1);
    ASSERT_EQ(List.Count, 4);
    EXPECT_EQ(List.Position[3], 44);
}

TEST(Levels8x8, AreDroppedWhereTheyAreWorthNothing)
{
    EXPECT_FALSE(IsBlock8x8WorthCoding(CostBehind(24)));
    EXPECT_TRUE(IsBlock8x8WorthCoding(CostBehind(23)));
}

// Position n of the block is position n / 4 of list n % 4.
TEST(Levels8x8, AreFourListsInVariableLengthCodes)
{
    int16_t Levels[64]{};
    for (int16_t i = 0; i < 64; ++i) Levels[h264::kZigzag8x8[i]] = static_cast<int16_t>(i % 3 ? i + 1 : 0);
    BlockLevels8x8<int16_t> Block;
    ListLevels8x8(Levels, g_Zigzag, Block);
    BlockLevels<int16_t> Lists[4];
    Interleave(Block, Lists);
    for (int32_t List = 0; List < 4; ++List) {
        size_t Next = 0;
        for (int32_t i = 0; i < 16; ++i) {
            const int32_t Place = 4 * i + List;
            if (Place % 3 == 0) continue;
            EXPECT_EQ(Lists[List].Position[Next], i);
            EXPECT_EQ(Lists[List].Level[Next++], Place + 1);
        }
        EXPECT_EQ(Lists[List].Count, Next);
    }
}

} // namespace
