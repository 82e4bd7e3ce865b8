// Settings of the H.264 encoder.
#pragma once

#include "media/umc_video_encoder.h"

#include <cstdint>

namespace UMC {

/// The encoder's settings record. The defaults are those in force unless a client changes them; Init of the encoder
/// checks a private copy and corrects what is out of range.
class H264EncoderParams : public VideoEncoderParams
{
public:
    UMC_DERIVED_CLASS(H264EncoderParams, VideoEncoderParams, "H264EncoderParams")
    static constexpr int32_t kDefaultBitrate = 2222222;
    static constexpr double kDefaultFrameRate = 30.0;
    H264EncoderParams()
    {
        m_Info.m_Bitrate = kDefaultBitrate;
        m_Info.m_FrameRate = kDefaultFrameRate;
    }

    /// Reads a text file: lines 1 to 3 are skipped, the values of each later line are parsed from its start.
    /// @return StatusOpenFailed when the file cannot be opened, StatusInvalidParams at the first line with too few
    ///         values (fields of earlier lines are then already set)
    Status ReadParamFile(const char* pPath) override;

    struct Tuning { // copied with the record; nothing reads it
        int32_t Word0 = 51, Word1 = 0, Word2 = 2, Word3 = 37, Word4 = 0;
        double Value0 = 0.5, Value1 = 2.0, Value2 = 2.0;
    };

    int32_t chroma_format_idc = 1;
    Tuning tuning;
    int32_t coding_type = 0;         // 0 frames, 1 field pictures, 2 macroblock-adaptive
    int32_t num_b_frames = 0;        // B pictures between two anchors
    int32_t b_ref_mode = 0;          // B pictures that are references: 0 none, 1 the middle one of a run, 2 all
    int32_t num_ref_frames = 1;      // 0..16, capped by the level
    int32_t num_ref_to_start_b = 1;  // anchors that must follow before a B picture is coded
    uint8_t level_idc = 0;           // 0: chosen by size and rate
    int32_t rate_control_method = 2; // RateControlMethod
    uint8_t quant_i = 20, quant_p = 20, quant_b = 20; // QPs of method 3
    int16_t num_slices = 1;                           // per picture
    uint8_t keep_pattern_at_key = 0;
    uint8_t deblocking_filter_idc = 0; // disable_deblocking_filter_idc
    int32_t deblocking_alpha_offset = 2, deblocking_beta_offset = 2;
    int32_t search_method = 2;   // SearchMethod
    int32_t partition_level = 0; // 0: 16x16 only, 1: 8x8 and the halves too, 2 and above: below 8x8 too
    uint32_t reserved0 = 0;
    int32_t search_x = 8, search_y = 8; // search range, whole samples
    int32_t use_weighted_pred = 0, use_weighted_bipred = 0, use_implicit_weighted_bipred = 0;
    uint8_t direct_pred_mode = 0; // 0 temporal, 1 spatial, 2 chosen for each picture
    int32_t direct_8x8_inference = 1;
    uint8_t entropy_coding_mode = 1; // 0 CAVLC, 1 CABAC
    uint8_t cabac_init_idc = 1;
    uint8_t write_access_unit_delimiters = 0;
    int32_t key_frame_method = 1;
    int32_t key_frame_interval = 100; // pictures between I pictures
    int32_t idr_interval = 0;         // I pictures for each IDR picture
    uint32_t reserved1 = 1;
    int32_t profile_idc = 77;
    uint8_t transform_8x8_mode = 0;
    int32_t qpprime_y_zero_transform_bypass = 0;
    int32_t use_default_scaling_matrix = 0;
    int32_t aux_format_idc = 0; // not 0: an alpha plane is coded too
    uint8_t alpha_incr_flag = 0;
    int32_t alpha_opaque_value = 0, alpha_transparent_value = 0;
    int32_t bit_depth_aux = 8, bit_depth_luma = 8, bit_depth_chroma = 8; // 8..12
    int32_t num_frames = 0;                                              // carried along; nothing reads it
    int32_t analysis_level = 0; // 0 SAD .. 4 all references, sets the analysis flags
};

} // namespace UMC
