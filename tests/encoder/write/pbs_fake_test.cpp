#include "tests/encoder/written_bits.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace encoder_testing;

TEST(CountingWriter, CountsCodesAsTheRealOneWritesThem)
{
    Writer Real;
    CH264pBsFake<uint8_t, int16_t> Fake;
    Fake.Reset();
    for (CBaseBitstream* w : {static_cast<CBaseBitstream*>(&Real), static_cast<CBaseBitstream*>(&Fake)}) {
        w->PutBit(1);
        w->PutBits(77, 13);
        w->PutVLCCode(3, 19);
        EXPECT_EQ(w->PutUE(1000), 19);
        w->PutSE(-40);
    }
    EXPECT_EQ(Fake.CountedBits(), Real.Bits());
}

TEST(CountingWriter, GoesOnFromARealWriter)
{
    Writer Real;
    CH264pBsFake<uint8_t, int16_t> Fake;
    Real.InitContexts(h264::SLICE_P, 2, 28);
    std::mt19937 Rng(11);
    for (int i = 0; i < 333; ++i) Real.EncodeBin(static_cast<uint32_t>(Rng()) % 276, static_cast<uint32_t>(Rng()) & 1);
    Fake.Reset();
    Fake.CopyState(Real);
    EXPECT_EQ(Fake.CountedBits(), 0);
    const int64_t Before = Real.Cabac().Arithmetic.Bits();
    for (int i = 0; i < 1000; ++i) {
        const uint32_t Context = static_cast<uint32_t>(Rng()) % 276, Bin = static_cast<uint32_t>(Rng()) & 1;
        Real.EncodeBin(Context, Bin);
        Fake.EncodeBin(Context, Bin);
        Real.EncodeBypass(Bin);
        Fake.EncodeBypass(Bin);
        ASSERT_EQ(Fake.CountedBits(), Real.Cabac().Arithmetic.Bits() - Before);
    }
    EXPECT_EQ(Fake.Cabac().Contexts, Real.Cabac().Contexts);
}

TEST(CountingWriter, AWholeSliceEndsOnAByte)
{
    Writer Real;
    CH264pBsFake<uint8_t, int16_t> Fake;
    Fake.Reset();
    Real.InitContexts(h264::SLICE_I, 0, 20);
    Fake.InitContexts(h264::SLICE_I, 0, 20);
    for (uint32_t i = 0; i < 100; ++i) {
        Real.EncodeBin(60 + i, i & 1);
        Fake.EncodeBin(60 + i, i & 1);
    }
    Real.EncodeTerminate(1);
    Fake.EncodeTerminate(1);
    Real.TerminateEncode();
    Fake.TerminateEncode();
    EXPECT_EQ(Fake.CountedBits() % 8, 0);
    EXPECT_EQ(Fake.CountedBits(), Real.Bits());
}

} // namespace
