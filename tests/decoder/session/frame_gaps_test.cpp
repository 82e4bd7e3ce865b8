// Gaps in frame_num, and pictures that never came to be.
#include "tests/decoder/random_stream.h"

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
    // The second picture belongs to a parameter set of 4:4:4, which nothing here decodes.
    const SeqParamSet Seq{.num_ref_frames = 4, .gaps_allowed = true};
    GapStream In(Seq);
    const SeqParamSet Other{
        .profile_idc = 144, .id = 1, .chroma_format_idc = 3, .num_ref_frames = 4, .gaps_allowed = true};
    const PicParamSet OtherPic{.id = 1, .seq_id = 1};
    Slice Refused = Numbered(1, 8);
    Refused.pps_id = 1;
    In.Data += Write(Other) + Write(OtherPic) + PcmSlice(Other, OtherPic, Refused, 20);
    In.Intra(30, Numbered(2, 16)).CopyAll(Numbered(3, 24), 3);
    EXPECT_THAT(DecodeValues(In.Data), ElementsAre(10, 30, 30, kGrey, 10));
}

} // namespace
