// Parsed headers of H.264 clause 7.3: plain records under the standard's names.
#pragma once

#include "Common/h264/pic_order_cnt.h"
#include "Common/h264/reference_numbers.h"
#include "Common/h264/slice_type.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace UMC {

enum { TOP_FIELD = 0, BOTTOM_FIELD = 1, FRAME_PICTURE = 2, MBAFF_FRAME = 3 };

using enum h264::SliceType;
using h264::SliceType;

struct H264ScalingLists {
    uint8_t List4x4[6][16]; // raster order: intra Y, Cb, Cr, inter Y, Cb, Cr
    uint8_t List8x8[2][64]; // raster order: intra Y, inter Y
    uint8_t Status4x4[6];   // 1 default used, 2 explicit
    uint8_t Status8x8[2];
    bool operator==(const H264ScalingLists&) const = default;
};

struct H264HrdParams {
    uint8_t cpb_cnt;
    uint8_t bit_rate_scale, cpb_size_scale;
    uint32_t bit_rate_value[32], cpb_size_value[32];
    uint8_t cbr_flag[32];
    uint8_t initial_cpb_removal_delay_length, cpb_removal_delay_length, dpb_output_delay_length, time_offset_length;
    bool operator==(const H264HrdParams&) const = default;
};

struct H264VuiParams {
    uint8_t aspect_ratio_info_present_flag, aspect_ratio_idc;
    uint16_t sar_width, sar_height;
    uint8_t overscan_info_present_flag, overscan_appropriate_flag;
    uint8_t video_signal_type_present_flag, video_format, video_full_range_flag;
    uint8_t colour_description_present_flag, colour_primaries, transfer_characteristics, matrix_coefficients;
    uint8_t chroma_loc_info_present_flag, chroma_sample_loc_type_top_field, chroma_sample_loc_type_bottom_field;
    uint8_t timing_info_present_flag, fixed_frame_rate_flag;
    uint32_t num_units_in_tick, time_scale;
    uint8_t nal_hrd_parameters_present_flag, vcl_hrd_parameters_present_flag, low_delay_hrd_flag;
    uint8_t pic_struct_present_flag, bitstream_restriction_flag, motion_vectors_over_pic_boundaries_flag;
    uint32_t max_bytes_per_pic_denom, max_bits_per_mb_denom;
    uint32_t log2_max_mv_length_horizontal, log2_max_mv_length_vertical;
    uint32_t num_reorder_frames, max_dec_frame_buffering;
    H264HrdParams hrd;
    bool operator==(const H264VuiParams&) const = default;
};

struct H264SeqParamSet {
    uint8_t profile_idc, level_idc, seq_parameter_set_id;
    uint8_t constraint_set_flags; // bit 7 - i is constraint_set<i>_flag, as in the stream
    uint8_t chroma_format_idc, residual_colour_transform_flag;
    uint8_t bit_depth_luma, bit_depth_chroma; // 8 added
    uint8_t qpprime_y_zero_transform_bypass_flag;
    uint8_t seq_scaling_matrix_present_flag;
    H264ScalingLists scaling;
    uint8_t log2_max_frame_num; // 4 added
    uint8_t pic_order_cnt_type;
    uint8_t log2_max_pic_order_cnt_lsb; // 4 added
    uint32_t MaxPicOrderCntLsb;
    uint8_t delta_pic_order_always_zero_flag;
    int32_t offset_for_non_ref_pic, offset_for_top_to_bottom_field;
    std::vector<int32_t> offset_for_ref_frame; // size(): num_ref_frames_in_pic_order_cnt_cycle
    std::vector<uint32_t> offset_sum;          // of the entries up to and with each, modulo 2^32
    uint32_t num_ref_frames;
    uint8_t gaps_in_frame_num_value_allowed_flag;
    uint32_t frame_width_in_mbs;
    uint32_t frame_height_in_mbs; // doubled when frame_mbs_only_flag is 0
    uint8_t frame_mbs_only_flag, mb_adaptive_frame_field_flag, direct_8x8_inference_flag;
    uint8_t frame_cropping_flag;
    uint32_t frame_crop_left_offset, frame_crop_right_offset, frame_crop_top_offset, frame_crop_bottom_offset;
    uint8_t vui_parameters_present_flag;
    H264VuiParams vui;
    bool operator==(const H264SeqParamSet&) const = default;
};

struct H264SeqParamSetExtension {
    uint8_t seq_parameter_set_id, aux_format_idc, bit_depth_aux, alpha_incr_flag;
    uint8_t alpha_opaque_value, alpha_transparent_value, additional_extension_flag;
    bool operator==(const H264SeqParamSetExtension&) const = default;
};

