// Macroblocks of 4:4:4 by themselves: samples as they are sent, DC prediction, residuals of inter macroblocks, and what
// becomes of luma beside such chroma.
#include "Common/h264/h264_tables.h"
#include "tests/decoder/random_stream.h"
#include "tests/support/cabac_encoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace {

using namespace test;

constexpr uint32_t kPcm = 25, kTypeP = 5, kTypeB = 6, kTypeI = 7;

SeqParamSet SequenceOf(uint32_t Depth, uint32_t Width = 1, uint32_t Height = 1)
{
    return {
        .profile_idc = 144, .chroma_format_idc = 3, .bit_depth = Depth, .width_mbs = Width, .height_map_units = Height};
}

int SampleAt(const Bytes& Picture, size_t i, uint32_t Depth)
{
    return Depth == 8 ? Picture.at(i) : Picture.at(2 * i) + 256 * Picture.at(2 * i + 1);
}

TEST(PcmMacroblocksOf444, ComeOutAtEveryDepth)
{
    for (uint32_t Depth = 8; Depth <= 14; ++Depth)
        for (const bool IsCabac : {false, true}) {
            if (IsCabac && Depth > 8) continue; // written in bytes alone
            const SeqParamSet Seq = SequenceOf(Depth);
            const PicParamSet Pic{.cabac = IsCabac};
            const Slice s{.nal_unit_type = 5};
            RandomMacroblocks Random(Depth);
            Macroblock Mb{.mb_type = kPcm};
            for (uint8_t& Sample : Mb.pcm) Sample = static_cast<uint8_t>(Random.Upto(255));
            for (uint8_t& Sample : Mb.pcm_chroma_444) Sample = static_cast<uint8_t>(Random.Upto(255));
            MacroblockWriter Writer(Seq, Pic, s);
            if (!IsCabac) Writer.Put(Mb);
            const auto Pictures =
                DecodeAll(Write(Seq) + Write(Pic) + (IsCabac ? CabacPcmSlice(Seq, Pic, s, 77, 1) : Writer.Finish()));
            ASSERT_EQ(Pictures.size(), 1u) << Depth;
            ASSERT_EQ(Pictures.front().size(), 768u * (Depth > 8 ? 2 : 1));
            for (size_t i = 0; i < 768; ++i) {
                const int Sent = IsCabac ? 77 : i < 256 ? Mb.pcm[i] : Mb.pcm_chroma_444[i - 256];
                ASSERT_EQ(SampleAt(Pictures.front(), i, Depth) >> (Depth - 8), Sent) << Depth << " bits, " << i;
            }
        }
}

// Clause 8.3.4 for the block in column x and row y of blocks, from the sums of four samples beside it.
int DcOf(int x, int y, bool HasTop, bool HasLeft, int Top, int Left, uint32_t Depth)
{
    const bool IsOnDiagonal = (x == 0 && y == 0) || (x > 0 && y > 0);
    if (!HasTop && !HasLeft) return 1 << (Depth - 1);
    if (IsOnDiagonal && HasTop && HasLeft) return (Top + Left + 4) >> 3;
    if (IsOnDiagonal) return ((HasTop ? Top : Left) + 2) >> 2;
    if (y == 0) return ((HasTop ? Top : Left) + 2) >> 2;
    return ((HasLeft ? Left : Top) + 2) >> 2;
}

