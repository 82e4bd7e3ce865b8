// Motion around the macroblocks of MBAFF frames, which stand in pairs of frame or field macroblocks.
#include "decoder/entropy/motion.h"
#include "tests/decoder/picture_fixture.h"

#include <utility>
#include <vector>

namespace UMC {
namespace {

// Two rows of pairs: macroblocks 10 and 11 are the pair in column 1 of the second row, 8 and 9 the one to its left, 2
// and 3 the one above. Every block has reference 3, and its vector and differences tell where it lies.
class MotionInPairs : public PictureFixture
{
protected:
    MotionInPairs()
    {
        for (const int Mb : {0, 1, 2, 3, 4, 5, 8, 9, 10}) {
            SetMotion(Mb, 0, {0, 0});
            for (int i = 0; i < 16; ++i) SetBlock(Mb, i, 3, {static_cast<int16_t>(Mb * 16 + i), -7});
            MbMvd& Mvd = m_Mvd[0][static_cast<size_t>(Mb)];
            for (int i = 0; i < 4; ++i) {
                Mvd.Right[i][0] = static_cast<uint8_t>(Mb * 4 + i);
                Mvd.Bottom[i][0] = static_cast<uint8_t>(100 + Mb * 4 + i);
                Mvd.Right[i][1] = Mvd.Bottom[i][1] = 9;
            }
        }
    }
    const MotionCache& Load(int Number, bool IsField, bool AreOthersFields)
    {
        for (const size_t Mb : {0u, 1u, 2u, 3u, 4u, 5u, 8u, 9u})
            m_Global[Mb].MbFlags = AreOthersFields ? MBFLAG_FIELD : 0;
        m_Global[10].MbFlags = IsField ? MBFLAG_FIELD : 0;
        m_Global[10].SliceId = 0;
        m_pCursor->FindPair(Number, 1, 2 + (Number & 1));
        m_pCursor->BeginMacroblock<true>(Number, 1, 2 + (Number & 1), IsField);
        MotionCache& Cache = m_pCursor->Motion.Cache[0];
        LoadMotion<true>(Cache, m_pCursor->Slice.Records, m_pCursor->Mb, 0);
        LoadMvd<true>(Cache, m_pCursor->Slice.Records, m_Mvd[0].data(), m_pCursor->Mb);
        return Cache;
    }
    // Macroblock and row of the block above-left, then of those beside the four rows.
    std::vector<std::pair<int, int>> Left(int Number, bool IsField, bool IsLeftField)
    {
        const MotionCache& Cache = Load(Number, IsField, IsLeftField);
        std::vector<std::pair<int, int>> Found{Block(FindMotionNeighbours<true>(Cache, kCacheOrigin, 4, true).C)};
        for (int y = 0; y < 4; ++y) Found.push_back(Block({Cache.Mv[CachePos(-1, y)], 0}));
        return Found;
    }
    // What a block of row y takes for above-left.
    std::pair<int, int> AboveLeft(int y) const
    {
        return Block(FindMotionNeighbours<true>(m_pCursor->Motion.Cache[0], CachePos(0, y), 4, true).C);
    }
    using Rows = std::vector<std::pair<int, int>>;

private:
    static std::pair<int, int> Block(const h264::BlockMotion& m)
    {
        EXPECT_EQ(m.Mv.x % 4, 3) << "not of the last column";
        return {m.Mv.x / 16, m.Mv.x % 16 / 4};
    }
};

TEST_F(MotionInPairs, OfOneKindIsThatOfTheMacroblockBeside)
{
    EXPECT_EQ(Left(10, false, false), (Rows{{1, 3}, {8, 0}, {8, 1}, {8, 2}, {8, 3}}));
    EXPECT_EQ(Left(11, false, false), (Rows{{8, 3}, {9, 0}, {9, 1}, {9, 2}, {9, 3}}));
    EXPECT_EQ(Left(10, true, true), (Rows{{0, 3}, {8, 0}, {8, 1}, {8, 2}, {8, 3}}));
    EXPECT_EQ(Left(11, true, true), (Rows{{1, 3}, {9, 0}, {9, 1}, {9, 2}, {9, 3}}));
}

TEST_F(MotionInPairs, OfOtherKindsIsThatOfTheSamplesBeside)
{
    EXPECT_EQ(Left(10, false, true), (Rows{{1, 3}, {8, 0}, {8, 0}, {8, 1}, {8, 1}}));
    EXPECT_EQ(Left(11, false, true), (Rows{{9, 1}, {8, 2}, {8, 2}, {8, 3}, {8, 3}}));
    EXPECT_EQ(Left(10, true, false), (Rows{{1, 3}, {8, 0}, {8, 2}, {9, 0}, {9, 2}}));
    EXPECT_EQ(Left(11, true, false), (Rows{{1, 3}, {8, 0}, {8, 2}, {9, 0}, {9, 2}}));
}

// The sample above-left of a lower row is the one in the line above, which another macroblock of the pair may hold.
TEST_F(MotionInPairs, AboveLeftOfLowerRowsIsThatOfTheLineAbove)
{
    using Place = std::pair<int, int>;
    Load(10, false, true);
    EXPECT_EQ(AboveLeft(1), (Place{9, 0}));
    EXPECT_EQ(AboveLeft(2), (Place{9, 0}));
    EXPECT_EQ(AboveLeft(3), (Place{9, 1}));
    Load(11, false, true);
    EXPECT_EQ(AboveLeft(2), (Place{9, 2}));
    Load(10, true, false);
    EXPECT_EQ(AboveLeft(1), (Place{8, 1}));
    EXPECT_EQ(AboveLeft(2), (Place{8, 3}));
    EXPECT_EQ(AboveLeft(3), (Place{9, 1}));
    Load(11, true, true);
    EXPECT_EQ(AboveLeft(2), (Place{9, 1}));
}

// Clause 8.4.1.3.2: half a vector is rounded to 0.
TEST_F(MotionInPairs, IsScaledBetweenFramesAndFields)
{
    struct Case {
        bool IsField, AreOthersFields;
        int Mv, RefIdx, Mvd;
    };
    for (const Case& c : {Case{false, false, -7, 3, 9}, Case{true, true, -7, 3, 9}, Case{false, true, -14, 1, 18},
                          Case{true, false, -3, 6, 4}}) {
        SCOPED_TRACE(testing::Message() << c.IsField << c.AreOthersFields);
        const MotionCache& Cache = Load(10, c.IsField, c.AreOthersFields);
        std::vector<int> Places{kCacheTopRight, CachePos(-2, -1), CachePos(-2, 0), CachePos(-2, 2)};
        for (int i = 0; i < 4; ++i) {
            Places.insert(Places.end(), {CachePos(i, -1), CachePos(-1, i)});
            EXPECT_EQ(Cache.Mvd[CachePos(i, -1)][1], c.Mvd);
            EXPECT_EQ(Cache.Mvd[CachePos(-1, i)][1], c.Mvd);
        }
        for (const int Pos : Places) {
            EXPECT_EQ(Cache.Mv[Pos].y, c.Mv) << Pos;
            EXPECT_EQ(Cache.Ref[Pos], c.RefIdx) << Pos;
        }
        EXPECT_EQ(Cache.Mvd[CachePos(-1, 0)][0], 8 * 4); // what lies across stays as it is
    }
}

TEST_F(MotionInPairs, WithinAPairIsNotScaled)
{
    const MotionCache& Frame = Load(11, false, true); // the upper macroblock of the same pair lies above
    EXPECT_EQ(Frame.Mv[CachePos(2, -1)].x, 10 * 16 + 14);
    EXPECT_EQ(Frame.Mv[CachePos(2, -1)].y, -7);
    EXPECT_EQ(Frame.Ref[CachePos(2, -1)], 3);
    EXPECT_EQ(Frame.Mvd[CachePos(2, -1)][1], 9);
    EXPECT_EQ(Frame.Ref[kCacheTopRight], h264::kRefUnavailable);
}

TEST_F(MotionInPairs, OfNeighboursWithoutReferenceIsNotScaled)
{
    for (const int Mb : {2, 3, 8, 9}) SetIntra(Mb);
    for (const bool IsField : {false, true}) {
        const MotionCache& Cache = Load(10, IsField, !IsField);
        EXPECT_EQ(Cache.Ref[CachePos(-1, 0)], h264::kRefNone);
        EXPECT_EQ(Cache.Ref[CachePos(3, -1)], h264::kRefNone);
    }
    for (const size_t Mb : {8u, 9u}) m_Global[Mb].SliceId = 7;
    EXPECT_EQ(Load(10, true, false).Ref[CachePos(-1, 3)], h264::kRefUnavailable);
}

TEST_F(MotionInPairs, OfAWholeMacroblockNeedsNoCache)
{
    for (const int Number : {10, 11})
        for (const bool IsField : {false, true})
            for (const bool AreOthersFields : {false, true})
                for (const bool HasTopRight : {false, true}) {
                    SCOPED_TRACE(testing::Message() << Number << IsField << AreOthersFields << HasTopRight);
                    for (const size_t Mb : {4u, 5u}) m_Global[Mb].SliceId = HasTopRight ? 0 : 7;
                    const h264::MotionNeighbours Cached =
                        FindMotionNeighbours<true>(Load(Number, IsField, AreOthersFields), kCacheOrigin, 4);
                    const h264::MotionNeighbours Direct =
                        FindMotionNeighbours<true>(m_pCursor->Slice.Records, m_pCursor->Mb, 0);
                    for (const auto Which :
                         {&h264::MotionNeighbours::A, &h264::MotionNeighbours::B, &h264::MotionNeighbours::C}) {
                        EXPECT_EQ((Cached.*Which).RefIdx, (Direct.*Which).RefIdx);
                        EXPECT_EQ(AsWord((Cached.*Which).Mv), AsWord((Direct.*Which).Mv));
                    }
                }
}

} // namespace
} // namespace UMC
