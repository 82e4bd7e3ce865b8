// Slice groups in streams that lack slices, repeat them, or contradict themselves.
#include "tests/decoder/session/grey_stream.h"

#include <gmock/gmock.h>

namespace {

using namespace test;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;

// Pictures of 4 x 2 macroblocks in two groups like a chessboard's fields.
struct Chessboard {
    SeqParamSet Seq{.num_ref_frames = 1, .width_mbs = 4, .height_map_units = 2};
    PicParamSet Pic{.groups = {.count = 2, .map_type = 1}};
    Bytes Data = Write(Seq) + Write(Pic);

    Chessboard& Add(uint8_t Value, Slice s, uint32_t FirstMb, int Count = 4)
    {
        s.first_mb = FirstMb;
        Data += PcmSlice(Seq, Pic, s, Value, Count);
        return *this;
    }
    Chessboard& Whole(uint8_t Value, const Slice& s) { return Add(Value, s, 0).Add(Value, s, 1); }
    // The luma of the two groups of each picture; -1 where a group is not of one value.
    std::vector<std::array<int, 2>> Values() const
    {
        std::vector<std::array<int, 2>> All;
        for (const Bytes& Samples : DecodeAll(Data)) {
            std::array<int, 2>& v = All.emplace_back(std::array<int, 2>{Samples[0], Samples[16]});
            for (size_t i = 0; i < 64 * 32; ++i) {
                int& Value = v[(i % 64 / 16 + i / 64 / 16) % 2];
                if (Samples[i] != Value) Value = -1;
            }
        }
        return All;
    }
};
using Values = std::array<int, 2>;

TEST(LostSlices, OfANewFrameAreGreyAndThePictureIsShown)
{
    Chessboard In;
    In.Add(20, {.nal_unit_type = 5}, 0).Whole(30, Numbered(1, 2));
    EXPECT_THAT(In.Values(), ElementsAre(Values{20, 128}, Values{30, 30}));
}

TEST(LostSlices, LeaveWhatTheFrameHeld)
{
    Chessboard In;
    for (uint32_t i = 0; i < 24; ++i) { // all frames that there may be come to hold a picture
        Slice s{.nal_unit_type = 5, .idr_pic_id = i % 2};
        In.Whole(static_cast<uint8_t>(50 + i), s);
    }
    In.Add(20, {.nal_unit_type = 5, .idr_pic_id = 0}, 1).Whole(30, Numbered(1, 2));
    const auto All = In.Values();
    ASSERT_EQ(All.size(), 26u);
    EXPECT_EQ(All[24][1], 20);
    EXPECT_THAT(All[24][0], testing::AllOf(testing::Ge(50), testing::Le(73)));
    EXPECT_EQ(All[25], (Values{30, 30}));
}

TEST(LostSlices, ArePredictedFromAsTheyAre)
{
    Chessboard In;
    In.Add(20, {.nal_unit_type = 5}, 1);
    for (const uint32_t First : {1u, 0u}) {
        Slice s = Numbered(1, 2);
        s.slice_type = 5;
        s.first_mb = First;
        In.Data += CopySlice(In.Seq, In.Pic, s, 0, 4);
    }
    EXPECT_THAT(In.Values(), ElementsAre(Values{128, 20}, Values{128, 20}));
}

TEST(RepeatedSlices, DoNotTakeTheMacroblocksOfOthers)
{
    Chessboard In;
    const Slice s{.nal_unit_type = 5};
    In.Add(10, s, 0, 1).Add(20, s, 1, 1);
    for (int i = 0; i < 5; ++i) In.Add(20, s, 3, 3); // behind macroblock 1 of its group
    In.Add(10, s, 2, 3);
    EXPECT_THAT(In.Values(), ElementsAre(Values{10, 20}));
}

TEST(OverlongSlices, EndWithTheirGroup)
{
    Chessboard In;
    Slice s = Numbered(1, 2);
    In.Whole(40, {.nal_unit_type = 5}).Add(10, s, 0);
    s.slice_type = 5;
    s.first_mb = 1;
    In.Data += SkipSlice(In.Seq, In.Pic, s, 1000);
    In.Whole(50, Numbered(2, 4));
    EXPECT_THAT(In.Values(), ElementsAre(Values{40, 40}, Values{10, 40}, Values{50, 50}));
}

// The first slice of a picture says how it is divided.
TEST(ContradictorySets, BetweenTheSlicesOfAPicture)
{
    for (const bool HasGroupsFirst : {false, true}) {
        Chessboard In;
        PicParamSet Other = In.Pic;
        (HasGroupsFirst ? Other : In.Pic).groups = {};
        In.Data += Write(In.Pic);
        In.Add(10, {.nal_unit_type = 5}, 0);
        In.Pic = Other;
        In.Data += Write(Other);
        In.Add(20, {.nal_unit_type = 5}, 1);
        In.Whole(50, Numbered(1, 2));
        const auto All = In.Values();
        ASSERT_FALSE(All.empty());
        if (HasGroupsFirst) {
            EXPECT_EQ(All[0], (Values{10, 20}));
        }
    }
}

// A picture parameter set keeps the groups that it was read with, whatever size comes.
TEST(ContradictorySets, OfOtherSizes)
{
    SliceGroups Explicit{.count = 8, .map_type = 6};
    for (uint32_t i = 0; i < 8; ++i) Explicit.group_id.push_back(i);
    for (const SliceGroups& Groups :
         {SliceGroups{.count = 2, .run_length = {8, 8}},
          SliceGroups{.count = 3, .map_type = 2, .top_left = {0, 3}, .bottom_right = {3, 7}},
          SliceGroups{.count = 2, .map_type = 3, .change_rate = 8},
          SliceGroups{.count = 2, .map_type = 5, .change_direction = true, .change_rate = 7}, Explicit}) {
        for (const auto& [Width, Height] : {std::pair{1u, 1u}, {3u, 1u}, {1u, 3u}, {7u, 9u}}) {
            Chessboard In;
            In.Pic.groups = Groups;
            In.Data = Write(In.Seq) + Write(In.Pic);
            In.Seq.width_mbs = Width;
            In.Seq.height_map_units = Height;
            In.Data += Write(In.Seq);
            for (uint32_t First = 0; First < Width * Height; ++First)
                In.Add(30, {.nal_unit_type = 5, .slice_group_change_cycle = First}, First, 3);
            const auto Pictures = DecodeAll(In.Data);
            ASSERT_EQ(Pictures.size(), 1u);
            EXPECT_EQ(Pictures[0].size(), Width * Height * 384);
            EXPECT_THAT(Pictures[0], Each(AnyOf(30, 128)));
        }
    }
}

} // namespace
