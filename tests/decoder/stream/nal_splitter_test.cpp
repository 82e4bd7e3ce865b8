// Cutting byte streams and samples into units.
#include "decoder/stream/bitstream.h"
#include "decoder/stream/exception.h"
#include "decoder/stream/nal_splitter_mp4.h"

#include <gmock/gmock.h>

#include <random>
#include <vector>

namespace {

using namespace UMC;
using testing::ElementsAre;
using Bytes = std::vector<uint8_t>;

// The bytes of a piece in stream order.
Bytes Unpacked(const H264HeapPiece& Piece, uint32_t Begin, uint32_t End)
{
    Bytes Result;
    for (uint32_t i = Begin; i < End; ++i)
        Result.push_back(static_cast<uint8_t>(Piece.m_pData[i / 4] >> (24 - i % 4 * 8)));
    return Result;
}
Bytes Unpacked(const H264HeapPiece& Piece) { return Unpacked(Piece, 0, Piece.m_Size); }

class Splitting : public testing::Test
{
protected:
    void SetUp() override { m_Splitter.Init(); }
    void Give(Bytes Data)
    {
        m_Data = std::move(Data);
        m_Media.SetBufferPointer(m_Data.data(), m_Data.size());
        m_Media.SetDataSize(m_Data.size());
    }
    H264HeapPiece* Next() { return m_Splitter.GetNalUnits(&m_Media, m_pUnits); }

