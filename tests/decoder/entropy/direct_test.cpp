// Direct prediction in whole B pictures, as ffmpeg has it: co-located pictures of every kind, and long-term references.
#include "tests/decoder/direct_mixes.h"

#include <utility>

namespace {

using namespace test;

struct DirectCase {
    bool Spatial, Inference;
    uint32_t Weighting; // weighted_bipred_idc
};
class DirectPrediction : public testing::TestWithParam<DirectCase>
{
protected:
    // Every reference of a co-located picture stands in list 0 of the B picture, as clause 8.4.1.2.3 asks for.
    RandomStream Open(uint32_t Seed, uint32_t Reordered = 1) const
    {
        return {{.profile_idc = 77,
                 .num_ref_frames = 4,
                 .direct_8x8_inference = GetParam().Inference,
                 .vui = ReorderVui(Reordered, 4)},
                {.num_ref_idx = {3, 1}, .weighted_bipred_idc = GetParam().Weighting},
                Seed};
    }
    Slice B(uint32_t FrameNum, uint32_t Poc, uint32_t RefIdc = 0) const
    {
        Slice b = Numbered(FrameNum, Poc, RefIdc);
        b.num_ref_idx[0] = 4;
        b.num_ref_idx[1] = 2;
        b.spatial_direct = GetParam().Spatial;
        b.disable_deblocking = 0;
        return b;
    }
};

TEST_P(DirectPrediction, FromACodedPictureAhead)
{
    RandomStream In = Open(1);
    In.Start(4);
    for (uint32_t i = 0; i < 6; ++i)
        In.P(Numbered(4 + i, 10 + 4 * i), i % 2 ? kFast : kSlow).B(B(5 + i, 8 + 4 * i), kDirect);
    In.ExpectAsFfmpeg();
}

// The same pictures written twice: the second slices of the co-located pictures have either the list of the first ones
// or its reverse, with reference indices to match. ffmpeg keeps one list a picture and decodes the first kind only.
TEST_P(DirectPrediction, FromSlicesWithListsOfTheirOwn)
{
    const auto Make = [&](bool Reversed) {
        RandomStream In = Open(2);
        In.Start(4);
        for (uint32_t i = 0; i < 4; ++i) {
            for (const uint32_t First : {0u, 5u}) {
                const bool Swap = Reversed && First != 0;
                Slice p = Numbered(4 + i, 10 + 4 * i);
                p.slice_type = 5;
                p.first_mb = First;
                if (Swap) p.reordering[0] = {{0, 2}, {1, 0}, {1, 0}}; // three back, two back, the last one
                MacroblockWriter Writer(In.Seq, In.Pic, p);
                for (int Mb = First ? 7 : 5; Mb > 0; --Mb) { // nothing that refers to index 0 unsaid
                    Macroblock m = In.Random.Any(In.Seq, In.Pic, p, {.skip = 0, .intra = 0, .residual = false});
                    if (m.mb_type == 4) m.mb_type = 3;
                    for (uint32_t& RefIdx : m.ref_idx[0]) RefIdx = Swap ? 2 - RefIdx : RefIdx;
                    Writer.Put(m);
                }
                In.Data += Writer.Finish();
            }
            ++In.Pictures;
            In.B(B(5 + i, 8 + 4 * i), {.skip = 2, .direct = 3, .inter = 1, .intra = 0});
        }
        return In;
    };
    const RandomStream Plain = Make(false);
    Plain.ExpectAsFfmpeg();
    if (GetParam().Spatial) return; // index 0 decides there
    EXPECT_EQ(DecodeAll(Make(true).Data), DecodeAll(Plain.Data));
}

TEST_P(DirectPrediction, FromABPicture)
{
    RandomStream In = Open(3, 2);
    In.Start(4);
    for (uint32_t i = 0; i < 3; ++i) {
        Slice p = Numbered(4 + 2 * i, 14 + 8 * i);
        p.num_ref_idx[0] = 2;
        Slice Middle = B(5 + 2 * i, 10 + 8 * i, 1);
        Middle.num_ref_idx[0] = 2;
        Middle.num_ref_idx[1] = 1;
        In.P(p, kFast).B(Middle, kFast).B(B(6 + 2 * i, 8 + 8 * i), kDirect);
    }
    In.ExpectAsFfmpeg(false);
}

// List 0 of the P picture is {long-term, one back, two back}; all three are left when the B picture comes.
TEST_P(DirectPrediction, OfBlocksThatReferToALongTermPicture)
{
    RandomStream In = Open(4);
    In.Idr({.long_term_reference = true});
    for (uint32_t i = 1; i < 4; ++i) In.Intra(Numbered(i, 2 * i));
    for (uint32_t i = 0; i < 6; ++i) {
        Slice p = Numbered(4 + i, 10 + 4 * i);
        p.reordering[0] = {{2, 0}};
        In.P(p, i % 2 ? kFast : kSlow).B(B(5 + i, 8 + 4 * i), kDirect);
    }
    In.ExpectAsFfmpeg();
}

TEST_P(DirectPrediction, FromALongTermPicture)
{
    RandomStream In = Open(5);
    In.Start(3);
    uint32_t FrameNum = 3;
    for (uint32_t i = 0; i < 4; ++i) {
        Slice p = Numbered(FrameNum++, 10 + 6 * i);
        p.num_ref_idx[0] = 2;
        p.marking = {{4, 1}, {6, 0}}; // takes the place of the long-term picture before
        In.P(p, kSlow).Intra(Numbered(FrameNum++, 14 + 6 * i));
        Slice b = B(FrameNum, 12 + 6 * i);
        b.reordering[1] = {{2, 0}};
        b.num_ref_idx[1] = 3;
        In.B(b, kDirect);
    }
    In.ExpectAsFfmpeg();
}

INSTANTIATE_TEST_SUITE_P(Kinds, DirectPrediction,
                         testing::Values(DirectCase{true, true, 0}, DirectCase{true, false, 2},
                                         DirectCase{false, true, 2}, DirectCase{false, false, 0}),
                         [](const auto& Info) {
                             return std::string(Info.param.Spatial ? "Spatial" : "Temporal") +
                                    (Info.param.Inference ? "ByCorners" : "ByBlocks") +
                                    (Info.param.Weighting == 2 ? "Weighted" : "");
                         });

// Still pictures of noise in one row, a P picture of one vector a macroblock, and a B picture of temporally predicted
// ones. Counts: of the reference, of the P picture and of the B picture.
struct ScaledCase {
    const char* Name;
    uint32_t Reference, Col, Current;
};
class ScaledVectors : public testing::TestWithParam<ScaledCase>
{
protected:
    static constexpr int kMbs = 24;
    static constexpr int kLongest = 200; // quarter samples

