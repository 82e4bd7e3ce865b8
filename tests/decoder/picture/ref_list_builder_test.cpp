// Initial reference lists of B slices and their modification, shown by the pictures that they lead to.
#include "tests/decoder/random_stream.h"

#include <gmock/gmock.h>

namespace {

using namespace test;
using testing::ElementsAre;

// One macroblock; pictures of one value each: 10, 20 and so on in output order, all references.
struct ListStream {
    SeqParamSet Seq{.profile_idc = 77, .vui = ReorderVui(0, 4)};
    PicParamSet Pic;
    Bytes Data = Write(Seq) + Write(Pic);

    ListStream(uint32_t Count, bool HasLongTerm = false)
    {
        Data += PcmSlice(Seq, Pic, {.nal_unit_type = 5, .long_term_reference = HasLongTerm}, 10);
        for (uint32_t i = 1; i < Count; ++i)
            Data += PcmSlice(Seq, Pic, Numbered(i, 8 * i), static_cast<uint8_t>(10 + 10 * i));
    }
    // The pictures that a B slice behind all others, or before the last one, has in its lists.
    std::vector<int> Entries(int List, Slice b, int Count)
    {
        std::vector<int> Values;
        Bytes All;
        b.nal_ref_idc = 0;
        b.slice_type = 6;
        for (int RefIdx = 0; RefIdx < Count; ++RefIdx) { // a stream for each
            MacroblockWriter Writer(Seq, Pic, b);
            Macroblock m{.mb_type = List == 0 ? 1u : 2u};
            m.ref_idx[List][0] = static_cast<uint32_t>(RefIdx);
            Writer.Put(m);
            const Bytes Stream = Data + Writer.Finish();
            const bool IsLast = b.poc_lsb > 8 * (b.frame_num - 1);
            Values.push_back(DecodeValues(Stream).at(IsLast ? b.frame_num : b.frame_num - 1));
            All += Stream;
        }
        ExpectAsFfmpeg(All, static_cast<size_t>(Count) * (b.frame_num + 1), false);
        return Values;
    }
};

Slice Behind(uint32_t Count, uint32_t L0, uint32_t L1)
{
    return {.frame_num = Count, .poc_lsb = 8 * Count, .num_ref_idx = {L0, L1}};
}

TEST(BLists, EqualOnesAreSwapped)
{
    EXPECT_THAT(ListStream(2).Entries(0, Behind(2, 2, 2), 2), ElementsAre(20, 10));
    EXPECT_THAT(ListStream(2).Entries(1, Behind(2, 2, 2), 2), ElementsAre(10, 20));
    EXPECT_THAT(ListStream(3).Entries(1, Behind(3, 3, 3), 3), ElementsAre(20, 30, 10)) << "the first two alone";
    EXPECT_THAT(ListStream(3).Entries(1, Behind(3, 1, 1), 1), ElementsAre(20)) << "before the lists are cut";
}

TEST(BLists, DifferentOnesAreNot)
{
    Slice b{.frame_num = 3, .poc_lsb = 10, .num_ref_idx = {3, 3}}; // between the second picture and the third
    EXPECT_THAT(ListStream(3).Entries(0, b, 3), ElementsAre(20, 10, 30));
    EXPECT_THAT(ListStream(3).Entries(1, b, 3), ElementsAre(30, 20, 10));
}

TEST(BLists, LongTermPicturesStandBehindTheOthersInBoth)
{
    Slice b{.frame_num = 4, .poc_lsb = 18, .num_ref_idx = {4, 4}};
    EXPECT_THAT(ListStream(4, true).Entries(0, b, 4), ElementsAre(30, 20, 40, 10));
    EXPECT_THAT(ListStream(4, true).Entries(1, b, 4), ElementsAre(40, 30, 20, 10));
}

TEST(BLists, AreModifiedApart)
{
    Slice b{.frame_num = 4, .poc_lsb = 18, .num_ref_idx = {4, 4}};
    b.reordering[0] = {{2, 0}, {0, 2}};
    b.reordering[1] = {{0, 1}, {1, 0}, {2, 0}};
    EXPECT_THAT(ListStream(4, true).Entries(0, b, 4), ElementsAre(10, 20, 30, 40));
    EXPECT_THAT(ListStream(4, true).Entries(1, b, 4), ElementsAre(30, 40, 10, 20));
}

TEST(BLists, HaveTheLengthsThatTheSliceGivesEachOfThem)
{
    EXPECT_THAT(ListStream(3).Entries(0, Behind(3, 3, 1), 3), ElementsAre(30, 20, 10));
    EXPECT_THAT(ListStream(3).Entries(1, Behind(3, 1, 3), 3), ElementsAre(20, 30, 10));
}

TEST(BLists, AreOf32EntriesAtMost)
{
    const auto PicturesWith = [](uint32_t L0, uint32_t L1) {
        const ListStream In(2);
        Slice b = Behind(2, L0, L1);
        b.nal_ref_idc = 0;
        b.slice_type = 6;
        return DecodeAll(In.Data + SkipSlice(In.Seq, In.Pic, b)).size();
    };
    EXPECT_EQ(PicturesWith(32, 32), 3u);
    EXPECT_EQ(PicturesWith(33, 1), 2u) << "a bad header";
    EXPECT_EQ(PicturesWith(1, 33), 2u) << "a bad header";
}

} // namespace
