#include "decoder/entropy/mb_layer.h"
#include "tests/decoder/picture_fixture.h"
#include "tests/support/h264_stream_writer.h"

#include <array>
#include <vector>

namespace UMC {
namespace {

// Macroblocks of an MBAFF frame: 10 and 11 are the pair in column 1 of the second row of pairs, 8 and 9 lie to the
// left, 2 and 3 above, 4 and 5 above-right.
class PairMotion : public PictureFixture
{
protected:
    void Begin(int Number, bool IsField, bool AreOthersFields)
    {
        for (const size_t Mb : {0u, 1u, 2u, 3u, 4u, 5u, 8u, 9u})
            m_Global[Mb].MbFlags = AreOthersFields ? MBFLAG_FIELD : 0;
        m_pCursor->FindPair(Number, 1, 2 + (Number & 1));
        m_pCursor->BeginMacroblock<true>(Number, 1, 2 + (Number & 1), IsField);
    }
    void Read(const test::BitWriter& Bits)
    {
        const test::Bytes& Data = Bits.Data();
        m_Words.assign(Data.size() / 4 + 1 + H264Bitstream::kReadPadding / 4, 0);
        for (size_t i = 0; i < Data.size(); ++i) m_Words[i / 4] |= static_cast<uint32_t>(Data[i]) << (24 - i % 4 * 8);
        m_pCursor->Entropy.Bits.Reset(m_Words.data(), static_cast<uint32_t>(Data.size()));
    }
    h264::MotionVector MvOf(int Mb, int Block = 0, int List = 0) const
    {
        return m_Mv[List][static_cast<size_t>(Mb * 16 + Block)];
    }
    int RefOf(int Mb, int Block = 0, int List = 0) const { return m_Ref[List][static_cast<size_t>(Mb * 16 + Block)]; }

