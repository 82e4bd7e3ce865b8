// The members of the family of macroblock loops that decode MBAFF frames, pair by pair.
#pragma once

#include "decoder/jobs/segment_decoder_hp.h"

namespace UMC {

// Null for a sequence that there is none for.
SegmentDecoderHPBase* FindPairDecoder(const H264SeqParamSet& Sequence);

} // namespace UMC
