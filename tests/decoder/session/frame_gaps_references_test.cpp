// The reference that is made up for a slice which has none: every number of it.
#include "decoder/session/frame_gaps.h"
#include "tests/decoder/session/session_parts.h"

namespace {

using namespace UMC;

class MadeUpReference : public SessionParts
{
protected:
    MadeUpReference()
    {
        m_Slice.m_Header.slice_type = SLICE_P;
        m_Slice.m_Header.nal_ref_idc = 1;
        m_Slice.m_Header.frame_num = 5;
    }
    // Null when none was made.
    const H264DecoderFrame* Make()
    {
        const int Before = m_Store.Dpb().CountAll();
        m_Gaps.MakeUpReference(m_Slice, m_Refused);
        return m_Store.Dpb().CountAll() > Before ? m_Store.Dpb().Tail() : nullptr;
    }

    FrameGaps m_Gaps{m_Frames, m_Store, m_Marking, m_PicOrder};
    Status m_Refused = StatusOk;
};

TEST_F(MadeUpReference, OfAFrameIsGreyAndNeverShown)
{
    m_PicOrder.TopFieldOrderCnt = 12;
    m_PicOrder.BottomFieldOrderCnt = 13;
    const H264DecoderFrame* const p = Make();
    ASSERT_TRUE(p);
    for (int Field = 0; Field < 2; ++Field) {
        EXPECT_TRUE(p->m_IsShortTerm[Field]);
        EXPECT_FALSE(p->m_IsLongTerm[Field]);
        EXPECT_EQ(p->m_PicNum[Field], 5);
        EXPECT_EQ(p->m_PicOrderCnt[Field], 12 + Field);
    }
    EXPECT_EQ(p->m_FrameNum, 5);
    EXPECT_EQ(p->m_BusyCount, 0);
    EXPECT_TRUE(p->m_IsDisplayable && p->m_IsSkipped && !p->m_FrameExists);
    EXPECT_EQ(p->m_pPlaneY[0], 128);
    EXPECT_EQ(p->m_pPlaneV[7 * p->m_PitchChroma + 7], 128);
}

TEST_F(MadeUpReference, OfAFieldHasItsNumberAndCountTwice)
{
    m_Seq.frame_height_in_mbs = 2;
    m_Slice.m_Header.field_pic_flag = 1;
    m_PicOrder.PicOrderCnt = 9;
    const H264DecoderFrame* const p = Make();
    ASSERT_TRUE(p);
    for (int Field = 0; Field < 2; ++Field) {
        EXPECT_EQ(p->m_PicNum[Field], 2 * 5 + 1);
        EXPECT_EQ(p->m_PicOrderCnt[Field], 9);
    }
}

TEST_F(MadeUpReference, HasTheOrderCountWithoutTheSlicesDeltas)
{
    m_Seq.pic_order_cnt_type = 1;
    m_Seq.offset_for_ref_frame = {4};
    m_Seq.offset_sum = {4};
    m_Slice.m_Header.delta_pic_order_cnt[0] = 100;
    const h264::PicOrderCounter Before = m_PicOrder;
    const H264DecoderFrame* const p = Make();
    ASSERT_TRUE(p);
    EXPECT_EQ(p->m_PicOrderCnt[0], 5 * 4);
    EXPECT_EQ(m_Slice.m_Header.delta_pic_order_cnt[0], 100) << "those are put back";
    EXPECT_EQ(m_PicOrder.PrevFrameNum, Before.PrevFrameNum) << "nor is it a picture of the stream";
    EXPECT_EQ(m_PicOrder.TopFieldOrderCnt, Before.TopFieldOrderCnt);
}

TEST_F(MadeUpReference, IsOfTheSlicesDepth)
{
    m_Seq.bit_depth_luma = 10;
    const H264DecoderFrame* const p = Make();
    ASSERT_TRUE(p);
    EXPECT_EQ(*reinterpret_cast<const uint16_t*>(p->m_pPlaneY), 128) << "not the middle of the range";
}

TEST_F(MadeUpReference, IsNoneWhereItIsNotNeeded)
{
    m_Slice.m_Header.slice_type = SLICE_I;
    EXPECT_FALSE(Make());
    m_Slice.m_Header.slice_type = SLICE_B;
    LongTerm(0);
    EXPECT_FALSE(Make());
}

TEST_F(MadeUpReference, IsNoneWhereThereIsNoRoom)
{
    Status Refused = StatusOk;
    while (m_Store.TakeFrame(m_Slice, Refused)) {
    } // all in work
    EXPECT_FALSE(Make());
    EXPECT_EQ(m_Refused, StatusOk) << "the slice goes on without a reference";
}

} // namespace
