#include "encoder/picture/make_parameter_sets.h"
#include "tests/encoder/written_bits.h"

#include <gtest/gtest.h>

namespace {

using namespace encoder_testing;

UMC::H264EncoderParams Sized(int32_t Width, int32_t Height)
{
    UMC::H264EncoderParams p;
    p.m_Info.m_Width = Width;
    p.m_Info.m_Height = Height;
    p.level_idc = 20;
    return p;
}

// Reads a Main profile SPS up to the cropping flag and checks what is fixed.
Reader OpenSps(const UMC::H264EncoderParams& p)
{
    Writer w;
    w.WriteSeqParams(MakeSeqParams(p));
    Reader r(w.Written());
    EXPECT_EQ(r.Bits(8), static_cast<uint32_t>(p.profile_idc));
    EXPECT_EQ(r.Bits(8), 0x40u);
    EXPECT_EQ(r.Bits(8), 20u);
    EXPECT_EQ(r.Ue(), 0u);
    return r;
}

TEST(SequenceParameterSet, MainProfileWithoutCropping)
{
    Reader r = OpenSps(Sized(176, 144));
    EXPECT_EQ(r.Ue(), 4u); // log2_max_frame_num_minus4
    EXPECT_EQ(r.Ue(), 2u); // pic_order_cnt_type
    EXPECT_EQ(r.Ue(), 1u); // num_ref_frames
    EXPECT_EQ(r.Bits(1), 0u);
    EXPECT_EQ(r.Ue(), 10u);
    EXPECT_EQ(r.Ue(), 8u);
    EXPECT_EQ(r.Bits(1), 1u); // frame_mbs_only_flag
    EXPECT_EQ(r.Bits(1), 1u); // direct_8x8_inference_flag
    EXPECT_EQ(r.Bits(1), 0u); // frame_cropping_flag
    EXPECT_EQ(r.Bits(1), 1u); // vui_parameters_present_flag
    EXPECT_EQ(r.Bits(1), 1u);
    EXPECT_EQ(r.Bits(8), 1u); // square
    EXPECT_EQ(r.Bits(8), 0u); // no other part of the VUI
    EXPECT_EQ(r.Bits(1), 1u); // rbsp_stop_one_bit
}

TEST(SequenceParameterSet, CropsInUnitsOfTheChromaFormat)
{
    Reader r = OpenSps(Sized(180, 146));
    for (int i = 0; i < 3; ++i) r.Ue();
    r.Bits(1);
    EXPECT_EQ(r.Ue(), 11u);
    EXPECT_EQ(r.Ue(), 9u);
    EXPECT_EQ(r.Bits(2), 3u);
    EXPECT_EQ(r.Bits(1), 1u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 6u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 7u);
}

TEST(SequenceParameterSet, HighProfileWithTheDefaultMatrix)
{
    UMC::H264EncoderParams p = Sized(176, 144);
    p.profile_idc = 100;
    p.use_default_scaling_matrix = 1;
    Reader r = OpenSps(p);
    EXPECT_EQ(r.Ue(), 1u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Bits(2), 1u); // no bypass, a matrix
    for (int List = 0; List < 8; ++List) {
        ASSERT_EQ(r.Bits(1), 1u);
        const int Size = List < 6 ? 16 : 64;
        int Last = 8, Next = 8;
        for (int i = 0; i < Size; ++i) { // clause 7.3.2.1.1.1
            if (Next != 0) Next = (Last + r.Se() + 256) % 256;
            ASSERT_FALSE(i == 0 && Next == 0);
            Last = Next == 0 ? Last : Next;
            ASSERT_EQ(Last, List < 6 ? 16 : h264::kDefaultScaling8x8[1][i]) << List << ' ' << i;
        }
    }
    EXPECT_EQ(r.Ue(), 4u);
}

TEST(SequenceParameterSet, ExtensionCarriesTheAlphaValues)
{
    for (const int32_t Depth : {8, 12}) {
        SeqParamSet s{};
        s.aux_format_idc = 2;
        s.bit_depth_aux = Depth;
        s.alpha_incr_flag = true;
        s.alpha_opaque_value = 1 << Depth;
        s.alpha_transparent_value = 17;
        Writer w;
        w.WriteSeqExtension(s);
        Reader r(w.Written());
        EXPECT_EQ(r.Ue(), 0u);
        EXPECT_EQ(r.Ue(), 2u);
        EXPECT_EQ(r.Ue(), static_cast<uint32_t>(Depth - 8));
        EXPECT_EQ(r.Bits(1), 1u);
        EXPECT_EQ(r.Bits(Depth + 1), 1u << Depth); // one bit more than the samples have
        EXPECT_EQ(r.Bits(Depth + 1), 17u);
        EXPECT_EQ(r.Bits(2), 1u); // additional_extension_flag, stop bit
    }
}

TEST(PictureParameterSet, ElementsOfTheMainProfile)
{
    const UMC::H264EncoderParams p = Sized(176, 144);
    Writer w;
    w.WritePicParams(MakePicParams(p, 30), MakeSeqParams(p));
    Reader r(w.Written());
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Bits(1), 1u); // entropy_coding_mode_flag
    EXPECT_EQ(r.Bits(1), 0u);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Bits(3), 0u);
    EXPECT_EQ(r.Se(), 4);
    EXPECT_EQ(r.Se(), 0);
    EXPECT_EQ(r.Se(), 0);
    EXPECT_EQ(r.Bits(3), 4u); // deblocking_filter_control_present_flag
    EXPECT_EQ(r.Bits(1), 1u); // stop bit
}

