// The motion that a B macroblock derives, from stated neighbours and a stated co-located picture.
#include "encoder/decide/direct_motion.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace UMC_H264_ENCODER;
using h264::BlockMotion;
using h264::kRefNone;
using h264::kRefUnavailable;

class DirectMotion : public testing::Test
{
protected:
    DirectMotion()
    {
        m_pSlice->slice_type = h264::SLICE_B;
        m_pSlice->Syntax = {};
        m_pSlice->Syntax.direct_8x8_inference_flag = true;
        Reference<uint8_t>& Col = m_pSlice->ref_pic_lists.Pictures[1][0];
        for (int List = 0; List < 2; ++List) {
            Col.pVectors[List] = m_Vectors[List];
            Col.pReferences[List] = m_References[List];
            std::fill_n(m_References[List], 32, kRefNone);
            for (int i = 0; i < kMaxReferences; ++i) m_pSlice->B.RefOfCol[List][i] = kRefNone;
        }
        std::fill_n(m_pSlice->B.DistScale, kMaxReferences, 128);
        m_Mb.pSlice = m_pSlice.get();
        m_Mb.mb_index = 1; // the co-located macroblock is the second of its picture
        for (int List = 0; List < 2; ++List) StateNeighbours(List, kNone, kNone, kNone);
    }
    // A and B are the first ones beside and above, C that above right.
    void StateNeighbours(int List, BlockMotion a, BlockMotion b, BlockMotion c)
    {
        NeighbourMotion& n = m_Mb.Around.Motion[List];
        n.LeftVectors[0] = a.Mv, n.LeftRefs[0] = static_cast<int8_t>(a.RefIdx);
        n.TopVectors[0] = b.Mv, n.TopRefs[0] = static_cast<int8_t>(b.RefIdx);
        n.TopRight = c;
        n.TopLeft = kNone;
    }
    void StateCol(int Raster, int List, int8_t Ref, MotionVector v)
    {
        m_References[List][16 + Raster] = Ref;
        m_Vectors[List][16 + Raster] = v;
    }
    void StateWholeCol(int List, int8_t Ref, MotionVector v)
    {
        for (int i = 0; i < 16; ++i) StateCol(i, List, Ref, v);
    }
    bool Derive(bool IsSpatial)
    {
        m_pSlice->B.direct_spatial_mv_pred = IsSpatial;
        return DeriveDirectMotion(m_Mb, m);
    }
    // Of all blocks of a quadrant.
    void ExpectQuadrant(int q, int List, int Ref, MotionVector v)
    {
        EXPECT_EQ(m.References[List][q], Ref) << "quadrant " << q << ", list " << List;
        for (const int i : {0, 1, 4, 5}) EXPECT_EQ(m.Vectors[List][q / 2 * 8 + q % 2 * 2 + i], v) << q << ' ' << i;
    }
    void ExpectAll(int List, int Ref, MotionVector v)
    {
        for (int q = 0; q < 4; ++q) ExpectQuadrant(q, List, Ref, v);
    }

    static constexpr BlockMotion kNone{{0, 0}, kRefUnavailable};
    std::unique_ptr<SliceFacts<uint8_t>> m_pSlice = std::make_unique<SliceFacts<uint8_t>>();
    MotionVector m_Vectors[2][32]{};
    int8_t m_References[2][32];
    CurrentMacroblock<uint8_t> m_Mb{};
    MacroblockMotion m{};
};

// ---- Spatial, clause 8.4.1.2.2 --------------------------------------------------------------------------------------

using SpatialDirect = DirectMotion;

TEST_F(SpatialDirect, WithoutNeighboursThatMoveBothListsStandStill)
{
    StateWholeCol(0, 1, {40, 40}); // does not matter
    for (const int8_t Ref : {kRefUnavailable, kRefNone}) {
        for (int List = 0; List < 2; ++List) StateNeighbours(List, {{9, 9}, Ref}, {{9, 9}, Ref}, {{9, 9}, Ref});
        EXPECT_TRUE(Derive(true));
        for (int List = 0; List < 2; ++List) ExpectAll(List, 0, {0, 0});
        EXPECT_EQ(m.Direct, 15);
    }
}

TEST_F(SpatialDirect, TakesTheLeastReferenceOfEachListAndItsMedian)
{
    StateNeighbours(0, {{4, -4}, 2}, {{8, 12}, 1}, {{100, 100}, kRefNone});
    StateNeighbours(1, {{2, 20}, 3}, {{6, 40}, 3}, {{4, 60}, 3});
    EXPECT_TRUE(Derive(true));
    ExpectAll(0, 1, {8, 12}); // of one neighbour alone
    ExpectAll(1, 3, {4, 40});
}

