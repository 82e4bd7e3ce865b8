#include "decoder/session/frame_gaps.h"

#include "decoder/stream/seq_info.h"

#include <algorithm>
#include <new>

namespace UMC {

// Without the flag of the sequence a gap is a loss, which the reference lists make good for.
bool FrameGaps::FillFrameGaps(const H264Slice& Slice, Status& Refused)
{
    const H264SeqParamSet& Seq = *Slice.m_pSeqParamSet;
    const SliceHeaderFields& Header = Slice.m_Header;
    const int32_t FrameNumMask = MaxFrameNum(Seq) - 1;
    const int32_t Distance = (Header.frame_num - m_PicOrder.PrevRefFrameNum) & FrameNumMask;
    if (Header.IdrPicFlag || Distance <= 1 || !Seq.gaps_in_frame_num_value_allowed_flag) return true;
    if (m_Frames.CurrentFrame) return false; // the pictures in flight have to be finished first
    for (int32_t Missing = std::min(Distance - 1, m_Store.DpbSize()); Missing > 0; --Missing)
        if (!FillOneGap(Slice, (Header.frame_num - Missing) & FrameNumMask, Refused)) return false;
    m_PicOrder.PrevRefFrameNum = (Header.frame_num - 1) & FrameNumMask;
    return m_Store.HasRoom();
}

bool FrameGaps::FillOneGap(const H264Slice& Slice, int32_t FrameNum, Status& Refused)
{
    H264DecoderFrame* const pFrame = m_Store.TakeMadeUpFrame(Slice, Refused);
    if (!pFrame) return false;
    const H264SeqParamSet& Seq = *Slice.m_pSeqParamSet;
    SliceHeaderFields Header{};
    Header.frame_num = FrameNum;
    Header.nal_ref_idc = 1;
    if (Seq.pic_order_cnt_type != 0) m_PicOrder.Compute(PicOrderOf(Header), PicOrderOf(Seq));
    m_PicOrder.PrevRefFrameNum = m_PicOrder.PrevFrameNum = FrameNum;
    pFrame->m_FrameNum = FrameNum;
    m_Store.Dpb().ComputePicNums(Header, MaxFrameNum(Seq));
    m_Marking.SlideWindow(*pFrame, static_cast<int32_t>(Seq.num_ref_frames));
    for (int Field = 0; Field < 2; ++Field) {
        pFrame->m_PicNum[Field] = FrameNum;
        pFrame->m_PicOrderCnt[Field] = Field == 0 ? m_PicOrder.TopFieldOrderCnt : m_PicOrder.BottomFieldOrderCnt;
    }
    m_Marking.MarkMadeUp(*pFrame);
    return true;
}

void FrameGaps::MakeUpReference(const H264Slice& Slice, Status& Refused)
try {
    const SliceHeaderFields& Header = Slice.m_Header;
    if (Header.slice_type == SLICE_I || m_Store.Dpb().HasReferences()) return;
    H264DecoderFrame* const pFrame = m_Store.TakeMadeUpFrame(Slice, Refused);
    if (!pFrame) return;
    h264::PicOrderCounter Order = m_PicOrder;
    if (Slice.m_pSeqParamSet->pic_order_cnt_type != 0) {
        h264::PicOrderPicture WithoutDeltas = PicOrderOf(Header);
        WithoutDeltas.delta_pic_order_cnt[0] = WithoutDeltas.delta_pic_order_cnt[1] = 0;
        Order.Compute(WithoutDeltas, PicOrderOf(*Slice.m_pSeqParamSet));
    }
    pFrame->m_FrameNum = Header.frame_num;
    m_Marking.MarkMadeUp(*pFrame);
    for (int Field = 0; Field < 2; ++Field) {
        pFrame->m_PicNum[Field] = CurrPicNum(Header);
        pFrame->m_PicOrderCnt[Field] = Header.field_pic_flag ? Order.PicOrderCnt
                                       : Field == 0          ? Order.TopFieldOrderCnt
                                                             : Order.BottomFieldOrderCnt;
    }
} catch (const std::bad_alloc&) {
    Refused = StatusAllocFailed;
}

} // namespace UMC
