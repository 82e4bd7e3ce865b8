#include "decoder/stream/header_parsers.h"
#include "decoder/stream/headers_store.h"
#include "decoder/stream/scaling.h"

#include <algorithm>
#include <bit>

namespace UMC {

namespace {

void Require(bool InRange)
{
    if (!InRange) throw h264_exception(StatusInvalidParams);
}

void ReadSliceGroupRectangles(H264Bitstream& Bits, uint32_t Width, uint32_t Units, H264PicParamSet& Set)
{
    for (uint32_t Group = 0; Group + 1 < Set.num_slice_groups; ++Group) {
        const uint32_t TopLeft = Bits.GetUE(), BottomRight = Bits.GetUE();
        Require(TopLeft <= BottomRight && BottomRight < Units && TopLeft % Width <= BottomRight % Width);
        Set.top_left[Group] = TopLeft;
        Set.bottom_right[Group] = BottomRight;
    }
}

void ReadExplicitSliceGroupMap(H264Bitstream& Bits, uint32_t Units, H264PicParamSet& Set)
{
    Require(Bits.GetUE() + 1 == Units);
    const auto IdBits = static_cast<uint32_t>(std::bit_width(Set.num_slice_groups - 1));
    Require(Bits.BytesLeft() > 0 && Units / 8 <= static_cast<uint32_t>(Bits.BytesLeft()));
    Set.slice_group_id.resize(Units);
    for (uint8_t& Id : Set.slice_group_id) {
        Id = static_cast<uint8_t>(Bits.GetBits(IdBits));
        Require(Id < Set.num_slice_groups && !Bits.Overrun());
    }
}

void ReadSliceGroups(H264Bitstream& Bits, const H264SeqParamSet& Seq, H264PicParamSet& Set)
{
    Set.num_slice_groups = Bits.GetUE() + 1;
    if (Set.num_slice_groups == 1) return;
    Require(Set.num_slice_groups <= 8 && Set.num_slice_groups != 0);
    const uint32_t Width = Seq.frame_width_in_mbs;
    const uint32_t Units = Width * (Seq.frame_height_in_mbs / (2u - Seq.frame_mbs_only_flag));
    const uint32_t Type = Bits.GetUE();
    Require(Type <= 6 && Width != 0);
    Set.slice_group_map_type = static_cast<uint8_t>(Type);
    if (Type == 0) {
        for (uint32_t Group = 0; Group < Set.num_slice_groups; ++Group) {
            Set.run_length[Group] = Bits.GetUE() + 1;
            Require(Set.run_length[Group] != 0 && Set.run_length[Group] <= Units);
        }
    } else if (Type == 2) {
        ReadSliceGroupRectangles(Bits, Width, Units, Set);
    } else if (Type >= 3 && Type <= 5) {
        Require(Set.num_slice_groups == 2);
        Set.slice_group_change_direction_flag = static_cast<uint8_t>(Bits.GetBit());
        Set.slice_group_change_rate = Bits.GetUE() + 1;
        Require(Set.slice_group_change_rate != 0 && Set.slice_group_change_rate <= Units);
    } else if (Type == 6) {
        ReadExplicitSliceGroupMap(Bits, Units, Set);
    }
}

// The offset is added to a QP and the sum limited to -48..51 (clause 8.5.8), so these bounds change nothing.
int32_t ReadChromaQpOffset(H264Bitstream& Bits) { return std::clamp(Bits.GetSE(), -128, 127); }

// Limited far outside the range that a slice may have, so that adding slice_qp_delta cannot overflow.
int32_t ReadInitialQp(H264Bitstream& Bits) { return 26 + std::clamp(Bits.GetSE(), -(1 << 20), 1 << 20); }

void ReadTransformExtension(H264Bitstream& Bits, const H264SeqParamSet& Seq, H264PicParamSet& Set)
{
    Set.chroma_qp_index_offset[1] = Set.chroma_qp_index_offset[0];
    Set.scaling = Seq.scaling;
    if (!Bits.MoreRbspData()) return;
    Set.transform_8x8_mode_flag = static_cast<uint8_t>(Bits.GetBit());
    Set.pic_scaling_matrix_present_flag = static_cast<uint8_t>(Bits.GetBit());
    if (Set.pic_scaling_matrix_present_flag)
        ReadScalingLists(Bits, Set.scaling, Set.transform_8x8_mode_flag != 0,
                         Seq.seq_scaling_matrix_present_flag ? &Seq.scaling : nullptr);
    Set.chroma_qp_index_offset[1] = ReadChromaQpOffset(Bits);
}

void ParsePicParamSet(H264Bitstream& Bits, const Headers& Store, H264PicParamSet& Set)
{
    const uint32_t Id = Bits.GetUE(), SeqId = Bits.GetUE();
    Require(Id <= 255 && SeqId <= 31);
    Set.pic_parameter_set_id = static_cast<uint8_t>(Id);
    Set.seq_parameter_set_id = static_cast<uint8_t>(SeqId);
    const H264SeqParamSet* const pSeq = Store.m_SeqParamSets.Get(static_cast<int32_t>(SeqId));
    Require(pSeq != nullptr);

    Set.entropy_coding_mode_flag = static_cast<uint8_t>(Bits.GetBit());
    Set.pic_order_present_flag = static_cast<uint8_t>(Bits.GetBit());
    ReadSliceGroups(Bits, *pSeq, Set);
    Set.num_ref_idx_l0_active = Bits.GetUE() + 1;
    Set.num_ref_idx_l1_active = Bits.GetUE() + 1;
    Require(Set.num_ref_idx_l0_active - 1 < 32 && Set.num_ref_idx_l1_active - 1 < 32);
    Set.weighted_pred_flag = static_cast<uint8_t>(Bits.GetBit());
    Set.weighted_bipred_idc = static_cast<uint8_t>(Bits.GetBits(2));
    Set.pic_init_qp = ReadInitialQp(Bits);
    Set.pic_init_qs = ReadInitialQp(Bits);
    Set.chroma_qp_index_offset[0] = ReadChromaQpOffset(Bits);
    Set.deblocking_filter_control_present_flag = static_cast<uint8_t>(Bits.GetBit());
    Set.constrained_intra_pred_flag = static_cast<uint8_t>(Bits.GetBit());
    Set.redundant_pic_cnt_present_flag = static_cast<uint8_t>(Bits.GetBit());
    ReadTransformExtension(Bits, *pSeq, Set);
    ComputeLevelScale(Set.scaling, Set.level_scale);
}

} // namespace

Status ReadPicParamSet(H264Bitstream& Bits, const Headers& Store, H264PicParamSet& Set) noexcept
try {
    Set = H264PicParamSet{};
    ParsePicParamSet(Bits, Store, Set);
    return StatusOk;
} catch (const h264_exception& Fault) {
    return Fault.GetStatus();
} catch (...) {
    return StatusAllocFailed;
}

} // namespace UMC
