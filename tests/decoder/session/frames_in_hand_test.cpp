// The pointers that the session's classes share: who drops which, and when.
#include "decoder/session/picture_assembly.h"
#include "decoder/session/picture_output.h"
#include "tests/decoder/session/session_parts.h"

namespace {

using namespace UMC;

class InHand : public SessionParts
{
protected:
    // A picture that is being filled.
    H264DecoderFrame* Begun()
    {
        H264DecoderFrame* const pFrame = Decoded();
        pFrame->m_IsDisplayable = pFrame->m_WasOutputted = false;
        pFrame->m_BusyCount = 2;
        return pFrame;
    }

    Skipping m_Skip;
    SegmentDecoders m_Decoders;
    PictureAssembly m_Assembly{m_Frames, m_Store, m_Work, m_Headers, m_Skip, m_Decoders};
    BaseCodec* m_pConverter = nullptr;
    PictureOutput m_Output{m_Frames, m_Store, m_Shown, &m_pConverter};
};

TEST_F(InHand, EachIsDroppedByTheClassThatWritesIt)
{
    H264DecoderFrame *const pCurrent = Begun(), *const pFirst = Begun(), *const pLast = Begun();
    m_Frames = {pCurrent, pFirst, pLast, 0};
    m_Store.Reset();
    EXPECT_EQ(m_Frames.CurrentFrame, pCurrent);
    EXPECT_EQ(m_Frames.FirstUncompleted, pFirst);
    EXPECT_EQ(m_Frames.LastDisplayed, pLast);
    m_Assembly.Reset();
    EXPECT_EQ(m_Frames.CurrentFrame, nullptr);
    EXPECT_EQ(m_Frames.FirstUncompleted, pFirst);
    m_Work.Reset();
    EXPECT_EQ(m_Frames.FirstUncompleted, nullptr);
    EXPECT_EQ(m_Frames.LastDisplayed, pLast);
    m_Output.Reset();
    EXPECT_EQ(m_Frames.LastDisplayed, nullptr);
}

TEST_F(InHand, TheLastPictureWaitsForDecodingWhenTheInputIsOver)
{
    m_Assembly.EndInput();
    EXPECT_FALSE(m_Frames.IsInFlight());
    H264DecoderFrame* const pCurrent = m_Frames.CurrentFrame = Begun();
    m_Assembly.EndInput();
    EXPECT_EQ(m_Frames.CurrentFrame, nullptr);
    EXPECT_EQ(m_Frames.FirstUncompleted, pCurrent);
    m_Work.GiveUp();
    EXPECT_FALSE(m_Frames.IsInFlight());
}

TEST_F(InHand, AFrameThatIsTakenForAnotherPictureIsForgotten)
{
    H264DecoderFrame* const pFrame = Decoded();
    m_Frames.CurrentFrame = m_Frames.LastDisplayed = pFrame;
    EXPECT_EQ(Begun(), pFrame);
    EXPECT_EQ(m_Frames.CurrentFrame, nullptr);
    EXPECT_EQ(m_Frames.LastDisplayed, nullptr);
}

} // namespace
