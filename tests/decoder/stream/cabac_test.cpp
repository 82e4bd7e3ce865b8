#include "decoder/stream/cabac.h"

#include "tests/support/cabac_encoder.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace UMC {
namespace {

// A unit as the splitter leaves it: words with the first byte topmost, zeros behind.
struct Unit {
    explicit Unit(const std::vector<bool>& Bits) : Words(Bits.size() / 32 + 1 + H264Bitstream::kReadPadding / 4)
    {
        for (size_t i = 0; i < Bits.size(); ++i)
            if (Bits[i]) Words[i / 32] |= 1u << (31 - i % 32);
        Bitstream.Reset(Words.data(), static_cast<uint32_t>((Bits.size() + 7) / 8));
    }
    std::vector<uint32_t> Words;
    H264Bitstream Bitstream;
};

struct Bin {
    int Kind; // 0 decision, 1 bypass, 2 terminate 0
    int Context;
    uint32_t Value;
};

std::vector<Bin> RandomBins(std::mt19937& Random, double Skew, int Count)
{
    std::vector<Bin> Bins(static_cast<size_t>(Count));
    std::bernoulli_distribution Rare(Skew);
    for (Bin& b : Bins) {
        const auto Pick = Random() % 10;
        b.Kind = Pick < 7 ? 0 : Pick < 9 ? 1 : 2;
        b.Context = static_cast<int>(Random() % 30);
        b.Value = b.Kind == 2 ? 0 : Rare(Random);
    }
    return Bins;
}

void Encode(test::CabacEncoder& Encoder, const std::vector<Bin>& Bins)
{
    for (const Bin& b : Bins) {
        if (b.Kind == 0) Encoder.Decide(b.Context, b.Value);
        if (b.Kind == 1) Encoder.Bypass(b.Value);
        if (b.Kind == 2) Encoder.Terminate(0);
    }
    Encoder.Terminate(1);
}

TEST(CabacEngine, DecodesWhatTheStandardsEncoderWrites)
{
    std::mt19937 Random(1);
    CabacDecoder Cabac;
    for (const double Skew : {0.5, 0.2, 0.05, 0.002})
        for (const size_t Offset : {0u, 8u, 16u, 24u, 32u, 40u}) { // every place of the first byte in a word
            h264::InitCabacContexts(Cabac.m_Contexts, h264::kContextInit[1], 26);
            const std::vector<Bin> Bins = RandomBins(Random, Skew, 20000);
            test::CabacEncoder Encoder(Cabac.m_Contexts);
            Encoder.m_Bits.assign(Offset, true);
            Encode(Encoder, Bins);
            Unit Stream(Encoder.m_Bits);
            Stream.Bitstream.SetBitPosition(static_cast<uint32_t>(Offset));
            Cabac.Start(Stream.Bitstream);
            for (size_t i = 0; i < Bins.size(); ++i) {
                const Bin& b = Bins[i];
                const uint32_t Value = b.Kind == 0   ? Cabac.m_Engine.Decide(Cabac.m_Contexts[b.Context])
                                       : b.Kind == 1 ? Cabac.m_Engine.Bypass()
                                                     : Cabac.m_Engine.Terminate();
                ASSERT_EQ(Value, b.Value) << "bin " << i << ", skew " << Skew << ", offset " << Offset;
            }
            ASSERT_EQ(Cabac.m_Engine.Terminate(), 1u);
            // The bit read last is the last one written: the stop bit, or the one before PCM alignment.
            ASSERT_EQ(Cabac.BitsDecoded(), Encoder.m_Bits.size());
            ASSERT_FALSE(Cabac.Overrun());
        }
}

TEST(CabacEngine, EndsWithinTheUnitWhateverItsLength)
{
    std::mt19937 Random(3);
    CabacDecoder Cabac;
    int Lengths[32] = {}; // of the units, in bits modulo 32
    for (int Round = 0; Round < 2000; ++Round) {
        h264::InitCabacContexts(Cabac.m_Contexts, h264::kContextInit[1], 26);
        const std::vector<Bin> Bins = RandomBins(Random, 0.3, 100);
        test::CabacEncoder Encoder(Cabac.m_Contexts);
        Encode(Encoder, Bins);
        Unit Stream(Encoder.m_Bits);
        ++Lengths[Encoder.m_Bits.size() % 32];
        Cabac.Start(Stream.Bitstream);
        for (const Bin& b : Bins) {
            if (b.Kind == 0) Cabac.m_Engine.Decide(Cabac.m_Contexts[b.Context]);
            if (b.Kind == 1) Cabac.m_Engine.Bypass();
            if (b.Kind == 2) Cabac.m_Engine.Terminate();
            ASSERT_FALSE(Cabac.Overrun());
        }
        ASSERT_EQ(Cabac.m_Engine.Terminate(), 1u);
        ASSERT_FALSE(Cabac.Overrun());
    }
    for (const int Count : Lengths) EXPECT_GT(Count, 0);
}

TEST(CabacEngine, GoesOnInZerosPastTheEndAndSaysSo)
{
    CabacDecoder Cabac;
    h264::InitCabacContexts(Cabac.m_Contexts, h264::kContextInit[0], 26);
    Unit Stream(std::vector<bool>(40, true));
    Cabac.Start(Stream.Bitstream);
    for (int i = 0; i < 64; ++i) Cabac.m_Engine.Bypass();
    EXPECT_TRUE(Cabac.Overrun());
}

} // namespace
} // namespace UMC
