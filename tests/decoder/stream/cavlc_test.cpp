#include "decoder/stream/cavlc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace UMC {
namespace {

// Writes codes into a unit of words with the first byte topmost.
class Writer
{
public:
    void Put(uint32_t Value, uint32_t Length)
    {
        for (uint32_t i = Length; i-- > 0;) m_Bits.push_back(Value >> i & 1);
    }
    void Put(const h264::VlcCode& Code) { Put(Code.Code, Code.Length); }
    H264Bitstream Open()
    {
        m_Words.assign(m_Bits.size() / 32 + 1 + H264Bitstream::kReadPadding / 4, 0);
        for (size_t i = 0; i < m_Bits.size(); ++i)
            if (m_Bits[i]) m_Words[i / 32] |= 1u << (31 - i % 32);
        H264Bitstream Bits;
        Bits.Reset(m_Words.data(), static_cast<uint32_t>((m_Bits.size() + 7) / 8));
        return Bits;
    }
    size_t Size() const { return m_Bits.size(); }

private:
    std::vector<bool> m_Bits;
    std::vector<uint32_t> m_Words;
};

// The code alone, and with ones and zeros behind it.
void ExpectDecodes(const VlcTable& Table, const h264::VlcCode& Code, uint32_t Value)
{
    const uint32_t Word = uint32_t{Code.Code} << (32 - Code.Length);
    const uint32_t Behind = Code.Length == 32 ? 0 : ~0u >> Code.Length;
    for (const uint32_t Rest : {0u, Behind, Behind & 0x55555555, Behind & 0xAAAAAAAA}) {
        const VlcTable::Entry& Found = Table.Find(Word | Rest);
        EXPECT_EQ(Found.Length, Code.Length);
        EXPECT_EQ(Found.Value, Value);
    }
}

TEST(CavlcTables, EveryCodeDecodesToItself)
{
    for (int Class = 0; Class < h264::kNcClasses; ++Class)
        for (uint32_t Ones = 0; Ones < 4; ++Ones)
            for (uint32_t Total = 0; Total <= 16; ++Total) {
                const h264::VlcCode& Code = h264::kCoeffToken[Class][Ones][Total];
                if (Code.Length == 0) continue;
                if (Class == h264::kNc8Up)
                    EXPECT_EQ(g_CavlcTables.FixedToken[Code.Code], Total * 4 + Ones);
                else
                    ExpectDecodes(g_CavlcTables.CoeffToken[Class], Code, Total * 4 + Ones);
            }
    const auto Check = [](const VlcTable& Table, const h264::VlcCode* pCodes, uint32_t Count) {
        for (uint32_t i = 0; i < Count; ++i)
            if (pCodes[i].Length) ExpectDecodes(Table, pCodes[i], i);
    };
    for (int i = 1; i < 16; ++i) Check(g_CavlcTables.TotalZeros4x4[i], h264::kTotalZeros4x4[i], 16);
    for (int i = 1; i < 4; ++i) Check(g_CavlcTables.TotalZerosChromaDc420[i], h264::kTotalZerosChromaDc420[i], 4);
    for (int i = 1; i < 8; ++i) Check(g_CavlcTables.TotalZerosChromaDc422[i], h264::kTotalZerosChromaDc422[i], 8);
    Check(g_CavlcTables.RunBefore, h264::kRunBefore[7], 15);
    for (int i = 1; i < 8; ++i)
        for (uint32_t Bits = 0; Bits < 8; ++Bits) {
            const VlcTable::Entry& Found = g_CavlcTables.ShortRun[i][Bits];
            if (i == 7 && Bits == 0) {
                EXPECT_EQ(Found.Length, 0) << "a longer code";
                continue;
            }
            ASSERT_LT(Found.Value, 15);
            const h264::VlcCode& Code = h264::kRunBefore[i][Found.Value];
            EXPECT_EQ(Found.Length, Code.Length);
            EXPECT_EQ(Bits >> (3 - Found.Length), Code.Code);
        }
}

// Writes one level behind the trailing ones, by clause 9.2.2.1 turned round.
void PutLevel(Writer& Out, int Level, bool First, uint32_t& SuffixLength)
{
    const auto Magnitude = static_cast<uint32_t>(Level < 0 ? -Level : Level);
    uint32_t Code = Level > 0 ? 2 * Magnitude - 2 : 2 * Magnitude - 1;
    if (First) Code -= 2;
    const uint32_t Escape = 15u << SuffixLength;
    if (SuffixLength == 0 && Code < 14) {
        Out.Put(1, Code + 1);
    } else if (SuffixLength == 0 && Code < 30) {
        Out.Put(1, 15);
        Out.Put(Code - 14, 4);
    } else if (SuffixLength > 0 && Code < Escape) {
        Out.Put(1, (Code >> SuffixLength) + 1);
        Out.Put(Code & ((1u << SuffixLength) - 1), SuffixLength);
    } else {
        Code -= Escape + (SuffixLength == 0 ? 15 : 0);
        uint32_t Prefix = 15;
        while (Code >= (1u << (Prefix - 3)) + (Prefix > 15 ? (1u << (Prefix - 3)) - 4096 : 0)) ++Prefix;
        if (Prefix > 15) Code -= (1u << (Prefix - 3)) - 4096;
        Out.Put(1, Prefix + 1);
        Out.Put(Code, Prefix - 3);
    }
    if (SuffixLength == 0) SuffixLength = 1;
    if (Magnitude > 3u << (SuffixLength - 1) && SuffixLength < 6) ++SuffixLength;
}

// Writes a list of coefficients as one block.
void PutBlock(Writer& Out, const std::vector<int>& List, int nC)
{
    std::vector<uint32_t> Places;
    for (uint32_t i = 0; i < List.size(); ++i)
        if (List[i]) Places.push_back(i);
    std::reverse(Places.begin(), Places.end());
    uint32_t Ones = 0;
    while (Ones < 3 && Ones < Places.size() && std::abs(List[Places[Ones]]) == 1) ++Ones;
    const int Class = nC == -1   ? h264::kNcMinus1
                      : nC == -2 ? h264::kNcMinus2
                      : nC < 2   ? 0
                      : nC < 4   ? 1
                      : nC < 8   ? 2
                                 : 3;
    Out.Put(h264::kCoeffToken[Class][Ones][Places.size()]);
    if (Places.empty()) return;
    uint32_t SuffixLength = Places.size() > 10 && Ones < 3;
    for (uint32_t i = 0; i < Places.size(); ++i) {
        const int Level = List[Places[i]];
        if (i < Ones)
            Out.Put(Level < 0, 1);
        else
            PutLevel(Out, Level, i == Ones && Ones < 3, SuffixLength);
    }
    uint32_t Zeros = Places[0] + 1 - static_cast<uint32_t>(Places.size());
    if (Places.size() < List.size())
        Out.Put(List.size() == 4   ? h264::kTotalZerosChromaDc420[Places.size()][Zeros]
                : List.size() == 8 ? h264::kTotalZerosChromaDc422[Places.size()][Zeros]
                                   : h264::kTotalZeros4x4[Places.size()][Zeros]);
    for (uint32_t i = 0; i + 1 < Places.size() && Zeros > 0; ++i) {
        const uint32_t Run = Places[i] - Places[i + 1] - 1;
        Out.Put(h264::kRunBefore[std::min(Zeros, 7u)][Run]);
        Zeros -= Run;
    }
}

TEST(CavlcBlock, RandomBlocksOfEverySizeAndClassComeBack)
{
    std::mt19937 Random(2);
    for (const int Size : {16, 15, 4, 8})
        for (int Round = 0; Round < 4000; ++Round) {
            const int nC = Size == 4 ? -1 : Size == 8 ? -2 : static_cast<int>(Random() % 17);
            const auto Density = 1 + Random() % 10;
            const int Largest = 1 << (Random() % 15);
            std::vector<int> List(static_cast<size_t>(Size));
            for (int& Level : List)
                if (Random() % 10 < Density)
                    Level = static_cast<int>(Random() % static_cast<unsigned>(2 * Largest + 1)) - Largest;
            Writer Out;
            PutBlock(Out, List, nC);
            H264Bitstream Bits = Out.Open();
            CavlcBlock Block;
            const int Count = ReadCavlcBlock(Bits, nC, Size, Block);
            std::vector<int> Got(List.size());
            for (int i = 0; i < Count; ++i) Got[Block.Position[i]] = Block.Level[i];
            ASSERT_EQ(Got, List) << "size " << Size << ", nC " << nC << ", round " << Round;
            ASSERT_EQ(Bits.BitsDecoded(), Out.Size());
        }
}

TEST(CavlcBlock, CodesThatDoNotExistThrow)
{
    CavlcBlock Block;
    const auto Read = [&](uint32_t Value, uint32_t Length, int nC, int Size) {
        Writer Out;
        Out.Put(Value, Length);
        H264Bitstream Bits = Out.Open();
        return ReadCavlcBlock(Bits, nC, Size, Block);
    };
    EXPECT_THROW(Read(0, 32, 0, 16), h264_exception);
    EXPECT_THROW(Read(2, 6, 8, 16), h264_exception);           // 000010: no token of the fixed table
    EXPECT_THROW(Read(0x3F, 6, 8, 15), h264_exception);        // sixteen levels in a block of fifteen
    EXPECT_THROW(Read(0x14000000, 32, 0, 16), h264_exception); // a level with a prefix of more than 25
}

} // namespace
} // namespace UMC
