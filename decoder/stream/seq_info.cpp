#include "decoder/stream/seq_info.h"

#include "Common/h264/chroma_geometry.h"
#include "Common/h264/levels.h"

#include <algorithm>

namespace UMC {

namespace {

// A size less what is cropped from it, not below 0.
int32_t Cropped(uint32_t Mbs, uint32_t Unit, uint32_t First, uint32_t Last)
{
    const int64_t Size = int64_t{Mbs} * 16 - int64_t{Unit} * (int64_t{First} + Last);
    return static_cast<int32_t>(std::clamp<int64_t>(Size, 0, INT32_MAX));
}

} // namespace

uint32_t CropUnitX(const H264SeqParamSet& Seq) { return 1u << h264::kChromaGeometry[Seq.chroma_format_idc & 3].ShiftX; }

uint32_t CropUnitY(const H264SeqParamSet& Seq)
{
    return (2u - Seq.frame_mbs_only_flag) << h264::kChromaGeometry[Seq.chroma_format_idc & 3].ShiftY;
}

int32_t DpbFrames(const H264SeqParamSet& Seq)
{
    return h264::PictureBufferFrames(Seq.level_idc, Seq.frame_width_in_mbs, Seq.frame_height_in_mbs);
}

h264::PicOrderSequence PicOrderOf(const H264SeqParamSet& Seq)
{
    return {.pic_order_cnt_type = Seq.pic_order_cnt_type,
            .MaxFrameNum = MaxFrameNum(Seq),
            .MaxPicOrderCntLsb = static_cast<int32_t>(Seq.MaxPicOrderCntLsb),
            .offset_for_non_ref_pic = Seq.offset_for_non_ref_pic,
            .offset_for_top_to_bottom_field = Seq.offset_for_top_to_bottom_field,
            .OffsetSums = Seq.offset_sum};
}

void FillStreamInfo(const H264SeqParamSet& Seq, VideoStreamInfo& Info)
{
    constexpr ColorFormat kFormat[] = {GRAY, YUV420, YUV422, YUV444};
    Info.m_Width =
        Cropped(Seq.frame_width_in_mbs, CropUnitX(Seq), Seq.frame_crop_left_offset, Seq.frame_crop_right_offset);
    Info.m_Height =
        Cropped(Seq.frame_height_in_mbs, CropUnitY(Seq), Seq.frame_crop_top_offset, Seq.frame_crop_bottom_offset);
    Info.m_ColorFormat = kFormat[Seq.chroma_format_idc & 3];
    Info.m_StreamType = kStreamTypeH264;
    Info.m_Profile = Seq.profile_idc;
    Info.m_Level = Seq.level_idc;
    Info.m_AspectX = Seq.vui.sar_width;
    Info.m_AspectY = Seq.vui.sar_height;
    const uint64_t Bitrate = uint64_t{Seq.vui.hrd.bit_rate_value[0]} << (Seq.vui.hrd.bit_rate_scale + 6);
    Info.m_Bitrate = static_cast<int32_t>(std::min<uint64_t>(Bitrate, INT32_MAX));
    Info.m_InterlaceType = Seq.frame_mbs_only_flag ? 0 : Seq.offset_for_top_to_bottom_field < 0 ? 3 : 2;
}

} // namespace UMC
