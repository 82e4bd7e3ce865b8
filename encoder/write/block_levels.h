// Levels of one block in the form the entropy coders take.
#pragma once

#include <cstdint>

namespace UMC_H264_ENCODER {

// The levels other than 0 in scan order.
struct BlockLevels {
    uint8_t Count;
    uint8_t Position[16]; // in the block's own list: 0 is coefficient 1 where the DC is coded apart
    int16_t Level[16];
};

} // namespace UMC_H264_ENCODER
