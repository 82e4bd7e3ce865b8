// Marking commands in streams of fields: what the lists of later fields hold, as ffmpeg has it.
#include "tests/decoder/random_fields.h"

namespace {

using namespace test;

constexpr uint32_t kP = 5;
using Commands = std::vector<std::vector<uint32_t>>;

// P fields whose blocks refer to everything that is marked. The first four frames are short-term.
class FieldCommands : public testing::TestWithParam<bool>
{
protected:
    FieldCommands() : m_In({.profile_idc = 77, .num_ref_frames = 4, .vui = ReorderVui(0, 4)}, {}, 81)
    {
        m_In.StartPairs(4);
    }
    // The next frame, with commands in each field and as many references as each has.
    void Next(const Commands& First, const Commands& Second, uint32_t FirstRefs, uint32_t SecondRefs)
    {
        Slice s = Typed(kP, m_FrameNum, m_Poc);
        s.field = true;
        for (const bool IsSecond : {false, true}) {
            s.bottom = IsSecond != GetParam();
            s.poc_lsb = m_Poc + IsSecond;
            s.marking = IsSecond ? Second : First;
            s.num_ref_idx[0] = IsSecond ? SecondRefs : FirstRefs;
            m_In.Add(s, {.intra = 0});
        }
        ++m_In.Pictures;
        ++m_FrameNum;
        m_Poc += 2;
    }
    // A field's number seen from the first field of the next frame, as commands 1 and 3 tell it.
    uint32_t Difference(uint32_t FrameNum, bool IsSecondField) const
    {
        return 2 * (m_FrameNum - FrameNum) + IsSecondField - 1;
    }
    Commands Both(uint32_t FrameNum) const
    {
        return {{1, Difference(FrameNum, false)}, {1, Difference(FrameNum, true)}};
    }
    static Commands Join(Commands a, const Commands& b)
    {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    }

