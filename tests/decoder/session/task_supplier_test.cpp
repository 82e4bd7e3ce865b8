// The decoder from outside: which slices become pictures, what is shown of them, gaps, and streams that ask for too
// much.
#include "tests/decoder/session/grey_stream.h"

#include <gmock/gmock.h>

namespace {

using namespace UMC;
using test::Bytes;
using test::CopySlice;
using test::DecodeValues;
using test::GreyStream;
using test::Numbered;
using test::PcmSlice;
using test::PicParamSet;
using test::SkipSlice;
using test::Slice;
using test::operator+;
using test::operator+=;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Pictures, StreamsStartAtAnISliceOrARecoveryPoint)
{
    EXPECT_THAT(GreyStream().Copy(0, Numbered(1, 2)).Intra(40, Numbered(2, 4)).Copy(0, Numbered(3, 6)).Values(),
                ElementsAre(40, 40));
    GreyStream Recovery;
    Recovery.Data += test::NalUnit(0, 6, {6, 1, 0xC4, 0x80}); // recovery_frame_cnt 0
    Recovery.Copy(0, Numbered(1, 2)).Copy(0, Numbered(2, 4));
    EXPECT_THAT(Recovery.Values(), ElementsAre(128, 128)) << "against a grey picture that is not shown itself";
}

TEST(Pictures, SlicesThatAreRejectedVanish)
{
    const auto Shown = [](const PicParamSet& Pic, const Slice& Bad) {
        GreyStream In({}, Pic);
        In.Idr(10);
        In.Data += SkipSlice(In.Seq, In.Pic, Bad);
        return In.Intra(20, Numbered(1, 2)).Values();
    };
    const PicParamSet Plain;
    Slice Good = Numbered(1, 2);
    Good.slice_type = 5;
    const auto With = [&](auto&& Change) {
        Slice Bad = Good;
        Change(Bad);
        return Bad;
    };
    EXPECT_THAT(Shown(Plain, Good), ElementsAre(10, 10, 20));
    for (const uint32_t Type : {3u, 4u, 8u, 9u, 10u, 1000u})
        EXPECT_THAT(Shown(Plain, With([&](Slice& s) { s.slice_type = Type; })), ElementsAre(10, 20)) << Type;
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.first_mb = 1; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.first_mb = 0x80000001; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.pps_id = 1; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.pps_id = 256; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.num_ref_idx[0] = 33; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.reordering[0].assign(33, {0, 0}); })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.marking.assign(32, {1, 0}); })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.marking = {{7}}; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.disable_deblocking = 3; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.disable_deblocking = 0, s.alpha = 7; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.disable_deblocking = 2, s.beta = -7; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.qp_delta = 26; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.qp_delta = -27; })), ElementsAre(10, 20));
    const PicParamSet Cabac{.cabac = true};
    GreyStream In({.profile_idc = 77}, Cabac);
    In.Data += SkipSlice(In.Seq, In.Pic, With([](Slice& s) { s.cabac_init_idc = 3; }));
    EXPECT_THAT(In.Values(), IsEmpty());
}

TEST(Pictures, RedundantSlicesAreNeverDecoded)
{
    GreyStream In({}, {.redundant_pic_cnt_present = true});
    In.Idr(10);
    Slice Redundant = Numbered(1, 2);
    Redundant.redundant_pic_cnt = 1;
    In.Intra(20, Numbered(1, 2)).Intra(99, Redundant).Intra(30, Numbered(2, 4));
    EXPECT_THAT(In.Values(), ElementsAre(10, 20, 30));
}

// Without its emulation prevention a unit may hold what looks like another one.
TEST(Pictures, SlicesBehindRedundantOnesInAUnitAreDecoded)
{
    for (const bool EndsRedundant : {false, true}) {
        GreyStream In({}, {.redundant_pic_cnt_present = true});
        In.Idr(10);
        Slice Redundant = Numbered(1, 2);
        Redundant.redundant_pic_cnt = 1;
        Bytes Payload(100, 0x55);
        for (const Bytes& Unit : {PcmSlice(In.Seq, In.Pic, Redundant, 98), PcmSlice(In.Seq, In.Pic, Redundant, 99),
                                  PcmSlice(In.Seq, In.Pic, EndsRedundant ? Redundant : Numbered(1, 2), 20)})
            Payload += Unit;
        const Bytes First = PcmSlice(In.Seq, In.Pic, Redundant, 97);
        Payload.insert(Payload.begin(), First.begin() + 5, First.end()); // behind the header of the unit
        In.Data += test::NalUnit(1, 1, Payload);
        In.Intra(30, Numbered(2, 4));
        EXPECT_EQ(In.Values(), EndsRedundant ? (std::vector{10, 30}) : (std::vector{10, 20, 30}));
    }
}

