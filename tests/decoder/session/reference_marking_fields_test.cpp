// Marking of fields, and of references while pictures are in flight: on the frames themselves.
#include "tests/decoder/session/session_parts.h"

#include <initializer_list>
#include <utility>

namespace {

using namespace UMC;

class FieldMarking : public SessionParts
{
protected:
    // The picture of m_Slice in a field of a frame is complete; with commands, each an operation and two values.
    bool Mark(H264DecoderFrame& Frame, int Field, std::initializer_list<std::initializer_list<uint32_t>> Commands = {})
    {
        m_Slice.m_Header.nal_ref_idc = 1;
        m_Slice.m_Header.adaptive_ref_pic_marking_mode_flag = Commands.size() > 0;
        AdaptiveMarking& Marking = Frame.m_Au[Field].m_Marking = {};
        for (const auto& Command : Commands) {
            Marking.operation[Marking.count] = static_cast<uint8_t>(Command.begin()[0]);
            Marking.value[Marking.count][0] = Command.size() > 1 ? Command.begin()[1] : 0;
            Marking.value[Marking.count++][1] = Command.size() > 2 ? Command.begin()[2] : 0;
        }
        m_Store.Dpb().ComputePicNums(m_Slice.m_Header, 16);
        Frame.m_Au[Field].m_Slices = {&m_Slice};
        const bool IsReset = m_Marking.MarkReferences(Frame, Field);
        Frame.m_Au[Field].m_Slices.clear(); // the slice is the test's
        return IsReset;
    }
    void SetField(int32_t FrameNum, bool IsBottom)
    {
        m_Slice.m_Header.field_pic_flag = 1;
        m_Slice.m_Header.bottom_field_flag = IsBottom;
        m_Slice.m_Header.frame_num = FrameNum;
    }
};

TEST_F(FieldMarking, MarksTheFieldAlone)
{
    H264DecoderFrame& Frame = *Decoded(3);
    SetField(3, true);
    EXPECT_FALSE(Mark(Frame, 0));
    EXPECT_FALSE(Frame.m_IsShortTerm[0]);
    EXPECT_TRUE(Frame.m_IsShortTerm[1]);
    SetField(3, false);
    Mark(Frame, 1);
    EXPECT_TRUE(Frame.m_IsShortTerm[0]);
}

TEST_F(FieldMarking, WindowSlidesInFrontOfTheFirstFieldOnly)
{
    H264DecoderFrame* Old[4];
    for (int i = 0; i < 4; ++i) Old[i] = ShortTerm(i);
    H264DecoderFrame& Frame = *Decoded(4);
    SetField(4, false);
    Mark(Frame, 0);
    EXPECT_FALSE(Old[0]->IsReferenced());
    EXPECT_TRUE(Old[1]->IsReferenced());
    SetField(4, true);
    Mark(Frame, 1);
    EXPECT_TRUE(Old[1]->IsReferenced());
}

TEST_F(FieldMarking, CommandsNameFieldsByTheirParity)
{
    H264DecoderFrame& First = *ShortTerm(1);
    H264DecoderFrame& Second = *ShortTerm(2);
    H264DecoderFrame& Frame = *Decoded(3);
    SetField(3, false); // CurrPicNum 7: the top fields are 3 and 5, the bottom fields 2 and 4
    Mark(Frame, 0, {{1, 3}, {1, 2 - 1}});
    EXPECT_FALSE(First.m_IsShortTerm[0]) << "7 - 4";
    EXPECT_TRUE(First.m_IsShortTerm[1]);
    EXPECT_FALSE(Second.m_IsShortTerm[0]) << "7 - 2";
    EXPECT_TRUE(Second.m_IsShortTerm[1]);
}

TEST_F(FieldMarking, SecondFieldGetsTheLongTermIndexOfTheFirst)
{
    H264DecoderFrame& Reference = *ShortTerm(1);
    H264DecoderFrame& Frame = *Decoded(2);
    SetField(2, false); // CurrPicNum 5: 3 and 2
    Mark(Frame, 0, {{4, 1}, {3, 1, 0}, {3, 2, 0}});
    EXPECT_TRUE(Reference.m_IsLongTerm[0] && Reference.m_IsLongTerm[1]);
    EXPECT_FALSE(Reference.m_IsShortTerm[0] || Reference.m_IsShortTerm[1]);
    EXPECT_EQ(Reference.m_LongTermFrameIdx, 0);
}

TEST_F(FieldMarking, LongTermFieldsGoByNumberAndByIndex)
{
    H264DecoderFrame &First = *LongTerm(0), &Second = *LongTerm(3);
    H264DecoderFrame& Frame = *Decoded(2);
    SetField(2, false);
    Mark(Frame, 0, {{2, 0}, {4, 3}}); // the bottom field of index 0; no index above 2
    EXPECT_TRUE(First.m_IsLongTerm[0]);
    EXPECT_FALSE(First.m_IsLongTerm[1]);
    EXPECT_FALSE(Second.IsReferenced());
}

TEST_F(FieldMarking, MemoryResetLeavesThePictureAlone)
{
    H264DecoderFrame& Reference = *ShortTerm(1);
    H264DecoderFrame& Frame = *Decoded(2);
    Frame.m_PicOrderCnt[0] = 30;
    Frame.m_PicOrderCnt[1] = 27;
    m_PicOrder.FrameNumOffset = 32;
    m_Slice.m_Header.frame_num = 2;
    EXPECT_TRUE(Mark(Frame, 0, {{5}}));
    EXPECT_FALSE(Reference.IsReferenced());
    EXPECT_EQ(Reference.ResetCount(), 1);
    EXPECT_EQ(Frame.ResetCount(), 0);
    EXPECT_EQ(Frame.m_PicOrderCnt[0], 3);
    EXPECT_EQ(Frame.m_PicOrderCnt[1], 0);
    EXPECT_EQ(Frame.m_FrameNum, 0);
    EXPECT_EQ(m_PicOrder.FrameNumOffset, 0);
    EXPECT_EQ(m_PicOrder.PicOrderCntLsb, 3);
    EXPECT_TRUE(Frame.m_IsShortTerm[0] && Frame.m_IsShortTerm[1]);
}

// Deliberate: both counts of the frame lose the lesser one, though the picture is one of its fields alone.
TEST_F(FieldMarking, MemoryResetOfASecondFieldKeepsTheDistanceToTheFirst)
{
    H264DecoderFrame& Reference = *ShortTerm(1);
    H264DecoderFrame& Frame = *Decoded(2);
    Frame.m_IsShortTerm[0] = true;
    Frame.m_PicOrderCnt[0] = 30;
    Frame.m_PicOrderCnt[1] = 31;
    SetField(2, true);
    EXPECT_TRUE(Mark(Frame, 1, {{5}}));
    EXPECT_FALSE(Reference.IsReferenced());
    EXPECT_EQ(Frame.m_PicOrderCnt[0], 0);
    EXPECT_EQ(Frame.m_PicOrderCnt[1], 1);
    EXPECT_FALSE(Frame.m_IsShortTerm[0]) << "the first field is a reference like any other";
    EXPECT_TRUE(Frame.m_IsShortTerm[1]);
    EXPECT_EQ(m_PicOrder.PicOrderCntLsb, 0) << "of a bottom field";
}

TEST_F(FieldMarking, ReleasedReferencesOutliveThePicturesInFlight)
{
    H264DecoderFrame& Idle = *ShortTerm(0);
    m_Marking.RemoveAllReferences(nullptr);
    EXPECT_EQ(Idle.m_BusyCount, 0) << "nothing is in flight";

    H264DecoderFrame& Held = *ShortTerm(1);
    H264DecoderFrame& Made = *ShortTerm(2);
    Made.m_FrameExists = Made.m_WasOutputted = false;
    H264DecoderFrame& Current = *Decoded(3);
    Current.m_BusyCount = 2;
    Current.m_IsDisplayable = false;
    m_Frames.CurrentFrame = &Current;
    m_Marking.RemoveAllReferences(&Current);
    EXPECT_EQ(Held.m_BusyCount, 1);
    EXPECT_TRUE(Made.m_WasOutputted) << "never to be shown";
    m_Work.Finish(Current);
    EXPECT_EQ(Held.m_BusyCount, 0);
    EXPECT_EQ(Current.m_BusyCount, 0);
    EXPECT_TRUE(Current.m_IsDisplayable);
}

TEST_F(FieldMarking, ReferencesReleasedBetweenPicturesWaitForTheNext)
{
    H264DecoderFrame& Held = *ShortTerm(1);
    H264DecoderFrame& InBroker = *Decoded(2);
    InBroker.m_BusyCount = 2;
    m_Frames.FirstUncompleted = &InBroker;
    m_Marking.RemoveAllReferences(nullptr);
    EXPECT_EQ(Held.m_BusyCount, 1);
    H264DecoderFrame& Next = *Decoded(3);
    Next.m_BusyCount = 2;
    m_Work.Begin(Next);
    m_Work.Finish(Next);
    EXPECT_EQ(Held.m_BusyCount, 0);
}

TEST_F(FieldMarking, FramesThatStandForLostOnesAreShortTerm)
{
    H264DecoderFrame& Frame = *Decoded();
    m_Marking.MarkMadeUp(Frame);
    EXPECT_TRUE(Frame.m_IsShortTerm[0] && Frame.m_IsShortTerm[1]);
    EXPECT_FALSE(Frame.m_IsLongTerm[0] || Frame.m_IsLongTerm[1]);
}

TEST_F(FieldMarking, FieldThatDidNotComeIsWhatTheOtherIs)
{
    for (const int Missing : {0, 1})
        for (const auto& [IsShort, IsLong] : {std::pair{true, false}, {false, true}, {false, false}}) {
            SCOPED_TRACE(testing::Message() << Missing << IsShort << IsLong);
            H264DecoderFrame& Frame = *Decoded();
            Frame.m_IsShortTerm[1 - Missing] = IsShort;
            Frame.m_IsLongTerm[1 - Missing] = IsLong;
            m_Marking.MarkMissingField(Frame, Missing);
            for (int Field = 0; Field < 2; ++Field) {
                EXPECT_EQ(Frame.m_IsShortTerm[Field], IsShort);
                EXPECT_EQ(Frame.m_IsLongTerm[Field], IsLong);
            }
        }
}

TEST_F(FieldMarking, ReferencesOfAnotherFormatGo)
{
    H264DecoderFrame& Old = *ShortTerm(1);
    m_Seq.frame_width_in_mbs = 2;
    H264DecoderFrame& New = *ShortTerm(2);
    m_Marking.RemoveUnusableReferences(New.m_Format);
    EXPECT_FALSE(Old.IsReferenced());
    EXPECT_TRUE(New.IsReferenced());
}

} // namespace