    H264_Heap m_Heap;
    NALUnitSplitter m_Splitter{&m_Heap};
    Bytes m_Data;
    MediaData m_Media;
    MediaDataEx* m_pUnits = nullptr;
};

TEST_F(Splitting, StartCodeInTheLastThreeBytesIsNotSeen)
{
    Give({0, 0, 1});
    EXPECT_EQ(Next(), nullptr);
    EXPECT_EQ(m_Media.GetDataSize(), 0u);
    Give({9, 9, 0, 0, 1});
    EXPECT_EQ(Next(), nullptr);
    EXPECT_EQ(m_Media.GetDataSize(), 0u);
}

TEST_F(Splitting, StartCodeWithOneByteBehindIsAUnit)
{
    Give({9, 0, 0, 1, 0x41});
    const H264HeapPiece* const pPiece = Next();
    ASSERT_NE(pPiece, nullptr);
    EXPECT_THAT(Unpacked(*pPiece), ElementsAre(0, 0, 1, 0x41));
    EXPECT_EQ(m_pUnits->GetExData()->Values[0], 1u);
}

TEST_F(Splitting, EmulationPreventionByteIsDroppedAndHidesNoStartCode)
{
    Give({0, 0, 1, 0x41, 0, 0, 3, 1, 7, 8});
    const H264HeapPiece* const pPiece = Next();
    ASSERT_NE(pPiece, nullptr);
    EXPECT_THAT(Unpacked(*pPiece), ElementsAre(0, 0, 1, 0x41, 0, 0, 1, 7, 8, 0, 0, 0));
    EXPECT_EQ(m_Media.GetDataSize(), 0u);
}

TEST_F(Splitting, FourthZeroOfAStartCodeStaysWithTheUnitBefore)
{
    Give({0, 0, 1, 9, 0x10, 0, 0, 0, 1, 0x41});
    const H264HeapPiece* pPiece = Next();
    ASSERT_NE(pPiece, nullptr);
    EXPECT_EQ(m_pUnits->GetExData()->Values[0], 9u);
    EXPECT_THAT(Unpacked(*pPiece), ElementsAre(0, 0, 1, 9, 0x10, 0, 0, 0));
    m_Splitter.ReleaseCurrent();
    pPiece = Next();
    ASSERT_NE(pPiece, nullptr);
    EXPECT_THAT(Unpacked(*pPiece), ElementsAre(0, 0, 1, 0x41));
}

TEST_F(Splitting, SecondOfTwoThreesStays)
{
    Give({0, 0, 1, 0x41, 0, 0, 3, 3, 0x80});
    const H264HeapPiece* const pPiece = Next();
    ASSERT_NE(pPiece, nullptr);
    EXPECT_THAT(Unpacked(*pPiece), ElementsAre(0, 0, 1, 0x41, 0, 0, 3, 0x80));
}

TEST_F(Splitting, FiveBytesBecomeEightWithPadding)
{
    Give({0, 0, 1, 0x41, 0xFF});
    const H264HeapPiece* const pPiece = Next();
    ASSERT_NE(pPiece, nullptr);
    EXPECT_EQ(pPiece->m_Size, 8u);
    EXPECT_EQ(m_pUnits->GetExData()->Offsets[1], 8u);
    EXPECT_THAT(Unpacked(*pPiece), ElementsAre(0, 0, 1, 0x41, 0xFF, 0, 0, 0));
}

TEST_F(Splitting, UnitIsReturnedAgainUntilReleased)
{
    Give({0, 0, 1, 0x41, 1, 0, 0, 1, 0x42, 2});
    H264HeapPiece* const pFirst = Next();
    EXPECT_EQ(Next(), pFirst);
    EXPECT_EQ(m_Splitter.GetNalUnits(nullptr, m_pUnits), pFirst);
    EXPECT_EQ(m_pUnits->GetExData()->Count, 1u);
    m_Splitter.DetachCurrent();
    EXPECT_EQ(m_pUnits->GetExData()->Count, 0u);
    H264HeapPiece* const pSecond = Next();
    ASSERT_NE(pSecond, nullptr);
    EXPECT_NE(pSecond, pFirst) << "a detached piece belongs to its slice";
}

TEST_F(Splitting, TypeIsFoundWithoutConsuming)
{
    Give({5, 0, 0, 1, 0x67, 1, 2, 3});
    EXPECT_EQ(m_Splitter.CheckNalUnitType(&m_Media), 7);
    EXPECT_EQ(m_Media.GetDataSize(), 8u);
    EXPECT_EQ(m_Splitter.CheckNalUnitType(nullptr), 0);
}

// Independent statement of the unpacking rule.
Bytes RemovedByDefinition(const Bytes& Unit)
{
    Bytes Result;
    int Zeros = 0;
    for (size_t i = 0; i < Unit.size(); ++i) {
        const bool Drop = i >= 2 && Unit[i] == 3 && Zeros >= 2;
        if (!Drop) Result.push_back(Unit[i]);
        Zeros = Unit[i] == 0 ? Zeros + 1 : 0;
    }
    while (Result.size() % 4 != 0) Result.push_back(0);
    return Result;
}

TEST(Swapping, EqualsTheDefinitionOnRandomBytes)
{
    std::mt19937 Random(1);
    Swapper Swap;
    for (int Round = 0; Round < 2000; ++Round) {
        Bytes Unit(Random() % 70);
        for (uint8_t& Byte : Unit) Byte = static_cast<uint8_t>(Random() % 5 > 2 ? Random() % 5 : 0);
        std::vector<uint32_t> Words(Unit.size() / 4 + 2);
        uint32_t Size = 0;
        Swap.SwapMemory(Words.data(), Size, Unit.data(), static_cast<uint32_t>(Unit.size()));
        Bytes Got;
        for (uint32_t i = 0; i < Size; ++i) Got.push_back(static_cast<uint8_t>(Words[i / 4] >> (24 - i % 4 * 8)));
        ASSERT_EQ(Got, RemovedByDefinition(Unit)) << "round " << Round;
    }
}

TEST(StartCodes, EqualTheDefinitionOnRandomBytes)
{
    std::mt19937 Random(2);
    for (int Round = 0; Round < 5000; ++Round) {
        Bytes Data(Random() % 40);
        for (uint8_t& Byte : Data) Byte = static_cast<uint8_t>(Random() % 3);
        size_t Expected = 0;
        while (Expected + 4 <= Data.size() &&
               !(Data[Expected] == 0 && Data[Expected + 1] == 0 && Data[Expected + 2] == 1))
            ++Expected;
        const bool IsFound = Expected + 4 <= Data.size();
        const uint8_t* p = Data.data();
        size_t Left = Data.size();
        const uint32_t Code = FindStartCode(p, Left);
        ASSERT_EQ(Code != 0, IsFound);
        if (!IsFound) continue;
        ASSERT_EQ(p, Data.data() + Expected);
        ASSERT_EQ(Left, Data.size() - Expected);
        ASSERT_EQ(Code & 255, Data[Expected + 3]);
    }
}

TEST(Pieces, LeaveZeroBytesBehindEveryUnit)
{
    std::mt19937 Random(3);
    H264_Heap Heap;
    for (int Round = 0; Round < 300; ++Round) {
        H264HeapPiece* const pPiece = Heap.Allocate(20000);
        const auto Size = static_cast<uint32_t>(Random() % (Round % 2 != 0 ? 20000u : 50u));
        const uint32_t Whole = (Size + 3) / 4 * 4;
        for (uint32_t i = 0; i < Whole / 4; ++i) pPiece->m_pData[i] = ~0u;
        pPiece->Seal(Size);
        ASSERT_EQ(pPiece->m_Size, Size);
        for (uint32_t i = 0; i < Whole / 4; ++i) ASSERT_EQ(pPiece->m_pData[i], ~0u);
        for (uint32_t i = 0; i < H264Bitstream::kReadPadding / 4; ++i) ASSERT_EQ(pPiece->m_pData[Whole / 4 + i], 0u);
        Heap.Free(pPiece);
    }
}

TEST(Pieces, AreReusedFirstFit)
{
    H264_Heap Heap;
    H264HeapPiece* const pSmall = Heap.Allocate(10);
    H264HeapPiece* const pLarge = Heap.Allocate(1000);
    Heap.Free(nullptr);
    Heap.Free(pLarge);
    Heap.Free(pSmall);
    EXPECT_EQ(Heap.Allocate(11), pLarge);
    EXPECT_EQ(Heap.Allocate(5), pSmall);
    Heap.Reset();
    EXPECT_NE(Heap.Allocate(1), nullptr);
}

class SplittingMP4 : public testing::Test
{
protected:
    void SetUp() override { m_Splitter.Init(); }
    void Give(Bytes Data)
    {
        m_Data = std::move(Data);
        m_Media.SetBufferPointer(m_Data.data(), m_Data.size());
        m_Media.SetDataSize(m_Data.size());
    }
    H264HeapPiece* Next() { return m_Splitter.GetNalUnits(&m_Media, m_pUnits); }
    void GiveRecord(uint8_t LengthSizeMinusOne)
    {
        Give({1, 66, 0, 30, static_cast<uint8_t>(0xFC | LengthSizeMinusOne), 0xE1, 0, 3, 0x67, 1, 2, 1, 0, 2, 0x68, 5});
    }

