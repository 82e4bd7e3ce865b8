// Tables 8-6 and 8-8 between MBAFF frames: which block of another one is co-located with a block.
#pragma once

#include <cstdint>

namespace h264 {

struct PairBlock {
    int32_t Mb;
    int Block; // 4x4, raster
};

// The vertical halves of a field macroblock lie in a frame macroblock each, those of a frame macroblock share half a
// field macroblock.
// @param Block     of macroblock Mb; a corner block of a quadrant, as direct_8x8_inference_flag is 1 in such frames
// @param ColField  of two field macroblocks the one that a frame macroblock goes by
[[gnu::always_inline]] inline PairBlock FindInColocatedPair(int32_t Mb, int Block, bool IsField, bool ColIsField,
                                                            int ColField)
{
    const int32_t First = Mb & ~1;
    const int Second = Mb & 1, Column = Block & 3, Half = Block / 8;
    if (ColIsField == IsField) return {Mb, Block};
    if (IsField) return {First + Half, Half * 8 + Column};
    return {First + ColField, (Second * 2 + Half) * 4 + Column};
}

} // namespace h264
