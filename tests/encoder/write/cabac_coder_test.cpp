#include "encoder/write/cabac_coder.h"

#include "decoder/stream/cabac.h"

#include <gtest/gtest.h>

#include <random>
#include <type_traits>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;

CabacCoder StartAt(uint8_t* pOut)
{
    StoredBytes Out;
    Out.Start(pOut);
    CabacCoder c;
    c.StartSlice(h264::SLICE_P, 1, 28, Out);
    return c;
}

template <class Coder>
void WriteBins(Coder& c, uint32_t Seed, int Count)
{
    std::mt19937 Rng(Seed);
    for (int i = 0; i < Count; ++i) {
        const auto r = static_cast<uint32_t>(Rng());
        if (r % 3 == 0)
            c.Arithmetic.EncodeBypass(r >> 8 & 1);
        else
            c.Bin(r % 276, r >> 8 & 1);
    }
}

// Levels at some of the first Positions places, magnitudes up to far beyond the unary prefix.
template <class Block>
Block RandomBlock(std::mt19937& Rng, uint32_t Positions, uint32_t Largest)
{
    Block b{};
    for (uint32_t i = 0; i < Positions; ++i) {
        if (Rng() % 3) continue;
        b.Position[b.Count] = static_cast<uint8_t>(i);
        const auto Magnitude = static_cast<int32_t>(1 + Rng() % (Rng() % 4 ? 3 : Largest));
        b.Level[b.Count++] =
            static_cast<std::remove_reference_t<decltype(b.Level[0])>>(Rng() & 1 ? Magnitude : -Magnitude);
    }
    return b;
}

// Of every kind of block.
template <class Coder>
void WriteBlocks(Coder& c, uint32_t Seed, int Count)
{
    static constexpr uint32_t kPositions[]{16, 15, 16, 4, 15};
    std::mt19937 Rng(Seed);
    for (int n = 0; n < Count; ++n) {
        const auto Cat = static_cast<uint32_t>(Rng() % 5);
        const auto b = RandomBlock<BlockLevels<int16_t>>(Rng, kPositions[Cat], 3000);
        if (b.Count) c.Levels(h264::BlockCat(Cat), b, kPositions[Cat], Rng() % 2);
        const auto Large = RandomBlock<BlockLevels8x8<int32_t>>(Rng, 64, 1 << 21);
        if (Large.Count) c.Levels8x8(Large, Rng() % 2);
    }
}

// A trial of bypass bins of 1 runs into carries; whatever it was, nothing of it stays.
TEST(CabacCoder, ATrialInPlaceLeavesNoTrace)
{
    for (uint32_t Seed = 0; Seed < 300; ++Seed) {
        std::vector<uint8_t> a(4096, 0xFF), b(4096, 0xFF); // ahead of the start lie bytes that look like a run
        CabacCoder Plain = StartAt(a.data() + 64), Tried = StartAt(b.data() + 64);
        for (uint32_t Step = 0; Step < 20; ++Step) {
            const SavedCabacCoder Before(Tried);
            for (uint32_t i = 0; i < Seed % 40; ++i) Tried.Arithmetic.EncodeBypass(1);
            WriteBins(Tried, Seed ^ Step, 9);
            Tried.LastQpDelta = 1;
            Before.PutBack(Tried);
            EXPECT_EQ(Tried.LastQpDelta, 0);
            // Ones lead to runs of 0xFF.
            for (CabacCoder* c : {&Plain, &Tried}) {
                for (uint32_t i = 0; i < Seed % 30; ++i) c->Arithmetic.EncodeBypass(1);
                WriteBins(*c, Seed * 100 + Step, static_cast<int>(Step));
            }
        }
        for (CabacCoder* c : {&Plain, &Tried}) {
            c->Arithmetic.EncodeTerminate(1);
            c->Arithmetic.Finish();
        }
        const auto End = static_cast<size_t>(Plain.Arithmetic.Out().Position() - a.data());
        ASSERT_EQ(static_cast<size_t>(Tried.Arithmetic.Out().Position() - b.data()), End);
        a.resize(End), b.resize(End);
        ASSERT_EQ(a, b) << Seed;
    }
}

