// Inter prediction of whole pictures: every partition with every reference, plain and weighted, as ffmpeg has it.
#include "tests/decoder/random_stream.h"
#include "tests/support/cabac_encoder.h"

namespace {

using namespace test;

constexpr uint32_t kStart = 4; // references before the first P picture

// Pairs of a P picture and a B picture that is shown before it. Change gets each slice before it is written.
template <class F>
void AddPairs(RandomStream& In, uint32_t Pairs, F&& Change)
{
    In.Start(kStart);
    for (uint32_t i = 0; i < Pairs; ++i) {
        const uint32_t FrameNum = kStart + i, Poc = 2 * kStart + 4 * i;
        Slice p = Numbered(FrameNum & 15, Poc + 2), b = Numbered((FrameNum + 1) & 15, Poc, 0);
        Change(p);
        Change(b);
        In.P(p).B(b);
    }
}

TEST(InterPrediction, EveryPartitionFromEveryReference)
{
    for (uint32_t Seed = 1; Seed <= 4; ++Seed) {
        RandomStream In({.profile_idc = 77}, {.num_ref_idx = {3, 2}}, Seed);
        AddPairs(In, 6, [&](Slice& s) { s.disable_deblocking = Seed & 1; });
        In.ExpectAsFfmpeg();
    }
}

TEST(InterPrediction, EightByEightTransformBesideSmallPartitions)
{
    for (const bool Inference : {true, false}) { // without it direct blocks are too small for that transform
        RandomStream In({.profile_idc = 100, .direct_8x8_inference = Inference},
                        {.num_ref_idx = {2, 2}, .has_transform_extension = true, .transform_8x8_mode = true}, 5);
        AddPairs(In, 6, [](Slice& s) { s.disable_deblocking = 0; });
        In.ExpectAsFfmpeg();
    }
}

// Quarters that are whole or direct, so that only direct_8x8_inference_flag decides whether the flag is there.
TEST(InterPrediction, EightByEightTransformOfDirectQuarters)
{
    for (const bool Inference : {true, false}) {
        RandomStream In({.profile_idc = 100, .direct_8x8_inference = Inference},
                        {.num_ref_idx = {2, 2}, .has_transform_extension = true, .transform_8x8_mode = true}, 7);
        In.Start(kStart);
        for (uint32_t i = 0; i < 3; ++i) {
            Slice b = Numbered(kStart, 2 * kStart + 2 * i, 0);
            b.slice_type = 6;
            MacroblockWriter Writer(In.Seq, In.Pic, b);
            for (int Mb = 0; Mb < RandomStream::kMbs; ++Mb) {
                Macroblock m{.mb_type = 22, .coded_block_pattern = static_cast<uint32_t>(1 + In.Random.Upto(14))};
                m.may_transform_8x8 = true;
                for (uint32_t& Type : m.sub_mb_type) {
                    Type = static_cast<uint32_t>(In.Random.Upto(3));
                    m.may_transform_8x8 &= Type != 0 || Inference;
                }
                m.transform_size_8x8 = m.may_transform_8x8 && In.Random.Upto(1);
                for (auto& Block : m.luma) Block[static_cast<size_t>(In.Random.Upto(15))] = In.Random.Within(3);
                Writer.Put(m);
            }
            In.Data += Writer.Finish();
            ++In.Pictures;
        }
        In.ExpectAsFfmpeg();
    }
}

TEST(InterPrediction, EightByEightTransformOfDirectQuartersInCabac)
{
    for (const bool Inference : {true, false}) {
        SCOPED_TRACE(Inference);
        const SeqParamSet Seq{.profile_idc = 100, .direct_8x8_inference = Inference, .vui = ReorderVui(1, 4)};
        const PicParamSet Plain{},
            Pic{.id = 1, .cabac = true, .has_transform_extension = true, .transform_8x8_mode = true};
        Slice b = Numbered(2, 4, 0);
        b.pps_id = 1;
        ExpectAsFfmpeg(Write(Seq) + Write(Plain) + Write(Pic) + PcmSlice(Seq, Plain, {.nal_unit_type = 5}, 100) +
                           PcmSlice(Seq, Plain, Numbered(1, 2), 140) + CabacDirect8x8Slice(Seq, Pic, b, Inference),
                       3);
    }
}

// Weights over the range that two together may have (clause 7.4.3.2), or that one alone may have, with odd sums of
// offsets; some references have none, but at a denominator of 7, where two defaults would be too much.
void AddWeights(RandomMacroblocks& Random, Slice& s, uint32_t Denominator, int Limit)
{
    s.luma_log2_weight_denom = Denominator;
    s.chroma_log2_weight_denom = 7 - Denominator;
    const auto Draw = [&](uint32_t Denom) {
        return std::clamp(Random.Upto(3) ? (1 << Denom) / 2 + Random.Within(30) : -60, -Limit, Limit - 1);
    };
    for (auto& List : s.weights)
        for (int i = 0; i < 3; ++i) {
            Weight w{.luma = Random.Upto(2) || Denominator == 7, .chroma = Random.Upto(2) || Denominator == 0};
            w.luma_weight = Draw(s.luma_log2_weight_denom);
            w.luma_offset = Random.Upto(1) ? Random.Within(9) : Random.Upto(255) - 128;
            for (int Plane = 0; Plane < 2; ++Plane) {
                w.chroma_weight[Plane] = Draw(s.chroma_log2_weight_denom);
                w.chroma_offset[Plane] = Random.Within(31);
            }
            List.push_back(w);
        }
}

TEST(InterPrediction, ExplicitWeightsWithEveryDenominator)
{
    for (const bool HasResidual : {false, true}) {
        RandomStream In({.profile_idc = 77}, {.num_ref_idx = {3, 2}, .weighted_pred = true, .weighted_bipred_idc = 1},
                        HasResidual);
        uint32_t Denominator = 0;
        In.Start(kStart);
        for (uint32_t i = 0; i < 8; ++i) {
            const uint32_t FrameNum = kStart + i, Poc = 2 * kStart + 4 * i;
            Slice p = Numbered(FrameNum & 15, Poc + 2), b = Numbered((FrameNum + 1) & 15, Poc, 0);
            AddWeights(In.Random, p, Denominator, 128);
            AddWeights(In.Random, b, Denominator++, 64);
            In.P(p, {.residual = HasResidual}).B(b, {.residual = HasResidual});
        }
        In.ExpectAsFfmpeg();
    }
}

// Clause 8.4.2.3.2, of a prediction from list 0, from list 1 or from both.
int Weighted(int a, int b, uint32_t Lists, const Weight (&w)[2], int LogDenom, int Plane)
{
    const auto Factor = [&](int List) {
        return !w[List].luma ? 1 << LogDenom : Plane == 0 ? w[List].luma_weight : w[List].chroma_weight[Plane - 1];
    };
    const auto Offset = [&](int List) { return Plane == 0 ? w[List].luma_offset : w[List].chroma_offset[Plane - 1]; };
    if (Lists == 3)
        return std::clamp(((a * Factor(0) + b * Factor(1) + (1 << LogDenom)) >> (LogDenom + 1)) +
                              ((Offset(0) + Offset(1) + 1) >> 1),
                          0, 255);
    const int List = Lists == 1 ? 0 : 1, Sample = List == 0 ? a : b;
    if (!w[List].luma) return Sample;
    return std::clamp(((Sample * Factor(List) + (1 << (LogDenom - 1))) >> LogDenom) + Offset(List), 0, 255);
}

// Against the clause itself: at a denominator of 7 ffmpeg's sums overflow.
TEST(InterPrediction, ExplicitWeightsAtTheirBounds)
{
    struct Case {
        int32_t Denominator, Weight0, Weight1; // their sum is -128 up to 128, or 127 with a denominator of 7 if sent
    };
    for (const auto& [Denominator, Weight0, Weight1] :
         {Case{7, 127, 0}, Case{7, 0, 127}, Case{6, 127, 1}, Case{6, 1, 127}, Case{5, 64, 64}, Case{7, 127, -128},
          Case{7, -128, 127}, Case{6, -128, 0}, Case{6, 0, -128}, Case{7, -1, 128}, Case{7, 128, -128},
          Case{7, 128, 128}}) {
        SCOPED_TRACE(testing::Message() << Denominator << ": " << Weight0 << ", " << Weight1);
        RandomStream In({.profile_idc = 77}, {.num_ref_idx = {1, 1}, .weighted_bipred_idc = 1}, 12);
        In.Start(2);
        Slice s = Numbered(2, 4, 0);
        s.slice_type = 6;
        s.luma_log2_weight_denom = s.chroma_log2_weight_denom = static_cast<uint32_t>(Denominator);
        Weight w[2];
        for (int List = 0; List < 2; ++List) {
            const int32_t Value = List == 0 ? Weight0 : Weight1;
            if (Value != 128) // which is what a denominator of 7 gives where nothing is sent
                w[List] = {true, true, Value, 127 - 255 * List, {Value, Value}, {-128, 127}};
            s.weights[List] = {w[List]};
        }
        MacroblockWriter Writer(In.Seq, In.Pic, s);
        for (int Mb = 0; Mb < RandomStream::kMbs; ++Mb) Writer.Put({.mb_type = static_cast<uint32_t>(1 + Mb % 3)});
        In.Data += Writer.Finish();
        ++In.Pictures;
        if (Denominator < 7) In.ExpectAsFfmpeg();
        const auto Pictures = DecodeAll(In.Data);
        ASSERT_EQ(Pictures.size(), 3u);
        size_t i = 0;
        for (int Plane = 0; Plane < 3; ++Plane) {
            const int Side = Plane == 0 ? 16 : 8;
            for (int y = 0; y < 3 * Side; ++y)
                for (int x = 0; x < 4 * Side; ++x, ++i) {
                    const auto Lists = static_cast<uint32_t>(1 + (y / Side * 4 + x / Side) % 3);
                    ASSERT_EQ(Pictures[2][i], Weighted(Pictures[1][i], Pictures[0][i], Lists, w, Denominator, Plane))
                        << Plane << ": " << x << ", " << y;
                }
        }
    }
}

TEST(InterPrediction, ExplicitWeightsBeyondTheirBoundsAreABadHeader)
{
    const SeqParamSet Seq{.profile_idc = 77};
    const PicParamSet Pic{.weighted_pred = true};
    const auto PicturesWith = [&](const Weight& w) {
        Slice p = Numbered(1, 2);
        p.weights[0] = {w};
        return DecodeAll(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, {.nal_unit_type = 5}, 100) +
                         CopySlice(Seq, Pic, p, 0))
            .size();
    };
    for (const int32_t Value : {-129, -128, 127, 128}) {
        SCOPED_TRACE(Value);
        const size_t Pictures = Value == -128 || Value == 127 ? 2 : 1;
        EXPECT_EQ(PicturesWith({.luma = true, .luma_weight = Value}), Pictures);
        EXPECT_EQ(PicturesWith({.luma = true, .luma_offset = Value}), Pictures);
        EXPECT_EQ(PicturesWith({.chroma = true, .chroma_weight = {1, Value}}), Pictures);
        EXPECT_EQ(PicturesWith({.chroma = true, .chroma_offset = {1, Value}}), Pictures);
    }
}

