#include "Common/h264/pic_order_cnt.h"

#include <algorithm>

namespace h264 {

namespace {

int32_t Add(int32_t a, int32_t b) { return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b)); }

} // namespace

void PicOrderCounter::Compute(const PicOrderPicture& Picture, const PicOrderSequence& Sequence)
{
    if (Sequence.pic_order_cnt_type == 0) {
        ComputeFromLsb(Picture, Sequence);
    } else {
        if (Picture.frame_num < PrevFrameNum) FrameNumOffset = Add(FrameNumOffset, Sequence.MaxFrameNum);
        if (Sequence.pic_order_cnt_type == 1) {
            ComputeFromCycle(Picture, Sequence);
        } else {
            ComputeFromFrameNum(Picture);
        }
    }
    if (Picture.IsReference) PrevRefFrameNum = Picture.frame_num;
    PrevFrameNum = Picture.frame_num;
}

void PicOrderCounter::SetCounts(const PicOrderPicture& Picture, int32_t Top, int32_t Bottom)
{
    if (!Picture.IsField || !Picture.IsBottomField) TopFieldOrderCnt = Top;
    if (!Picture.IsField || Picture.IsBottomField) BottomFieldOrderCnt = Bottom;
    PicOrderCnt = !Picture.IsField ? std::min(Top, Bottom) : Picture.IsBottomField ? Bottom : Top;
}

void PicOrderCounter::ComputeFromLsb(const PicOrderPicture& Picture, const PicOrderSequence& Sequence) // 8.2.1.1
{
    const int32_t MaxLsb = Sequence.MaxPicOrderCntLsb;
    const int32_t Lsb = Picture.pic_order_cnt_lsb;
    int32_t Msb = PicOrderCntMsb;
    if (Lsb < PicOrderCntLsb && PicOrderCntLsb - Lsb >= MaxLsb / 2) {
        Msb = Add(Msb, MaxLsb);
    } else if (Lsb > PicOrderCntLsb && Lsb - PicOrderCntLsb > MaxLsb / 2) {
        Msb = Add(Msb, -MaxLsb);
    }
    const int32_t Count = Add(Msb, Lsb);
    SetCounts(Picture, Count, Picture.IsField ? Count : Add(Count, Picture.delta_pic_order_cnt_bottom));
    if (Picture.IsReference) {
        PicOrderCntMsb = Msb;
        PicOrderCntLsb = Lsb;
    }
}

void PicOrderCounter::ComputeFromCycle(const PicOrderPicture& Picture, const PicOrderSequence& Sequence) // 8.2.1.2
{
    const auto Cycle = static_cast<int32_t>(Sequence.OffsetSums.size());
    int32_t AbsFrameNum = Cycle == 0 ? 0 : Add(FrameNumOffset, Picture.frame_num);
    if (!Picture.IsReference && AbsFrameNum > 0) --AbsFrameNum;
    int32_t Expected = 0;
    if (AbsFrameNum > 0) {
        const int32_t Cycles = (AbsFrameNum - 1) / Cycle, InCycle = (AbsFrameNum - 1) % Cycle;
        const uint32_t WholeCycle = Sequence.OffsetSums.back();
        const uint32_t PartCycle = Sequence.OffsetSums[static_cast<size_t>(InCycle)];
        Expected = static_cast<int32_t>(static_cast<uint32_t>(Cycles) * WholeCycle + PartCycle);
    }
    if (!Picture.IsReference) Expected = Add(Expected, Sequence.offset_for_non_ref_pic);
    const int32_t Top = Add(Expected, Picture.delta_pic_order_cnt[0]);
    const int32_t BottomDelta = Picture.IsField ? 0 : Picture.delta_pic_order_cnt[1];
    SetCounts(Picture, Top, Add(Add(Top, Sequence.offset_for_top_to_bottom_field), BottomDelta));
}

void PicOrderCounter::ComputeFromFrameNum(const PicOrderPicture& Picture) // clause 8.2.1.3
{
    const int32_t FrameCount = Add(FrameNumOffset, Picture.frame_num);
    const int32_t Count = Add(Add(FrameCount, FrameCount), Picture.IsReference ? 0 : -1);
    SetCounts(Picture, Count, Count);
}

void PicOrderCounter::ApplyMemoryReset(bool IsBottomField, int32_t TopOrderCnt)
{
    FrameNumOffset = PrevFrameNum = PrevRefFrameNum = 0;
    PicOrderCntMsb = 0;
    PicOrderCntLsb = IsBottomField ? 0 : TopOrderCnt;
}

} // namespace h264
