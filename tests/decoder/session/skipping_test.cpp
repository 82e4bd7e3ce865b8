// What a higher decoding speed leaves out.
#include "tests/decoder/alpha_stream.h"
#include "tests/decoder/session/fed_decoder.h"
#include "tests/decoder/session/grey_stream.h"

#include <gmock/gmock.h>

#include <string>

namespace {

using testing::ElementsAre;

using namespace test;

std::vector<Bytes> DecodeAtSpeed(const Bytes& Stream, int32_t Speed)
{
    std::vector<Bytes> Pictures;
    tools::StreamDecoder Decoder([&](const UMC::VideoData& p) { Pictures.push_back(SamplesOf(p)); }, 1, false);
    EXPECT_EQ(Decoder.Decoder().ChangeVideoDecodingSpeed(&Speed), UMC::StatusOk);
    Decoder.Feed(Stream);
    Decoder.Drain();
    return Pictures;
}

// Reference pictures, or every second one no reference; the deblocking filter is off where NoFilter says so.
Bytes MakeStream(bool AllReferences, auto&& NoFilter)
{
    RandomStream In({.profile_idc = 77}, {.num_ref_idx = {2, 1}}, 3);
    In.Start(2);
    uint32_t FrameNum = 2;
    for (uint32_t i = 2; i < 10; ++i) {
        const bool IsReference = AllReferences || i % 2 == 0;
        Slice s = Numbered(FrameNum, 2 * i, IsReference);
        s.disable_deblocking = NoFilter(IsReference);
        In.P(s);
        FrameNum += IsReference;
    }
    return In.Data;
}

TEST(DecodingSpeed, SevenLeavesEverySampleAsReconstructed)
{
    const Bytes Filtered = MakeStream(true, [](bool) { return false; });
    const Bytes Unfiltered = MakeStream(true, [](bool) { return true; });
    ASSERT_NE(DecodeAll(Filtered), DecodeAll(Unfiltered));
    EXPECT_EQ(DecodeAtSpeed(Filtered, 7), DecodeAll(Unfiltered));
    EXPECT_EQ(DecodeAtSpeed(Filtered, 6), DecodeAll(Filtered));
}

TEST(DecodingSpeed, FiveFiltersReferencesOnly)
{
    const Bytes Filtered = MakeStream(false, [](bool) { return false; });
    std::vector<Bytes> Expected = DecodeAll(MakeStream(false, [](bool IsReference) { return !IsReference; }));
    ASSERT_EQ(Expected.size(), 10u);
    ASSERT_NE(Expected, DecodeAll(Filtered));
    for (const ptrdiff_t i : {9, 7, 3}) Expected.erase(Expected.begin() + i); // the first, third and fourth are skipped
    EXPECT_EQ(DecodeAtSpeed(Filtered, 5), Expected);
}

TEST(SkippedPictures, TakeTheirAuxiliaryOnesAlong)
{
    for (const bool OfFields : {false, true}) {
        AlphaStream In(8, OfFields);
        uint32_t FrameNum = 0;
        for (uint32_t i = 0; i < 10; ++i) {
            const Slice s = Typed(i < 2 ? 7 : 5, FrameNum, 2 * i, i < 2 || i % 3 == 0);
            OfFields ? In.AddPair(s) : In.Add(s);
            FrameNum += s.nal_ref_idc != 0;
        }
        ASSERT_EQ(DecodeAtSpeed(In.Primary, 0).size(), 10u);
        ASSERT_LT(DecodeAtSpeed(In.Primary, 7).size(), 10u);
        for (const int Speed : {0, 1, 2, 3, 4, 5, 6, 7})
            EXPECT_EQ(DecodeAtSpeed(In.Both, Speed), DecodeAtSpeed(In.Primary, Speed)) << OfFields << Speed;
    }
}

// ---- Frames of two fields ---------------------------------------------------------------------------------------

class SkippedFields : public testing::Test
{
protected:
    static constexpr int kSkipped = -2;

