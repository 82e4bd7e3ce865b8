// The software H.264 encoder.
#pragma once

#include "encoder/state/encoder_params.h"
#include "media/umc_video_encoder.h"

#include <memory>

namespace UMC_H264_ENCODER {
template <class Sample>
struct EncoderCore;
struct ToolCounts;
} // namespace UMC_H264_ENCODER

namespace UMC {

class VideoData;

/// Takes raw pictures as VideoData and returns Annex B access units. One picture is copied in for each call, so that no
/// reference to the caller's buffer is kept. One thread at a time on one object; nothing is thrown.
class H264VideoEncoder : public VideoEncoder
{
public:
    UMC_DERIVED_CLASS(H264VideoEncoder, VideoEncoder, "H264VideoEncoder")
    H264VideoEncoder();
    ~H264VideoEncoder() override;

    /// @param pParams  H264EncoderParams, or VideoEncoderParams with the defaults for all else. A copy is checked,
    ///                 corrected and kept.
    /// @return StatusOk; StatusNullPointer; StatusInitFailed for another record, a width or height below 1, or a
    ///         caller's allocator; StatusInvalidParams for an unknown profile or depth; StatusNotImplemented for
    ///         chroma of 4:4:4; StatusAllocFailed, also for a picture that is too large for any memory
    Status Init(BaseCodecParams* pParams) override;

    /// Codes a picture.
    ///
    /// @param pInput   a VideoData, whose frame type asks for a type (1 an IDR picture, 2 P, 3 B, else the key frame
    ///                 rule decides); null: no more input, deliver what is held back
    /// @param pOutput  receives the access unit behind its valid data, the picture's time and its type (1 I, 2 P, 3 B)
    /// @return StatusOk, also when a picture is held back and nothing is written; StatusEndOfSegment with nothing left
    ///         to deliver; StatusInvalidParams for an input that is no picture; StatusNotEnoughData for a P or B
    ///         picture without a reference; StatusUnsupported for a negative coding_type; StatusAllocFailed;
    ///         StatusNotEnoughBuffer when the unit does not fit; StatusNotInitialized; StatusNullPointer without an
    ///         output. With any of them nothing is written, the picture is dropped and the stream goes on with the next
    Status GetFrame(MediaData* pInput, MediaData* pOutput) override;

    /// The settings in force, with the quality word and the stream type. StatusNullPointer for null,
    /// StatusInvalidParams for another kind of record.
    Status GetInfo(BaseCodecParams* pParams) override;
    /// Always 0; everything is released by the destructor.
    Status Close() override { return StatusOk; }
    /// Always StatusUnsupported.
    Status Reset() override { return StatusUnsupported; }
    /// A new bit rate or frame rate from the next picture on. StatusUnsupported when neither differs or the rate
    /// control does not follow a rate, StatusInvalidParams for a bit rate below 1 or a frame rate that is no positive
    /// number, StatusNullPointer for no VideoEncoderParams.
    Status SetParams(BaseCodecParams* pParams) override;

    /// The picture as later pictures see it, for tests and tools: planes of the last coded picture, valid until the
    /// next call. Null before the first.
    const VideoData* GetReconstruction() const;
    /// Display order of that picture within the stream, counted in pictures.
    int32_t GetDisplayOrder() const;
    /// Adds the coding tools that the same picture uses. Counted from its records when asked for, and not before.
    void AddToolCounts(UMC_H264_ENCODER::ToolCounts& Counts) const;

private:
    using Core8 = UMC_H264_ENCODER::EncoderCore<uint8_t>;
    using Core16 = UMC_H264_ENCODER::EncoderCore<uint16_t>;

    int32_t core_kind = -1; // 0: samples of one byte, 1: of two
    std::unique_ptr<Core8> m_pCore8;
    std::unique_ptr<Core16> m_pCore16;

    // Calls f with the core in use; Otherwise without one.
    template <class F, class T>
    T WithCore(T Otherwise, F&& f) const;
    template <class Sample>
    Status Build(std::unique_ptr<UMC_H264_ENCODER::EncoderCore<Sample>>& pCore, const VideoEncoderParams& Params,
                 int32_t Kind);
};

} // namespace UMC
