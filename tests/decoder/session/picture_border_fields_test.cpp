// Which field belongs to the field before, told from the headers of slices.
#include "decoder/session/picture_border.h"

#include <gtest/gtest.h>

namespace {

using namespace UMC;

class SecondFields : public testing::Test
{
protected:
    SecondFields()
    {
        for (H264Slice* const p : {&m_First, &m_Slice}) {
            p->m_pSeqParamSet = &m_Seq;
            p->m_Header.field_pic_flag = 1;
            p->m_Header.nal_ref_idc = 1;
        }
        m_Slice.m_Header.bottom_field_flag = 1;
        m_Frame.m_Au[0].m_Status = AuStatus::Ready;
        m_Frame.m_Au[1].m_Status = AuStatus::SecondFieldExpected;
    }
    bool IsSecond() const { return IsSecondField(m_Frame, m_First, m_Slice); }

    H264SeqParamSet m_Seq{}, m_OtherSeq{};
    H264DecoderFrame m_Frame;
    H264Slice m_First, m_Slice;
};

TEST_F(SecondFields, AreOfTheOtherParity)
{
    EXPECT_TRUE(IsSecond());
    m_Slice.m_Header.bottom_field_flag = 0;
    EXPECT_FALSE(IsSecond());
    m_First.m_Header.bottom_field_flag = 1;
    EXPECT_TRUE(IsSecond());
    m_Slice.m_Header.field_pic_flag = 0;
    EXPECT_FALSE(IsSecond());
}

TEST_F(SecondFields, AreReferencesWhenTheFirstIs)
{
    m_Slice.m_Header.nal_ref_idc = 3;
    EXPECT_TRUE(IsSecond());
    m_Slice.m_Header.nal_ref_idc = 0;
    EXPECT_FALSE(IsSecond());
    m_First.m_Header.nal_ref_idc = 0;
    EXPECT_TRUE(IsSecond());
}

TEST_F(SecondFields, AreNeverOfAnIdrPicture)
{
    m_First.m_Header.IdrPicFlag = 1;
    EXPECT_TRUE(IsSecond());
    m_Slice.m_Header.IdrPicFlag = 1;
    EXPECT_FALSE(IsSecond());
    m_First.m_Header.IdrPicFlag = 0;
    EXPECT_FALSE(IsSecond());
}

TEST_F(SecondFields, BelongToAFrameThatHasNoneYet)
{
    m_Frame.m_Au[1].m_Status = AuStatus::Ready;
    EXPECT_FALSE(IsSecond());
}

TEST_F(SecondFields, HaveTheSequenceParameterSetOfTheFirst)
{
    m_Slice.m_pSeqParamSet = &m_OtherSeq;
    EXPECT_FALSE(IsSecond());
}

} // namespace
