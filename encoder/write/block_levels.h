// Levels of one block in the form the entropy coders take.
#pragma once

#include <cstdint>

namespace UMC_H264_ENCODER {

// The levels other than 0 in scan order.
template <class LevelType>
struct BlockLevels {
    uint8_t Count;
    uint8_t Position[16]; // in the block's own list: 0 is coefficient 1 where the DC is coded apart
    LevelType Level[16];
};

// The same of an 8x8 block.
template <class LevelType>
struct BlockLevels8x8 {
    uint8_t Count;
    uint8_t Position[64];
    LevelType Level[64];
};

} // namespace UMC_H264_ENCODER