// Four macroblocks: PCM ones, and one by DC in each place. With kAlone it stands in a slice of its own.
void ExpectDcPrediction(uint32_t Depth, int Place, bool IsAlone)
{
    const SeqParamSet Seq = SequenceOf(Depth, 2, 2);
    const PicParamSet Pic;
    RandomMacroblocks Random(Depth);
    Bytes Stream = Write(Seq) + Write(Pic);
    const auto Send = [&](int First, int End) {
        if (First == End) return;
        MacroblockWriter Writer(Seq, Pic, {.nal_unit_type = 5, .first_mb = static_cast<uint32_t>(First)});
        for (int i = First; i < End; ++i) {
            Macroblock Mb{.mb_type = i == Place ? 3 : kPcm};
            for (uint8_t& Sample : Mb.pcm) Sample = static_cast<uint8_t>(Random.Upto(255));
            for (uint8_t& Sample : Mb.pcm_chroma_444) Sample = static_cast<uint8_t>(Random.Upto(255));
            Writer.Put(Mb);
        }
        Stream += Writer.Finish();
    };
    Send(0, IsAlone ? Place : 4);
    if (IsAlone) Send(Place, Place + 1);
    if (IsAlone) Send(Place + 1, 4);
    const auto Pictures = DecodeAll(Stream);
    ASSERT_EQ(Pictures.size(), 1u);
    const int X = Place % 2 * 16, Y = Place / 2 * 16;
    const bool HasLeft = X > 0 && !IsAlone, HasTop = Y > 0 && !IsAlone;
    for (int Plane = 1; Plane < 3; ++Plane) {
        const auto At = [&](int x, int y) {
            return SampleAt(Pictures.front(), static_cast<size_t>(Plane * 1024 + (Y + y) * 32 + X + x), Depth);
        };
        for (int y = 0; y < 16; ++y)
            for (int x = 0; x < 16; ++x) {
                int Top = 0, Left = 0;
                for (int i = 0; i < 4; ++i) {
                    if (HasTop) Top += At(x / 4 * 4 + i, -1);
                    if (HasLeft) Left += At(-1, y / 4 * 4 + i);
                }
                ASSERT_EQ(At(x, y), DcOf(x / 4, y / 4, HasTop, HasLeft, Top, Left, Depth))
                    << "plane " << Plane << ": " << x << ", " << y;
            }
    }
}

TEST(DcPredictionOf444, IsEachBlocksOwnWhateverStandsBesideIt)
{
    for (const uint32_t Depth : {8u, 10u, 14u})
        for (int Place = 0; Place < 4; ++Place)
            for (const bool IsAlone : {false, true}) {
                SCOPED_TRACE(testing::Message() << Depth << " bits, " << Place << IsAlone);
                ExpectDcPrediction(Depth, Place, IsAlone);
            }
}

void FillLevels(RandomMacroblocks& Random, std::array<int, 16>& Levels, size_t Count)
{
    for (size_t i = 0; i < Count; ++i) Levels[i] = Random.Upto(2) ? 0 : Random.Within(4);
}

// Of one macroblock; DC alone for some.
Macroblock AnyChroma(RandomMacroblocks& Random, uint32_t Pattern)
{
    Macroblock Mb;
    Mb.coded_block_pattern = Pattern;
    for (int Plane = 0; Plane < 2; ++Plane) {
        FillLevels(Random, Mb.chroma_dc[Plane], 16);
        for (auto& Block : Mb.chroma_ac[Plane]) FillLevels(Random, Block, 15);
    }
    for (auto& Block : Mb.luma) FillLevels(Random, Block, 16);
    Mb.luma[0][0] = 1; // the 8x8 transform in CABAC has a level always
    for (size_t i = 4; i < 16; i += 4) Mb.luma[i][0] = 1;
    return Mb;
}

struct OneMacroblock {
    SeqParamSet Seq;
    PicParamSet Pic{.pic_init_qp = 28,
                    .chroma_qp_index_offset = 2,
                    .has_transform_extension = true,
                    .transform_8x8_mode = true,
                    .second_chroma_qp_index_offset = -3};