    SkippedFields() { m_Session.Give(Write(m_Seq) + Write(m_Pic)); }
    void SetSpeed(int32_t Speed)
    {
        int32_t Step = -7;
        m_Session.Decoder().ChangeVideoDecodingSpeed(&Step);
        EXPECT_EQ(Step, 0);
        m_Session.Decoder().ChangeVideoDecodingSpeed(&Speed);
    }
    int SkippedCount()
    {
        int32_t Count = -1;
        EXPECT_EQ(m_Session.Decoder().GetSkipInfo(nullptr, &Count), UMC::StatusOk);
        return Count;
    }
    Bytes Field(uint8_t Value, bool IsBottom, uint32_t FrameNum, uint32_t Poc, uint32_t RefIdc = 0)
    {
        Slice s = Numbered(FrameNum, Poc, RefIdc);
        s.field = true;
        s.bottom = IsBottom;
        if (Poc == 0) s.nal_unit_type = 5;
        return PcmSlice(m_Seq, m_Pic, s, Value);
    }
    // A pair that nobody refers to; what it takes until the frame has left: its values, or those of the mark.
    std::vector<int> GivePair(uint32_t Poc)
    {
        m_Session.Give(Field(30, Poc % 4 == 0, 1, Poc));
        m_Session.Give(Field(40, Poc % 4 != 0, 1, Poc + 1));
        std::vector<int> Values;
        while (m_Session.Flush() == UMC::StatusOk)
            if (m_Session.Output().GetDataSize() == 1) Values.push_back(kSkipped);
        for (const auto& Pair : GreyFields::ValuesOf(m_Session.Drain()))
            Values.insert(Values.end(), Pair.begin(), Pair.end());
        return Values;
    }

