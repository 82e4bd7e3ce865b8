// The encoder's front: statuses, picture types, access units, and what a client may rely on between calls.
#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "tests/encoder/encoder_testing.h"
#include "tests/support/ffmpeg_oracle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>

namespace {

using namespace encoder_testing;
using namespace UMC_H264_ENCODER;
using UMC::H264EncoderParams;

constexpr int32_t kWidth = 96, kHeight = 80;

H264EncoderParams SmallParams()
{
    H264EncoderParams p = SizedParams(kWidth, kHeight);
    p.m_Info.m_Bitrate = 200000;
    return p;
}

UMC::Status InitResult(const std::function<void(H264EncoderParams&)>& Set)
{
    H264EncoderParams p = SmallParams();
    Set(p);
    return UMC::H264VideoEncoder().Init(&p);
}

TEST(EncoderInit, Statuses)
{
    EXPECT_EQ(UMC::H264VideoEncoder().Init(nullptr), UMC::StatusNullPointer);
    UMC::BaseCodecParams Other;
    EXPECT_EQ(UMC::H264VideoEncoder().Init(&Other), UMC::StatusInitFailed);
    EXPECT_EQ(InitResult([](auto&) {}), UMC::StatusOk);
    EXPECT_EQ(InitResult([](auto& p) { p.m_Info.m_Width = 0; }), UMC::StatusInitFailed);
    EXPECT_EQ(InitResult([](auto& p) { p.m_Info.m_Height = -1; }), UMC::StatusInitFailed);
    EXPECT_EQ(InitResult([](auto& p) { p.profile_idc = 1; }), UMC::StatusInvalidParams);
    EXPECT_EQ(InitResult([](auto& p) { p.chroma_format_idc = 3; }), UMC::StatusNotImplemented);
    EXPECT_EQ(InitResult([](auto& p) { p.chroma_format_idc = -1; }), UMC::StatusInvalidParams);
    EXPECT_EQ(InitResult([](auto& p) { p.aux_format_idc = 1; }), UMC::StatusOk);
    EXPECT_EQ(InitResult([](auto& p) { p.aux_format_idc = 4; }), UMC::StatusInvalidParams);
    EXPECT_EQ(InitResult([](auto& p) { p.num_b_frames = INT32_MAX; }), UMC::StatusAllocFailed);
    EXPECT_EQ(InitResult([](auto& p) { p.coding_type = 2; }), UMC::StatusOk);
}

TEST(EncoderInit, TakesAPlainRecord)
{
    UMC::VideoEncoderParams Plain;
    Plain.m_Info.m_Width = kWidth;
    Plain.m_Info.m_Height = kHeight;
    Plain.m_Info.m_Bitrate = 123456;
    Plain.m_Info.m_FrameRate = 12.0;
    UMC::H264VideoEncoder e;
    ASSERT_EQ(e.Init(&Plain), UMC::StatusOk);
    H264EncoderParams Back;
    ASSERT_EQ(e.GetInfo(&Back), UMC::StatusOk);
    EXPECT_EQ(Back.m_Info.m_Bitrate, 123456);
    EXPECT_EQ(Back.m_Info.m_FrameRate, 12.0);
    EXPECT_EQ(Back.profile_idc, 77);
    EXPECT_EQ(Back.level_idc, 10);
}

TEST(EncoderInfo, GivesTheSettingsInForce)
{
    Driver d(SmallParams());
    UMC::VideoEncoderParams Plain;
    EXPECT_EQ(d.Encoder().GetInfo(&Plain), UMC::StatusOk);
    EXPECT_EQ(Plain.m_Quality, 100);
    EXPECT_EQ(Plain.m_Info.m_StreamType, 384u);
    EXPECT_EQ(Plain.m_Info.m_Width, kWidth);
    UMC::BaseCodecParams Other;
    EXPECT_EQ(d.Encoder().GetInfo(&Other), UMC::StatusInvalidParams);
    EXPECT_EQ(d.Encoder().GetInfo(nullptr), UMC::StatusNullPointer);
}

TEST(EncoderInfo, GivesTheRatesThatSetParamsAskedFor)
{
    H264EncoderParams p = SmallParams(), Full;
    Driver d(p);
    p.m_Info.m_Bitrate = 77000;
    p.m_Info.m_FrameRate = 11.0;
    ASSERT_EQ(d.Encoder().SetParams(&p), UMC::StatusOk);
    UMC::VideoEncoderParams Plain;
    for (UMC::VideoEncoderParams* pInfo : {&Plain, static_cast<UMC::VideoEncoderParams*>(&Full)}) {
        ASSERT_EQ(d.Encoder().GetInfo(pInfo), UMC::StatusOk);
        EXPECT_EQ(pInfo->m_Info.m_Bitrate, 77000);
        EXPECT_EQ(pInfo->m_Info.m_FrameRate, 11.0);
    }
}

TEST(EncoderFront, CloseAndReset)
{
    Driver d(SmallParams());
    EXPECT_EQ(d.Encoder().Close(), UMC::StatusOk);
    EXPECT_EQ(d.Encoder().Reset(), UMC::StatusUnsupported);
    auto Clip = MakeClip(Scene::Pan, kWidth, kHeight, 1);
    EXPECT_EQ(d.Encode(Clip[0]).Result, UMC::StatusOk); // Close leaves the encoder at work
}

TEST(EncoderFront, NeedsInitInputAndOutput)
{
    UMC::H264VideoEncoder e;
    UMC::MediaData Out(1000), NoPicture(1000);
    EXPECT_EQ(e.GetFrame(nullptr, &Out), UMC::StatusNotInitialized);
    H264EncoderParams p = SmallParams();
    EXPECT_EQ(e.GetInfo(&p), UMC::StatusNotInitialized);
    EXPECT_EQ(e.SetParams(&p), UMC::StatusNotInitialized);
    Driver d(SmallParams());
    EXPECT_EQ(d.Encoder().GetFrame(&NoPicture, &Out), UMC::StatusInvalidParams);
    EXPECT_EQ(d.Encoder().GetFrame(nullptr, nullptr), UMC::StatusNullPointer);
    UMC::VideoData NoPixels;
    NoPixels.Init(kWidth, kHeight, UMC::YUV420, 8);
    EXPECT_EQ(d.Encoder().GetFrame(&NoPixels, &Out), UMC::StatusInvalidParams);
}

// With an alpha plane to code, an input without one is refused, and so is one with chroma where none is coded.
TEST(EncoderFront, TakesTheNumberOfPlanesThatAnAuxiliaryPictureNeeds)
{
    for (const auto& [Chroma, Format, Wanted] :
         {std::tuple{1, UMC::YUV420, UMC::StatusInvalidParams}, std::tuple{1, UMC::GRAYA, UMC::StatusInvalidParams},
          std::tuple{1, UMC::YUVA420, UMC::StatusOk}, std::tuple{0, UMC::GRAY, UMC::StatusInvalidParams},
          std::tuple{0, UMC::YUVA420, UMC::StatusInvalidParams}, std::tuple{0, UMC::GRAYA, UMC::StatusOk}}) {
        H264EncoderParams p = SmallParams();
        p.aux_format_idc = 1;
        p.chroma_format_idc = Chroma;
        UMC::H264VideoEncoder e;
        ASSERT_EQ(e.Init(&p), UMC::StatusOk);
        UMC::VideoData Input;
        ASSERT_EQ(Input.Init(kWidth, kHeight, Format, 8), UMC::StatusOk);
        Picture Source(Input.GetMappingSize(), 128);
        Input.SetBufferPointer(Source.data(), Source.size());
        UMC::MediaData Out(1 << 20);
        EXPECT_EQ(e.GetFrame(&Input, &Out), Wanted) << Chroma << ' ' << Format;
        EXPECT_EQ(Out.GetDataSize() > 0, Wanted == UMC::StatusOk);
    }
}

TEST(EncoderFront, ANegativeCodingTypeIsNoStructureOfPictures)
{
    H264EncoderParams p = SmallParams();
    p.coding_type = -1;
    Driver d(p);
    ASSERT_EQ(d.InitResult(), UMC::StatusOk);
    auto Clip = MakeClip(Scene::Pan, kWidth, kHeight, 1);
    EXPECT_EQ(d.Encode(Clip[0]).Result, UMC::StatusUnsupported);
}

TEST(EncoderFront, NothingToFlush)
{
    Driver d(SmallParams());
    EXPECT_EQ(d.Flush().Result, UMC::StatusEndOfSegment);
    auto Clip = MakeClip(Scene::Pan, kWidth, kHeight, 1);
    EXPECT_EQ(d.Encode(Clip[0]).Result, UMC::StatusOk);
    EXPECT_EQ(d.Flush().Result, UMC::StatusEndOfSegment);
}

TEST(EncoderFront, TheFirstPictureCannotBePredicted)
{
    Driver d(SmallParams());
    auto Clip = MakeClip(Scene::Pan, kWidth, kHeight, 2);
    EXPECT_EQ(d.Encode(Clip[0], UMC::P_PICTURE).Result, UMC::StatusNotEnoughData);
    EXPECT_EQ(d.Encode(Clip[0], UMC::B_PICTURE).Result, UMC::StatusNotEnoughData);
    EXPECT_EQ(d.Encode(Clip[0]).Type, UMC::I_PICTURE);
    EXPECT_EQ(d.Encode(Clip[1], UMC::P_PICTURE).Type, UMC::P_PICTURE);
}

// What is refused leaves no trace: the stream is that of the pictures that were taken.
TEST(EncoderFront, AFirstPictureMarkedAsBIsRefusedAndTheStreamGoesOn)
{
    H264EncoderParams p = SmallParams();
    p.key_frame_interval = 4;
    Driver d(p), Without(p);
    auto Clip = MakeClip(Scene::Pan, kWidth, kHeight, 10);
    const AccessUnit u = d.Encode(Clip[0], UMC::B_PICTURE);
    EXPECT_EQ(u.Result, UMC::StatusNotEnoughData);
    EXPECT_TRUE(u.Bytes.empty());
    for (Picture& Source : Clip) {
        EXPECT_EQ(d.Encode(Source).Result, UMC::StatusOk);
        Without.Encode(Source);
    }
    EXPECT_EQ(d.Stream, Without.Stream);
}

TEST(EncoderFront, APictureMarkedAsBWaitsForTheAnchorBehindIt)
{
    H264EncoderParams p = SmallParams();
    p.num_b_frames = 1;
    Driver d(p);
    auto Clip = MakeClip(Scene::Pan, kWidth, kHeight, 4);
    EXPECT_EQ(d.Encode(Clip[0]).Type, UMC::I_PICTURE);
    EXPECT_EQ(d.Encode(Clip[1], UMC::P_PICTURE).Type, UMC::P_PICTURE);
    const AccessUnit Held = d.Encode(Clip[2], UMC::B_PICTURE);
    EXPECT_EQ(Held.Result, UMC::StatusOk);
    EXPECT_TRUE(Held.Bytes.empty());
    const AccessUnit Anchor = d.Encode(Clip[3], UMC::P_PICTURE), Late = d.Flush();
    EXPECT_EQ(Anchor.Type, UMC::P_PICTURE);
    EXPECT_EQ(Anchor.Time, 3.0);
    EXPECT_EQ(Late.Type, UMC::B_PICTURE);
    EXPECT_EQ(Late.Time, 2.0);
    EXPECT_EQ(d.Flush().Result, UMC::StatusEndOfSegment);
}

TEST(EncoderFront, APictureWithoutPixelsDoesNotUseUpAKeyPicture)
{
    H264EncoderParams p = SmallParams();
    p.key_frame_interval = 3;
    p.idr_interval = 1;
    Driver d(p), Without(p);
    auto Clip = MakeClip(Scene::Pan, kWidth, kHeight, 7);
    UMC::VideoData NoPixels;
    NoPixels.Init(kWidth, kHeight, UMC::YUV420, 8);
    UMC::MediaData Out(1000);
    for (size_t i = 0; i < Clip.size(); ++i) {
        if (i % 3 == 0) { // where a key picture is due
            EXPECT_EQ(d.Encoder().GetFrame(&NoPixels, &Out), UMC::StatusInvalidParams);
            EXPECT_EQ(Out.GetDataSize(), 0u);
        }
        d.Encode(Clip[i]);
        Without.Encode(Clip[i]);
    }
    EXPECT_EQ(d.Stream, Without.Stream);
}

TEST(EncoderFront, TypeAndTimeTravelToTheOutput)
{
    Driver d(SmallParams());
    auto Clip = MakeClip(Scene::Pan, kWidth, kHeight, 3);
    for (int i = 0; i < 3; ++i) {
        const AccessUnit u = d.Encode(Clip[static_cast<size_t>(i)]);
        EXPECT_EQ(u.Time, i);
        EXPECT_EQ(u.Type, i == 0 ? UMC::I_PICTURE : UMC::P_PICTURE);
    }
}

TEST(EncoderFront, BothTimesTravelToTheOutput)
{
    H264EncoderParams p = SmallParams();
    UMC::H264VideoEncoder e;
    ASSERT_EQ(e.Init(&p), UMC::StatusOk);
    UMC::VideoData Input;
    InitInput(p, Input);
    Picture Source(Input.GetMappingSize(), 128);
    Input.SetBufferPointer(Source.data(), Source.size());
    Input.SetTime(3.5, 4.25);
    UMC::MediaData Out(1 << 20);
    ASSERT_EQ(e.GetFrame(&Input, &Out), UMC::StatusOk);
    double Start = 0.0, End = 0.0;
    Out.GetTime(Start, End);
    EXPECT_EQ(Start, 3.5);
    EXPECT_EQ(End, 4.25);
}

std::vector<int32_t> NalTypes(const std::vector<uint8_t>& Stream)
{
    std::vector<int32_t> Types;
    for (const NalUnit& n : SplitNalUnits(Stream)) Types.push_back(n.Type);
    return Types;
}

TEST(AccessUnits, ParameterSetsGoAheadOfEachIdrPicture)
{
    H264EncoderParams p = SmallParams();
    p.key_frame_interval = 3;
    p.idr_interval = 1;
    Driver d(p);
    for (Picture& Source : MakeClip(Scene::Pan, kWidth, kHeight, 7)) d.Encode(Source);
    EXPECT_EQ(NalTypes(d.Stream), (std::vector<int32_t>{7, 8, 5, 1, 1, 7, 8, 5, 1, 1, 7, 8, 5}));
    for (const NalUnit& n : SplitNalUnits(d.Stream)) {
        EXPECT_EQ(n.RefIdc, 1);
        EXPECT_TRUE(n.bLongStartCode);
    }
}

TEST(AccessUnits, OnlyTheFirstUnitHasALongStartCode)
{
    H264EncoderParams p = SmallParams();
    p.write_access_unit_delimiters = 1;
    p.num_slices = 3;
    Driver d(p);
    auto Clip = MakeClip(Scene::Pan, kWidth, kHeight, 2);
    const auto First = SplitNalUnits(d.Encode(Clip[0]).Bytes), Second = SplitNalUnits(d.Encode(Clip[1]).Bytes);
    ASSERT_EQ(First.size(), 6u);
    EXPECT_EQ(First[0].Type, 9);
    EXPECT_EQ(First[0].RefIdc, 0);
    EXPECT_EQ(First[0].Payload[0] >> 5, 0); // primary_pic_type: I
    for (size_t i = 0; i < 6; ++i) EXPECT_EQ(First[i].bLongStartCode, i < 3) << i;
    ASSERT_EQ(Second.size(), 4u);
    EXPECT_EQ(Second[0].Payload[0] >> 5, 1);
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(Second[i].bLongStartCode, i == 0) << i;
}

TEST(AccessUnits, ADelimiterTellsTheTypesOfSlices)
{
    H264EncoderParams p = SmallParams();
    p.write_access_unit_delimiters = 1;
    p.num_b_frames = 1;
    Driver d(p);
    EXPECT_EQ(d.EncodeAll(MakeClip(Scene::Pan, kWidth, kHeight, 4)), "IPBP");
    std::vector<int32_t> Types;
    for (const NalUnit& n : SplitNalUnits(d.Stream))
        if (n.Type == 9) Types.push_back(n.Payload[0]);
    EXPECT_EQ(Types, (std::vector<int32_t>{0x10, 0x30, 0x50, 0x30})); // primary_pic_type and the stop bit
}

// Each field is an access unit of its own; an auxiliary picture belongs to that of its primary one, and yet has all
// that goes ahead of a picture again, which is deliberate.
TEST(AccessUnits, WhatGoesAheadIsRepeatedForFieldsAndAuxiliaryPictures)
{
    const auto Units = [](int32_t CodingType, int32_t Aux) {
        H264EncoderParams p = SmallParams();
        p.write_access_unit_delimiters = 1;
        p.coding_type = CodingType;
        p.aux_format_idc = Aux;
        UMC::H264VideoEncoder e;
        EXPECT_EQ(e.Init(&p), UMC::StatusOk);
        UMC::VideoData Input;
        Input.Init(kWidth, kHeight, Aux ? UMC::YUVA420 : UMC::YUV420, 8);
        Picture Source(Input.GetMappingSize(), 128);
        Input.SetBufferPointer(Source.data(), Source.size());
        UMC::MediaData Out(1 << 20);
        EXPECT_EQ(e.GetFrame(&Input, &Out), UMC::StatusOk);
        const auto* const pData = static_cast<const uint8_t*>(Out.GetDataPointer());
        std::string Text; // types, and a bar ahead of a long start code
        for (const NalUnit& n : SplitNalUnits({pData, pData + Out.GetDataSize()}))
            Text += (n.bLongStartCode ? "|" : " ") + std::to_string(n.Type);
        return Text;
    };
    EXPECT_EQ(Units(0, 0), "|9|7|8 5");
    EXPECT_EQ(Units(1, 0), "|9|7|8 5|9 1");
    EXPECT_EQ(Units(0, 1), "|9|7 13|8 5 9|7 13|8 19");
    EXPECT_EQ(Units(1, 1), "|9|7 13|8 5 9|7 13|8 19|9 1 9 19");
}

// Fields of 16x32 are two macroblocks, and a frame of 16x32 is one pair.
TEST(AccessUnits, ASliceWithoutMacroblocksIsNoUnit)
{
    for (const auto& [CodingType, Height, Slices] : {std::tuple{1, 48, 3}, std::tuple{2, 32, 2}}) {
        H264EncoderParams p = SizedParams(16, Height);
        p.coding_type = CodingType;
        p.num_slices = static_cast<int16_t>(Slices);
        Driver d(p);
        auto Clip = MakeClip(Scene::Pan, 16, Height, 1);
        const std::vector<int32_t> Types = NalTypes(d.Encode(Clip[0]).Bytes);
        EXPECT_EQ(Types, CodingType == 1 ? (std::vector<int32_t>{7, 8, 5, 1}) : (std::vector<int32_t>{7, 8, 5}));
    }
}

// first_mb_in_slice of each slice.
uint32_t FirstMb(const NalUnit& n)
{
    uint32_t Bits = 0;
    for (size_t i = 0; i < 4; ++i) Bits = Bits << 8 | n.Payload[i];
    const int Zeros = std::countl_zero(Bits);
    return (Bits << Zeros >> (31 - Zeros)) - 1;
}

TEST(AccessUnits, TheLastSliceTakesTheRemainder)
{
    H264EncoderParams p = SizedParams(176, 144);
    p.num_slices = 4;
    Driver d(p);
    auto Clip = MakeClip(Scene::Pan, 176, 144, 1);
    const auto Units = SplitNalUnits(d.Encode(Clip[0]).Bytes);
    ASSERT_EQ(Units.size(), 6u);
    EXPECT_EQ(FirstMb(Units[2]), 0u);
    EXPECT_EQ(FirstMb(Units[3]), 24u);
    EXPECT_EQ(FirstMb(Units[4]), 48u);
    EXPECT_EQ(FirstMb(Units[5]), 72u);
}

std::vector<int32_t> KeyPictures(const H264EncoderParams& p, int Count, bool bIdrOnly)
{
    Driver d(p);
    std::vector<int32_t> Keys;
    auto Clip = MakeClip(Scene::Still, kWidth, kHeight, 1);
    for (int i = 0; i < Count; ++i) {
        const AccessUnit u = d.Encode(Clip[0]);
        const bool bIdr = NalTypes(u.Bytes).back() == 5;
        if (bIdrOnly ? bIdr : u.Type == UMC::I_PICTURE) Keys.push_back(i);
    }
    return Keys;
}

TEST(KeyPictures, AreIdrPicturesAtTheIntervalOfTheClient)
{
    H264EncoderParams p = SmallParams();
    p.key_frame_interval = 15;
    p.idr_interval = 1;
    EXPECT_EQ(KeyPictures(p, 50, true), (std::vector<int32_t>{0, 15, 30, 45}));
    EXPECT_EQ(KeyPictures(p, 50, false), (std::vector<int32_t>{0, 15, 30, 45}));
}

TEST(KeyPictures, WithoutAnIntervalOneIdrPictureAndAnIPictureEveryHundred)
{
    EXPECT_EQ(KeyPictures(SmallParams(), 250, true), (std::vector<int32_t>{0}));
    EXPECT_EQ(KeyPictures(SmallParams(), 250, false), (std::vector<int32_t>{0, 100, 200}));
}

TEST(KeyPictures, EveryThirdIPictureAnIdrPicture)
{
    H264EncoderParams p = SmallParams();
    p.key_frame_interval = 4;
    p.idr_interval = 3;
    EXPECT_EQ(KeyPictures(p, 30, false), (std::vector<int32_t>{0, 4, 8, 12, 16, 20, 24, 28}));
    EXPECT_EQ(KeyPictures(p, 30, true), (std::vector<int32_t>{0, 12, 24}));
}

TEST(KeyPictures, IntervalOneIsIntraOnly)
{
    H264EncoderParams p = SmallParams();
    p.key_frame_interval = 1;
    p.num_b_frames = 3;
    p.num_ref_frames = 4;
    EXPECT_EQ(KeyPictures(p, 4, false), (std::vector<int32_t>{0, 1, 2, 3}));
}

TEST(KeyPictures, AForcedOneIsAnIdrPicture)
{
    Driver d(SmallParams());
    for (int i = 0; i < 6; ++i) {
        auto Clip = MakeClip(Scene::Still, kWidth, kHeight, 1);
        const AccessUnit u = d.Encode(Clip[0], i == 4 ? UMC::I_PICTURE : 0);
        EXPECT_EQ(NalTypes(u.Bytes), i == 0 || i == 4 ? (std::vector<int32_t>{7, 8, 5}) : (std::vector<int32_t>{1}));
    }
}

TEST(OutputBuffer, OneThatIsTooSmallDropsThePictureAndNoMore)
{
    for (const int Small : {0, 1, 4}) { // the picture that meets a small buffer
        Driver d(SmallParams());
        auto Clip = MakeClip(Scene::Pan, kWidth, kHeight, 8);
        for (int i = 0; i < 8; ++i) {
            const AccessUnit u = d.Encode(Clip[static_cast<size_t>(i)], 0, i == Small ? 4 : SIZE_MAX);
            EXPECT_EQ(u.Result, i == Small ? UMC::StatusNotEnoughBuffer : UMC::StatusOk);
            EXPECT_EQ(u.Bytes.empty(), i == Small);
        }
        if (!ffmpeg_oracle::IsInstalled()) GTEST_SKIP() << "no ffmpeg";
        const auto Got = ffmpeg_oracle::Decode(d.Stream);
        EXPECT_EQ(Got.Messages, "");
        Picture Want;
        for (const Picture& p : d.Reconstruction) Want.insert(Want.end(), p.begin(), p.end());
        EXPECT_EQ(d.Reconstruction.size(), 7u);
        EXPECT_TRUE(Got.Pictures == Want) << Small;
    }
}

TEST(OutputBuffer, HasTheRoomToTheByte)
{
    auto Clip = MakeClip(Scene::Noise, kWidth, kHeight, 1);
    H264EncoderParams p = SmallParams();
    p.rate_control_method = 3;
    p.quant_i = 4;
    Driver Free(p);
    const AccessUnit Whole = Free.Encode(Clip[0]);
    ASSERT_EQ(Whole.Result, UMC::StatusOk);
    EXPECT_EQ(Driver(p).Encode(Clip[0], 0, Whole.Bytes.size() - 1).Result, UMC::StatusNotEnoughBuffer);
    EXPECT_EQ(Driver(p).Encode(Clip[0], 0, Whole.Bytes.size() + 1).Bytes, Whole.Bytes);
}

TEST(OutputBuffer, NeedsNoMoreThanTheUnit)
{
    auto Clip = MakeClip(Scene::Pan, kWidth, kHeight, 2);
    const auto Second = [&Clip](size_t Room) {
        Driver d(SmallParams());
        d.Encode(Clip[0]);
        return d.Encode(Clip[1], 0, Room);
    };
    const AccessUnit Whole = Second(SIZE_MAX);
    const auto Prevention = {uint8_t{0}, uint8_t{0}, uint8_t{3}};
    ASSERT_EQ(std::search(Whole.Bytes.begin(), Whole.Bytes.end(), Prevention.begin(), Prevention.end()),
              Whole.Bytes.end());
    EXPECT_EQ(Second(Whole.Bytes.size()).Bytes, Whole.Bytes);
    EXPECT_EQ(Second(Whole.Bytes.size() - 1).Result, UMC::StatusNotEnoughBuffer);
}

TEST(RateChange, Statuses)
{
    H264EncoderParams p = SmallParams();
    Driver d(p);
    EXPECT_EQ(d.Encoder().SetParams(nullptr), UMC::StatusNullPointer);
    UMC::BaseCodecParams Other;
    EXPECT_EQ(d.Encoder().SetParams(&Other), UMC::StatusNullPointer);
    EXPECT_EQ(d.Encoder().SetParams(&p), UMC::StatusUnsupported);
    p.m_Info.m_FrameRate = 10.0;
    EXPECT_EQ(d.Encoder().SetParams(&p), UMC::StatusOk);
    p.m_Info.m_Bitrate *= 2;
    EXPECT_EQ(d.Encoder().SetParams(&p), UMC::StatusOk);
    for (const int32_t Method : {0, 3}) {
        H264EncoderParams q = SmallParams();
        q.rate_control_method = Method;
        Driver Constant(q);
        q.m_Info.m_Bitrate *= 2;
        EXPECT_EQ(Constant.Encoder().SetParams(&q), UMC::StatusUnsupported);
    }
}

TEST(RateChange, TheNextPictureStartsFromTheNewRate)
{
    H264EncoderParams p = SmallParams();
    p.m_Info.m_Bitrate = 30000;
    Driver d(p);
    auto Clip = MakeClip(Scene::Pan, kWidth, kHeight, 6);
    size_t Before = 0, After = 0;
    for (size_t i = 0; i < 3; ++i) Before = d.Encode(Clip[i]).Bytes.size();
    p.m_Info.m_Bitrate = 3000000;
    ASSERT_EQ(d.Encoder().SetParams(&p), UMC::StatusOk);
    const AccessUnit u = d.Encode(Clip[3]);
    After = u.Bytes.size();
    EXPECT_EQ(u.Type, UMC::P_PICTURE); // no new stream
    EXPECT_GT(After, 3 * Before);
}

TEST(StillScene, IsSkippedAfterTheFirstPicture)
{
    H264EncoderParams p = SmallParams();
    p.rate_control_method = 3;
    p.quant_i = p.quant_p = 30;
    Driver d(p);
    auto Clip = MakeClip(Scene::Still, kWidth, kHeight, 1);
    d.Encode(Clip[0]);
    for (int i = 0; i < 3; ++i) {
        // What is left of the coding error may be worth some levels once; after that nothing is.
        const size_t Bytes = d.Encode(Clip[0]).Bytes.size();
        if (i > 0) {
            EXPECT_LT(Bytes, 16u);
        }
    }
    EXPECT_EQ(d.Reconstruction[2], d.Reconstruction[3]);
}

TEST(InputPicture, IsReadDuringTheCallOnly)
{
    Driver a(SmallParams()), b(SmallParams());
    auto Clip = MakeClip(Scene::Pan, kWidth, kHeight, 3);
    for (Picture& Source : Clip) {
        const Picture Kept = Source;
        const AccessUnit First = a.Encode(Source);
        EXPECT_EQ(Source, Kept); // and not written
        Picture Copy = Source;
        const AccessUnit Second = b.Encode(Copy);
        std::fill(Copy.begin(), Copy.end(), uint8_t{0});
        EXPECT_EQ(First.Bytes, Second.Bytes);
    }
}

TEST(TwoEncoders, ShareNothing)
{
    Driver Alone(SmallParams());
    std::vector<uint8_t> Want;
    auto Clip = MakeClip(Scene::Pan, kWidth, kHeight, 6), OtherClip = MakeClip(Scene::Noise, 48, 48, 6);
    for (Picture& p : Clip) Alone.Encode(p);
    Driver a(SmallParams()), b(SizedParams(48, 48));
    for (size_t i = 0; i < 6; ++i) {
        a.Encode(Clip[i]);
        b.Encode(OtherClip[i]);
    }
    EXPECT_EQ(a.Stream, Alone.Stream);
}

} // namespace
