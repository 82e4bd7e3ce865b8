// From outside: the order of pictures, and the references that they see.
#include "tests/decoder/session/grey_stream.h"

#include <gmock/gmock.h>

namespace {

using namespace UMC;
using test::GreyStream;
using test::Numbered;
using test::SkipSlice;
using test::Slice;
using test::operator+;
using test::operator+=;
using testing::ElementsAre;

TEST(OrderCounts, TypeOneFollowsTheCycle)
{
    // A reference every 4 counts, a picture between them 2 earlier: sent after its follower, shown before it.
    GreyStream In({.poc_type = 1, .offset_for_ref_frame = {4}, .offset_for_non_ref_pic = -2});
    In.Idr(10)
        .Intra(30, Numbered(1, 0))
        .Intra(20, Numbered(2, 0, 0))
        .Intra(50, Numbered(2, 0))
        .Intra(40, Numbered(3, 0, 0));
    EXPECT_THAT(In.Values(), ElementsAre(10, 20, 30, 40, 50));
}

TEST(OrderCounts, TypeTwoIsDecodingOrder)
{
    GreyStream In({.poc_type = 2});
    In.Idr(10);
    for (uint32_t i = 1; i < 40; ++i) In.Intra(static_cast<uint8_t>(10 + i), Numbered(i & 15, 0));
    std::vector<int> Expected;
    for (int i = 0; i < 40; ++i) Expected.push_back(10 + i);
    EXPECT_EQ(In.Values(), Expected) << "frame_num wraps twice";
}

TEST(OrderCounts, TypeZeroWraps)
{
    GreyStream In({.log2_max_poc_lsb = 4});
    In.Idr(10);
    std::vector<int> Expected{10};
    for (uint32_t i = 1; i < 30; ++i) {
        In.Intra(static_cast<uint8_t>(10 + i), Numbered(i & 15, i * 2 & 15));
        Expected.push_back(static_cast<int>(10 + i));
    }
    EXPECT_EQ(In.Values(), Expected);
}

TEST(References, ListOfAPSliceGoesBackInTime)
{
    for (uint32_t RefIdx = 0; RefIdx < 3; ++RefIdx) {
        GreyStream In({.num_ref_frames = 3}, {.num_ref_idx = {3, 1}});
        In.Idr(10).Intra(20, Numbered(1, 2)).Intra(30, Numbered(2, 4)).Copy(RefIdx, Numbered(3, 6, 0));
        EXPECT_THAT(In.Values(), ElementsAre(10, 20, 30, 30 - 10 * static_cast<int>(RefIdx)));
    }
}

TEST(References, SlidingWindowDropsTheOldest)
{
    GreyStream In({.num_ref_frames = 2}, {.num_ref_idx = {3, 1}});
    In.Idr(10).Intra(20, Numbered(1, 2)).Intra(30, Numbered(2, 4)).Copy(2, Numbered(3, 6, 0));
    EXPECT_THAT(In.Values(), ElementsAre(10, 20, 30, 20)) << "the missing third entry is the list's last one";
}

TEST(References, ReorderingMovesOnePictureForward)
{
    GreyStream In({.num_ref_frames = 3}, {.num_ref_idx = {3, 1}});
    In.Idr(10).Intra(20, Numbered(1, 2)).Intra(30, Numbered(2, 4));
    for (uint32_t RefIdx = 0; RefIdx < 3; ++RefIdx) {
        Slice s = Numbered(3, 6 + 2 * RefIdx, 0);
        s.reordering[0] = {{0, 2}}; // three frame numbers back
        In.Copy(RefIdx, s);
    }
    EXPECT_THAT(In.Values(), ElementsAre(10, 20, 30, 10, 30, 20));
}

TEST(References, ReorderingToALostPictureLeavesTheLastInitialEntry)
{
    GreyStream In({.num_ref_frames = 3}, {.num_ref_idx = {2, 1}});
    In.Idr(10).Intra(20, Numbered(1, 2));
    Slice s = Numbered(3, 6, 0);
    s.reordering[0] = {{0, 0}}; // frame 2 never came
    In.Copy(0, s).Copy(1, [&] {
        Slice t = s;
        t.poc_lsb = 8;
        return t;
    }());
    EXPECT_THAT(In.Values(), ElementsAre(10, 20, 10, 20));
}

TEST(References, ReorderingWrapsAroundFrameNumbers)
{
    GreyStream In({.num_ref_frames = 3}, {.num_ref_idx = {3, 1}});
    In.Idr(10);
    for (uint32_t i = 1; i < 18; ++i) In.Intra(static_cast<uint8_t>(10 + i), Numbered(i & 15, i * 2));
    Slice s = Numbered(2, 36, 0); // frame 18; the references are 15, 16 and 17
    s.reordering[0] = {{0, 2}};
    In.Copy(0, s);
    EXPECT_EQ(In.Values().back(), 25);
}

TEST(References, LongTermPictures)
{
    GreyStream In({.num_ref_frames = 3}, {.num_ref_idx = {3, 1}});
    Slice Idr;
    Idr.long_term_reference = true;
    In.Idr(10, Idr).Intra(20, Numbered(1, 2)).Intra(30, Numbered(2, 4)).Intra(40, Numbered(3, 6));
    In.Copy(2, Numbered(4, 8, 0)); // short-term ones first
    Slice Reordered = Numbered(4, 10, 0);
    Reordered.reordering[0] = {{2, 0}};
    In.Copy(0, Reordered);
    EXPECT_THAT(In.Values(), ElementsAre(10, 20, 30, 40, 10, 10));
}

TEST(References, MarkingCommands)
{
    const auto Values = [](std::vector<std::vector<uint32_t>> Marking, uint32_t RefIdx) {
        GreyStream In({.num_ref_frames = 4}, {.num_ref_idx = {4, 1}});
        In.Idr(10).Intra(20, Numbered(1, 2)).Intra(30, Numbered(2, 4));
        Slice s = Numbered(3, 6);
        s.marking = std::move(Marking);
        return In.Intra(40, s).Copy(RefIdx, Numbered(4, 8, 0)).Values().back();
    };
    EXPECT_EQ(Values({}, 1), 30);
    EXPECT_EQ(Values({{1, 0}}, 1), 20) << "picture 2 removed";
    EXPECT_EQ(Values({{1, 1}}, 1), 30);
    EXPECT_EQ(Values({{1, 1}}, 2), 10) << "picture 1 removed";
    EXPECT_EQ(Values({{4, 1}, {3, 0, 0}}, 3), 30) << "picture 2 became long-term and goes last";
    EXPECT_EQ(Values({{4, 2}, {3, 0, 0}, {3, 1, 0}}, 2), 20) << "the index passed on to picture 1";
    EXPECT_EQ(Values({{4, 1}, {3, 0, 0}, {2, 0}}, 2), 10) << "long-term picture removed";
    EXPECT_EQ(Values({{4, 1}, {3, 0, 0}, {4, 0}}, 2), 10) << "all long-term indices removed";
    EXPECT_EQ(Values({{4, 1}, {6, 0}}, 0), 30) << "the picture itself is long-term, behind the others";
    EXPECT_EQ(Values({{4, 1}, {6, 0}}, 3), 40);
}

TEST(References, MemoryResetStartsTheCountAnew)
{
    GreyStream In({.num_ref_frames = 4}, {.num_ref_idx = {1, 1}});
    In.Idr(10).Intra(20, Numbered(1, 20));
    Slice s = Numbered(2, 40);
    s.marking = {{5}};
    In.Intra(30, s).Copy(0, Numbered(1, 2)).Intra(50, Numbered(2, 4));
    EXPECT_THAT(In.Values(), ElementsAre(10, 20, 30, 30, 50));
}

TEST(References, BSliceWithOneReferenceHasItInBothLists)
{
    GreyStream In({.profile_idc = 77});
    In.Idr(60);
    for (const bool Spatial : {true, false}) {
        Slice s = Numbered(1, Spatial ? 2 : 4, 0);
        s.slice_type = 6;
        s.spatial_direct = Spatial;
        In.Data += SkipSlice(In.Seq, In.Pic, s);
    }
    EXPECT_THAT(In.Values(), ElementsAre(60, 60, 60));
}

} // namespace
