#include "encoder/write/headers.h"

#include "Common/h264/h264_tables.h"
#include "Common/h264/profiles.h"

namespace UMC_H264_ENCODER {

namespace {

// Square samples and nothing else (clause E.1.1).
void WriteVui(CBaseBitstream& Out)
{
    Out.PutBit(1);     // aspect_ratio_info_present_flag
    Out.PutBits(1, 8); // aspect_ratio_idc
    Out.PutBit(0);     // overscan_info_present_flag
    Out.PutBit(0);     // video_signal_type_present_flag
    Out.PutBit(0);     // chroma_loc_info_present_flag
    Out.PutBit(0);     // timing_info_present_flag
    Out.PutBit(0);     // nal_hrd_parameters_present_flag
    Out.PutBit(0);     // vcl_hrd_parameters_present_flag
    Out.PutBit(0);     // pic_struct_present_flag
    Out.PutBit(0);     // bitstream_restriction_flag
}

// Six flat 4x4 lists and the default inter list for both 8x8 ones (clause 7.3.2.1.1.1). A list ends with a delta that
// makes the next scale 0 as soon as the rest repeats the last entry.
void WriteScalingMatrix(CBaseBitstream& Out)
{
    for (int List = 0; List < 6; ++List) {
        Out.PutBit(1);  // seq_scaling_list_present_flag
        Out.PutSE(8);   // 16 - 8
        Out.PutSE(-16); // the rest repeats 16
    }
    for (int List = 0; List < 2; ++List) {
        Out.PutBit(1);
        const auto& Scale = h264::kDefaultScaling8x8[1];
        int32_t Last = 8;
        for (const uint8_t Entry : Scale) {
            Out.PutSE(Entry - Last);
            Last = Entry;
        }
    }
}

void WriteOrderCount(CBaseBitstream& Out, const SliceHeader& h, const SeqParamSet& s, const PicParamSet& p)
{
    if (s.pic_order_cnt_type != 0) return;
    Out.PutBits(static_cast<uint32_t>(h.pic_order_cnt_lsb), s.log2_max_pic_order_cnt_lsb);
    if (p.pic_order_present_flag && !h.field_pic_flag) Out.PutSE(h.delta_pic_order_cnt_bottom);
}

} // namespace

void WriteSeqParams(CBaseBitstream& Out, const SeqParamSet& s)
{
    Out.PutBits(s.profile_idc, 8);
    Out.PutBits(0x40, 8); // constraint_set1_flag alone, reserved_zero_4bits
    Out.PutBits(s.level_idc, 8);
    Out.PutUE(0); // seq_parameter_set_id
    if (h264::IsHighFamily(s.profile_idc)) {
        Out.PutUE(s.chroma_format_idc);
        if (s.chroma_format_idc == 3) Out.PutBit(0); // residual_colour_transform_flag
        Out.PutUE(s.bit_depth_luma - 8u);
        Out.PutUE(s.bit_depth_chroma - 8u);
        Out.PutBit(s.qpprime_y_zero_transform_bypass_flag);
        Out.PutBit(s.seq_scaling_matrix_present_flag);
        if (s.seq_scaling_matrix_present_flag) WriteScalingMatrix(Out);
    }
    Out.PutUE(kFrameNumBits - 4); // log2_max_frame_num_minus4
    Out.PutUE(static_cast<uint32_t>(s.pic_order_cnt_type));
    if (s.pic_order_cnt_type == 0) Out.PutUE(static_cast<uint32_t>(s.log2_max_pic_order_cnt_lsb - 4));
    Out.PutUE(static_cast<uint32_t>(s.num_ref_frames));
    Out.PutBit(0); // gaps_in_frame_num_value_allowed_flag
    Out.PutUE(static_cast<uint32_t>(s.pic_width_in_mbs - 1));
    Out.PutUE(static_cast<uint32_t>(s.pic_height_in_map_units - 1));
    Out.PutBit(s.frame_mbs_only_flag);
    if (!s.frame_mbs_only_flag) Out.PutBit(s.mb_adaptive_frame_field_flag);
    Out.PutBit(s.direct_8x8_inference_flag);
    const bool HasCropping = s.frame_crop_right_offset != 0 || s.frame_crop_bottom_offset != 0;
    Out.PutBit(HasCropping);
    if (HasCropping) {
        Out.PutUE(0); // left
        Out.PutUE(static_cast<uint32_t>(s.frame_crop_right_offset));
        Out.PutUE(0); // top
        Out.PutUE(static_cast<uint32_t>(s.frame_crop_bottom_offset));
    }
    Out.PutBit(1); // vui_parameters_present_flag
    WriteVui(Out);
    Out.WriteTrailingBits();
}

void WriteSeqExtension(CBaseBitstream& Out, const SeqParamSet& s)
{
    Out.PutUE(0); // seq_parameter_set_id
    Out.PutUE(static_cast<uint32_t>(s.aux_format_idc));
    if (s.aux_format_idc != 0) {
        Out.PutUE(static_cast<uint32_t>(s.bit_depth_aux - 8));
        Out.PutBit(s.alpha_incr_flag);
        Out.PutBits(static_cast<uint32_t>(s.alpha_opaque_value), s.bit_depth_aux + 1);
        Out.PutBits(static_cast<uint32_t>(s.alpha_transparent_value), s.bit_depth_aux + 1);
    }
    Out.PutBit(0); // additional_extension_flag
    Out.WriteTrailingBits();
}

void WritePicParams(CBaseBitstream& Out, const PicParamSet& p, const SeqParamSet& s)
{
    Out.PutUE(0); // pic_parameter_set_id
    Out.PutUE(0); // seq_parameter_set_id
    Out.PutBit(p.entropy_coding_mode_flag);
    Out.PutBit(p.pic_order_present_flag);
    Out.PutUE(0);  // num_slice_groups_minus1
    Out.PutUE(0);  // num_ref_idx_l0_active_minus1
    Out.PutUE(0);  // num_ref_idx_l1_active_minus1
    Out.PutBit(0); // weighted_pred_flag
    Out.PutBits(static_cast<uint32_t>(p.weighted_bipred_idc), 2);
    Out.PutSE(p.pic_init_qp - 26);
    Out.PutSE(0);  // pic_init_qs_minus26
    Out.PutSE(0);  // chroma_qp_index_offset
    Out.PutBit(1); // deblocking_filter_control_present_flag
    Out.PutBit(0); // constrained_intra_pred_flag
    Out.PutBit(0); // redundant_pic_cnt_present_flag
    if (h264::IsHighFamily(s.profile_idc)) {
        Out.PutBit(p.transform_8x8_mode_flag);
        Out.PutBit(0); // pic_scaling_matrix_present_flag
        Out.PutSE(0);  // second_chroma_qp_index_offset
    }
    Out.WriteTrailingBits();
}

void WriteAccessUnitDelimiter(CBaseBitstream& Out, uint32_t PrimaryPicType)
{
    Out.PutBits(PrimaryPicType, 3);
    Out.WriteTrailingBits();
}

void WriteSliceHeader(CBaseBitstream& Out, const SliceHeader& h, const SeqParamSet& s, const PicParamSet& p)
{
    Out.PutUE(static_cast<uint32_t>(h.first_mb_in_slice));
    Out.PutUE(static_cast<uint32_t>(h.slice_type));
    Out.PutUE(0); // pic_parameter_set_id
    Out.PutBits(static_cast<uint32_t>(h.frame_num), kFrameNumBits);
    if (!s.frame_mbs_only_flag) {
        Out.PutBit(h.field_pic_flag);
        if (h.field_pic_flag) Out.PutBit(h.bottom_field_flag);
    }
    if (h.is_idr) Out.PutUE(static_cast<uint32_t>(h.idr_pic_id));
    WriteOrderCount(Out, h, s, p);
    if (h.slice_type == h264::SLICE_B) Out.PutBit(h.direct_spatial_mv_pred);
    if (h.slice_type != h264::SLICE_I) {
        const bool HasOverride = h.num_ref_idx_l0 != 1 || (h.slice_type == h264::SLICE_B && h.num_ref_idx_l1 != 1);
        Out.PutBit(HasOverride);
        if (HasOverride) {
            Out.PutUE(static_cast<uint32_t>(h.num_ref_idx_l0 - 1));
            if (h.slice_type == h264::SLICE_B) Out.PutUE(static_cast<uint32_t>(h.num_ref_idx_l1 - 1));
        }
        Out.PutBit(0); // ref_pic_list_reordering_flag_l0
        if (h.slice_type == h264::SLICE_B) Out.PutBit(0);
    }
    if (h.nal_ref_idc != 0) {
        if (h.is_idr)
            Out.PutBits(0, 2); // no_output_of_prior_pics_flag, long_term_reference_flag
        else
            Out.PutBit(0); // adaptive_ref_pic_marking_mode_flag
    }
    if (p.entropy_coding_mode_flag && h.slice_type != h264::SLICE_I) Out.PutUE(static_cast<uint32_t>(h.cabac_init_idc));
    Out.PutSE(h.slice_qp_delta);
    Out.PutUE(static_cast<uint32_t>(h.disable_deblocking_filter_idc));
    if (h.disable_deblocking_filter_idc != 1) {
        Out.PutSE(h.slice_alpha_c0_offset >> 1);
        Out.PutSE(h.slice_beta_offset >> 1);
    }
}

} // namespace UMC_H264_ENCODER