    H264_Heap m_Heap;
    NALUnitSplitterMP4 m_Splitter{&m_Heap};
    Bytes m_Data;
    MediaData m_Media;
    MediaDataEx* m_pUnits = nullptr;
};

TEST_F(SplittingMP4, RecordGivesAllParameterSetsAtOnce)
{
    GiveRecord(3);
    EXPECT_EQ(m_Splitter.CheckNalUnitType(&m_Media), 7);
    const H264HeapPiece* const pPiece = Next();
    ASSERT_NE(pPiece, nullptr);
    const auto& Units = *m_pUnits->GetExData();
    ASSERT_EQ(Units.Count, 2u);
    EXPECT_EQ(Units.Values[0], 7u);
    EXPECT_EQ(Units.Values[1], 8u);
    EXPECT_THAT(Unpacked(*pPiece, Units.Offsets[0], Units.Offsets[1]), ElementsAre(0, 0, 0, 1, 0x67, 1, 2, 0));
    EXPECT_THAT(Unpacked(*pPiece, Units.Offsets[1], Units.Offsets[2]), ElementsAre(0, 0, 0, 1, 0x68, 5, 0, 0));
    EXPECT_EQ(m_Media.GetDataSize(), 0u);
}

TEST_F(SplittingMP4, SampleOfTwoUnitsTakesTwoCalls)
{
    GiveRecord(3);
    Next();
    m_Splitter.ReleaseCurrent();
    Give({0, 0, 0, 2, 0x41, 7, 0, 0, 0, 3, 0x42, 8, 9});
    EXPECT_EQ(m_Splitter.CheckNalUnitType(&m_Media), 1);
    const H264HeapPiece* pPiece = Next();
    ASSERT_NE(pPiece, nullptr);
    EXPECT_THAT(Unpacked(*pPiece), ElementsAre(0, 0, 0, 1, 0x41, 7));
    m_Splitter.ReleaseCurrent();
    pPiece = Next();
    ASSERT_NE(pPiece, nullptr);
    EXPECT_THAT(Unpacked(*pPiece), ElementsAre(0, 0, 0, 1, 0x42, 8, 9));
    EXPECT_EQ(m_Media.GetDataSize(), 0u);
}

TEST_F(SplittingMP4, EveryLengthSizeIsRead)
{
    for (uint8_t Size = 1; Size <= 4; ++Size) {
        m_Splitter.Init();
        GiveRecord(static_cast<uint8_t>(Size - 1));
        Next();
        m_Splitter.ReleaseCurrent();
        Bytes Sample(static_cast<size_t>(Size), 0);
        Sample.back() = 2;
        Sample.insert(Sample.end(), {0x41, 7});
        Give(Sample);
        const H264HeapPiece* const pPiece = Next();
        ASSERT_NE(pPiece, nullptr);
        EXPECT_THAT(Unpacked(*pPiece), ElementsAre(0, 0, 0, 1, 0x41, 7));
        m_Splitter.ReleaseCurrent();
    }
}

TEST_F(SplittingMP4, LengthBeyondTheSampleEndsWithIt)
{
    GiveRecord(3);
    Next();
    m_Splitter.ReleaseCurrent();
    Give({0xFF, 0xFF, 0xFF, 0xFF, 0x41, 7});
    const H264HeapPiece* const pPiece = Next();
    ASSERT_NE(pPiece, nullptr);
    EXPECT_THAT(Unpacked(*pPiece), ElementsAre(0, 0, 0, 1, 0x41, 7));
}

TEST_F(SplittingMP4, HeaderByteOfZeroEndsTheSearch)
{
    GiveRecord(3);
    Next();
    m_Splitter.ReleaseCurrent();
    Give({0, 0, 0, 2, 0, 7});
    EXPECT_EQ(Next(), nullptr);
    EXPECT_EQ(m_Media.GetDataSize(), 0u);
}

TEST_F(SplittingMP4, RecordShorterThanItsSequenceSetsIsRefused)
{
    Give({1, 66, 0, 30, 0xFF, 0xE1, 0x40, 0, 0x67});
    try {
        Next();
        FAIL();
    } catch (const h264_exception& Fault) {
        EXPECT_EQ(Fault.GetStatus(), StatusInvalidParams);
    }
    EXPECT_EQ(m_Media.GetDataSize(), 0u);
}

TEST_F(SplittingMP4, RecordCutInItsPictureSetsIsTaken)
{
    Give({1, 66, 0, 30, 0xFF, 0xE1, 0, 3, 0x67, 1, 2, 1, 0, 50, 0x68});
    const H264HeapPiece* const pPiece = Next();
    ASSERT_NE(pPiece, nullptr);
    EXPECT_EQ(m_pUnits->GetExData()->Count, 2u);
}

TEST_F(SplittingMP4, ResetDoesNotForgetTheRecordAndInitDoes)
{
    GiveRecord(3);
    Next();
    m_Splitter.Reset();
    Give({0, 0, 0, 1, 0x41});
    EXPECT_EQ(m_Splitter.CheckNalUnitType(&m_Media), 1);
    m_Splitter.Init();
    EXPECT_EQ(m_Splitter.CheckNalUnitType(&m_Media), 7);
}

} // namespace
