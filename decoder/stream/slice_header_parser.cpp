#include "decoder/stream/header_parsers.h"

#include "Common/h264/nal_unit_type.h"

#include <algorithm>
#include <bit>

namespace UMC {

namespace {

constexpr uint32_t kMaxReorderings = 32;
constexpr uint32_t kMaxMarkings = 31;
constexpr int32_t kNoFilterOffset = -51; // where the filter is off

uint8_t ReadFlag(H264Bitstream& Bits) { return static_cast<uint8_t>(Bits.GetBit()); }

bool ReadPictureStructure(H264Bitstream& Bits, const H264SeqParamSet& Seq, SliceHeaderFields& Header)
{
    Header.frame_num = static_cast<int32_t>(Bits.GetBits(Seq.log2_max_frame_num));
    if (!Seq.frame_mbs_only_flag) {
        Header.field_pic_flag = ReadFlag(Bits);
        if (Header.field_pic_flag) Header.bottom_field_flag = ReadFlag(Bits);
    }
    Header.MbaffFrameFlag = Seq.mb_adaptive_frame_field_flag && !Header.field_pic_flag;
    if (Header.MbaffFrameFlag) Header.first_mb_in_slice *= 2;
    return static_cast<uint64_t>(Header.first_mb_in_slice) < uint64_t{Seq.frame_width_in_mbs} * Seq.frame_height_in_mbs;
}

void ReadPictureOrder(H264Bitstream& Bits, const H264SeqParamSet& Seq, const H264PicParamSet& Pic,
                      SliceHeaderFields& Header)
{
    const bool SecondDelta = Pic.pic_order_present_flag && !Header.field_pic_flag;
    if (Seq.pic_order_cnt_type == 0) {
        Header.pic_order_cnt_lsb = static_cast<int32_t>(Bits.GetBits(Seq.log2_max_pic_order_cnt_lsb));
        if (SecondDelta) Header.delta_pic_order_cnt_bottom = Bits.GetSE();
    } else if (Seq.pic_order_cnt_type == 1 && !Seq.delta_pic_order_always_zero_flag) {
        Header.delta_pic_order_cnt[0] = Bits.GetSE();
        if (SecondDelta) Header.delta_pic_order_cnt[1] = Bits.GetSE();
    }
}

bool ReadActiveRefs(H264Bitstream& Bits, const H264PicParamSet& Pic, SliceHeaderFields& Header)
{
    Header.num_ref_idx_l0_active = static_cast<int32_t>(Pic.num_ref_idx_l0_active);
    Header.num_ref_idx_l1_active = Header.slice_type == SLICE_B ? static_cast<int32_t>(Pic.num_ref_idx_l1_active) : 0;
    Header.num_ref_idx_active_override_flag = ReadFlag(Bits);
    if (!Header.num_ref_idx_active_override_flag) return true;
    const uint32_t L0 = Bits.GetUE();
    const uint32_t L1 = Header.slice_type == SLICE_B ? Bits.GetUE() : 0;
    if (L0 > 31 || L1 > 31) return false;
    Header.num_ref_idx_l0_active = static_cast<int32_t>(L0 + 1);
    if (Header.slice_type == SLICE_B) Header.num_ref_idx_l1_active = static_cast<int32_t>(L1 + 1);
    return true;
}

bool ReadReordering(H264Bitstream& Bits, RefPicListReordering& List) // clause 7.3.3.1
{
    List.count = 0;
    if (!Bits.GetBit()) return true;
    for (;;) {
        const uint32_t Operation = Bits.GetUE();
        if (Operation == 3) return true;
        if (Operation > 3 || List.count == kMaxReorderings) return false;
        List.operation[List.count] = static_cast<uint8_t>(Operation);
        List.value[List.count] = Bits.GetUE();
        ++List.count;
    }
}

bool IsWeight(int32_t Value) { return Value >= -128 && Value <= 127; }

bool ReadWeight(H264Bitstream& Bits, const SliceHeaderFields& Header, bool HasChroma, PredWeight& Weight)
{
    Weight = PredWeight{};
    Weight.luma_weight = static_cast<int16_t>(1 << Header.luma_log2_weight_denom);
    Weight.chroma_weight[0] = Weight.chroma_weight[1] = static_cast<int16_t>(1 << Header.chroma_log2_weight_denom);
    Weight.luma_weight_flag = ReadFlag(Bits);
    if (Weight.luma_weight_flag) {
        const int32_t Factor = Bits.GetSE(), Offset = Bits.GetSE();
        if (!IsWeight(Factor) || !IsWeight(Offset)) return false;
        Weight.luma_weight = static_cast<int16_t>(Factor);
        Weight.luma_offset = static_cast<int8_t>(Offset);
    }
    if (!HasChroma) return true;
    Weight.chroma_weight_flag = ReadFlag(Bits);
    for (int Plane = 0; Weight.chroma_weight_flag && Plane < 2; ++Plane) {
        const int32_t Factor = Bits.GetSE(), Offset = Bits.GetSE();
        if (!IsWeight(Factor) || !IsWeight(Offset)) return false;
        Weight.chroma_weight[Plane] = static_cast<int16_t>(Factor);
        Weight.chroma_offset[Plane] = static_cast<int8_t>(Offset);
    }
    return true;
}

bool ReadWeights(H264Bitstream& Bits, bool HasChroma, SliceHeaderFields& Header, PredWeight (&Weights)[2][32])
{
    Header.luma_log2_weight_denom = Bits.GetUE();
    if (HasChroma) Header.chroma_log2_weight_denom = Bits.GetUE();
    if (Header.luma_log2_weight_denom > 7 || Header.chroma_log2_weight_denom > 7) return false;
    for (int i = 0; i < Header.num_ref_idx_l0_active; ++i)
        if (!ReadWeight(Bits, Header, HasChroma, Weights[0][i])) return false;
    for (int i = 0; i < Header.num_ref_idx_l1_active; ++i)
        if (!ReadWeight(Bits, Header, HasChroma, Weights[1][i])) return false;
    return true;
}

bool ReadMarking(H264Bitstream& Bits, SliceHeaderFields& Header, AdaptiveMarking& Marking) // clause 7.3.3.3
{
    if (Header.IdrPicFlag) {
        Header.no_output_of_prior_pics_flag = ReadFlag(Bits);
        Header.long_term_reference_flag = ReadFlag(Bits);
        return true;
    }
    Marking.count = 0;
    Header.adaptive_ref_pic_marking_mode_flag = ReadFlag(Bits);
    if (!Header.adaptive_ref_pic_marking_mode_flag) return true;
    for (;;) {
        const uint32_t Operation = Bits.GetUE();
        if (Operation == 0) return true;
        if (Operation > 6 || Marking.count == kMaxMarkings) return false;
        uint32_t(&Value)[2] = Marking.value[Marking.count];
        Value[0] = Value[1] = 0;
        if (Operation != 5) Value[0] = Bits.GetUE();
        if (Operation == 3) Value[1] = Bits.GetUE();
        Marking.operation[Marking.count++] = static_cast<uint8_t>(Operation);
    }
}

bool ReadFilterControl(H264Bitstream& Bits, SliceHeaderFields& Header)
{
    Header.disable_deblocking_filter_idc = Bits.GetUE();
    if (Header.disable_deblocking_filter_idc > 2) return false;
    if (Header.disable_deblocking_filter_idc == 1) {
        Header.slice_alpha_c0_offset = Header.slice_beta_offset = kNoFilterOffset;
        return true;
    }
    const int32_t Alpha = Bits.GetSE(), Beta = Bits.GetSE();
    if (Alpha < -6 || Alpha > 6 || Beta < -6 || Beta > 6) return false;
    Header.slice_alpha_c0_offset = Alpha * 2;
    Header.slice_beta_offset = Beta * 2;
    return true;
}

void ReadSliceGroupChange(H264Bitstream& Bits, const H264SeqParamSet& Seq, const H264PicParamSet& Pic,
                          SliceHeaderFields& Header)
{
    if (Pic.num_slice_groups < 2 || Pic.slice_group_map_type < 3 || Pic.slice_group_map_type > 5) return;
    const uint32_t Units = Seq.frame_width_in_mbs * (Seq.frame_height_in_mbs / (2u - Seq.frame_mbs_only_flag));
    const uint32_t Steps = Units / Pic.slice_group_change_rate + (Units % Pic.slice_group_change_rate != 0);
    Header.slice_group_change_cycle = Bits.GetBits(std::max(1u, static_cast<uint32_t>(std::bit_width(Steps))));
}

bool ReadReferenceFields(H264Bitstream& Bits, const H264SeqParamSet& Seq, const H264PicParamSet& Pic,
                         SliceHeaderFields& Header, SliceHeaderTables& Tables)
{
    const bool IsB = Header.slice_type == SLICE_B;
    if (IsB) Header.direct_spatial_mv_pred_flag = ReadFlag(Bits);
    if (Header.slice_type != SLICE_I) {
        if (!ReadActiveRefs(Bits, Pic, Header)) return false;
        if (!ReadReordering(Bits, Tables.Reordering[0])) return false;
        if (IsB && !ReadReordering(Bits, Tables.Reordering[1])) return false;
        if (IsB ? Pic.weighted_bipred_idc == 1 : Pic.weighted_pred_flag != 0) {
            PredWeight Weights[2][32]; // only checked: they are read again when the slice is decoded
            Tables.WeightsPosition = Bits.BitsDecoded();
            if (!ReadWeights(Bits, Seq.chroma_format_idc != 0, Header, Weights)) return false;
        }
    }
    return Header.nal_ref_idc == 0 || ReadMarking(Bits, Header, Tables.Marking);
}

} // namespace

bool GoToNalUnit(H264Bitstream& Bits)
{
    int32_t Found = Bits.CheckStartCode();
    while (Found == 0) {
        if (Bits.FindStartCode() != 0) return false;
        Found = Bits.CheckStartCode();
    }
    return Found == 1;
}

bool ReadSliceStart(H264Bitstream& Bits, SliceHeaderFields& Header)
{
    Header.first_mb_in_slice = static_cast<int32_t>(Bits.GetUE());
    if (Header.first_mb_in_slice < 0 || Header.first_mb_in_slice > INT32_MAX / 2) return false;
    const uint32_t Type = Bits.GetUE();
    if (Type > 9 || Type % 5 > SLICE_I) return false;
    Header.slice_type = static_cast<SliceType>(Type % 5);
    const uint32_t PicSet = Bits.GetUE();
    if (PicSet > 255) return false;
    Header.pic_parameter_set_id = static_cast<uint8_t>(PicSet);
    return true;
}

void ReadSliceWeights(H264Bitstream Bits, const H264SeqParamSet& Seq, SliceHeaderFields Header,
                      PredWeight (&Weights)[2][32])
{
    ReadWeights(Bits, Seq.chroma_format_idc != 0, Header, Weights);
}

bool ReadSliceRest(H264Bitstream& Bits, const H264SeqParamSet& Seq, const H264PicParamSet& Pic,
                   SliceHeaderFields& Header, SliceHeaderTables& Tables)
{
    if (!ReadPictureStructure(Bits, Seq, Header)) return false;
    Header.IdrPicFlag = Header.nal_unit_type == h264::NAL_IDR_SLICE;
    if (Header.IdrPicFlag) Header.idr_pic_id = Bits.GetUE();
    if (Header.idr_pic_id > 65535) return false;
    ReadPictureOrder(Bits, Seq, Pic, Header);
    if (Pic.redundant_pic_cnt_present_flag) Header.redundant_pic_cnt = Bits.GetUE();
    if (!ReadReferenceFields(Bits, Seq, Pic, Header, Tables)) return false;
    if (Pic.entropy_coding_mode_flag && Header.slice_type != SLICE_I) {
        Header.cabac_init_idc = Bits.GetUE();
        if (Header.cabac_init_idc > 2) return false;
    }
    const int32_t DeltaLimit = 1 << 20;
    Header.slice_qp_delta = std::clamp(Bits.GetSE(), -DeltaLimit, DeltaLimit);
    const int32_t Qp = Pic.pic_init_qp + Header.slice_qp_delta;
    if (Qp < -6 * (Seq.bit_depth_luma - 8) || Qp > 51) return false;
    if (Pic.deblocking_filter_control_present_flag && !ReadFilterControl(Bits, Header)) return false;
    ReadSliceGroupChange(Bits, Seq, Pic, Header);
    return true;
}

} // namespace UMC
