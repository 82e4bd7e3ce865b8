#include "decoder/entropy/motion.h"

#include "tests/decoder/picture_fixture.h"

#include <utility>
#include <vector>

namespace UMC {
namespace {

// Macroblock 5 stands in column 1 of row 1: its neighbours are A 4, B 1, C 2 and D 0.
class MvPrediction : public PictureFixture
{
protected:
    const MotionCache& Load()
    {
        m_pCursor->BeginMacroblock<false>(5, 1, 1);
        LoadMotion<false>(m_pCursor->Motion.Cache[0], m_pCursor->Slice.Records, m_pCursor->Mb, 0);
        return m_pCursor->Motion.Cache[0];
    }
    static void ExpectMv(h264::MotionVector Mv, int x, int y)
    {
        EXPECT_EQ(Mv.x, x);
        EXPECT_EQ(Mv.y, y);
    }
};

TEST_F(MvPrediction, IsTheMedianOfThreeNeighbours)
{
    SetMotion(4, 0, {10, -8});
    SetMotion(1, 0, {-4, 6});
    SetMotion(2, 0, {3, 20});
    ExpectMv(PredictMv<false>(Load(), kCacheOrigin, 4, 0), 3, 6);
}

TEST_F(MvPrediction, TakesAboveLeftWhereAboveRightIsMissing)
{
    SetMotion(4, 0, {1, 1});
    SetMotion(1, 0, {5, 5});
    SetMotion(0, 0, {9, 9});
    ExpectMv(PredictMv<false>(Load(), kCacheOrigin, 4, 0), 5, 5);
}

TEST_F(MvPrediction, TakesTheLeftVectorWhenOnlyItIsThere)
{
    SetMotion(4, 2, {7, -7}); // of another reference, too
    ExpectMv(PredictMv<false>(Load(), kCacheOrigin, 4, 0), 7, -7);
}

TEST_F(MvPrediction, CountsIntraNeighboursAsZeroVectors)
{
    SetMotion(4, 0, {8, 8});
    SetIntra(1);
    SetMotion(2, 0, {4, 4});
    ExpectMv(PredictMv<false>(Load(), kCacheOrigin, 4, 0), 4, 4);
}

TEST_F(MvPrediction, IsZeroWithoutNeighbours) { ExpectMv(PredictMv<false>(Load(), kCacheOrigin, 4, 0), 0, 0); }

TEST_F(MvPrediction, LeavesOutNeighboursOfOtherSlices)
{
    SetMotion(4, 0, {10, -8});
    SetMotion(1, 0, {-4, 6});
    SetMotion(2, 0, {3, 20});
    for (const size_t i : {1u, 2u}) m_Global[i].SliceId = 7;
    ExpectMv(PredictMv<false>(Load(), kCacheOrigin, 4, 0), 10, -8);
}

TEST_F(MvPrediction, OfAWholeMacroblockNeedsNoCache)
{
    SetMotion(4, 0, {1, 2});
    SetMotion(1, 1, {3, 4});
    for (const bool TopRight : {false, true}) {
        SetMotion(TopRight ? 2 : 0, 2, {5, 6});
        const h264::MotionNeighbours Cached = FindMotionNeighbours<false>(Load(), kCacheOrigin, 4);
        const h264::MotionNeighbours Direct = FindMotionNeighbours<false>(m_pCursor->Slice.Records, m_pCursor->Mb, 0);
        for (const auto Which : {&h264::MotionNeighbours::A, &h264::MotionNeighbours::B, &h264::MotionNeighbours::C}) {
            EXPECT_EQ((Cached.*Which).RefIdx, (Direct.*Which).RefIdx);
            EXPECT_EQ(AsWord((Cached.*Which).Mv), AsWord((Direct.*Which).Mv));
        }
    }
}

TEST_F(MvPrediction, RecordsGoRoundThroughTheCache)
{
    MotionCache& Cache = m_pCursor->Motion.Cache[0];
    Load();
    for (int i = 0; i < 16; ++i) {
        const int Pos = CachePos(i & 3, i >> 2);
        FillRef(Cache, Pos, 1, 1, i & 3);
        FillMv(Cache, Pos, 1, 1, {static_cast<int16_t>(i), static_cast<int16_t>(-i)});
    }
    StoreMotion(Cache, m_pCursor->Slice.Records, 5, 0);
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(m_Ref[0][static_cast<size_t>(5 * 16 + i)], i & 3);
        ExpectMv(m_Mv[0][static_cast<size_t>(5 * 16 + i)], i, -i);
    }
    m_Global[5].SliceId = 0;
    m_pCursor->BeginMacroblock<false>(6, 2, 1);
    LoadMotion<false>(m_pCursor->Motion.Cache[0], m_pCursor->Slice.Records, m_pCursor->Mb, 0);
    for (int y = 0; y < 4; ++y) ExpectMv(Cache.Mv[CachePos(-1, y)], y * 4 + 3, -(y * 4 + 3));
}

} // namespace
} // namespace UMC
