// Levels of inter predictions, with the transform left out where it is known to leave nothing.
#pragma once

#include "encoder/state/current_macroblock.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

/// Levels of the macroblock's luma against PredY, into Luma and LumaMask. Without any, Luma may be left as it was.
template <class Sample>
void QuantiseInterLuma(const CurrentMacroblock<Sample>& mb, InterTrial<Sample>& t)
{
    constexpr int kStep = WorkArea<Sample>::kPredStep;
    const bool HasNone =
        Kernels<Sample>.LargestSad4x4Of16x16(mb.pSrcY, mb.SrcPitch, t.PredY, kStep) <= mb.pQuant->LumaZeroSad;
    t.LumaMask =
        HasNone ? 0
                : Kernels<Sample>.ForwardQuant16x16(mb.pSrcY, mb.SrcPitch, t.PredY, kStep, t.Luma, mb.pQuant->pLuma);
}

/// True when neither DC nor AC levels of a chroma plane (0 Cb, 1 Cr) against a prediction can remain, with the rounding
/// of P and B slices. False says nothing.
/// @param pPredUV  Cb in columns 0..7, Cr in 8..15
template <class Sample>
bool ChromaHasNoLevels(const CurrentMacroblock<Sample>& mb, const Sample* pPredUV, int Plane)
{
    return Kernels<Sample>.LargestSad4x4Of8x8(Plane ? mb.pSrcV : mb.pSrcU, mb.SrcPitch, pPredUV + 8 * Plane,
                                              WorkArea<Sample>::kPredStep) <= mb.pQuant->ChromaZeroSad;
}

} // namespace UMC_H264_ENCODER
