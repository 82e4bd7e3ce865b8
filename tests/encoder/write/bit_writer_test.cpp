#include "encoder/write/bit_writer.h"

#include "tests/encoder/written_bits.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using namespace encoder_testing;

TEST(BitWriter, TruncatedCodes)
{
    std::vector<uint8_t> Bytes(64);
    BitWriter w;
    w.Start(Bytes.data());
    w.PutTE(0, 0); // nothing
    EXPECT_EQ(w.Bits(), 0);
    w.PutTE(0, 1);
    w.PutTE(1, 1);
    EXPECT_EQ(w.Bits(), 2);
    w.PutTE(3, 4);
    Reader r(Bytes);
    EXPECT_EQ(r.Bits(1), 1u); // inverted
    EXPECT_EQ(r.Bits(1), 0u);
    EXPECT_EQ(r.Ue(), 3u);
    EXPECT_EQ(static_cast<int64_t>(r.Position()), w.Bits());
}

TEST(BitWriter, ACounterCountsWhatIsWritten)
{
    std::mt19937 Rng(4);
    std::vector<uint8_t> Bytes(1 << 16);
    BitWriter w;
    BitCounter c;
    w.Start(Bytes.data());
    const auto Both = [&](auto Put) {
        Put(w);
        Put(c);
        ASSERT_EQ(c.Bits(), w.Bits());
    };
    for (int i = 0; i < 1000; ++i) {
        const auto v = static_cast<uint32_t>(Rng() >> Rng() % 28);
        Both([v](auto& Out) { Out.PutBits(v, static_cast<int32_t>(v % 25)); });
        Both([v](auto& Out) { Out.PutVLCCode(v, static_cast<int32_t>(v % 33)); });
        Both([v](auto& Out) { Out.PutUE(v >> 1); });
        Both([v](auto& Out) { Out.PutSE(static_cast<int32_t>(v >> 2) - 1000); });
        Both([v](auto& Out) { Out.PutTE(v & 1, v % 3); });
    }
}

TEST(BitWriter, TheNextBitsReplaceThoseOfATrial)
{
    uint8_t Bytes[16]{};
    BitWriter w;
    w.Start(Bytes);
    w.PutBits(5, 3);
    const BitWriter Before = w;
    w.PutBits(0xFFFF, 16);
    w = Before;
    w.PutBits(0, 7);
    w.PutBits(1, 1);
    EXPECT_EQ(w.Bits(), 11);
    EXPECT_EQ(Bytes[0], 0xA0);
    EXPECT_EQ(Bytes[1], 0x20);
}

} // namespace
