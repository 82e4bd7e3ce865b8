// The contexts of CABAC, clause 9.3: their first state, the steps from state to state and which element has which.
#pragma once

#include "Common/h264/h264_tables.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace h264 {

// State of one ctxIdx: pStateIdx * 2 + valMPS. A type of its own, so that a store to a context is known not to change
// the fields of a coding engine, which then stay in registers over a whole block.
enum class CabacContext : uint8_t {};
using CabacContexts = std::array<CabacContext, kContextCount>;

constexpr CabacContext PackContext(uint32_t pStateIdx, uint32_t valMPS)
{
    return static_cast<CabacContext>(pStateIdx * 2 + valMPS);
}

// What one decision looks up.
struct CabacTables {
    uint8_t RangeLps[128 * 4];  // Table 9-44 by context * 4 + ((codIRange >> 6) & 3)
    CabacContext Next[2 * 128]; // the context behind the more, then behind the less probable symbol (Table 9-45)
    // Bits by which a range of the less probable symbol, 6 or more, grows to 256 (clause 9.3.4.2), by the range / 8.
    uint8_t LpsShift[256 / 8];
};
extern const CabacTables g_CabacTables;

/// The row of kContextInit that serves a slice; cabac_init_idc is not read for I slices.
constexpr size_t ContextInitRow(bool IsISlice, uint32_t cabac_init_idc) { return IsISlice ? 0 : 1 + cabac_init_idc; }

/// Clause 9.3.1.1 for all contexts of a slice.
/// @param SliceTable  the slice's row of kContextInit
/// @param SliceQp     SliceQPY; clipped to 0..51
void InitCabacContexts(CabacContexts& Contexts, const ContextInit (&SliceTable)[kContextCount], int32_t SliceQp);

// ctxIdxOffset of the elements (Table 9-34), apart from residual blocks: BlockCatContexts has theirs. An intra mb_type
// in P and B slices is a prefix of the slice type's own and a suffix of its own.
struct CtxIdxOffset {
    static constexpr uint32_t kMbTypeI = 3, kSkipP = 11, kMbTypeP = 14, kMbTypeIntraInP = 17, kSubMbTypeP = 21;
    static constexpr uint32_t kSkipB = 24, kMbTypeB = 27, kMbTypeIntraInB = 32, kSubMbTypeB = 36;
    static constexpr uint32_t kMvdX = 40, kMvdY = 47, kRefIdx = 54, kQpDelta = 60;
    static constexpr uint32_t kIntraChromaMode = 64, kPrevIntraMode = 68, kRemIntraMode = 69, kFieldDecoding = 70;
    static constexpr uint32_t kPatternLuma = 73, kPatternChroma = 77, kTerminate = 276, kTransform8x8 = 399;
};

} // namespace h264
