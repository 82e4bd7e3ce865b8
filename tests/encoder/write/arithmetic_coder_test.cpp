#include "tests/encoder/written_bits.h"
#include "tests/support/cabac_encoder.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using namespace encoder_testing;
using Bytes = std::vector<uint8_t>;

// Clause 9.3.3.2, one bit at a time.
class Decoder
{
public:
    Decoder(std::vector<uint8_t> Bytes, size_t From) : m_Reader(std::move(Bytes))
    {
        m_Reader.Bits(static_cast<int>(From));
        m_Offset = m_Reader.Bits(9);
    }
    uint32_t Decision(h264::CabacContext& Context)
    {
        const uint32_t State = static_cast<uint32_t>(Context) >> 1, Mps = static_cast<uint32_t>(Context) & 1,
                       Lps = h264::kRangeLps[State][m_Range >> 6 & 3];
        m_Range -= Lps;
        uint32_t Bin = Mps;
        if (m_Offset >= m_Range) {
            Bin = 1 - Mps;
            m_Offset -= m_Range;
            m_Range = Lps;
            Context = h264::PackContext(h264::kTransIdxLps[State], State == 0 ? 1 - Mps : Mps);
        } else {
            Context = h264::PackContext(h264::kTransIdxMps[State], Mps);
        }
        Renormalise();
        return Bin;
    }
    uint32_t Bypass()
    {
        m_Offset = m_Offset << 1 | m_Reader.Bits(1);
        if (m_Offset < m_Range) return 0;
        m_Offset -= m_Range;
        return 1;
    }
    uint32_t Terminate()
    {
        m_Range -= 2;
        if (m_Offset >= m_Range) return 1;
        Renormalise();
        return 0;
    }

private:
    void Renormalise()
    {
        while (m_Range < 256) {
            m_Range <<= 1;
            m_Offset = m_Offset << 1 | m_Reader.Bits(1);
        }
    }
    Reader m_Reader;
    uint32_t m_Range = 510, m_Offset = 0;
};

// Kinds of bins: 0 and 1 with a context, 2 bypass, 3 a terminate bin of 0.
void RoundTrip(uint32_t Seed, uint32_t OneIn, int Count)
{
    std::mt19937 Rng(Seed);
    Writer w;
    w.PutBits(0x5, 3);
    w.Align(1);
    w.InitContexts(h264::SLICE_P, 1, 30);
    const h264::CabacContexts Start = w.Cabac().Contexts;
    struct Symbol {
        uint32_t Kind, Context, Bin;
    };
    std::vector<Symbol> Symbols;
    for (int i = 0; i < Count; ++i) {
        Symbol s{static_cast<uint32_t>(Rng()) % 16, static_cast<uint32_t>(Rng()) % 276, Rng() % OneIn == 0};
        Symbols.push_back(s);
        if (s.Kind == 0)
            w.EncodeTerminate(0);
        else if (s.Kind < 4)
            w.EncodeBypass(s.Bin);
        else
            w.EncodeBin(s.Context, s.Bin);
    }
    w.EncodeTerminate(1);
    w.TerminateEncode();
    ASSERT_EQ(w.Bits() % 8, 0);
    const Bytes Written = w.Written();
    Decoder d(Written, 8);
    h264::CabacContexts Contexts = Start;
    for (size_t i = 0; i < Symbols.size(); ++i) {
        const Symbol& s = Symbols[i];
        if (s.Kind == 0)
            ASSERT_EQ(d.Terminate(), 0u) << i;
        else if (s.Kind < 4)
            ASSERT_EQ(d.Bypass(), s.Bin) << i;
        else
            ASSERT_EQ(d.Decision(Contexts[s.Context]), s.Bin) << i;
    }
    EXPECT_EQ(d.Terminate(), 1u);
    EXPECT_EQ(Contexts, w.Cabac().Contexts);
    uint8_t Last = Written.back();
    EXPECT_NE(Last, 0); // the stop bit is in the last byte
}

TEST(ArithmeticCoder, ADecoderReadsWhatWasWritten)
{
    for (uint32_t Seed = 0; Seed < 60; ++Seed)
        for (const uint32_t OneIn : {1u, 2u, 3u, 50u, 100000u})
            RoundTrip(Seed, OneIn, Seed < 50 ? static_cast<int>(Seed) * 7 : 20000);
}

