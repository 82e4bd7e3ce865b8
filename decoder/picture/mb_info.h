// Per-macroblock records of the decoder: what entropy decoding writes and reconstruction, deblocking and later
// pictures read.
#pragma once

#include "Common/h264/motion_vector.h"
#include "decoder/stream/headers.h"

#include <cstdint>

namespace UMC {

// Macroblock types as stored in MbGlobalInfo::MbType.
enum MbType : int8_t {
    MBTYPE_INTRA4x4 = 0, // Intra 8x8 too, told apart by MBFLAG_TRANSFORM8x8
    MBTYPE_INTRA16x16 = 1,
    MBTYPE_PCM = 2,
    MBTYPE_INTER16x16 = 3, // P slice
    MBTYPE_INTER16x8 = 4,
    MBTYPE_INTER8x16 = 5,
    MBTYPE_INTER8x8 = 6,
    MBTYPE_INTER8x8_REF0 = 7,
    MBTYPE_FORWARD = 8,        // B slice, 16x16 from list 0
    MBTYPE_BACKWARD = 9,       // B slice, 16x16 from list 1
    MBTYPE_SKIPPED = 10,       // P skip
    MBTYPE_DIRECT = 11,        // B skip and direct 16x16 (MBFLAG_SKIPPED tells them apart)
    MBTYPE_BIDIRECTIONAL = 12, // B slice, 16x16 from both lists
};

enum MbFlags : uint8_t {
    MBFLAG_FIELD = 1, // field macroblock of an MBAFF pair
    MBFLAG_TRANSFORM8x8 = 2,
    MBFLAG_DIRECT = 4,
    MBFLAG_SKIPPED = 8,
    MBFLAG_ONE_MOTION = 16, // inter, and all of it moves alike: references and vectors of all 4x4 blocks are equal
};

// Kept with the frame: later pictures (direct prediction) and deblocking read it.
struct MbGlobalInfo {
    uint8_t SubBlockType[4]; // of each 8x8: 0 8x8, 1 8x4, 2 4x8, 3 4x4, plus SUBTYPE_DIRECT
    uint16_t SliceId;        // number of the slice in the picture
    int8_t MbType;
    uint8_t MbFlags;
};
static_assert(sizeof(MbGlobalInfo) == 8);

// Lives while the picture is decoded.
struct MbLocalInfo {
    uint32_t CodedBlockBits;          // bit i: luma 4x4 block i in raster order has coefficients; bit 16: luma DC
    uint32_t CodedBlockBitsChroma[2]; // Cb, Cr: bit 0 DC, bits 1.. AC blocks in raster order
    int8_t Qp;                        // QPY, negative for deep samples
    uint8_t SubBlockDirection[4];     // of each 8x8: 0 list 0, 1 list 1, 2 both; intra: [2] is intra_chroma_pred_mode
    uint8_t CodedBlockPattern;        // luma bits 0..3, chroma bits 4..5
    uint8_t RefIdxContext[2]; // by list: bit i when 8x8 block i has refIdx > 0, bit 4 + i when refIdx > 1; 0 if direct
};
static_assert(sizeof(MbLocalInfo) == 20);

// Magnitudes of the motion vector differences that a neighbour's CABAC contexts read (clause 9.3.3.1.1.7), x then y,
// limited to 127: sums count up to 32 only. One list of one macroblock.
struct MbMvd {
    uint8_t Bottom[4][2]; // lowest row of 4x4 blocks
    uint8_t Right[4][2];  // last column
};
static_assert(sizeof(MbMvd) == 16);

// SliceId of a macroblock that no slice has covered. Slices have numbers from 1 on, as many as macroblocks at most.
inline constexpr uint16_t kNoSlice = 0xFFFF;
static_assert(kMaxPictureMbs < kNoSlice);

} // namespace UMC
