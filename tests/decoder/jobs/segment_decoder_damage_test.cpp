// Macroblock data that cannot be right: the slice ends there, what came before it stays, and the rest is restored.
#include "tests/decoder/random_stream.h"
#include "tests/support/cabac_encoder.h"

#include <gmock/gmock.h>

namespace {

using namespace test;

constexpr int kWidth = 3, kMbs = 12;
constexpr uint8_t kReceived = 77;
constexpr uint32_t kTypeP = 5, kTypeB = 6, kTypeI = 7;

struct Element {
    int Bits; // 0: ue(v)
    uint32_t Value;
};

// The elements of one macroblock from mb_type on, the last one of which is out of range; further ones do not count.
struct Damage {
    const char* pName;
    uint32_t SliceType;
    std::vector<Element> Elements;
    uint32_t ActiveRefs = 1;
};

// Sound macroblocks in front of the damaged one and behind it; structures of pictures of equally many macroblocks.
enum Structure { kFrame, kTopField, kBottomField, kPairs };

class DamagedMacroblock : public testing::TestWithParam<Damage>
{
protected:
    void Use(Structure Pictures)
    {
        m_Pictures = Pictures;
        m_Seq = {.profile_idc = 77, .num_ref_frames = 3};
        m_Seq.width_mbs = kWidth;
        m_Seq.frame_mbs_only = Pictures == kFrame;
        m_Seq.mbaff = Pictures == kPairs;
        m_Seq.height_map_units = IsField() ? 4 : Pictures == kPairs ? 2 : 4;
        m_Data = Write(m_Seq) + Write(m_Pic);
    }
    bool IsField() const { return m_Pictures == kTopField || m_Pictures == kBottomField; }

    void PutPcm(BitWriter& Bits, uint32_t SliceType, int Mb, uint8_t Value) const
    {
        if (SliceType != kTypeI) Bits.UE(0);                                    // mb_skip_run
        if (m_Pictures == kPairs && Mb % 2 == 0) Bits.U(1, 0);                  // mb_field_decoding_flag
        Bits.UE(25 + (SliceType == kTypeP ? 5 : SliceType == kTypeB ? 23 : 0)); // I_PCM
        Bits.Align();
        for (int i = 0; i < 384; ++i) Bits.U(8, Value);
    }
    // A picture of one value, or both of its fields; that of the structure's parity is damaged behind Sound
    // macroblocks.
    void Picture(uint32_t FrameNum, uint8_t Value, const Damage* pDamage = nullptr, int Sound = 0)
    {
        for (int Field = 0; Field <= IsField(); ++Field) {
            Slice s = Numbered(FrameNum, 4 * FrameNum + static_cast<uint32_t>(Field));
            s.field = IsField();
            s.bottom = Field == 1;
            const bool IsDamaged = pDamage && (!IsField() || (Field == 1) == (m_Pictures == kBottomField));
            if (FrameNum == 0 && Field == 0) s.nal_unit_type = 5;
            s.slice_type = IsDamaged ? pDamage->SliceType : kTypeI;
            if (IsDamaged && s.slice_type != kTypeI) s.num_ref_idx[0] = s.num_ref_idx[1] = pDamage->ActiveRefs;
            BitWriter Bits = Header(m_Seq, m_Pic, s);
            for (int Mb = 0; Mb < kMbs; ++Mb) {
                if (IsDamaged && Mb == Sound) PutDamage(Bits, *pDamage, Mb);
                PutPcm(Bits, s.slice_type, Mb, Value);
            }
            m_Data += Finish(Bits, s);
        }
    }
    void PutDamage(BitWriter& Bits, const Damage& d, int Mb) const
    {
        if (d.SliceType != kTypeI) Bits.UE(0);
        if (m_Pictures == kPairs && Mb % 2 == 0) Bits.U(1, 0);
        for (const Element& e : d.Elements) {
            if (e.Bits == 0)
                Bits.UE(e.Value);
            else
                Bits.U(e.Bits, e.Value);
        }
    }
    void Copy(uint32_t FrameNum)
    {
        for (int Field = 0; Field <= IsField(); ++Field) {
            Slice s = Numbered(FrameNum, 4 * FrameNum + static_cast<uint32_t>(Field));
            s.field = IsField();
            s.bottom = Field == 1;
            s.slice_type = kTypeP;
            m_Data += SkipSlice(m_Seq, m_Pic, s, kMbs);
        }
    }
    // The luma sample in the middle of macroblock Mb of the picture, or of its damaged field.
    int SampleOf(const Bytes& Samples, int Mb) const
    {
        int Column = Mb % kWidth, Row = Mb / kWidth;
        if (m_Pictures == kPairs) {
            Column = Mb / 2 % kWidth;
            Row = Mb / 2 / kWidth * 2 + Mb % 2;
        }
        int Line = Row * 16 + 8;
        if (IsField()) Line = 2 * Line + (m_Pictures == kBottomField);
        return Samples[static_cast<size_t>(Line * kWidth * 16 + Column * 16 + 8)];
    }

