// Choice of the intra prediction of a macroblock.
#pragma once

#include "encoder/decide/motion_tables.h"
#include "encoder/state/encoder_core.h"

namespace UMC_H264_ENCODER {

enum Intra16Mode : uint8_t { INTRA16_VERTICAL = 0, INTRA16_HORIZONTAL = 1, INTRA16_DC = 2, INTRA16_PLANE = 3 };
enum ChromaMode : uint8_t { CHROMA_DC = 0, CHROMA_HORIZONTAL = 1, CHROMA_VERTICAL = 2, CHROMA_PLANE = 3 };

/// Price of bits at a QP, in distortion units.
inline int32_t BitPrice(int32_t Qp, int32_t Bits)
{
    return MVBitCost[static_cast<size_t>(Qp)][static_cast<size_t>(Bits)];
}

/// The best Intra 16x16 mode: into local->Intra16Mode, its prediction into work_area.IntraY[0].
/// @return distortion plus the price of the mode
template <class Core>
int32_t Intra16x16(Core& c, typename Core::Slice& s);

/// Modes, levels and reconstruction of the sixteen 4x4 blocks in the work area. Gives up as soon as the sum of costs
/// exceeds Limit.
/// @return the sum; when all blocks were tried, with the price of the type
template <class Core>
int32_t Intra4x4(Core& c, typename Core::Slice& s, int32_t Limit);

/// The best chroma mode: into local->ChromaMode, its prediction into work_area.PredUV.
template <class Core>
int32_t IntraChroma(Core& c, typename Core::Slice& s);

/// True when the source macroblock has edges that Intra 16x16 cannot follow.
template <class Core>
bool HasDetail(const Core& c, const typename Core::Slice& s);

/// Tries the finer types against the cost of Intra 16x16 and leaves the winner's type in the macroblock.
/// @return the winner's cost
template <class Core>
int32_t TryFinerIntra(Core& c, typename Core::Slice& s, int32_t Cost16x16);

} // namespace UMC_H264_ENCODER