// Of the bit-by-bit form of clause 9.3.4, to the stop bit and the zeros behind it.
TEST(ArithmeticCoder, WritesTheBitsOfThePlainForm)
{
    for (uint32_t Seed = 0; Seed < 200; ++Seed)
        for (const uint32_t OneIn : {1u, 2u, 100u}) {
            std::mt19937 Rng(Seed);
            Writer w;
            w.InitContexts(h264::SLICE_B, static_cast<int32_t>(Seed % 3), 26);
            test::CabacEncoder Plain(w.Cabac().Contexts);
            for (uint32_t i = 0; i < 3 * Seed; ++i) {
                const auto Kind = static_cast<uint32_t>(Rng() % 16), Context = static_cast<uint32_t>(Rng() % 276),
                           Bin = static_cast<uint32_t>(Rng() % OneIn == 0);
                if (Kind == 0) {
                    w.EncodeTerminate(0);
                    Plain.Terminate(0);
                } else if (Kind < 6) {
                    w.EncodeBypass(Bin);
                    Plain.Bypass(Bin);
                } else {
                    w.EncodeBin(Context, Bin);
                    Plain.Decide(static_cast<int>(Context), Bin);
                }
            }
            w.EncodeTerminate(1);
            w.TerminateEncode();
            Plain.Terminate(1);
            Bytes Wanted((Plain.m_Bits.size() + 7) / 8);
            for (size_t i = 0; i < Plain.m_Bits.size(); ++i)
                if (Plain.m_Bits[i]) Wanted[i / 8] = static_cast<uint8_t>(Wanted[i / 8] | 0x80 >> i % 8);
            ASSERT_EQ(w.Written(), Wanted) << Seed << ' ' << OneIn;
        }
}

StoredBytes Into(uint8_t* pOut)
{
    StoredBytes Out;
    Out.Start(pOut);
    return Out;
}

TEST(ArithmeticCoder, BypassBitsInOneGoEqualSingleOnes)
{
    std::vector<uint8_t> a(16384), b(16384);
    ArithmeticCoder One{}, Many{};
    One.Start(Into(a.data() + 1));
    Many.Start(Into(b.data() + 1));
    std::mt19937 Rng(3);
    for (int i = 0; i < 3000; ++i) {
        const int Count = static_cast<int>(Rng() % 25);
        const uint32_t Bins = static_cast<uint32_t>(Rng()) & ((1u << Count) - 1);
        for (int Bit = Count - 1; Bit >= 0; --Bit) One.EncodeBypass(Bins >> Bit & 1);
        Many.EncodeBypassBits(Bins, Count);
    }
    EXPECT_EQ(One.Bits(), Many.Bits());
    One.Finish();
    Many.Finish();
    EXPECT_EQ(a, b);
}

TEST(ArithmeticCoder, OneBypassBinAndTheEndIsAWholeByte)
{
    Writer w;
    w.InitContexts(h264::SLICE_I, 0, 26);
    w.EncodeBypass(1);
    w.EncodeTerminate(1);
    w.TerminateEncode();
    EXPECT_EQ(w.Bits() % 8, 0);
    Decoder d(w.Written(), 0);
    EXPECT_EQ(d.Bypass(), 1u);
    EXPECT_EQ(d.Terminate(), 1u);
}

TEST(ArithmeticCoder, TheSavedStateComesBack)
{
    const auto Encode = [](Writer& w, uint32_t Seed, int Count) {
        std::mt19937 Rng(Seed);
        for (int i = 0; i < Count; ++i)
            w.EncodeBin(static_cast<uint32_t>(Rng()) % 276, static_cast<uint32_t>(Rng()) & 1);
    };
    Writer Plain, Tried;
    for (Writer* w : {&Plain, &Tried}) {
        w->InitContexts(h264::SLICE_P, 0, 30);
        Encode(*w, 1, 500);
    }
    Tried.SaveState();
    Encode(Tried, 2, 77);
    Tried.RestoreState();
    for (Writer* w : {&Plain, &Tried}) {
        Encode(*w, 3, 500);
        w->EncodeTerminate(1);
        w->TerminateEncode();
    }
    EXPECT_EQ(Plain.Written(), Tried.Written());
}

} // namespace
