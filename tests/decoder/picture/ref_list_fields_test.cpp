// Reference lists of field slices, built on the frames themselves.
#include "decoder/picture/ref_list_builder.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using namespace UMC;
using testing::ElementsAre;

class FieldLists : public testing::Test
{
protected:
    FieldLists()
    {
        m_Header.frame_num = 40;
        m_Header.slice_type = SLICE_P;
    }

    // A reference frame; its fields, T or B, as marked short-term, t or b as long-term.
    H264DecoderFrame* Add(int32_t Number, const std::string& Marks = "TB")
    {
        auto* const pFrame = new H264DecoderFrame; // owned by the list
        m_Dpb.Append(pFrame);
        m_pLast = pFrame;
        pFrame->m_FrameNum = pFrame->m_LongTermFrameIdx = Number;
        for (const char Mark : Marks) {
            pFrame->m_IsShortTerm[0] |= Mark == 'T';
            pFrame->m_IsShortTerm[1] |= Mark == 'B';
            pFrame->m_IsLongTerm[0] |= Mark == 't';
            pFrame->m_IsLongTerm[1] |= Mark == 'b';
        }
        pFrame->m_PicOrderCnt[0] = 2 * Number;
        pFrame->m_PicOrderCnt[1] = 2 * Number + 1;
        return pFrame;
    }
    // The list as the numbers of its frames with a letter for the field, small where the entry is long-term.
    std::vector<std::string> Build(int Count, int List = 0)
    {
        m_Header.field_pic_flag = 1;
        (List == 0 ? m_Header.num_ref_idx_l0_active : m_Header.num_ref_idx_l1_active) = Count;
        H264DecoderRefPicList Lists;
        EXPECT_EQ(BuildRefPicLists({m_Header, m_Reordering, 64}, m_IsInLast ? *m_pLast : m_Current, m_Dpb, Lists),
                  StatusOk);
        const H264RefList& Built = Lists.List[List];
        EXPECT_EQ(Built.Frame[Count], nullptr) << "the end";
        std::vector<std::string> Entries;
        for (int i = 0; i < Count; ++i) {
            const bool IsBottom = RefFlagField(Built.Flag[i]) == 1;
            const char Letter =
                (Built.Flag[i] & kRefFlagShortTerm) != 0 ? (IsBottom ? 'B' : 'T') : (IsBottom ? 'b' : 't');
            Entries.push_back(Built.Frame[i] ? std::to_string(Built.Frame[i]->m_FrameNum) + Letter : "none");
        }
        return Entries;
    }

    H264DBPList m_Dpb;
    H264DecoderFrame m_Current;
    H264DecoderFrame* m_pLast = nullptr;
    bool m_IsInLast = false; // the current field is that frame's second one
    SliceHeaderFields m_Header{};
    RefPicListReordering m_Reordering[2]{};
};

TEST_F(FieldLists, TakeParitiesByTurnsFromTheirOwn)
{
    for (const int Number : {1, 2, 3}) Add(Number);
    EXPECT_THAT(Build(6), ElementsAre("3T", "3B", "2T", "2B", "1T", "1B"));
    m_Header.bottom_field_flag = 1;
    EXPECT_THAT(Build(6), ElementsAre("3B", "3T", "2B", "2T", "1B", "1T"));
}

TEST_F(FieldLists, HoldTheFirstFieldOfTheirOwnFrame)
{
    for (const int Number : {1, 2}) Add(Number);
    Add(40, "T"); // the bottom field is being decoded
    m_Header.bottom_field_flag = 1;
    EXPECT_THAT(Build(5), ElementsAre("2B", "40T", "1B", "2T", "1T"));
}

TEST_F(FieldLists, GoOnWithOneParityWhenTheOtherRunsOut)
{
    for (const int Number : {1, 2, 3, 4, 5}) Add(Number, Number == 2 ? "TB" : "T");
    EXPECT_THAT(Build(6), ElementsAre("5T", "2B", "4T", "3T", "2T", "1T"));
}

TEST_F(FieldLists, LongTermFieldsStandBehindByTheirIndex)
{
    Add(5, "tb");
    Add(2, "bT");
    Add(3);
    EXPECT_THAT(Build(6), ElementsAre("3T", "3B", "2T", "5t", "2b", "5b"));
}

TEST_F(FieldLists, WrapAroundFrameNumbers)
{
    m_Header.frame_num = 2;
    for (const int Number : {62, 63, 1}) Add(Number);
    EXPECT_THAT(Build(6), ElementsAre("1T", "1B", "63T", "63B", "62T", "62B"));
}

