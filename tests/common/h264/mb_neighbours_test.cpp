#include "Common/h264/mb_neighbours.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace h264 {
namespace {

// Table 6-4 as its rows stand in the data that other tables of the standard are made of.
class Table64
{
public:
    Table64()
    {
        std::ifstream File(QUILVEX_SOURCE_DIR "/Common/h264/data/mbaff_neighbours.csv");
        std::string Line;
        std::getline(File, Line); // the names
        while (std::getline(File, Line)) {
            if (!Line.empty() && Line.back() == '\r') Line.pop_back();
            std::istringstream Fields(Line + ",");
            m_Rows.emplace_back();
            for (std::string Field; std::getline(Fields, Field, ',');) m_Rows.back().push_back(Field);
        }
    }
    size_t RowCount() const { return m_Rows.size(); }

    struct Answer {
        std::string Mb; // as mbAddrN stands in the table
        int Row = 0;
    };
    // Of luma or chroma location (xN, yN) of a macroblock MaxW samples wide and MaxH high. FieldOf says of A, B, C and
    // D whether the pair is one of fields.
    template <class F>
    Answer Find(int xN, int yN, bool IsFrame, bool IsTop, int MaxW, int MaxH, F&& FieldOf) const
    {
        for (const std::vector<std::string>& r : m_Rows) {
            if (!InRange(r[0], xN, MaxW) || !InRange(r[1], yN, MaxH)) continue;
            if (!Holds(r[2], IsFrame) || !Holds(r[3], IsTop)) continue;
            if (!r[5].empty() && !Holds(r[5], !FieldOf(r[4][0]))) continue;
            if (!Condition(r[6], yN, MaxH)) continue;
            if (r[7] == "not available") return {};
            return {r[7], (Row(r[8], yN, MaxH) + MaxH) % MaxH};
        }
        ADD_FAILURE() << "no row for " << xN << ", " << yN;
        return {};
    }

private:
    static bool InRange(const std::string& Range, int v, int Max)
    {
        if (Range == "any") return true;
        if (Range == "<0") return v < 0;
        return Range[0] == '>' ? v > Max - 1 : v >= 0 && v < Max;
    }
    static bool Holds(const std::string& Flag, bool Value) { return Flag.empty() || (Flag == "1") == Value; }
    static bool Condition(const std::string& c, int yN, int MaxH)
    {
        if (c == "yN%2==0") return yN % 2 == 0;
        if (c == "yN%2!=0") return yN % 2 != 0;
        if (c == "yN<maxH/2") return yN < MaxH / 2;
        if (c == "yN>=maxH/2") return yN >= MaxH / 2;
        EXPECT_EQ(c, "");
        return true;
    }
    static int Row(const std::string& y, int yN, int MaxH)
    {
        if (y == "yN") return yN;
        if (y == "2*yN") return 2 * yN;
        if (y == "yN>>1") return yN >> 1;
        if (y == "(yN+maxH)>>1") return (yN + MaxH) >> 1;
        if (y == "yN<<1") return yN * 2;
        if (y == "(yN<<1)-maxH") return yN * 2 - MaxH;
        if (y == "(yN<<1)+1") return yN * 2 + 1;
        if (y == "(yN<<1)+1-maxH") return yN * 2 + 1 - MaxH;
        ADD_FAILURE() << y;
        return 0;
    }