    Structure m_Pictures = kFrame;
    SeqParamSet m_Seq;
    PicParamSet m_Pic{};
    Bytes m_Data;
};

TEST_P(DamagedMacroblock, EndsItsSlice)
{
    for (const Structure Pictures : {kFrame, kTopField, kBottomField, kPairs})
        for (const int Sound : {0, 4, 11}) {
            SCOPED_TRACE(testing::Message() << "structure " << Pictures << ", macroblock " << Sound);
            Use(Pictures);
            Picture(0, 40);
            Picture(1, kReceived, &GetParam(), Sound);
            Copy(2);
            const auto Shown = DecodeAll(m_Data);
            ASSERT_EQ(Shown.size(), 2u) << "the first picture and the copy of the damaged one";
            // In frames lines of memory are restored, beside which sound macroblocks of the row may stand.
            const int Kept = Pictures == kFrame ? Sound / kWidth * kWidth : Sound;
            for (int Mb = 0; Mb < Kept; ++Mb) EXPECT_EQ(SampleOf(Shown[1], Mb), kReceived) << Mb;
            // The last row stays as the memory was, and in a bottom field the second half.
            const int End = (Pictures == kBottomField ? Sound + (kMbs - Sound) / 2 : kMbs) - kWidth;
            for (int Mb = Sound; Mb < End; ++Mb)
                EXPECT_NE(SampleOf(Shown[1], Mb), kReceived) << Mb << ", which no data came for";
        }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, DamagedMacroblock,
    testing::ValuesIn(std::vector<Damage>{
        {"MbTypeOfI", kTypeI, {{0, 26}}},
        {"MbTypeOfP", kTypeP, {{0, 31}}},
        {"MbTypeOfB", kTypeB, {{0, 49}}},
        {"SubMbTypeOfP", kTypeP, {{0, 3}, {0, 0}, {0, 1}, {0, 2}, {0, 4}}},
        {"SubMbTypeOfB", kTypeB, {{0, 22}, {0, 13}}},
        {"RefIdx", kTypeP, {{0, 0}, {0, 3}}, 3},
        {"RefIdxOfASubMacroblock", kTypeP, {{0, 3}, {0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, 2}, {0, 5}}, 5},
        {"RefIdxOfList1", kTypeB, {{0, 2}, {0, 4}}, 4},
        {"CodedBlockPatternOfI", kTypeI, {{0, 0}, {16, 0xFFFF}, {0, 0}, {0, 48}}},
        {"CodedBlockPatternOfP", kTypeP, {{0, 0}, {0, 0}, {0, 0}, {0, 48}}},
        {"IntraChromaMode", kTypeI, {{0, 0}, {16, 0xFFFF}, {0, 4}}},
        {"MbQpDelta", kTypeP, {{0, 0}, {0, 0}, {0, 0}, {0, 2}, {0, 53}}},
        {"MbQpDeltaBelow", kTypeP, {{0, 0}, {0, 0}, {0, 0}, {0, 2}, {0, 54}}},
        // coded_block_pattern 1, mb_qp_delta 0, luma levels: no coeff_token, or beside PCM no level_prefix.
        {"Levels", kTypeP, {{0, 0}, {0, 0}, {0, 0}, {0, 2}, {0, 0}, {32, 0}, {32, 0}}},
        // The same with a coded_block_pattern of 16, for chroma DC.
        {"LevelPrefix", kTypeP, {{0, 0}, {0, 0}, {0, 0}, {0, 1}, {0, 0}, {6, 7}, {32, 0}}},
        {"CodeWordOfTooManyZeros", kTypeP, {{0, 0}, {32, 0}, {2, 0}}}}),
    [](const auto& Info) { return Info.param.pName; });

TEST(DamagedCabacMacroblock, EndsItsSliceAtAReferenceIndexOutOfRange)
{
    const SeqParamSet Seq{.profile_idc = 77, .num_ref_frames = 3};
    const PicParamSet Plain, Cabac{.id = 1, .cabac = true};
    Slice s = Numbered(1, 2);
    s.slice_type = kTypeP;
    s.pps_id = 1;
    s.num_ref_idx[0] = 3;
    for (const uint32_t RefIdx : {2u, 3u, 30u}) {
        Macroblock Mb{.coded_block_pattern = 1};
        Mb.luma[0][0] = 1;
        Mb.ref_idx[0][0] = RefIdx;
        const auto Values =
            DecodeValues(Write(Seq) + Write(Plain) + Write(Cabac) + PcmSlice(Seq, Plain, {.nal_unit_type = 5}, 40) +
                         CabacInterSlice(Seq, Cabac, s, Mb) + CopySlice(Seq, Plain, Numbered(2, 4), 0));
        if (RefIdx < 3)
            EXPECT_EQ(Values.size(), 3u) << "a sound one is shown";
        else
            EXPECT_THAT(Values, testing::ElementsAre(40, 40)) << RefIdx;
    }
}

// The data end within a macroblock, or at its border.
TEST(CutSlices, EndWithTheLastWholeMacroblockAtTheLatest)
{
    const SeqParamSet Seq{.profile_idc = 77, .width_mbs = 4, .height_map_units = 1};
    const PicParamSet Pic;
    const Bytes Whole = PcmSlice(Seq, Pic, Numbered(1, 2), kReceived, 4);
    const Bytes Head = Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, {.nal_unit_type = 5}, 40, 4);
    const Bytes Copied = CopySlice(Seq, Pic, Numbered(2, 4), 0, 4);
    EXPECT_EQ(DecodeAll(Head + Whole + Copied).size(), 3u);
    for (size_t Size = 8; Size + 1 < Whole.size(); Size += 31) {
        const Bytes Cut(Whole.begin(), Whole.begin() + static_cast<ptrdiff_t>(Size));
        const auto Shown = DecodeAll(Head + Cut + Copied);
        ASSERT_EQ(Shown.size(), 2u) << Size << " of " << Whole.size();
        for (size_t Mb = 0; Mb < (Size - 8) / 386; ++Mb) EXPECT_EQ(Shown[1][Mb * 16], kReceived) << Size << ": " << Mb;
    }
}

