// The family of macroblock loops, one member for each combination of sample type, chroma format, field, profile class
// and bypass that is decoded, so that no test of these stands in the loops. Members have no state and serve any number
// of threads.
#pragma once

#include "decoder/jobs/segment_decoder.h"
#include "media/umc_status.h"

#include <cstdint>

namespace UMC {

inline constexpr int kLargestDepth = 14; // bits of a sample that the tables of QP go to

class SegmentDecoderHPBase
{
public:
    virtual ~SegmentDecoderHPBase() = default;

    // Entropy decoding and reconstruction, macroblock by macroblock, of Count macroblocks from Position on. The
    // decoder's cursor follows. 0 when the count is done, StatusEndOfSegment when the slice's data
    // ended; damaged data throws h264_exception.
    virtual Status DecodeSegmentCAVLCSingle(int32_t Position, int32_t Count, H264SegmentDecoder& Decoder) = 0;
    virtual Status DecodeSegmentCABACSingle(int32_t Position, int32_t Count, H264SegmentDecoder& Decoder) = 0;
};

// Whether a slice ends behind the macroblock that was decoded last. A CAVLC slice of a picture with one slice group
// does not look for the end of its data: it goes on to its limit.
template <bool kCabac>
inline bool IsSliceEnd(EntropyState& e, bool HasSliceGroups)
{
    if constexpr (kCabac) return e.Cabac.m_Engine.Terminate();
    return HasSliceGroups && e.MbSkipRun < 2 && !e.Bits.MoreRbspData();
}

// The member for a slice, or null when there is none.
SegmentDecoderHPBase* FindSegmentDecoder(const H264SeqParamSet& Sequence, bool IsField, bool IsMbaff);

} // namespace UMC
