// The parts of a session that know frames, without decoding: for tests of one of them.
#pragma once

#include "decoder/session/reference_marking.h"
#include "media/umc_default_memory_allocator.h"

#include <gtest/gtest.h>

#include <memory>

namespace UMC {

class SessionParts : public testing::Test
{
protected:
    SessionParts()
    {
        m_Seq.frame_width_in_mbs = m_Seq.frame_height_in_mbs = 1;
        m_Seq.chroma_format_idc = 1;
        m_Seq.bit_depth_luma = m_Seq.bit_depth_chroma = 8;
        m_Seq.log2_max_frame_num = 4;
        m_Seq.num_ref_frames = 4;
        m_Store.SetDpbSize(4);
        m_Slice.m_pSeqParamSet = &m_Seq;
    }
    ~SessionParts() override { m_Store.Close(); }

    // A frame that was decoded and delivered.
    H264DecoderFrame* Decoded(int32_t FrameNum = 0)
    {
        Status Refused = StatusOk;
        H264DecoderFrame* const pFrame = m_Store.TakeFrame(m_Slice, Refused);
        EXPECT_EQ(Refused, StatusOk);
        if (!pFrame) return nullptr;
        pFrame->m_FrameNum = FrameNum;
        pFrame->m_BusyCount = 0;
        pFrame->m_IsDisplayable = pFrame->m_WasOutputted = true;
        return pFrame;
    }
    H264DecoderFrame* ShortTerm(int32_t FrameNum)
    {
        H264DecoderFrame* const pFrame = Decoded(FrameNum);
        pFrame->m_IsShortTerm[0] = pFrame->m_IsShortTerm[1] = true;
        return pFrame;
    }
    H264DecoderFrame* LongTerm(int32_t Idx)
    {
        H264DecoderFrame* const pFrame = Decoded();
        pFrame->m_IsLongTerm[0] = pFrame->m_IsLongTerm[1] = true;
        pFrame->m_LongTermFrameIdx = Idx;
        return pFrame;
    }

    H264SeqParamSet m_Seq{};
    H264Slice m_Slice;
    DefaultMemoryAllocator m_Allocator;
    VideoData m_Shown;
    FramesInHand m_Frames;
    StreamHeaders m_Headers;
    FrameStore m_Store{m_Frames, m_Headers, m_Shown, &m_Allocator};
    PicturesInWork m_Work{m_Frames, m_Store, m_Headers};
    h264::PicOrderCounter m_PicOrder;
    ReferenceMarking m_Marking{m_Store.Dpb(), m_Work, m_PicOrder};
};

} // namespace UMC
