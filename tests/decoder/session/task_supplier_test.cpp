// The decoder from outside: statuses, order of pictures, references, gaps. Pictures are of one grey value, so that a
// picture's value tells which one it is.
#include "tests/support/decode_helper.h"

#include <gmock/gmock.h>

namespace {

using namespace UMC;
using test::Bytes;
using test::CopySlice;
using test::DecodeValues;
using test::PcmSlice;
using test::PicParamSet;
using test::SeqParamSet;
using test::SkipSlice;
using test::Slice;
using test::operator+;
using test::operator+=;
using testing::ElementsAre;
using testing::IsEmpty;

const Bytes kDelimiter = test::NalUnit(0, 9, {0x10});

// A stream under way: parameter sets first, then pictures by number.
struct Stream {
    SeqParamSet Seq;
    PicParamSet Pic;
    Bytes Data;

    explicit Stream(const SeqParamSet& s = {}, const PicParamSet& p = {}) : Seq(s), Pic(p), Data(Write(s) + Write(p)) {}
    Stream& Idr(uint8_t Value, Slice s = {})
    {
        s.nal_unit_type = 5;
        Data += PcmSlice(Seq, Pic, s, Value);
        return *this;
    }
    Stream& Intra(uint8_t Value, const Slice& s)
    {
        Data += PcmSlice(Seq, Pic, s, Value);
        return *this;
    }
    Stream& Copy(uint32_t RefIdx, const Slice& s) // shows the picture that RefIdx of list 0 means
    {
        Data += CopySlice(Seq, Pic, s, RefIdx);
        return *this;
    }
    std::vector<int> Values() const { return DecodeValues(Data); }
};

Slice At(uint32_t FrameNum, uint32_t PocLsb, uint32_t RefIdc = 1)
{
    return {.nal_ref_idc = RefIdc, .frame_num = FrameNum, .poc_lsb = PocLsb};
}

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
    Stream In;
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
    Stream In;
    EXPECT_EQ(Give(In.Idr(10).Data), StatusNotEnoughData);
    for (uint32_t i = 1; i < 10; ++i) {
        EXPECT_EQ(Give(PcmSlice(In.Seq, In.Pic, At(i, i * 2), static_cast<uint8_t>(10 + i))), StatusOk);
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
    EXPECT_EQ(Give(Stream().Idr(33).Data + kDelimiter), StatusOk);
    EXPECT_EQ(Value(), 33);
}

TEST_F(Calls, OneBPictureBetweenReferencesComesOutInOrder)
{
    ASSERT_EQ(Start(), StatusOk);
    Stream In({.profile_idc = 77});
    std::vector<int> Shown;
    const auto Feed = [&](const Bytes& Data) {
        if (Give(Data) == StatusOk) Shown.push_back(Value());
    };
    Feed(In.Idr(10).Data);
    for (uint32_t Pair = 0; Pair < 3; ++Pair) { // reference two counts ahead, then the picture between
        Feed(PcmSlice(In.Seq, In.Pic, At(Pair + 1, 4 * Pair + 4), static_cast<uint8_t>(30 + 20 * Pair)));
        Feed(PcmSlice(In.Seq, In.Pic, At(Pair + 2, 4 * Pair + 2, 0), static_cast<uint8_t>(20 + 20 * Pair)));
    }
    while (Flush() == StatusOk) Shown.push_back(Value());
    EXPECT_THAT(Shown, ElementsAre(10, 20, 30, 40, 50, 60, 70));
}

TEST_F(Calls, SecondInitStartsAnew)
{
    ASSERT_EQ(Start(), StatusOk);
    EXPECT_EQ(Give(Stream().Idr(1).Data), StatusNotEnoughData);
    ASSERT_EQ(Start(), StatusOk);
    EXPECT_EQ(Flush(), StatusNotEnoughData);
    VideoDecoderParams Info;
    EXPECT_EQ(m_Decoder.GetInfo(&Info), StatusNotInitialized);
}

TEST_F(Calls, ResetForgetsPicturesAndKeepsParameterSets)
{
    ASSERT_EQ(Start(), StatusOk);
    Stream In;
    EXPECT_EQ(Give(In.Idr(1).Data), StatusNotEnoughData);
    EXPECT_EQ(m_Decoder.Reset(), StatusOk);
    EXPECT_EQ(m_Decoder.Reset(), StatusOk);
    EXPECT_EQ(Flush(), StatusNotEnoughData);
    EXPECT_EQ(Give(CopySlice(In.Seq, In.Pic, At(1, 2), 0)), StatusNotEnoughData);
    EXPECT_EQ(Flush(), StatusNotEnoughData) << "decoding waits for an I slice again";
    EXPECT_EQ(Give(PcmSlice(In.Seq, In.Pic, {.nal_unit_type = 5}, 77)), StatusNotEnoughData);
    EXPECT_EQ(Flush(), StatusOk);
    EXPECT_EQ(Value(), 77);
}

TEST_F(Calls, BadParameterSetRisesAndTheOldOneStays)
{
    ASSERT_EQ(Start(), StatusOk);
    Stream In;
    EXPECT_EQ(Give(In.Idr(5).Data), StatusNotEnoughData);
    EXPECT_EQ(Give(Write(SeqParamSet{.profile_idc = 244})), StatusInvalidParams);
    EXPECT_EQ(Give(Write(PicParamSet{.seq_id = 9})), StatusInvalidParams);
    EXPECT_EQ(Give(PcmSlice(In.Seq, In.Pic, At(1, 2), 6)), StatusOk);
    EXPECT_EQ(Value(), 5);
}

TEST_F(Calls, UnsupportedDepthIsAStatus)
{
    ASSERT_EQ(Start(), StatusOk);
    const Stream In({.profile_idc = 110, .bit_depth = 14});
    EXPECT_EQ(Give(Stream({.profile_idc = 110, .bit_depth = 20}).Idr(1).Data), StatusUnsupported);
    EXPECT_EQ(Flush(), StatusNotEnoughData);
}

TEST_F(Calls, UserDataOfThePictureDeliveredLast)
{
    ASSERT_EQ(Start(), StatusOk);
    Stream In;
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
    Stream In;
    const Bytes First = In.Idr(1).Data;
    m_Data = First;
    m_Input.SetBufferPointer(m_Data.data(), m_Data.size());
    m_Input.SetDataSize(m_Data.size());
    m_Input.SetTime(5.0);
    EXPECT_EQ(m_Decoder.GetFrame(&m_Input, &m_Output), StatusNotEnoughData);
    m_Input.SetTime(-1.0);
    EXPECT_EQ(Give(PcmSlice(In.Seq, In.Pic, At(1, 2), 2)), StatusOk);
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
    Stream In;
    EXPECT_EQ(Give(In.Idr(1).Data + kDelimiter), StatusOk);
    EXPECT_EQ(Give(PcmSlice(In.Seq, In.Pic, At(1, 2, 0), 2) + kDelimiter), StatusNotEnoughData);
    EXPECT_EQ(m_Output.GetDataSize(), 0u);
    EXPECT_EQ(Give(PcmSlice(In.Seq, In.Pic, At(1, 4), 3) + kDelimiter), StatusOk);
    EXPECT_EQ(Value(), 3);
    EXPECT_EQ(Give(PcmSlice(In.Seq, In.Pic, At(2, 6, 0), 4)), StatusNotEnoughData);
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

TEST(Pictures, StreamsStartAtAnISliceOrARecoveryPoint)
{
    EXPECT_THAT(Stream().Copy(0, At(1, 2)).Intra(40, At(2, 4)).Copy(0, At(3, 6)).Values(), ElementsAre(40, 40));
    Stream Recovery;
    Recovery.Data += test::NalUnit(0, 6, {6, 1, 0xC4, 0x80}); // recovery_frame_cnt 0
    Recovery.Copy(0, At(1, 2)).Copy(0, At(2, 4));
    EXPECT_THAT(Recovery.Values(), ElementsAre(128, 128)) << "against a grey picture that is not shown itself";
}

TEST(Pictures, SlicesThatAreRejectedVanish)
{
    const auto Shown = [](const PicParamSet& Pic, const Slice& Bad) {
        Stream In({}, Pic);
        In.Idr(10);
        In.Data += SkipSlice(In.Seq, In.Pic, Bad);
        return In.Intra(20, At(1, 2)).Values();
    };
    const PicParamSet Plain;
    Slice Good = At(1, 2);
    Good.slice_type = 5;
    const auto With = [&](auto&& Change) {
        Slice Bad = Good;
        Change(Bad);
        return Bad;
    };
    EXPECT_THAT(Shown(Plain, Good), ElementsAre(10, 10, 20));
    for (const uint32_t Type : {3u, 4u, 8u, 9u, 10u, 1000u})
        EXPECT_THAT(Shown(Plain, With([&](Slice& s) { s.slice_type = Type; })), ElementsAre(10, 20)) << Type;
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.first_mb = 1; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.first_mb = 0x80000001; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.pps_id = 1; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.pps_id = 256; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.num_ref_idx[0] = 33; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.reordering[0].assign(33, {0, 0}); })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.marking.assign(32, {1, 0}); })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.marking = {{7}}; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.disable_deblocking = 3; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.disable_deblocking = 0, s.alpha = 7; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.disable_deblocking = 2, s.beta = -7; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.qp_delta = 26; })), ElementsAre(10, 20));
    EXPECT_THAT(Shown(Plain, With([](Slice& s) { s.qp_delta = -27; })), ElementsAre(10, 20));
    const PicParamSet Cabac{.cabac = true};
    Stream In({.profile_idc = 77}, Cabac);
    In.Data += SkipSlice(In.Seq, In.Pic, With([](Slice& s) { s.cabac_init_idc = 3; }));
    EXPECT_THAT(In.Values(), IsEmpty());
}