    Bytes Noise(const Slice& s)
    {
        MacroblockWriter Writer(m_Seq, m_Pic, s);
        for (int Mb = 0; Mb < kMbs; ++Mb) {
            Macroblock m{.mb_type = 25};
            for (uint8_t& Sample : m.pcm) Sample = static_cast<uint8_t>(1 + m_Random.Upto(253));
            Writer.Put(m);
        }
        return Writer.Finish();
    }
    Bytes Moving(Slice s)
    {
        s.slice_type = 5;
        MacroblockWriter Writer(m_Seq, m_Pic, s);
        for (int Mb = 0, Left = 0; Mb < kMbs; ++Mb) { // the left vector is the prediction: there is none above
            const int Mv = (m_Random.Upto(1) ? 1 : -1) * (kLongest - m_Random.Upto(kLongest / 2));
            Macroblock m;
            m.mvd[0][0][0][0] = Mv - std::exchange(Left, Mv);
            Writer.Put(m);
        }
        return Writer.Finish();
    }

    SeqParamSet m_Seq{.profile_idc = 77, .num_ref_frames = 4, .width_mbs = kMbs, .vui = ReorderVui(2, 4)};
    PicParamSet m_Pic{.num_ref_idx = {3, 1}};
    RandomMacroblocks m_Random{6};
};

// Distances whose factor ends at -1024 or 1023, and negative ones, which are rounded by half of their size
// (clause 8.4.1.2.3).
TEST_P(ScaledVectors, AreFfmpegs)
{
    const auto [Name, Reference, Col, Current] = GetParam();
    Slice p = Numbered(2, Col), b = Numbered(3, Current, 0);
    p.num_ref_idx[0] = 1;
    b.slice_type = 6;
    b.spatial_direct = false;
    b.reordering[1] = {{0, 0}}; // the P picture
    ExpectAsFfmpeg(Write(m_Seq) + Write(m_Pic) + Noise({.nal_unit_type = 5}) + Noise(Numbered(1, Reference)) +
                       Moving(p) + SkipSlice(m_Seq, m_Pic, b, kMbs),
                   4, false);
}

INSTANTIATE_TEST_SUITE_P(Distances, ScaledVectors,
                         testing::Values(ScaledCase{"TheLargest", 20, 22, 40}, ScaledCase{"TheSmallest", 20, 22, 4},
                                         ScaledCase{"NegativeAndTheSmallest", 20, 18, 40},
                                         ScaledCase{"NegativeAndRounded", 40, 24, 100}),
                         [](const auto& Info) { return Info.param.Name; });

} // namespace
