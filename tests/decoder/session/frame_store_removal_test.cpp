// Which frames the store takes, keeps and gives back: on the frames themselves.
#include "tests/decoder/session/session_parts.h"

namespace {

using namespace UMC;

class StoredFrames : public SessionParts
{
protected:
    H264DecoderFrame* Take()
    {
        Status Refused = StatusOk;
        H264DecoderFrame* const pFrame = m_Store.TakeFrame(m_Slice, Refused);
        EXPECT_EQ(Refused, StatusOk);
        return pFrame;
    }
};

TEST_F(StoredFrames, AreAsManyAsTheBufferSizeAndTheSpareOnesAllow)
{
    m_Store.SetDpbSize(2);
    m_Store.SetSpareFrames(2);
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(m_Store.HasRoom());
        EXPECT_TRUE(Take());
    }
    EXPECT_FALSE(m_Store.HasRoom());
    EXPECT_FALSE(Take()) << "no room, and no fault either";
    m_Store.DiscardFrame(*m_Store.Dpb().Head());
    EXPECT_TRUE(m_Store.HasRoom());
    EXPECT_TRUE(Take());
}

TEST_F(StoredFrames, AreNeverMoreThanThereAreIndices)
{
    m_Store.SetSpareFrames(40);
    for (int i = 0; i < kMaxFrames; ++i) {
        const H264DecoderFrame* const pFrame = Take();
        ASSERT_TRUE(pFrame);
        EXPECT_EQ(pFrame->m_Index, i);
    }
    EXPECT_FALSE(m_Store.HasRoom());
    EXPECT_FALSE(Take());
    EXPECT_EQ(m_Store.Dpb().CountAll(), kMaxFrames);
}

TEST_F(StoredFrames, AreTakenOldestFirstAndStandBehindTheOthers)
{
    H264DecoderFrame* Frames[3];
    for (H264DecoderFrame*& p : Frames) p = Take();
    for (int i = 0; i < 3; ++i) {
        m_Store.DiscardFrame(*Frames[i]);
        Frames[i]->m_PicOrderCnt[0] = Frames[i]->m_PicOrderCnt[1] = 10 - i;
    }
    m_Frames.LastDisplayed = Frames[2];
    EXPECT_EQ(Take(), Frames[2]);
    EXPECT_EQ(m_Store.Dpb().Tail(), Frames[2]);
    EXPECT_EQ(m_Frames.LastDisplayed, nullptr) << "its picture is gone";
    EXPECT_EQ(Frames[2]->m_BusyCount, 2);
}

TEST_F(StoredFrames, MadeUpOnesAreGreyReadyAndNeverShown)
{
    Status Refused = StatusOk;
    const H264DecoderFrame* const pFrame = m_Store.TakeMadeUpFrame(m_Slice, Refused);
    ASSERT_TRUE(pFrame);
    EXPECT_EQ(pFrame->m_pPlaneY[0], 128);
    EXPECT_EQ(pFrame->m_pPlaneV[0], 128);
    EXPECT_TRUE(pFrame->m_IsDisplayable && pFrame->m_IsSkipped && !pFrame->m_FrameExists);
    EXPECT_EQ(pFrame->m_BusyCount, 0);
    EXPECT_EQ(m_Frames.Progress, 1u);
}

TEST_F(StoredFrames, OfAnotherFormatGoInFrontOfAPicture)
{
    H264DecoderFrame *const pOld = Take(), *const pReference = Take(), *const pUncompleted = Take();
    m_Store.DiscardFrame(*pOld);
    m_Store.DiscardFrame(*pUncompleted);
    pReference->m_IsShortTerm[0] = true;
    m_Frames.FirstUncompleted = pUncompleted;
    ASSERT_EQ(m_Shown.Init(16, 16, YUV420, 8), StatusOk);
    m_Shown.SetPlanePointer(pOld->m_pPlaneY, 0);
    H264SeqParamSet Wide = m_Seq;
    Wide.frame_width_in_mbs = 2;
    m_Store.RemoveSurplusFrames(m_Seq);
    EXPECT_EQ(m_Store.Dpb().CountAll(), 3);
    m_Store.RemoveSurplusFrames(Wide);
    EXPECT_EQ(m_Store.Dpb().CountAll(), 2) << "one is a reference, one is looked at next";
    EXPECT_EQ(m_Shown.GetPlaneCount(), 0) << "it described samples that are gone";
    m_Frames.FirstUncompleted = nullptr;
    pReference->m_IsShortTerm[0] = false;
    pReference->m_BusyCount = 0;
    m_Slice.m_pSeqParamSet = &Wide;
    Take();
    m_Store.RemoveOutdatedFrames();
    EXPECT_EQ(m_Store.Dpb().CountAll(), 1);
    m_Slice.m_pSeqParamSet = &m_Seq;
}

TEST_F(StoredFrames, BeyondASmallerBufferGo)
{
    H264DecoderFrame* Frames[6];
    for (H264DecoderFrame*& p : Frames) p = Take();
    for (H264DecoderFrame* const p : Frames) m_Store.DiscardFrame(*p);
    m_Store.SetDpbSize(1);
    m_Store.RemoveSurplusFrames(m_Seq);
    EXPECT_EQ(m_Store.Dpb().CountAll(), 3);
}

TEST_F(StoredFrames, ThatCannotBeMadeAreRefusedWithAStatus)
{
    m_Seq.bit_depth_luma = 17;
    Status Refused = StatusOk;
    EXPECT_FALSE(m_Store.TakeFrame(m_Slice, Refused));
    EXPECT_EQ(Refused, StatusUnsupported);
    EXPECT_TRUE(H264DBPList::IsDisposable(*m_Store.Dpb().Head()));
    EXPECT_EQ(m_Store.Dpb().FindOldestDisplayable(4), nullptr);
}

} // namespace
