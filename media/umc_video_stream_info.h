// What encoder and decoder parameter blocks say about a stream.
#pragma once

#include "media/umc_color_format.h"

#include <cstdint>

namespace UMC {

inline constexpr uint32_t kStreamTypeH264 = 384;

struct VideoStreamInfo {
    int32_t m_Width = 0, m_Height = 0;
    ColorFormat m_ColorFormat = YV12;
    int32_t m_Bitrate = 0; // bits per second
    int32_t m_AspectX = 0, m_AspectY = 0;
    double m_FrameRate = 0.0; // frames per second
    double m_Duration = 0.0;  // seconds
    uint32_t m_InterlaceType = 0;
    uint32_t m_StreamType = 0;
    uint32_t m_StreamSubtype = 0;
    uint32_t m_StreamId = 0;
    uint32_t m_Profile = 0, m_Level = 0;
};

} // namespace UMC
