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

} // namespace
