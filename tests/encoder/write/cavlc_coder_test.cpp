// Blocks in variable length codes, read back by the decoder's reader.
#include "encoder/write/cavlc_coder.h"

#include "decoder/stream/cavlc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <random>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;

using List = std::array<int32_t, 16>;

template <class LevelType = int16_t>
BlockLevels<LevelType> LevelsOf(const List& l)
{
    BlockLevels<LevelType> b{};
    for (size_t i = 0; i < 16; ++i) {
        if (l[i] == 0) continue;
        b.Position[b.Count] = static_cast<uint8_t>(i);
        b.Level[b.Count++] = static_cast<LevelType>(l[i]);
    }
    return b;
}

// Writes blocks into a buffer, and reads them from it.
class Blocks
{
public:
    Blocks() : m_Bytes(1 << 16) { m_Coder.Bits.Start(m_Bytes.data()); }

    template <class LevelType = int16_t>
    void Write(const List& l, int32_t nC, uint32_t Positions)
    {
        const BlockLevels<LevelType> b = LevelsOf<LevelType>(l);
        const BlockLevels<LevelType>* const pBlock = b.Count ? &b : nullptr;
        m_Coder.Block(pBlock, nC, Positions);
        m_Counter.Block(pBlock, nC, Positions);
        m_Written.push_back({l, nC, static_cast<int>(Positions)});
        ASSERT_EQ(m_Counter.Bits.Bits(), m_Coder.Bits.Bits());
        if (m_Coder.Bits.Bits() > 8 * (1 << 15)) ReadBack();
    }
    int64_t Bits() const { return m_Coder.Bits.Bits(); }

    void ReadBack()
    {
        std::vector<uint32_t> Words(m_Bytes.size() / 4 + UMC::H264Bitstream::kReadPadding / 4);
        for (size_t i = 0; i < m_Bytes.size(); ++i) Words[i / 4] |= uint32_t{m_Bytes[i]} << (24 - i % 4 * 8);
        UMC::H264Bitstream Bits;
        Bits.Reset(Words.data(), static_cast<uint32_t>(m_Bytes.size()));
        for (const Written& w : m_Written) {
            UMC::CavlcBlock Block;
            const int Count = UMC::ReadCavlcBlock(Bits, w.nC, w.Positions, Block);
            List Got{};
            for (int i = 0; i < Count; ++i) Got[Block.Position[i]] = Block.Level[i];
            ASSERT_EQ(Got, w.Levels) << "nC " << w.nC << ", of " << w.Positions;
        }
        ASSERT_EQ(Bits.BitsDecoded(), static_cast<uint64_t>(m_Coder.Bits.Bits()));
        m_Written.clear();
        m_Coder.Bits.Start(m_Bytes.data());
        m_Counter = {};
    }

private:
    struct Written {
        List Levels;
        int32_t nC;
        int Positions;
    };
    std::vector<uint8_t> m_Bytes;
    std::vector<Written> m_Written;
    CavlcCoder m_Coder;
    CavlcCounter m_Counter;
};

// Levels at the places of a mask: of them Ones trailing ones and no more, the others 2.
List MakeList(uint32_t Mask, uint32_t Ones, std::mt19937& Rng)
{
    List l{};
    for (uint32_t i = 16; i-- > 0;) {
        if (!(Mask >> i & 1)) continue;
        l[i] = Ones > 0 ? 1 : 2;
        Ones -= Ones > 0;
        if (Rng() & 1) l[i] = -l[i];
    }
    return l;
}

TEST(CavlcCoder, EveryPlaceOfLevelsAndNumberOfTrailingOnesComesBack)
{
    std::mt19937 Rng(1);
    Blocks Out;
    for (const uint32_t Positions : {16u, 15u, 4u})
        for (uint32_t Mask = 0; Mask < 1u << Positions; ++Mask)
            for (uint32_t Ones = 0; Ones <= std::min(3u, static_cast<uint32_t>(std::popcount(Mask))); ++Ones) {
                Out.Write(MakeList(Mask, Ones, Rng), Positions == 4 ? -1 : static_cast<int32_t>(Rng() % 17), Positions);
                if (HasFatalFailure()) return;
            }
    Out.ReadBack();
}

