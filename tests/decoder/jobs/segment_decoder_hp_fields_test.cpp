// The members of the family that decode fields, on whole streams of fields and frames, as ffmpeg has them.
#include "tests/decoder/random_fields.h"
#include "tests/support/cabac_encoder.h"

namespace {

using namespace test;

constexpr uint32_t kP = 5, kB = 6;

struct FieldCase {
    const char* Name;
    uint32_t Profile;
    uint32_t WeightedBipred;
    bool WeightedPred, BottomFirst, Filter, ConstrainedIntra;
};
class Fields : public testing::TestWithParam<FieldCase>
{
protected:
    static FieldStream Open(uint32_t Seed, uint32_t Reordered = 1)
    {
        const FieldCase& c = GetParam();
        PicParamSet Pic{.num_ref_idx = {4, 2},
                        .weighted_pred = c.WeightedPred,
                        .weighted_bipred_idc = c.WeightedBipred,
                        .chroma_qp_index_offset = 3,
                        .constrained_intra_pred = c.ConstrainedIntra};
        Pic.has_transform_extension = Pic.transform_8x8_mode = c.Profile == 100;
        return {{.profile_idc = c.Profile, .num_ref_frames = 4, .vui = ReorderVui(Reordered, 4)}, Pic, Seed};
    }
    static Slice Next(FieldStream& In, uint32_t Type, uint32_t FrameNum, uint32_t PocLsb, uint32_t RefIdc = 1)
    {
        const FieldCase& c = GetParam();
        Slice s = Typed(Type, FrameNum & 15, PocLsb & 255, RefIdc);
        s.bottom = c.BottomFirst;
        s.disable_deblocking = c.Filter ? 0 : 1;
        if (c.WeightedPred || c.WeightedBipred == 1) {
            s.luma_log2_weight_denom = 4;
            s.chroma_log2_weight_denom = 3;
            for (auto& List : s.weights)
                for (int i = 0; i < 8; ++i)
                    List.push_back({.luma = In.Random.Upto(1) != 0,
                                    .chroma = In.Random.Upto(1) != 0,
                                    .luma_weight = 16 + In.Random.Within(7),
                                    .luma_offset = In.Random.Within(9),
                                    .chroma_weight = {8 + In.Random.Within(3), 8 + In.Random.Within(3)},
                                    .chroma_offset = {In.Random.Within(9), In.Random.Within(9)}});
        }
        return s;
    }
    // All references of its co-located picture stand in list 0, as clause 8.4.1.2.3 asks for.
    static Slice NextB(FieldStream& In, uint32_t FrameNum, uint32_t PocLsb, bool IsField, bool Spatial)
    {
        Slice b = Next(In, kB, FrameNum, PocLsb, 0);
        b.spatial_direct = Spatial;
        b.num_ref_idx[0] = IsField ? 8 : 4;
        b.num_ref_idx[1] = IsField ? 2 : 1;
        return b;
    }
};

TEST_P(Fields, SecondFieldRefersToTheFirstOfItsFrame)
{
    FieldStream In = Open(61);
    Slice i = Next(In, 7, 0, 0), p = Next(In, kP, 0, 1);
    i.nal_unit_type = 5;
    i.field = p.field = true;
    p.bottom = !i.bottom;
    p.num_ref_idx[0] = 1; // there is no other
    In.Add(i).Add(p);
    ++In.Pictures;
    In.ExpectAsFfmpeg();
}

TEST_P(Fields, OfPPicturesAreFfmpegs)
{
    FieldStream In = Open(62);
    In.StartPairs(3);
    for (uint32_t i = 3; i < 10; ++i) In.Pair(Next(In, kP, i, 2 * i));
    In.ExpectAsFfmpeg();
}

TEST_P(Fields, OfBPicturesAreFfmpegs)
{
    for (const bool Spatial : {true, false}) {
        FieldStream In = Open(63);
        In.StartPairs(4);
        for (uint32_t i = 0; i < 5; ++i)
            In.Pair(Next(In, kP, 4 + i, 10 + 4 * i)).Pair(NextB(In, 5 + i, 8 + 4 * i, true, Spatial));
        In.ExpectAsFfmpeg();
    }
}

TEST_P(Fields, AndFramesByTurnsAreFfmpegs)
{
    for (const bool Spatial : {true, false}) {
        FieldStream In = Open(64);
        In.StartPairs(4);
        for (uint32_t i = 0; i < 9; ++i) {
            Slice p = Next(In, kP, 4 + i, 10 + 4 * i);
            p.num_ref_idx[0] = 3;
            i % 3 == 0 ? In.Frame(p) : In.Pair(p);
            const bool IsField = i % 2 != 0;
            const Slice b = NextB(In, 5 + i, 8 + 4 * i, IsField, Spatial);
            IsField ? In.Pair(b) : In.Frame(b);
        }
        In.ExpectAsFfmpeg();
    }
}

// Each slice of a field with neighbours and a list of its own.
TEST_P(Fields, OfSeveralSlicesAreFfmpegs)
{
    FieldStream In = Open(65);
    In.StartPairs(3);
    for (uint32_t i = 3; i < 8; ++i) {
        Slice p = Next(In, kP, i, 2 * i);
        p.field = true;
        for (const bool Second : {false, true}) {
            p.bottom = Second != GetParam().BottomFirst;
            p.poc_lsb = 2 * i + Second;
            for (const uint32_t First : {0u, 5u}) {
                p.first_mb = First;
                p.reordering[0].clear();
                if (First != 0) p.reordering[0] = {{0, 2}};
                In.Data += In.Random.Inter(In.Seq, In.Pic, p, First == 0 ? 5 : 7, {.intra = 2});
            }
        }
        ++In.Pictures;
    }
    In.ExpectAsFfmpeg();
}

// Slices of one macroblock each, with the contexts and scans of fields in all blocks.
TEST_P(Fields, InCabacAreFfmpegs)
{
    FieldStream In = Open(66);
    In.StartPairs(2);
    In.Use([&] {
        PicParamSet Cabac = In.Pic;
        Cabac.cabac = true;
        return Cabac;
    }());
    for (uint32_t i = 2; i < 5; ++i) {
        Slice p = Next(In, kP, i, 2 * i);
        p.field = true;
        p.num_ref_idx[0] = 3;
        for (const bool Second : {false, true}) {
            p.bottom = Second != GetParam().BottomFirst;
            p.poc_lsb = 2 * i + Second;
            for (p.first_mb = 0; p.first_mb < FieldStream::kMbs; ++p.first_mb) {
                Macroblock m = In.Random.Any(In.Seq, In.Pic, p, {.skip = 0, .direct = 0, .inter = 1, .intra = 0});
                m.mb_type = 0;
                In.Data += CabacInterSlice(In.Seq, In.Pic, p, m);
            }
        }
        ++In.Pictures;
    }
    In.ExpectAsFfmpeg();
}

INSTANTIATE_TEST_SUITE_P(Kinds, Fields,
                         testing::Values(FieldCase{"Plain", 77, 0, false, false, false, false},
                                         FieldCase{"Filtered", 77, 0, false, false, true, true},
                                         FieldCase{"BottomFirst", 77, 2, false, true, true, false},
                                         FieldCase{"ImplicitWeights", 77, 2, false, false, false, false},
                                         FieldCase{"ExplicitWeights", 77, 1, true, true, false, false},
                                         FieldCase{"LargeTransform", 100, 2, false, false, true, false}),
                         [](const auto& Info) { return Info.param.Name; });

// Luma alone: Intra_16x16 by DC with a level of 1 or -1, then skipped macroblocks.
TEST(GreyFields, AreFfmpegs)
{
    SeqParamSet Seq = Interlaced({.profile_idc = 100, .chroma_format_idc = 0, .width_mbs = 4, .height_map_units = 3});
    Seq.vui = ReorderVui(0, 4);
    const PicParamSet Pic{.pic_init_qp = 40};
    RandomMacroblocks Random(67);
    Bytes Data = Write(Seq) + Write(Pic);
    for (const bool IsBottom : {false, true}) {
        Slice s = Typed(7, 0, IsBottom);
        s.nal_unit_type = IsBottom ? 1 : 5;
        s.field = true;
        s.bottom = IsBottom;
        s.disable_deblocking = 0;
        BitWriter Bits = Header(Seq, Pic, s);
        for (uint32_t Mb = 0; Mb < PictureMbs(Seq, s); ++Mb) {
            Bits.UE(3);   // Intra_16x16 by DC, no AC levels
            Bits.SE(0);   // mb_qp_delta
            Bits.U(2, 1); // one level, of 1
            Bits.U(1, static_cast<uint32_t>(Random.Upto(1)));
            Bits.U(1, 1); // the first
        }
        Data += Finish(Bits, s);
    }
    for (const bool IsBottom : {true, false}) {
        Slice s = Typed(5, 1, 2 + !IsBottom);
        s.field = true;
        s.bottom = IsBottom;
        s.num_ref_idx[0] = 2;
        s.disable_deblocking = 0;
        Data += SkipSlice(Seq, Pic, s, static_cast<int>(PictureMbs(Seq, s)));
    }
    ExpectAsFfmpeg(Data, 2);
}

} // namespace