// Reads residual_block_cabac of clause 7.3.5.3.3 behind its coded_block_flag, as the standard words it.
class BlockReader
{
public:
    explicit BlockReader(const std::vector<uint8_t>& Bytes)
        : m_Words(Bytes.size() / 4 + 1 + UMC::H264Bitstream::kReadPadding / 4)
    {
        for (size_t i = 0; i < Bytes.size(); ++i) m_Words[i / 4] |= uint32_t{Bytes[i]} << (24 - i % 4 * 8);
        UMC::H264Bitstream Bits;
        Bits.Reset(m_Words.data(), static_cast<uint32_t>(Bytes.size()));
        h264::InitCabacContexts(m_Cabac.m_Contexts, h264::kContextInit[2], 28);
        m_Cabac.Start(Bits);
    }

    std::vector<int32_t> Read(h264::BlockCat Cat, uint32_t Positions, bool IsField)
    {
        const h264::BlockCatContexts& c = h264::kBlockCatContexts[Cat];
        std::vector<int32_t> List(Positions);
        std::vector<uint32_t> Places;
        for (uint32_t i = 0; i + 1 < Positions; ++i) {
            if (!Bin(c.Significant[IsField] + Context(Cat, Positions, IsField, i, false))) continue;
            Places.push_back(i);
            if (Bin(c.Last[IsField] + Context(Cat, Positions, IsField, i, true))) break;
        }
        // No last_significant_coeff_flag of 1: the last place holds a level too.
        if (!m_WasLast) Places.push_back(Positions - 1);
        uint32_t Ones = 0, Greater = 0;
        for (size_t i = Places.size(); i-- > 0;)
            List[Places[i]] = Level(c.AbsLevel, Cat == h264::CAT_CHROMA_DC, Ones, Greater);
        return List;
    }

private:
    uint32_t Bin(uint32_t Context)
    {
        const uint32_t b = m_Cabac.m_Engine.Decide(m_Cabac.m_Contexts[Context]);
        m_WasLast = b != 0;
        return b;
    }
    static uint32_t Context(h264::BlockCat Cat, uint32_t Positions, bool IsField, uint32_t i, bool IsLast)
    {
        if (Cat == h264::CAT_LUMA_8x8) return IsLast ? h264::kLastCtx8x8[i] : h264::kSignificantCtx8x8[IsField][i];
        return Cat == h264::CAT_CHROMA_DC ? std::min(i / (Positions / 4), 2u) : i;
    }
    int32_t Level(uint32_t First, bool IsChromaDc, uint32_t& Ones, uint32_t& Greater)
    {
        int32_t Minus1 = 0;
        if (Bin(First + (Greater ? 0 : std::min(4u, 1 + Ones)))) {
            const uint32_t Other = First + 5 + std::min(4u - (IsChromaDc ? 1u : 0u), Greater);
            for (Minus1 = 1; Minus1 < 14 && Bin(Other);) ++Minus1;
            if (Minus1 == 14) Minus1 += Escape();
            ++Greater;
        } else {
            ++Ones;
        }
        return m_Cabac.m_Engine.Bypass() ? -Minus1 - 1 : Minus1 + 1;
    }
    int32_t Escape() // Exp-Golomb of order 0, clause 9.3.2.3
    {
        int32_t Value = 0, k = 0;
        for (; m_Cabac.m_Engine.Bypass(); ++k) Value += 1 << k;
        while (k-- > 0) Value += static_cast<int32_t>(m_Cabac.m_Engine.Bypass()) << k;
        return Value;
    }

    std::vector<uint32_t> m_Words;
    UMC::CabacDecoder m_Cabac;
    bool m_WasLast = false;
};

template <class Block>
std::vector<int32_t> ListOf(const Block& b, uint32_t Positions)
{
    std::vector<int32_t> List(Positions);
    for (size_t i = 0; i < b.Count; ++i) List[b.Position[i]] = b.Level[i];
    return List;
}

struct WrittenBlock {
    h264::BlockCat Cat;
    uint32_t Positions;
    bool IsField;
    std::vector<int32_t> List;
};

