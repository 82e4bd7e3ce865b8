// Direct prediction in MBAFF frames, whose co-located pair may be of the other kind.
#include "decoder/entropy/direct.h"
#include "decoder/entropy/motion.h"
#include "tests/decoder/picture_fixture.h"

namespace UMC {
namespace {

// Macroblocks 10 and 11 are the pair in column 1 of the second row of pairs; what lies around moves by {8, 8}.
class DirectPairs : public PictureFixture
{
protected:
    DirectPairs() : m_ColGlobal(kMbs)
    {
        for (int List = 0; List < 2; ++List) {
            m_ColMv[List].resize(kMbs * 16);
            m_ColRef[List].resize(kMbs * 16);
            m_Col.m_MbInfo.pMv[List] = m_ColMv[List].data();
            m_Col.m_MbInfo.pRefIdx[List] = m_ColRef[List].data();
        }
        m_Col.m_MbInfo.pGlobal = m_ColGlobal.data();
        m_Col.m_PictureStructure = MBAFF_FRAME;
        m_Sequence.direct_8x8_inference_flag = 1;
        m_Slice.m_Header.direct_spatial_mv_pred_flag = 1;
        DirectState& Direct = m_pCursor->Motion.Direct;
        Direct.pOtherKind = &m_Col;
        Direct.ColIsShortTerm = true;
        Direct.ColSlice = 0;
        Direct.pColReferences = &m_ColReferences;
    }
    ~DirectPairs() override { m_Col.m_MbInfo = {}; }

    void Derive(int Mb, bool IsField)
    {
        for (const int i : {2, 3, 4, 5, 8, 9, 10}) {
            SetMotion(i, 0, {8, 8});
            if (IsField) m_Global[static_cast<size_t>(i)].MbFlags |= MBFLAG_FIELD;
        }
        m_pCursor->FindPair(Mb, 1, 2 + (Mb & 1));
        m_pCursor->BeginMacroblock<true>(Mb, 1, 2 + (Mb & 1), IsField);
        DeriveDirectMacroblock<true>(m_pCursor->Slice, m_pCursor->Mb, m_pCursor->Motion);
    }
    void SetCol(bool IsField, int RefIdx, h264::MotionVector Mv)
    {
        for (MbGlobalInfo& Mb : m_ColGlobal)
            Mb = {{}, 0, MBTYPE_INTER16x16, IsField ? uint8_t{MBFLAG_FIELD} : uint8_t{0}};
        std::fill(m_ColRef[0].begin(), m_ColRef[0].end(), static_cast<int8_t>(RefIdx));
        std::fill(m_ColRef[1].begin(), m_ColRef[1].end(), h264::kRefNone);
        std::fill(m_ColMv[0].begin(), m_ColMv[0].end(), Mv);
    }
    // Blocks whose corners go by the one block of the co-located picture that stands still, as bits of quadrants.
    unsigned StillQuadrants(int Mb, bool IsField, bool IsColField, int StillMb, int StillBlock)
    {
        SetCol(IsColField, 1, {0, 0});
        m_ColRef[0][static_cast<size_t>(StillMb * 16 + StillBlock)] = 0;
        Derive(Mb, IsField);
        unsigned Quadrants = 0;
        for (int q = 0; q < 4; ++q) {
            const auto i = static_cast<size_t>(Mb * 16 + (q & 1) * 2 + (q >> 1) * 8);
            EXPECT_EQ(m_Ref[0][i], 0);
            Quadrants |= h264::AsWord(m_Mv[0][i]) == 0 ? 1u << q : 0u;
        }
        return Quadrants;
    }

