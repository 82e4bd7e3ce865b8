// Records and constants that all stages of the encoder share.
#pragma once

#include "Common/h264/chroma_geometry.h"
#include "Common/h264/motion_vector.h"
#include "Common/h264/slice_type.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

using h264::MotionVector;

enum EncoderFrameType : int32_t { FRAME_I = 0, FRAME_P = 1, FRAME_B = 2 };

// What later pictures may do with a picture.
enum PictureClass : int32_t { CLASS_DISPOSABLE = 0, CLASS_REFERENCE = 1, CLASS_IDR = 2 };

// Macroblock types as stored in the picture's tables.
enum MacroblockType : uint8_t {
    MB_INTRA4X4 = 0,
    MB_INTRA16X16 = 1,
    MB_PCM = 2,
    MB_INTER16X16 = 3,
    MB_INTER16X8 = 4,
    MB_INTER8X16 = 5,
    MB_INTER8X8 = 6,
    MB_INTER8X8_REF0 = 7,
    MB_DIRECT = 8,
    MB_SKIP_P = 10,
    MB_SKIP_B = 11
};
inline bool IsIntra(uint8_t Type) { return Type <= MB_PCM; }
inline bool IsSkip(uint8_t Type) { return Type == MB_SKIP_P || Type == MB_SKIP_B; }

// How a quadrant of an MB_INTER8X8 is divided: sub-macroblock types as stored.
enum SubShape : uint8_t { SUB_8X8 = 0, SUB_8X4 = 1, SUB_4X8 = 2, SUB_4X4 = 3, SUB_NONE = 32 };

// Bits of GlobalMacroblock::Flags.
inline constexpr uint8_t kFlagField = 1 << 1, kFlagTransform8x8 = 1 << 2;

// The part of a macroblock that travels with the frame: what deblocking and later pictures look at.
struct alignas(8) GlobalMacroblock {
    uint16_t SliceId;
    uint8_t Type; // MacroblockType
    int8_t Qp;    // QPY
    int8_t QpChroma;
    uint8_t Flags = 0;
};

inline constexpr int kMaxReferences = 32; // of a list

enum Intra16Mode : uint8_t { INTRA16_VERTICAL = 0, INTRA16_HORIZONTAL = 1, INTRA16_DC = 2, INTRA16_PLANE = 3 };
enum ChromaMode : uint8_t { CHROMA_DC = 0, CHROMA_HORIZONTAL = 1, CHROMA_VERTICAL = 2, CHROMA_PLANE = 3 };

// 4x4 blocks of a chroma plane: of the largest format that is coded.
inline constexpr int32_t kMaxChromaBlocks = h264::kChromaGeometry[h264::CHROMA_422].Blocks;

// Samples of a macroblock of the largest format, as I_PCM has them.
inline constexpr int32_t kMaxPcmSamples = 256 + 2 * 16 * kMaxChromaBlocks;

// Bits of LocalMacroblock::Coded: luma block i (luma4x4BlkIdx) at i, chroma AC of Cb block i at 16 + i, of Cr at 24 +
// i.
inline constexpr uint32_t kCodedLuma = 0xFFFF;
inline constexpr int kCodedCbShift = 16;
inline constexpr int kCodedCrShift = kCodedCbShift + kMaxChromaBlocks;
// Bits of LocalMacroblock::CodedDc.
inline constexpr uint8_t kCodedLumaDc = 1, kCodedCbDc = 2, kCodedCrDc = 4;

// The part of a macroblock that only the picture being coded needs.
struct LocalMacroblock {
    uint32_t Coded;  // one bit for every block that holds a level other than 0: coded_block_flag of clause 9.3.3.1.1.9
    int32_t Cost;    // of the decision
    uint8_t CodedDc; // the same for blocks of DC
    uint8_t Pattern; // coded_block_pattern, bits 0..3 luma, 4 and 5 chroma
    uint8_t Intra16Mode; // Intra16x16PredMode
    uint8_t ChromaMode;  // intra_chroma_pred_mode
    int8_t Qp;           // QPY
    int8_t QpChroma;     // QPC
    uint8_t Direct;      // a bit for each quadrant whose motion is derived and not written: all of MB_SKIP_B, MB_DIRECT
    uint8_t SubTypes[4]; // SubShape of the quadrants of MB_INTER8X8
};

/// How the lines of a frame are coded: H264EncoderParams::coding_type.
enum CodingType : int32_t { CODING_FRAMES = 0, CODING_FIELDS = 1, CODING_ADAPTIVE = 2 };

/// What steers the picture QP.
enum RateControlMethod : int32_t {
    RATE_CONTROL_NONE = 0,
    RATE_CONTROL_SHORT_WINDOWS = 1,
    RATE_CONTROL_LONG_WINDOWS = 2,
    RATE_CONTROL_CONSTANT_QP = 3
};
/// Whether the method steers towards a bit rate.
constexpr bool FollowsRate(int32_t Method)
{
    return Method == RATE_CONTROL_SHORT_WINDOWS || Method == RATE_CONTROL_LONG_WINDOWS;
}

/// Patterns of the search in whole samples. 6 and 7 are walks too.
enum SearchMethod : int32_t {
    SEARCH_FULL = 0,
    SEARCH_CROSS_LOG = 1,
    SEARCH_LOG = 2,
    SEARCH_HEXAGON_LOG = 3,
    SEARCH_CROSS = 4,
    SEARCH_AXIS_BISECTION = 5,
    SEARCH_UMBRELLA = 8
};

inline constexpr int32_t kFurthestVector = 127; // whole samples, in each direction
// The map of points that SEARCH_UMBRELLA has seen, over any window.
inline constexpr size_t kVisitedPoints = size_t{2 * kFurthestVector + 1} * (2 * kFurthestVector + 1);

// Offsets of a macroblock in the planes and how far its vectors may reach, in whole samples.
struct MacroblockPosition {
    int32_t Luma, Chroma; // samples from the plane's origin
    int32_t LimitLeft, LimitRight, LimitTop, LimitBottom;
    int32_t X, Y; // in macroblocks
    // From its vectors in the picture's tables to those of the macroblocks below and to the right, in frames of pairs
    // of such pairs; 0 where there are none.
    int32_t Below, Right;
};

// Analysis flags: what the decisions try.
enum AnalysisFlag : uint32_t {
    ENC_ANALYSE_I4X4 = 1,
    ENC_ANALYSE_I8X8 = 2,
    ENC_ANALYSE_P_SUB8X8 = 4,
    ENC_ANALYSE_P_8X8 = 8,
    ENC_ANALYSE_B_SUB8X8 = 16,
    ENC_ANALYSE_B_8X8 = 32,
    ENC_ANALYSE_SAD = 64,
    ENC_ANALYSE_ME_EARLY_EXIT = 128,
    ENC_ANALYSE_ALL_REFS = 256,
    ENC_ANALYSE_ME_CHROMA = 512,
    ENC_ANALYSE_SUBPEL = 1024,
    ENC_ANALYSE_CBP_EMPTY = 2048,
    ENC_ANALYSE_RECODE = 4096,
    ENC_ANALYSE_DIRECT_AUTO = 8192,
    ENC_ANALYSE_FRAME_TYPE = 16384,
    ENC_ANALYSE_SCENE_CUT = 32768,
    ENC_ANALYSE_RD_MODE = 65536,
    ENC_ANALYSE_RD_OPT = 131072
};

} // namespace UMC_H264_ENCODER
