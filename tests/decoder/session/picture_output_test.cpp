// Which picture leaves next: on the frames themselves.
#include "decoder/session/picture_output.h"

#include "tests/decoder/session/session_parts.h"

#include <random>
#include <vector>

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

// Any state of the buffer, the fields of a frame apart: the rule once more, written as it is said.
class AnyOutput : public Output
{
protected:
    uint32_t Upto(uint32_t Limit) { return static_cast<uint32_t>(m_Random()) % (Limit + 1); }
    void MakeState()
    {
        m_Store.Close();
        m_Store.SetDpbSize(static_cast<int32_t>(Upto(4)));
        m_Store.SetSpareFrames(20);
        for (uint32_t i = Upto(14); i > 0; --i) {
            H264DecoderFrame& Frame = *Waiting(0);
            Frame.m_WasOutputted = Upto(3) == 0;
            Frame.m_IsDisplayable = Upto(3) != 0;
            Frame.m_BusyCount = static_cast<int32_t>(Upto(3) == 0 ? Upto(3) : 0);
            Frame.m_FrameExists = Upto(3) != 0;
            for (int Field = 0; Field < 2; ++Field) {
                Frame.m_PicOrderCnt[Field] = static_cast<int32_t>(Upto(5)) - 2;
                Frame.m_RefListResetCount[Field] = static_cast<int32_t>(Upto(2) == 0);
            }
        }
    }
    // Frames not given out, ready or in work, as many as the limit and two more, the oldest in the list first.
    std::vector<H264DecoderFrame*> Candidates()
    {
        std::vector<H264DecoderFrame*> Found;
        for (H264DecoderFrame* p = m_Store.Dpb().Head(); p; p = p->m_pNext)
            if (!p->m_WasOutputted && (p->m_IsDisplayable || p->m_BusyCount > 1)) Found.push_back(p);
        const auto Limit = static_cast<size_t>(m_Store.DpbSize()) + 2;
        if (Found.size() > Limit) Found.resize(Limit);
        return Found;
    }
    H264DecoderFrame* Expected()
    {
        for (;;) {
            H264DecoderFrame* pBest = nullptr;
            for (H264DecoderFrame* p : Candidates()) {
                const auto Resets = [](auto* f) {
                    return std::max(f->m_RefListResetCount[0], f->m_RefListResetCount[1]);
                };
                const auto Count = [](auto* f) { return std::min(f->m_PicOrderCnt[0], f->m_PicOrderCnt[1]); };
                const bool IsEqual = pBest && Resets(p) == Resets(pBest) && Count(p) == Count(pBest);
                if (!pBest || Resets(p) > Resets(pBest) || (Resets(p) == Resets(pBest) && Count(p) < Count(pBest)) ||
                    (IsEqual && p->m_FrameExists && !pBest->m_FrameExists))
                    pBest = p;
            }
            if (!pBest || pBest->m_BusyCount > 1) return nullptr;
            if (pBest->m_FrameExists) return pBest;
            pBest->m_WasOutputted = true;
        }
    }

    std::mt19937 m_Random{17};
};

TEST_F(AnyOutput, IsWhatTheRuleSays)
{
    m_Output.EndDisplayDelay();
    size_t Given = 0, Withheld = 0;
    for (int i = 0; i < 2000; ++i) {
        MakeState();
        std::vector<bool> Before, After;
        for (H264DecoderFrame* p = m_Store.Dpb().Head(); p; p = p->m_pNext) Before.push_back(p->m_WasOutputted);
        const H264DecoderFrame* const pExpected = Expected();
        auto Passed = Before.begin();
        for (H264DecoderFrame* p = m_Store.Dpb().Head(); p; p = p->m_pNext) {
            After.push_back(p->m_WasOutputted);
            p->m_WasOutputted = *Passed++;
        }
        ASSERT_EQ(Next(), pExpected) << i;
        Passed = After.begin();
        for (H264DecoderFrame* p = m_Store.Dpb().Head(); p; p = p->m_pNext)
            ASSERT_EQ(p->m_WasOutputted, *Passed++) << "made-up frames in front of it, in state " << i;
        ++(pExpected ? Given : Withheld);
    }
    EXPECT_GT(Given, 500u);
    EXPECT_GT(Withheld, 500u);
}

TEST_F(Output, WaitsForAsManyPicturesAsTheDelayBeforeTheFirstSet)
{
    EXPECT_EQ(Next(), nullptr);
    H264DecoderFrame* const pFrame = Waiting(4);
    EXPECT_EQ(Next(), pFrame) << "one is the delay";
    m_Output.EndDisplayDelay();
    EXPECT_EQ(Next(), pFrame);
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
