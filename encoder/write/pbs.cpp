#include "encoder/write/pbs.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

// Types that may open an access unit (clause 7.4.1.2.3).
bool MayOpenAccessUnit(int32_t Type) { return (Type >= 1 && Type <= 6) || Type == 9 || (Type >= 14 && Type <= 18); }

bool NeedsZeroByte(int32_t Type, bool& bFirstInAu)
{
    if (bFirstInAu && MayOpenAccessUnit(Type)) {
        bFirstInAu = false;
        return true;
    }
    return Type == NAL_SPS || Type == NAL_PPS;
}

// The first place from From on where a 3 must go: ahead of a byte below 4 with two zero bytes before it, those at From
// and behind it (clause 7.4.1). Size when there is none.
size_t FindEmulation(const uint8_t* p, size_t From, size_t Size)
{
    for (size_t i = From + 2; i < Size;) {
        if (p[i] > 3) {
            i += 3; // no zero byte here for the two tests behind
        } else if (p[i - 1] == 0 && p[i - 2] == 0) {
            return i;
        } else {
            i += p[i] != 0 ? 3 : 1;
        }
    }
    return Size;
}

} // namespace

size_t FrameNAL(uint8_t* pDest, const uint8_t* pPayload, size_t Size, int32_t NalRefIdc, int32_t Type, bool& bFirstInAu)
{
    uint8_t* p = pDest;
    if (NeedsZeroByte(Type, bFirstInAu)) *p++ = 0;
    *p++ = 0;
    *p++ = 0;
    *p++ = 1;
    *p++ = static_cast<uint8_t>(NalRefIdc << 5 | Type);
    for (size_t Done = 0;;) {
        const size_t Next = FindEmulation(pPayload, Done, Size);
        p = std::copy(pPayload + Done, pPayload + Next, p);
        if (Next == Size) return static_cast<size_t>(p - pDest);
        *p++ = 3;
        Done = Next;
    }
}

size_t FramedSize(const uint8_t* pPayload, size_t Size, int32_t Type, bool bFirstInAu)
{
    size_t Bytes = (NeedsZeroByte(Type, bFirstInAu) ? 5 : 4) + Size;
    for (size_t i = 0; (i = FindEmulation(pPayload, i, Size)) < Size;) ++Bytes;
    return Bytes;
}

template <class PixType, class CoeffsType>
size_t CH264pBs<PixType, CoeffsType>::WriteNAL(uint8_t* pDest, int32_t NalRefIdc, int32_t Type, bool& bFirstInAu)
{
    const size_t Written = FrameNAL(pDest, m_pBuffer + m_NalStart, PendingBytes(), NalRefIdc, Type, bFirstInAu);
    m_NalStart = Bytes();
    return Written;
}

template <class PixType, class CoeffsType>
void CH264pBs<PixType, CoeffsType>::WriteSeqParams(const SeqParamSet& s)
{
    PutBits(s.profile_idc, 8);
    PutBits(0x40, 8); // constraint_set1_flag alone, reserved_zero_4bits
    PutBits(s.level_idc, 8);
    PutUE(0); // seq_parameter_set_id
    if (IsHighFamily(s.profile_idc)) {
        PutUE(s.chroma_format_idc);
        if (s.chroma_format_idc == 3) PutBit(0); // residual_colour_transform_flag
        PutUE(s.bit_depth_luma - 8u);
        PutUE(s.bit_depth_chroma - 8u);
        PutBit(s.qpprime_y_zero_transform_bypass);
        PutBit(s.seq_scaling_matrix_present);
        if (s.seq_scaling_matrix_present) WriteScalingMatrix();
    }
    PutUE(kFrameNumBits - 4); // log2_max_frame_num_minus4
    PutUE(static_cast<uint32_t>(s.pic_order_cnt_type));
    if (s.pic_order_cnt_type == 0) PutUE(static_cast<uint32_t>(s.log2_max_pic_order_cnt_lsb - 4));
    PutUE(static_cast<uint32_t>(s.num_ref_frames));
    PutBit(0); // gaps_in_frame_num_value_allowed_flag
    PutUE(static_cast<uint32_t>(s.pic_width_in_mbs - 1));
    PutUE(static_cast<uint32_t>(s.pic_height_in_map_units - 1));
    PutBit(s.frame_mbs_only);
    if (!s.frame_mbs_only) PutBit(s.mb_adaptive_frame_field);
    PutBit(s.direct_8x8_inference);
    const bool bCropping = s.crop_right != 0 || s.crop_bottom != 0;
    PutBit(bCropping);
    if (bCropping) {
        PutUE(0); // left
        PutUE(static_cast<uint32_t>(s.crop_right));
        PutUE(0); // top
        PutUE(static_cast<uint32_t>(s.crop_bottom));
    }
    PutBit(1); // vui_parameters_present_flag
    WriteVui();
    WriteTrailingBits();
}

// Square samples and nothing else (clause E.1.1).
template <class PixType, class CoeffsType>
void CH264pBs<PixType, CoeffsType>::WriteVui()
{
    PutBit(1);     // aspect_ratio_info_present_flag
    PutBits(1, 8); // aspect_ratio_idc
    PutBit(0);     // overscan_info_present_flag
    PutBit(0);     // video_signal_type_present_flag
    PutBit(0);     // chroma_loc_info_present_flag
    PutBit(0);     // timing_info_present_flag
    PutBit(0);     // nal_hrd_parameters_present_flag
    PutBit(0);     // vcl_hrd_parameters_present_flag
    PutBit(0);     // pic_struct_present_flag
    PutBit(0);     // bitstream_restriction_flag
}

