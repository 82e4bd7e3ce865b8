// The picture layouts of the framework.
#pragma once

#include <cstdint>

namespace UMC {

/// Ids of the layouts. 5 is the library's own raw picture (I420).
enum ColorFormat : int32_t {
    NONE_FORMAT = -1,
    YV12 = 0,    // as YUV420, chroma planes exchanged in memory order
    NV12 = 1,    // luma, interleaved chroma
    YUY2 = 2,    // packed 4:2:2, Y first
    UYVY = 3,    // packed 4:2:2, U first
    YUV411 = 4,  // planar 4:1:1
    YUV420 = 5,  // planar 4:2:0
    YUV422 = 6,  // planar 4:2:2
    YUV444 = 7,  // planar 4:4:4
    YUV420M = 8, // planar 4:2:0, chroma sited between the columns
    Y41P = 9,    // packed 4:1:1, 12 bytes for 8 pixels
    Y411 = 10,   // packed 4:1:1
    RGB32 = 11,  // blue, green, red, alpha bytes
    RGB24 = 12,  // blue, green, red bytes
    RGB565 = 13,
    RGB555 = 14,
    RGB444 = 15,
    GRAY = 16,
    YUVA420 = 17, // planar with an alpha plane
    YUVA422 = 18,
    YUVA444 = 19,
    YUV410 = 20, // planar 4:1:0
    GRAYA = 21,  // luma and alpha plane
};

struct ColorFormatPlane {
    uint8_t WidthDiv, HeightDiv, Samples, AlignmentFactor;
};

struct ColorFormatInfo {
    ColorFormat Id;
    int32_t PlaneCount;
    int32_t MinBitDepth;
    int32_t Alignment;
    ColorFormatPlane Plane[4];
};

/// The row of the table of 22 layouts, or null for an id that is not in it.
const ColorFormatInfo* FindColorFormat(ColorFormat Id);

} // namespace UMC
