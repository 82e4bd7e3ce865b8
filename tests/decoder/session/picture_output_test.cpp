// Which picture leaves next: on the frames themselves.
#include "decoder/session/picture_output.h"

#include "tests/decoder/session/session_parts.h"

namespace {

using namespace UMC;

class Output : public SessionParts
{
protected:
    H264DecoderFrame* Waiting(int32_t PicOrderCnt)
    {
        H264DecoderFrame* const pFrame = ShortTerm(0); // a reference, so that none is taken twice
        pFrame->m_WasOutputted = false;
        pFrame->m_PicOrderCnt[0] = pFrame->m_PicOrderCnt[1] = PicOrderCnt;
        return pFrame;
    }
    H264DecoderFrame* Next(bool Force = false) { return m_Output.PickFrameForOutput(Force); }

    BaseCodec* m_pConverter = nullptr; // skipped pictures need none
    PictureOutput m_Output{m_Frames, m_Store, m_Shown, &m_pConverter};
};

TEST_F(Output, OldestCountLeavesFirst)
{
    H264DecoderFrame *const pSecond = Waiting(8), *const pFirst = Waiting(4);
    m_Output.EndDisplayDelay();
    EXPECT_EQ(Next(), pFirst);
    EXPECT_EQ(Next(), pFirst) << "until it was delivered";
    pFirst->m_WasOutputted = true;
    EXPECT_EQ(Next(), pSecond);
    pSecond->m_WasOutputted = true;
    EXPECT_EQ(Next(), nullptr);
}

TEST_F(Output, PicturesInFrontOfAResetOfTheCountsLeaveFirst)
{
    Waiting(4);
    H264DecoderFrame* const pBefore = Waiting(100);
    pBefore->m_RefListResetCount[0] = 1;
    EXPECT_EQ(Next(true), pBefore);
}

TEST_F(Output, PictureInWorkHoldsTheYoungerBack)
{
    Waiting(8);
    H264DecoderFrame* const pInWork = Waiting(4);
    pInWork->m_IsDisplayable = false;
    pInWork->m_BusyCount = 2;
    EXPECT_EQ(Next(true), nullptr);
    pInWork->m_PicOrderCnt[0] = pInWork->m_PicOrderCnt[1] = 12;
    EXPECT_NE(Next(true), nullptr);
}

TEST_F(Output, FramesThatNeverExistedArePassedOver)
{
    H264DecoderFrame *const pMadeUp = Waiting(4), *const pShown = Waiting(8);
    pMadeUp->m_FrameExists = false;
    EXPECT_EQ(Next(true), pShown);
    EXPECT_TRUE(pMadeUp->m_WasOutputted);
    EXPECT_EQ(m_Frames.Progress, 1u);
}

TEST_F(Output, StreamThatGivesNoTimesRunsOnInStepsOfAFrame)
{
    m_Output.SetFrameTime(0.5);
    VideoData Out;
    ASSERT_EQ(Out.Init(16, 16, YUV420, 8), StatusOk);
    ASSERT_EQ(Out.Alloc(), StatusOk);
    Out.SetDataSize(0);
    const double Given[] = {-1.0, -1.0, 10.0, -1.0}, Expected[] = {0.0, 0.5, 10.0, 10.5};
    for (int i = 0; i < 4; ++i) {
        H264DecoderFrame* const pFrame = Waiting(i);
        pFrame->m_IsSkipped = true;
        pFrame->m_Time = Given[i];
        ASSERT_TRUE(m_Output.DeliverFrame(&Out, true));
        EXPECT_EQ(m_Frames.LastDisplayed, pFrame);
        EXPECT_EQ(Out.GetDataSize(), 1u) << "a skipped picture's mark";
        EXPECT_EQ(Out.GetTime(), Expected[i]);
    }
    EXPECT_FALSE(m_Output.DeliverFrame(&Out, true));
    EXPECT_EQ(m_Frames.LastDisplayed, nullptr);
}

} // namespace
