// Turns one picture into another of a different format, size or interlacing in one call.
#pragma once

#include "media/umc_base_codec.h"
#include "media/umc_video_data.h"

#include <array>
#include <memory>

namespace UMC {

/// All zero: no cropping, no deinterlacing.
class VideoProcessingParams : public BaseCodecParams
{
public:
    UMC_DERIVED_CLASS(VideoProcessingParams, BaseCodecParams, "VideoProcessingParams")

    int16_t m_CropX = 0, m_CropY = 0, m_CropWidth = 0, m_CropHeight = 0; // luma samples; all 0: no cropping
    uint32_t m_DeinterlaceMode = 0;                                      // not 0: interlaced sources are deinterlaced
    uint32_t m_InterpolationMode = 0;                                    // reserved
};

/// The chain of filters: deinterlacing, pre-conversion, conversion, resizing. Only what a pair of pictures needs runs;
/// at equal format and size that is one copy of the planes without a work picture. One thread at a time.
class VideoProcessing : public BaseCodec
{
public:
    UMC_DERIVED_CLASS(VideoProcessing, BaseCodec, "VideoProcessing")
    VideoProcessing();
    ~VideoProcessing() override;

    Status Init(BaseCodecParams* pParams) override; ///< a VideoProcessingParams, else StatusNullPointer
    Status SetParams(BaseCodecParams* pParams) override;
    Status GetInfo(BaseCodecParams* pParams) override;
    Status Reset() override { return StatusOk; }

    /// Both are VideoData (else StatusNullPointer); the output's geometry says what to make and its planes receive it.
    /// StatusNotEnoughData for an input without pixels, StatusInvalidParamsExt for a crop region beyond the picture,
    /// StatusNotImplemented for a pair of formats that no chain of conversions joins; else the status of a filter.
    Status GetFrame(MediaData* pInput, MediaData* pOutput) override;

    /// Adds a filter to run behind the last one or before the first, active from now on. Not owned. StatusNullPointer
    /// for null, StatusFailed when eight filters are there already.
    Status AddFilter(BaseCodec* pFilter, bool bAtEnd);

    /// The format to go through when a pair has no conversion of its own.
    static ColorFormat IntermediateFormat(ColorFormat Id);

private:
    static constexpr int kMaxFilters = 8;
    static constexpr int kWorkBuffers = 3;
    static constexpr int32_t kWorkAlignment = 16; // bytes, of the planes and rows of a work picture

    void SetActiveFlags(const VideoData& Source, const VideoData& Output);
    Status Crop(VideoData*& pSource);
    Status ApplyChromaShortcut(VideoData*& pSource, VideoData*& pOutput);
    Status RunChain(VideoData* pSource, VideoData* pOutput);
    int LastActive() const;
    Status WorkPicture(const VideoData* pSource, int32_t Width, int32_t Height, ColorFormat Format,
                       VideoData*& pPicture);

    VideoProcessingParams m_Params;
    int m_FilterCount = 4;
    int m_IndexDeinterlace = 0, m_IndexConvert = 2, m_IndexPreConvert = 1, m_IndexResize = 3;
    bool m_bCropping = false;
    std::array<BaseCodec*, kMaxFilters> m_Filters{};
    std::array<bool, kMaxFilters> m_FilterActive{};
    std::unique_ptr<BaseCodec> m_pDeinterlacing, m_pConversion, m_pResizing; // slots 1 and 2 share the conversion
    std::unique_ptr<std::array<VideoData, kWorkBuffers>> m_pWorkBuffers;
    VideoData m_Cropped, m_Exchanged; // descriptions over the caller's pixels, of use during one GetFrame only
};

} // namespace UMC