    explicit OneMacroblock(uint32_t Depth, bool IsField) : Seq(SequenceOf(Depth))
    {
        Seq.frame_mbs_only = !IsField;
        Seq.vui = ReorderVui(0, 4);
    }
    // A flat picture, then the macroblock on top of it. Of a frame whose fields are alike.
    std::vector<Bytes> OnFlatPicture(const Macroblock& Mb, bool IsCabac) const
    {
        PicParamSet p = Pic;
        p.cabac = IsCabac;
        Bytes Stream = Write(Seq) + Write(p);
        for (uint32_t i = 0; i < 2; ++i)
            for (int Field = 0; Field <= !Seq.frame_mbs_only; ++Field) {
                Slice s{.nal_unit_type = i == 0 && Field == 0 ? 5u : 1u, .slice_type = i == 0 ? 7u : kTypeP};
                s.frame_num = i;
                s.poc_lsb = 2 * i + static_cast<uint32_t>(Field);
                s.field = !Seq.frame_mbs_only;
                s.bottom = Field == 1;
                if (i == 0 && IsCabac)
                    Stream += CabacPcmSlice(Seq, p, s, 128, 1);
                else if (i == 0)
                    Stream += Flat(s, p);
                else
                    Stream += IsCabac ? CabacInterSlice(Seq, p, s, Mb) : Cavlc(s, p, Mb);
            }
        return DecodeAll(Stream);
    }
    Bytes Flat(const Slice& s, const PicParamSet& p) const // Intra_16x16 by DC without neighbours
    {
        MacroblockWriter Writer(Seq, p, s);
        Writer.Put({.intra = true, .mb_type = 3});
        return Writer.Finish();
    }
    Bytes Cavlc(const Slice& s, const PicParamSet& p, const Macroblock& Mb) const
    {
        MacroblockWriter Writer(Seq, p, s);
        Macroblock m = Mb;
        m.may_transform_8x8 = true;
        for (size_t i = 0; i < 256 && m.transform_size_8x8; ++i) // four lists in turn
            m.luma[i / 64 * 4 + i % 4][i % 64 / 4] = Mb.luma[i / 16][i % 16];
        Writer.Put(m);
        return Writer.Finish();
    }
};

TEST(ResidualsOf444, OfInterMacroblocksAreThoseOfIntraOnesWhateverLumaHas)
{
    for (const uint32_t Depth : {8u, 10u, 14u})
        for (const bool IsField : {false, true})
            for (const uint32_t Chroma : {1u, 2u})
                for (const bool Is8x8 : {false, true}) {
                    SCOPED_TRACE(testing::Message() << Depth << IsField << Chroma << Is8x8);
                    RandomMacroblocks Random(Depth + Chroma);
                    const OneMacroblock In(Depth, IsField);
                    Macroblock Inter = AnyChroma(Random, 15 | Chroma << 4), Intra = Inter;
                    Inter.transform_size_8x8 = Is8x8;
                    Intra.intra = true;
                    Intra.mb_type = 3 + 4 * Chroma;
                    const auto a = In.OnFlatPicture(Inter, false), b = In.OnFlatPicture(Intra, false);
                    ASSERT_EQ(a.size(), 2u);
                    ASSERT_EQ(b.size(), 2u);
                    const auto Luma = static_cast<ptrdiff_t>(a[1].size() / 3);
                    EXPECT_NE(a[1], a[0]);
                    EXPECT_TRUE(std::equal(a[1].begin() + Luma, a[1].end(), b[1].begin() + Luma));
                }
}

TEST(ResidualsOf444, AreTheSameInBothCodings)
{
    for (const bool IsField : {false, true})
        for (const uint32_t Pattern : {0x0Fu, 0x10u, 0x1Fu, 0x20u, 0x2Fu})
            for (const bool Is8x8 : {false, true}) {
                SCOPED_TRACE(testing::Message() << IsField << Pattern << Is8x8);
                RandomMacroblocks Random(Pattern);
                const OneMacroblock In(8, IsField);
                Macroblock Mb = AnyChroma(Random, Pattern);
                Mb.transform_size_8x8 = Is8x8 && (Pattern & 15) != 0;
                const auto Cavlc = In.OnFlatPicture(Mb, false), Cabac = In.OnFlatPicture(Mb, true);
                ASSERT_EQ(Cavlc.size(), 2u);
                EXPECT_NE(Cavlc[1], Cavlc[0]);
                EXPECT_EQ(Cavlc, Cabac);
            }
}

