// What lies around a macroblock of a frame of pairs, by where samples lie: a macroblock's neighbours hold the samples
// beside and above its own in the frame, or in its field (clause 6.4.12.2).
#include "Common/h264/h264_tables.h"
#include "encoder/state/neighbour_cache.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;

constexpr int32_t kPairsWide = 3, kPairsHigh = 2, kMbs = 2 * kPairsWide * kPairsHigh;
constexpr int32_t kMiddle = 1 + kPairsWide; // the pair in hand: below others, with one on either side

class PairGeometry : public testing::Test
{
protected:
    PairGeometry() : m_Global(kMbs), m_Local(kMbs), m_Counts(kMbs * kCountsPerMb), m_Modes(kMbs * 16)
    {
        for (size_t Mb = 0; Mb < kMbs; ++Mb) {
            m_Global[Mb].Type = MB_INTRA4X4;
            m_Local[Mb].Coded = static_cast<uint32_t>(m_Rng());
            m_Local[Mb].Pattern = static_cast<uint8_t>(m_Rng() % 48);
            m_Local[Mb].Direct = static_cast<uint8_t>(m_Rng() % 16);
            m_Local[Mb].CodedDc = static_cast<uint8_t>(m_Rng() % 8);
        }
        for (uint8_t& c : m_Counts) c = static_cast<uint8_t>(m_Rng() % 17);
        for (uint8_t& m : m_Modes) m = static_cast<uint8_t>(m_Rng() % 9);
        for (int List = 0; List < 2; ++List)
            for (size_t i = 0; i < kMbs * 16; ++i) {
                m_Vectors[List].push_back(Any());
                m_Differences[List].push_back(Any());
                m_References[List].push_back(static_cast<int8_t>(m_Rng() % 9) - 1);
            }
    }
    MotionVector Any() { return {static_cast<int16_t>(m_Rng() % 99 - 49), static_cast<int16_t>(m_Rng() % 99 - 49)}; }

    void SetKind(int32_t Pair, bool IsField)
    {
        for (int32_t Mb = 2 * Pair; Mb < 2 * Pair + 2; ++Mb)
            m_Global[static_cast<size_t>(Mb)].Flags = IsField ? kFlagField : 0;
    }
    bool IsField(int32_t Mb) const { return m_Global[static_cast<size_t>(Mb)].Flags != 0; }

    struct Place {
        int32_t Mb, Row; // of samples in the macroblock
    };
    // Of a line of a plane whose macroblocks are Height samples high, in a column of pairs.
    Place At(int32_t PairColumn, int32_t Line, int32_t Height = 16) const
    {
        const int32_t First = 2 * (Line / (2 * Height) * kPairsWide + PairColumn), Inside = Line % (2 * Height);
        if (IsField(First)) return {First + Inside % 2, Inside / 2};
        return {First + Inside / Height, Inside % Height};
    }
    // The line of the frame in which row y of the macroblock lies; above it those of its frame or field go on.
    static int32_t LineOf(int32_t Mb, bool InField, int32_t y, int32_t Height = 16)
    {
        const int32_t Top = Mb / 2 / kPairsWide * 2 * Height, Second = Mb & 1;
        return InField ? Top + Second + 2 * y : Top + Second * Height + y;
    }

    void Fill(int32_t Mb, bool InField)
    {
        const NeighbourTables t{.FirstMb = 0,
                                .MbWidth = kPairsWide,
                                .ChromaFormat = h264::CHROMA_422,
                                .pGlobal = m_Global.data(),
                                .pLocal = m_Local.data(),
                                .pIntraModes = m_Modes.data(),
                                .Lists = 2,
                                .pVectors = {m_Vectors[0].data(), m_Vectors[1].data()},
                                .pReferences = {m_References[0].data(), m_References[1].data()},
                                .pDifferences = {m_Differences[0].data(), m_Differences[1].data()},
                                .pCounts = m_Counts.data()};
        h264::PairNeighbours Pairs;
        Pairs.Find(
            Mb & ~1, Mb / 2 % kPairsWide, Mb / 2 / kPairsWide * 2, kPairsWide, [](int32_t) { return true; },
            [&](int32_t First) { return IsField(First); });
        Pairs.GoTo(Mb);
        FillNeighboursInPair(n, t, Pairs, InField);
    }

