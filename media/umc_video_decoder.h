// Base of video decoders and their parameter block.
#pragma once

#include "media/umc_base_codec.h"
#include "media/umc_video_data.h"
#include "media/umc_video_stream_info.h"

namespace UMC {

class VideoDecoderParams : public BaseCodecParams
{
public:
    UMC_DERIVED_CLASS(VideoDecoderParams, BaseCodecParams, "VideoDecoderParams")

    VideoStreamInfo m_Info;
    uint32_t m_TrickMode = 0; // 7: SetParams recomputes the playback mode
    uint32_t m_Reserved4 = 0;
    double m_PlaybackRate = 1.0;
    BaseCodec* m_pPostProcessing = nullptr; // converter to use, not owned; null: the decoder makes its own
    uint32_t m_Flags = 0;
};

/// Takes compressed bytes and delivers pictures in a VideoData through a converter.
class VideoDecoder : public BaseCodec
{
public:
    UMC_DERIVED_CLASS(VideoDecoder, BaseCodec, "VideoDecoder")

    /// Copies the stream description to a VideoDecoderParams; StatusNullPointer for null or any other class.
    Status GetInfo(BaseCodecParams* pParams) override;
    /// Copies the stream description from a VideoDecoderParams; StatusNullPointer as above.
    Status SetParams(BaseCodecParams* pParams) override;

    virtual Status Operation9() = 0;  // reserved slot
    virtual Status Operation10() = 0; // reserved slot, StatusNotImplemented in every decoder
    virtual Status Operation11() = 0; // reserved slot
    /// Converts the last decoded picture into pOutput with pProcessing, or with the decoder's own converter.
    /// StatusNotInitialized when there is neither.
    virtual Status ApplyPostProcessing(MediaData* pOutput, BaseCodec* pProcessing);
    virtual Status GetUserData(MediaData* /*pOutput*/) { return StatusNotImplemented; }

protected:
    VideoStreamInfo m_ClipInfo;
    VideoData m_LastDecodedFrame;
    BaseCodec* m_pPostProcessing = nullptr;
    uint32_t m_bOwnsPostProcessing = 0; // the decoder made m_pPostProcessing itself
};

} // namespace UMC
