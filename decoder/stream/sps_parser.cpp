#include "Common/h264/h264_tables.h"
#include "Common/h264/levels.h"
#include "Common/h264/profiles.h"
#include "decoder/stream/header_parsers.h"
#include "decoder/stream/scaling.h"

#include <algorithm>
#include <iterator>

namespace UMC {

namespace {

constexpr uint8_t kExtendedSar = 255;

bool IsKnownProfile(uint32_t profile_idc)
{
    constexpr uint32_t Known[] = {66, 77, 88, 100, 110, 122, 144, 166, 188};
    return std::find(std::begin(Known), std::end(Known), profile_idc) != std::end(Known);
}

// Values too large for the field stay too large for whoever checks them.
uint8_t Saturate8(uint32_t Value) { return static_cast<uint8_t>(std::min<uint32_t>(Value, UINT8_MAX)); }

void ReadHrd(H264Bitstream& Bits, H264HrdParams& Hrd)
{
    const uint32_t Schedules = Bits.GetUE() + 1;
    if (Schedules - 1 > 31) throw h264_exception(StatusInvalidParams);
    Hrd.cpb_cnt = static_cast<uint8_t>(Schedules);
    Hrd.bit_rate_scale = static_cast<uint8_t>(Bits.GetBits(4));
    Hrd.cpb_size_scale = static_cast<uint8_t>(Bits.GetBits(4));
    for (uint32_t i = 0; i < Schedules; ++i) {
        Hrd.bit_rate_value[i] = Bits.GetUE() + 1;
        Hrd.cpb_size_value[i] = Bits.GetUE() + 1;
        Hrd.cbr_flag[i] = static_cast<uint8_t>(Bits.GetBit());
    }
    Hrd.initial_cpb_removal_delay_length = static_cast<uint8_t>(Bits.GetBits(5) + 1);
    Hrd.cpb_removal_delay_length = static_cast<uint8_t>(Bits.GetBits(5) + 1);
    Hrd.dpb_output_delay_length = static_cast<uint8_t>(Bits.GetBits(5) + 1);
    Hrd.time_offset_length = static_cast<uint8_t>(Bits.GetBits(5));
}

void ReadVuiAspect(H264Bitstream& Bits, H264VuiParams& Vui)
{
    Vui.aspect_ratio_info_present_flag = static_cast<uint8_t>(Bits.GetBit());
    if (!Vui.aspect_ratio_info_present_flag) return;
    Vui.aspect_ratio_idc = static_cast<uint8_t>(Bits.GetBits(8));
    if (Vui.aspect_ratio_idc == kExtendedSar) {
        Vui.sar_width = static_cast<uint16_t>(Bits.GetBits(16));
        Vui.sar_height = static_cast<uint16_t>(Bits.GetBits(16));
    } else if (Vui.aspect_ratio_idc < std::size(h264::kAspectRatio)) {
        Vui.sar_width = h264::kAspectRatio[Vui.aspect_ratio_idc].Width;
        Vui.sar_height = h264::kAspectRatio[Vui.aspect_ratio_idc].Height;
    }
}

void ReadVuiVideoSignal(H264Bitstream& Bits, H264VuiParams& Vui)
{
    Vui.video_signal_type_present_flag = static_cast<uint8_t>(Bits.GetBit());
    if (!Vui.video_signal_type_present_flag) return;
    Vui.video_format = static_cast<uint8_t>(Bits.GetBits(3));
    Vui.video_full_range_flag = static_cast<uint8_t>(Bits.GetBit());
    Vui.colour_description_present_flag = static_cast<uint8_t>(Bits.GetBit());
    if (!Vui.colour_description_present_flag) return;
    Vui.colour_primaries = static_cast<uint8_t>(Bits.GetBits(8));
    Vui.transfer_characteristics = static_cast<uint8_t>(Bits.GetBits(8));
    Vui.matrix_coefficients = static_cast<uint8_t>(Bits.GetBits(8));
}

void ReadVuiTiming(H264Bitstream& Bits, H264VuiParams& Vui)
{
    Vui.timing_info_present_flag = static_cast<uint8_t>(Bits.GetBit());
    if (!Vui.timing_info_present_flag) return;
    Vui.num_units_in_tick = Bits.GetBits(32); // a field of 32 bits reads as 0; frame time comes from the parameters
    Vui.time_scale = Bits.GetBits(32);
    Vui.fixed_frame_rate_flag = static_cast<uint8_t>(Bits.GetBit());
}

void ReadVuiHrd(H264Bitstream& Bits, H264VuiParams& Vui)
{
    Vui.nal_hrd_parameters_present_flag = static_cast<uint8_t>(Bits.GetBit());
    if (Vui.nal_hrd_parameters_present_flag) ReadHrd(Bits, Vui.hrd);
    Vui.vcl_hrd_parameters_present_flag = static_cast<uint8_t>(Bits.GetBit());
    if (Vui.vcl_hrd_parameters_present_flag) ReadHrd(Bits, Vui.hrd);
    if (Vui.nal_hrd_parameters_present_flag || Vui.vcl_hrd_parameters_present_flag)
        Vui.low_delay_hrd_flag = static_cast<uint8_t>(Bits.GetBit());
}

void ReadVuiRestriction(H264Bitstream& Bits, H264VuiParams& Vui)
{
    Vui.bitstream_restriction_flag = static_cast<uint8_t>(Bits.GetBit());
    if (!Vui.bitstream_restriction_flag) return;
    Vui.motion_vectors_over_pic_boundaries_flag = static_cast<uint8_t>(Bits.GetBit());
    Vui.max_bytes_per_pic_denom = Bits.GetUE();
    Vui.max_bits_per_mb_denom = Bits.GetUE();
    Vui.log2_max_mv_length_horizontal = Bits.GetUE();
    Vui.log2_max_mv_length_vertical = Bits.GetUE();
    Vui.num_reorder_frames = Bits.GetUE();
    Vui.max_dec_frame_buffering = Bits.GetUE();
}

// Annex E.1.1.
void ReadVui(H264Bitstream& Bits, H264VuiParams& Vui)
{
    ReadVuiAspect(Bits, Vui);
    Vui.overscan_info_present_flag = static_cast<uint8_t>(Bits.GetBit());
    if (Vui.overscan_info_present_flag) Vui.overscan_appropriate_flag = static_cast<uint8_t>(Bits.GetBit());
    ReadVuiVideoSignal(Bits, Vui);
    Vui.chroma_loc_info_present_flag = static_cast<uint8_t>(Bits.GetBit());
    if (Vui.chroma_loc_info_present_flag) {
        Vui.chroma_sample_loc_type_top_field = Saturate8(Bits.GetUE());
        Vui.chroma_sample_loc_type_bottom_field = Saturate8(Bits.GetUE());
    }
    ReadVuiTiming(Bits, Vui);
    ReadVuiHrd(Bits, Vui);
    Vui.pic_struct_present_flag = static_cast<uint8_t>(Bits.GetBit());
    ReadVuiRestriction(Bits, Vui);
}

Status ReadExtendedBlock(H264Bitstream& Bits, H264SeqParamSet& Set)
{
    Status Result = StatusOk;
    Set.chroma_format_idc = Saturate8(Bits.GetUE());
    if (Set.chroma_format_idc == 3) {
        Set.residual_colour_transform_flag = static_cast<uint8_t>(Bits.GetBit());
        if (Set.residual_colour_transform_flag) Result = StatusUnsupported;
    }
    Set.bit_depth_luma = Saturate8(Saturate8(Bits.GetUE()) + 8u);
    Set.bit_depth_chroma = Saturate8(Saturate8(Bits.GetUE()) + 8u);
    Set.qpprime_y_zero_transform_bypass_flag = static_cast<uint8_t>(Bits.GetBit());
    Set.seq_scaling_matrix_present_flag = static_cast<uint8_t>(Bits.GetBit());
    if (Set.seq_scaling_matrix_present_flag) ReadScalingLists(Bits, Set.scaling, true, nullptr);
    return Result;
}

// False for a value out of range.
bool ReadPicOrderFields(H264Bitstream& Bits, H264SeqParamSet& Set)
{
    if (Set.pic_order_cnt_type == 0) {
        const uint32_t Bits4 = Bits.GetUE();
        if (Bits4 > 12) return false;
        Set.log2_max_pic_order_cnt_lsb = static_cast<uint8_t>(Bits4 + 4);
        Set.MaxPicOrderCntLsb = 1u << Set.log2_max_pic_order_cnt_lsb;
    } else if (Set.pic_order_cnt_type == 1) {
        Set.delta_pic_order_always_zero_flag = static_cast<uint8_t>(Bits.GetBit());
        Set.offset_for_non_ref_pic = Bits.GetSE();
        Set.offset_for_top_to_bottom_field = Bits.GetSE();
        const uint32_t Cycle = Bits.GetUE();
        if (Cycle > kMaxPicOrderCycle) return false;
        uint32_t Sum = 0;
        for (uint32_t i = 0; i < Cycle; ++i) {
            Set.offset_for_ref_frame.push_back(Bits.GetSE());
            Set.offset_sum.push_back(Sum += static_cast<uint32_t>(Set.offset_for_ref_frame.back()));
        }
    }
    return true;
}

// False for a picture of too many macroblocks.
bool ReadSizeAndCrop(H264Bitstream& Bits, H264SeqParamSet& Set)
{
    const uint64_t Width = uint64_t{Bits.GetUE()} + 1, MapUnits = uint64_t{Bits.GetUE()} + 1;
    Set.frame_mbs_only_flag = static_cast<uint8_t>(Bits.GetBit());
    if (Width > kMaxPictureMbs || MapUnits > kMaxPictureMbs ||
        Width * MapUnits * (2u - Set.frame_mbs_only_flag) > kMaxPictureMbs)
        return false;
    Set.frame_width_in_mbs = static_cast<uint32_t>(Width);
    Set.frame_height_in_mbs = static_cast<uint32_t>(MapUnits);
    if (!Set.frame_mbs_only_flag) {
        Set.frame_height_in_mbs *= 2;
        Set.mb_adaptive_frame_field_flag = static_cast<uint8_t>(Bits.GetBit());
    }
    Set.direct_8x8_inference_flag = static_cast<uint8_t>(Bits.GetBit());
    if (!Set.frame_mbs_only_flag) Set.direct_8x8_inference_flag = 1;
    Set.frame_cropping_flag = static_cast<uint8_t>(Bits.GetBit());
    if (!Set.frame_cropping_flag) return true;
    Set.frame_crop_left_offset = Bits.GetUE();
    Set.frame_crop_right_offset = Bits.GetUE();
    Set.frame_crop_top_offset = Bits.GetUE();
    Set.frame_crop_bottom_offset = Bits.GetUE();
    return true;
}

Status ParseSeqParamSet(H264Bitstream& Bits, H264SeqParamSet& Set)
{
    Status Result = StatusOk;
    const uint32_t profile_idc = Bits.GetBits(8);
    if (!IsKnownProfile(profile_idc)) return StatusInvalidParams;
    Set.profile_idc = static_cast<uint8_t>(profile_idc);
    Set.constraint_set_flags = static_cast<uint8_t>(Bits.GetBits(8));
    const uint32_t level_idc = Bits.GetBits(8);
    if (!h264::FindLevel(level_idc)) return StatusInvalidParams;
    Set.level_idc = static_cast<uint8_t>(level_idc);
    const uint32_t Id = Bits.GetUE();
    if (Id > 31) Result = StatusInvalidParams;
    Set.seq_parameter_set_id = static_cast<uint8_t>(Id & 31);

    Set.chroma_format_idc = 1;
    Set.bit_depth_luma = Set.bit_depth_chroma = 8;
    SetFlatScalingLists(Set.scaling);
    if (h264::IsHighFamily(Set.profile_idc)) {
        const Status Extended = ReadExtendedBlock(Bits, Set);
        if (Extended != StatusOk) Result = Extended;
    }

    const uint32_t FrameNumBits = Bits.GetUE();
    if (FrameNumBits > 12) return StatusInvalidParams;
    Set.log2_max_frame_num = static_cast<uint8_t>(FrameNumBits + 4);
    Set.pic_order_cnt_type = Saturate8(Bits.GetUE());
    if (Set.pic_order_cnt_type > 2) Result = StatusInvalidParams;
    if (!ReadPicOrderFields(Bits, Set)) return StatusInvalidParams;
    Set.num_ref_frames = Bits.GetUE();
    if (Set.num_ref_frames > 16) return StatusInvalidParams;
    Set.gaps_in_frame_num_value_allowed_flag = static_cast<uint8_t>(Bits.GetBit());
    if (!ReadSizeAndCrop(Bits, Set)) return StatusInvalidParams;
    Set.vui_parameters_present_flag = static_cast<uint8_t>(Bits.GetBit());
    if (Set.vui_parameters_present_flag && Result == StatusOk) ReadVui(Bits, Set.vui);
    return Result;
}

} // namespace

Status ReadSeqParamSet(H264Bitstream& Bits, H264SeqParamSet& Set) noexcept
try {
    Set = H264SeqParamSet{};
    return ParseSeqParamSet(Bits, Set);
} catch (const h264_exception& Fault) {
    return Fault.GetStatus();
} catch (...) {
    return StatusAllocFailed;
}

Status ReadSeqParamSetExtension(H264Bitstream& Bits, H264SeqParamSetExtension& Extension) noexcept
try {
    Status Result = StatusOk;
    const auto Expect = [&](bool InRange) {
        if (!InRange) Result = StatusInvalidParams;
    };
    Extension = H264SeqParamSetExtension{};
    const uint32_t Id = Bits.GetUE();
    Expect(Id <= 31);
    Extension.seq_parameter_set_id = static_cast<uint8_t>(Id & 31);
    const uint32_t Format = Bits.GetUE();
    Expect(Format <= 3);
    Extension.aux_format_idc = static_cast<uint8_t>(Format == 1 || Format == 2 ? Format : 0);
    if (Extension.aux_format_idc != 0) {
        const uint32_t Depth = Bits.GetUE() + 8;
        Expect(Depth <= 12);
        Extension.bit_depth_aux = Saturate8(Depth);
        Extension.alpha_incr_flag = static_cast<uint8_t>(Bits.GetBit());
        const uint32_t AlphaBits = std::min<uint32_t>(Depth, 12) + 1;
        Extension.alpha_opaque_value = static_cast<uint8_t>(Bits.GetBits(AlphaBits));
        Extension.alpha_transparent_value = static_cast<uint8_t>(Bits.GetBits(AlphaBits));
    }
    Extension.additional_extension_flag = static_cast<uint8_t>(Bits.GetBit());
    return Result;
} catch (const h264_exception& Fault) {
    return Fault.GetStatus();
}

} // namespace UMC