TEST(Pictures, RedundantSlicesAreNeverDecoded)
{
    Stream In({}, {.redundant_pic_cnt_present = true});
    In.Idr(10);
    Slice Redundant = At(1, 2);
    Redundant.redundant_pic_cnt = 1;
    In.Intra(20, At(1, 2)).Intra(99, Redundant).Intra(30, At(2, 4));
    EXPECT_THAT(In.Values(), ElementsAre(10, 20, 30));
}

TEST(Pictures, RepeatedFirstMacroblockOpensAPicture)
{
    EXPECT_THAT(Stream().Idr(10).Intra(20, At(1, 2)).Intra(21, At(1, 2)).Values(), testing::SizeIs(3));
}

TEST(Pictures, SlicesOfOnePictureInAnyOrder)
{
    for (const bool Swapped : {false, true}) {
        Stream In({.width_mbs = 2});
        const Slice Left{.nal_unit_type = 5}, Right{.nal_unit_type = 5, .first_mb = 1};
        const Bytes a = PcmSlice(In.Seq, In.Pic, Left, 10), b = PcmSlice(In.Seq, In.Pic, Right, 20);
        In.Data += Swapped ? b + a : a + b;
        const auto Pictures = test::DecodeAll(In.Data);
        ASSERT_EQ(Pictures.size(), 1u);
        EXPECT_EQ(Pictures[0][0], 10);
        EXPECT_EQ(Pictures[0][16], 20);
    }
}

