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

/// Changes the layout at one size; equal layouts are copied. StatusNullPointer unless both are VideoData,
/// StatusInvalidParamsExt when the sizes differ, a plane is null or a pitch below its row, StatusUnsupported for a copy
/// between sample sizes that has no kernel, StatusNotImplemented for a pair without a conversion (conversion_pairs.h)
/// or with deeper samples than its conversion knows.
class ColorSpaceConversion : public VideoFilter
{
public:
    UMC_DERIVED_CLASS(ColorSpaceConversion, VideoFilter, "ColorSpaceConversion")
    Status GetFrame(MediaData* pInput, MediaData* pOutput) override;
};

/// Changes the size at one layout, each component as a plane of its own. A plane that shrinks to a half or less both
/// ways gets the mean of the area that each sample covers, with kernels of their own for exactly a half and a quarter;
/// any other change of size is cubic. Packed 4:2:2 and 4:1:1 go by their planar forms and 16-bit RGB by RGB32, in
/// pictures that the object keeps until their size changes.
///
/// StatusNullPointer when a side is not a VideoData or has no pixels, StatusInvalidParamsExt when the layouts differ or
/// a pitch is below its row, StatusNotImplemented for NONE_FORMAT, StatusUnsupported for samples of more than 8 bits,
/// StatusAllocFailed.
class VideoResizing : public VideoFilter
{
public:
    UMC_DERIVED_CLASS(VideoResizing, VideoFilter, "VideoResizing")
    Status GetFrame(MediaData* pInput, MediaData* pOutput) override;

private:
    VideoData m_UnpackedSource, m_UnpackedTarget;
};

/// Makes a progressive picture of the source's lines, plane by plane, at one layout and size. A frame of two fields
/// (INTERLACED_FRAME, and any structure without a name) becomes a blend of both, with its first line as it is. Of
/// TOP_FIELD_ONLY and BOTTOM_FIELD_ONLY only that field's lines are read, and the lines between them are interpolated.
/// Planes of a PROGRESSIVE_FRAME, and those of fewer than three lines, are copied.
///
/// StatusNullPointer when a side is not a VideoData or a plane has no pixels, StatusInvalidParamsExt when layouts or
/// sizes differ or a kernel refuses, StatusUnsupported for samples of two bytes.
class Deinterlacing : public VideoFilter
{
public:
    UMC_DERIVED_CLASS(Deinterlacing, VideoFilter, "Deinterlacing")
    Status GetFrame(MediaData* pInput, MediaData* pOutput) override;
};

} // namespace UMC
