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

// I_PCM: the end of the coder, bytes as they are, and the coder anew.
template <class W>
void WriteSamples(W& w)
{
    w.EncodeTerminate(1);
    w.Cabac().Arithmetic.Finish();
    for (int i = 0; i < 384; ++i) w.Cabac().Arithmetic.PutByte(0xFF);
    w.Cabac().Arithmetic.Restart();
}

TEST(CountingWriter, CountsSamplesInTheMidstOfASlice)
{
    for (uint32_t Length = 0; Length < 40; ++Length) { // at every place in a byte
        Writer Real;
        CH264pBsFake<uint8_t, int16_t> Fake;
        Fake.Reset();
        Real.InitContexts(h264::SLICE_I, 0, 20);
        Fake.InitContexts(h264::SLICE_I, 0, 20);
        const auto PutBins = [&](uint32_t Count) {
            for (uint32_t i = 0; i < Count; ++i) {
                Real.EncodeBypass(i & 1);
                Fake.EncodeBypass(i & 1);
            }
        };
        PutBins(Length);
        WriteSamples(Real);
        WriteSamples(Fake);
        ASSERT_EQ(Fake.CountedBits(), Real.Cabac().Arithmetic.Bits());
        PutBins(20);
        CH264pBsFake<uint8_t, int16_t> Later; // one that goes on from there
        Later.Reset();
        Later.CopyState(Real);
        const int64_t Before = Real.Cabac().Arithmetic.Bits();
        WriteSamples(Later);
        WriteSamples(Real);
        WriteSamples(Fake);
        ASSERT_EQ(Later.CountedBits(), Real.Cabac().Arithmetic.Bits() - Before);
        PutBins(11);
        Real.EncodeTerminate(1);
        Fake.EncodeTerminate(1);
        Real.TerminateEncode();
        Fake.TerminateEncode();
        ASSERT_EQ(Fake.CountedBits(), Real.Bits());
    }
}

TEST(CountingWriter, CountsZerosToAWholeByteFromWhereTheRealOneStands)
{
    for (int32_t Used = 0; Used < 24; ++Used) {
        Writer Real;
        Real.PutBits(0, Used);
        CH264pBsFake<uint8_t, int16_t> Fake;
        Fake.Reset();
        Fake.CopyState(Real);
        for (int i = 0; i < 2; ++i) { // and again from within the count
            Real.PutBits(0, 3 * i);
            Fake.PutBits(0, 3 * i);
            Real.Cavlc().Bits.AlignZero();
            Fake.Cavlc().Bits.AlignZero();
            EXPECT_EQ(Fake.CountedBits(), Real.Bits() - Used);
            EXPECT_EQ(Real.Bits() % 8, 0);
        }
    }
}

// In either coder what a trial of I_PCM leaves in the writer is taken back.
TEST(CountingWriter, ATrialOfSamplesInTheRealWriterIsTakenBack)
{
    Writer Plain, Tried;
    for (Writer* w : {&Plain, &Tried}) {
        w->PutBits(0x15, 5);
        w->Align(1);
        w->InitContexts(h264::SLICE_P, 1, 30);
        for (uint32_t i = 0; i < 50; ++i) w->EncodeBin(60 + i, i & 1);
    }
    Tried.SaveState();
    WriteSamples(Tried);
    Tried.EncodeBin(60, 1);
    Tried.RestoreState();
    for (Writer* w : {&Plain, &Tried}) {
        for (uint32_t i = 0; i < 50; ++i) w->EncodeBin(60 + i, i & 1);
        w->EncodeTerminate(1);
        w->TerminateEncode();
        w->PutBits(0x5, 3);
    }
    Tried.SaveState();
    Tried.Cavlc().Bits.AlignZero();
    for (uint32_t i = 0; i < 384; ++i) Tried.PutBits(0xFF, 8);
    Tried.RestoreState();
    for (Writer* w : {&Plain, &Tried}) w->WriteTrailingBits();
    EXPECT_EQ(Tried.Written(), Plain.Written());
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
