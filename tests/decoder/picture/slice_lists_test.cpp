// Slice numbers, and the lists that go with them.
#include "decoder/picture/slice_lists.h"

#include "decoder/picture/frame.h"

#include <gtest/gtest.h>

namespace {

using namespace UMC;

class Lists : public testing::Test
{
protected:
    // Adds a slice whose first reference is pFirst.
    int32_t Add(H264DecoderFrame* pFirst)
    {
        m_Lists.Reserve();
        m_Lists.Spare() = {};
        m_Lists.Spare().List[0].Frame[0] = pFirst;
        return m_Lists.Add();
    }
    H264DecoderFrame* FirstOf(uint32_t SliceNumber) const { return m_Lists.ListsOf(SliceNumber)->List[0].Frame[0]; }

    SliceLists m_Lists;
    H264DecoderFrame m_Frame[2];
};

TEST_F(Lists, AreFoundByTheNumberThatTheirSliceGot)
{
    EXPECT_EQ(Add(&m_Frame[0]), 1);
    EXPECT_EQ(Add(&m_Frame[1]), 2);
    EXPECT_EQ(FirstOf(1), &m_Frame[0]);
    EXPECT_EQ(FirstOf(2), &m_Frame[1]);
    EXPECT_EQ(m_Lists.ListsOf(0), nullptr);
    EXPECT_EQ(m_Lists.ListsOf(3), nullptr);
    EXPECT_EQ(m_Lists.IndicesOf(0), nullptr);
    EXPECT_EQ(m_Lists.IndicesOf(3), nullptr);
}

TEST_F(Lists, AreSharedWithTheSliceBeforeWhenEqual)
{
    Add(&m_Frame[0]);
    Add(&m_Frame[0]);
    Add(&m_Frame[1]);
    Add(&m_Frame[0]);
    EXPECT_EQ(m_Lists.ListsOf(1), m_Lists.ListsOf(2));
    EXPECT_NE(m_Lists.ListsOf(1), m_Lists.ListsOf(4)) << "of the slice before alone";
    EXPECT_EQ(FirstOf(4), &m_Frame[0]);
}

TEST_F(Lists, LeaveTheIndicesOfTheirPicturesBehind)
{
    m_Frame[0].m_Index = 5;
    m_Frame[1].m_Index = 31;
    Add(&m_Frame[0]);
    Add(&m_Frame[1]);
    m_Lists.ReleaseLists();
    EXPECT_EQ(m_Lists.ListsOf(1), nullptr);
    ASSERT_NE(m_Lists.IndicesOf(2), nullptr);
    EXPECT_EQ(m_Lists.IndicesOf(1)->Index[0][0], 2 * 5);
    EXPECT_EQ(m_Lists.IndicesOf(2)->Index[0][0], 2 * 31);
    EXPECT_EQ(m_Lists.IndicesOf(2)->Index[1][0], H264RefPicIndices::kNone);
    m_Lists.Clear();
    EXPECT_EQ(m_Lists.IndicesOf(1), nullptr);
    EXPECT_EQ(Add(&m_Frame[0]), 1) << "numbers begin anew";
}

TEST_F(Lists, TellTheFieldsOfAFrameApart)
{
    m_Frame[0].m_Index = 31;
    m_Lists.Reserve();
    H264DecoderRefPicList& Spare = m_Lists.Spare() = {};
    for (int Field = -1; Field < 2; ++Field) {
        Spare.List[1].Frame[Field + 1] = &m_Frame[0];
        Spare.List[1].Flag[Field + 1] = static_cast<uint8_t>(kRefFlagShortTerm | (Field & 7));
    }
    m_Lists.Add();
    const auto& Index = m_Lists.IndicesOf(1)->Index[1];
    EXPECT_EQ(Index[0], 62) << "a frame";
    EXPECT_EQ(Index[1], 62);
    EXPECT_EQ(Index[2], 63);
}

} // namespace