TEST_F(SpatialDirect, AListThatNoNeighbourUsesIsNotUsed)
{
    for (const int Used : {0, 1}) {
        StateNeighbours(Used, {{4, -4}, 0}, {{4, -4}, 0}, {{4, -4}, 0});
        StateNeighbours(1 - Used, {{7, 7}, kRefNone}, kNone, {{7, 7}, kRefNone});
        StateWholeCol(0, 1, {0, 0});
        EXPECT_TRUE(Derive(true));
        ExpectAll(Used, 0, {4, -4});
        ExpectAll(1 - Used, kRefNone, {0, 0});
    }
}

// Reference 0 stands still where the co-located block does, by a quarter sample at most and from its own reference 0.
TEST_F(SpatialDirect, StandsStillWhereTheCoLocatedBlockDoes)
{
    struct Case {
        int8_t Ref;
        MotionVector Vector;
        bool IsZero;
    };
    for (const Case& c : {Case{0, {0, 0}, true}, Case{0, {1, -1}, true}, Case{0, {-1, 1}, true}, Case{0, {2, 0}, false},
                          Case{0, {0, 2}, false}, Case{0, {-2, 0}, false}, Case{0, {0, -2}, false},
                          Case{1, {0, 0}, false}, Case{kRefNone, {0, 0}, false}})
        for (const int ColList : {0, 1}) { // list 1 counts where list 0 is not used
            SCOPED_TRACE(testing::Message() << int{c.Ref} << ' ' << c.Vector.x << ' ' << c.Vector.y << ' ' << ColList);
            StateWholeCol(0, kRefNone, {0, 0});
            StateWholeCol(1, ColList ? kRefNone : int8_t{0}, {0, 0}); // not asked
            StateWholeCol(ColList, c.Ref, c.Vector);
            if (c.Ref == kRefNone) StateWholeCol(1, kRefNone, {0, 0}); // intra
            StateNeighbours(0, {{12, 8}, 0}, {{12, 8}, 0}, {{12, 8}, 0});
            StateNeighbours(1, {{-12, 4}, 1}, {{-12, 4}, 1}, {{-12, 4}, 1});
            EXPECT_TRUE(Derive(true));
            ExpectAll(0, 0, c.IsZero ? MotionVector{0, 0} : MotionVector{12, 8});
            ExpectAll(1, 1, {-12, 4}); // reference 1 moves on
        }
}

TEST_F(SpatialDirect, StandsStillInBothListsBlockByBlock)
{
    for (int List = 0; List < 2; ++List) StateNeighbours(List, {{12, 8}, 0}, {{12, 8}, 0}, {{12, 8}, 0});
    StateWholeCol(0, 0, {9, 9});
    StateCol(3, 0, 0, {1, 1});  // the corner of quadrant 1
    StateCol(10, 0, 0, {1, 1}); // inside quadrant 3
    EXPECT_TRUE(Derive(true));
    for (int List = 0; List < 2; ++List)
        for (int q = 0; q < 4; ++q) ExpectQuadrant(q, List, 0, q == 1 ? MotionVector{0, 0} : MotionVector{12, 8});
    m_pSlice->Syntax.direct_8x8_inference_flag = false;
    EXPECT_TRUE(Derive(true));
    for (int List = 0; List < 2; ++List)
        for (int i = 0; i < 16; ++i)
            EXPECT_EQ(m.Vectors[List][i], (i == 3 || i == 10 ? MotionVector{0, 0} : MotionVector{12, 8})) << i;
}

// ---- Temporal, clause 8.4.1.2.3 -------------------------------------------------------------------------------------

using TemporalDirect = DirectMotion;

TEST_F(TemporalDirect, ScalesTheVectorOfTheCoLocatedBlock)
{
    m_pSlice->B.RefOfCol[0][2] = 1;
    m_pSlice->B.DistScale[1] = 85; // a third of the way
    StateWholeCol(0, 2, {30, -31});
    EXPECT_TRUE(Derive(false));
    ExpectAll(0, 1, {10, -10}); // 2678 and -2507 of 256
    ExpectAll(1, 0, {-20, 21});
}

