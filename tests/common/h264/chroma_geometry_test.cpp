#include "Common/h264/chroma_geometry.h"

#include <gtest/gtest.h>

namespace h264 {
namespace {

// Table 6-1: SubWidthC and SubHeightC.
TEST(ChromaGeometry, FollowsTheSubsampling)
{
    constexpr int32_t kSubWidth[] = {0, 2, 2, 1}, kSubHeight[] = {0, 2, 1, 1};
    for (const ChromaFormat Format : {CHROMA_420, CHROMA_422, CHROMA_444}) {
        const ChromaGeometry& g = kChromaGeometry[Format];
        EXPECT_EQ(g.MbWidth, 16 / kSubWidth[Format]);
        EXPECT_EQ(g.MbHeight, 16 / kSubHeight[Format]);
        EXPECT_EQ(g.Blocks, g.MbWidth * g.MbHeight / 16);
        EXPECT_EQ(1 << g.ShiftX, kSubWidth[Format]);
        EXPECT_EQ(1 << g.ShiftY, kSubHeight[Format]);
    }
}

TEST(ChromaGeometry, OfMonochromeHasNoSamplesAndCropsByOne)
{
    const ChromaGeometry& g = kChromaGeometry[CHROMA_400];
    EXPECT_EQ(g.MbWidth * g.MbHeight + g.Blocks, 0);
    EXPECT_EQ(g.ShiftX, 0);
    EXPECT_EQ(g.ShiftY, 0);
}

} // namespace
} // namespace h264