    std::vector<std::vector<std::string>> m_Rows;
};

// 3 x 2 pairs; the pair in hand stands in the middle of the lower row, with A, B, C and D around it.
constexpr int kWidth = 3, kPair = 4, kA = 3, kB = 1, kC = 2, kD = 0;

class Pairs : public testing::Test
{
protected:
    static int PairOf(char Name) { return Name == 'A' ? kA : Name == 'B' ? kB : Name == 'C' ? kC : kD; }
    void SetField(int Pair, bool IsField) { m_IsField[Pair] = IsField; }
    void SetUsable(int Pair, bool IsUsable) { m_IsUsable[Pair] = IsUsable; }
    // Asked about pairs by their first macroblocks.
    bool IsFieldPair(int32_t Mb) const
    {
        EXPECT_EQ(Mb % 2, 0);
        return m_IsField[Mb / 2];
    }
    // Bits 0..3: pairs A..D are fields, or may be used.
    template <class F>
    static void ForEachPair(uint32_t Bits, F&& Do)
    {
        for (int i = 0; i < 4; ++i) Do(PairOf(static_cast<char>('A' + i)), (Bits >> i & 1) != 0);
    }
    PairNeighbours Find(bool IsBottom)
    {
        PairNeighbours n;
        n.Find(
            kPair * 2 + IsBottom, 1, 2 + IsBottom, kWidth, [&](int32_t Mb) { return m_IsUsable[Mb / 2]; },
            [&](int32_t Mb) { return IsFieldPair(Mb); });
        return n;
    }
    // The number of the macroblock that mbAddrN of the table means, for a current one in the bottom place or not.
    int32_t NumberOf(const std::string& Mb, bool IsBottom, uint32_t Usable) const
    {
        if (Mb.empty()) return -1;
        if (Mb == "Curr") return kPair * 2 + IsBottom;
        if (Mb == "Curr-1") return kPair * 2 + IsBottom - 1;
        if (!(Usable >> (Mb[0] - 'A') & 1)) return -1;
        return PairOf(Mb[0]) * 2 + (Mb.size() > 1);
    }

