// Sequence and picture parameter sets as this encoder writes them. The picture floor makes them of the settings.
#pragma once

#include <cstdint>

namespace UMC_H264_ENCODER {

inline constexpr int32_t kFrameNumBits = 8; // so frame_num wraps at 256
inline constexpr int32_t kFrameNumMax = 1 << kFrameNumBits;

// Elements of clause 7.3.2.1.1 that are not the same in every stream of this encoder.
struct SeqParamSet {
    uint8_t profile_idc;
    uint8_t level_idc;
    uint8_t chroma_format_idc;
    uint8_t bit_depth_luma, bit_depth_chroma;
    bool qpprime_y_zero_transform_bypass_flag;
    bool seq_scaling_matrix_present_flag;
    int32_t pic_order_cnt_type;
    int32_t log2_max_pic_order_cnt_lsb; // with type 0
    int32_t num_ref_frames;
    int32_t pic_width_in_mbs, pic_height_in_map_units;
    bool frame_mbs_only_flag, mb_adaptive_frame_field_flag, direct_8x8_inference_flag;
    int32_t frame_crop_right_offset, frame_crop_bottom_offset; // in crop units
    // SPS extension (clause 7.3.2.1.2)
    int32_t aux_format_idc, bit_depth_aux;
    bool alpha_incr_flag;
    int32_t alpha_opaque_value, alpha_transparent_value;
};

struct PicParamSet {
    bool entropy_coding_mode_flag;
    bool pic_order_present_flag;
    int32_t weighted_bipred_idc;
    int32_t pic_init_qp;
    bool transform_8x8_mode_flag;
};

} // namespace UMC_H264_ENCODER
