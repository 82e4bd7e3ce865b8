// Base of the filters in the processing chain: a BaseCodec without a stream state.
#pragma once

#include "media/umc_base_codec.h"
#include "media/umc_video_data.h"

namespace UMC {

class VideoFilter : public BaseCodec
{
public:
    UMC_DERIVED_CLASS(VideoFilter, BaseCodec, "VideoFilter")
    Status GetInfo(BaseCodecParams* pParams) override { return pParams ? StatusOk : StatusNullPointer; }
    Status Reset() override { return StatusOk; }
};

/// Changes the layout at one size. StatusInvalidParamsExt when the sizes differ or a kernel refuses, StatusUnsupported
/// for a difference of sample size that has no kernel, StatusNotImplemented for a pair without a conversion.
class ColorSpaceConversion : public VideoFilter
{
public:
    UMC_DERIVED_CLASS(ColorSpaceConversion, VideoFilter, "ColorSpaceConversion")
    Status GetFrame(MediaData* pInput, MediaData* pOutput) override;
};

/// Changes the size at one layout by cubic interpolation. StatusNotImplemented for a layout that cannot be resized.
class VideoResizing : public VideoFilter
{
public:
    UMC_DERIVED_CLASS(VideoResizing, VideoFilter, "VideoResizing")
    Status GetFrame(MediaData* pInput, MediaData* pOutput) override;
};

/// Blends the lines of an interlaced picture, plane by plane, at one layout and size.
class Deinterlacing : public VideoFilter
{
public:
    UMC_DERIVED_CLASS(Deinterlacing, VideoFilter, "Deinterlacing")
    Status GetFrame(MediaData* pInput, MediaData* pOutput) override;
};

} // namespace UMC
