// Gaps in frame_num, and pictures that never came to be.
#include "tests/decoder/random_fields.h"

#include <gmock/gmock.h>

namespace {

using namespace test;
using testing::ElementsAre;

// One macroblock, one value a picture.
struct GapStream {
    SeqParamSet Seq;
    PicParamSet Pic;
    Bytes Data = Write(Seq) + Write(Pic);

    explicit GapStream(const SeqParamSet& s) : Seq(s), Data(Write(s) + Write(Pic))
    {
        Data += PcmSlice(Seq, Pic, {.nal_unit_type = 5}, 10);
    }
    GapStream& Intra(uint8_t Value, const Slice& s)
    {
        Data += PcmSlice(Seq, Pic, s, Value);
        return *this;
    }
    // A picture that is no reference for each of the references that its list holds.
    GapStream& CopyAll(Slice s, uint32_t Count)
    {
        s.nal_ref_idc = 0;
        s.num_ref_idx[0] = Count;
        for (uint32_t RefIdx = 0; RefIdx < Count; ++RefIdx, s.poc_lsb += 1) Data += CopySlice(Seq, Pic, s, RefIdx);
        return *this;
    }
};

constexpr int kGrey = 128;

TEST(FrameNumGaps, FillTheWindowWithFramesThatAreNeverShown)
{
    for (const uint32_t Type : {0u, 1u, 2u}) {
        SCOPED_TRACE(Type);
        GapStream In({.poc_type = Type, .offset_for_ref_frame = {2}, .num_ref_frames = 4, .gaps_allowed = true});
        In.Intra(20, Numbered(1, 8)).Intra(30, Numbered(4, 16)); // 2 and 3 are left out
        In.CopyAll(Numbered(5, 24), 4);
        EXPECT_THAT(DecodeValues(In.Data), ElementsAre(10, 20, 30, 30, kGrey, kGrey, 20));
    }
}

TEST(FrameNumGaps, PushEverythingOutWhenTheyAreLong)
{
    // Over the wrap: 14 is followed by 4, and five frames are left out.
    GapStream In({.log2_max_frame_num = 4, .num_ref_frames = 3, .gaps_allowed = true});
    for (uint32_t i = 1; i < 15; ++i) In.Intra(static_cast<uint8_t>(10 + i), Numbered(i, 2 * i));
    In.Intra(50, Numbered(4, 40)).CopyAll(Numbered(5, 42), 3);
    const auto Values = DecodeValues(In.Data);
    EXPECT_THAT(std::vector<int>(Values.end() - 4, Values.end()), ElementsAre(50, 50, kGrey, kGrey));
}

TEST(FrameNumGaps, SpareLongTermPictures)
{
    const SeqParamSet Seq{.num_ref_frames = 3, .gaps_allowed = true};
    GapStream In(Seq);
    Slice Long = Numbered(1, 8);
    Long.marking = {{4, 1}, {3, 0, 0}}; // the IDR picture
    In.Intra(20, Long).Intra(30, Numbered(9, 16)).CopyAll(Numbered(10, 24), 3);
    EXPECT_THAT(DecodeValues(In.Data), ElementsAre(10, 20, 30, 30, kGrey, 10));
}

TEST(FrameNumGaps, AreNoneAtARepeatedOrTheNextNumberAndAtAnIdrPicture)
{
    GapStream In({.log2_max_frame_num = 4, .num_ref_frames = 4, .gaps_allowed = true});
    In.Intra(20, Numbered(1, 8, 0)).Intra(30, Numbered(1, 16)); // no reference, then one of the same number
    In.CopyAll(Numbered(2, 24), 2);
    In.Data += PcmSlice(In.Seq, In.Pic, {.nal_unit_type = 5, .frame_num = 0, .idr_pic_id = 1}, 40);
    In.CopyAll(Numbered(1, 2), 1);
    EXPECT_THAT(DecodeValues(In.Data), ElementsAre(10, 20, 30, 30, 10, 40, 40));
}

TEST(FrameNumGaps, ReferencesBeyondThemAreFfmpegs)
{
    for (const uint32_t Type : {0u, 1u, 2u})
        for (const uint32_t Missing : {1u, 2u}) {
            SCOPED_TRACE(testing::Message() << Type << ", " << Missing);
            RandomStream In({.log2_max_frame_num = 8,
                             .poc_type = Type,
                             .offset_for_ref_frame = {2},
                             .num_ref_frames = 4,
                             .gaps_allowed = true},
                            {}, 30 + Missing);
            In.Start(4);
            uint32_t FrameNum = 4, Poc = 8;
            for (int i = 0; i < 8; ++i) {
                FrameNum += Missing;
                Slice s = Numbered(FrameNum++, Poc += 2);
                s.reordering[0] = {{0, Missing}}; // the last one that was sent, and the one before while it is held
                if (Missing == 1) s.reordering[0].push_back({0, 1});
                s.num_ref_idx[0] = static_cast<uint32_t>(s.reordering[0].size());
                In.P(s);
            }
            In.ExpectAsFfmpeg();
        }
}

TEST(GivenUpPictures, LeaveTheirFrameNumAsAGap)
{
    // The second picture belongs to a parameter set of 4:4:4, which its profile does not have.
    const SeqParamSet Seq{.num_ref_frames = 4, .gaps_allowed = true};
    GapStream In(Seq);
    const SeqParamSet Other{
        .profile_idc = 122, .id = 1, .chroma_format_idc = 3, .num_ref_frames = 4, .gaps_allowed = true};
    const PicParamSet OtherPic{.id = 1, .seq_id = 1};
    Slice Refused = Numbered(1, 8);
    Refused.pps_id = 1;
    In.Data += Write(Other) + Write(OtherPic) + PcmSlice(Other, OtherPic, Refused, 20);
    In.Intra(30, Numbered(2, 16)).CopyAll(Numbered(3, 24), 3);
    EXPECT_THAT(DecodeValues(In.Data), ElementsAre(10, 30, 30, kGrey, 10));
}

// ---- Field pictures ---------------------------------------------------------------------------------------------

using Pair = std::array<int, 2>;

// A pair for each entry of the lists of both fields, which are no references.
void CopyFields(GreyFields& In, uint32_t FrameNum, uint32_t Poc, uint32_t Count)
{
    for (uint32_t RefIdx = 0; RefIdx < Count; ++RefIdx)
        for (const bool IsBottom : {false, true}) {
            Slice s = Numbered(FrameNum, Poc++, 0);
            s.num_ref_idx[0] = Count;
            In.CopyField(RefIdx, IsBottom, s);
        }
}

TEST(FieldGaps, FillTheWindowWithFramesOfTwoFields)
{
    for (const uint32_t Type : {0u, 1u, 2u}) {
        SCOPED_TRACE(Type);
        GreyFields In({.profile_idc = 77,
                       .poc_type = Type,
                       .offset_for_ref_frame = {8},
                       .num_ref_frames = 4,
                       .gaps_allowed = true},
                      {.pic_order_present = false});
        In.Field(10, false, {.nal_unit_type = 5}).Field(20, true, Numbered(0, 1));
        In.Field(30, true, Numbered(1, 8)).Field(40, false, Numbered(1, 9));
        In.Field(50, false, Numbered(4, 16)).Field(60, true, Numbered(4, 17)); // 2 and 3 are left out
        if (Type == 0) {
            CopyFields(In, 5, 24, 8);
            EXPECT_THAT(In.Values(), ElementsAre(Pair{10, 20}, Pair{40, 30}, Pair{50, 60}, Pair{50, 60}, Pair{60, 50},
                                                 Pair{kGrey, kGrey}, Pair{kGrey, kGrey}, Pair{kGrey, kGrey},
                                                 Pair{kGrey, kGrey}, Pair{40, 30}, Pair{30, 40}));
        } else {
            EXPECT_THAT(In.Values(), ElementsAre(Pair{10, 20}, Pair{40, 30}, Pair{50, 60}));
        }
    }
}

TEST(FieldGaps, BehindALoneFieldLeaveItWhole)
{
    GreyFields In({.profile_idc = 77, .num_ref_frames = 4, .gaps_allowed = true});
    In.Field(10, false, {.nal_unit_type = 5}).Field(20, true, Numbered(0, 1));
    In.Field(30, false, Numbered(1, 2)).Frame(50, Numbered(3, 8)); // a lone field, then a gap of one
    Slice s = Numbered(4, 16, 0);
    s.num_ref_idx[0] = 4;
    for (uint32_t RefIdx = 0; RefIdx < 4; ++RefIdx, s.poc_lsb += 2) In.CopyFrame(RefIdx, s);
    EXPECT_THAT(In.Values(), ElementsAre(Pair{10, 20}, Pair{30, kGrey}, Pair{50, 50}, Pair{50, 50}, Pair{kGrey, kGrey},
                                         Pair{30, kGrey}, Pair{10, 20}));
}

// A second field makes its pair whatever its frame_num is, so that no gap can be in front of it.
TEST(FieldGaps, AreNoneBetweenTheFieldsOfAFrame)
{
    GreyFields In({.profile_idc = 77, .num_ref_frames = 4, .gaps_allowed = true});
    In.Field(10, false, {.nal_unit_type = 5}).Field(20, true, Numbered(5, 1));
    In.Frame(30, Numbered(6, 4));
    Slice s = Numbered(7, 8, 0);
    s.num_ref_idx[0] = 2;
    In.CopyFrame(0, s);
    s.poc_lsb = 10;
    In.CopyFrame(1, s);
    EXPECT_THAT(In.Values(), ElementsAre(Pair{10, 20}, Pair{30, 30}, Pair{30, 30}, Pair{10, 20}));
}

// Without the flag of the sequence the lists have fewer entries, and holes are filled with the last picture.
TEST(FieldGaps, WithoutTheFlagAreLosses)
{
    GreyFields In({.profile_idc = 77, .num_ref_frames = 4});
    In.Field(10, false, {.nal_unit_type = 5}).Field(20, true, Numbered(0, 1));
    In.Field(50, false, Numbered(3, 16)).Field(60, true, Numbered(3, 17));
    CopyFields(In, 4, 24, 6);
    // Of the six the first four are fields; the fifth and the sixth are those of the oldest frame, the top field first.
    EXPECT_THAT(In.Values(), ElementsAre(Pair{10, 20}, Pair{50, 60}, Pair{50, 60}, Pair{60, 50}, Pair{10, 20},
                                         Pair{20, 10}, Pair{10, 10}, Pair{20, 20}));
}

} // namespace
