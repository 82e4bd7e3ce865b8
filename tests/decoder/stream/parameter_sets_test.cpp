// Parameter sets and SEI: what is accepted, what the records hold, and the store behind them.
#include "decoder/stream/headers_store.h"
#include "decoder/stream/nal_splitter.h"
#include "decoder/stream/seq_info.h"
#include "tests/decoder/parsed_unit.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>

namespace {

using namespace UMC;
using test::BitWriter;
using test::Unit;
using test::operator+;

Status ParseSeq(const test::SeqParamSet& Set, H264SeqParamSet& Out)
{
    Unit Data(Write(Set));
    return ReadSeqParamSet(Data.Bits, Out);
}
Status ParseSeq(const test::SeqParamSet& Set)
{
    H264SeqParamSet Out;
    return ParseSeq(Set, Out);
}

TEST(SeqParamSets, ProfilesAndLevels)
{
    for (uint32_t Profile = 0; Profile < 256; ++Profile) {
        const bool Known = Profile == 66 || Profile == 77 || Profile == 88 || Profile == 100 || Profile == 110 ||
                           Profile == 122 || Profile == 144 || Profile == 166 || Profile == 188;
        EXPECT_EQ(ParseSeq({.profile_idc = Profile}), Known ? StatusOk : StatusInvalidParams) << Profile;
    }
    for (uint32_t Level = 0; Level < 256; ++Level) {
        const bool Known = (Level >= 10 && Level <= 13) || (Level >= 20 && Level <= 22) ||
                           (Level >= 30 && Level <= 32) || (Level >= 40 && Level <= 42) || Level == 50 || Level == 51;
        EXPECT_EQ(ParseSeq({.level_idc = Level}), Known ? StatusOk : StatusInvalidParams) << Level;
    }
}

TEST(SeqParamSets, LimitsOfTheElements)
{
    EXPECT_EQ(ParseSeq({.id = 31}), StatusOk);
    EXPECT_EQ(ParseSeq({.id = 32}), StatusInvalidParams);
    EXPECT_EQ(ParseSeq({.log2_max_frame_num = 16}), StatusOk);
    EXPECT_EQ(ParseSeq({.log2_max_frame_num = 17}), StatusInvalidParams);
    EXPECT_EQ(ParseSeq({.poc_type = 2}), StatusOk);
    EXPECT_EQ(ParseSeq({.poc_type = 3}), StatusInvalidParams);
    EXPECT_EQ(ParseSeq({.log2_max_poc_lsb = 17}), StatusInvalidParams);
    EXPECT_EQ(ParseSeq({.num_ref_frames = 16}), StatusOk);
    EXPECT_EQ(ParseSeq({.num_ref_frames = 17}), StatusInvalidParams);
    EXPECT_EQ(ParseSeq({.profile_idc = 144, .chroma_format_idc = 3}), StatusOk);
    EXPECT_EQ(ParseSeq({.profile_idc = 144, .chroma_format_idc = 3, .residual_colour_transform = true}),
              StatusUnsupported);
}

TEST(SeqParamSets, DerivedFields)
{
    H264SeqParamSet Set;
    ASSERT_EQ(ParseSeq({.profile_idc = 110,
                        .bit_depth = 10,
                        .log2_max_frame_num = 7,
                        .log2_max_poc_lsb = 9,
                        .width_mbs = 5,
                        .height_map_units = 3,
                        .frame_mbs_only = false,
                        .mbaff = true},
                       Set),
              StatusOk);
    EXPECT_EQ(Set.bit_depth_luma, 10);
    EXPECT_EQ(Set.log2_max_frame_num, 7);
    EXPECT_EQ(Set.MaxPicOrderCntLsb, 512u);
    EXPECT_EQ(Set.frame_width_in_mbs, 5u);
    EXPECT_EQ(Set.frame_height_in_mbs, 6u) << "doubled";
    EXPECT_EQ(Set.direct_8x8_inference_flag, 1);
    EXPECT_EQ(Set.mb_adaptive_frame_field_flag, 1);
}

TEST(SeqParamSets, ExtendedBlockBelongsToFourProfilesOnly)
{
    H264SeqParamSet Set;
    ASSERT_EQ(ParseSeq({.profile_idc = 122, .chroma_format_idc = 2}, Set), StatusOk);
    EXPECT_EQ(Set.chroma_format_idc, 2);
    ASSERT_EQ(ParseSeq({.profile_idc = 166}, Set), StatusOk);
    EXPECT_EQ(Set.chroma_format_idc, 1);
    EXPECT_EQ(Set.bit_depth_luma, 8);
    EXPECT_EQ(Set.scaling.List8x8[1][63], 16);
}

TEST(SeqParamSets, PicOrderCycle)
{
    H264SeqParamSet Set;
    ASSERT_EQ(ParseSeq({.poc_type = 1, .offset_for_ref_frame = {2, -3, 100}, .offset_for_non_ref_pic = -1}, Set),
              StatusOk);
    EXPECT_THAT(Set.offset_for_ref_frame, testing::ElementsAre(2, -3, 100));
    EXPECT_EQ(Set.offset_for_non_ref_pic, -1);
}

TEST(SeqParamSets, VuiTimingReadsAsZeroAndIsConsumed)
{
    test::SeqParamSet In;
    const auto Put = [&](int Count, uint32_t Value) {
        for (int i = Count - 1; i >= 0; --i) In.vui.push_back(static_cast<uint8_t>(Value >> i & 1));
    };
    Put(1, 1); // aspect ratio
    Put(8, 255);
    Put(16, 40);
    Put(16, 33);
    Put(3, 0); // overscan, video signal, chroma location
    Put(1, 1); // timing
    Put(32, 1001);
    Put(32, 60000);
    Put(1, 1);
    Put(4, 0); // both HRDs, pic_struct, restriction
    H264SeqParamSet Set;
    ASSERT_EQ(ParseSeq(In, Set), StatusOk);
    EXPECT_EQ(Set.vui.sar_width, 40);
    EXPECT_EQ(Set.vui.sar_height, 33);
    EXPECT_EQ(Set.vui.num_units_in_tick, 0u);
    EXPECT_EQ(Set.vui.time_scale, 0u);
    EXPECT_EQ(Set.vui.fixed_frame_rate_flag, 1);
}

TEST(SeqParamSets, TruncatedSetIsRefused)
{
    const test::Bytes Whole = Write(test::SeqParamSet{.profile_idc = 100, .width_mbs = 300, .height_map_units = 300});
    for (size_t Size = 5; Size + 2 < Whole.size(); ++Size) { // the last bits are flags, which may read as 0
        H264SeqParamSet Set;
        Unit Cut(test::Bytes(Whole.begin(), Whole.begin() + static_cast<ptrdiff_t>(Size)));
        EXPECT_EQ(ReadSeqParamSet(Cut.Bits, Set), StatusInvalidParams) << Size;
    }
}

TEST(SeqParamSets, BufferSizeByLevel)
{
    const auto Frames = [](uint32_t Level, uint32_t Width, uint32_t Height) {
        H264SeqParamSet Set;
        EXPECT_EQ(ParseSeq({.level_idc = Level, .width_mbs = Width, .height_map_units = Height}, Set), StatusOk);
        return DpbFrames(Set);
    };
    EXPECT_EQ(Frames(40, 120, 68), 4);
    EXPECT_EQ(Frames(51, 11, 9), 16);
    EXPECT_EQ(Frames(10, 11, 9), 4);
    EXPECT_EQ(Frames(10, 120, 68), 0) << "a result of 0 is kept";
}

// A picture set behind its sequence set, with bits of the extension to choose.
struct PicSets {
    Headers Store;
    H264PicParamSet Set;
    explicit PicSets(const test::SeqParamSet& Seq = {})
    {
        H264SeqParamSet Record;
        EXPECT_EQ(ParseSeq(Seq, Record), StatusOk);
        Store.m_SeqParamSets.Add(Record, true);
    }
    Status Parse(const test::Bytes& Data)
    {
        Unit In(Data);
        return ReadPicParamSet(In.Bits, Store, Set);
    }
};

TEST(PicParamSets, LimitsOfTheElements)
{
    PicSets Sets;
    EXPECT_EQ(Sets.Parse(Write(test::PicParamSet{.id = 255})), StatusOk);
    EXPECT_EQ(Sets.Parse(Write(test::PicParamSet{.id = 256})), StatusInvalidParams);
    EXPECT_EQ(Sets.Parse(Write(test::PicParamSet{.seq_id = 1})), StatusInvalidParams) << "unknown sequence set";
    EXPECT_EQ(Sets.Parse(Write(test::PicParamSet{.seq_id = 32})), StatusInvalidParams);
    EXPECT_EQ(Sets.Parse(Write(test::PicParamSet{.num_ref_idx = {32, 1}})), StatusOk);
    EXPECT_EQ(Sets.Parse(Write(test::PicParamSet{.num_ref_idx = {33, 1}})), StatusInvalidParams);
    EXPECT_EQ(Sets.Parse(Write(test::PicParamSet{.num_ref_idx = {1, 33}})), StatusInvalidParams);
}

TEST(PicParamSets, TrailingZeroBytesAreNoExtension)
{
    PicSets Sets;
    ASSERT_EQ(Sets.Parse(Write(test::PicParamSet{}) + test::Bytes(5, 0)), StatusOk);
    EXPECT_EQ(Sets.Set.transform_8x8_mode_flag, 0);
    EXPECT_EQ(Sets.Set.chroma_qp_index_offset[1], Sets.Set.chroma_qp_index_offset[0]);
}

// The elements up to the extension of a set with one slice group.
BitWriter PlainPicParamSet()
{
    BitWriter b;
    for (int i = 0; i < 2; ++i) b.UE(0);
    b.U(2, 0);
    for (int i = 0; i < 3; ++i) b.UE(0);
    b.U(3, 0);
    for (int i = 0; i < 2; ++i) b.SE(0);
    b.SE(-2);
    b.U(3, 0);
    return b;
}

TEST(PicParamSets, ScalingListsFollowRuleA)
{
    PicSets Sets({.profile_idc = 100});
    BitWriter b = PlainPicParamSet();
    b.U(1, 1);
    b.U(1, 1);
    b.U(1, 0); // list 0: default
    b.U(1, 1); // list 1: all 20
    b.SE(12);
    for (int i = 0; i < 15; ++i) b.SE(0);
    b.U(1, 0); // list 2: as list 1
    b.U(1, 1); // list 3: asks for the default
    b.SE(-8);
    b.U(4, 0); // lists 4 to 7: absent
    b.SE(5);
    b.TrailingBits();
    ASSERT_EQ(Sets.Parse(test::NalUnit(3, 8, b.Data())), StatusOk);
    const H264ScalingLists& Lists = Sets.Set.scaling;
    EXPECT_EQ(Lists.List4x4[0][0], 6);
    EXPECT_EQ(Lists.List4x4[0][15], 42);
    EXPECT_EQ(Lists.List4x4[1][7], 20);
    EXPECT_EQ(Lists.List4x4[2][15], 20);
    EXPECT_EQ(Lists.List4x4[3][0], 10);
    EXPECT_EQ(Lists.List4x4[5][15], 34);
    EXPECT_EQ(Lists.List8x8[0][0], 6);
    EXPECT_EQ(Lists.List8x8[1][63], 35);
    EXPECT_EQ(Lists.Status4x4[1], 2);
    EXPECT_EQ(Lists.Status4x4[3], 1);
    EXPECT_EQ(Sets.Set.chroma_qp_index_offset[0], -2);
    EXPECT_EQ(Sets.Set.chroma_qp_index_offset[1], 5);
    EXPECT_EQ(Sets.Set.level_scale.Scale4x4[1][0][0], 20 * 10);
    EXPECT_EQ(Sets.Set.level_scale.Scale4x4[1][13 % 6][0], 20 * 11);
    EXPECT_EQ(Sets.Set.level_scale.Scale8x8[0][87 % 6][0], 6 * 28);
}

TEST(PicParamSets, SliceGroupsAreChecked)
{
    PicSets Sets({.width_mbs = 4, .height_map_units = 3});
    const auto WithGroups = [](auto&& WriteGroups) {
        BitWriter b;
        b.UE(0);
        b.UE(0);
        b.U(2, 0);
        WriteGroups(b);
        b.UE(0);
        b.UE(0);
        b.U(3, 0);
        for (int i = 0; i < 3; ++i) b.SE(0);
        b.U(3, 0);
        b.TrailingBits();
        return test::NalUnit(3, 8, b.Data());
    };
    const auto Values = [&](std::vector<uint32_t> List) {
        return WithGroups([&](BitWriter& b) {
            for (const uint32_t Value : List) b.UE(Value);
        });
    };
    EXPECT_EQ(Sets.Parse(Values({1, 0, 11, 0})), StatusOk);
    EXPECT_EQ(Sets.Set.run_length[0], 12u);
    EXPECT_EQ(Sets.Parse(Values({1, 0, 12, 0})), StatusInvalidParams);
    EXPECT_EQ(Sets.Parse(Values({8, 1})), StatusInvalidParams);
    EXPECT_EQ(Sets.Parse(Values({1, 7})), StatusInvalidParams);
    EXPECT_EQ(Sets.Parse(Values({1, 2, 1, 6})), StatusOk);
    EXPECT_EQ(Sets.Parse(Values({1, 2, 6, 1})), StatusInvalidParams);
    EXPECT_EQ(Sets.Parse(Values({1, 2, 1, 12})), StatusInvalidParams);
    EXPECT_EQ(Sets.Parse(Values({1, 2, 2, 5})), StatusInvalidParams) << "column of the right corner to the left";
    const auto Changing = [&](uint32_t Groups, uint32_t Rate) {
        return WithGroups([&](BitWriter& b) {
            b.UE(Groups - 1);
            b.UE(4);
            b.U(1, 1);
            b.UE(Rate - 1);
        });
    };
    EXPECT_EQ(Sets.Parse(Changing(2, 12)), StatusOk);
    EXPECT_EQ(Sets.Parse(Changing(2, 13)), StatusInvalidParams);
    EXPECT_EQ(Sets.Parse(Changing(3, 12)), StatusInvalidParams);
    const auto Explicit = [&](uint32_t Units, uint32_t Id) {
        return WithGroups([&](BitWriter& b) {
            b.UE(2);
            b.UE(6);
            b.UE(Units - 1);
            for (uint32_t i = 0; i < Units; ++i) b.U(2, Id);
        });
    };
    EXPECT_EQ(Sets.Parse(Explicit(12, 2)), StatusOk);
    EXPECT_EQ(Sets.Parse(Explicit(12, 3)), StatusInvalidParams);
    EXPECT_EQ(Sets.Parse(Explicit(11, 2)), StatusInvalidParams);
}

TEST(SeqExtensions, LimitsOfTheElements)
{
    const auto Parse = [](uint32_t Id, uint32_t Format, uint32_t Depth, H264SeqParamSetExtension& Out) {
        Unit In(Write(test::SeqParamSetExtension{Id, Format, Depth, true, 0x1FF, 0x102}));
        return ReadSeqParamSetExtension(In.Bits, Out);
    };
    H264SeqParamSetExtension Out;
    EXPECT_EQ(Parse(31, 2, 12, Out), StatusOk);
    EXPECT_EQ(Out.aux_format_idc, 2);
    EXPECT_EQ(Out.alpha_opaque_value, 0xFF) << "the low 8 bits";
    EXPECT_EQ(Out.alpha_transparent_value, 0x02);
    EXPECT_EQ(Parse(32, 0, 8, Out), StatusInvalidParams);
    EXPECT_EQ(Parse(0, 1, 13, Out), StatusInvalidParams);
    EXPECT_EQ(Parse(0, 4, 8, Out), StatusInvalidParams);
}

TEST(SeiMessages, RecoveryPoint)
{
    BitWriter Payload;
    Payload.UE(5);
    Payload.U(1, 1);
    Payload.U(1, 0);
    Payload.U(2, 2);
    Payload.Align();
    BitWriter b;
    b.U(8, 6);
    b.U(8, static_cast<uint32_t>(Payload.Data().size()));
    for (const uint8_t Byte : Payload.Data()) b.U(8, Byte);
    b.U(8, 255); // a type of 255 + 3 becomes 19
    b.U(8, 3);
    b.U(8, 1);
    b.U(8, 0x77);
    b.TrailingBits();
    Unit Sei(test::NalUnit(0, 6, b.Data()));
    H264SEIPayLoad Message;
    ReadSeiMessage(Sei.Bits, nullptr, Message);
    EXPECT_EQ(Message.PayloadType, 6u);
    EXPECT_EQ(Message.recovery_point, (SeiRecoveryPoint{5, 1, 0, 2}));
    EXPECT_TRUE(Sei.Bits.MoreRbspData());
    ReadSeiMessage(Sei.Bits, nullptr, Message);
    EXPECT_EQ(Message.PayloadType, 19u);
    EXPECT_FALSE(Sei.Bits.MoreRbspData());
}

TEST(SeiMessages, UserDataKeepsItsBytes)
{
    Unit Sei(test::NalUnit(0, 6, {4, 4, 0xB5, 1, 2, 3, 0x80}));
    H264SEIPayLoad Message;
    ReadSeiMessage(Sei.Bits, nullptr, Message);
    EXPECT_EQ(Message.user_data_registered.itu_t_t35_country_code, 0xB5);
    EXPECT_EQ(Message.PayloadSize, 3u);
    EXPECT_THAT(Message.user_data, testing::ElementsAre(1, 2, 3, 0));
}

TEST(SeiMessages, SizeBeyondTheUnitThrows)
{
    Unit Sei(test::NalUnit(0, 6, {6, 200, 0x80}));
    H264SEIPayLoad Message;
    EXPECT_THROW(ReadSeiMessage(Sei.Bits, nullptr, Message), h264_exception);
}

H264SeqParamSet SeqRecord(uint8_t Id, uint32_t References)
{
    H264SeqParamSet Set{};
    Set.seq_parameter_set_id = Id;
    Set.num_ref_frames = References;
    return Set;
}

TEST(HeaderStore, RepeatedSetChangesNothing)
{
    HeaderSet<H264SeqParamSet> Sets;
    Sets.Add(SeqRecord(3, 1), false);
    const auto* const pStored = Sets.Get(3);
    for (const bool Immediately : {false, true}) {
        Sets.Add(SeqRecord(3, 1), Immediately);
        EXPECT_EQ(Sets.Get(3), pStored);
    }
    EXPECT_EQ(Sets.Get(2), nullptr);
    EXPECT_EQ(Sets.Get(-1), nullptr);
    EXPECT_EQ(Sets.Get(1000), nullptr);
}

TEST(HeaderStore, ChangedSetIsSeenAtOnceAndTheOldOneLivesWithItsUser)
{
    HeaderSet<H264SeqParamSet> Sets;
    Sets.Add(SeqRecord(0, 1), false);
    const auto pFirst = Sets.Share(0);
    Sets.Add(SeqRecord(0, 2), false);
    EXPECT_EQ(Sets.Get(0)->num_ref_frames, 2u);
    EXPECT_EQ(pFirst->num_ref_frames, 1u);
    Sets.Settle();
    EXPECT_EQ(Sets.Get(0)->num_ref_frames, 2u);
    EXPECT_EQ(pFirst.use_count(), 1);
}

TEST(HeaderStore, VersionsThatNobodyUsesAreReplaced)
{
    HeaderSet<H264SeqParamSet> Sets;
    Sets.Add(SeqRecord(0, 1), false);
    std::vector<std::weak_ptr<const H264SeqParamSet>> Versions;
    for (uint32_t i = 0; i < 100; ++i) {
        Sets.Add(SeqRecord(0, 2 + i % 2), false);
        Versions.push_back(Sets.Share(0));
    }
    EXPECT_EQ(std::count_if(Versions.begin(), Versions.end(), [](const auto& p) { return !p.expired(); }), 1);
}

TEST(HeaderStore, ResetKeepsTheSetsInForce)
{
    HeaderSet<H264SeqParamSet> Sets;
    Sets.Add(SeqRecord(0, 1), false);
    Sets.Add(SeqRecord(0, 2), false);
    Sets.Reset(true);
    EXPECT_EQ(Sets.Get(0)->num_ref_frames, 1u);
    Sets.Add(SeqRecord(0, 2), false);
    Sets.Settle();
    Sets.Reset(true);
    EXPECT_EQ(Sets.Get(0)->num_ref_frames, 2u) << "in force when the pictures before it are finished";
    Sets.Add(SeqRecord(0, 3), true);
    Sets.Reset(true);
    EXPECT_EQ(Sets.Get(0)->num_ref_frames, 3u);
    Sets.Reset(false);
    EXPECT_EQ(Sets.Get(0), nullptr);
}

} // namespace
