// The bit reader: primitives, start codes, the end of a unit.
#include "decoder/stream/bitstream.h"
#include "decoder/stream/swapper.h"
#include "tests/support/h264_stream_writer.h"

#include <gtest/gtest.h>

namespace {

using test::BitWriter;
using UMC::H264Bitstream;

// A reader over bytes, with zero words behind.
class Reader : public H264Bitstream
{
public:
    explicit Reader(const test::Bytes& Data) : m_Words(Data.size() / 4 + 2 + kReadPadding / 4)
    {
        for (size_t i = 0; i < Data.size(); ++i) m_Words[i / 4] |= uint32_t{Data[i]} << (24 - i % 4 * 8);
        Reset(m_Words.data(), static_cast<uint32_t>(Data.size()));
    }

private:
    std::vector<uint32_t> m_Words;
};

TEST(Bitstream, ThirtyTwoBitsReadAsZeroAndAreConsumed)
{
    Reader Bits({0xFF, 0xFF, 0xFF, 0xFF, 0xAB});
    EXPECT_EQ(Bits.GetBits(32), 0u);
    EXPECT_EQ(Bits.GetBits(8), 0xABu);
}

TEST(Bitstream, FieldsOfEveryLengthAtEveryOffset)
{
    for (int Offset = 0; Offset < 33; ++Offset)
        for (int Length = 1; Length < 32; ++Length) {
            const uint32_t Value = 0x9E3779B9u >> (32 - Length);
            BitWriter Out;
            Out.U(Offset < 32 ? Offset : 31, 0);
            if (Offset == 32) Out.U(1, 0);
            Out.U(Length, Value);
            Out.U(8, 0x5A);
            Reader Bits(Out.Data());
            for (int i = 0; i < Offset; ++i) Bits.GetBit();
            ASSERT_EQ(Bits.ShowBits(static_cast<uint32_t>(Length)), Value);
            ASSERT_EQ(Bits.GetBits(static_cast<uint32_t>(Length)), Value);
            ASSERT_EQ(Bits.GetBits(8), 0x5Au);
        }
}

TEST(Bitstream, ExpGolombCodesOfEveryLength)
{
    BitWriter Out;
    for (int Bit = 0; Bit < 32; ++Bit) {
        Out.UE((1u << Bit) - 1);
        Out.UE((1u << Bit) - 1 + (Bit < 31 ? 1u : 0u));
    }
    Out.UE(UINT32_MAX - 1);
    for (const int32_t Value : {0, 1, -1, 2, -2, 32767, -32768, INT32_MAX, -INT32_MAX}) Out.SE(Value);
    Reader Bits(Out.Data());
    for (int Bit = 0; Bit < 32; ++Bit) {
        ASSERT_EQ(Bits.GetUE(), (1u << Bit) - 1);
        ASSERT_EQ(Bits.GetUE(), (1u << Bit) - 1 + (Bit < 31 ? 1u : 0u));
    }
    EXPECT_EQ(Bits.GetUE(), UINT32_MAX - 1);
    for (const int32_t Value : {0, 1, -1, 2, -2, 32767, -32768, INT32_MAX, -INT32_MAX}) EXPECT_EQ(Bits.GetSE(), Value);
}

TEST(Bitstream, MoreThanThirtyOneLeadingZerosThrow)
{
    Reader Bits({0, 0, 0, 0, 0x80});
    try {
        Bits.GetUE();
        FAIL();
    } catch (const UMC::h264_exception& Fault) {
        EXPECT_EQ(Fault.GetStatus(), UMC::StatusInvalidParams);
    }
}

TEST(Bitstream, ReadingPastTheEndThrowsAtTheNextCode)
{
    Reader Bits({0xFF});
    Bits.GetBits(8);
    EXPECT_THROW(Bits.GetUE(), UMC::h264_exception);
}

TEST(Bitstream, AlignStaysOnABoundary)
{
    Reader Bits({1, 2, 3});
    Bits.AlignToByte();
    EXPECT_EQ(Bits.BitsDecoded(), 0u);
    Bits.GetBit();
    Bits.AlignToByte();
    EXPECT_EQ(Bits.BitsDecoded(), 8u);
    EXPECT_EQ(Bits.BytesLeft(), 2);
}

TEST(MoreRbspData, OnlyTrailingZeroBytesArePadding)
{
    EXPECT_FALSE(Reader({0x80}).MoreRbspData());
    EXPECT_FALSE(Reader({0x80, 0, 0, 0}).MoreRbspData());
    EXPECT_TRUE(Reader({0x80, 0, 1}).MoreRbspData());
    EXPECT_TRUE(Reader({0xC0}).MoreRbspData());
    Reader InByte({0xA8});
    EXPECT_TRUE(InByte.MoreRbspData());
    InByte.GetBits(4);
    EXPECT_FALSE(InByte.MoreRbspData());
    InByte.GetBits(4);
    EXPECT_FALSE(InByte.MoreRbspData()) << "no byte is left";
}

TEST(MoreRbspData, LeavesThePosition)
{
    Reader Bits({0x80, 0, 1});
    Bits.MoreRbspData();
    EXPECT_EQ(Bits.BitsDecoded(), 0u);
}

TEST(CheckStartCode, PassesAnyNumberOfZeros)
{
    Reader Bits({0, 0, 0, 0, 1, 0x67});
    EXPECT_EQ(Bits.CheckStartCode(), 1);
    int32_t Type = 0;
    uint32_t RefIdc = 0;
    Bits.GetNalHeader(Type, RefIdc);
    EXPECT_EQ(Type, 7);
    EXPECT_EQ(RefIdc, 3u);
}

TEST(CheckStartCode, ForbiddenBitIsIgnored)
{
    Reader Bits({0xE5});
    int32_t Type = 0;
    uint32_t RefIdc = 0;
    Bits.GetNalHeader(Type, RefIdc);
    EXPECT_EQ(Type, 5);
    EXPECT_EQ(RefIdc, 3u);
}

TEST(CheckStartCode, RestoresThePositionWhenThereIsNone)
{
    for (const test::Bytes& Data : {test::Bytes{5, 0, 1}, test::Bytes{0, 5, 1}, test::Bytes{0, 0, 5}}) {
        Reader Bits(Data);
        EXPECT_EQ(Bits.CheckStartCode(), 0);
        EXPECT_EQ(Bits.BitsDecoded(), 0u);
    }
}

TEST(CheckStartCode, TellsTheEndOfTheData)
{
    EXPECT_EQ(Reader({}).CheckStartCode(), -1);
    EXPECT_EQ(Reader({0}).CheckStartCode(), -1);
    EXPECT_EQ(Reader({0, 0}).CheckStartCode(), -1);
    EXPECT_EQ(Reader({0x80}).CheckStartCode(), -1);
}

TEST(CheckStartCode, StepsOverStopBitAndPadding)
{
    EXPECT_EQ(Reader({0x80, 0, 0, 1}).CheckStartCode(), 1);
    Reader InByte({0xF8, 0, 0, 1});
    InByte.GetBits(4);
    EXPECT_EQ(InByte.CheckStartCode(), 1);
    Reader Data({0xF9, 0, 0, 1});
    Data.GetBits(4);
    EXPECT_EQ(Data.CheckStartCode(), 0);
    EXPECT_EQ(Data.BitsDecoded(), 4u);
}

TEST(FindStartCode, StopsInFrontOfTheCode)
{
    Reader Bits({7, 7, 0, 0, 1, 0x67});
    EXPECT_EQ(Bits.FindStartCode(), 0);
    EXPECT_EQ(Bits.BytesDecoded(), 2u);
    EXPECT_EQ(Bits.CheckStartCode(), 1);
    EXPECT_EQ(Bits.FindStartCode(), UMC::StatusInvalidParams);
}

} // namespace