    void ExpectMotion(const Place& From, int32_t Column, size_t List, bool InField, MotionVector Vector, int Ref,
                      const MotionVector* pDifference)
    {
        const auto i = static_cast<size_t>(From.Mb * 16 + From.Row / 4 * 4 + Column);
        const int Field = InField - IsField(From.Mb); // 1: seen from a field, in a frame
        const auto Seen = [Field](MotionVector v) {
            const int y = Field > 0 ? v.y / 2 : Field < 0 ? v.y * 2 : v.y;
            return MotionVector{v.x, static_cast<int16_t>(y)};
        };
        const int OfRecord = m_References[List][i];
        EXPECT_EQ(Ref, OfRecord < 0 || Field == 0 ? OfRecord : Field > 0 ? 2 * OfRecord : OfRecord / 2);
        EXPECT_EQ(Vector, OfRecord < 0 ? m_Vectors[List][i] : Seen(m_Vectors[List][i]));
        if (pDifference) {
            EXPECT_EQ(*pDifference, Seen(m_Differences[List][i]));
        }
    }
    void ExpectLeft(int32_t Mb, bool InField);
    void ExpectTop(int32_t Mb, bool InField);

    std::mt19937 m_Rng{7};
    std::vector<GlobalMacroblock> m_Global;
    std::vector<LocalMacroblock> m_Local;
    std::vector<uint8_t> m_Counts, m_Modes;
    std::vector<MotionVector> m_Vectors[2], m_Differences[2];
    std::vector<int8_t> m_References[2];
    NeighbourCache n;
};

void PairGeometry::ExpectLeft(int32_t Mb, bool InField)
{
    const LocalMacroblock& First = m_Local[static_cast<size_t>(At(0, LineOf(Mb, InField, 0)).Mb)];
    EXPECT_EQ(n.pLeft->CodedDc, First.CodedDc);
    EXPECT_EQ(n.pLeft->Pattern >> 4, First.Pattern >> 4);
    for (int32_t i = 0; i < 4; ++i) {
        const auto k = static_cast<size_t>(i);
        const Place From = At(0, LineOf(Mb, InField, 4 * i)), Corner = At(0, LineOf(Mb, InField, 4 * i - 1));
        const LocalMacroblock& Local = m_Local[static_cast<size_t>(From.Mb)];
        const int32_t Block = From.Row / 4 * 4 + 3;
        EXPECT_EQ(n.LeftModes[i], m_Modes[static_cast<size_t>(From.Mb * 16 + Block)]);
        EXPECT_EQ(n.LeftCounts[0][i], m_Counts[static_cast<size_t>(From.Mb * kCountsPerMb + Block)]);
        EXPECT_EQ(n.pLeft->Coded >> h264::kBlockRaster[4 * i + 3] & 1, Local.Coded >> h264::kBlockRaster[Block] & 1);
        if (i % 2 == 0) {
            const int32_t Own = i + 1, Other = From.Row < 8 ? 1 : 3; // quadrants
            EXPECT_EQ(n.pLeft->Pattern >> Own & 1, Local.Pattern >> Other & 1);
            EXPECT_EQ(n.pLeft->Direct >> Own & 1, Local.Direct >> Other & 1);
        }
        const Place Chroma = At(0, LineOf(Mb, InField, 4 * i)); // as high as luma
        for (const int Plane : {1, 2}) {
            const int32_t Of = Chroma.Row / 4 * 2 + 1, Shift = Plane == 1 ? kCodedCbShift : kCodedCrShift;
            EXPECT_EQ(n.LeftCounts[Plane][i],
                      m_Counts[static_cast<size_t>(Chroma.Mb * kCountsPerMb + kFirstCount[Plane] + Of)]);
            EXPECT_EQ(n.pLeft->Coded >> (Shift + 2 * i + 1) & 1, Local.Coded >> (Shift + Of) & 1);
        }
        for (size_t List = 0; List < 2; ++List) {
            const NeighbourMotion& m = n.Motion[List];
            ExpectMotion(From, 3, List, InField, m.LeftVectors[k], m.LeftRefs[k], &m.LeftDifferences[k]);
            const h264::BlockMotion& D = i == 0 ? m.TopLeft : m.LeftCorners[k - 1];
            ExpectMotion(Corner, 3, List, InField, D.Mv, D.RefIdx, nullptr);
        }
    }
}

