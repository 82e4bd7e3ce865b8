// Base of video encoders and their parameter block.
#pragma once

#include "media/umc_base_codec.h"
#include "media/umc_video_stream_info.h"

namespace UMC {

class VideoEncoderParams : public BaseCodecParams
{
public:
    UMC_DERIVED_CLASS(VideoEncoderParams, BaseCodecParams, "VideoEncoderParams")
    VideoEncoderParams()
    {
        m_Info.m_ColorFormat = YUV420;
        m_Info.m_AspectX = m_Info.m_AspectY = 1;
        m_Info.m_FrameRate = 30.0;
    }

    /// Reads the parameters from a text file. StatusNotImplemented unless a derived class has a format.
    virtual Status ReadParamFile(const char* /*pPath*/) { return StatusNotImplemented; }

    VideoStreamInfo m_Info;
    int32_t m_NumEncodedFrames = 0; // a count that starts at 0
    int32_t m_Quality = 51;         // ceiling: the highest quantiser; GetInfo reports a quality in percent here
};

/// Takes pictures as VideoData and delivers an access unit in a MediaData whose capacity the caller has set.
class VideoEncoder : public BaseCodec
{
public:
    UMC_DERIVED_CLASS(VideoEncoder, BaseCodec, "VideoEncoder")
};

} // namespace UMC
