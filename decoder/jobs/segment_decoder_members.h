// The members of the family by source. Each function gives null for a chroma format that it has no member for.
#pragma once

#include "decoder/jobs/segment_decoder_hp.h"

namespace UMC {

// Of samples of 8 bits whose residual is always transformed: what nearly every stream takes. Profiles that are not high
// have 4:2:0 alone.
SegmentDecoderHPBase* FindFrameDecoder(const H264SeqParamSet& Sequence);
SegmentDecoderHPBase* FindFieldDecoder(const H264SeqParamSet& Sequence);

// Of samples of 8 bits, some of whose macroblocks may bypass the transform, and of all in 4:4:4.
SegmentDecoderHPBase* FindBypassDecoder(uint32_t chroma_format_idc, bool IsField);

// Of samples of more than 8 bits, with or without bypass.
SegmentDecoderHPBase* FindDeepDecoder(uint32_t chroma_format_idc, bool IsField);

// Of MBAFF frames.
SegmentDecoderHPBase* FindPairDecoder(const H264SeqParamSet& Sequence, bool IsDeep);

} // namespace UMC
