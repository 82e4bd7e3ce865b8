#include "encoder/state/neighbour_cache.h"

#include "Common/h264/intra_modes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;
using namespace kernels;

constexpr int32_t kMbWidth = 4, kMbs = 12;

// Tables in which every entry tells its macroblock and block.
class NeighboursOfAPicture : public testing::Test
{
protected:
    NeighboursOfAPicture() : m_Global(kMbs), m_Local(kMbs), m_Counts(kMbs * kCountsPerMb)
    {
        for (size_t Mb = 0; Mb < kMbs; ++Mb) {
            m_Global[Mb].Type = MB_INTRA4X4;
            m_Local[Mb].Coded = static_cast<uint32_t>(Mb);
            for (size_t b = 0; b < 16; ++b) {
                m_Modes.push_back(static_cast<uint8_t>((Mb + b) % 9));
                for (size_t List = 0; List < 2; ++List) {
                    const auto x = static_cast<int16_t>(Mb + 50 * List), y = static_cast<int16_t>(b);
                    m_Vectors[List].push_back({x, y});
                    m_Differences[List].push_back({static_cast<int16_t>(100 + x), y});
                    m_References[List].push_back(static_cast<int8_t>(x + y));
                }
            }
        }
        for (size_t i = 0; i < m_Counts.size(); ++i) m_Counts[i] = static_cast<uint8_t>(i % 61);
    }
    const NeighbourCache& At(int32_t Mb, int32_t FirstMb = 0, int32_t ChromaFormat = h264::CHROMA_420,
                             int32_t Lists = 2)
    {
        const NeighbourTables t{.FirstMb = FirstMb,
                                .MbWidth = kMbWidth,
                                .ChromaFormat = ChromaFormat,
                                .pGlobal = m_Global.data(),
                                .pLocal = m_Local.data(),
                                .pIntraModes = m_Modes.data(),
                                .Lists = Lists,
                                .pVectors = {m_Vectors[0].data(), m_Vectors[1].data()},
                                .pReferences = {m_References[0].data(), m_References[1].data()},
                                .pDifferences = {m_Differences[0].data(), m_Differences[1].data()},
                                .pCounts = m_Counts.data()};
        FillNeighbours(n, t, Mb, Mb % kMbWidth);
        return n;
    }

    std::vector<GlobalMacroblock> m_Global;
    std::vector<LocalMacroblock> m_Local;
    std::vector<uint8_t> m_Modes, m_Counts;
    std::vector<MotionVector> m_Vectors[2], m_Differences[2];
    std::vector<int8_t> m_References[2];
    NeighbourCache n;
};

TEST_F(NeighboursOfAPicture, AreThereInsideThePicture)
{
    EXPECT_EQ(At(0).Available, 0u);
    EXPECT_EQ(At(2).Available, 0u + kLeft);
    EXPECT_EQ(At(4).Available, 0u + kTop + kTopRight);
    EXPECT_EQ(At(5).Available, 0u + kLeft + kTop + kTopRight + kTopLeft);
    EXPECT_EQ(At(7).Available, 0u + kLeft + kTop + kTopLeft); // last of its row
}

TEST_F(NeighboursOfAPicture, AreThereInsideTheSlice)
{
    EXPECT_EQ(At(5, 5).Available, 0u);
    EXPECT_EQ(At(6, 5).Available, 0u + kLeft);
    EXPECT_EQ(At(8, 5).Available, 0u + kTopRight);
    EXPECT_EQ(At(9, 5).Available, 0u + kLeft + kTop + kTopRight);
    EXPECT_EQ(At(10, 5).Available, 0u + kLeft + kTop + kTopRight + kTopLeft);
}

TEST_F(NeighboursOfAPicture, NameTheBlockAboveRightOfWhateverSlice)
{
    for (const int32_t FirstMb : {0, 4, 5, 6})
        for (int32_t Mb = FirstMb; Mb < kMbs; ++Mb) {
            At(Mb, FirstMb);
            for (size_t List = 0; List < 2; ++List) {
                const MotionVector* const p = n.Motion[List].pTopRightOfPicture;
                if (Mb < kMbWidth || Mb % kMbWidth + 1 == kMbWidth)
                    EXPECT_EQ(p, nullptr) << Mb;
                else
                    EXPECT_EQ(p, &m_Vectors[List][static_cast<size_t>(Mb - kMbWidth + 1) * 16 + 12]) << Mb;
            }
        }
}

TEST_F(NeighboursOfAPicture, TellByRowOnTheLeftAndByColumnAbove)
{
    At(6); // left 5, above 2
    EXPECT_EQ(n.pLeft, &m_Local[5]);
    EXPECT_EQ(n.pTop, &m_Local[2]);
    for (int16_t i = 0; i < 4; ++i) {
        const auto Right = static_cast<int16_t>(4 * i + 3), Lower = static_cast<int16_t>(12 + i);
        EXPECT_EQ(n.LeftModes[i], (5 + Right) % 9);
        EXPECT_EQ(n.TopModes[i], (2 + Lower) % 9);
        EXPECT_EQ(n.LeftCounts[0][i], m_Counts[5 * kCountsPerMb + static_cast<size_t>(Right)]);
        EXPECT_EQ(n.TopCounts[0][i], m_Counts[2 * kCountsPerMb + static_cast<size_t>(Lower)]);
    }
    for (size_t Plane = 1; Plane < 3; ++Plane)
        for (size_t i = 0; i < 2; ++i) {
            const size_t First = 8 + 8 * Plane; // 16 and 24
            EXPECT_EQ(n.LeftCounts[Plane][i], m_Counts[5 * kCountsPerMb + First + 2 * i + 1]);
            EXPECT_EQ(n.TopCounts[Plane][i], m_Counts[2 * kCountsPerMb + First + 2 + i]);
        }
}

