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
    Y411 = 9,    // packed 4:1:1, U Y0 Y1 V Y2 Y3 for 4 pixels
    Y41P = 10,   // packed 4:1:1, U0 Y0 V0 Y1 U4 Y2 V4 Y3 Y4 Y5 Y6 Y7 for 8 pixels
    RGB32 = 11,  // blue, green, red, alpha bytes
    RGB24 = 12,  // blue, green, red bytes
    RGB565 = 13, // little-endian words: blue in the low 5 bits, green, red
    RGB555 = 14, // the same with 5 bits each and alpha in the top bit
    RGB444 = 15, // the same with 4 bits each and alpha in the top 4
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
