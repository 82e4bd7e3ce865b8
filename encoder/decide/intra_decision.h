// Choice of the intra prediction of a macroblock.
#pragma once

#include "encoder/decide/motion_tables.h"
#include "encoder/state/candidate.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

/// Price of bits at a QP, in distortion units.
inline int32_t BitPrice(int32_t Qp, int32_t Bits) { return MVBitCost[PriceIndex(Qp)][static_cast<size_t>(Bits)]; }

/// The best Intra 16x16 mode at its distortion plus the price of the mode; its prediction into IntraY.
template <class Sample>
Candidate Intra16x16(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w);

/// The best chroma mode; its prediction into IntraUV. Nothing in monochrome.
/// @return its cost
template <class Sample>
int32_t IntraChroma(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                    uint8_t& Mode);

/// True when the source macroblock has edges that Intra 16x16 cannot follow.
template <class Sample>
bool HasDetail(const CurrentMacroblock<Sample>& mb);

/// Whether the settings have small intra blocks tried.
bool HasFinerIntra(const EncoderSettings& Settings);

/// Puts a finer type in the place of Best, which is Intra 16x16, when it is cheaper.
template <class Sample>
void TryFinerIntra(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                   Candidate& Best);

/// The luma of a macroblock in an I slice.
template <class Sample>
Candidate AnalyseIntra(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w);

} // namespace UMC_H264_ENCODER
