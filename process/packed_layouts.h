// The layouts that hold several components in one plane other than byte by byte, and the layouts that their pictures
// are taken apart into.
#pragma once

#include "media/umc_video_data.h"

namespace UMC {

/// How a packed layout becomes one in which every component can be treated by itself, and back.
struct PackedLayout {
    ColorFormat Packed;
    ColorFormat Unpacked;

    /// Both pictures have pixels, the size in common and the layouts named above; samples take as many bytes as their
    /// layout says. Taking apart loses nothing; a value that is put together is rounded to nearest.
    void (*pUnpack)(const VideoData& From, const VideoData& To);
    void (*pPack)(const VideoData& From, const VideoData& To);
};

/// Null for a layout whose components are planes, or bytes that follow each other.
const PackedLayout* FindPackedLayout(ColorFormat Format);

} // namespace UMC