TEST(Pictures, PartitionsOfDataArePassedOver)
{
    GreyStream In({.profile_idc = 88});
    In.Idr(10);
    for (uint32_t Type = 2; Type <= 4; ++Type) {
        Slice s = Numbered(1, 2);
        s.nal_unit_type = Type;
        In.Intra(99, s);
    }
    In.Intra(20, Numbered(1, 2));
    EXPECT_THAT(In.Values(), ElementsAre(10, 20));
}

TEST(Pictures, RepeatedFirstMacroblockOpensAPicture)
{
    EXPECT_THAT(GreyStream().Idr(10).Intra(20, Numbered(1, 2)).Intra(21, Numbered(1, 2)).Values(), testing::SizeIs(3));
}

TEST(Pictures, SlicesOfOnePictureInAnyOrder)
{
    for (const bool Swapped : {false, true}) {
        GreyStream In({.width_mbs = 2});
        const Slice Left{.nal_unit_type = 5}, Right{.nal_unit_type = 5, .first_mb = 1};
        const Bytes a = PcmSlice(In.Seq, In.Pic, Left, 10), b = PcmSlice(In.Seq, In.Pic, Right, 20);
        In.Data += Swapped ? b + a : a + b;
        const auto Pictures = test::DecodeAll(In.Data);
        ASSERT_EQ(Pictures.size(), 1u);
        EXPECT_EQ(Pictures[0][0], 10);
        EXPECT_EQ(Pictures[0][16], 20);
    }
}

TEST(Pictures, LossOfTheFirstSliceHidesThePictureOnly)
{
    GreyStream In({.width_mbs = 2});
    In.Data += PcmSlice(In.Seq, In.Pic, {.nal_unit_type = 5}, 10, 2);
    Slice Right = Numbered(1, 2);
    Right.first_mb = 1;
    In.Data += PcmSlice(In.Seq, In.Pic, Right, 20);             // its left half is lost
    In.Data += CopySlice(In.Seq, In.Pic, Numbered(2, 4), 0, 2); // predicted from it
    const auto Pictures = test::DecodeAll(In.Data);
    ASSERT_EQ(Pictures.size(), 2u);
    EXPECT_EQ(Pictures[1][16], 20) << "the part that came is a reference";
}

TEST(Pictures, CroppingAndOddSizes)
{
    GreyStream In({.cropping = true, .crop = {1, 2, 0, 3}});
    const auto Pictures = test::DecodeAll(In.Idr(10).Data);
    ASSERT_EQ(Pictures.size(), 1u);
    EXPECT_EQ(Pictures[0].size(), 10u * 10 * 3 / 2);
    EXPECT_THAT(DecodeValues(GreyStream({.cropping = true, .crop = {8, 0, 0, 0}}).Idr(10).Data), IsEmpty());
}

TEST(Pictures, ChangeOfSizeAtAnIdrPicture)
{
    GreyStream In;
    In.Idr(10).Copy(0, Numbered(1, 2));
    In.Seq.width_mbs = 3;
    In.Data += Write(In.Seq) + Write(In.Pic) + PcmSlice(In.Seq, In.Pic, {.nal_unit_type = 5, .idr_pic_id = 1}, 20, 3);
    In.Data += CopySlice(In.Seq, In.Pic, Numbered(1, 2), 0, 3);
    const auto Pictures = test::DecodeAll(In.Data);
    ASSERT_EQ(Pictures.size(), 4u);
    EXPECT_EQ(Pictures[1].size(), 384u);
    EXPECT_EQ(Pictures[3].size(), 3 * 384u);
    EXPECT_EQ(Pictures[3][0], 20);
}

