// Picture order counts, H.264 clause 8.2.1.
#pragma once

#include <cstdint>
#include <span>

namespace h264 {

/// What the counts depend on in a sequence parameter set.
struct PicOrderSequence {
    int32_t pic_order_cnt_type = 0;
    int32_t MaxFrameNum = 0;
    int32_t MaxPicOrderCntLsb = 0;                                          // with type 0
    int32_t offset_for_non_ref_pic = 0, offset_for_top_to_bottom_field = 0; // with type 1, and the sums
    std::span<const uint32_t> OffsetSums{}; // of offset_for_ref_frame up to and with each entry, modulo 2^32
};

/// What they depend on in the slice headers of a picture. What a sequence's type does not send is 0.
struct PicOrderPicture {
    int32_t frame_num = 0;
    bool IsReference = false, IsField = false, IsBottomField = false;
    int32_t pic_order_cnt_lsb = 0, delta_pic_order_cnt_bottom = 0, delta_pic_order_cnt[2] = {};
};

/// pic_order_cnt_lsb of a picture whose top field, or whose own field, has the count. The reverse of clause 8.2.1.1,
/// for counts less than half of MaxPicOrderCntLsb away from that of the reference picture before.
constexpr int32_t PicOrderCntLsb(int32_t Count, int32_t MaxPicOrderCntLsb) { return Count & (MaxPicOrderCntLsb - 1); }

/// The state that runs from picture to picture. Sums wrap at 32 bits, which only damaged streams reach.
struct PicOrderCounter {
    int32_t PrevRefFrameNum = 0, PrevFrameNum = 0;
    int32_t PicOrderCntMsb = 0, PicOrderCntLsb = 0; // of the reference picture before
    int32_t FrameNumOffset = 0;

    // Result of the last Compute(): of a frame both, of a field its own.
    int32_t TopFieldOrderCnt = 0, BottomFieldOrderCnt = 0;
    int32_t PicOrderCnt = 0; // of a field its own, of a frame the smaller

    void Reset() { *this = PicOrderCounter{}; }

    /// Clears the state in front of an IDR picture.
    void StartIdr(int32_t FrameNum)
    {
        Reset();
        PrevRefFrameNum = PrevFrameNum = FrameNum;
    }

    /// Computes the counts of a picture and moves the state on.
    void Compute(const PicOrderPicture& Picture, const PicOrderSequence& Sequence);

    /// After memory management operation 5: the picture counts as frame 0, its top field's count, made relative, as its
    /// low bits.
    void ApplyMemoryReset(bool IsBottomField, int32_t TopOrderCnt);

private:
    void ComputeFromLsb(const PicOrderPicture& Picture, const PicOrderSequence& Sequence);
    void ComputeFromCycle(const PicOrderPicture& Picture, const PicOrderSequence& Sequence);
    void ComputeFromFrameNum(const PicOrderPicture& Picture);
    void SetCounts(const PicOrderPicture& Picture, int32_t Top, int32_t Bottom);
};

} // namespace h264