TEST(InterPrediction, ImplicitWeightsByDistance)
{
    RandomStream In({.profile_idc = 77, .log2_max_poc_lsb = 10}, {.num_ref_idx = {3, 2}, .weighted_bipred_idc = 2}, 11);
    AddPairs(In, 3, [](Slice&) {});
    // Distances that are uneven, far beyond 127, and so that a weight leaves -64..128.
    uint32_t FrameNum = kStart + 3;
    for (const uint32_t Poc : {40u, 46u, 48u, 56u, 90u, 250u}) {
        In.Intra(Numbered(FrameNum++, Poc));
        In.B(Numbered(FrameNum, Poc - 2, 0), {.residual = false});
    }
    In.ExpectAsFfmpeg();
}

// A B picture of two flat ones, an IDR picture of 100 and one of 140 whose count is Second. List 0 begins with the one
// before it, or the later one when both are.
int ShownAt(uint32_t PicOrderCnt, uint32_t Second)
{
    const SeqParamSet Seq{.profile_idc = 77, .log2_max_poc_lsb = 12};
    const PicParamSet Pic{.num_ref_idx = {2, 2}, .weighted_bipred_idc = 2};
    Slice b = Numbered(2, PicOrderCnt, 0);
    b.slice_type = 6;
    MacroblockWriter Writer(Seq, Pic, b);
    Writer.Put({.mb_type = 3});
    const auto Values = DecodeValues(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, {.nal_unit_type = 5}, 100) +
                                     PcmSlice(Seq, Pic, Numbered(1, Second), 140) + Writer.Finish());
    return Values.at(PicOrderCnt < Second ? 1 : 2);
}