TEST(Pictures, LossOfTheFirstSliceHidesThePictureOnly)
{
    Stream In({.width_mbs = 2});
    In.Data += PcmSlice(In.Seq, In.Pic, {.nal_unit_type = 5}, 10, 2);
    Slice Right = At(1, 2);
    Right.first_mb = 1;
    In.Data += PcmSlice(In.Seq, In.Pic, Right, 20);       // its left half is lost
    In.Data += CopySlice(In.Seq, In.Pic, At(2, 4), 0, 2); // predicted from it
    const auto Pictures = test::DecodeAll(In.Data);
    ASSERT_EQ(Pictures.size(), 2u);
    EXPECT_EQ(Pictures[1][16], 20) << "the part that came is a reference";
}

TEST(Pictures, CroppingAndOddSizes)
{
    Stream In({.cropping = true, .crop = {1, 2, 0, 3}});
    const auto Pictures = test::DecodeAll(In.Idr(10).Data);
    ASSERT_EQ(Pictures.size(), 1u);
    EXPECT_EQ(Pictures[0].size(), 10u * 10 * 3 / 2);
    EXPECT_THAT(DecodeValues(Stream({.cropping = true, .crop = {8, 0, 0, 0}}).Idr(10).Data), IsEmpty());
}

TEST(Pictures, ChangeOfSizeAtAnIdrPicture)
{
    Stream In;
    In.Idr(10).Copy(0, At(1, 2));
    In.Seq.width_mbs = 3;
    In.Data += Write(In.Seq) + Write(In.Pic) + PcmSlice(In.Seq, In.Pic, {.nal_unit_type = 5, .idr_pic_id = 1}, 20, 3);
    In.Data += CopySlice(In.Seq, In.Pic, At(1, 2), 0, 3);
    const auto Pictures = test::DecodeAll(In.Data);
    ASSERT_EQ(Pictures.size(), 4u);
    EXPECT_EQ(Pictures[1].size(), 384u);
    EXPECT_EQ(Pictures[3].size(), 3 * 384u);
    EXPECT_EQ(Pictures[3][0], 20);
}