// The residual is the difference of two pictures sample by sample: DC levels are those of the blocks' first samples.
TEST(BypassOf444, GivesTheSource)
{
    for (const bool IsField : {false, true})
        for (const uint32_t Depth : {8u, 12u}) {
            OneMacroblock In(Depth, IsField);
            In.Seq.transform_bypass = true;
            In.Pic.pic_init_qp = -6 * (static_cast<int>(Depth) - 8);
            const uint8_t* const pScan = IsField ? h264::kFieldScan4x4 : h264::kZigzag4x4;
            RandomMacroblocks Random(Depth);
            int Source[3][16][16];
            for (auto& Plane : Source)
                for (auto& Row : Plane)
                    for (int& Sample : Row) Sample = (1 << (Depth - 1)) + Random.Within(20);
            Macroblock Mb;
            Mb.coded_block_pattern = 0x2F;
            for (size_t i = 0; i < 16; ++i) {
                const int X = h264::kBlockRaster[i] % 4 * 4, Y = h264::kBlockRaster[i] / 4 * 4;
                const auto At = [&](int Plane, int Place) {
                    return Source[Plane][Y + Place / 4][X + Place % 4] - (1 << (Depth - 1));
                };
                for (size_t k = 0; k < 16; ++k) {
                    Mb.luma[i][k] = At(0, pScan[k]);
                    for (int c = 0; c < 2 && k > 0; ++c) Mb.chroma_ac[c][i][k - 1] = At(1 + c, pScan[k]);
                }
            }
            for (size_t k = 0; k < 16; ++k)
                for (int c = 0; c < 2; ++c)
                    Mb.chroma_dc[c][k] = Source[1 + c][pScan[k] / 4 * 4][pScan[k] % 4 * 4] - (1 << (Depth - 1));
            const auto Pictures = In.OnFlatPicture(Mb, false);
            ASSERT_EQ(Pictures.size(), 2u);
            const int Fields = IsField ? 2 : 1;
            for (int Plane = 0; Plane < 3; ++Plane)
                for (int y = 0; y < 16 * Fields; ++y)
                    for (int x = 0; x < 16; ++x)
                        ASSERT_EQ(SampleAt(Pictures[1], static_cast<size_t>((Plane * 16 * Fields + y) * 16 + x), Depth),
                                  Source[Plane][y / Fields][x])
                            << "plane " << Plane << ": " << x << ", " << y;
        }
}

enum class Structure { Frames, Fields, Pairs };

// Pictures of macroblocks of all kinds: I P P, and a B picture before the last of them, in 4:4:4 and with the chroma
// of the first blocks alone in 4:2:0.
class TwoFormats
{
public:
    TwoFormats(Structure k, uint32_t Depth, bool Is8x8)
        : m_Structure(k), m_Pic{.has_transform_extension = true, .transform_8x8_mode = Is8x8}, m_Random(Depth)
    {
        for (int i = 0; i < 2; ++i) {
            m_Seqs[i] = SequenceOf(Depth, 4, k == Structure::Frames ? 4 : 2);
            m_Seqs[i].frame_mbs_only = k == Structure::Frames;
            m_Seqs[i].mbaff = k == Structure::Pairs;
            m_Seqs[i].vui = ReorderVui(1, 4);
        }
        m_Seqs[1].profile_idc = 122;
        m_Seqs[1].chroma_format_idc = 1;
        for (int i = 0; i < 2; ++i) Data[i] = Write(m_Seqs[i]) + Write(m_Pic);
        Add(kTypeI, 0, 0);
        Add(kTypeP, 1, 4);
        Add(kTypeP, 2, 12);
        Add(kTypeB, 3, 8);
    }

    Bytes Data[2];

private:
    void Add(uint32_t Type, uint32_t FrameNum, uint32_t PocLsb)
    {
        for (const bool IsSecond : {false, true}) {
            if (IsSecond && m_Structure != Structure::Fields) return;
            Slice s{.nal_ref_idc = Type != kTypeB, .nal_unit_type = Type == kTypeI && !IsSecond ? 5u : 1u};
            s.slice_type = Type;
            s.frame_num = FrameNum;
            s.poc_lsb = PocLsb + IsSecond;
            s.field = m_Structure == Structure::Fields;
            s.bottom = IsSecond;
            s.disable_deblocking = 0;
            AddSlice(s);
        }
    }
    void AddSlice(const Slice& s)
    {
        MacroblockMix Mix{.skip = m_Structure != Structure::Pairs, .intra = 3};
        if (s.slice_type == kTypeI) Mix = {.skip = 0, .direct = 0, .inter = 0, .intra = 1};
        MacroblockWriter Writers[2] = {{m_Seqs[0], m_Pic, s}, {m_Seqs[1], m_Pic, s}};
        bool IsField = false;
        for (uint32_t i = 0; i < PictureMbs(m_Seqs[0], s); ++i) {
            Macroblock Mb = m_Random.Any(m_Seqs[0], m_Pic, s, Mix);
            if (i % 2 == 0) IsField = m_Random.Upto(1);
            Mb.field_decoding = IsField;
            for (MacroblockWriter& Writer : Writers) Writer.Put(Mb);
        }
        for (int i = 0; i < 2; ++i) Data[i] += Writers[i].Finish();
    }