// Levels as deep samples have them, in lists of every length, of frames and of fields.
TEST(CabacCoder, BlocksOfEveryKindComeBackWithLevelsOfAnySize)
{
    static constexpr struct {
        h264::BlockCat Cat;
        uint32_t Positions;
    } kKinds[]{{h264::CAT_LUMA_DC, 16},  {h264::CAT_LUMA_AC, 15},   {h264::CAT_LUMA_4x4, 16}, {h264::CAT_CHROMA_DC, 4},
               {h264::CAT_CHROMA_DC, 8}, {h264::CAT_CHROMA_AC, 15}, {h264::CAT_LUMA_8x8, 64}};
    std::vector<uint8_t> Bytes(1 << 20);
    CabacCoder Coder = StartAt(Bytes.data());
    std::mt19937 Rng(5);
    std::vector<WrittenBlock> Written;
    for (int n = 0; n < 4000; ++n) {
        const auto [Cat, Positions] = kKinds[Rng() % std::size(kKinds)];
        const bool IsField = Rng() % 2;
        const uint32_t Largest = 1u << (2 + Rng() % 20); // up to 2^21
        if (Positions == 64) {
            const auto b = RandomBlock<BlockLevels8x8<int32_t>>(Rng, 64, Largest);
            if (b.Count == 0) continue;
            Coder.Levels8x8(b, IsField);
            Written.push_back({Cat, Positions, IsField, ListOf(b, Positions)});
            continue;
        }
        const auto b = RandomBlock<BlockLevels<int32_t>>(Rng, Positions, Largest);
        if (b.Count == 0) continue;
        if (Positions == 8)
            Coder.ChromaDc422Levels(b, IsField);
        else
            Coder.Levels(Cat, b, Positions, IsField);
        Written.push_back({Cat, Positions, IsField, ListOf(b, Positions)});
    }
    Coder.Arithmetic.EncodeTerminate(1);
    Coder.Arithmetic.Finish();
    Bytes.resize(Coder.Arithmetic.Out().Bytes());
    BlockReader Reader(Bytes);
    for (const WrittenBlock& w : Written)
        ASSERT_EQ(Reader.Read(w.Cat, w.Positions, w.IsField), w.List) << w.Cat << " of " << w.Positions;
}

// A trial of I_PCM in place: its bytes, and what its end and the coder's new start change, all go again.
TEST(CabacCoder, ATrialOfSamplesInPlaceLeavesNoTrace)
{
    for (uint32_t Seed = 0; Seed < 100; ++Seed) {
        std::vector<uint8_t> a(4096), b(4096);
        CabacCoder Plain = StartAt(a.data()), Tried = StartAt(b.data());
        WriteBins(Plain, Seed, 30);
        WriteBins(Tried, Seed, 30);
        const SavedCabacCoder Before(Tried);
        Tried.Arithmetic.EncodeTerminate(1);
        Tried.Arithmetic.Finish();
        for (int i = 0; i < 384; ++i) Tried.Arithmetic.PutByte(0xFF);
        Tried.Arithmetic.Restart();
        WriteBins(Tried, Seed + 1, 20);
        Before.PutBack(Tried);
        for (CabacCoder* c : {&Plain, &Tried}) {
            WriteBins(*c, Seed + 2, 300);
            c->Arithmetic.EncodeTerminate(1);
            c->Arithmetic.Finish();
        }
        const size_t Bytes = Plain.Arithmetic.Out().Bytes();
        ASSERT_EQ(Tried.Arithmetic.Out().Bytes(), Bytes);
        ASSERT_TRUE(std::equal(a.begin(), a.begin() + static_cast<ptrdiff_t>(Bytes), b.begin())) << Seed;
    }
}

TEST(CabacCoder, ACounterGoesOnFromACoderAndCountsWhatItWouldWrite)
{
    std::vector<uint8_t> Bytes(1 << 20);
    CabacCoder Real = StartAt(Bytes.data());
    for (uint32_t Seed = 0; Seed < 100; ++Seed) {
        CabacCounter Counter(Real);
        const int64_t Counted = Counter.Arithmetic.Bits(), Written = Real.Arithmetic.Bits();
        const size_t Stored = Real.Arithmetic.Out().Bytes();
        WriteBins(Counter, Seed, 20);
        WriteBlocks(Counter, Seed, 30);
        WriteBins(Real, Seed, 20);
        WriteBlocks(Real, Seed, 30);
        ASSERT_EQ(Counter.Arithmetic.Bits() - Counted, Real.Arithmetic.Bits() - Written);
        ASSERT_EQ(Counter.Arithmetic.Out().Bytes(), Real.Arithmetic.Out().Bytes() - Stored);
        ASSERT_EQ(Counter.Contexts, Real.Contexts);
    }
}

} // namespace