    std::vector<uint32_t> m_Words;
};

TEST_F(PairMotion, OfASkippedMacroblockIsPredictedFromScaledNeighbours)
{
    for (const int Mb : {8, 9}) SetMotion(Mb, 0, {4, 20});
    for (const int Mb : {2, 3}) SetMotion(Mb, 0, {6, -5});
    for (const int Mb : {4, 5}) SetMotion(Mb, 0, {2, 30});
    const auto Skip = [&](bool IsField, bool AreOthersFields) {
        Begin(10, IsField, AreOthersFields);
        SkipMotionP<true>(m_pCursor->Slice, m_pCursor->Mb, m_pCursor->Motion);
        EXPECT_EQ(RefOf(10), 0);
        return MvOf(10);
    };
    for (const bool IsField : {false, true}) EXPECT_EQ(h264::AsWord(Skip(IsField, IsField)), h264::AsWord({4, 20}));
    EXPECT_EQ(h264::AsWord(Skip(false, true)), h264::AsWord({4, 40}));
    EXPECT_EQ(h264::AsWord(Skip(true, false)), h264::AsWord({4, 10}));
    for (const int Mb : {8, 9}) SetMotion(Mb, 0, {0, 1}); // half a line is none: a neighbour that stands still
    EXPECT_EQ(h264::AsWord(Skip(true, false)), 0u);
    EXPECT_NE(h264::AsWord(Skip(false, false)), 0u);
    for (const int Mb : {8, 9}) SetMotion(Mb, 1, {0, 0}); // the field of index 1 is of the frame of index 0
    EXPECT_EQ(h264::AsWord(Skip(false, true)), 0u);
    EXPECT_NE(h264::AsWord(Skip(false, false)), 0u);
}

TEST_F(PairMotion, OfSpatialDirectPredictionTakesTheLeastScaledReference)
{
    m_Slice.m_Header.direct_spatial_mv_pred_flag = 1;
    for (const int Mb : {0, 1, 2, 3, 4, 5, 8, 9})
        for (int i = 0; i < 16; ++i) SetBlock(Mb, i, h264::kRefNone, {0, 0}, 1);
    for (const int Mb : {8, 9}) SetMotion(Mb, 3, {4, 20});
    for (const int Mb : {2, 3, 4, 5}) SetMotion(Mb, 5, {6, -5});
    const auto ExpectDirect = [&](bool IsField, bool AreOthersFields, int RefIdx, int y) {
        SCOPED_TRACE(testing::Message() << IsField << AreOthersFields);
        Begin(10, IsField, AreOthersFields);
        SkipMotionB<true>(m_pCursor->Slice, m_pCursor->Mb, m_pCursor->Motion);
        EXPECT_EQ(RefOf(10), RefIdx);
        EXPECT_EQ(RefOf(10, 0, 1), h264::kRefNone);
        EXPECT_EQ(MvOf(10).y, y);
    };
    ExpectDirect(false, false, 3, 20);
    ExpectDirect(true, true, 3, 20);
    ExpectDirect(false, true, 1, 40);
    ExpectDirect(true, false, 6, 10);
}

// A field macroblock has two fields of each frame to refer to: the one active frame makes an element of one bit.
TEST_F(PairMotion, OfFieldMacroblocksHasTwiceAsManyReferences)
{
    m_pCursor->Slice.References.Active[0] = 1;
    for (const bool IsField : {false, true}) {
        Begin(10, IsField, IsField);
        test::BitWriter Bits;
        if (IsField) Bits.U(1, 0); // ref_idx 1
        Bits.SE(3);
        Bits.SE(-2);
        Bits.UE(77); // behind the macroblock's motion
        Read(Bits);
        using Syntax = SyntaxOf<CavlcSyntax, true>;
        ReadMotion<Syntax, SLICE_P>(m_pCursor->Slice, m_pCursor->Mb, m_pCursor->Entropy, m_pCursor->Motion, 0);
        EXPECT_EQ(RefOf(10), IsField);
        EXPECT_EQ(h264::AsWord(MvOf(10)), h264::AsWord({3, -2}));
        EXPECT_EQ(m_pCursor->Entropy.Bits.GetUE(), 77u);
    }
}

// The lower half of a 16x8 macroblock of a frame beside a pair of fields, its left neighbour having another reference:
// the median is of what lies left (8), above (its own upper half) and above-left (9).
TEST_F(PairMotion, OfALowerHalfTakesAboveLeftFromTheOtherField)
{
    m_pCursor->Slice.References.Active[0] = 3;
    SetMotion(8, 2, {10, 10}); // as frames, reference 1 and twice the height
    SetMotion(9, 2, {30, 30});
    Begin(10, false, true);
    test::BitWriter Bits;
    Bits.UE(1); // upper half from reference 1
    Bits.UE(2);
    for (int i = 0; i < 4; ++i) Bits.SE(0);
    Read(Bits);
    using Syntax = SyntaxOf<CavlcSyntax, true>;
    ReadMotion<Syntax, SLICE_P>(m_pCursor->Slice, m_pCursor->Mb, m_pCursor->Entropy, m_pCursor->Motion, 1);
    EXPECT_EQ(h264::AsWord(MvOf(10, 0)), h264::AsWord({10, 20})); // nothing above: the left one's
    EXPECT_EQ(h264::AsWord(MvOf(10, 8)), h264::AsWord({10, 20})); // of {10, 20}, {10, 20} and {30, 60}
    SetMotion(8, 2, {-10, -10});
    Begin(10, false, true);
    Read([&] {
        test::BitWriter Moved;
        Moved.UE(1);
        Moved.UE(2);
        for (const int v : {60, 60, 0, 0}) Moved.SE(v);
        return Moved;
    }());
    ReadMotion<Syntax, SLICE_P>(m_pCursor->Slice, m_pCursor->Mb, m_pCursor->Entropy, m_pCursor->Motion, 1);
    EXPECT_EQ(h264::AsWord(MvOf(10, 0)), h264::AsWord({50, 40}));
    EXPECT_EQ(h264::AsWord(MvOf(10, 8)), h264::AsWord({30, 40})); // of {-10, -20}, {50, 40} and {30, 60}
}

// All modes as predicted: the lesser of left and above, with one of 8 above.
TEST_F(PairMotion, IntraModesArePredictedFromTheSamplesBeside)
{
    const auto SetModes = [&](int Mb, uint8_t First) {
        SetIntra(Mb);
        m_Global[static_cast<size_t>(Mb)].MbType = MBTYPE_INTRA4x4;
        for (size_t i = 0; i < 16; ++i)
            m_IntraModes[static_cast<size_t>(Mb) * 16 + i] = First == 8 ? First : static_cast<uint8_t>(First - i / 4);
    };
    const auto Modes = [&](int Number, bool IsField, bool AreOthersFields) {
        SetModes(8, 3);
        SetModes(9, 7);
        for (const int Mb : {2, 3, 10}) SetModes(Mb, 8);
        Begin(Number, IsField, AreOthersFields);
        test::BitWriter Bits;
        Bits.U(16, 0xFFFF);
        Read(Bits);
        ReadIntraModes<SyntaxOf<CavlcSyntax, true>>(m_pCursor->Slice, m_pCursor->Mb, m_pCursor->Entropy);
        std::array<int, 4> Found;
        for (size_t y = 0; y < 4; ++y) Found[y] = m_IntraModes[static_cast<size_t>(Number) * 16 + y * 4];
        return Found;
    };
    using Column = std::array<int, 4>;
    // The first block takes the left one's mode; those below the lesser of that and the one beside them.
    EXPECT_EQ(Modes(10, false, false), (Column{3, 2, 1, 0}));
    EXPECT_EQ(Modes(11, false, false), (Column{7, 6, 5, 4}));
    EXPECT_EQ(Modes(10, false, true), (Column{3, 3, 2, 2}));
    EXPECT_EQ(Modes(11, false, true), (Column{1, 1, 0, 0}));
    EXPECT_EQ(Modes(11, true, false), (Column{3, 1, 1, 1}));
    EXPECT_EQ(Modes(11, true, true), (Column{7, 6, 5, 4}));
}

} // namespace
} // namespace UMC
