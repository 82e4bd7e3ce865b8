// How many decoded pictures a level lets a stream keep.
#pragma once

#include <cstdint>

namespace h264 {

/// MaxDPB of a level (Table A-1) in units of 512 bytes. A level that is not in the table counts as 5.1.
constexpr int32_t PictureBufferUnits(int32_t level_idc)
{
    switch (level_idc) {
    case 10: return 297;
    case 11: return 675;
    case 12:
    case 13:
    case 20: return 1782;
    case 21: return 3564;
    case 22:
    case 30: return 6075;
    case 31: return 13500;
    case 32: return 15360;
    case 40:
    case 41:
    case 42: return 24576;
    case 50: return 82800;
    default: return 138240;
    }
}

/// Pictures of Width x Height luma samples (whole macroblocks, 4:2:0, 8 bits) that the level's buffer holds, at
/// most 16.
constexpr int32_t PictureBufferFrames(int32_t level_idc, int64_t Width, int64_t Height)
{
    constexpr int64_t kLongestSide = 1 << 24; // beyond it no level holds a picture, and the product may not fit
    if (Width > kLongestSide || Height > kLongestSide) return 0;
    const int64_t Luma = Width * Height;
    const int64_t Frames = int64_t{PictureBufferUnits(level_idc)} * 512 / (Luma + Luma / 2);
    return static_cast<int32_t>(Frames < 16 ? Frames : 16);
}

} // namespace h264
