#include "decoder/entropy/mb_syntax.h"
#include "decoder/jobs/segment_decoder_hp.h"
#include "tests/decoder/picture_fixture.h"

#include <algorithm>
#include <bit>
#include <vector>

namespace UMC {
namespace {

// A CAVLC slice written by hand over a picture with samples, decoded by the member for 8-bit 4:2:0 frames.
class Macroblocks : public PictureFixture
{
protected:
    static constexpr int kPitch = kWidth * 16;

    Macroblocks() : m_Y(kPitch * kHeight * 16, 1), m_U(kPitch / 2 * kHeight * 8, 2), m_V(kPitch / 2 * kHeight * 8, 3)
    {
        m_Sequence.profile_idc = 77;
        m_Decoder.Init(0);
        SliceCursor& d = m_Decoder.m_Cursor;
        d.View(m_Slice);
        d.Slice.Picture.pPlane[0] = m_Y.data();
        d.Slice.Picture.pPlane[1] = m_U.data();
        d.Slice.Picture.pPlane[2] = m_V.data();
        d.Slice.Picture.PitchLuma = kPitch;
        d.Slice.Picture.PitchChroma = kPitch / 2;
        d.Entropy.QpLuma = 26;
        d.Slice.References.Active[0] = 1;
        d.Slice.NoGlobal.MbType = MBTYPE_INTRA4x4;
        d.Slice.NoGlobal.MbFlags = MBFLAG_SKIPPED;
        d.Slice.NoLocal.CodedBlockPattern = 15;
        std::fill(std::begin(d.Coeffs.Coefficients), std::end(d.Coeffs.Coefficients), uint8_t{0});
        for (auto& Table : d.Slice.ChromaQp) std::fill(std::begin(Table.ByQp), std::end(Table.ByQp), uint8_t{26});
        SetReference(m_RefY.data(), m_RefU.data(), m_RefV.data());
    }

    // All planes of the reference rise from left to right and from top to bottom.
    void SetReference(const uint8_t* pY, const uint8_t* pU, const uint8_t* pV)
    {
        for (size_t i = 0; i < m_RefY.size(); ++i) m_RefY[i] = static_cast<uint8_t>(i % kPitch + i / kPitch);
        for (size_t i = 0; i < m_RefU.size(); ++i)
            m_RefU[i] = m_RefV[i] = static_cast<uint8_t>(100 + i % (kPitch / 2) + i / (kPitch / 2));
        m_Decoder.m_Cursor.Slice.References.Sets[0].Planes[0][0] = {{pY, pU, pV}, kPitch,     kPitch / 2,  kPitch,
                                                                    kHeight * 16, kPitch / 2, kHeight * 8, 0};
    }

    void PutBits(uint32_t Value, uint32_t Length)
    {
        for (uint32_t i = Length; i-- > 0;) m_Bits.push_back(Value >> i & 1);
    }
    void PutUe(uint32_t Value)
    {
        const auto Length = static_cast<uint32_t>(std::bit_width(Value + 1));
        PutBits(0, Length - 1);
        PutBits(Value + 1, Length);
    }
    void PutSe(int Value)
    {
        PutUe(Value > 0 ? static_cast<uint32_t>(2 * Value - 1) : static_cast<uint32_t>(-2 * Value));
    }

    // Decodes Count macroblocks from number First on out of the bits put so far.
    Status Decode(SliceType Type, int First, int Count)
    {
        m_Words.assign(m_Bits.size() / 32 + 1 + H264Bitstream::kReadPadding / 4, 0);
        for (size_t i = 0; i < m_Bits.size(); ++i)
            if (m_Bits[i]) m_Words[i / 32] |= 1u << (31 - i % 32);
        m_Decoder.m_Cursor.Entropy.Bits.Reset(m_Words.data(), static_cast<uint32_t>((m_Bits.size() + 7) / 8));
        m_Slice.m_Header.slice_type = Type;
        return FindSegmentDecoder(m_Sequence, false, false)->DecodeSegmentCAVLCSingle(First, Count, m_Decoder);
    }

