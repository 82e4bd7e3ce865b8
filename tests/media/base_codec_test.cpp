// Codec bases and parameter blocks: defaults, the allocator's rules, the cast scheme.
#include "media/umc_default_memory_allocator.h"
#include "media/umc_video_decoder.h"
#include "media/umc_video_encoder.h"

#include <gtest/gtest.h>

using namespace UMC;

namespace {

class PlainCodec : public BaseCodec
{
public:
    Status GetFrame(MediaData*, MediaData*) override { return StatusOk; }
    Status GetInfo(BaseCodecParams*) override { return StatusOk; }
    Status Reset() override { return StatusOk; }
    MemoryAllocator* Allocator() { return m_pMemoryAllocator; }
};

class PlainDecoder : public VideoDecoder
{
public:
    Status GetFrame(MediaData*, MediaData*) override { return StatusOk; }
    Status Reset() override { return StatusOk; }
    Status Operation9() override { return StatusOk; }
    Status Operation10() override { return StatusNotImplemented; }
    Status Operation11() override { return StatusOk; }
    VideoStreamInfo& Info() { return m_ClipInfo; }
};

class CountingConverter : public PlainCodec
{
public:
    Status GetFrame(MediaData*, MediaData*) override
    {
        ++Calls;
        return StatusOk;
    }
    int Calls = 0;
};

} // namespace

TEST(BaseCodec, MakesADefaultAllocatorAndKeepsIt)
{
    PlainCodec Codec;
    BaseCodecParams Params;
    EXPECT_EQ(Codec.Init(nullptr), StatusNullPointer);
    EXPECT_EQ(Codec.Init(&Params), StatusOk);
    MemoryAllocator* const pFirst = Codec.Allocator();
    ASSERT_NE(pFirst, nullptr);
    EXPECT_EQ(Codec.Init(&Params), StatusOk);
    EXPECT_EQ(Codec.Allocator(), pFirst);
    EXPECT_EQ(Codec.Close(), StatusOk);
    EXPECT_EQ(Codec.Allocator(), nullptr);
}

TEST(BaseCodec, RefusesACallersAllocator)
{
    PlainCodec Fresh, Used;
    DefaultMemoryAllocator Foreign;
    BaseCodecParams Params;
    EXPECT_EQ(Used.Init(&Params), StatusOk);
    Params.m_pMemoryAllocator = &Foreign;
    EXPECT_EQ(Fresh.Init(&Params), StatusInitFailed);
    EXPECT_EQ(Used.Init(&Params), StatusInitFailed);
}

TEST(BaseCodec, SetParamsHasNoImplementation)
{
    PlainCodec Codec;
    BaseCodecParams Params;
    EXPECT_EQ(Codec.SetParams(nullptr), StatusNullPointer);
    EXPECT_EQ(Codec.SetParams(&Params), StatusNotImplemented);
}

TEST(Parameters, HaveTheirDefaults)
{
    const VideoEncoderParams Encoder;
    EXPECT_EQ(Encoder.m_pData, nullptr);
    EXPECT_EQ(Encoder.m_pMemoryAllocator, nullptr);
    EXPECT_EQ(Encoder.m_NumThreads, 0);
    EXPECT_EQ(Encoder.m_Info.m_Width, 0);
    EXPECT_EQ(Encoder.m_Info.m_ColorFormat, YUV420);
    EXPECT_EQ(Encoder.m_Info.m_Bitrate, 0);
    EXPECT_EQ(Encoder.m_Info.m_AspectX, 1);
    EXPECT_EQ(Encoder.m_Info.m_AspectY, 1);
    EXPECT_EQ(Encoder.m_Info.m_FrameRate, 30.0);
    EXPECT_EQ(Encoder.m_NumEncodedFrames, 0);
    EXPECT_EQ(Encoder.m_Quality, 51);
    VideoEncoderParams Readable;
    EXPECT_EQ(Readable.ReadParamFile("x"), StatusNotImplemented);

    const VideoDecoderParams Decoder;
    EXPECT_EQ(Decoder.m_Info.m_Width, 0);
    EXPECT_EQ(Decoder.m_Info.m_FrameRate, 0.0);
    EXPECT_EQ(Decoder.m_PlaybackRate, 1.0);
    EXPECT_EQ(Decoder.m_TrickMode, 0u);
    EXPECT_EQ(Decoder.m_pPostProcessing, nullptr);
}

TEST(VideoDecoder, InfoGoesBothWaysToItsOwnKindOfBlockOnly)
{
    PlainDecoder Decoder;
    VideoDecoderParams Params;
    VideoEncoderParams Wrong;
    Decoder.Info().m_Width = 640;
    EXPECT_EQ(Decoder.GetInfo(nullptr), StatusNullPointer);
    EXPECT_EQ(Decoder.GetInfo(&Wrong), StatusNullPointer);
    EXPECT_EQ(Decoder.GetInfo(&Params), StatusOk);
    EXPECT_EQ(Params.m_Info.m_Width, 640);
    Params.m_Info.m_Width = 320;
    EXPECT_EQ(Decoder.SetParams(&Wrong), StatusNullPointer);
    EXPECT_EQ(Decoder.SetParams(&Params), StatusOk);
    EXPECT_EQ(Decoder.Info().m_Width, 320);
}

TEST(VideoDecoder, PostProcessingNeedsAConverter)
{
    PlainDecoder Decoder;
    VideoData Output;
    EXPECT_EQ(Decoder.ApplyPostProcessing(&Output, nullptr), StatusNotInitialized);
    CountingConverter Converter;
    EXPECT_EQ(Decoder.ApplyPostProcessing(&Output, &Converter), StatusOk);
    EXPECT_EQ(Converter.Calls, 1);
    EXPECT_EQ(Decoder.GetUserData(&Output), StatusNotImplemented);
}

TEST(StatusCodes, HaveTheirNumbers)
{
    EXPECT_EQ(StatusOk, 0);
    EXPECT_EQ(StatusFailed, -999);
    EXPECT_EQ(StatusNotInitialized, -998);
    EXPECT_EQ(StatusNotEnoughData, -996);
    EXPECT_EQ(StatusNullPointer, -995);
    EXPECT_EQ(StatusInitFailed, -899);
    EXPECT_EQ(StatusSyncFailed, -897);
    EXPECT_EQ(StatusNotEnoughBuffer, -896);
    EXPECT_EQ(StatusEndOfSegment, -895);
    EXPECT_EQ(StatusOpenFailed, -894);
    EXPECT_EQ(StatusAllocFailed, -883);
    EXPECT_EQ(StatusInvalidParams, -882);
    EXPECT_EQ(StatusUnsupported, -879);
    EXPECT_EQ(StatusNotImplemented, -878);
    EXPECT_EQ(StatusInvalidParamsExt, -876);
}
