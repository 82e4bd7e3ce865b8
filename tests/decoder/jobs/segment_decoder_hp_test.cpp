// The members of the family of macroblock loops: which stream takes which, and what they have in common.
#include "tests/decoder/random_stream.h"

namespace {

using namespace test;

Bytes PredictedPictures(uint32_t Profile, const PicParamSet& Pic)
{
    RandomStream In({.profile_idc = Profile}, Pic, 51);
    In.Start(3);
    for (uint32_t i = 0; i < 5; ++i) {
        Slice p = Numbered(3 + i, 8 + 4 * i), b = Numbered(4 + i, 6 + 4 * i, 0);
        p.disable_deblocking = b.disable_deblocking = 0;
        In.P(p).B(b);
    }
    In.ExpectAsFfmpeg();
    return In.Data;
}

TEST(FamilyMembers, OfMainAndHighProfileGiveEqualPicturesWithoutTheLargeTransform)
{
    const PicParamSet Pic{.num_ref_idx = {3, 1}};
    EXPECT_EQ(DecodeAll(PredictedPictures(77, Pic)), DecodeAll(PredictedPictures(100, Pic)));
}

TEST(FamilyMembers, TakeTheQpOfEachChromaPlaneFromItsOwnOffset)
{
    for (const auto& [Cb, Cr] : {std::pair{0, 12}, std::pair{-12, 5}, std::pair{9, -9}, std::pair{-12, -12}})
        for (const bool Is8x8 : {false, true}) {
            SCOPED_TRACE(testing::Message() << Cb << ", " << Cr);
            PredictedPictures(100, {.num_ref_idx = {2, 1},
                                    .pic_init_qp = Is8x8 ? 34 : 20,
                                    .chroma_qp_index_offset = Cb,
                                    .has_transform_extension = true,
                                    .transform_8x8_mode = Is8x8,
                                    .second_chroma_qp_index_offset = Cr});
        }
}

TEST(FamilyMembers, KeepIntraPredictionOutOfInterMacroblocksWhereAsked)
{
    PredictedPictures(77, {.num_ref_idx = {2, 1}, .constrained_intra_pred = true});
    PredictedPictures(100, {.num_ref_idx = {2, 1},
                            .constrained_intra_pred = true,
                            .has_transform_extension = true,
                            .transform_8x8_mode = true});
}

// Clause 8.3.1.1: a block beside an inter macroblock takes DC for its mode where intra prediction is constrained, and
// else the lesser of DC and the other neighbour's mode.
TEST(FamilyMembers, TakeTheModeBesideAnInterNeighbourForDcWhereConstrained)
{
    for (const bool Constrained : {false, true})
        for (const bool Is8x8 : {false, true}) {
            SCOPED_TRACE(testing::Message() << Constrained << Is8x8);
            RandomStream In(
                {.profile_idc = 100},
                {.constrained_intra_pred = Constrained, .has_transform_extension = true, .transform_8x8_mode = true},
                55);
            In.Start(1);
            Slice p = Numbered(1, 2);
            p.slice_type = 5;
            MacroblockWriter Writer(In.Seq, In.Pic, p);
            for (uint32_t Mb = 0; Mb < RandomStream::kMbs;
                 ++Mb) { // PCM, but for inter macroblocks and what stands right of or below them
                Macroblock m{.intra = true, .mb_type = 25};
                for (uint8_t& Sample : m.pcm) Sample = static_cast<uint8_t>(1 + In.Random.Upto(253));
                const bool IsLeftInter = Mb == 5 || Mb == 7, IsTopInter = Mb == 8 + 2;
                if (Mb == 4 || Mb == 6) m = {.mb_type = 0};
                if (IsLeftInter || IsTopInter) {
                    m = {.intra = true, .transform_size_8x8 = Is8x8};
                    m.intra_mode[0] = IsLeftInter ? 1 : 2; // vertical or horizontal; the blocks behind go by it
                }
                Writer.Put(m);
            }
            In.Data += Writer.Finish();
            ++In.Pictures;
            In.ExpectAsFfmpeg();
        }
}

TEST(FamilyMembers, FilterByTheOffsetsOfTheSliceAndTheMeanOfBothQps)
{
    RandomStream In({.profile_idc = 77}, {.num_ref_idx = {2, 1}, .chroma_qp_index_offset = 4}, 52);
    In.Start(3);
    for (uint32_t i = 0; i < 12; ++i) {
        Slice p = Numbered(3 + i, 6 + 2 * i);
        p.qp_delta = static_cast<int>(i % 5) * 5 - 10;
        p.disable_deblocking = i % 3 == 2 ? 2 : 0;
        p.alpha = static_cast<int>(i % 7) * 2 - 6;
        p.beta = 6 - static_cast<int>(i % 4) * 4;
        In.Data += In.Random.Inter(In.Seq, In.Pic,
                                   [&] {
                                       p.slice_type = 5;
                                       return p;
                                   }(),
                                   5, {.intra = 3});
        p.first_mb = 5; // another slice, with offsets and a list of its own
        p.reordering[0] = {{0, 1}};
        std::swap(p.alpha, p.beta);
        p.qp_delta = -p.qp_delta;
        In.Data += In.Random.Inter(In.Seq, In.Pic, p, RandomStream::kMbs - 5, {.intra = 3});
        ++In.Pictures;
    }
    In.ExpectAsFfmpeg();
}

TEST(FamilyMembers, FilterAtTheBordersOfPcmMacroblocks)
{
    RandomStream In({.profile_idc = 100}, {.has_transform_extension = true, .second_chroma_qp_index_offset = 7}, 53);
    In.Start(1);
    for (uint32_t i = 1; i < 6; ++i) {
        Slice p = Numbered(i, 2 * i);
        p.slice_type = 5;
        p.disable_deblocking = 0;
        p.alpha = p.beta = 6; // their QP of 0 would leave nothing to filter
        p.qp_delta = 20;
        MacroblockWriter Writer(In.Seq, In.Pic, p);
        for (int Mb = 0; Mb < RandomStream::kMbs; ++Mb) {
            Macroblock m = In.Random.Any(In.Seq, In.Pic, p, {.skip = 4, .intra = 0, .residual = false});
            if (In.Random.Upto(2) == 0) {
                m = {.intra = true, .mb_type = 25};
                for (uint8_t& Sample : m.pcm) Sample = static_cast<uint8_t>(100 + In.Random.Upto(12));
            }
            Writer.Put(m);
        }
        In.Data += Writer.Finish();
        ++In.Pictures;
    }
    In.ExpectAsFfmpeg();
}

// Two pictures of slight noise a little apart, and pictures of two slices whose lists hold them in opposite orders:
// across the border between the slices equal indices are different pictures, and different indices may be the same one.
TEST(FamilyMembers, FilterBetweenSlicesByThePicturesOfTheirOwnLists)
{
    for (const bool IsBSlice : {false, true}) {
        RandomStream In({.profile_idc = 77}, {.num_ref_idx = {2, 2}, .pic_init_qp = 40}, 54);
        for (uint32_t i = 0; i < 2; ++i) {
            MacroblockWriter Writer(In.Seq, In.Pic,
                                    {.nal_unit_type = i == 0 ? 5u : 1u, .frame_num = i, .poc_lsb = 2 * i});
            for (int Mb = 0; Mb < RandomStream::kMbs; ++Mb) {
                Macroblock m{.mb_type = 25};
                for (uint8_t& Sample : m.pcm) Sample = static_cast<uint8_t>((i == 0 ? 100 : 104) + In.Random.Upto(3));
                Writer.Put(m);
            }
            In.Data += Writer.Finish();
        }
        In.Pictures = 2;
        for (uint32_t i = 0; i < 8; ++i) {
            Slice s = Numbered(2, 4 + 2 * i, 0);
            s.slice_type = IsBSlice ? 6 : 5;
            s.disable_deblocking = 0;
            for (const uint32_t First : {0u, 6u}) {
                s.first_mb = First;
                if (First != 0) s.reordering[0] = s.reordering[1] = {{0, 1}};
                MacroblockWriter Writer(In.Seq, In.Pic, s);
                for (int Mb = 0; Mb < 6; ++Mb) {
                    Macroblock m{.skip = !IsBSlice && In.Random.Upto(3) == 0};
                    if (IsBSlice) m.mb_type = static_cast<uint32_t>(1 + In.Random.Upto(2));
                    for (auto& List : m.ref_idx) List[0] = static_cast<uint32_t>(In.Random.Upto(1));
                    Writer.Put(m);
                }
                In.Data += Writer.Finish();
            }
            ++In.Pictures;
        }
        In.ExpectAsFfmpeg();
    }
}

} // namespace
