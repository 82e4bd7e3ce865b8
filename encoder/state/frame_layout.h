// The size of all pictures of one encoder, and of the planes that hold them.
#pragma once

#include "encoder/state/picture_view.h"
#include "media/umc_video_data.h"

#include <cstddef>
#include <cstdint>

namespace UMC_H264_ENCODER {

// The room around a plane, twice that: a field is padded at twice the pitch.
inline constexpr int32_t kLumaRoom = 2 * kLumaPadding, kChromaRoom = 2 * kChromaPadding;
inline constexpr size_t kPlaneAlignment = 64; // bytes, of a plane's first sample

/// Rows of samples that a picture of Height rows is coded in: whole macroblocks, or pairs of them unless frames only.
constexpr int64_t CodedRows(int32_t Height, bool bFramesOnly)
{
    const int64_t Unit = bFramesOnly ? 16 : 32;
    return (Height + Unit - 1) / Unit * Unit;
}

/// Geometry of all pictures of one encoder: made with its settings, never written after that.
struct FrameLayout {
    int32_t Width = 0, Height = 0;               // visible samples
    int32_t AlignedWidth = 0, AlignedHeight = 0; // whole macroblocks, or pairs of them unless frames only
    int32_t MbWidth = 0, MbHeight = 0, MbCount = 0;
    int32_t Pitch = 0; // samples, the same for all planes
    int32_t ChromaFormat = 1;
    int32_t BitDepthLuma = 8, BitDepthChroma = 8;
    bool HasAlpha = false; // a plane as large as luma, coded as an auxiliary picture
    int32_t BitDepthAlpha = 8;
    UMC::ColorFormat Format = UMC::YUV420;
};

FrameLayout MakeLayout(int32_t Width, int32_t Height, int32_t ChromaFormat, int32_t BitDepthLuma,
                       int32_t BitDepthChroma, bool FramesOnly, bool HasAlpha, int32_t BitDepthAlpha = 8);

} // namespace UMC_H264_ENCODER
