// The software H.264 decoder as the rest of the library sees it.
#pragma once

#include "media/umc_video_decoder.h"

#include <cstdint>
#include <memory>

namespace UMC {

class TaskSupplier;

class H264VideoDecoderParams : public VideoDecoderParams
{
public:
    UMC_DERIVED_CLASS(H264VideoDecoderParams, VideoDecoderParams, "H264VideoDecoderParams")

    // Filled by GetInfo only.
    uint32_t m_EntropyMode = 0;    // entropy_coding_mode_flag of the current picture parameter set
    uint32_t m_RequiredFrames = 0; // decoded picture buffer plus spare frames
    uint32_t m_CodedWidth = 0;     // samples, uncropped
    uint32_t m_CodedHeight = 0;
};

/// A pull machine: all work of a call to GetFrame is done on the caller's thread, unless more threads were asked for.
/// Pictures leave one access unit late, in display order as far as one picture of delay allows. Nothing is thrown.
class H264VideoDecoder : public VideoDecoder
{
public:
    UMC_DERIVED_CLASS(H264VideoDecoder, VideoDecoder, "H264VideoDecoder")
    H264VideoDecoder();
    ~H264VideoDecoder() override;

    /// A VideoDecoderParams, else StatusNullPointer. Closes first, so that a second call is allowed. Reads the
    /// parameter sets in m_pData. StatusFailed when memory is exhausted. A converter in the parameters stays the
    /// caller's.
    Status Init(BaseCodecParams* pParams) override;

    /// Takes access units from pInput, bytes that the call moves past, and puts at most one picture into pOutput, a
    /// VideoData. All of pInput is taken unless a further picture needs the room of one that waits for its turn, or
    /// memory is exhausted: then the rest is to be given again. Without pInput it decodes and gives out what is left,
    /// one picture a call. 0: a picture came. StatusNotEnoughData: none can be given now. StatusNotInitialized before
    /// Init, StatusNullPointer without pOutput. When no picture came, StatusSyncFailed for an input without a unit, and
    /// the first of the statuses of bad parameter sets, of streams that are not supported and of exhausted memory; what
    /// stands behind the unit at fault is taken all the same.
    Status GetFrame(MediaData* pInput, MediaData* pOutput) override;

    /// What the current parameter sets say. StatusNotInitialized before there are any, StatusNullPointer for another
    /// class.
    Status GetInfo(BaseCodecParams* pParams) override;
    Status Close() override; ///< safe in any state, always 0
    /// Forgets pictures and references, keeps parameter sets.
    Status Reset() override;
    /// StatusNullPointer for another class. Copies the stream description; with trick mode 7 takes over the playback
    /// rate.
    Status SetParams(BaseCodecParams* pParams) override;

    Status Operation9() override { return StatusOk; }
    Status Operation10() override { return StatusNotImplemented; }
    Status Operation11() override { return StatusOk; }
    /// Points pOutput at the registered user data (SEI payload type 4) of the picture delivered last, valid until the
    /// next call. StatusNullPointer for null, StatusNotEnoughData when it has none.
    Status GetUserData(MediaData* pOutput) override;

    /// Adds *pStep to the decoding speed, 0 (everything is decoded) to 7, and writes the result back.
    virtual Status ChangeVideoDecodingSpeed(int32_t* pStep);
    /// Whether deblocking is reduced, and how many pictures were skipped. Either pointer may be null.
    virtual Status GetSkipInfo(bool* pIsDeblockingReduced, int32_t* pSkippedFrames);

private:
    Status InitSupplier(const VideoDecoderParams& Params);
    Status ReadHeaders(MediaData& Input);
    Status Feed(MediaData& Input, VideoData& Output);
    Status Flush(VideoData& Output);

    std::unique_ptr<TaskSupplier> m_pSupplier; // null until Init
    bool m_OwnsConverter = false;              // Init made the converter itself
    bool m_IsInitialized = false;
};

} // namespace UMC
