// Choice of the intra prediction of a macroblock.
#pragma once

#include "encoder/decide/motion_tables.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"

namespace UMC_H264_ENCODER {

/// Price of bits at a QP, in distortion units.
inline int32_t BitPrice(int32_t Qp, int32_t Bits)
{
    return MVBitCost[static_cast<size_t>(Qp)][static_cast<size_t>(Bits)];
}

/// The best Intra 16x16 mode: into local->Intra16Mode, its prediction into work_area.IntraY[0].
/// @return distortion plus the price of the mode
template <class Sample>
int32_t Intra16x16(const EncoderSettings& Settings, SliceContext<Sample>& s);

/// Modes, levels and reconstruction of the sixteen 4x4 blocks in the work area. Gives up as soon as the sum of costs
/// exceeds Limit.
/// @return the sum; when all blocks were tried, with the price of the type
template <class Sample>
int32_t Intra4x4(const EncoderSettings& Settings, const PictureJob<Sample>& Job, SliceContext<Sample>& s,
                 int32_t Limit);

/// The best chroma mode: into local->ChromaMode, its prediction into work_area.PredUV.
template <class Sample>
int32_t IntraChroma(const EncoderSettings& Settings, SliceContext<Sample>& s);

/// True when the source macroblock has edges that Intra 16x16 cannot follow.
template <class Sample>
bool HasDetail(const SliceContext<Sample>& s);

/// Tries the finer types against the cost of Intra 16x16 and leaves the winner's type in the macroblock.
/// @return the winner's cost
template <class Sample>
int32_t TryFinerIntra(const EncoderSettings& Settings, const PictureJob<Sample>& Job, SliceContext<Sample>& s,
                      int32_t Cost16x16);

/// Leaves the type and the cost of an I slice's macroblock in its records.
template <class Sample>
void AnalyseIntra(const EncoderSettings& Settings, const PictureJob<Sample>& Job, SliceContext<Sample>& s);

} // namespace UMC_H264_ENCODER