    H264SegmentDecoderMultiThreaded m_Decoder{nullptr, nullptr};
    std::vector<uint8_t> m_Y, m_U, m_V;
    std::vector<uint8_t> m_RefY = m_Y, m_RefU = m_U, m_RefV = m_V;
    std::vector<bool> m_Bits;
    std::vector<uint32_t> m_Words;
};

TEST_F(Macroblocks, PcmSamplesArriveAndLeaveNoCoefficients)
{
    PutUe(h264::kIntraPcmType);
    PutBits(0, static_cast<uint32_t>((8 - m_Bits.size() % 8) % 8));
    for (uint32_t i = 0; i < 384; ++i) PutBits(i * 7 & 255, 8);
    ASSERT_EQ(Decode(SLICE_I, 5, 1), StatusOk);
    for (uint32_t y = 0; y < 16; ++y)
        for (uint32_t x = 0; x < 16; ++x) ASSERT_EQ(m_Y[(16 + y) * kPitch + 16 + x], (y * 16 + x) * 7 & 255);
    for (uint32_t y = 0; y < 8; ++y)
        for (uint32_t x = 0; x < 8; ++x) {
            ASSERT_EQ(m_U[(8 + y) * kPitch / 2 + 8 + x], (256 + y * 8 + x) * 7 & 255);
            ASSERT_EQ(m_V[(8 + y) * kPitch / 2 + 8 + x], (320 + y * 8 + x) * 7 & 255);
        }
    EXPECT_EQ(m_Y[16 * kPitch + 15], 1); // its neighbours are as they were
    EXPECT_EQ(m_Global[5].MbType, MBTYPE_PCM);
    EXPECT_EQ(m_LocalInfo[5].Qp, 0);
    EXPECT_EQ(m_LocalInfo[5].CodedBlockBits, 0x1FFFFu);
    EXPECT_EQ(m_Decoder.m_Cursor.Entropy.QpLuma, 26);
    EXPECT_TRUE(std::all_of(m_Counts.begin() + 5 * 48, m_Counts.begin() + 6 * 48, [](uint8_t n) { return n == 16; }));
    EXPECT_TRUE(std::all_of(std::begin(m_Decoder.m_Cursor.Coeffs.Coefficients),
                            std::end(m_Decoder.m_Cursor.Coeffs.Coefficients), [](uint8_t b) { return b == 0; }));
}

TEST_F(Macroblocks, SkipRunBeyondTheSliceStopsAtItsEnd)
{
    PutUe(1000);
    ASSERT_EQ(Decode(SLICE_P, 0, 3), StatusOk);
    EXPECT_EQ(m_Decoder.m_Cursor.CurrentMb, 3);
    EXPECT_EQ(m_Decoder.m_Cursor.MbsDone, 3);
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(m_Global[i].MbType, MBTYPE_SKIPPED);
    EXPECT_EQ(m_Global[3].SliceId, kNoSlice);
    for (int y = 0; y < 16; ++y) // a still copy of the reference
        for (int x = 0; x < 48; ++x) ASSERT_EQ(m_Y[static_cast<size_t>(y * kPitch + x)], x + y);
}

TEST_F(Macroblocks, CodedOneFollowsASkipRunWithoutARunOfItsOwn)
{
    PutUe(1);
    PutUe(0); // P_L0_16x16
    PutSe(8);
    PutSe(4);
    PutUe(0); // coded_block_pattern 0
    PutUe(2);
    ASSERT_EQ(Decode(SLICE_P, 0, 4), StatusOk);
    EXPECT_EQ(m_Global[0].MbType, MBTYPE_SKIPPED);
    EXPECT_EQ(m_Global[1].MbType, MBTYPE_INTER16x16);
    EXPECT_EQ(m_Mv[0][16].x, 8);
    EXPECT_EQ(m_Mv[0][16].y, 4);
    EXPECT_EQ(m_Global[2].MbType, MBTYPE_SKIPPED);
    EXPECT_EQ(m_Y[16], 16 + 2 + 1);
    EXPECT_EQ(m_Decoder.m_Cursor.Motion.MaxMv, 4);
}

TEST_F(Macroblocks, VectorsFarOutsideGiveTheEdgeOfThePicture)
{
    PutUe(0);
    PutUe(0);
    PutSe(-4000 * 4 + 1); // a fraction, too
    PutSe(-3000 * 4 + 2);
    PutUe(0);
    ASSERT_EQ(Decode(SLICE_P, 0, 1), StatusOk);
    for (size_t y = 0; y < 16; ++y)
        for (size_t x = 0; x < 16; ++x) ASSERT_EQ(m_Y[y * kPitch + x], m_RefY[0]);
    EXPECT_EQ(m_U[0], m_RefU[0]);
    EXPECT_EQ(m_V[7 * kPitch / 2 + 7], m_RefV[0]);
}

TEST_F(Macroblocks, MissingReferenceIsGrey)
{
    static constexpr uint8_t kGrey = 128;
    m_Decoder.m_Cursor.Slice.References.Sets[0].Planes[0][0] = {{&kGrey, &kGrey, &kGrey}, 0, 0, 1, 1, 1, 1, 0};
    PutUe(1);
    ASSERT_EQ(Decode(SLICE_P, 0, 1), StatusOk);
    EXPECT_EQ(m_Y[0], 128);
    EXPECT_EQ(m_Y[15 * kPitch + 15], 128);
    EXPECT_EQ(m_U[0], 128);
}

// The last valid value of an element is taken and the next one is not, with enough 1 bits behind either that nothing
// else can be wrong: they are zeros in Exp-Golomb codes and blocks without or with one level.
class ElementBounds : public Macroblocks
{
protected:
    ElementBounds()
    {
        for (const int Neighbour : {0, 1, 2, 4}) SetIntra(Neighbour); // for every mode of prediction
        m_Decoder.m_Cursor.Slice.References.Active[1] = 1;
        for (auto& List : m_Decoder.m_Cursor.Slice.References.Sets[0].Planes)
            std::fill_n(List, 4, m_Decoder.m_Cursor.Slice.References.Sets[0].Planes[0][0]);
        m_Slice.m_Header.direct_spatial_mv_pred_flag = 1;
    }
    // Put writes a macroblock up to the element, without the run before it.
    template <class F>
    void ExpectBound(SliceType Type, uint32_t Last, F&& Put)
    {
        for (const uint32_t Value : {Last, Last + 1}) {
            SCOPED_TRACE(Value);
            m_Bits.clear();
            m_Decoder.m_Cursor.Entropy.MbSkipRun = 0;
            if (Type != SLICE_I) PutUe(0);
            Put();
            PutUe(Value);
            m_Bits.insert(m_Bits.end(), 4000, true);
            if (Value == Last)
                EXPECT_NO_THROW(Decode(Type, 5, 1));
            else
                EXPECT_THROW(Decode(Type, 5, 1), h264_exception);
        }
    }
};

TEST_F(ElementBounds, OfTheMacroblockType)
{
    ExpectBound(SLICE_I, 25, [] {});
    ExpectBound(SLICE_P, 5 + 25, [] {});
    ExpectBound(SLICE_B, 23 + 25, [] {});
}

TEST_F(ElementBounds, OfTheSubMacroblockType)
{
    ExpectBound(SLICE_P, 3, [this] { PutUe(3); });
    ExpectBound(SLICE_B, 12, [this] { PutUe(22); });
}

TEST_F(ElementBounds, OfTheReferenceIndex)
{
    m_Decoder.m_Cursor.Slice.References.Active[0] = 3;
    ExpectBound(SLICE_P, 2, [this] { PutUe(0); });
    EXPECT_EQ(m_Ref[0][5 * 16], 2);
}

TEST_F(ElementBounds, OfTheCodedBlockPattern)
{
    ExpectBound(SLICE_I, 47, [this] {
        PutUe(0);
        PutBits(0xFFFF, 16); // modes as predicted
        PutUe(0);
    });
    ExpectBound(SLICE_P, 47, [this] {
        PutUe(0);
        PutSe(0);
        PutSe(0);
    });
}

TEST_F(Macroblocks, ReferenceIndexOfTwoIsOneInvertedBit)
{
    m_Decoder.m_Cursor.Slice.References.Active[0] = 2;
    m_Decoder.m_Cursor.Slice.References.Sets[0].Planes[0][1] = m_Decoder.m_Cursor.Slice.References.Sets[0].Planes[0][0];
    for (const uint32_t RefIdx : {0u, 1u}) {
        PutUe(0);
        PutUe(0);
        PutBits(1 - RefIdx, 1);
        PutSe(0);
        PutSe(0);
        PutUe(0);
    }
    ASSERT_EQ(Decode(SLICE_P, 0, 2), StatusOk);
    EXPECT_EQ(m_Ref[0][0], 0);
    EXPECT_EQ(m_Ref[0][16], 1);
}

TEST_F(Macroblocks, IntraChromaModeAboveThreeIsDamage)
{
    PutUe(3); // Intra 16x16 with DC prediction and nothing coded
    PutUe(4);
    EXPECT_THROW(Decode(SLICE_I, 0, 1), h264_exception);
}

TEST_F(Macroblocks, QpDifferenceOutOfRangeIsDamage)
{
    PutUe(3);
    PutUe(0);
    PutSe(26);
    EXPECT_THROW(Decode(SLICE_I, 0, 1), h264_exception);
}

TEST_F(Macroblocks, QpWrapsAround)
{
    m_Decoder.m_Cursor.Entropy.QpLuma = 51;
    PutUe(3);
    PutUe(0);
    PutSe(2);
    PutBits(1, 1); // coeff_token of the DC block: no level
    ASSERT_EQ(Decode(SLICE_I, 0, 1), StatusOk);
    EXPECT_EQ(m_LocalInfo[0].Qp, 1);
    EXPECT_EQ(m_Y[0], 128); // DC prediction without neighbours
}

TEST_F(Macroblocks, IntraModeWithoutItsNeighboursIsDamage)
{
    PutUe(1); // Intra 16x16, vertical
    PutUe(0);
    PutSe(0);
    PutBits(1, 1);
    EXPECT_THROW(Decode(SLICE_I, 0, 1), h264_exception);
}

TEST_F(Macroblocks, ConstrainedIntraPredictionDoesNotReadInterNeighbours)
{
    m_pPicture->constrained_intra_pred_flag = 1;
    SetMotion(4, 0, {0, 0});
    std::fill(m_Y.begin(), m_Y.end(), uint8_t{77});
    PutUe(0);
    PutUe(h264::kFirstIntraTypeP + 3);
    PutUe(0);
    PutSe(0);
    PutBits(1, 1);
    ASSERT_EQ(Decode(SLICE_P, 5, 1), StatusOk);
    EXPECT_EQ(m_Y[16 * kPitch + 16], 128);
    m_pPicture->constrained_intra_pred_flag = 0;
    ASSERT_EQ(Decode(SLICE_P, 5, 1), StatusOk);
    EXPECT_EQ(m_Y[16 * kPitch + 16], 77);
}

TEST_F(Macroblocks, DataThatEndsEarlyIsDamage)
{
    PutUe(0);
    PutUe(0); // P_L0_16x16, and then nothing
    EXPECT_THROW(Decode(SLICE_P, 0, 12), h264_exception);
}

TEST(SegmentDecoderFamily, Has444ForTheProfileThatWasMadeForIt)
{
    H264SeqParamSet Sequence{};
    Sequence.chroma_format_idc = 3;
    for (const auto& [Depth, IsField, IsMbaff] :
         {std::tuple{8, false, false}, {8, true, false}, {8, false, true}, {14, false, false}, {9, true, false}}) {
        Sequence.bit_depth_luma = Sequence.bit_depth_chroma = static_cast<uint8_t>(Depth);
        for (const unsigned Profile : {66u, 77u, 100u, 110u, 122u, 244u}) {
            Sequence.profile_idc = static_cast<uint8_t>(Profile);
            EXPECT_EQ(FindSegmentDecoder(Sequence, IsField, IsMbaff), nullptr) << Profile;
        }
        Sequence.profile_idc = 144;
        EXPECT_NE(FindSegmentDecoder(Sequence, IsField, IsMbaff), nullptr) << Depth;
    }
    Sequence.bit_depth_chroma = 15;
    EXPECT_EQ(FindSegmentDecoder(Sequence, false, false), nullptr);
}

TEST(SegmentDecoderFamily, HasNoMemberForWhatItCannotDecode)
{
    H264SeqParamSet Sequence{};
    Sequence.chroma_format_idc = 1;
    Sequence.bit_depth_luma = Sequence.bit_depth_chroma = 8;
    SegmentDecoderHPBase* const pMain = FindSegmentDecoder(Sequence, false, false);
    Sequence.profile_idc = 100;
    SegmentDecoderHPBase* const pHigh = FindSegmentDecoder(Sequence, false, false);
    EXPECT_NE(pMain, nullptr);
    EXPECT_NE(pHigh, nullptr);
    EXPECT_NE(pMain, pHigh);
    Sequence.bit_depth_chroma = 10;
    SegmentDecoderHPBase* const pDeep = FindSegmentDecoder(Sequence, false, false);
    EXPECT_NE(pDeep, nullptr);
    EXPECT_NE(pDeep, pHigh);
    std::swap(Sequence.bit_depth_luma, Sequence.bit_depth_chroma);
    EXPECT_EQ(FindSegmentDecoder(Sequence, false, false), pDeep) << "the deeper one counts";
    Sequence.bit_depth_luma = 15;
    EXPECT_EQ(FindSegmentDecoder(Sequence, false, false), nullptr);
    Sequence.bit_depth_luma = 8;
    Sequence.qpprime_y_zero_transform_bypass_flag = 1;
    SegmentDecoderHPBase* const pBypass = FindSegmentDecoder(Sequence, false, false);
    EXPECT_NE(pBypass, nullptr);
    EXPECT_NE(pBypass, pHigh);
    Sequence.chroma_format_idc = 4;
    EXPECT_EQ(FindSegmentDecoder(Sequence, false, false), nullptr);
}

} // namespace
} // namespace UMC
