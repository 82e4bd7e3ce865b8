#include "decoder/picture/poc.h"

#include <algorithm>

namespace UMC {

namespace {

int32_t Add(int32_t a, int32_t b) { return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b)); }

} // namespace

void PicOrderCounter::Compute(const SliceHeaderFields& Header, const H264SeqParamSet& Seq)
{
    if (Seq.pic_order_cnt_type == 0) {
        ComputeFromLsb(Header, Seq);
    } else {
        const int32_t MaxFrameNum = 1 << Seq.log2_max_frame_num;
        if (Header.frame_num < m_PrevFrameNum) m_FrameNumOffset = Add(m_FrameNumOffset, MaxFrameNum);
        if (Seq.pic_order_cnt_type == 1) {
            ComputeFromCycle(Header, Seq);
        } else {
            ComputeFromFrameNum(Header);
        }
    }
    if (Header.nal_ref_idc != 0) m_PrevRefFrameNum = Header.frame_num;
    m_PrevFrameNum = Header.frame_num;
}

void PicOrderCounter::SetCounts(const SliceHeaderFields& Header, int32_t Top, int32_t Bottom)
{
    if (!Header.field_pic_flag || !Header.bottom_field_flag) m_TopFieldOrderCnt = Top;
    if (!Header.field_pic_flag || Header.bottom_field_flag) m_BottomFieldOrderCnt = Bottom;
    m_PicOrderCnt = !Header.field_pic_flag ? std::min(Top, Bottom) : Header.bottom_field_flag ? Bottom : Top;
}

void PicOrderCounter::ComputeFromLsb(const SliceHeaderFields& Header, const H264SeqParamSet& Seq) // clause 8.2.1.1
{
    const auto MaxLsb = static_cast<int32_t>(Seq.MaxPicOrderCntLsb);
    const int32_t Lsb = Header.pic_order_cnt_lsb;
    int32_t Msb = m_PicOrderCntMsb;
    if (Lsb < m_PicOrderCntLsb && m_PicOrderCntLsb - Lsb >= MaxLsb / 2) {
        Msb = Add(Msb, MaxLsb);
    } else if (Lsb > m_PicOrderCntLsb && Lsb - m_PicOrderCntLsb > MaxLsb / 2) {
        Msb = Add(Msb, -MaxLsb);
    }
    const int32_t Count = Add(Msb, Lsb);
    SetCounts(Header, Count, Header.field_pic_flag ? Count : Add(Count, Header.delta_pic_order_cnt_bottom));
    if (Header.nal_ref_idc != 0) {
        m_PicOrderCntMsb = Msb;
        m_PicOrderCntLsb = Lsb;
    }
}

void PicOrderCounter::ComputeFromCycle(const SliceHeaderFields& Header, const H264SeqParamSet& Seq) // clause 8.2.1.2
{
    const auto Cycle = static_cast<int32_t>(Seq.offset_sum.size());
    int32_t AbsFrameNum = Cycle == 0 ? 0 : Add(m_FrameNumOffset, Header.frame_num);
    if (Header.nal_ref_idc == 0 && AbsFrameNum > 0) --AbsFrameNum;
    int32_t Expected = 0;
    if (AbsFrameNum > 0) {
        const int32_t Cycles = (AbsFrameNum - 1) / Cycle, InCycle = (AbsFrameNum - 1) % Cycle;
        const uint32_t WholeCycle = Seq.offset_sum.back(), PartCycle = Seq.offset_sum[static_cast<size_t>(InCycle)];
        Expected = static_cast<int32_t>(static_cast<uint32_t>(Cycles) * WholeCycle + PartCycle);
    }
    if (Header.nal_ref_idc == 0) Expected = Add(Expected, Seq.offset_for_non_ref_pic);
    const int32_t Top = Add(Expected, Header.delta_pic_order_cnt[0]);
    const int32_t BottomDelta = Header.field_pic_flag ? 0 : Header.delta_pic_order_cnt[1];
    SetCounts(Header, Top, Add(Add(Top, Seq.offset_for_top_to_bottom_field), BottomDelta));
}

void PicOrderCounter::ComputeFromFrameNum(const SliceHeaderFields& Header) // clause 8.2.1.3
{
    const int32_t FrameCount = Add(m_FrameNumOffset, Header.frame_num);
    const int32_t Count = Add(Add(FrameCount, FrameCount), Header.nal_ref_idc == 0 ? -1 : 0);
    SetCounts(Header, Count, Count);
}

void PicOrderCounter::ApplyMemoryReset(bool IsBottomField, int32_t TopOrderCnt)
{
    m_FrameNumOffset = m_PrevFrameNum = m_PrevRefFrameNum = 0;
    m_PicOrderCntMsb = 0;
    m_PicOrderCntLsb = IsBottomField ? 0 : TopOrderCnt;
}

} // namespace UMC
