#include "decoder/macroblock/deblocking_strength.h"

#include "tests/decoder/picture_fixture.h"

namespace UMC {
namespace {

constexpr uint32_t kAll = 0x01010101;

// Macroblock 5 stands in column 1 of row 1, with 4 to its left and 1 above.
class Strengths : public PictureFixture
{
protected:
    Strengths()
    {
        for (const int Mb : {0, 1, 2, 4, 5}) SetMotion(Mb, 0, {0, 0});
    }
    template <bool kOddRows = false>
    DeblockingStrength Find(int Mb = 5)
    {
        const StrengthFinder Finder(m_pCursor->Slice.Picture, m_Slice);
        return Finder.Find<kOddRows>(Finder.FindPlace(Mb % kWidth, Mb / kWidth));
    }
    static void ExpectEdges(const DeblockingStrength& s, int Direction, uint32_t e0, uint32_t e1, uint32_t e2,
                            uint32_t e3)
    {
        const uint32_t Want[4] = {e0, e1, e2, e3};
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(s.Edge[Direction][i], Want[i]) << "direction " << Direction << ", edge " << i;
    }
};

TEST_F(Strengths, AreZeroForStillMacroblocksWithoutCoefficients)
{
    const DeblockingStrength s = Find();
    ExpectEdges(s, 0, 0, 0, 0, 0);
    ExpectEdges(s, 1, 0, 0, 0, 0);
}

TEST_F(Strengths, OfIntraAreFourOutsideAndThreeInside)
{
    SetIntra(5);
    ExpectEdges(Find(), 0, 4 * kAll, 3 * kAll, 3 * kAll, 3 * kAll);
    ExpectEdges(Find(), 1, 4 * kAll, 3 * kAll, 3 * kAll, 3 * kAll);
    m_Global[5].MbFlags = MBFLAG_TRANSFORM8x8;
    ExpectEdges(Find(), 0, 4 * kAll, 0, 3 * kAll, 0);
    SetIntra(0); // at the picture's corner
    ExpectEdges(Find(0), 0, 0, 3 * kAll, 3 * kAll, 3 * kAll);
    ExpectEdges(Find(0), 1, 0, 3 * kAll, 3 * kAll, 3 * kAll);
}

TEST_F(Strengths, InAFieldAreThreeAcrossTheTopOfIntra)
{
    m_pCursor->Slice.Picture.IsField = true;
    SetIntra(5);
    ExpectEdges(Find(), 0, 4 * kAll, 3 * kAll, 3 * kAll, 3 * kAll);
    ExpectEdges(Find(), 1, 3 * kAll, 3 * kAll, 3 * kAll, 3 * kAll);
}

TEST_F(Strengths, AreFourBesideAnIntraNeighbour)
{
    SetIntra(4);
    ExpectEdges(Find(), 0, 4 * kAll, 0, 0, 0);
    ExpectEdges(Find(), 1, 0, 0, 0, 0);
}

TEST_F(Strengths, AreTwoAroundCodedBlocks)
{
    m_LocalInfo[5].CodedBlockBits = 1u << 5; // column 1, row 1
    ExpectEdges(Find(), 0, 0, 0x0200, 0x0200, 0);
    ExpectEdges(Find(), 1, 0, 0x0200, 0x0200, 0);
    m_LocalInfo[5].CodedBlockBits = 0;
    m_LocalInfo[4].CodedBlockBits = 1u << 11; // last column, row 2
    m_LocalInfo[1].CodedBlockBits = 1u << 15; // last column, last row
    ExpectEdges(Find(), 0, 0x020000, 0, 0, 0);
    ExpectEdges(Find(), 1, 0x02000000, 0, 0, 0);
}

TEST_F(Strengths, LeaveOutOddEdgesOf8x8Transforms)
{
    m_Global[5].MbFlags |= MBFLAG_TRANSFORM8x8;
    m_LocalInfo[5].CodedBlockBits = 0xFFFF;
    ExpectEdges(Find(), 0, 2 * kAll, 0, 2 * kAll, 0);
    ExpectEdges(Find(), 1, 2 * kAll, 0, 2 * kAll, 0);
}

// For chroma that is as high as luma: its 4x4 blocks begin there.
TEST_F(Strengths, OfOddRowsIn8x8TransformsAreThoseOf4x4BlocksWhereAskedFor)
{
    m_Global[5].MbFlags |= MBFLAG_TRANSFORM8x8;
    m_LocalInfo[5].CodedBlockBits = 0x00CC; // the upper right 8x8 block
    ExpectEdges(Find<true>(), 0, 0, 0, 0x0202, 0);
    ExpectEdges(Find<true>(), 1, 0x02020000, 0x02020000, 0x02020000, 0);
    SetIntra(5);
    m_Global[5].MbFlags = MBFLAG_TRANSFORM8x8;
    ExpectEdges(Find<true>(), 0, 4 * kAll, 0, 3 * kAll, 0);
    ExpectEdges(Find<true>(), 1, 4 * kAll, 3 * kAll, 3 * kAll, 3 * kAll);
}

TEST_F(Strengths, AreOneFromAMotionDifferenceOfAWholeSampleOn)
{
    SetMotion(5, 0, {3, 3});
    ExpectEdges(Find(), 0, 0, 0, 0, 0);
    SetMotion(5, 0, {-4, 0});
    ExpectEdges(Find(), 0, kAll, 0, 0, 0);
    ExpectEdges(Find(), 1, kAll, 0, 0, 0);
    SetMotion(5, 0, {0, 4});
    ExpectEdges(Find(), 0, kAll, 0, 0, 0);
    SetMotion(5, 0, {0, 3});
    m_pCursor->Slice.Picture.IsField = true; // half as far, vertically, in a field
    ExpectEdges(Find(), 0, kAll, 0, 0, 0);
    SetMotion(5, 0, {3, 1});
    ExpectEdges(Find(), 0, 0, 0, 0, 0);
}

TEST_F(Strengths, CompareVectorsOfSingleBlocks)
{
    m_Global[5].MbType = MBTYPE_INTER8x8;
    m_Global[5].MbFlags = 0;
    m_Global[5].SubBlockType[1] = SHAPE_QUARTERS;
    SetBlock(5, 6, 0, {4, 0}); // column 2, row 1
    ExpectEdges(Find(), 0, 0, 0, 0x0100, 0x0100);
    ExpectEdges(Find(), 1, 0, 0x010000, 0x010000, 0);
}

TEST_F(Strengths, CompareQuadrantsThatAreNotDivided)
{
    m_Global[5].MbType = MBTYPE_INTER8x8;
    m_Global[5].MbFlags = 0;
    for (const int i : {2, 3, 6, 7}) SetBlock(5, i, 0, {8, 0});
    ExpectEdges(Find(), 0, 0, 0, 0x0101, 0);
    ExpectEdges(Find(), 1, 0x01010000, 0, 0x01010000, 0);
    for (const int i : {8, 9, 12, 13}) SetBlock(5, i, 0, {0, 8});
    ExpectEdges(Find(), 0, 0x01010000, 0, kAll, 0);
    ExpectEdges(Find(), 1, 0x01010000, 0, kAll, 0);
    m_Global[4].MbFlags = 0;
    m_Global[4].SubBlockType[1] = SHAPE_QUARTERS; // the neighbour is divided
    SetBlock(4, 7, 0, {8, 0});
    ExpectEdges(Find(), 0, 0x01010100, 0, kAll, 0);
}

TEST_F(Strengths, TakeOnePictureUnderTwoIndicesForTheSame)
{
    SetMotion(5, 1, {0, 0});
    ExpectEdges(Find(), 0, kAll, 0, 0, 0);
    m_Lists.List[0].Frame[1] = m_Lists.List[0].Frame[0];
    ExpectEdges(Find(), 0, 0, 0, 0, 0);
}

TEST_F(Strengths, OfHalvesFollowTheirPartition)
{
    m_Global[5].MbFlags = 0;
    m_Global[5].MbType = MBTYPE_INTER16x8;
    for (int i = 8; i < 16; ++i) SetBlock(5, i, 0, {0, 8});
    ExpectEdges(Find(), 0, 0x01010000, 0, 0, 0);
    ExpectEdges(Find(), 1, 0, 0, kAll, 0);
    m_Global[5].MbType = MBTYPE_INTER8x16;
    for (int i = 0; i < 16; ++i) SetBlock(5, i, 0, {0, static_cast<int16_t>(i & 2 ? 8 : 0)});
    ExpectEdges(Find(), 0, 0, 0, kAll, 0);
    ExpectEdges(Find(), 1, 0x01010000, 0, 0, 0);
}

TEST_F(Strengths, OfBSlicesCompareSetsOfPictures)
{
    m_Slice.m_Header.slice_type = SLICE_B;
    for (const int Mb : {1, 4, 5}) SetMotion(Mb, 0, {0, 0}, 0);
    // 5 predicts from pictures 0 and 1, 4 from the same the other way round with the vectors swapped.
    SetMotion(5, 1, {8, 0}, 1);
    SetMotion(4, 1, {8, 0}, 0);
    SetMotion(4, 0, {0, 0}, 1);
    ExpectEdges(Find(), 0, 0, 0, 0, 0);
    ExpectEdges(Find(), 1, kAll, 0, 0, 0); // 1 uses one picture alone
    SetMotion(4, 0, {4, 0}, 1);
    ExpectEdges(Find(), 0, kAll, 0, 0, 0);
}

TEST_F(Strengths, OfOnePictureTwiceTakeEitherPairing)
{
    m_Slice.m_Header.slice_type = SLICE_B;
    SetMotion(5, 0, {0, 0}, 0);
    SetMotion(5, 0, {8, 0}, 1);
    SetMotion(4, 0, {8, 0}, 0);
    SetMotion(4, 0, {0, 0}, 1);
    ExpectEdges(Find(), 0, 0, 0, 0, 0); // crossed
    SetMotion(4, 0, {0, 0}, 0);
    SetMotion(4, 0, {8, 0}, 1);
    ExpectEdges(Find(), 0, 0, 0, 0, 0); // straight
    SetMotion(4, 0, {0, 0}, 1);
    ExpectEdges(Find(), 0, kAll, 0, 0, 0); // neither
}

TEST_F(Strengths, StopAtTheSliceWithIdcTwo)
{
    SetIntra(5);
    m_Global[4].SliceId = 3;
    ExpectEdges(Find(), 0, 4 * kAll, 3 * kAll, 3 * kAll, 3 * kAll);
    m_Slice.m_Header.disable_deblocking_filter_idc = 2;
    ExpectEdges(Find(), 0, 0, 3 * kAll, 3 * kAll, 3 * kAll);
    ExpectEdges(Find(), 1, 4 * kAll, 3 * kAll, 3 * kAll, 3 * kAll);
}

TEST_F(Strengths, LeaveOutWhatWasNeverDecoded)
{
    SetIntra(5);
    m_Global[1].SliceId = kNoSlice;
    ExpectEdges(Find(), 1, 0, 3 * kAll, 3 * kAll, 3 * kAll);
}

} // namespace
} // namespace UMC
