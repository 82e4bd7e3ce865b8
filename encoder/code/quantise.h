// Levels of inter predictions, with the transform left out where it is known to leave nothing.
#pragma once

#include "encoder/state/slice_context.h"

namespace UMC_H264_ENCODER {

/// Levels of the macroblock's luma against PredY, into Luma. @return a bit for each block with levels; without any,
/// Luma may be left as it was
template <class Sample>
uint32_t QuantiseInterLuma(SliceContext<Sample>& s)
{
    auto& w = s.work_area;
    const auto& mb = s.cur_mb;
    if (Kernels<Sample>.LargestSad4x4Of16x16(mb.pSrcY, mb.SrcPitch, w.PredY, w.kPredStep) <= s.Quant.LumaZeroSad)
        return 0;
    return Kernels<Sample>.ForwardQuant16x16(mb.pSrcY, mb.SrcPitch, w.PredY, w.kPredStep, w.Luma, s.Quant.pLuma);
}

/// True when neither DC nor AC levels of a chroma plane (0 Cb, 1 Cr) against PredUV can remain, with the rounding of P
/// and B slices. False says nothing.
template <class Sample>
bool ChromaHasNoLevels(const SliceContext<Sample>& s, int Plane)
{
    const auto& w = s.work_area;
    const auto& mb = s.cur_mb;
    return Kernels<Sample>.LargestSad4x4Of8x8(Plane ? mb.pSrcV : mb.pSrcU, mb.SrcPitch, w.PredUV + 8 * Plane,
                                              w.kPredStep) <= s.Quant.ChromaZeroSad;
}

} // namespace UMC_H264_ENCODER
