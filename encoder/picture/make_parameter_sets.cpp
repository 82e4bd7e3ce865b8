#include "encoder/picture/make_parameter_sets.h"

#include "Common/h264/chroma_geometry.h"
#include "encoder/state/encoder_types.h"
#include "encoder/state/frame_layout.h"

#include <algorithm>
#include <bit>

namespace UMC_H264_ENCODER {

int32_t PocLsbBits(int32_t NumBFrames, int32_t BRefMode, int32_t NumRefFrames)
{
    const int32_t b = BRefMode == 2 ? 2 * NumBFrames : NumBFrames;
    const int32_t Log2 = static_cast<int32_t>(std::bit_width(static_cast<uint32_t>(b + NumRefFrames))) - 1;
    return std::clamp(Log2 + 3, 4, 16);
}

SeqParamSet MakeSeqParams(const UMC::H264EncoderParams& p)
{
    const bool FramesOnly = p.coding_type == CODING_FRAMES;
    const int32_t Width = p.m_Info.m_Width, Height = p.m_Info.m_Height;
    const auto Rows = static_cast<int32_t>(CodedRows(Height, FramesOnly));

    SeqParamSet s{};
    s.profile_idc = static_cast<uint8_t>(p.profile_idc);
    s.level_idc = p.level_idc;
    s.chroma_format_idc = static_cast<uint8_t>(p.chroma_format_idc);
    s.bit_depth_luma = static_cast<uint8_t>(p.bit_depth_luma);
    s.bit_depth_chroma = static_cast<uint8_t>(p.bit_depth_chroma);
    s.qpprime_y_zero_transform_bypass_flag = p.qpprime_y_zero_transform_bypass != 0;
    s.seq_scaling_matrix_present_flag = p.use_default_scaling_matrix != 0;
    s.pic_order_cnt_type = p.num_b_frames == 0 && FramesOnly ? 2 : 0;
    s.log2_max_pic_order_cnt_lsb = PocLsbBits(p.num_b_frames, p.b_ref_mode, p.num_ref_frames);
    s.num_ref_frames = p.num_ref_frames;
    s.pic_width_in_mbs = (Width + 15) / 16;
    s.pic_height_in_map_units = Rows / (FramesOnly ? 16 : 32);
    s.frame_mbs_only_flag = FramesOnly;
    s.mb_adaptive_frame_field_flag = p.coding_type == CODING_ADAPTIVE;
    s.direct_8x8_inference_flag = p.direct_8x8_inference != 0 || !FramesOnly;
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[p.chroma_format_idc & 3];
    s.frame_crop_right_offset = (s.pic_width_in_mbs * 16 - Width) >> Chroma.ShiftX;
    s.frame_crop_bottom_offset = (Rows - Height) / (FramesOnly ? 1 : 2) >> Chroma.ShiftY;
    s.aux_format_idc = p.aux_format_idc;
    s.bit_depth_aux = p.bit_depth_aux;
    s.alpha_incr_flag = p.alpha_incr_flag != 0;
    s.alpha_opaque_value = p.alpha_opaque_value;
    s.alpha_transparent_value = p.alpha_transparent_value;
    return s;
}

PicParamSet MakePicParams(const UMC::H264EncoderParams& p, int32_t PicInitQp)
{
    PicParamSet s{};
    s.entropy_coding_mode_flag = p.entropy_coding_mode != 0;
    s.pic_order_present_flag = p.coding_type != CODING_FRAMES;
    s.weighted_bipred_idc = p.use_implicit_weighted_bipred ? 2 : 0;
    s.pic_init_qp = PicInitQp;
    s.transform_8x8_mode_flag = p.transform_8x8_mode != 0;
    return s;
}

} // namespace UMC_H264_ENCODER