    H264DecoderFrame m_Col;
    H264RefPicIndices m_ColReferences{};
    std::vector<h264::MotionVector> m_ColMv[2];
    std::vector<int8_t> m_ColRef[2];
    std::vector<MbGlobalInfo> m_ColGlobal;
};

// Table 8-8.
TEST_F(DirectPairs, GoByTheCornersOfTheSamePlaceInPairsOfTheirKind)
{
    for (const bool IsField : {false, true})
        for (const int Mb : {10, 11})
            for (int q = 0; q < 4; ++q)
                EXPECT_EQ(StillQuadrants(Mb, IsField, IsField, Mb, (q & 1) * 3 + (q >> 1) * 12), 1u << q) << Mb << q;
}

TEST_F(DirectPairs, OfFieldsGoByTheUpperFrameMacroblockAboveAndByTheLowerOneBelow)
{
    for (const int Mb : {10, 11}) {
        EXPECT_EQ(StillQuadrants(Mb, true, false, 10, 0), 1u);
        EXPECT_EQ(StillQuadrants(Mb, true, false, 10, 3), 2u);
        EXPECT_EQ(StillQuadrants(Mb, true, false, 11, 8), 4u);
        EXPECT_EQ(StillQuadrants(Mb, true, false, 11, 11), 8u);
    }
}

TEST_F(DirectPairs, OfFramesGoByTheFieldThatTheSliceGoesBy)
{
    for (const int ColField : {0, 1}) {
        SCOPED_TRACE(ColField);
        m_pCursor->Motion.Direct.ColField = ColField;
        const int Field = 10 + ColField;
        EXPECT_EQ(StillQuadrants(10, false, true, Field, 0), 1u);
        EXPECT_EQ(StillQuadrants(10, false, true, Field, 7), 8u);
        EXPECT_EQ(StillQuadrants(11, false, true, Field, 11), 2u);
        EXPECT_EQ(StillQuadrants(11, false, true, Field, 12), 4u);
        EXPECT_EQ(StillQuadrants(11, false, true, 21 - Field, 12), 0u);
    }
}

// The records of motion of an intra macroblock hold anything.
TEST_F(DirectPairs, MoveWhereTheColocatedMacroblockIsIntra)
{
    SetCol(false, 0, {0, 0});
    m_ColGlobal[11].MbType = MBTYPE_INTRA4x4;
    Derive(10, true);
    EXPECT_EQ(h264::AsWord(m_Mv[0][10 * 16]), 0u);
    EXPECT_EQ(h264::AsWord(m_Mv[0][10 * 16 + 8]), h264::AsWord({8, 8}));
}

// One prediction does for all of it then, and the edge filter finds no edges inside.
TEST_F(DirectPairs, AreOneBlockWhereAllQuadrantsMoveAlike)
{
    const auto IsOneBlock = [&](int Mb) {
        return (m_Global[static_cast<size_t>(Mb)].MbFlags & MBFLAG_ONE_MOTION) != 0;
    };
    SetCol(false, 0, {0, 0});
    Derive(11, false);
    EXPECT_TRUE(IsOneBlock(11));
    for (size_t i = 11 * 16; i < 12 * 16; ++i) {
        EXPECT_EQ(h264::AsWord(m_Mv[0][i]), 0u);
        EXPECT_EQ(m_Ref[0][i], 0);
    }
    for (const int Corner : {0, 3, 12, 15}) {
        StillQuadrants(11, false, false, 11, Corner);
        EXPECT_FALSE(IsOneBlock(11)) << Corner;
    }
    m_Slice.m_Header.direct_spatial_mv_pred_flag = 0;
    for (ReferenceSet& Set : m_pCursor->Slice.References.Sets)
        for (int32_t& Factor : Set.Tables.DistScaleFactor) Factor = kNotScaled;
    SetCol(false, 0, {4, -7});
    Derive(11, false);
    EXPECT_TRUE(IsOneBlock(11));
    m_ColMv[0][11 * 16 + 12] = {4, -8};
    Derive(11, false);
    EXPECT_FALSE(IsOneBlock(11));
}

TEST_F(DirectPairs, TakeTheTemporalReferenceInTheirOwnKind)
{
    m_Slice.m_Header.direct_spatial_mv_pred_flag = 0;
    m_ColReferences.Index[0][1] = 10; // of a frame macroblock's index 1, our index 2
    m_pCursor->Motion.Direct.RefOf[10] = 2;
    for (ReferenceSet& Set : m_pCursor->Slice.References.Sets)
        for (int32_t& Factor : Set.Tables.DistScaleFactor) Factor = kNotScaled;
    const auto ExpectMotion = [&](bool IsField, bool IsColField, int ColRef, int RefIdx, int16_t y) {
        SCOPED_TRACE(testing::Message() << IsField << IsColField);
        SetCol(IsColField, ColRef, {4, -7});
        Derive(11, IsField);
        EXPECT_EQ(m_Ref[0][11 * 16], RefIdx);
        EXPECT_EQ(m_Ref[1][11 * 16], 0);
        EXPECT_EQ(h264::AsWord(m_Mv[0][11 * 16]), h264::AsWord({4, y}));
    };
    ExpectMotion(false, false, 1, 2, -7);
    ExpectMotion(false, true, 3, 2, -14); // the frame of the field
    ExpectMotion(true, false, 1, 4, -3);  // the field of our parity, half as far
    ExpectMotion(true, true, 2, 4, -7);
    ExpectMotion(true, true, 3, 5, -7); // the same field
}

} // namespace
} // namespace UMC
