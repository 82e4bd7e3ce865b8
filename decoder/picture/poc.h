// Picture order counts, H.264 clause 8.2.1.
#pragma once

#include "decoder/stream/headers.h"

#include <cstdint>

namespace UMC {

// The state that runs from picture to picture. Sums wrap at 32 bits, which only damaged streams reach.
struct PicOrderCounter {
    int32_t m_PrevRefFrameNum = 0, m_PrevFrameNum = 0;
    int32_t m_PicOrderCntMsb = 0, m_PicOrderCntLsb = 0; // of the reference picture before
    int32_t m_FrameNumOffset = 0;

    // Result of the last Compute(): of a frame both, of a field its own.
    int32_t m_TopFieldOrderCnt = 0, m_BottomFieldOrderCnt = 0;
    int32_t m_PicOrderCnt = 0; // of a field its own, of a frame the smaller

    void Reset() { *this = PicOrderCounter{}; }

    // Clears the state in front of an IDR picture.
    void StartIdr(int32_t FrameNum)
    {
        Reset();
        m_PrevRefFrameNum = m_PrevFrameNum = FrameNum;
    }

    // Computes the counts of the picture of a slice and moves the state on.
    void Compute(const SliceHeaderFields& Header, const H264SeqParamSet& Seq);

    // After memory management operation 5: the picture counts as frame 0, its top field's count, made relative, as its
    // low bits.
    void ApplyMemoryReset(bool IsBottomField, int32_t TopOrderCnt);

private:
    void ComputeFromLsb(const SliceHeaderFields& Header, const H264SeqParamSet& Seq);
    void ComputeFromCycle(const SliceHeaderFields& Header, const H264SeqParamSet& Seq);
    void ComputeFromFrameNum(const SliceHeaderFields& Header);
    void SetCounts(const SliceHeaderFields& Header, int32_t Top, int32_t Bottom);
};

} // namespace UMC