// Six flat 4x4 lists and the default inter list for both 8x8 ones (clause 7.3.2.1.1.1). A list ends with a delta that
// makes the next scale 0 as soon as the rest repeats the last entry.
template <class PixType, class CoeffsType>
void CH264pBs<PixType, CoeffsType>::WriteScalingMatrix()
{
    for (int List = 0; List < 6; ++List) {
        PutBit(1);  // seq_scaling_list_present_flag
        PutSE(8);   // 16 - 8
        PutSE(-16); // the rest repeats 16
    }
    for (int List = 0; List < 2; ++List) {
        PutBit(1);
        const auto& Scale = h264::kDefaultScaling8x8[1];
        int32_t Last = 8;
        for (const uint8_t Entry : Scale) {
            PutSE(Entry - Last);
            Last = Entry;
        }
    }
}

template <class PixType, class CoeffsType>
void CH264pBs<PixType, CoeffsType>::WriteSeqExtension(const SeqParamSet& s)
{
    PutUE(0); // seq_parameter_set_id
    PutUE(static_cast<uint32_t>(s.aux_format_idc));
    if (s.aux_format_idc != 0) {
        PutUE(static_cast<uint32_t>(s.bit_depth_aux - 8));
        PutBit(s.alpha_incr);
        PutBits(static_cast<uint32_t>(s.alpha_opaque_value), s.bit_depth_aux + 1);
        PutBits(static_cast<uint32_t>(s.alpha_transparent_value), s.bit_depth_aux + 1);
    }
    PutBit(0); // additional_extension_flag
    WriteTrailingBits();
}

template <class PixType, class CoeffsType>
void CH264pBs<PixType, CoeffsType>::WritePicParams(const PicParamSet& p, const SeqParamSet& s)
{
    PutUE(0); // pic_parameter_set_id
    PutUE(0); // seq_parameter_set_id
    PutBit(p.entropy_coding_mode);
    PutBit(p.pic_order_present);
    PutUE(0);  // num_slice_groups_minus1
    PutUE(0);  // num_ref_idx_l0_active_minus1
    PutUE(0);  // num_ref_idx_l1_active_minus1
    PutBit(0); // weighted_pred_flag
    PutBits(static_cast<uint32_t>(p.weighted_bipred_idc), 2);
    PutSE(p.pic_init_qp - 26);
    PutSE(0);  // pic_init_qs_minus26
    PutSE(0);  // chroma_qp_index_offset
    PutBit(1); // deblocking_filter_control_present_flag
    PutBit(0); // constrained_intra_pred_flag
    PutBit(0); // redundant_pic_cnt_present_flag
    if (IsHighFamily(s.profile_idc)) {
        PutBit(p.transform_8x8_mode);
        PutBit(0); // pic_scaling_matrix_present_flag
        PutSE(0);  // second_chroma_qp_index_offset
    }
    WriteTrailingBits();
}

template <class PixType, class CoeffsType>
void CH264pBs<PixType, CoeffsType>::WriteAccessUnitDelimiter(uint32_t PrimaryPicType)
{
    PutBits(PrimaryPicType, 3);
    WriteTrailingBits();
}

template <class PixType, class CoeffsType>
void CH264pBs<PixType, CoeffsType>::WriteOrderCount(const SliceHeader& h, const SeqParamSet& s, const PicParamSet& p)
{
    if (s.pic_order_cnt_type != 0) return;
    PutBits(static_cast<uint32_t>(h.pic_order_cnt_lsb), s.log2_max_pic_order_cnt_lsb);
    if (p.pic_order_present && !h.field_pic) PutSE(h.delta_pic_order_cnt_bottom);
}

template <class PixType, class CoeffsType>
void CH264pBs<PixType, CoeffsType>::WriteSliceHeader(const SliceHeader& h, const SeqParamSet& s, const PicParamSet& p)
{
    PutUE(static_cast<uint32_t>(h.first_mb_in_slice));
    PutUE(static_cast<uint32_t>(h.slice_type));
    PutUE(0); // pic_parameter_set_id
    PutBits(static_cast<uint32_t>(h.frame_num), kFrameNumBits);
    if (!s.frame_mbs_only) {
        PutBit(h.field_pic);
        if (h.field_pic) PutBit(h.bottom_field);
    }
    if (h.idr) PutUE(static_cast<uint32_t>(h.idr_pic_id));
    WriteOrderCount(h, s, p);
    if (h.slice_type == SLICE_B) PutBit(h.direct_spatial_mv_pred);
    if (h.slice_type != SLICE_I) {
        const bool bOverride = h.num_ref_idx_l0 != 1 || (h.slice_type == SLICE_B && h.num_ref_idx_l1 != 1);
        PutBit(bOverride);
        if (bOverride) {
            PutUE(static_cast<uint32_t>(h.num_ref_idx_l0 - 1));
            if (h.slice_type == SLICE_B) PutUE(static_cast<uint32_t>(h.num_ref_idx_l1 - 1));
        }
        PutBit(0); // ref_pic_list_reordering_flag_l0
        if (h.slice_type == SLICE_B) PutBit(0);
    }
    if (h.nal_ref_idc != 0) {
        if (h.idr)
            PutBits(0, 2); // no_output_of_prior_pics_flag, long_term_reference_flag
        else
            PutBit(0); // adaptive_ref_pic_marking_mode_flag
    }
    if (p.entropy_coding_mode && h.slice_type != SLICE_I) PutUE(static_cast<uint32_t>(h.cabac_init_idc));
    PutSE(h.slice_qp_delta);
    PutUE(static_cast<uint32_t>(h.disable_deblocking_filter_idc));
    if (h.disable_deblocking_filter_idc != 1) {
        PutSE(h.alpha_c0_offset >> 1);
        PutSE(h.beta_offset >> 1);
    }
}

template class CH264pBs<uint8_t, int16_t>;

} // namespace UMC_H264_ENCODER
