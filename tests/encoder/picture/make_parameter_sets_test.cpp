#include "encoder/picture/make_parameter_sets.h"

#include <gtest/gtest.h>

namespace {

using namespace UMC_H264_ENCODER;

TEST(ParameterSets, CropUnitsByFormatAndStructure)
{
    UMC::H264EncoderParams p;
    p.m_Info.m_Width = 1920;
    p.m_Info.m_Height = 1080;
    EXPECT_EQ(MakeSeqParams(p).frame_crop_bottom_offset, 4);
    p.coding_type = 1;
    EXPECT_EQ(MakeSeqParams(p).frame_crop_bottom_offset, 2);
    EXPECT_EQ(MakeSeqParams(p).pic_height_in_map_units, 34);
    p.coding_type = 0;
    p.chroma_format_idc = 2;
    EXPECT_EQ(MakeSeqParams(p).frame_crop_bottom_offset, 8);
    p.chroma_format_idc = 0;
    p.m_Info.m_Width = 1915;
    EXPECT_EQ(MakeSeqParams(p).frame_crop_right_offset, 5);
}

TEST(ParameterSets, OrderCountBits)
{
    EXPECT_EQ(PocLsbBits(1, 0, 1), 4);
    EXPECT_EQ(PocLsbBits(7, 0, 9), 7);
    EXPECT_EQ(PocLsbBits(7, 2, 2), 7);
    EXPECT_EQ(PocLsbBits(0, 0, 1), 4);
    EXPECT_EQ(PocLsbBits(1 << 20, 0, 1), 16);
    // With one reference among the B pictures they count once, and the anchors that they wait for do not count.
    EXPECT_EQ(PocLsbBits(3, 1, 2), 5);
    EXPECT_EQ(PocLsbBits(3, 2, 2), 6);
    EXPECT_EQ(PocLsbBits(7, 1, 1), 6);
    EXPECT_EQ(PocLsbBits(6, 1, 1), 5);
}

} // namespace
