#include "Common/h264/block_order.h"
#include "Common/h264/h264_tables.h"

#include <gtest/gtest.h>

TEST(BlockOrder, SwapsEachBlockWithItsRasterPlace)
{
    for (uint32_t Index = 0; Index < 16; ++Index) {
        EXPECT_EQ(h264::SwapBlockOrder(1u << Index), 1u << h264::kBlockRaster[Index]);
        EXPECT_EQ(h264::SwapBlockOrder(1u << h264::kBlockRaster[Index]), 1u << Index);
    }
}

TEST(BlockOrder, ExchangesRowsAndColumns)
{
    for (uint32_t y = 0; y < 4; ++y)
        for (uint32_t x = 0; x < 4; ++x) EXPECT_EQ(h264::TransposeBlocks(1u << (4 * y + x)), 1u << (4 * x + y));
}