// What stands between the units of a picture and is no part of it.
TEST(UnitsOfOtherTypes, AreIgnoredWithinAPicture)
{
    const SeqParamSet Seq{.width_mbs = 2};
    const PicParamSet Pic;
    const Bytes Head = Write(Seq) + Write(Pic);
    const auto Half = [&](uint32_t First) {
        return PcmSlice(Seq, Pic, {.nal_unit_type = 5, .first_mb = First}, static_cast<uint8_t>(10 + First));
    };
    const auto Expected = DecodeAll(Head + Half(0) + Half(1));
    ASSERT_EQ(Expected.size(), 1u);
    for (const uint32_t Type : {0, 2, 3, 4, 10, 11, 12, 14, 15, 16, 17, 18, 20, 21, 22, 23, 24, 29, 30, 31})
        EXPECT_EQ(DecodeAll(Head + Half(0) + NalUnit(3, Type, {0x88, 0x84, 0x21, 0xFF, 0x80}) + Half(1)), Expected)
            << Type;
}

// Frames that were made up for a gap do not consist of pairs, whatever the frames of their sequence do.
TEST(MadeUpFrames, LendTheirMotionToPairs)
{
    SeqParamSet Seq{
        .profile_idc = 77, .num_ref_frames = 4, .gaps_allowed = true, .width_mbs = 2, .height_map_units = 4};
    Seq.frame_mbs_only = false;
    Seq.mbaff = true;
    const PicParamSet Pic;
    Slice b = Numbered(6, 24, 0); // no reference that was sent is left
    b.slice_type = kTypeB;
    for (const bool IsSpatial : {false, true}) {
        b.spatial_direct = IsSpatial;
        BitWriter Idr = Header(Seq, Pic, {.nal_unit_type = 5});
        for (int Mb = 0; Mb < 16; ++Mb) {
            if (Mb % 2 == 0) Idr.U(1, 0);
            Idr.UE(25);
            Idr.Align();
            for (int i = 0; i < 384; ++i) Idr.U(8, 40);
        }
        const auto Shown =
            DecodeAll(Write(Seq) + Write(Pic) + Finish(Idr, {.nal_unit_type = 5}) + SkipSlice(Seq, Pic, b, 16));
        ASSERT_EQ(Shown.size(), 2u);
        EXPECT_THAT(Shown[1], testing::Each(128));
    }
}

} // namespace
