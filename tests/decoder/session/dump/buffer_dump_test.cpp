// The texts of the dumps of the buffer and of the tasks: in developer builds, where alone they exist.
#if defined(QUILVEX_TRACE)

#include "decoder/session/dump/buffer_dump.h"

#include "tests/decoder/session/dump/dumped_text.h"
#include "tests/decoder/session/session_parts.h"

namespace {

using namespace UMC;

class Dumps : public SessionParts
{
};

TEST_F(Dumps, OfTheBufferTellTheStateOfEveryFrame)
{
    H264DecoderFrame& First = *LongTerm(2);
    First.m_PicOrderCnt[0] = -4;
    First.m_PicOrderCnt[1] = 7;
    First.m_RefListResetCount[1] = 3;
    First.m_LongTermPicNum[0] = 5;
    First.m_LongTermPicNum[1] = 6;
    H264DecoderFrame& Second = *Decoded();
    Second.m_IsShortTerm[1] = Second.m_IsSkipped = true;
    Second.m_FrameExists = Second.m_IsDisplayable = false;
    Second.m_BusyCount = 2;
    Second.m_PicNum[0] = 8;
    Second.m_PicNum[1] = 9;
    EXPECT_EQ(test::Dumped([&](std::FILE* p) { DumpBuffer(m_Store.Dpb(), p); }),
              "-==========================================\n"
              "\n\nUID - 1 POC - -4 7  - resetcount - 3\nShort - 0 0 \nLong - 1 1 \nBusy - 0 \n"
              "Skipping - 0, FrameExist - 1 \nPicNum - (0, 0) \nLongPicNum - (5, 6) \nDisp - 1 , wasOutput - 1\n"
              "\n\nUID - 2 POC - 0 0  - resetcount - 0\nShort - 0 1 \nLong - 0 0 \nBusy - 2 \n"
              "Skipping - 1, FrameExist - 0 \nPicNum - (8, 9) \nLongPicNum - (0, 0) \nDisp - 0 , wasOutput - 1\n"
              "-==========================================\n");
}

TEST_F(Dumps, NumberAFrameAnewWhenItIsTaken)
{
    m_Store.SetDpbSize(0);
    m_Store.SetSpareFrames(0);
    H264DecoderFrame* const pFrame = Decoded();
    EXPECT_EQ(pFrame->m_Uid, 1);
    EXPECT_EQ(Decoded(), pFrame);
    EXPECT_EQ(pFrame->m_Uid, 2);
}

TEST_F(Dumps, OfTasksTellWhatIsStillToBeDone)
{
    H264DecoderFrame& Frame = *Decoded();
    Frame.m_PicOrderCnt[0] = 12;
    Frame.m_PicOrderCnt[1] = 11;
    Frame.m_Au[0].m_Status = AuStatus::Finished;
    Frame.m_Au[1].m_Status = AuStatus::InBroker;
    Frame.m_Au[1].m_Slices = {&m_Slice};
    Frame.m_Au[0].m_pNext = &Frame.m_Au[1];
    EXPECT_EQ(test::Dumped([&](std::FILE* p) { DumpTasks(&Frame.m_Au[0], p); }),
              "all info\npoc - 11\nneedtoCheck - 0. status - 3\npoc - 11\nneedtoCheck - 1. status - 4\nall info end\n");
    Frame.m_Au[1].m_Slices.clear(); // the slice is the test's
}

} // namespace

#endif