TEST_F(FieldLists, HaveUpTo32Entries)
{
    for (int Number = 1; Number <= 16; ++Number) Add(Number);
    std::vector<std::string> Expected;
    for (int Number = 16; Number > 0; --Number)
        for (const char* const pField : {"T", "B"}) Expected.push_back(std::to_string(Number) + pField);
    EXPECT_EQ(Build(32), Expected);
}

// More frames than a stream may keep: what is beyond the list's end is left out, of long-term fields, too.
TEST_F(FieldLists, HaveNoMoreThan32EntriesOfMoreFields)
{
    for (int Number = 1; Number <= 20; ++Number) Add(Number);
    for (int Index = 0; Index < 4; ++Index) Add(Index, "tb");
    std::vector<std::string> Expected;
    for (int Number = 20; Number > 4; --Number)
        for (const char* const pField : {"T", "B"}) Expected.push_back(std::to_string(Number) + pField);
    EXPECT_EQ(Build(32), Expected);
}

TEST_F(FieldLists, OfBSlicesStayEmptyWithAsManyFramesAsAListHasEntries)
{
    m_Header.slice_type = SLICE_B;
    m_Current.m_PicOrderCnt[0] = m_Current.m_PicOrderCnt[1] = 100;
    for (int Number = 1; Number <= 28; ++Number) Add(Number);
    for (int Index = 0; Index < 3; ++Index) Add(Index, "tb");
    EXPECT_THAT(Build(2), ElementsAre("28T", "28B")) << "31 frames";
    Add(3, "tb");
    EXPECT_THAT(Build(2), ElementsAre("none", "none"));
    EXPECT_THAT(Build(2, 1), ElementsAre("none", "none"));
}

TEST_F(FieldLists, OfBSlicesWithTheSameFieldsInBothSwapTheFirstTwo)
{
    m_Header.slice_type = SLICE_B;
    m_Current.m_PicOrderCnt[0] = m_Current.m_PicOrderCnt[1] = 50;
    Add(1);
    EXPECT_THAT(Build(2), ElementsAre("1T", "1B"));
    EXPECT_THAT(Build(2, 1), ElementsAre("1B", "1T"));
    Add(2, "b");
    EXPECT_THAT(Build(3), ElementsAre("1T", "1B", "2b"));
    EXPECT_THAT(Build(3, 1), ElementsAre("1B", "1T", "2b"));
}

TEST_F(FieldLists, HaveALostLongTermFieldAsAHole)
{
    Add(1);
    Add(0, "tb");
    m_Reordering[0] = {.count = 2, .operation = {2, 2}, .value = {7, 1}}; // index 3 is nobody's; then the top field
    EXPECT_THAT(Build(5), ElementsAre("0T", "0t", "1T", "1B", "0b"));
}

TEST_F(FieldLists, OfBSlicesGoByTheCountsOfFrames)
{
    m_Header.slice_type = SLICE_B;
    m_Current.m_PicOrderCnt[0] = m_Current.m_PicOrderCnt[1] = 5;
    for (const int Number : {1, 2, 3, 4}) Add(Number);
    EXPECT_THAT(Build(4), ElementsAre("2T", "2B", "1T", "1B"));
    EXPECT_THAT(Build(4, 1), ElementsAre("3T", "3B", "4T", "4B"));
}

TEST_F(FieldLists, AreModifiedByFieldNumbers)
{
    for (const int Number : {1, 2, 3}) Add(Number);
    m_Reordering[0] = {
        .count = 2, .operation = {0, 1}, .value = {76, 0}}; // 81 - 77 is 4, 4 + 1 is 5: fields of frame 2
    EXPECT_THAT(Build(4), ElementsAre("2B", "2T", "3T", "3B"));
}

TEST_F(FieldLists, HolesAlternateFieldsOfTheLastPicture)
{
    Add(1);
    Add(2);
    EXPECT_THAT(Build(6), ElementsAre("2T", "2B", "1T", "1B", "1T", "1B"));
}

TEST_F(FieldLists, HolesNeverStandForTheFieldThatIsBeingDecoded)
{
    m_IsInLast = true;
    for (const bool IsBottom : {false, true}) {
        Add(40, IsBottom ? "T" : "B");
        m_Header.bottom_field_flag = IsBottom;
        if (IsBottom)
            EXPECT_THAT(Build(4), ElementsAre("40T", "40T", "40T", "40T"));
        else
            EXPECT_THAT(Build(4), ElementsAre("40B", "40B", "40B", "40B"));
        m_Dpb.Remove(m_pLast);
    }
}

} // namespace