TEST(InterPrediction, ImplicitWeightsEndAtMinus64)
{
    EXPECT_EQ(ShownAt(7, 4), (140 * 112 - 100 * 48 + 32) >> 6);
    EXPECT_EQ(ShownAt(8, 4), (140 * 128 - 100 * 64 + 32) >> 6);
    EXPECT_EQ(ShownAt(9, 4), 120) << "beyond, the mean";
}

TEST(InterPrediction, DistancesOfImplicitWeightsAreLimited)
{
    // 97 of 200, taken as 127: 97 * 129 + 32 >> 6 >> 2 is 49.
    EXPECT_EQ(ShownAt(97, 200), (100 * 15 + 140 * 49 + 32) >> 6);
    // 100 of -200, taken as -128: 100 * -128 + 32 >> 6 >> 2 is -50.
    EXPECT_EQ(ShownAt(300, 200), (140 * 114 - 100 * 50 + 32) >> 6);
    // 16384 and half of 128, divided by -128, is -128 too: 101 * -128 + 32 >> 6 >> 2 is -51.
    EXPECT_EQ(ShownAt(301, 200), (140 * 115 - 100 * 51 + 32) >> 6);
}

TEST(InterPrediction, TwoReferencesWithoutMotionGiveTheirMean)
{
    RandomStream In({.profile_idc = 77}, {.num_ref_idx = {2, 2}}, 12);
    In.Start(2);
    Slice b = Numbered(2, 4, 0);
    b.slice_type = 6;
    MacroblockWriter Writer(In.Seq, In.Pic, b);
    for (int Mb = 0; Mb < RandomStream::kMbs; ++Mb) { // list 1 holds the same two pictures in the other order
        Macroblock m{.mb_type = 3};
        m.ref_idx[0][0] = 0;
        m.ref_idx[1][0] = 0;
        Writer.Put(m);
    }
    const auto Pictures = DecodeAll(In.Data + Writer.Finish());
    ASSERT_EQ(Pictures.size(), 3u);
    ASSERT_NE(Pictures[0], Pictures[1]);
    for (size_t i = 0; i < Pictures[2].size(); ++i)
        ASSERT_EQ(Pictures[2][i], (Pictures[0][i] + Pictures[1][i] + 1) / 2) << i;
}

} // namespace
