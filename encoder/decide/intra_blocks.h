// Choice of the modes of small intra blocks, each coded as soon as it is chosen, so that the next one is predicted from
// what a decoder has.
#pragma once

#include "encoder/state/candidate.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

/// The best modes of the sixteen 4x4 blocks: these, levels and reconstruction into the work area. Gives up as soon as
/// the sum of costs exceeds Limit: the cost is then that sum, and else that of all blocks with the price of the type.
template <class Sample>
Candidate Intra4x4(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                   int32_t Limit);
/// The same of the four 8x8 blocks.
template <class Sample>
Candidate Intra8x8(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                   int32_t Limit);

} // namespace UMC_H264_ENCODER
