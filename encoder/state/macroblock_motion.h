// The motion of an inter macroblock as a decision makes it.
#pragma once

#include "Common/h264/motion_prediction.h"
#include "encoder/state/encoder_types.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

struct MacroblockMotion {
    MotionVector Vectors[2][16]; // raster; 0 where the list is not used
    int8_t References[2][4];     // of the quadrants; h264::kRefNone where the list is not used
    uint8_t SubTypes[4];         // SubShape; SUB_NONE unless the macroblock is MB_INTER8X8
    uint8_t Direct;              // a bit for each quadrant with derived motion
};

} // namespace UMC_H264_ENCODER
