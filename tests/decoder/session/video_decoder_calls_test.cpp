// The decoder's calls one by one: their statuses, what they give and when.
#include "tests/decoder/session/grey_stream.h"

#include <gmock/gmock.h>

namespace {

using namespace UMC;
using test::Bytes;
using test::CopySlice;
using test::GreyStream;
using test::kDelimiter;
using test::Numbered;
using test::PcmSlice;
using test::PicParamSet;
using test::SeqParamSet;
using test::operator+;
using test::operator+=;
using testing::ElementsAre;

// A decoder with the default converter, as the library's own wrapper sets it up.
class Calls : public testing::Test
{
protected:
    Status Start()
    {
        VideoDecoderParams Params;
        Params.m_NumThreads = 1;
        return m_Decoder.Init(&Params);
    }
    void SetUp() override
    {
        ASSERT_EQ(m_Output.Init(16, 16, YUV420, 8), StatusOk);
        ASSERT_EQ(m_Output.Alloc(), StatusOk);
    }
    Status Give(const Bytes& Data)
    {
        m_Data = Data;
        m_Input.SetBufferPointer(m_Data.data(), m_Data.size());
        m_Input.SetDataSize(m_Data.size());
        return m_Decoder.GetFrame(&m_Input, &m_Output);
    }
    Status Flush() { return m_Decoder.GetFrame(nullptr, &m_Output); }
    int Value() const { return m_Output.Plane(0)[0]; }

