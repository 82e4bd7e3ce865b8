// Levels of inter predictions, with the transform left out where it is known to leave nothing.
#pragma once

#include "encoder/state/current_macroblock.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

/// Levels of the macroblock's luma against PredY, into Luma. @return a bit for each block with levels; without any,
/// Luma may be left as it was
template <class Sample>
uint32_t QuantiseInterLuma(const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    if (Kernels<Sample>.LargestSad4x4Of16x16(mb.pSrcY, mb.SrcPitch, w.PredY, w.kPredStep) <= mb.pQuant->LumaZeroSad)
        return 0;
    return Kernels<Sample>.ForwardQuant16x16(mb.pSrcY, mb.SrcPitch, w.PredY, w.kPredStep, w.Luma, mb.pQuant->pLuma);
}

/// True when neither DC nor AC levels of a chroma plane (0 Cb, 1 Cr) against PredUV can remain, with the rounding of P
/// and B slices. False says nothing.
template <class Sample>
bool ChromaHasNoLevels(const CurrentMacroblock<Sample>& mb, const WorkArea<Sample>& w, int Plane)
{
    return Kernels<Sample>.LargestSad4x4Of8x8(Plane ? mb.pSrcV : mb.pSrcU, mb.SrcPitch, w.PredUV + 8 * Plane,
                                              w.kPredStep) <= mb.pQuant->ChromaZeroSad;
}

} // namespace UMC_H264_ENCODER
