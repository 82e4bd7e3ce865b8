// A picture of a few macroblocks with all the records that the stages work on, for tests of single steps.
#pragma once

#include "decoder/slice/slice_cursor.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace UMC {

class PictureFixture : public testing::Test
{
protected:
    static constexpr int kWidth = 4, kHeight = 3, kMbs = kWidth * kHeight; // macroblocks

    PictureFixture() : m_pCursor(std::make_unique<SliceCursor>())
    {
        for (int i = 0; i < 2; ++i) {
            m_Mv[i].resize(kMbs * 16);
            m_Ref[i].assign(kMbs * 16, h264::kRefNone);
            m_Mvd[i].resize(kMbs);
            m_Frame.m_MbInfo.pMv[i] = m_Mv[i].data();
            m_Frame.m_MbInfo.pRefIdx[i] = m_Ref[i].data();
            m_LocalBuffers.pMvd[i] = m_Mvd[i].data();
        }
        m_Global.resize(kMbs);
        for (MbGlobalInfo& Mb : m_Global) Mb.SliceId = kNoSlice;
        m_LocalInfo.resize(kMbs);
        m_IntraModes.resize(kMbs * 16);
        m_Counts.resize(kMbs * 48);
        m_Frame.m_MbInfo.pGlobal = m_Global.data();
        m_LocalBuffers.pLocal = m_LocalInfo.data();
        m_LocalBuffers.pIntraModes = m_IntraModes.data();
        m_LocalBuffers.pCoeffCounts = m_Counts.data();
        m_Slice.m_pSeqParamSet = &m_Sequence;
        m_Slice.m_pPicParamSet = m_pPicture.get();
        m_Slice.m_pFrame = &m_Frame;
        m_Slice.m_pLocal = &m_LocalBuffers;
        m_Slice.m_pRefPicList = &m_Lists;
        for (int i = 0; i < 4; ++i) m_Lists.List[0].Frame[i] = m_Lists.List[1].Frame[i] = &m_References[i];
        m_Frame.m_Format = PictureFormat::Make({kWidth * 16, kHeight * 16}, 1, 8, 8);
        m_Sequence.chroma_format_idc = 1;
        m_Sequence.bit_depth_luma = m_Sequence.bit_depth_chroma = 8;
        m_pCursor->View(m_Slice);
    }
    ~PictureFixture() override { m_Frame.m_MbInfo = {}; } // the records are not the frame's to release

    // Puts macroblock Mb into slice 0 with one motion of list List.
    void SetMotion(int Mb, int RefIdx, h264::MotionVector Mv, int List = 0)
    {
        m_Global[static_cast<size_t>(Mb)].SliceId = 0;
        m_Global[static_cast<size_t>(Mb)].MbType = MBTYPE_INTER16x16;
        m_Global[static_cast<size_t>(Mb)].MbFlags = MBFLAG_ONE_MOTION;
        for (int i = 0; i < 16; ++i) SetBlock(Mb, i, RefIdx, Mv, List);
    }
    void SetBlock(int Mb, int Block, int RefIdx, h264::MotionVector Mv, int List = 0)
    {
        m_Ref[List][static_cast<size_t>(Mb * 16 + Block)] = static_cast<int8_t>(RefIdx);
        m_Mv[List][static_cast<size_t>(Mb * 16 + Block)] = Mv;
    }
    void SetIntra(int Mb)
    {
        m_Global[static_cast<size_t>(Mb)].SliceId = 0;
        m_Global[static_cast<size_t>(Mb)].MbType = MBTYPE_INTRA16x16;
        m_Global[static_cast<size_t>(Mb)].MbFlags = 0;
        for (int i = 0; i < 16; ++i) SetBlock(Mb, i, h264::kRefNone, {0, 0});
    }

    H264SeqParamSet m_Sequence{};
    std::unique_ptr<H264PicParamSet> m_pPicture = std::make_unique<H264PicParamSet>();
    H264Slice m_Slice;
    H264DecoderFrame m_Frame, m_References[4];
    H264DecoderRefPicList m_Lists{};
    std::vector<h264::MotionVector> m_Mv[2];
    std::vector<int8_t> m_Ref[2];
    std::vector<MbMvd> m_Mvd[2];
    std::vector<MbGlobalInfo> m_Global;
    std::vector<MbLocalInfo> m_LocalInfo;
    std::vector<uint8_t> m_IntraModes, m_Counts;
    H264LocalMbBuffers m_LocalBuffers;
    std::unique_ptr<SliceCursor> m_pCursor;
};

} // namespace UMC