TEST(Pictures, ChangeOfSizeWithoutAnIdrPictureIsSurvived)
{
    Stream In;
    In.Idr(10).Copy(0, At(1, 2));
    In.Seq.width_mbs = 3;
    In.Data += Write(In.Seq) + Write(In.Pic) + CopySlice(In.Seq, In.Pic, At(2, 4), 0, 3);
    EXPECT_EQ(test::DecodeAll(In.Data).size(), 3u);
}

TEST(OrderCounts, TypeOneFollowsTheCycle)
{
    // A reference every 4 counts, a picture between them 2 earlier: sent after its follower, shown before it.
    Stream In({.poc_type = 1, .offset_for_ref_frame = {4}, .offset_for_non_ref_pic = -2});
    In.Idr(10).Intra(30, At(1, 0)).Intra(20, At(2, 0, 0)).Intra(50, At(2, 0)).Intra(40, At(3, 0, 0));
    EXPECT_THAT(In.Values(), ElementsAre(10, 20, 30, 40, 50));
}

TEST(OrderCounts, TypeTwoIsDecodingOrder)
{
    Stream In({.poc_type = 2});
    In.Idr(10);
    for (uint32_t i = 1; i < 40; ++i) In.Intra(static_cast<uint8_t>(10 + i), At(i & 15, 0));
    std::vector<int> Expected;
    for (int i = 0; i < 40; ++i) Expected.push_back(10 + i);
    EXPECT_EQ(In.Values(), Expected) << "frame_num wraps twice";
}

TEST(OrderCounts, TypeZeroWraps)
{
    Stream In({.log2_max_poc_lsb = 4});
    In.Idr(10);
    std::vector<int> Expected{10};
    for (uint32_t i = 1; i < 30; ++i) {
        In.Intra(static_cast<uint8_t>(10 + i), At(i & 15, i * 2 & 15));
        Expected.push_back(static_cast<int>(10 + i));
    }
    EXPECT_EQ(In.Values(), Expected);
}

TEST(References, ListOfAPSliceGoesBackInTime)
{
    for (uint32_t RefIdx = 0; RefIdx < 3; ++RefIdx) {
        Stream In({.num_ref_frames = 3}, {.num_ref_idx = {3, 1}});
        In.Idr(10).Intra(20, At(1, 2)).Intra(30, At(2, 4)).Copy(RefIdx, At(3, 6, 0));
        EXPECT_THAT(In.Values(), ElementsAre(10, 20, 30, 30 - 10 * static_cast<int>(RefIdx)));
    }
}

TEST(References, SlidingWindowDropsTheOldest)
{
    Stream In({.num_ref_frames = 2}, {.num_ref_idx = {3, 1}});
    In.Idr(10).Intra(20, At(1, 2)).Intra(30, At(2, 4)).Copy(2, At(3, 6, 0));
    EXPECT_THAT(In.Values(), ElementsAre(10, 20, 30, 20)) << "the missing third entry is the list's last one";
}

TEST(References, ReorderingMovesOnePictureForward)
{
    Stream In({.num_ref_frames = 3}, {.num_ref_idx = {3, 1}});
    In.Idr(10).Intra(20, At(1, 2)).Intra(30, At(2, 4));
    for (uint32_t RefIdx = 0; RefIdx < 3; ++RefIdx) {
        Slice s = At(3, 6 + 2 * RefIdx, 0);
        s.reordering[0] = {{0, 2}}; // three frame numbers back
        In.Copy(RefIdx, s);
    }
    EXPECT_THAT(In.Values(), ElementsAre(10, 20, 30, 10, 30, 20));
}

