// The texts of the statistics: in developer builds, where alone they exist.
#if defined(QUILVEX_TRACE)

#include "decoder/session/dump/decoding_statistics.h"

#include "tests/decoder/session/dump/dumped_text.h"
#include "tests/decoder/session/session_parts.h"

namespace {

using namespace UMC;

class Statistics : public SessionParts
{
protected:
    // A frame of one macroblock of each type, and one that no slice has.
    H264DecoderFrame& AllTypes(int32_t FrameType)
    {
        m_Seq.frame_width_in_mbs = 7;
        m_Seq.frame_height_in_mbs = 2;
        H264DecoderFrame& Frame = *Decoded();
        Frame.m_FrameType = FrameType;
        Frame.m_Au[0].m_UnitBytes = 10;
        Frame.m_Au[1].m_UnitBytes = 2;
        for (int Type = MBTYPE_INTRA4x4; Type <= MBTYPE_BIDIRECTIONAL; ++Type) {
            MbGlobalInfo& Mb = Frame.m_MbInfo.pGlobal[Type];
            Mb.SliceId = 0;
            Mb.MbType = static_cast<int8_t>(Type);
            for (uint8_t i = 0; i < 4; ++i) Mb.SubBlockType[i] = i;
            Frame.m_MbInfo.pRefIdx[0][Type * 16] = 0;
        }
        Frame.m_MbInfo.pGlobal[MBTYPE_INTER8x8].SubBlockType[3] = 4; // direct
        Frame.m_MbInfo.pMv[0][MBTYPE_INTER16x8 * 16].y = 1;
        Frame.m_MbInfo.pMv[1][MBTYPE_INTER8x16 * 16].x = 1; // of no reference
        return Frame;
    }

    DecodingStatistics m_Statistics;
    static constexpr const char* kInter =
        "Inter16x16 - 4\nInter16x8 - 1\nInter8x16 - 1\nInter8x8 - 1\nInter8x8_Ref0 - 1\n"
        " subtype 8x8 - 2\n subtype 8x4 - 2\n subtype 4x8 - 2\n subtype 4x4 - 1\n";
};

TEST_F(Statistics, OfAFrameTellItsMacroblocksAndTheFramesInItsLists)
{
    const std::string Intra = "I16x16 - 1\nI4x4 - 1\n", Rest = "Skipped - 1\nZero MVs count - 9\n";
    const auto TextOf = [&](const H264DecoderFrame& Frame) {
        return test::Dumped([&](std::FILE* p) { m_Statistics.Add(Frame, p); });
    };
    H264DecoderFrame& First = AllTypes(I_PICTURE);
    EXPECT_EQ(TextOf(First), "frame type - I_PICTURE, uid - 1, size - 96\n" + Intra);
    First.m_IsShortTerm[0] = true; // and is not taken again
    H264DecoderFrame& Second = *ShortTerm(1);
    H264DecoderFrame& P = AllTypes(P_PICTURE);
    P.m_RefPicLists.Reserve();
    P.m_RefPicLists.Spare() = {};
    P.m_RefPicLists.Spare().List[0].Frame[0] = &Second;
    P.m_RefPicLists.Spare().List[0].Frame[1] = &First;
    P.m_RefPicLists.Add();
    EXPECT_EQ(TextOf(P), "frame type - P_PICTURE, uid - 3, size - 96\n\n ref list 0 \nref frame uid - 2\n"
                         "ref frame uid - 1\n\n ref list 1 \n" +
                             Intra + kInter + Rest);
    P.m_RefPicLists.ReleaseLists();
    P.m_FrameType = B_PICTURE;
    EXPECT_EQ(TextOf(P), "frame type - B_PICTURE, uid - 3, size - 96\n" + Intra + kInter + "Direct - 1\n" + Rest);
    P.m_FrameType = NONE_PICTURE;
    EXPECT_EQ(TextOf(P), "frame type - None, uid - 3, size - 96\n" + Intra + kInter + Rest);
}

TEST_F(Statistics, OfAllFramesTellTheirSizesByType)
{
    H264DecoderFrame& Frame = AllTypes(P_PICTURE);
    test::Dumped([&](std::FILE* p) {
        m_Statistics.Add(Frame, p);
        Frame.m_Au[0].m_UnitBytes = 13;
        m_Statistics.Add(Frame, p);
    });
    EXPECT_EQ(test::Dumped([&](std::FILE* p) { m_Statistics.WriteTotals(p); }),
              "I_PICTURE frames - 0, size in bits - 0, avg size - 0\nP_PICTURE frames - 2, size in bits - 216, avg "
              "size - 108\n"
              "B_PICTURE frames - 0, size in bits - 0, avg size - 0\n");
}

TEST(StatisticsFile, IsNotMade) { EXPECT_EQ(DecodingStatistics::Open(), nullptr); }

} // namespace

#endif
