// The motion of an inter macroblock as a decision makes it, and the parts that it consists of.
#pragma once

#include "Common/h264/motion_prediction.h"
#include "encoder/state/encoder_types.h"

#include <algorithm>
#include <cstdint>

namespace UMC_H264_ENCODER {

struct MacroblockMotion {
    MotionVector Vectors[2][16]; // raster; 0 where the list is not used
    int8_t References[2][4];     // of the quadrants; h264::kRefNone where the list is not used
    uint8_t SubTypes[4];         // SubShape; SUB_NONE unless the macroblock is in quadrants
    uint8_t Direct;              // a bit for each quadrant with derived motion

    void Set(int List, int x, int y, int Width, int Height, MotionVector v)
    {
        for (int Row = y; Row < y + Height; ++Row) std::fill_n(Vectors[List] + 4 * Row + x, Width, v);
    }
};

// Columns and rows of 4x4 blocks.
struct MotionPart {
    int8_t x, y, Width, Height;
    int Raster() const { return 4 * y + x; }
    int Quadrant() const { return (y & 2) + (x >> 1); }
};

/// Calls f with the parts of a quadrant in the order in which they are coded.
template <class F>
void ForEachPartOf(int Quadrant, uint8_t Shape, F&& f)
{
    const auto x = static_cast<int8_t>(Quadrant % 2 * 2), y = static_cast<int8_t>(Quadrant / 2 * 2);
    const int8_t Width = Shape == SUB_4X8 || Shape == SUB_4X4 ? 1 : 2;
    const int8_t Height = Shape == SUB_8X4 || Shape == SUB_4X4 ? 1 : 2;
    for (auto py = y; py < y + 2; py = static_cast<int8_t>(py + Height))
        for (auto px = x; px < x + 2; px = static_cast<int8_t>(px + Width)) f(MotionPart{px, py, Width, Height});
}

/// Calls f with the parts of an inter macroblock, each of one motion, in the order in which they are coded.
template <class F>
void ForEachPart(uint8_t Type, const uint8_t* pSubTypes, F&& f)
{
    switch (Type) {
    case MB_INTER16X8: f(MotionPart{0, 0, 4, 2}); return f(MotionPart{0, 2, 4, 2});
    case MB_INTER8X16: f(MotionPart{0, 0, 2, 4}); return f(MotionPart{2, 0, 2, 4});
    case MB_INTER8X8:
    case MB_INTER8X8_REF0:
    case MB_DIRECT:
    case MB_SKIP_B:
        for (int q = 0; q < 4; ++q) ForEachPartOf(q, pSubTypes[q], f);
        return;
    default: return f(MotionPart{0, 0, 4, 4});
    }
}

} // namespace UMC_H264_ENCODER