    const SeqParamSet m_Seq = Interlaced({.profile_idc = 77});
    const PicParamSet m_Pic;
    FedDecoder m_Session;
};

TEST_F(SkippedFields, GoTogetherAndCountAsOnePicture)
{
    const char* const kPattern[] = {"............", "s...s...s...", "s..s..s..s..", "s.s.s.s.s.s.",
                                    "s.ss.ss.ss.s", "s.ss.ss.ss.s", "ssssssssssss", "ssssssssssss"};
    for (int32_t Speed = 0; Speed < 8; ++Speed) {
        SCOPED_TRACE(Speed);
        ASSERT_EQ(m_Session.Start(), UMC::StatusOk);
        SetSpeed(Speed);
        m_Session.Give(Write(m_Seq) + Write(m_Pic) + Field(10, false, 0, 0, 1));
        m_Session.Give(Field(20, true, 0, 1, 1) + kDelimiter);
        EXPECT_THAT(GreyFields::ValuesOf(m_Session.Drain()), ElementsAre(std::array{10, 20})) << "a reference";
        std::string Pattern;
        for (uint32_t i = 1; i <= 12; ++i) {
            const std::vector<int> Values = GivePair(2 * i);
            if (Values == std::vector<int>{kSkipped}) Pattern += 's';
            const bool IsBottomFirst = i % 2 == 0;
            if (Values == std::vector<int>{IsBottomFirst ? 40 : 30, IsBottomFirst ? 30 : 40}) Pattern += '.';
        }
        EXPECT_EQ(Pattern, kPattern[Speed]);
        EXPECT_EQ(SkippedCount(), std::count(Pattern.begin(), Pattern.end(), 's'));
    }
}

TEST_F(SkippedFields, AreNoneThatStayAlone)
{
    SetSpeed(6);
    m_Session.Give(Field(10, false, 0, 0, 1));
    m_Session.Give(Field(20, true, 0, 1, 1));
    m_Session.Give(Field(30, false, 1, 2));
    m_Session.Give(Field(40, false, 1, 4));
    m_Session.Give(Field(50, true, 1, 5));
    EXPECT_THAT(GreyFields::ValuesOf(m_Session.Drain()), ElementsAre(std::array{10, 20}, std::array{30, 128}));
    EXPECT_EQ(SkippedCount(), 1);
}

TEST_F(SkippedFields, LeaveTheMarkToTheFlushAlone)
{
    SetSpeed(6);
    m_Session.Give(Field(10, false, 0, 0, 1));
    m_Session.Give(Field(20, true, 0, 1, 1) + kDelimiter);
    m_Session.Give(Field(30, false, 1, 2));
    EXPECT_EQ(m_Session.Give(Field(40, true, 1, 3) + kDelimiter), UMC::StatusNotEnoughData);
    EXPECT_EQ(m_Session.Output().GetDataSize(), 0u) << "skipped, and nobody is told";
    m_Session.Give(Field(50, false, 1, 4));
    m_Session.Give(Field(60, true, 1, 5));
    EXPECT_EQ(m_Session.Flush(), UMC::StatusOk);
    EXPECT_EQ(m_Session.Output().GetDataSize(), 1u);
    EXPECT_EQ(m_Session.Flush(), UMC::StatusNotEnoughData);
    EXPECT_EQ(m_Session.Output().GetDataSize(), 0u);
}

// Frames and fields alike: the place in the cycle outlives Reset, the speed does not.
TEST_F(SkippedFields, GoOnInTheirCycleBehindAReset)
{
    SetSpeed(3); // every second one
    m_Session.Give(Field(10, false, 0, 0, 1));
    m_Session.Give(Field(20, true, 0, 1, 1) + kDelimiter);
    m_Session.Drain();
    EXPECT_THAT(GivePair(2), ElementsAre(kSkipped));
    EXPECT_EQ(SkippedCount(), 1);
    ASSERT_EQ(m_Session.Decoder().Reset(), UMC::StatusOk);
    EXPECT_EQ(SkippedCount(), 0);
    SetSpeed(3);
    EXPECT_THAT(GivePair(6), ElementsAre(30, 40)) << "the second one of the cycle";
    EXPECT_THAT(GivePair(10), ElementsAre(kSkipped));
}

// Fields of random macroblocks: the filter is off for the fields that the speed says, as in a stream that says so.
TEST_F(SkippedFields, AreFilteredWhereTheSpeedLeavesIt)
{
    const auto Make = [](bool FilterReferences, bool FilterOthers) {
        FieldStream In({.profile_idc = 77}, {.num_ref_idx = {2, 1}}, 5);
        In.StartPairs(2);
        for (uint32_t i = 2; i < 8; ++i) {
            Slice s = Typed(5, 1 + i / 2, 2 * i, i % 2 == 0);
            s.disable_deblocking = i % 2 == 0 ? !FilterReferences : !FilterOthers;
            In.Pair(s);
        }
        return In.Data;
    };
    const Bytes Filtered = Make(true, true);
    ASSERT_NE(DecodeAll(Filtered), DecodeAll(Make(true, false)));
    ASSERT_NE(DecodeAll(Make(true, false)), DecodeAll(Make(false, false)));
    const auto Without = [](std::vector<Bytes> Pictures, std::initializer_list<ptrdiff_t> Skipped) {
        EXPECT_EQ(Pictures.size(), 8u);
        for (const ptrdiff_t i : Skipped) Pictures.erase(Pictures.begin() + i); // from the last one on
        return Pictures;
    };
    EXPECT_EQ(DecodeAtSpeed(Filtered, 4), Without(DecodeAll(Filtered), {7, 3}));
    EXPECT_EQ(DecodeAtSpeed(Filtered, 5), Without(DecodeAll(Make(true, false)), {7, 3}));
    EXPECT_EQ(DecodeAtSpeed(Filtered, 7), Without(DecodeAll(Make(false, false)), {7, 5, 3}));
}

} // namespace
