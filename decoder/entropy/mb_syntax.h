// The syntax elements of the macroblock layer (clause 7.3.5) apart from residuals, in the two entropy codings. Both
// classes offer the same functions, so that the macroblock decoder is written once.
#pragma once

#include "decoder/jobs/segment_decoder.h"

#include <cstdint>

namespace UMC {

inline constexpr uint32_t kIntraPcmType = 25;   // mb_type of I slices
inline constexpr uint32_t kFirstIntraTypeP = 5; // mb_type in P slices from which on I types follow
inline constexpr uint32_t kFirstIntraTypeB = 23;

// Values out of range throw h264_exception with -882.
struct CavlcSyntax {
    static constexpr bool kCabac = false;

    static uint32_t MbTypeI(H264SegmentDecoder& d);    // 0..25
    static uint32_t MbTypeP(H264SegmentDecoder& d);    // 0..30
    static uint32_t MbTypeB(H264SegmentDecoder& d);    // 0..48
    static uint32_t SubMbTypeP(H264SegmentDecoder& d); // 0..3
    static uint32_t SubMbTypeB(H264SegmentDecoder& d); // 0..12
    static uint32_t TransformSize8x8Flag(H264SegmentDecoder& d);
    static int IntraMode(H264SegmentDecoder& d); // rem_intra_pred_mode, or -1 for the predicted mode
    static uint8_t IntraChromaMode(H264SegmentDecoder& d);
    static uint8_t CodedBlockPattern(H264SegmentDecoder& d, bool Intra); // luma bits 0..3, chroma from bit 4
    static int DeltaQp(H264SegmentDecoder& d);
    // Of the partition that starts at 8x8 block Quadrant; Count references are active.
    static int RefIdx(H264SegmentDecoder& d, int List, int Quadrant, int Count);
    // Of the block at Pos of the motion cache. Magnitude receives what later contexts read; CAVLC leaves it alone.
    static h264::MotionVector Mvd(H264SegmentDecoder& d, int List, int Pos, uint8_t Magnitude[2]);
};

struct CabacSyntax {
    static constexpr bool kCabac = true;

    static bool SkipFlag(H264SegmentDecoder& d);
    static uint32_t MbTypeI(H264SegmentDecoder& d);
    static uint32_t MbTypeP(H264SegmentDecoder& d);
    static uint32_t MbTypeB(H264SegmentDecoder& d);
    static uint32_t SubMbTypeP(H264SegmentDecoder& d);
    static uint32_t SubMbTypeB(H264SegmentDecoder& d);
    static uint32_t TransformSize8x8Flag(H264SegmentDecoder& d);
    static int IntraMode(H264SegmentDecoder& d);
    static uint8_t IntraChromaMode(H264SegmentDecoder& d);
    static uint8_t CodedBlockPattern(H264SegmentDecoder& d, bool Intra);
    static int DeltaQp(H264SegmentDecoder& d);
    static int RefIdx(H264SegmentDecoder& d, int List, int Quadrant, int Count);
    static h264::MotionVector Mvd(H264SegmentDecoder& d, int List, int Pos, uint8_t Magnitude[2]);
};

} // namespace UMC