    const Structure m_Structure;
    const PicParamSet m_Pic;
    SeqParamSet m_Seqs[2];
    RandomMacroblocks m_Random;
};

TEST(LumaOf444, IsThatOf420)
{
    for (const Structure k : {Structure::Frames, Structure::Fields, Structure::Pairs})
        for (const uint32_t Depth : {8u, 14u})
            for (const bool Is8x8 : {false, true}) {
                SCOPED_TRACE(testing::Message() << static_cast<int>(k) << Depth << Is8x8);
                const TwoFormats In(k, Depth, Is8x8);
                const auto All = DecodeAll(In.Data[0]), Reference = DecodeAll(In.Data[1]);
                ASSERT_EQ(All.size(), 4u);
                ASSERT_EQ(Reference.size(), 4u);
                if (Depth == 8) ExpectAsFfmpeg(In.Data[1], 4); // which has a say about the reference
                const ptrdiff_t Luma = 16 * 256 * (Depth > 8 ? 2 : 1);
                for (size_t n = 0; n < 4; ++n) {
                    ASSERT_EQ(All[n].size(), static_cast<size_t>(3 * Luma));
                    ASSERT_TRUE(std::equal(All[n].begin(), All[n].begin() + Luma, Reference[n].begin())) << n;
                }
            }
}

// Unit 1 in both directions (clause 7.4.2.1.1), in every plane.
TEST(CroppedPicturesOf444, LoseSingleSamplesOfEveryPlane)
{
    SeqParamSet Seq = SequenceOf(8);
    const Slice s{.nal_unit_type = 5};
    RandomMacroblocks Random(3);
    const Bytes Macroblocks = Random.Intra(Seq, {}, s);
    const auto Whole = DecodeAll(Write(Seq) + Write(PicParamSet{}) + Macroblocks);
    Seq.cropping = true;
    std::copy_n(std::array{1u, 2u, 3u, 4u}.begin(), 4, Seq.crop);
    const auto Cropped = DecodeAll(Write(Seq) + Write(PicParamSet{}) + Macroblocks);
    ASSERT_EQ(Whole.size(), 1u);
    ASSERT_EQ(Cropped.size(), 1u);
    ASSERT_EQ(Cropped.front().size(), 3u * 13 * 9);
    for (size_t i = 0; i < Cropped.front().size(); ++i)
        ASSERT_EQ(Cropped.front()[i], Whole.front()[i / 117 * 256 + (i % 117 / 13 + 3) * 16 + i % 13 + 1]) << i;
}

// Only the profile that was made for it has it in this form.
TEST(StreamsOf444, OfOtherProfilesAreRefused)
{
    for (const uint32_t Profile : {100u, 110u, 122u, 244u}) {
        SeqParamSet Seq = SequenceOf(8);
        Seq.profile_idc = Profile;
        EXPECT_TRUE(DecodeAll(Write(Seq) + Write(PicParamSet{}) + PcmSlice(Seq, {}, {.nal_unit_type = 5}, 9)).empty())
            << Profile;
    }
    const SeqParamSet Seq = SequenceOf(8);
    EXPECT_EQ(DecodeAll(Write(Seq) + Write(PicParamSet{}) + PcmSlice(Seq, {}, {.nal_unit_type = 5}, 9)).size(), 1u);
}

} // namespace
