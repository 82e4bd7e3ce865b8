// NAL units: start codes and emulation prevention.
#include "encoder/write/nal_unit.h"
#include "tests/encoder/written_bits.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using namespace encoder_testing;

std::vector<uint8_t> Frame(const std::vector<uint8_t>& Payload, uint32_t RefIdc, int32_t Type, bool bFirst)
{
    std::vector<uint8_t> Out(NalBytesAtMost(Payload.size()), 0xEE);
    Out.resize(FrameNAL(Out.data(), Payload.data(), Payload.size(), RefIdc, h264::NalUnitType(Type), bFirst));
    return Out;
}
using Bytes = std::vector<uint8_t>;

TEST(NalFraming, PreventsEmulation)
{
    EXPECT_EQ(Frame({0, 0, 0, 1, 9, 9}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 0, 0, 3, 0, 1, 9, 9}));
    EXPECT_EQ(Frame({0, 0, 3, 9, 9}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 0, 0, 3, 3, 9, 9}));
    EXPECT_EQ(Frame({0, 0, 4, 9, 9}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 0, 0, 4, 9, 9}));
    EXPECT_EQ(Frame({0, 0, 0, 0, 0, 0, 9, 9}, 0, 1, false), (Bytes{0, 0, 1, 1, 0, 0, 3, 0, 0, 3, 0, 0, 9, 9}));
}

TEST(NalFraming, PreventsEmulationUpToTheLastByte)
{
    EXPECT_EQ(Frame({0, 0, 0, 1}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 0, 0, 3, 0, 1}));
    EXPECT_EQ(Frame({0, 0, 1}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 0, 0, 3, 1}));
    EXPECT_EQ(Frame({9, 0, 0, 2, 9}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 9, 0, 0, 3, 2, 9}));
    EXPECT_EQ(Frame({0, 0, 0}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 0, 0, 3, 0}));
}

TEST(NalFraming, APayloadThatEndsInTwoZerosKeepsItsEnd)
{
    EXPECT_EQ(Frame({5, 0, 0}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 5, 0, 0}));
    EXPECT_EQ(Frame({0, 0}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 0, 0}));
    EXPECT_EQ(Frame({0, 0, 0, 0}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 0, 0, 3, 0, 0}));
    EXPECT_EQ(Frame({}, 1, 1, false), (Bytes{0, 0, 1, 0x21}));
    EXPECT_EQ(Frame({7}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 7}));
}

// Frames a payload; what a decoder takes out again must be the payload, and no byte below 3 may stand behind two zeros.
void ExpectFramedSafely(const Bytes& Payload)
{
    const Bytes Unit = Frame(Payload, 1, 1, false);
    ASSERT_LE(Unit.size(), NalBytesAtMost(Payload.size()));
    ASSERT_EQ(FramedSize(Payload.data(), Payload.size(), h264::NAL_SLICE, false), Unit.size());
    Bytes Read;
    size_t Zeros = 0;
    for (size_t i = 4; i < Unit.size(); ++i) {
        const bool bPrevention = Zeros >= 2 && Unit[i] == 3;
        ASSERT_TRUE(Zeros < 2 || Unit[i] >= 3) << testing::PrintToString(Unit);
        if (!bPrevention) Read.push_back(Unit[i]);
        Zeros = Unit[i] == 0 ? Zeros + 1 : 0;
    }
    ASSERT_EQ(Read, Payload) << testing::PrintToString(Unit);
}

TEST(NalFraming, EveryShortPayloadComesBackAndHoldsNoStartCode)
{
    constexpr size_t kValues = 5, kLongest = 7;
    for (size_t Length = 0, Count = 1; Length <= kLongest; ++Length, Count *= kValues)
        for (size_t Number = 0; Number < Count; ++Number) {
            Bytes Payload(Length);
            size_t Rest = Number;
            for (uint8_t& Byte : Payload) {
                Byte = static_cast<uint8_t>(Rest % kValues);
                Rest /= kValues;
            }
            ExpectFramedSafely(Payload);
            if (HasFatalFailure()) return;
        }
}

TEST(NalFraming, RandomPayloadsComeBackAndHoldNoStartCode)
{
    std::mt19937 Rng(7);
    for (int i = 0; i < 3000; ++i) {
        Bytes Payload(Rng() % 300);
        const uint32_t Values = 2u << Rng() % 8; // from zeros and ones to all bytes
        for (uint8_t& Byte : Payload) Byte = static_cast<uint8_t>(Rng() % Values);
        ExpectFramedSafely(Payload);
        if (HasFatalFailure()) return;
    }
}

TEST(NalFraming, TheFirstUnitOfAnAccessUnitHasAZeroByte)
{
    EXPECT_EQ(Frame({1, 2, 3}, 1, 5, true), (Bytes{0, 0, 0, 1, 0x25, 1, 2, 3}));
    EXPECT_EQ(Frame({1, 2, 3}, 1, 5, false), (Bytes{0, 0, 1, 0x25, 1, 2, 3}));
    EXPECT_EQ(Frame({1, 2, 3}, 1, 7, false), (Bytes{0, 0, 0, 1, 0x27, 1, 2, 3}));
    EXPECT_EQ(Frame({1, 2, 3}, 1, 8, false), (Bytes{0, 0, 0, 1, 0x28, 1, 2, 3}));
    for (int32_t Type = 1; Type < 20; ++Type) {
        bool bFirst = true;
        uint8_t Out[64];
        const uint8_t Payload[]{1, 2, 3};
        FrameNAL(Out, Payload, 3, 1, h264::NalUnitType(Type), bFirst);
        const bool bTakes = (Type <= 6) || Type == 9 || (Type >= 14 && Type <= 18);
        EXPECT_EQ(bFirst, !bTakes) << Type; // only these use the flag up
        EXPECT_EQ(Out[2], bTakes || Type == 7 || Type == 8 ? 0 : 1) << Type;
    }
}

TEST(NalFraming, EachUnitTakesTheBytesSinceTheLast)
{
    Writer w;
    w.PutBits(0xAB, 8);
    uint8_t Out[64];
    bool bFirst = true;
    EXPECT_EQ(w.PendingBytes(), 1u);
    EXPECT_EQ(w.WriteNAL(Out, 0, h264::NAL_DELIMITER, bFirst), 6u);
    w.PutBits(0xCDEF, 16);
    EXPECT_EQ(w.WriteNAL(Out, 1, h264::NAL_SLICE, bFirst), 6u);
    EXPECT_EQ((Bytes{Out, Out + 6}), (Bytes{0, 0, 1, 0x21, 0xCD, 0xEF}));
}

} // namespace