TEST(References, ReorderingToALostPictureLeavesTheLastInitialEntry)
{
    Stream In({.num_ref_frames = 3}, {.num_ref_idx = {2, 1}});
    In.Idr(10).Intra(20, At(1, 2));
    Slice s = At(3, 6, 0);
    s.reordering[0] = {{0, 0}}; // frame 2 never came
    In.Copy(0, s).Copy(1, [&] {
        Slice t = s;
        t.poc_lsb = 8;
        return t;
    }());
    EXPECT_THAT(In.Values(), ElementsAre(10, 20, 10, 20));
}

TEST(References, ReorderingWrapsAroundFrameNumbers)
{
    Stream In({.num_ref_frames = 3}, {.num_ref_idx = {3, 1}});
    In.Idr(10);
    for (uint32_t i = 1; i < 18; ++i) In.Intra(static_cast<uint8_t>(10 + i), At(i & 15, i * 2));
    Slice s = At(2, 36, 0); // frame 18; the references are 15, 16 and 17
    s.reordering[0] = {{0, 2}};
    In.Copy(0, s);
    EXPECT_EQ(In.Values().back(), 25);
}

TEST(References, LongTermPictures)
{
    Stream In({.num_ref_frames = 3}, {.num_ref_idx = {3, 1}});
    Slice Idr;
    Idr.long_term_reference = true;
    In.Idr(10, Idr).Intra(20, At(1, 2)).Intra(30, At(2, 4)).Intra(40, At(3, 6));
    In.Copy(2, At(4, 8, 0)); // short-term ones first
    Slice Reordered = At(4, 10, 0);
    Reordered.reordering[0] = {{2, 0}};
    In.Copy(0, Reordered);
    EXPECT_THAT(In.Values(), ElementsAre(10, 20, 30, 40, 10, 10));
}

TEST(References, MarkingCommands)
{
    const auto Values = [](std::vector<std::vector<uint32_t>> Marking, uint32_t RefIdx) {
        Stream In({.num_ref_frames = 4}, {.num_ref_idx = {4, 1}});
        In.Idr(10).Intra(20, At(1, 2)).Intra(30, At(2, 4));
        Slice s = At(3, 6);
        s.marking = std::move(Marking);
        return In.Intra(40, s).Copy(RefIdx, At(4, 8, 0)).Values().back();
    };
    EXPECT_EQ(Values({}, 1), 30);
    EXPECT_EQ(Values({{1, 0}}, 1), 20) << "picture 2 removed";
    EXPECT_EQ(Values({{1, 1}}, 1), 30);
    EXPECT_EQ(Values({{1, 1}}, 2), 10) << "picture 1 removed";
    EXPECT_EQ(Values({{4, 1}, {3, 0, 0}}, 3), 30) << "picture 2 became long-term and goes last";
    EXPECT_EQ(Values({{4, 2}, {3, 0, 0}, {3, 1, 0}}, 2), 20) << "the index passed on to picture 1";
    EXPECT_EQ(Values({{4, 1}, {3, 0, 0}, {2, 0}}, 2), 10) << "long-term picture removed";
    EXPECT_EQ(Values({{4, 1}, {3, 0, 0}, {4, 0}}, 2), 10) << "all long-term indices removed";
    EXPECT_EQ(Values({{4, 1}, {6, 0}}, 0), 30) << "the picture itself is long-term, behind the others";
    EXPECT_EQ(Values({{4, 1}, {6, 0}}, 3), 40);
}

TEST(References, MemoryResetStartsTheCountAnew)
{
    Stream In({.num_ref_frames = 4}, {.num_ref_idx = {1, 1}});
    In.Idr(10).Intra(20, At(1, 20));
    Slice s = At(2, 40);
    s.marking = {{5}};
    In.Intra(30, s).Copy(0, At(1, 2)).Intra(50, At(2, 4));
    EXPECT_THAT(In.Values(), ElementsAre(10, 20, 30, 30, 50));
}

