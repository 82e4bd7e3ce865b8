// Levels of predictions, with the transform left out where it is known to leave nothing.
#pragma once

#include "encoder/state/current_macroblock.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

/// Levels of the macroblock's luma against PredY in 4x4 blocks, into Luma and LumaMask. Without any, Luma may be left
/// as it was.
template <class Sample>
void QuantiseInterLuma(const CurrentMacroblock<Sample>& mb, InterTrial<Sample>& t);
/// The same in 8x8 blocks: bit 4 * i of LumaMask is that of quadrant i.
template <class Sample>
void QuantiseInterLuma8x8(const CurrentMacroblock<Sample>& mb, InterTrial<Sample>& t);

// What a chroma plane's levels are: a bit for each AC block (raster order) with some, and whether the DC has any.
struct ChromaLevels {
    uint32_t AcMask;
    bool HasDc;
};

/// Levels of a plane (0 Cb, 1 Cr) against a prediction, into Chroma and ChromaDc. Without any, they may be left as they
/// were.
/// @param pPredUV  Cb in columns 0..7, Cr in 8..15
template <class Sample>
ChromaLevels QuantiseChroma(const CurrentMacroblock<Sample>& mb, const Sample* pPredUV, int Plane, WorkArea<Sample>& w);

} // namespace UMC_H264_ENCODER
