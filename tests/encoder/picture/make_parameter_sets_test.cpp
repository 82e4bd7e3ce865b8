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

TEST(ParameterSets, FieldsNeedAnOrderCountAndInferenceBy8x8)
{
    UMC::H264EncoderParams p;
    p.m_Info.m_Width = p.m_Info.m_Height = 64;
    p.direct_8x8_inference = 0;
    for (const int32_t CodingType : {0, 1, 2}) {
        p.coding_type = CodingType;
        p.num_b_frames = 0;
        const SeqParamSet Sps = MakeSeqParams(p);
        const bool HasFields = CodingType != 0;
        EXPECT_EQ(Sps.pic_order_cnt_type, HasFields ? 0 : 2) << CodingType;
        EXPECT_EQ(Sps.frame_mbs_only_flag, !HasFields) << CodingType;
        EXPECT_EQ(Sps.mb_adaptive_frame_field_flag, CodingType == 2) << CodingType;
        EXPECT_EQ(Sps.direct_8x8_inference_flag, HasFields) << CodingType;
        EXPECT_EQ(MakePicParams(p, 26).pic_order_present_flag, HasFields) << CodingType;
        p.num_b_frames = 1;
        EXPECT_EQ(MakeSeqParams(p).pic_order_cnt_type, 0) << CodingType;
    }
}

TEST(ParameterSets, OfPicturesKnowImplicitWeightsOnly)
{
    UMC::H264EncoderParams p;
    p.use_weighted_pred = p.use_weighted_bipred = 1; // without effect
    EXPECT_EQ(MakePicParams(p, 26).weighted_bipred_idc, 0);
    p.use_implicit_weighted_bipred = 1;
    EXPECT_EQ(MakePicParams(p, 26).weighted_bipred_idc, 2);
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
