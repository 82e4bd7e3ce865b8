// The software engine's sessions: rates as the encoder below gets them, what failures say, what a release leaves.
#include "encoder/session/video_encoder.h"
#include "encoder/state/encoder_params.h"
#include "front/VCodec_H264.h"
#include "front/closed_decoders.h"
#include "media/umc_video_data.h"
#include "tests/front/out_of_memory.h"
#include "tests/support/recording_log.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using namespace out_of_memory;

namespace {

constexpr int kRatePictures = 6;

// A stream through the wrapper; iKbps and iFramesPerSecond as a client gives them.
Bytes StreamOf(int32_t iKbps, int32_t iFramesPerSecond = 15)
{
    Bytes All;
    IVCodec* const pCodec = new CVCodec_H264;
    EXPECT_EQ(pCodec->InitEncoder(kSize.Width, kSize.Height, iFramesPerSecond, 4, iKbps), 1);
    Unit Out;
    for (int i = 0; i < kRatePictures; ++i) {
        EXPECT_EQ(Encode(*pCodec, i, Out), 1);
        const Bytes Copy = Out.Copy();
        All.insert(All.end(), Copy.begin(), Copy.end());
    }
    pCodec->Release();
    return All;
}

// The same by the encoder itself.
Bytes StreamOfEncoder(int32_t BitsPerSecond, double FrameRate = 15.0)
{
    UMC::H264EncoderParams Params;
    Params.m_Info.m_Width = kSize.Width;
    Params.m_Info.m_Height = kSize.Height;
    Params.m_Info.m_FrameRate = FrameRate;
    Params.m_Info.m_Bitrate = BitsPerSecond;
    Params.num_frames = 850000000;
    Params.num_b_frames = 0;
    Params.key_frame_method = 1;
    Params.key_frame_interval = 4;
    Params.idr_interval = 1;
    Params.m_NumThreads = 1;
    UMC::H264VideoEncoder Encoder;
    EXPECT_EQ(Encoder.Init(&Params), UMC::StatusOk);
    UMC::VideoData Input;
    Input.Init(kSize.Width, kSize.Height, UMC::YUV420, 8);
    UMC::MediaData Output(size_t{kSize.LumaBytes()} * 3 * kRatePictures);
    for (int i = 0; i < kRatePictures; ++i) {
        Bytes Picture = Pictures()[static_cast<size_t>(i)];
        Input.SetBufferPointer(Picture.data(), Picture.size());
        Input.SetTime(i, 0.0);
        EXPECT_EQ(Encoder.GetFrame(&Input, &Output), UMC::StatusOk);
    }
    const auto* const pBytes = static_cast<const uint8_t*>(Output.GetDataPointer());
    return {pBytes, pBytes + Output.GetDataSize()};
}

} // namespace

// ---- Rates --------------------------------------------------------------------------------------------------------

TEST(SoftwareRate, ARateOfZeroOrBelowIsTheEncodersOwn)
{
    const Bytes Own = StreamOfEncoder(2222222);
    EXPECT_EQ(StreamOf(0), Own);
    EXPECT_EQ(StreamOf(-5), Own);
    EXPECT_NE(StreamOfEncoder(2222), Own) << "the pictures tell rates apart";
}

TEST(SoftwareRate, KilobitsAreThousandsOfBits)
{
    EXPECT_EQ(StreamOf(20), StreamOfEncoder(20000));
    EXPECT_NE(StreamOf(20), StreamOfEncoder(20480));
}

TEST(SoftwareRate, AFrameRateOfZeroOrBelowIsThirty)
{
    EXPECT_EQ(StreamOf(20, 0), StreamOfEncoder(20000, 30.0));
    EXPECT_EQ(StreamOf(20, -1), StreamOfEncoder(20000, 30.0));
    EXPECT_NE(StreamOf(20, 15), StreamOfEncoder(20000, 30.0));
}

TEST(SoftwareRate, OneThatWrapsToNothingIsTheEncodersOwn)
{
    EXPECT_EQ(StreamOf(INT32_MIN), StreamOfEncoder(2222222)); // * 1000 in 32 bits: 0
}

// ---- Texts --------------------------------------------------------------------------------------------------------

TEST(SoftwareCodecLog, AFailedInitDecoderNamesItsStatusAndSize)
{
    RecordingLog Log;
    IVCodec* const pCodec = new CVCodec_H264;
    int32_t Result = 1;
    {
        const FailingAllocation Fail(1); // the decoder, or where one is kept what comes next
        Result = pCodec->InitDecoder(kSize.Width, kSize.Height);
    }
    EXPECT_EQ(Result, 0);
    EXPECT_THAT(Log.Lines(),
                ElementsAre(LogLine{kLogError, "qvlx - CVCodec_H264::InitDecoder() Failed err=-883. PictureWidth=48 "
                                               "PictureHeight=32"}));
    Log.Clear();
    EXPECT_EQ(pCodec->InitDecoder(kSize.Width, kSize.Height), 1);
    EXPECT_THAT(Log.Lines(), ElementsAre());
    pCodec->Release();
}

