// One way to code a macroblock, as a value: the decisions return it, and the one that wins is committed.
#pragma once

#include "encoder/state/encoder_types.h"

namespace UMC_H264_ENCODER {

// The blocks that belong to it lie in the work area until the next trial of its kind: prediction, levels and, of Intra
// 4x4, the modes.
struct Candidate {
    int32_t Cost;
    MacroblockType Type;
    int8_t Ref = -1;                // of an inter macroblock
    uint8_t Intra16Mode = 0;        // of Intra 16x16
    uint8_t ChromaMode = CHROMA_DC; // what an inter macroblock counts as to its neighbours' contexts
    MotionVector Vector{0, 0};
    MotionVector Difference{0, 0}; // from the vector's prediction, as it is written
};
static_assert(sizeof(Candidate) == 16); // travels in two registers

} // namespace UMC_H264_ENCODER
