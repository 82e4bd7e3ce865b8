// The macroblock layer in CABAC (clauses 7.3.5 and 9.3), on a real or a counting coder.
#pragma once

#include "encoder/state/picture_job.h"

namespace UMC_H264_ENCODER {

/// Writes the current macroblock: mb_skip_flag and all that follows but end_of_slice_flag. QpDelta of the macroblock
/// and last_qp_delta of the slice are set as a decoder sees them.
template <class Core, class Coder>
void WriteMacroblockCabac(const Core& c, typename Core::Slice& s, Coder& Arithmetic, CabacContexts& Contexts);

/// Bits by luma4x4BlkIdx to bits by raster position, and back.
constexpr uint32_t SwapBlockOrder(uint32_t Bits)
{
    const uint32_t Moved = ((Bits >> 2) ^ Bits) & 0x0C0C;
    return Bits ^ Moved ^ (Moved << 2);
}

} // namespace UMC_H264_ENCODER