    FieldStream m_In;
    uint32_t m_FrameNum = 4, m_Poc = 8;
};

TEST_P(FieldCommands, FreeShortTermFields)
{
    Next(Both(1), {}, 8, 7);                                    // not the oldest
    Next(Join(Both(2), {{1, Difference(3, false)}}), {}, 8, 6); // one field of frame 3 is left
    Next(Join(Both(0), {{1, Difference(4, true)}}), {}, 7, 5);
    Next({{1, Difference(3, true)}, {1, Difference(4, false)}}, {}, 6, 5); // and what was left of both
    for (int i = 0; i < 4; ++i) Next({}, {}, 6, 5);                        // the window slides again
    m_In.ExpectAsFfmpeg();
}

TEST_P(FieldCommands, MakeFieldsLongTerm)
{
    Next(Join({{4, 2}, {3, Difference(1, false), 0}, {3, Difference(1, true), 0}}, Both(0)), {}, 8, 7);
    Next(Join(Both(2), {{3, Difference(3, false), 1}, {3, Difference(3, true), 1}}), {}, 8, 7);
    Next({}, {}, 8, 7);
    Next({{2, 1}, {2, 0}}, {}, 8, 7); // index 0: that of the own parity is 1
    Next({{4, 0}}, {}, 8, 7);
    for (int i = 0; i < 3; ++i) Next({}, {}, 6, 5);
    m_In.ExpectAsFfmpeg();
}

TEST_P(FieldCommands, NameLongTermFieldsInLists)
{
    Next(Join({{4, 1}, {3, Difference(1, false), 0}, {3, Difference(1, true), 0}}, Both(0)), {}, 8, 7);
    for (int i = 0; i < 3; ++i) {
        Slice s = Typed(kP, m_FrameNum++, m_Poc);
        s.field = true;
        s.num_ref_idx[0] = 4;
        for (const bool IsSecond : {false, true}) {
            s.bottom = IsSecond != GetParam();
            s.poc_lsb = m_Poc + IsSecond;
            s.reordering[0] = {{2, 0}, {0, IsSecond ? 2u : 1u}, {2, 1}}; // the other parity, short-term, the own one
            m_In.Add(s, {.intra = 0});
        }
        m_Poc += 2;
        ++m_In.Pictures;
    }
    m_In.ExpectAsFfmpeg();
}

// The second field counts on from 0, and so do the frames behind.
TEST_P(FieldCommands, BeginAnewInAFirstField)
{
    Slice s = Typed(kP, m_FrameNum, m_Poc);
    s.field = true;
    s.bottom = GetParam();
    s.num_ref_idx[0] = 8;
    s.marking = {{5}};
    m_In.Add(s, {.intra = 0});
    s = Typed(kP, 0, 1);
    s.field = true;
    s.bottom = !GetParam();
    s.num_ref_idx[0] = 1;
    m_In.Add(s, {.intra = 0});
    ++m_In.Pictures;
    m_FrameNum = 1;
    m_Poc = 2;
    Next({}, {}, 2, 3);
    Next({}, {}, 4, 5);
    m_In.ExpectAsFfmpeg();
}

// The first field goes with all other references: behind the frame there is its second field alone.
TEST_P(FieldCommands, BeginAnewInASecondField)
{
    Next({}, {{5}}, 8, 7);
    Slice s = Typed(kP, m_FrameNum = 1, m_Poc);
    s.field = true;
    s.num_ref_idx[0] = 1;
    for (const bool IsSecond : {false, true}) {
        s.bottom = IsSecond != GetParam();
        s.poc_lsb = m_Poc + IsSecond;
        m_In.Add(s, {.intra = 0});
    }
    ++m_In.Pictures;
    ++m_FrameNum;
    m_Poc += 2;
    Next({}, {}, 3, 4);
    m_In.ExpectAsFfmpeg();
}

// What ffmpeg does not keep apart: of one value each, so that a copy tells which field stands where in a list.
Slice Refs(uint32_t FrameNum, uint32_t Poc, uint32_t Count)
{
    Slice s = Numbered(FrameNum, Poc);
    s.num_ref_idx[0] = Count;
    return s;
}
Slice Commanded(uint32_t FrameNum, uint32_t Poc, const Commands& Marking)
{
    Slice s = Numbered(FrameNum, Poc);
    s.marking = Marking;
    return s;
}

TEST(FieldMarks, OfALongTermPairStandBehindTheShortTermFields)
{
    GreyFields In;
    In.Field(10, false, {.nal_unit_type = 5}).Field(20, true, Numbered(0, 1));
    In.Field(30, false, Commanded(1, 2, {{4, 1}, {6, 0}})).Field(40, true, Commanded(1, 3, {{6, 0}}));
    In.Field(50, false, Numbered(2, 4)).Field(60, true, Numbered(2, 5));
    // 50, 60, 10, 20, then 30; and 60, the first field, 20, 50, 10, then 40.
    In.CopyField(4, false, Refs(3, 6, 6)).CopyField(5, true, Refs(3, 7, 7));
    EXPECT_EQ(In.Values().back(), (std::array{30, 40}));
}

TEST(FieldMarks, MayDifferWithinAFrame)
{
    GreyFields In;
    In.Field(10, false, {.nal_unit_type = 5}).Field(20, true, Numbered(0, 1));
    In.Field(30, false, Numbered(1, 2)).Field(40, true, Numbered(1, 3));
    // Seen from the third frame's top field the first frame's bottom field is 5 below, its top field 4.
    In.Field(50, false, Commanded(2, 4, {{4, 1}, {3, 4, 0}, {1, 3}})).Field(60, true, Numbered(2, 5));
    // 50, 60, 30, 40, then 20; and 60, the first field, 40, 50, 30, then 20.
    In.CopyField(4, false, Refs(3, 6, 5)).CopyField(5, true, Refs(3, 7, 6));
    EXPECT_EQ(In.Values().back(), (std::array{20, 20}));
}

INSTANTIATE_TEST_SUITE_P(Parity, FieldCommands, testing::Bool(),
                         [](const auto& Info) { return Info.param ? "BottomFirst" : "TopFirst"; });

} // namespace