TEST(SoftwareCodecLog, AFailedEncodeNamesItsStatus)
{
    RecordingLog Log;
    IVCodec* const pCodec = new CVCodec_H264;
    Unit Out;
    {
        const FailingAllocation Fail(6); // the wrapper's four objects are there, and the encoder's own is not
        EXPECT_EQ(pCodec->InitEncoder(kSize.Width, kSize.Height, 15, 4, 60), 0);
    }
    EXPECT_EQ(Log.With("qvlx - CVCodec_H264::InitEncoder() Failed err=-883. PictureWidth=48 PictureHeight=32 "
                       "iFramesPerSecond=15 iKeyinterval=4 iKbps=60")
                  .size(),
              1u);
    Log.Clear();
    EXPECT_EQ(Encode(*pCodec, 0, Out), 0);
    EXPECT_EQ(Out.Length, 0);
    EXPECT_EQ(Out.Type, -7);
    EXPECT_THAT(Log.Lines(), ElementsAre(LogLine{kLogWarning, "qvlx - CVCodec_H264::Encode() Encode Failed err=-998"}));
    pCodec->Release();
}

// ---- Release ------------------------------------------------------------------------------------------------------

TEST(SoftwareCodecRelease, TearsDownBothSidesWhicheverCameFirst)
{
    Bytes Picture(kSize.I420Bytes());
    Unit Out;
    LeaveDecoder(TakeDecoder()); // one is kept, so that the release holds no new object
    Pictures();                  // and the source is rendered
    for (const bool bEncoderFirst : {true, false}) {
        const FailingAllocation Count(0);
        IVCodec* const pCodec = new CVCodec_H264;
        if (bEncoderFirst) {
            EXPECT_TRUE(InitEncoder(*pCodec));
        }
        EXPECT_TRUE(InitDecoder(*pCodec));
        if (!bEncoderFirst) {
            EXPECT_TRUE(InitEncoder(*pCodec));
        }
        EXPECT_EQ(Encode(*pCodec, 0, Out), 1);
        EXPECT_EQ(pCodec->Decode(Out.Room.data(), Out.Length, Picture.data(), nullptr), 1);
        EXPECT_GT(FailingAllocation::BlocksHeld(), 4);
        EXPECT_EQ(pCodec->Release(), 0);
        EXPECT_EQ(FailingAllocation::BlocksHeld(), 0) << bEncoderFirst;
    }
}

TEST(SoftwareCodecRelease, OfOneReferenceOfTwoLeavesTheSessionWhole)
{
    Unit Out;
    IVCodec* const pCodec = new CVCodec_H264;
    EXPECT_TRUE(InitEncoder(*pCodec));
    EXPECT_EQ(pCodec->AddRef(), 2);
    EXPECT_EQ(pCodec->Release(), 1);
    EXPECT_EQ(Encode(*pCodec, 0, Out), 1);
    EXPECT_EQ(pCodec->Release(), 0);
}

// ---- Types --------------------------------------------------------------------------------------------------------

TEST(SoftwareDecoderType, ThePointerMayBeNullWhereAPictureIsDelivered)
{
    Unit First, Second;
    IVCodec* const pEncoder = new CVCodec_H264;
    EXPECT_TRUE(InitEncoder(*pEncoder));
    EXPECT_EQ(Encode(*pEncoder, 0, First), 1);
    EXPECT_EQ(Encode(*pEncoder, 1, Second), 1);
    pEncoder->Release();

    Bytes With(kSize.I420Bytes()), Without(With);
    for (Bytes* const pOut : {&With, &Without}) {
        IVCodec* const pDecoder = new CVCodec_H264;
        EXPECT_TRUE(InitDecoder(*pDecoder));
        int32_t Type = -7;
        int32_t* const pType = pOut == &With ? &Type : nullptr;
        EXPECT_EQ(pDecoder->Decode(First.Room.data(), First.Length, pOut->data(), pType), 1); // the stand-in
        EXPECT_EQ(pDecoder->Decode(Second.Room.data(), Second.Length, pOut->data(), pType), 1);
        EXPECT_EQ(Type, pType ? kFrameI : -7);
        pDecoder->Release();
    }
    EXPECT_EQ(With, Without);
    EXPECT_NE(With, Bytes(kSize.I420Bytes(), With[0]));
}

// ---- Memory ---------------------------------------------------------------------------------------------------------

TEST(SoftwareCodecMemory, AnEncoderThatCouldNotBeMadeWholeIsNotThereAtAll)
{
    for (size_t n = 1; n <= 4; ++n) { // the wrapper's four objects
        RecordingLog Log;
        IVCodec* const pCodec = new CVCodec_H264;
        Unit Out;
        {
            const FailingAllocation Fail(n);
            EXPECT_FALSE(InitEncoder(*pCodec)) << n;
        }
        EXPECT_EQ(Encode(*pCodec, 0, Out), 0) << n;
        EXPECT_EQ(Log.With("expr=m_pH264Encoder").size(), 1u) << n;
        EXPECT_TRUE(InitEncoder(*pCodec)) << n;
        EXPECT_EQ(Encode(*pCodec, 0, Out), 1) << n;
        pCodec->Release();
    }
}

TEST(SoftwareCodecMemory, AnOutputThatCouldNotBeBoundIsBoundByTheNextCall)
{
    constexpr uint8_t kDelimiter[] = {0, 0, 0, 1, 9, 0xF0};
    RecordingLog Log;
    IVCodec* const pCodec = new CVCodec_H264;
    EXPECT_TRUE(InitDecoder(*pCodec));
    Bytes Picture(kSize.I420Bytes());
    {
        const FailingAllocation Fail(1);
        EXPECT_EQ(pCodec->Decode(kDelimiter, sizeof kDelimiter, Picture.data(), nullptr), 0);
    }
    EXPECT_EQ(Log.With("expr=PutData(pout)").size(), 1u);
    EXPECT_EQ(pCodec->Decode(kDelimiter, sizeof kDelimiter, Picture.data(), nullptr), 1); // the stand-in
    EXPECT_EQ(Picture[0], 16);
    pCodec->Release();
}