// The most that a level has room for (Table A-1): no larger picture is decoded, so that macroblock and slice numbers
// fit into 16 bits and memory is bounded.
inline constexpr uint32_t kMaxPictureMbs = 36864;
inline constexpr uint32_t kMaxPicOrderCycle = 255; // clause 7.4.2.1.1

// Products of scaling list weight and normAdjust (clause 8.5.9) for every QP modulo 6, raster order, so that residual
// decoding multiplies no weights. The shift by QP / 6 is not in them.
struct H264LevelScale {
    int16_t Scale4x4[6][6][16]; // by list and QP % 6
    int16_t Scale8x8[2][6][64];
    bool operator==(const H264LevelScale&) const = default;
};

struct H264PicParamSet {
    uint8_t pic_parameter_set_id, seq_parameter_set_id;
    uint8_t entropy_coding_mode_flag, pic_order_present_flag;
    uint32_t num_slice_groups; // 1 added
    uint8_t slice_group_map_type;
    uint32_t run_length[8]; // 1 added
    uint32_t top_left[8], bottom_right[8];
    uint8_t slice_group_change_direction_flag;
    uint32_t slice_group_change_rate; // 1 added
    std::vector<uint8_t> slice_group_id;
    uint32_t num_ref_idx_l0_active, num_ref_idx_l1_active; // 1 added
    uint8_t weighted_pred_flag, weighted_bipred_idc;
    int32_t pic_init_qp, pic_init_qs; // 26 added
    int32_t chroma_qp_index_offset[2];
    uint8_t deblocking_filter_control_present_flag, constrained_intra_pred_flag, redundant_pic_cnt_present_flag;
    uint8_t transform_8x8_mode_flag, pic_scaling_matrix_present_flag;
    H264ScalingLists scaling;
    H264LevelScale level_scale;
    bool operator==(const H264PicParamSet&) const = default;
};

struct RefPicListReordering {
    uint32_t count;
    uint8_t operation[32]; // reordering_of_pic_nums_idc
    uint32_t value[32];
};

struct AdaptiveMarking {
    uint32_t count;
    uint8_t operation[32]; // memory_management_control_operation
    uint32_t value[32][2];
};

struct PredWeight {
    uint8_t luma_weight_flag, chroma_weight_flag;
    int8_t luma_offset;
    int8_t chroma_offset[2];
    int16_t luma_weight; // 2^denom where the flag is 0
    int16_t chroma_weight[2];
};

struct SliceHeaderFields {
    int32_t nal_unit_type;
    uint8_t pic_parameter_set_id, field_pic_flag, MbaffFrameFlag, bottom_field_flag;
    uint8_t direct_spatial_mv_pred_flag, num_ref_idx_active_override_flag;
    uint8_t no_output_of_prior_pics_flag, long_term_reference_flag;
    uint32_t cabac_init_idc;
    uint8_t adaptive_ref_pic_marking_mode_flag;
    int32_t slice_qp_delta;
    uint8_t sp_for_switch_flag;
    int32_t slice_qs_delta;
    uint32_t disable_deblocking_filter_idc;
    int32_t slice_alpha_c0_offset, slice_beta_offset; // already doubled
    int32_t first_mb_in_slice;                        // doubled for MBAFF
    int32_t frame_num;
    SliceType slice_type; // 5..9 folded to 0..4
    uint8_t IdrPicFlag;
    uint32_t nal_ref_idc, idr_pic_id;
    int32_t pic_order_cnt_lsb, delta_pic_order_cnt_bottom, delta_pic_order_cnt[2];
    uint32_t redundant_pic_cnt;
    int32_t num_ref_idx_l0_active, num_ref_idx_l1_active;
    uint32_t slice_group_change_cycle;
    uint32_t luma_log2_weight_denom, chroma_log2_weight_denom;
};

// The number by which the picture of a slice is called among references of its structure (clause 7.4.3).
inline int32_t CurrPicNum(const SliceHeaderFields& Header)
{
    return Header.field_pic_flag ? h264::FieldPicNum(Header.frame_num, true) : Header.frame_num;
}

inline h264::PicOrderPicture PicOrderOf(const SliceHeaderFields& Header)
{
    return {.frame_num = Header.frame_num,
            .IsReference = Header.nal_ref_idc != 0,
            .IsField = Header.field_pic_flag != 0,
            .IsBottomField = Header.bottom_field_flag != 0,
            .pic_order_cnt_lsb = Header.pic_order_cnt_lsb,
            .delta_pic_order_cnt_bottom = Header.delta_pic_order_cnt_bottom,
            .delta_pic_order_cnt = {Header.delta_pic_order_cnt[0], Header.delta_pic_order_cnt[1]}};
}

} // namespace UMC