TEST(SliceHeaderSyntax, HasNoOrderCountWithoutReordering)
{
    const UMC::H264EncoderParams p = Sized(176, 144);
    SliceHeader h{};
    h.first_mb_in_slice = 24;
    h.slice_type = h264::SLICE_P;
    h.frame_num = 200;
    h.nal_ref_idc = 1;
    h.num_ref_idx_l0 = h.num_ref_idx_l1 = 1;
    h.cabac_init_idc = 1;
    h.slice_qp_delta = -3;
    h.slice_alpha_c0_offset = 2;
    h.slice_beta_offset = -3;
    Writer w;
    w.WriteSliceHeader(h, MakeSeqParams(p), MakePicParams(p, 26));
    Reader r(w.Written());
    EXPECT_EQ(r.Ue(), 24u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Bits(8), 200u);
    EXPECT_EQ(r.Bits(3), 0u); // no override, no reordering, no adaptive marking
    EXPECT_EQ(r.Ue(), 1u);    // cabac_init_idc
    EXPECT_EQ(r.Se(), -3);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Se(), 1);
    EXPECT_EQ(r.Se(), -2); // halved downwards
    EXPECT_EQ(static_cast<int64_t>(r.Position()), w.Bits());
}

TEST(SliceHeaderSyntax, OfAnIdrPictureWithMoreReferencesAndTheFilterOff)
{
    UMC::H264EncoderParams p = Sized(176, 144);
    p.num_b_frames = 1;
    SliceHeader h{};
    h.slice_type = h264::SLICE_I;
    h.is_idr = true;
    h.idr_pic_id = 5;
    h.nal_ref_idc = 1;
    h.pic_order_cnt_lsb = 9;
    h.disable_deblocking_filter_idc = 1;
    Writer w;
    w.WriteSliceHeader(h, MakeSeqParams(p), MakePicParams(p, 26));
    Reader r(w.Written());
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 2u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Bits(8), 0u);
    EXPECT_EQ(r.Ue(), 5u);
    EXPECT_EQ(r.Bits(4), 9u); // order count of four bits
    EXPECT_EQ(r.Bits(2), 0u);
    EXPECT_EQ(r.Se(), 0);
    EXPECT_EQ(r.Ue(), 1u);
    EXPECT_EQ(static_cast<int64_t>(r.Position()), w.Bits());
}

TEST(SliceHeaderSyntax, TellsHowManyReferencesAreActive)
{
    const UMC::H264EncoderParams p = Sized(176, 144);
    SliceHeader h{};
    h.slice_type = h264::SLICE_P;
    h.nal_ref_idc = 1;
    h.num_ref_idx_l0 = 3;
    h.num_ref_idx_l1 = 1;
    Writer w;
    w.WriteSliceHeader(h, MakeSeqParams(p), MakePicParams(p, 26));
    Reader r(w.Written());
    r.Ue(), r.Ue(), r.Ue();
    r.Bits(8);
    EXPECT_EQ(r.Bits(1), 1u);
    EXPECT_EQ(r.Ue(), 2u);
}

TEST(SliceHeaderSyntax, OfABSliceInABottomField)
{
    UMC::H264EncoderParams p = Sized(176, 144);
    p.num_b_frames = 1;
    p.coding_type = 1;
    SliceHeader h{};
    h.slice_type = h264::SLICE_B;
    h.frame_num = 3;
    h.field_pic_flag = h.bottom_field_flag = true;
    h.pic_order_cnt_lsb = 11;
    h.delta_pic_order_cnt_bottom = 7; // stands in frames only
    h.direct_spatial_mv_pred = true;
    h.num_ref_idx_l0 = 1;
    h.num_ref_idx_l1 = 2;
    h.cabac_init_idc = 2;
    h.disable_deblocking_filter_idc = 1;
    Writer w;
    w.WriteSliceHeader(h, MakeSeqParams(p), MakePicParams(p, 26));
    Reader r(w.Written());
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 1u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Bits(8), 3u);
    EXPECT_EQ(r.Bits(2), 3u); // field_pic_flag, bottom_field_flag
    EXPECT_EQ(r.Bits(4), 11u);
    EXPECT_EQ(r.Bits(1), 1u); // direct_spatial_mv_pred_flag
    EXPECT_EQ(r.Bits(1), 1u); // num_ref_idx_active_override_flag
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 1u);
    EXPECT_EQ(r.Bits(2), 0u); // no reordering of either list
    EXPECT_EQ(r.Ue(), 2u);    // cabac_init_idc, as no reference needs no marking
    EXPECT_EQ(r.Se(), 0);
    EXPECT_EQ(r.Ue(), 1u);
    EXPECT_EQ(static_cast<int64_t>(r.Position()), w.Bits());
}

TEST(SliceHeaderSyntax, OfAFrameAmongFieldsTellsTheBottomOrderCount)
{
    UMC::H264EncoderParams p = Sized(176, 144);
    p.coding_type = 2;
    SliceHeader h{};
    h.slice_type = h264::SLICE_I;
    h.pic_order_cnt_lsb = 6;
    h.delta_pic_order_cnt_bottom = -1;
    h.disable_deblocking_filter_idc = 1;
    Writer w;
    w.WriteSliceHeader(h, MakeSeqParams(p), MakePicParams(p, 26));
    Reader r(w.Written());
    r.Ue(), r.Ue(), r.Ue();
    r.Bits(8);
    EXPECT_EQ(r.Bits(1), 0u); // field_pic_flag
    EXPECT_EQ(r.Bits(4), 6u);
    EXPECT_EQ(r.Se(), -1);
    EXPECT_EQ(r.Se(), 0);
    EXPECT_EQ(r.Ue(), 1u);
    EXPECT_EQ(static_cast<int64_t>(r.Position()), w.Bits());
}

} // namespace
