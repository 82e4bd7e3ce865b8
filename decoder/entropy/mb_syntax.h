// The syntax elements of the macroblock layer (clause 7.3.5) apart from residuals, in the two entropy codings. Both
// classes offer the same functions, so that the macroblock decoder is written once.
#pragma once

#include "Common/h264/mb_type.h"
#include "decoder/entropy/traced_syntax.h"
#include "decoder/slice/slice_cursor.h"

#include <cstdint>
#include <type_traits>

namespace UMC {

// Values out of range throw h264_exception with -882.
struct CavlcSyntax {
    static constexpr bool kCabac = false;

    static bool FieldDecodingFlag(EntropyState& State, const MbState& Mb);
    static uint32_t MbTypeI(EntropyState& State, const MbState& Mb); // 0..25
    static uint32_t MbTypeP(EntropyState& State);                    // 0..30
    static uint32_t MbTypeB(EntropyState& State, const MbState& Mb); // 0..48
    static uint32_t SubMbTypeP(EntropyState& State);                 // 0..3
    static uint32_t SubMbTypeB(EntropyState& State);                 // 0..12
    static uint32_t TransformSize8x8Flag(EntropyState& State, const MbState& Mb);
    static int IntraMode(EntropyState& State); // rem_intra_pred_mode, or -1 for the predicted mode
    static uint8_t IntraChromaMode(EntropyState& State, const MbState& Mb);
    static uint8_t CodedBlockPattern(EntropyState& State, const MbState& Mb, bool HasChroma,
                                     bool Intra); // luma bits 0..3, chroma from bit 4
    static int DeltaQp(EntropyState& State);
    // Of the partition that starts at 8x8 block Quadrant; Count references are active.
    static int RefIdx(EntropyState& State, const MbState& Mb, int List, int Quadrant, int Count);
    // Of the block at Pos of the motion cache. Magnitude receives what later contexts read; CAVLC leaves it alone.
    static h264::MotionVector Mvd(EntropyState& State, const MotionCache& Cache, int Pos, uint8_t Magnitude[2]);
};

struct CabacSyntax {
    static constexpr bool kCabac = true;

    static bool SkipFlag(EntropyState& State, const MbState& Mb, bool IsBSlice);
    static bool FieldDecodingFlag(EntropyState& State, const MbState& Mb); // of the pair
    static uint32_t MbTypeI(EntropyState& State, const MbState& Mb);
    static uint32_t MbTypeP(EntropyState& State);
    static uint32_t MbTypeB(EntropyState& State, const MbState& Mb);
    static uint32_t SubMbTypeP(EntropyState& State);
    static uint32_t SubMbTypeB(EntropyState& State);
    static uint32_t TransformSize8x8Flag(EntropyState& State, const MbState& Mb);
    static int IntraMode(EntropyState& State);
    static uint8_t IntraChromaMode(EntropyState& State, const MbState& Mb);
    static uint8_t CodedBlockPattern(EntropyState& State, const MbState& Mb, bool HasChroma, bool Intra);
    static int DeltaQp(EntropyState& State);
    static int RefIdx(EntropyState& State, const MbState& Mb, int List, int Quadrant, int Count);
    static h264::MotionVector Mvd(EntropyState& State, const MotionCache& Cache, int Pos, uint8_t Magnitude[2]);
};

// The elements of one coding in pictures of one kind: with kMbaff macroblocks stand in pairs of frame or field ones.
template <class Elements, bool kMbaffFrame>
struct SyntaxOf : std::conditional_t<h264::trace::kIsBuilt, TracedElements<Elements>, Elements> {
    static constexpr bool kMbaff = kMbaffFrame;
};

} // namespace UMC