TEST(CavlcCoder, EveryTokenOfEveryClassComesBack)
{
    std::mt19937 Rng(2);
    Blocks Out;
    for (int32_t nC = 0; nC <= 16; ++nC)
        for (uint32_t Total = 0; Total <= 16; ++Total)
            for (uint32_t Ones = 0; Ones <= std::min(3u, Total); ++Ones)
                Out.Write(MakeList((1u << Total) - 1, Ones, Rng), nC, 16);
    Out.ReadBack();
}

// Levels that raise suffixLength to 2, 3, ... 6, in the order of coding.
constexpr int16_t kRaising[]{4, 7, 13, 25, 49};

TEST(CavlcCoder, EveryMagnitudeComesBackAtEverySuffixLength)
{
    Blocks Out;
    for (size_t Before = 0; Before <= std::size(kRaising); ++Before)
        for (int32_t m = 1; m < 20000; m = m < 2500 ? m + 1 : m + 37) {
            List l{};
            for (size_t i = 0; i < Before; ++i) l[15 - i] = kRaising[i];
            l[15 - Before] = m;
            l[14 - Before] = -m;
            Out.Write(l, 4, 16);
            if (HasFatalFailure()) return;
        }
    List Lowest{};
    Lowest[3] = INT16_MIN;
    Out.Write(Lowest, 0, 16);
    Out.ReadBack();
}

// Those of deep samples: prefixes of up to 24 zeros.
TEST(CavlcCoder, LevelsBeyondSixteenBitsComeBackAtEverySuffixLength)
{
    Blocks Out;
    for (size_t Before = 0; Before <= std::size(kRaising); ++Before)
        for (int32_t m = 1 << 14; m < 1 << 21; m += m / 61) {
            List l{};
            for (size_t i = 0; i < Before; ++i) l[15 - i] = kRaising[i];
            l[15 - Before] = m;
            l[14 - Before] = -m - 1;
            Out.Write<int32_t>(l, 4, 16);
            if (HasFatalFailure()) return;
        }
    Out.ReadBack();
}

// Bits of a single level's prefix and suffix.
int64_t LevelBits(int16_t Level)
{
    List l{};
    l[0] = Level;
    Blocks Out;
    Out.Write(l, 0, 16);
    return Out.Bits() - h264::kCoeffToken[h264::kNc0To1][0][1].Length - h264::kTotalZeros4x4[1][0].Length;
}

TEST(CavlcCoder, EscapesBeginWhereTheStandardPutsThem)
{
    EXPECT_EQ(LevelBits(2), 1);
    EXPECT_EQ(LevelBits(-8), 14);    // thirteen zeros and no suffix
    EXPECT_EQ(LevelBits(9), 15 + 4); // fourteen, and four bits
    EXPECT_EQ(LevelBits(-16), 15 + 4);
    EXPECT_EQ(LevelBits(17), 16 + 12); // level_prefix 15
    EXPECT_EQ(LevelBits(-2064), 16 + 12);
    EXPECT_EQ(LevelBits(2065), 17 + 13); // level_prefix 16
    EXPECT_EQ(LevelBits(-6160), 17 + 13);
    EXPECT_EQ(LevelBits(6161), 18 + 14);
}

TEST(CavlcCoder, ACopyPutBackWritesOnAsIfNothingHadBeen)
{
    std::mt19937 Rng(3);
    std::vector<uint8_t> a(1 << 16), b(1 << 16);
    CavlcCoder Plain, Tried;
    Plain.Bits.Start(a.data());
    Tried.Bits.Start(b.data());
    for (int i = 0; i < 2000; ++i) {
        const BlockLevels<int16_t> Kept = LevelsOf(MakeList(1 + static_cast<uint32_t>(Rng() % 0xFFFF), 1, Rng));
        const CavlcCoder Before = Tried;
        Tried.skip_run = 7;
        Tried.PutSkipRun();
        Tried.Bits.PutBits(0xFFFFFF, 24);
        Tried = Before;
        Plain.Block(&Kept, 3, 16);
        Tried.Block(&Kept, 3, 16);
        EXPECT_EQ(Tried.skip_run, 0u);
    }
    Plain.Bits.PutBits(0x80, 8);
    Tried.Bits.PutBits(0x80, 8);
    ASSERT_EQ(Tried.Bits.Bits(), Plain.Bits.Bits());
    const auto Bytes = static_cast<ptrdiff_t>(Plain.Bits.Bits() / 8);
    EXPECT_TRUE(std::equal(a.begin(), a.begin() + Bytes, b.begin()));
}

} // namespace
