#include "decoder/session/picture_border.h"

namespace UMC {

bool IsSamePicture(const H264Slice& First, const H264Slice& Slice)
{
    const SliceHeaderFields &a = First.m_Header, &b = Slice.m_Header;
    if (a.frame_num != b.frame_num || a.pic_parameter_set_id != b.pic_parameter_set_id ||
        a.field_pic_flag != b.field_pic_flag || a.bottom_field_flag != b.bottom_field_flag ||
        a.first_mb_in_slice == b.first_mb_in_slice)
        return false;
    if (First.m_pSeqParamSet != Slice.m_pSeqParamSet) return false;
    if (a.nal_ref_idc != b.nal_ref_idc && (a.nal_ref_idc == 0 || b.nal_ref_idc == 0)) return false;
    if (a.IdrPicFlag != b.IdrPicFlag || (a.IdrPicFlag && a.idr_pic_id != b.idr_pic_id)) return false;
    if (Slice.m_pSeqParamSet->pic_order_cnt_type == 0)
        return a.pic_order_cnt_lsb == b.pic_order_cnt_lsb &&
               a.delta_pic_order_cnt_bottom == b.delta_pic_order_cnt_bottom;
    return a.delta_pic_order_cnt[0] == b.delta_pic_order_cnt[0] && a.delta_pic_order_cnt[1] == b.delta_pic_order_cnt[1];
}

bool IsAuxiliaryOf(const H264Slice& First, const H264Slice& Slice)
{
    const SliceHeaderFields &a = First.m_Header, &b = Slice.m_Header;
    return a.frame_num == b.frame_num && a.field_pic_flag == b.field_pic_flag &&
           a.bottom_field_flag == b.bottom_field_flag && a.idr_pic_id == b.idr_pic_id &&
           a.pic_order_cnt_lsb == b.pic_order_cnt_lsb && a.delta_pic_order_cnt[0] == b.delta_pic_order_cnt[0];
}

bool IsSecondField(const H264DecoderFrame& Frame, const H264Slice& First, const H264Slice& Slice)
{
    const SliceHeaderFields &a = First.m_Header, &b = Slice.m_Header;
    if (Frame.m_Au[0].m_Status > AuStatus::SecondFieldExpected &&
        Frame.m_Au[1].m_Status > AuStatus::SecondFieldExpected)
        return false;
    if (b.IdrPicFlag) return false; // decoding starts anew with it, whatever came before
    if ((a.nal_ref_idc == 0) != (b.nal_ref_idc == 0) || a.field_pic_flag != b.field_pic_flag) return false;
    if (First.m_pSeqParamSet != Slice.m_pSeqParamSet) return false;
    return a.bottom_field_flag != b.bottom_field_flag;
}

uint32_t MaxUnitBytes(const H264Slice& Slice)
{
    const uint32_t MbBits = 128 + PictureFormat::Of(*Slice.m_pSeqParamSet).MbSampleBits();
    return static_cast<uint32_t>(Slice.m_MbWidth * Slice.m_MbHeight) * (2 * MbBits / 8) + (1u << 16u);
}
static_assert(uint64_t{kMaxPictureMbs} * (2 * (128 + 768 * 14) / 8) < INT32_MAX);

} // namespace UMC