TEST(References, BSliceWithOneReferenceHasItInBothLists)
{
    Stream In({.profile_idc = 77});
    In.Idr(60);
    for (const bool Spatial : {true, false}) {
        Slice s = At(1, Spatial ? 2 : 4, 0);
        s.slice_type = 6;
        s.spatial_direct = Spatial;
        In.Data += SkipSlice(In.Seq, In.Pic, s);
    }
    EXPECT_THAT(In.Values(), ElementsAre(60, 60, 60));
}

TEST(Gaps, FramesOfAGapAreNeverShown)
{
    Stream In({.num_ref_frames = 4, .gaps_allowed = true}, {.num_ref_idx = {4, 1}});
    In.Idr(10).Copy(0, At(3, 6, 0)); // frames 1 and 2 were left out: the nearest reference is grey
    const auto Values = In.Values();
    EXPECT_THAT(Values, ElementsAre(10, 128));
    Stream Far({.num_ref_frames = 4, .gaps_allowed = true}, {.num_ref_idx = {4, 1}});
    Far.Idr(10).Copy(2, At(3, 6, 0));
    EXPECT_THAT(Far.Values(), ElementsAre(10, 10)) << "behind two made up";
}

TEST(Gaps, LongGapsInEveryPictureKeepTheDecoderRunning)
{
    Stream In({.level_idc = 10, .num_ref_frames = 4, .gaps_allowed = true, .width_mbs = 11, .height_map_units = 9});
    In.Data += PcmSlice(In.Seq, In.Pic, {.nal_unit_type = 5}, 10, 99);
    for (uint32_t i = 1; i < 30; ++i) In.Data += CopySlice(In.Seq, In.Pic, At(i * 7 & 15, i * 2), 0, 99);
    EXPECT_EQ(In.Values().size(), 30u);
}

TEST(Gaps, WithoutTheFlagReferencesAreReplaced)
{
    Stream In({.num_ref_frames = 4}, {.num_ref_idx = {4, 1}});
    In.Idr(10).Intra(20, At(1, 2)).Copy(3, At(5, 10, 0));
    EXPECT_THAT(In.Values(), ElementsAre(10, 20, 10));
}

TEST(Robustness, MoreReferencesThanTheLevelAllowsDoNotStopTheDecoder)
{
    // Level 1 has no room for a frame of this size at all.
    Stream In({.level_idc = 10, .num_ref_frames = 16, .width_mbs = 40, .height_map_units = 30});
    In.Data += PcmSlice(In.Seq, In.Pic, {.nal_unit_type = 5}, 10, 1200);
    for (uint32_t i = 1; i < 40; ++i) In.Data += CopySlice(In.Seq, In.Pic, At(i & 15, i * 2), 0, 1200);
    EXPECT_EQ(In.Values().size(), 40u);
}

TEST(Robustness, LongTermPicturesWithoutEndDoNotStopTheDecoder)
{
    Stream In({.level_idc = 10, .num_ref_frames = 1, .width_mbs = 11, .height_map_units = 9});
    In.Data += PcmSlice(In.Seq, In.Pic, {.nal_unit_type = 5}, 10, 99);
    for (uint32_t i = 1; i < 60; ++i) {
        Slice s = At(i & 15, i * 2);
        s.marking = {{4, 31}, {6, i % 31}};
        In.Data += PcmSlice(In.Seq, In.Pic, s, 20, 99);
    }
    In.Data += PcmSlice(In.Seq, In.Pic, {.nal_unit_type = 5, .idr_pic_id = 1}, 77, 99);
    const auto Values = In.Values();
    ASSERT_FALSE(Values.empty());
    EXPECT_EQ(Values.back(), 77);
}

TEST(Robustness, StreamCutAtEveryByte)
{
    Stream In({.num_ref_frames = 2, .gaps_allowed = true}, {.num_ref_idx = {2, 1}});
    In.Idr(10);
    In.Copy(0, At(1, 2)).Copy(1, At(2, 4)).Copy(0, At(4, 8));
    for (size_t Size = 1; Size < In.Data.size(); Size += Size < 60 || Size + 80 > In.Data.size() ? 1 : 17)
        EXPECT_LE(DecodeValues(Bytes(In.Data.begin(), In.Data.begin() + static_cast<ptrdiff_t>(Size))).size(), 4u);
}

} // namespace
