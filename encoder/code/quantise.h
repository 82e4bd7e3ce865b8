// Levels of predictions, with the transform left out where it is known to leave nothing.
#pragma once

#include "Common/h264/chroma_geometry.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

/// QuantiseInterLuma without loss.
template <class Sample>
uint32_t TakeLumaDifferences(const CurrentMacroblock<Sample>& mb, int Size, InterTrial<Sample>& t);

/// Levels of the macroblock's luma against PredY in 4x4 blocks, into Luma and LumaMask. Without any, Luma may be left
/// as it was.
template <class Sample>
[[gnu::always_inline]] inline void QuantiseInterLuma(const CurrentMacroblock<Sample>& mb, InterTrial<Sample>& t)
{
    constexpr int kStep = WorkArea<Sample>::kPredStep;
    const MacroblockQuant& q = *mb.pQuant;
    if (q.IsLossless) [[unlikely]] {
        t.LumaMask = TakeLumaDifferences(mb, 4, t);
        return;
    }
    const bool HasNone = Kernels<Sample>.LargestSad4x4Of16x16(mb.pSrcY, mb.SrcPitch, t.PredY, kStep) <= q.LumaZeroSad;
    t.LumaMask =
        HasNone ? 0 : Kernels<Sample>.ForwardQuant16x16(mb.pSrcY, mb.SrcPitch, t.PredY, kStep, t.Luma, q.pLuma);
}
/// The same in 8x8 blocks: bit 4 * i of LumaMask is that of quadrant i.
template <class Sample>
void QuantiseInterLuma8x8(const CurrentMacroblock<Sample>& mb, InterTrial<Sample>& t);

// What a chroma plane's levels are: a bit for each AC block (raster order) with some, and whether the DC has any.
struct ChromaLevels {
    uint32_t AcMask;
    bool HasDc;
};

/// QuantiseChroma of 4:2:2, or without loss.
template <class Sample>
ChromaLevels QuantiseOtherChroma(const CurrentMacroblock<Sample>& mb, const Sample* pSrc, const Sample* pPred,
                                 int Plane, WorkArea<Sample>& w);

/// Levels of a plane (0 Cb, 1 Cr) against a prediction, into Chroma and ChromaDc. Without any, they may be left as they
/// were: in P and B slices a plane of 4:2:0 that differs by little is known to have none.
/// @tparam Blocks  of the plane: 4, or 8 in 4:2:2
/// @param pPredUV  Cb in columns 0..7, Cr in 8..15
template <int32_t Blocks, class Sample>
[[gnu::always_inline]] inline ChromaLevels QuantiseChroma(const CurrentMacroblock<Sample>& mb, const Sample* pPredUV,
                                                          int Plane, WorkArea<Sample>& w)
{
    const MacroblockQuant& q = *mb.pQuant;
    const Sample *const pSrc = Plane ? mb.pSrcV : mb.pSrcU, *const pPred = pPredUV + 8 * Plane;
    if (Blocks != 4 || q.IsLossless) [[unlikely]]
        return QuantiseOtherChroma(mb, pSrc, pPred, Plane, w);
    if (mb.pSlice->slice_type != h264::SLICE_I &&
        Kernels<Sample>.LargestSad4x4Of8x8(pSrc, mb.SrcPitch, pPred, w.kPredStep) <= q.ChromaZeroSad)
        return {0, false};
    auto *const pLevels = w.Chroma[Plane], *const pDc = w.ChromaDc[Plane];
    const uint32_t Mask =
        Kernels<Sample>.ForwardQuantAc8x8(pSrc, mb.SrcPitch, pPred, w.kPredStep, pLevels, pDc, q.pChroma);
    const kernels::QuantParams& Dc = *q.pChromaDc;
    return {Mask, Kernels<Sample>.ForwardChromaDc420(pDc, Dc.Factor[0], Dc.Rounding, Dc.Shift) != 0};
}

} // namespace UMC_H264_ENCODER
