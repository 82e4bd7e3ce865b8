#include "encoder/code/quantise.h"

#include "Common/h264/chroma_geometry.h"
#include "Common/h264/h264_tables.h"
#include "encoder/code/lossless.h"

namespace UMC_H264_ENCODER {

namespace {

// With the order of the DC levels in their coding (clause 8.5.11.1).
template <class Sample>
ChromaLevels ChromaDifferences(const CurrentMacroblock<Sample>& mb, const Sample* pSrc, const Sample* pPred, int Blocks,
                               int Plane, WorkArea<Sample>& w)
{
    static constexpr int kOrder422[8]{0, 2, 1, 5, 3, 6, 4, 7};
    ChromaLevels l{};
    for (int Block = 0; Block < Blocks; ++Block) {
        const int x = 4 * (Block & 1), y = 4 * (Block >> 1);
        auto* const pLevels = w.Chroma[Plane] + 16 * Block;
        TakeDifferences(pSrc + y * mb.SrcPitch + x, mb.SrcPitch, pPred + y * w.kPredStep + x, w.kPredStep, 4, pLevels);
        w.ChromaDc[Plane][Blocks == 8 ? kOrder422[Block] : Block] = pLevels[0];
        l.HasDc |= pLevels[0] != 0;
        pLevels[0] = 0;
        for (int i = 1; i < 16; ++i) l.AcMask |= (pLevels[i] != 0 ? 1u : 0u) << Block;
    }
    return l;
}

} // namespace

template <class Sample>
uint32_t TakeLumaDifferences(const CurrentMacroblock<Sample>& mb, int Size, InterTrial<Sample>& t)
{
    constexpr int kStep = WorkArea<Sample>::kPredStep;
    uint32_t Mask = 0;
    for (uint32_t Block = 0; Block < 16; Block += static_cast<uint32_t>(Size * Size / 16)) {
        const int Raster = h264::kBlockRaster[Block], x = 4 * (Raster & 3), y = 4 * (Raster >> 2);
        const bool HasAny = TakeDifferences(mb.pSrcY + y * mb.SrcPitch + x, mb.SrcPitch, t.PredY + y * kStep + x, kStep,
                                            Size, t.Luma + 16 * Block);
        Mask |= (HasAny ? 1u : 0u) << Block;
    }
    return Mask;
}

template <class Sample>
void QuantiseInterLuma8x8(const CurrentMacroblock<Sample>& mb, InterTrial<Sample>& t)
{
    if (mb.pQuant->IsLossless) [[unlikely]] {
        t.LumaMask = TakeLumaDifferences(mb, 8, t);
        return;
    }
    const uint32_t Quadrants = Kernels<Sample>.ForwardQuant8x8Of16x16(
        mb.pSrcY, mb.SrcPitch, t.PredY, WorkArea<Sample>::kPredStep, t.Luma, mb.pQuant->pLuma8x8);
    t.LumaMask = (Quadrants & 1) | (Quadrants & 2) << 3 | (Quadrants & 4) << 6 | (Quadrants & 8) << 9;
}

template <class Sample>
ChromaLevels QuantiseOtherChroma(const CurrentMacroblock<Sample>& mb, const Sample* pSrc, const Sample* pPred,
                                 int Plane, WorkArea<Sample>& w)
{
    const MacroblockQuant& q = *mb.pQuant;
    const int Blocks = h264::kChromaGeometry[mb.pSlice->Syntax.chroma_format_idc].Blocks;
    if (q.IsLossless) return ChromaDifferences(mb, pSrc, pPred, Blocks, Plane, w);
    auto *const pLevels = w.Chroma[Plane], *const pDc = w.ChromaDc[Plane];
    uint32_t Mask = 0;
    for (int Half = 0; Half < Blocks / 4; ++Half)
        Mask |= Kernels<Sample>.ForwardQuantAc8x8(pSrc + 8 * Half * mb.SrcPitch, mb.SrcPitch,
                                                  pPred + 8 * Half * w.kPredStep, w.kPredStep, pLevels + 64 * Half,
                                                  pDc + 4 * Half, q.pChroma)
                << (4 * Half);
    const kernels::QuantParams& Dc = *q.pChromaDc;
    return {Mask, Kernels<Sample>.ForwardChromaDc422(pDc, Dc.Factor[0], Dc.Rounding, Dc.Shift) != 0};
}

#define INSTANTIATE(Sample)                                                                                            \
    template uint32_t TakeLumaDifferences(const CurrentMacroblock<Sample>&, int, InterTrial<Sample>&);                 \
    template void QuantiseInterLuma8x8(const CurrentMacroblock<Sample>&, InterTrial<Sample>&);                         \
    template ChromaLevels QuantiseOtherChroma(const CurrentMacroblock<Sample>&, const Sample*, const Sample*, int,     \
                                              WorkArea<Sample>&);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