    bool m_IsField[6] = {}, m_IsUsable[6] = {};
    Table64 m_Table;
};

TEST_F(Pairs, NeighboursAreThoseOfTheTableForEveryKindOfPairs)
{
    ASSERT_EQ(m_Table.RowCount(), 31u);
    for (uint32_t Combination = 0; Combination < 4 * 16 * 16; ++Combination) {
        const bool IsField = Combination & 1, IsBottom = Combination & 2;
        const uint32_t Fields = Combination >> 2 & 15, Usable = Combination >> 6;
        ForEachPair(Fields, [&](int Pair, bool Set) { SetField(Pair, Set); });
        ForEachPair(Usable, [&](int Pair, bool Set) { SetUsable(Pair, Set); });
        SetField(kPair, IsField);
        const PairNeighbours n = Find(IsBottom);
        const MbAround Around = n.Around(IsField);
        ASSERT_EQ(Around.Left, n.At(Column::Left, 0, 16, IsField).Mb) << "combination " << Combination;
        ASSERT_EQ(Around.Top, n.At(Column::Own, -1, 16, IsField).Mb) << "combination " << Combination;
        ASSERT_EQ(Around.TopRight, n.At(Column::Right, -1, 16, IsField).Mb) << "combination " << Combination;
        ASSERT_EQ(Around.TopLeft, n.At(Column::Left, -1, 16, IsField).Mb) << "combination " << Combination;
        for (const int Height : {16, 8})
            for (const auto& [Where, x] : {std::pair{Column::Left, -1}, {Column::Own, 0}, {Column::Right, Height}})
                for (int y = -1; y < Height; ++y) {
                    const auto Want = m_Table.Find(x, y, !IsField, !IsBottom, Height, Height,
                                                   [&](char Name) { return (Fields >> (Name - 'A') & 1) != 0; });
                    const NeighbourRow Got = n.At(Where, y, Height, IsField);
                    ASSERT_EQ(Got.Mb, NumberOf(Want.Mb, IsBottom, Usable))
                        << "combination " << Combination << ", at " << x << ", " << y << " of " << Height;
                    if (Got.Mb >= 0) {
                        ASSERT_EQ(Got.Row, Want.Row)
                            << "combination " << Combination << ", at " << x << ", " << y << " of " << Height;
                    }
                }
    }
}

// Clause 7.4.4: as the pair to the left, else as the one above, of those in the slice.
TEST_F(Pairs, TakeTheirKindFromTheLeftOrElseFromAbove)
{
    for (uint32_t Combination = 0; Combination < 16; ++Combination) {
        const bool LeftIsField = Combination & 1, AboveIsField = Combination & 2, HasLeft = Combination & 4,
                   HasAbove = Combination & 8;
        SetField(kA, LeftIsField);
        SetField(kB, AboveIsField);
        SetUsable(kA, HasLeft);
        SetUsable(kB, HasAbove);
        const PairNeighbours n = Find(false);
        EXPECT_EQ(n.InfersField(), HasLeft ? LeftIsField : HasAbove && AboveIsField) << Combination;
        EXPECT_EQ(n.FieldPairsAround(), (HasLeft && LeftIsField) + (HasAbove && AboveIsField)) << Combination;
    }
}

TEST_F(Pairs, AtTheBordersOfThePictureAreMissing)
{
    PairNeighbours n;
    const auto All = [](int32_t) { return true; };
    const auto Kind = [&](int32_t Mb) { return IsFieldPair(Mb); };
    for (const bool IsField : {false, true})
        for (const bool IsBottom : {false, true}) {
            n.Find(0 + IsBottom, 0, IsBottom, kWidth, All, Kind);
            const MbAround Corner = n.Around(IsField);
            EXPECT_EQ(Corner.Left, -1);
            EXPECT_EQ(Corner.Top, IsBottom && !IsField ? 0 : -1);
            EXPECT_EQ(Corner.TopRight, -1);
            EXPECT_EQ(Corner.TopLeft, -1);
            n.Find(5 * 2 + IsBottom, 2, 2 + IsBottom, kWidth, All, Kind);
            const MbAround Right = n.Around(IsField);
            EXPECT_EQ(Right.Left,
                      4 * 2 + IsBottom - (IsField && IsBottom)); // line 1 of a frame pair is in its upper half
            EXPECT_GE(Right.Top, 0);
            EXPECT_EQ(Right.TopRight, -1);
        }
}

TEST(Neighbours, OfFramesAndFieldsStandRowByRow)
{
    const auto Around = [](int32_t n, int32_t X, int32_t Y, int32_t Missing = -1) {
        const MbAround a = FindAround(n, X, Y, 4, [&](int32_t Mb) { return Mb != Missing; });
        return std::vector<int32_t>{a.Left, a.Top, a.TopRight, a.TopLeft};
    };
    using Numbers = std::vector<int32_t>;
    EXPECT_EQ(Around(0, 0, 0), (Numbers{-1, -1, -1, -1}));
    EXPECT_EQ(Around(3, 3, 0), (Numbers{2, -1, -1, -1}));
    EXPECT_EQ(Around(4, 0, 1), (Numbers{-1, 0, 1, -1}));
    EXPECT_EQ(Around(7, 3, 1), (Numbers{6, 3, -1, 2}));
    EXPECT_EQ(Around(9, 1, 2), (Numbers{8, 5, 6, 4}));
    EXPECT_EQ(Around(9, 1, 2, 5), (Numbers{8, -1, 6, 4}));
    EXPECT_EQ(Around(12, 0, 0), (Numbers{-1, -1, -1, -1})) << "the first of a second field";
}

// Clause 8.4.1.3.1: vertical components are halved towards zero.
TEST(Motion, CountsInTheUnitsOfTheMacroblockThatLooksAtIt)
{
    const auto Seen = [](bool FromField, MotionVector Mv, int RefIdx) {
        SeeAcrossKinds(FromField, Mv, RefIdx);
        return std::vector<int>{Mv.x, Mv.y, RefIdx};
    };
    using Motion = std::vector<int>;
    EXPECT_EQ(Seen(true, {5, 7}, 3), (Motion{5, 3, 6}));
    EXPECT_EQ(Seen(true, {-5, -7}, 0), (Motion{-5, -3, 0}));
    EXPECT_EQ(Seen(false, {5, 7}, 3), (Motion{5, 14, 1}));
    EXPECT_EQ(Seen(false, {-5, -7}, 6), (Motion{-5, -14, 3}));
}

} // namespace
} // namespace h264