    H264VideoDecoder m_Decoder;
    Bytes m_Data;
    MediaData m_Input;
    VideoData m_Output;
};

TEST_F(Calls, BeforeInitNothingWorks)
{
    EXPECT_EQ(m_Decoder.GetFrame(nullptr, nullptr), StatusNotInitialized);
    EXPECT_EQ(m_Decoder.Reset(), StatusNotInitialized);
    VideoDecoderParams Params;
    EXPECT_EQ(m_Decoder.GetInfo(&Params), StatusNotInitialized);
    EXPECT_EQ(m_Decoder.Close(), StatusOk);
}

TEST_F(Calls, WrongArguments)
{
    EXPECT_EQ(m_Decoder.Init(nullptr), StatusNullPointer);
    BaseCodecParams Base;
    EXPECT_EQ(m_Decoder.Init(&Base), StatusNullPointer);
    ASSERT_EQ(Start(), StatusOk);
    EXPECT_EQ(m_Decoder.GetFrame(&m_Input, nullptr), StatusNullPointer);
    MediaData NoPicture;
    EXPECT_EQ(m_Decoder.GetFrame(&m_Input, &NoPicture), StatusNullPointer);
    EXPECT_EQ(m_Decoder.GetInfo(&Base), StatusNullPointer);
    EXPECT_EQ(m_Decoder.SetParams(&Base), StatusNullPointer);
    EXPECT_EQ(m_Decoder.GetUserData(nullptr), StatusNullPointer);
    EXPECT_EQ(m_Decoder.Operation9(), StatusOk);
    EXPECT_EQ(m_Decoder.Operation10(), StatusNotImplemented);
    EXPECT_EQ(m_Decoder.Operation11(), StatusOk);
}

TEST_F(Calls, ShortInputIsConsumed)
{
    ASSERT_EQ(Start(), StatusOk);
    EXPECT_EQ(Give({0, 0, 1}), StatusNotEnoughData);
    EXPECT_EQ(m_Input.GetDataSize(), 0u);
    EXPECT_EQ(Give({1, 2, 3, 4}), StatusSyncFailed);
    EXPECT_EQ(m_Input.GetDataSize(), 0u);
    EXPECT_EQ(Give(Bytes(100, 7)), StatusSyncFailed);
}

TEST_F(Calls, ParameterSetsAloneMakeInfoAvailable)
{
    ASSERT_EQ(Start(), StatusOk);
    H264VideoDecoderParams Info;
    EXPECT_EQ(m_Decoder.GetInfo(&Info), StatusNotInitialized);
    const SeqParamSet Seq{
        .level_idc = 40, .width_mbs = 120, .height_map_units = 68, .cropping = true, .crop = {1, 2, 0, 4}};
    EXPECT_EQ(Give(Write(Seq)), StatusNotEnoughData);
    EXPECT_EQ(m_Decoder.GetInfo(&Info), StatusNotInitialized) << "no picture parameter set yet";
    EXPECT_EQ(Give(Write(PicParamSet{})), StatusNotEnoughData);
    ASSERT_EQ(m_Decoder.GetInfo(&Info), StatusOk);
    EXPECT_EQ(Info.m_Info.m_Width, 1920 - 6);
    EXPECT_EQ(Info.m_Info.m_Height, 1080);
    EXPECT_EQ(Info.m_Info.m_ColorFormat, YUV420);
    EXPECT_EQ(Info.m_Info.m_StreamType, 384u);
    EXPECT_EQ(Info.m_Info.m_Profile, 66u);
    EXPECT_EQ(Info.m_Info.m_Level, 40u);
    EXPECT_DOUBLE_EQ(Info.m_Info.m_FrameRate, 30.0);
    EXPECT_EQ(Info.m_NumThreads, 1);
    EXPECT_EQ(Info.m_RequiredFrames, 4u + 2u);
    EXPECT_EQ(Info.m_CodedWidth, 1920u);
    EXPECT_EQ(Info.m_CodedHeight, 1088u);
    EXPECT_EQ(Info.m_EntropyMode, 0u);
}

TEST_F(Calls, HeadersAreReadFromTheParameters)
{
    GreyStream In;
    In.Idr(50);
    VideoDecoderParams Params;
    Params.m_NumThreads = 1;
    MediaData Data;
    Data.SetBufferPointer(In.Data.data(), In.Data.size());
    Data.SetDataSize(In.Data.size());
    Params.m_pData = &Data;
    ASSERT_EQ(m_Decoder.Init(&Params), StatusOk);
    VideoDecoderParams Info;
    EXPECT_EQ(m_Decoder.GetInfo(&Info), StatusOk);
    EXPECT_EQ(m_Decoder.GetFrame(&Data, &m_Output), StatusNotEnoughData) << "the scan stopped in front of the slice";
    EXPECT_EQ(Flush(), StatusOk);
    EXPECT_EQ(Value(), 50);
}

TEST_F(Calls, PictureLeavesOneAccessUnitLater)
{
    ASSERT_EQ(Start(), StatusOk);
    GreyStream In;
    EXPECT_EQ(Give(In.Idr(10).Data), StatusNotEnoughData);
    for (uint32_t i = 1; i < 10; ++i) {
        EXPECT_EQ(Give(PcmSlice(In.Seq, In.Pic, Numbered(i, i * 2), static_cast<uint8_t>(10 + i))), StatusOk);
        EXPECT_EQ(Value(), static_cast<int>(9 + i));
        EXPECT_EQ(m_Output.GetFrameType(), I_PICTURE);
    }
    EXPECT_EQ(Flush(), StatusOk);
    EXPECT_EQ(Value(), 19);
    EXPECT_EQ(Flush(), StatusNotEnoughData);
    EXPECT_EQ(Flush(), StatusNotEnoughData);
}

TEST_F(Calls, DelimiterFinishesThePicture)
{
    ASSERT_EQ(Start(), StatusOk);
    EXPECT_EQ(Give(GreyStream().Idr(33).Data + kDelimiter), StatusOk);
    EXPECT_EQ(Value(), 33);
}

TEST_F(Calls, OneBPictureBetweenReferencesComesOutInOrder)
{
    ASSERT_EQ(Start(), StatusOk);
    GreyStream In({.profile_idc = 77});
    std::vector<int> Shown;
    const auto Feed = [&](const Bytes& Data) {
        if (Give(Data) == StatusOk) Shown.push_back(Value());
    };
    Feed(In.Idr(10).Data);
    for (uint32_t Pair = 0; Pair < 3; ++Pair) { // reference two counts ahead, then the picture between
        Feed(PcmSlice(In.Seq, In.Pic, Numbered(Pair + 1, 4 * Pair + 4), static_cast<uint8_t>(30 + 20 * Pair)));
        Feed(PcmSlice(In.Seq, In.Pic, Numbered(Pair + 2, 4 * Pair + 2, 0), static_cast<uint8_t>(20 + 20 * Pair)));
    }
    while (Flush() == StatusOk) Shown.push_back(Value());
    EXPECT_THAT(Shown, ElementsAre(10, 20, 30, 40, 50, 60, 70));
}

TEST_F(Calls, SecondInitStartsAnew)
{
    ASSERT_EQ(Start(), StatusOk);
    EXPECT_EQ(Give(GreyStream().Idr(1).Data), StatusNotEnoughData);
    ASSERT_EQ(Start(), StatusOk);
    EXPECT_EQ(Flush(), StatusNotEnoughData);
    VideoDecoderParams Info;
    EXPECT_EQ(m_Decoder.GetInfo(&Info), StatusNotInitialized);
}

TEST_F(Calls, ResetForgetsPicturesAndKeepsParameterSets)
{
    ASSERT_EQ(Start(), StatusOk);
    GreyStream In;
    EXPECT_EQ(Give(In.Idr(1).Data), StatusNotEnoughData);
    EXPECT_EQ(m_Decoder.Reset(), StatusOk);
    EXPECT_EQ(m_Decoder.Reset(), StatusOk);
    EXPECT_EQ(Flush(), StatusNotEnoughData);
    EXPECT_EQ(Give(CopySlice(In.Seq, In.Pic, Numbered(1, 2), 0)), StatusNotEnoughData);
    EXPECT_EQ(Flush(), StatusNotEnoughData) << "decoding waits for an I slice again";
    EXPECT_EQ(Give(PcmSlice(In.Seq, In.Pic, {.nal_unit_type = 5}, 77)), StatusNotEnoughData);
    EXPECT_EQ(Flush(), StatusOk);
    EXPECT_EQ(Value(), 77);
}

TEST_F(Calls, BadParameterSetRisesAndTheOldOneStays)
{
    ASSERT_EQ(Start(), StatusOk);
    GreyStream In;
    EXPECT_EQ(Give(In.Idr(5).Data), StatusNotEnoughData);
    EXPECT_EQ(Give(Write(SeqParamSet{.profile_idc = 244})), StatusInvalidParams);
    EXPECT_EQ(Give(Write(PicParamSet{.seq_id = 9})), StatusInvalidParams);
    EXPECT_EQ(Give(PcmSlice(In.Seq, In.Pic, Numbered(1, 2), 6)), StatusOk);
    EXPECT_EQ(Value(), 5);
}

TEST_F(Calls, UnsupportedDepthIsAStatus)
{
    ASSERT_EQ(Start(), StatusOk);
    const GreyStream In({.profile_idc = 110, .bit_depth = 14});
    EXPECT_EQ(Give(GreyStream({.profile_idc = 110, .bit_depth = 20}).Idr(1).Data), StatusUnsupported);
    EXPECT_EQ(Flush(), StatusNotEnoughData);
}

// The client's picture is 4:2:0 of 8 bits. Deeper samples lose their lower bits, and 4:2:2 is converted; a picture that
// needs both is lost, and those behind it are not.
TEST_F(Calls, OtherFormatsAndDepthsComeInTheClientsFormatOrAreLost)
{
    struct Case {
        uint32_t chroma_format_idc, bit_depth;
        bool IsLost;
    };
    for (const auto& [chroma_format_idc, bit_depth, IsLost] :
         {Case{0, 8, false}, {2, 8, false}, {1, 9, false}, {1, 14, false}, {0, 10, false}, {2, 10, true}}) {
        SCOPED_TRACE(testing::Message() << chroma_format_idc << ", " << bit_depth);
        ASSERT_EQ(Start(), StatusOk);
        GreyStream In({.profile_idc = 122, .chroma_format_idc = chroma_format_idc, .bit_depth = bit_depth});
        EXPECT_EQ(Give(In.Idr(192).Data), StatusNotEnoughData);
        EXPECT_EQ(Flush(), IsLost ? StatusNotEnoughData : StatusOk);
        if (!IsLost) {
            EXPECT_EQ(Value(), 192 >> (bit_depth - 8));
        }
        EXPECT_EQ(Give(GreyStream().Idr(7).Data), StatusNotEnoughData);
        EXPECT_EQ(Flush(), StatusOk);
        EXPECT_EQ(Value(), 7);
    }
}

TEST_F(Calls, UserDataOfThePictureDeliveredLast)
{
    ASSERT_EQ(Start(), StatusOk);
    GreyStream In;
    In.Data += test::NalUnit(0, 6, {4, 5, 0xB5, 9, 8, 7, 6, 0x80});
    EXPECT_EQ(m_Decoder.GetUserData(&m_Input), StatusNotEnoughData);
    EXPECT_EQ(Give(In.Idr(1).Data + kDelimiter), StatusOk);
    MediaData User;
    ASSERT_EQ(m_Decoder.GetUserData(&User), StatusOk);
    ASSERT_EQ(User.GetDataSize(), 4u);
    const auto* const p = static_cast<const uint8_t*>(User.GetDataPointer());
    EXPECT_THAT(Bytes(p, p + 4), ElementsAre(9, 8, 7, 6));
}

TEST_F(Calls, TimesRunOnFromTheLastOneGiven)
{
    ASSERT_EQ(Start(), StatusOk);
    GreyStream In;
    const Bytes First = In.Idr(1).Data;
    m_Data = First;
    m_Input.SetBufferPointer(m_Data.data(), m_Data.size());
    m_Input.SetDataSize(m_Data.size());
    m_Input.SetTime(5.0);
    EXPECT_EQ(m_Decoder.GetFrame(&m_Input, &m_Output), StatusNotEnoughData);
    m_Input.SetTime(-1.0);
    EXPECT_EQ(Give(PcmSlice(In.Seq, In.Pic, Numbered(1, 2), 2)), StatusOk);
    EXPECT_DOUBLE_EQ(m_Output.GetTime(), 5.0);
    EXPECT_EQ(Flush(), StatusOk);
    EXPECT_DOUBLE_EQ(m_Output.GetTime(), 5.0 + 1.0 / 30);
}

TEST_F(Calls, SkippedPictureIsNotAnError)
{
    ASSERT_EQ(Start(), StatusOk);
    int32_t Speed = 6;
    EXPECT_EQ(m_Decoder.ChangeVideoDecodingSpeed(&Speed), StatusOk);
    EXPECT_EQ(Speed, 6);
    GreyStream In;
    EXPECT_EQ(Give(In.Idr(1).Data + kDelimiter), StatusOk);
    EXPECT_EQ(Give(PcmSlice(In.Seq, In.Pic, Numbered(1, 2, 0), 2) + kDelimiter), StatusNotEnoughData);
    EXPECT_EQ(m_Output.GetDataSize(), 0u);
    EXPECT_EQ(Give(PcmSlice(In.Seq, In.Pic, Numbered(1, 4), 3) + kDelimiter), StatusOk);
    EXPECT_EQ(Value(), 3);
    EXPECT_EQ(Give(PcmSlice(In.Seq, In.Pic, Numbered(2, 6, 0), 4)), StatusNotEnoughData);
    EXPECT_EQ(Flush(), StatusOk) << "the flush alone shows the mark";
    EXPECT_EQ(m_Output.GetDataSize(), 1u);
    bool IsReduced = true;
    int32_t Skipped = 0;
    EXPECT_EQ(m_Decoder.GetSkipInfo(&IsReduced, &Skipped), StatusOk);
    EXPECT_FALSE(IsReduced);
    EXPECT_EQ(Skipped, 2);
    Speed = 100;
    m_Decoder.ChangeVideoDecodingSpeed(&Speed);
    EXPECT_EQ(Speed, 7);
    m_Decoder.GetSkipInfo(&IsReduced, nullptr);
    EXPECT_TRUE(IsReduced);
}

} // namespace