void PairGeometry::ExpectTop(int32_t Mb, bool InField)
{
    const Place From = At(1, LineOf(Mb, InField, -1));
    EXPECT_EQ(n.pTop, &m_Local[static_cast<size_t>(From.Mb)]);
    for (int32_t i = 0; i < 4; ++i) {
        const auto k = static_cast<size_t>(i);
        EXPECT_EQ(n.TopModes[i], m_Modes[static_cast<size_t>(From.Mb * 16 + 12 + i)]);
        EXPECT_EQ(n.TopCounts[0][i], m_Counts[static_cast<size_t>(From.Mb * kCountsPerMb + 12 + i)]);
        for (size_t List = 0; List < 2; ++List) {
            const NeighbourMotion& m = n.Motion[List];
            ExpectMotion(From, i, List, InField, m.TopVectors[k], m.TopRefs[k], &m.TopDifferences[k]);
        }
    }
    if (!n.Has(kernels::kTopRight)) {
        EXPECT_EQ(n.Motion[0].pTopRightOfPicture, nullptr);
        return;
    }
    for (size_t List = 0; List < 2; ++List) {
        const h264::BlockMotion& C = n.Motion[List].TopRight;
        ExpectMotion(At(2, LineOf(Mb, InField, -1)), 0, List, InField, C.Mv, C.RefIdx, nullptr);
        EXPECT_EQ(n.Motion[List].pTopRightOfPicture, &C.Mv);
    }
}

TEST_F(PairGeometry, NeighboursHoldTheSamplesBesideAndAbove)
{
    for (uint32_t Kinds = 0; Kinds < 32; ++Kinds) { // of the pair, and of those left, above, above-right, above-left
        static constexpr int32_t kPairs[5]{kMiddle, kMiddle - 1, 1, 2, 0};
        for (int32_t i = 0; i < 5; ++i) SetKind(kPairs[i], Kinds >> i & 1);
        const bool InField = Kinds & 1;
        for (int32_t Mb = 2 * kMiddle; Mb < 2 * kMiddle + 2; ++Mb) {
            SCOPED_TRACE(testing::Message() << "kinds " << Kinds << ", macroblock " << Mb);
            Fill(Mb, InField);
            const bool HasTopRight = InField || Mb % 2 == 0; // the lower one of a frame pair has none
            EXPECT_EQ(n.Available, kernels::kLeft + kernels::kTop + kernels::kTopLeft +
                                       (HasTopRight ? 0u + kernels::kTopRight : 0u));
            ExpectLeft(Mb, InField);
            ExpectTop(Mb, InField);
            if (HasFailure()) return;
        }
    }
}

TEST_F(PairGeometry, NothingLiesAroundTheFirstPair)
{
    Fill(0, false);
    EXPECT_EQ(n.Available, 0u);
    EXPECT_EQ(n.LeftType, kNoMacroblock);
    EXPECT_EQ(n.TopType, kNoMacroblock);
    EXPECT_EQ(n.pLeft, &kAbsentMacroblock);
    EXPECT_EQ(n.LeftModes[3], -1);
    EXPECT_EQ(n.Motion[1].LeftRefs[0], h264::kRefUnavailable);
    EXPECT_EQ(n.LeftCounts[0][0], h264::kNoCount);
    Fill(1, false); // the upper macroblock of its own pair is there
    EXPECT_EQ(n.Available, 0u + kernels::kTop);
    EXPECT_EQ(n.pTop, m_Local.data());
    Fill(1, true);
    EXPECT_EQ(n.Available, 0u);
}

} // namespace
