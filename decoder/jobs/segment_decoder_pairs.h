// The members of the family of macroblock loops that decode MBAFF frames, pair by pair.
#pragma once

#include "decoder/jobs/segment_decoder_hp.h"

#include <cstdint>

namespace UMC {

// Samples of 8 bits; null for a chroma format that has none.
SegmentDecoderHPBase* FindPairDecoder(uint32_t ChromaFormat, bool IsHighProfile);

} // namespace UMC
