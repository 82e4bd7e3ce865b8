// One way to code a macroblock, as a value: the decisions return it, and the one that wins is committed.
#pragma once

#include "encoder/state/encoder_types.h"

namespace UMC_H264_ENCODER {

// What of an inter macroblock lies in its trial already.
enum BlocksAtHand : uint8_t {
    BLOCKS_NONE = 0,
    BLOCKS_PREDICTED = 1, // PredY at the vector
    BLOCKS_LUMA = 2,      // and the levels of 4x4 blocks against it
    BLOCKS_ALL = 3        // PredUV too
};

// Its blocks lie in the work area: of an inter macroblock in InterTrial Slot, of Intra 16x16 in IntraY[Slot], until the
// next trial in that place; of Intra 4x4, with the modes, until the next trial of the kind. So candidates in different
// places live side by side, and either can be committed and reconstructed.
struct Candidate {
    int32_t Cost;
    MacroblockType Type;
    int8_t Ref = -1;                // of a P macroblock in one part; other inter forms have theirs in Motion[Slot]
    uint8_t Intra16Mode = 0;        // of Intra 16x16
    uint8_t ChromaMode = CHROMA_DC; // what an inter macroblock counts as to its neighbours' contexts
    MotionVector Vector{0, 0};
    MotionVector Difference{0, 0}; // from the vector's prediction, as it is written
    bool Transform8x8 = false;     // MB_INTRA4X4 is then Intra 8x8
    uint16_t Emptied = 0;          // luma blocks of an inter macroblock that get no levels, by luma4x4BlkIdx
    uint8_t Slot = 0;
    BlocksAtHand AtHand = BLOCKS_NONE; // of an inter macroblock
};

} // namespace UMC_H264_ENCODER
