#include "Common/h264/levels.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace h264 {
namespace {

TEST(Levels, KnownAreThoseFrom1To51)
{
    for (uint32_t Level = 0; Level < 256; ++Level) {
        const bool Known = (Level >= 10 && Level <= 13) || (Level >= 20 && Level <= 22) ||
                           (Level >= 30 && Level <= 32) || (Level >= 40 && Level <= 42) || Level == 50 || Level == 51;
        const LevelLimits* const p = FindLevel(Level);
        ASSERT_EQ(p != nullptr, Known) << Level;
        EXPECT_EQ(p ? p->level_idc : Level, Level);
    }
}

TEST(PictureBuffer, HoldsWhatTheLevelAllows)
{
    struct Row {
        uint32_t level_idc;
        int64_t Units; // of 512 bytes; a macroblock has 384
    };
    constexpr Row kRows[] = {{10, 297},   {11, 675},   {12, 1782},  {13, 1782},  {20, 1782},
                             {21, 3564},  {22, 6075},  {30, 6075},  {31, 13500}, {32, 15360},
                             {40, 24576}, {41, 24576}, {42, 24576}, {50, 82800}, {51, 138240}};
    for (const Row& r : kRows)
        for (const uint32_t Side : {1u, 4u, 11u, 22u, 40u, 80u, 120u})
            EXPECT_EQ(PictureBufferFrames(r.level_idc, Side, Side),
                      std::min<int64_t>(16, r.Units * 512 / (int64_t{Side} * Side * 384)))
                << r.level_idc << ", " << Side;
    EXPECT_EQ(PictureBufferFrames(40, 120, 68), 4);
    EXPECT_EQ(PictureBufferFrames(51, 11, 9), 16);
    EXPECT_EQ(PictureBufferFrames(10, 120, 68), 0);
    EXPECT_EQ(PictureBufferFrames(51, 1u << 28, 1u << 28), 0); // a product beyond 32 bits
    EXPECT_EQ(PictureBufferFrames(0, 120, 68), PictureBufferFrames(51, 120, 68));
}

} // namespace
} // namespace h264