TEST_F(TemporalDirect, GoesByList1WhereList0IsNotUsed)
{
    m_pSlice->B.RefOfCol[0][0] = 3;
    m_pSlice->B.RefOfCol[1][0] = 2;
    StateWholeCol(1, 0, {8, 4});
    EXPECT_TRUE(Derive(false));
    ExpectAll(0, 2, {4, 2});
    ExpectAll(1, 0, {-4, -2});
    StateWholeCol(0, 0, {16, 0}); // list 0 comes first
    EXPECT_TRUE(Derive(false));
    ExpectAll(0, 3, {8, 0});
}

TEST_F(TemporalDirect, OfAnIntraBlockStandsStillFromTheFirstReference)
{
    EXPECT_TRUE(Derive(false));
    for (int List = 0; List < 2; ++List) ExpectAll(List, 0, {0, 0});
}

// Between pictures of one order count a vector is taken as it is.
TEST_F(TemporalDirect, WithoutDistanceKeepsTheVector)
{
    m_pSlice->B.RefOfCol[0][0] = 0;
    m_pSlice->B.DistScale[0] = kNotScaled;
    StateWholeCol(0, 0, {30, -31});
    EXPECT_TRUE(Derive(false));
    ExpectAll(0, 0, {30, -31});
    ExpectAll(1, 0, {0, 0});
}

TEST_F(TemporalDirect, FromAReferenceThatIsGoneCannotBeUsed)
{
    m_pSlice->B.RefOfCol[0][0] = 0;
    StateWholeCol(0, 0, {4, 4});
    EXPECT_TRUE(Derive(false));
    StateCol(12, 0, 1, {4, 4});
    EXPECT_FALSE(Derive(false));
    StateCol(12, 0, 0, {4, 4});
    StateCol(13, 0, 1, {4, 4}); // no corner
    EXPECT_TRUE(Derive(false));
    m_pSlice->Syntax.direct_8x8_inference_flag = false;
    EXPECT_FALSE(Derive(false));
}

// Twice as far as a search reaches, in quarter samples: 8 * 127.
TEST_F(TemporalDirect, LeadsNoFurtherThanTwiceWhatIsSearched)
{
    m_pSlice->B.RefOfCol[0][0] = 0;
    m_pSlice->B.DistScale[0] = 512;
    const auto IsUsable = [this](int x, int y) {
        StateCol(15, 0, 0, {static_cast<int16_t>(x), static_cast<int16_t>(y)});
        return Derive(false);
    };
    StateWholeCol(0, 0, {0, 0});
    EXPECT_TRUE(IsUsable(508, -508));
    EXPECT_FALSE(IsUsable(509, 0));
    EXPECT_FALSE(IsUsable(0, -509));
    m_pSlice->B.DistScale[0] = -256; // list 1 leads twice as far as list 0
    EXPECT_TRUE(IsUsable(-508, 508));
    EXPECT_FALSE(IsUsable(-509, 0));
    EXPECT_FALSE(IsUsable(0, 509));
    m_pSlice->B.DistScale[0] = kNotScaled;
    EXPECT_TRUE(IsUsable(1016, -1016));
    EXPECT_FALSE(IsUsable(1017, 0));
    EXPECT_FALSE(IsUsable(0, -1017));
}

// With inference a quadrant has the motion of the block in the macroblock's corner, without it each block its own.
TEST_F(TemporalDirect, GoesByTheCornersOrByEveryBlock)
{
    m_pSlice->B.RefOfCol[0][0] = 0;
    m_pSlice->B.DistScale[0] = 256;
    for (int i = 0; i < 16; ++i) StateCol(i, 0, 0, {static_cast<int16_t>(i), static_cast<int16_t>(-i)});
    EXPECT_TRUE(Derive(false));
    static constexpr int16_t kCorners[4]{0, 3, 12, 15};
    for (int q = 0; q < 4; ++q) {
        ExpectQuadrant(q, 0, 0, {kCorners[q], static_cast<int16_t>(-kCorners[q])});
        EXPECT_EQ(m.SubTypes[q], SUB_8X8);
    }
    m_pSlice->Syntax.direct_8x8_inference_flag = false;
    EXPECT_TRUE(Derive(false));
    for (int16_t i = 0; i < 16; ++i) EXPECT_EQ(m.Vectors[0][i], (MotionVector{i, static_cast<int16_t>(-i)}));
    for (const uint8_t Shape : m.SubTypes) EXPECT_EQ(Shape, SUB_4X4);
}

} // namespace
