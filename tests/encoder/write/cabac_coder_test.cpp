#include "encoder/write/cabac_coder.h"

#include <gtest/gtest.h>

#include <random>
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

// Of every kind of block, magnitudes up to far beyond the unary prefix.
template <class Coder>
void WriteBlocks(Coder& c, uint32_t Seed, int Count)
{
    static constexpr uint32_t kPositions[]{16, 15, 16, 4, 15};
    std::mt19937 Rng(Seed);
    for (int n = 0; n < Count; ++n) {
        const auto Cat = static_cast<uint32_t>(Rng() % 5);
        BlockLevels<int16_t> b{};
        for (uint32_t i = 0; i < kPositions[Cat]; ++i) {
            if (Rng() % 3) continue;
            b.Position[b.Count] = static_cast<uint8_t>(i);
            const auto Magnitude = static_cast<int16_t>(1 + Rng() % (Rng() % 4 ? 3 : 3000));
            b.Level[b.Count++] = Rng() & 1 ? Magnitude : static_cast<int16_t>(-Magnitude);
        }
        if (b.Count) c.Levels(h264::BlockCat(Cat), b, kPositions[Cat]);
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