TEST_F(NeighboursOfAPicture, TellTheMotionOfBothLists)
{
    At(6); // left 5, above 2
    for (int16_t List = 0; List < 2; ++List) {
        const NeighbourMotion& m = n.Motion[List];
        const auto First = static_cast<int16_t>(50 * List);
        const auto x = [=](int Mb) { return static_cast<int16_t>(First + Mb); };
        for (int16_t i = 0; i < 4; ++i) {
            const auto Right = static_cast<int16_t>(4 * i + 3), Lower = static_cast<int16_t>(12 + i);
            const auto k = static_cast<size_t>(i);
            EXPECT_EQ(m.Left(k).Mv, (MotionVector{x(5), Right}));
            EXPECT_EQ(m.Left(k).RefIdx, First + 5 + Right);
            EXPECT_EQ(m.Top(k).Mv, (MotionVector{x(2), Lower}));
            EXPECT_EQ(m.Top(k).RefIdx, First + 2 + Lower);
            EXPECT_EQ(m.LeftDifferences[i], (MotionVector{x(105), Right}));
            EXPECT_EQ(m.TopDifferences[i], (MotionVector{x(102), Lower}));
        }
        EXPECT_EQ(m.TopRight.Mv, (MotionVector{x(3), 12}));
        EXPECT_EQ(m.TopLeft.Mv, (MotionVector{x(1), 15}));
    }
}

TEST_F(NeighboursOfAPicture, OfAListThatTheSliceHasNotAreLeftAlone)
{
    At(6);
    At(9, 0, h264::CHROMA_420, 1);
    EXPECT_EQ(n.Motion[0].Left(0).Mv, (MotionVector{8, 3}));
    EXPECT_EQ(n.Motion[1].Left(0).Mv, (MotionVector{55, 3}));
}

TEST_F(NeighboursOfAPicture, HaveFourRowsOfChromaIn422)
{
    At(6, 0, h264::CHROMA_422); // left 5, above 2
    for (size_t Plane = 1; Plane < 3; ++Plane) {
        const size_t First = 8 + 8 * Plane;
        for (size_t y = 0; y < 4; ++y)
            EXPECT_EQ(n.LeftCounts[Plane][y], m_Counts[5 * kCountsPerMb + First + 2 * y + 1]);
        for (size_t x = 0; x < 2; ++x) EXPECT_EQ(n.TopCounts[Plane][x], m_Counts[2 * kCountsPerMb + First + 6 + x]);
    }
}

TEST_F(NeighboursOfAPicture, OtherTypesCountAsDcInModePrediction)
{
    for (const uint8_t Type : {MB_INTRA16X16, MB_INTER16X16, MB_SKIP_P}) {
        m_Global[5].Type = Type;
        std::fill_n(m_Modes.begin() + 5 * 16, 16, h264::kIntraDcMode); // as such a macroblock leaves them
        EXPECT_EQ(At(6).LeftType, Type);
        for (const int8_t Mode : n.LeftModes) EXPECT_EQ(Mode, h264::kIntraDcMode);
    }
}

TEST_F(NeighboursOfAPicture, ThatAreNotThereSaySo)
{
    At(6);
    At(0); // nothing of the macroblock before remains
    EXPECT_EQ(n.LeftType, kNoMacroblock);
    EXPECT_EQ(n.TopType, kNoMacroblock);
    for (const LocalMacroblock* p : {n.pLeft, n.pTop}) {
        EXPECT_EQ(p->Pattern, 15u); // no bit of it is 0
        EXPECT_EQ(p->Coded, 0u);
        EXPECT_EQ(p->ChromaMode, 0);
    }
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(n.LeftModes[i], -1);
        EXPECT_EQ(n.TopModes[i], -1);
        for (const NeighbourMotion& m : n.Motion) {
            for (const h264::BlockMotion& b : {m.Left(i), m.Top(i), m.TopRight, m.TopLeft}) {
                EXPECT_EQ(b.RefIdx, h264::kRefUnavailable);
                EXPECT_EQ(b.Mv, (MotionVector{0, 0}));
            }
            EXPECT_EQ(m.LeftDifferences[i], (MotionVector{0, 0}));
            EXPECT_EQ(m.TopDifferences[i], (MotionVector{0, 0}));
        }
        EXPECT_EQ(n.LeftCounts[0][i], h264::kNoCount);
        EXPECT_EQ(n.TopCounts[0][i], h264::kNoCount);
    }
}

TEST_F(NeighboursOfAPicture, AboveLeftStandsInForAboveRight)
{
    EXPECT_EQ(At(6).Motion[0].Of16x16().C.Mv, (MotionVector{3, 12}));
    EXPECT_EQ(At(7).Motion[0].Of16x16().C.Mv, (MotionVector{2, 15}));
    EXPECT_EQ(At(7, 6).Motion[0].Of16x16().C.RefIdx, h264::kRefUnavailable);
}

} // namespace
