// A slice between its uses.
#include "decoder/slice/slice.h"

#include <gtest/gtest.h>

namespace {

using namespace UMC;

TEST(UsedSlice, IsAsNewAfterReset)
{
    H264_Heap Heap;
    auto pHeld = std::make_shared<const int>(0);
    H264SeqParamSet Seq{};
    H264DecoderFrame Frame;
    H264Slice Slice;
    Slice.m_Header.frame_num = 3;
    Slice.m_pSeqParamSet = &Seq;
    Slice.m_HeldSets[1] = pHeld;
    Slice.m_pFrame = &Frame;
    Slice.m_NalTime = 2.0;
    Slice.m_Progress = {.InWork = true, .Decoded = true, .Deblocked = true, .MbBudget = 9};
    Slice.m_pNalHeap = &Heap;
    Slice.m_pNalPiece = Heap.Allocate(100);
    Slice.Reset();
    EXPECT_EQ(Slice.m_Header.frame_num, 0);
    EXPECT_EQ(Slice.m_pSeqParamSet, nullptr);
    EXPECT_EQ(Slice.m_pFrame, nullptr);
    EXPECT_EQ(Slice.m_NalTime, -1.0);
    EXPECT_EQ(pHeld.use_count(), 1) << "sets that newer ones replaced go with it";
    EXPECT_FALSE(Slice.m_Progress.InWork || Slice.m_Progress.Decoded || Slice.m_Progress.Deblocked);
    EXPECT_EQ(Slice.m_Progress.MbBudget, 0);
    EXPECT_EQ(Heap.FreePieces(), 1u);
}

} // namespace