TEST(Pictures, ChangeOfSizeWithoutAnIdrPictureIsSurvived)
{
    GreyStream In;
    In.Idr(10).Copy(0, Numbered(1, 2));
    In.Seq.width_mbs = 3;
    In.Data += Write(In.Seq) + Write(In.Pic) + CopySlice(In.Seq, In.Pic, Numbered(2, 4), 0, 3);
    EXPECT_EQ(test::DecodeAll(In.Data).size(), 3u);
}
TEST(Gaps, FramesOfAGapAreNeverShown)
{
    GreyStream In({.num_ref_frames = 4, .gaps_allowed = true}, {.num_ref_idx = {4, 1}});
    In.Idr(10).Copy(0, Numbered(3, 6, 0)); // frames 1 and 2 were left out: the nearest reference is grey
    const auto Values = In.Values();
    EXPECT_THAT(Values, ElementsAre(10, 128));
    GreyStream Far({.num_ref_frames = 4, .gaps_allowed = true}, {.num_ref_idx = {4, 1}});
    Far.Idr(10).Copy(2, Numbered(3, 6, 0));
    EXPECT_THAT(Far.Values(), ElementsAre(10, 10)) << "behind two made up";
}

TEST(Gaps, LongGapsInEveryPictureKeepTheDecoderRunning)
{
    GreyStream In({.level_idc = 10, .num_ref_frames = 4, .gaps_allowed = true, .width_mbs = 11, .height_map_units = 9});
    In.Data += PcmSlice(In.Seq, In.Pic, {.nal_unit_type = 5}, 10, 99);
    for (uint32_t i = 1; i < 30; ++i) In.Data += CopySlice(In.Seq, In.Pic, Numbered(i * 7 & 15, i * 2), 0, 99);
    EXPECT_EQ(In.Values().size(), 30u);
}

TEST(Gaps, WithoutTheFlagReferencesAreReplaced)
{
    GreyStream In({.num_ref_frames = 4}, {.num_ref_idx = {4, 1}});
    In.Idr(10).Intra(20, Numbered(1, 2)).Copy(3, Numbered(5, 10, 0));
    EXPECT_THAT(In.Values(), ElementsAre(10, 20, 10));
}

TEST(Robustness, MoreReferencesThanTheLevelAllowsDoNotStopTheDecoder)
{
    // Level 1 has no room for a frame of this size at all.
    GreyStream In({.level_idc = 10, .num_ref_frames = 16, .width_mbs = 40, .height_map_units = 30});
    In.Data += PcmSlice(In.Seq, In.Pic, {.nal_unit_type = 5}, 10, 1200);
    for (uint32_t i = 1; i < 40; ++i) In.Data += CopySlice(In.Seq, In.Pic, Numbered(i & 15, i * 2), 0, 1200);
    EXPECT_EQ(In.Values().size(), 40u);
}

TEST(Robustness, LongTermPicturesWithoutEndDoNotStopTheDecoder)
{
    GreyStream In({.level_idc = 10, .num_ref_frames = 1, .width_mbs = 11, .height_map_units = 9});
    In.Data += PcmSlice(In.Seq, In.Pic, {.nal_unit_type = 5}, 10, 99);
    for (uint32_t i = 1; i < 60; ++i) {
        Slice s = Numbered(i & 15, i * 2);
        s.marking = {{4, 31}, {6, i % 31}};
        In.Data += PcmSlice(In.Seq, In.Pic, s, 20, 99);
    }
    In.Data += PcmSlice(In.Seq, In.Pic, {.nal_unit_type = 5, .idr_pic_id = 1}, 77, 99);
    const auto Values = In.Values();
    ASSERT_FALSE(Values.empty());
    EXPECT_EQ(Values.back(), 77);
}

TEST(Robustness, StreamCutAtEveryByte)
{
    GreyStream In({.num_ref_frames = 2, .gaps_allowed = true}, {.num_ref_idx = {2, 1}});
    In.Idr(10);
    In.Copy(0, Numbered(1, 2)).Copy(1, Numbered(2, 4)).Copy(0, Numbered(4, 8));
    for (size_t Size = 1; Size < In.Data.size(); Size += Size < 60 || Size + 80 > In.Data.size() ? 1 : 17)
        EXPECT_LE(DecodeValues(Bytes(In.Data.begin(), In.Data.begin() + static_cast<ptrdiff_t>(Size))).size(), 4u);
}

} // namespace
