#include "decoder/entropy/mb_syntax.h"
#include "tests/decoder/picture_fixture.h"

#include <vector>

namespace UMC {
namespace {

// Contexts that elements of value 0 take in an MBAFF frame, seen from their states: all bins are the most probable
// ones. Macroblocks 10 and 11 are the pair in column 1 of the second row of pairs, 8 and 9 lie to the left, 2 and 3
// above.
class ContextsInPairs : public PictureFixture
{
protected:
    ContextsInPairs() : m_Bits(8 + H264Bitstream::kReadPadding / 4)
    {
        for (const int Mb : {2, 3, 8, 9}) SetMotion(Mb, 0, {0, 0});
    }
    void Begin(int Number, bool IsField, bool AreOthersFields)
    {
        for (const size_t Mb : {2u, 3u, 8u, 9u}) m_Global[Mb].MbFlags = AreOthersFields ? MBFLAG_FIELD : 0;
        m_pCursor->FindPair(Number, 1, 2 + (Number & 1));
        m_pCursor->BeginMacroblock<true>(Number, 1, 2 + (Number & 1), IsField);
        EntropyState& e = m_pCursor->Entropy;
        e.Bits.Reset(m_Bits.data(), 32);
        e.Cabac.m_Contexts.fill(kFresh);
        e.Cabac.Start(e.Bits);
    }
    // Of Count contexts from First on, counted from there.
    std::vector<int> Used(int First, int Count) const
    {
        std::vector<int> Found;
        for (int i = 0; i < Count; ++i)
            if (m_pCursor->Entropy.Cabac.m_Contexts[static_cast<size_t>(First + i)] != kFresh) Found.push_back(i);
        return Found;
    }
    int RefIdxContext(int Quadrant, int List = 0)
    {
        EXPECT_EQ(CabacSyntax::RefIdx(m_pCursor->Entropy, m_pCursor->Mb, List, Quadrant, 8), 0);
        const std::vector<int> Contexts = Used(54, 6);
        EXPECT_EQ(Contexts.size(), 1u);
        return Contexts.front();
    }
    std::vector<int> PatternContexts()
    {
        EXPECT_EQ(CabacSyntax::CodedBlockPattern(m_pCursor->Entropy, m_pCursor->Mb, false, false), 0);
        return Used(73, 4);
    }
    MbLocalInfo& Local(int Mb) { return m_LocalInfo[static_cast<size_t>(Mb)]; }
    using Contexts = std::vector<int>;

    const h264::CabacContext kFresh = h264::PackContext(10, 0);
    std::vector<uint32_t> m_Bits;
};

// Clause 9.3.3.1.1.6: a frame macroblock asks whether the index of a field is above 1, all others whether it is above
// 0.
TEST_F(ContextsInPairs, OfReferenceIndicesAskTwiceAsMuchOfFieldsBesideFrames)
{
    for (const bool IsAboveOne : {false, true})
        for (const bool IsField : {false, true})
            for (const bool AreOthersFields : {false, true}) {
                SCOPED_TRACE(testing::Message() << IsAboveOne << IsField << AreOthersFields);
                for (const int Mb : {2, 3, 8, 9})
                    for (uint8_t& Context : Local(Mb).RefIdxContext) Context = IsAboveOne ? 0xFF : 0x0F;
                const int Inc = IsAboveOne || IsField || !AreOthersFields;
                for (const int List : {0, 1}) {
                    Begin(10, IsField, AreOthersFields);
                    EXPECT_EQ(RefIdxContext(0, List), 3 * Inc);
                    Begin(10, IsField, AreOthersFields);
                    EXPECT_EQ(RefIdxContext(1, List), 2 * Inc);
                    Begin(10, IsField, AreOthersFields);
                    EXPECT_EQ(RefIdxContext(2, List), Inc);
                    Begin(10, IsField, AreOthersFields);
                    EXPECT_EQ(RefIdxContext(3, List), 0);
                }
            }
}

// Table 6-4: which macroblock and which half of it lies to the left of rows 0 and 8.
TEST_F(ContextsInPairs, OfTheLeftQuadrantsGoByTheSamplesBeside)
{
    struct Half {
        int Mb, Half;
    };
    struct Case {
        int Number;
        bool IsField, AreOthersFields;
        Half Left[2];
    };
    for (const Case& c : {Case{10, false, false, {{8, 0}, {8, 1}}}, Case{11, false, false, {{9, 0}, {9, 1}}},
                          Case{10, true, true, {{8, 0}, {8, 1}}}, Case{11, true, true, {{9, 0}, {9, 1}}},
                          Case{10, false, true, {{8, 0}, {8, 0}}}, Case{11, false, true, {{8, 1}, {8, 1}}},
                          Case{10, true, false, {{8, 0}, {9, 0}}}, Case{11, true, false, {{8, 0}, {9, 0}}}})
        for (const int Mb : {8, 9})
            for (const int Row : {0, 1}) {
                SCOPED_TRACE(testing::Message() << c.Number << c.IsField << c.AreOthersFields << ", " << Mb << Row);
                for (const int Other : {2, 3, 8, 9}) Local(Other) = {};
                for (const int Top : {2, 3}) Local(Top).CodedBlockPattern = 15;
                Local(Mb).RefIdxContext[0] = static_cast<uint8_t>(0x22 << (Row * 2)); // of quadrants 1 and 3
                Local(Mb).CodedBlockPattern = static_cast<uint8_t>(2 << (Row * 2));
                int IsMarked[2];
                for (const int i : {0, 1}) IsMarked[i] = c.Left[i].Mb == Mb && c.Left[i].Half == Row;
                for (const int i : {0, 1}) {
                    Begin(c.Number, c.IsField, c.AreOthersFields);
                    EXPECT_EQ(RefIdxContext(2 * i), IsMarked[i]);
                }
                if (c.Number == 11 && !c.IsField) Local(10).CodedBlockPattern = 15;
                m_Global[10].SliceId = 0;
                Begin(c.Number, c.IsField, c.AreOthersFields);
                // Quadrants 1 and 3 take contexts 1 and 3 whatever is there; 0 and 2 ask the left ones.
                Contexts Want{1, 3};
                if (IsMarked[1]) Want.insert(Want.begin() + 1, 2);
                if (IsMarked[0]) Want.insert(Want.begin(), 0);
                EXPECT_EQ(PatternContexts(), Want);
            }
}

TEST_F(ContextsInPairs, OfChromaGoByTheMacroblockBesideTheFirstRow)
{
    Local(8).CodedBlockPattern = 0x20;
    for (const bool IsTop : {false, true}) {
        Local(8).CodedBlockPattern = IsTop ? 0x20 : 0;
        Local(9).CodedBlockPattern = IsTop ? 0 : 0x20;
        Begin(11, true, false); // rows 0..7 lie beside macroblock 8
        CabacSyntax::CodedBlockPattern(m_pCursor->Entropy, m_pCursor->Mb, true, false);
        EXPECT_EQ(Used(77, 4), Contexts{IsTop ? 1 : 0});
    }
}

} // namespace
} // namespace UMC
