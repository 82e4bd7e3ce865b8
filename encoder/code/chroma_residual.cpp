#include "encoder/code/chroma_residual.h"

#include "Common/h264/chroma_geometry.h"
#include "encoder/code/coefficients.h"
#include "encoder/code/quantise.h"

#include <algorithm>
#include <bit>

namespace UMC_H264_ENCODER {

namespace {

// Of one plane, in 8x8 halves of which 4:2:2 has two.
template <class Sample, int32_t Blocks>
class PlaneResidual
{
public:
    PlaneResidual(int Plane, CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
        : m_Plane(Plane), m_Mb(mb), m_w(w), m_pLevels(w.Chroma[Plane])
    {
    }

    // Inlined: what a plane is then costs nothing.
    [[gnu::always_inline]] ChromaLevels Reconstruct(const Sample* pPredUV)
    {
        ChromaLevels l = QuantiseChroma<Blocks>(m_Mb, pPredUV, m_Plane, m_w);
        l.AcMask = ListAc(l.AcMask);
        if (l.HasDc) ListDcLevels(m_w.ChromaDc[m_Plane], Blocks, m_w.ChromaDcLevels[m_Plane]);
        const bool IsLossless = m_Mb.pQuant->IsLossless;
        const Sample* const pFrom = !IsLossless ? pPredUV + 8 * m_Plane : m_Plane ? m_Mb.pSrcV : m_Mb.pSrcU;
        Sample* const pDst = m_Plane ? m_Mb.pRecV : m_Mb.pRecU;
        if (pFrom != pDst)
            Kernels<Sample>.CopyBlock8(pFrom, IsLossless ? m_Mb.SrcPitch : m_w.kPredStep, pDst, m_Mb.pitch, 2 * Blocks);
        if (!IsLossless) Add(l, pDst);
        return l;
    }

private:
    // Lists the levels of the AC blocks that are worth their bits, all of the plane or none.
    uint32_t ListAc(uint32_t Mask)
    {
        const ScanOrder& Order = ScanOf(*m_Mb.Records.pGlobal);
        int32_t Cost = 0;
        for (uint32_t Rest = Mask; Rest; Rest &= Rest - 1) {
            const auto Block = static_cast<size_t>(std::countr_zero(Rest));
            Cost += ListLevels(m_pLevels + 16 * Block, 1, Order, m_w.ChromaAcLevels[m_Plane][Block]);
        }
        if (!Mask || m_Mb.pQuant->IsLossless || IsChromaAcWorthCoding(Cost, Blocks / 4)) return Mask;
        std::fill_n(m_pLevels, 16 * Blocks, typename CodecTraits<Sample>::Coeff{0});
        return 0;
    }

    void Add(const ChromaLevels& l, Sample* pDst)
    {
        const MacroblockQuant& q = *m_Mb.pQuant;
        if (l.AcMask) Kernels<Sample>.DequantBlocks(m_pLevels, l.AcMask, Blocks, q.pChromaScale, q.ChromaPer, 1);
        uint32_t Bits = l.AcMask;
        if (l.HasDc) {
            const auto pInverse =
                Blocks == 8 ? &*Kernels<Sample>.InverseChromaDc422 : &*Kernels<Sample>.InverseChromaDc420;
            pInverse(m_w.ChromaDc[m_Plane], q.pChromaDcScale[0], q.ChromaDcPer, m_pLevels);
            for (int32_t Block = 0; Block < Blocks; ++Block) Bits |= (m_pLevels[16 * Block] != 0 ? 1u : 0u) << Block;
        }
        for (int32_t Half = 0; Bits >> (4 * Half); ++Half)
            if (const uint32_t Own = Bits >> (4 * Half) & 15)
                Kernels<Sample>.AddResidualChroma(m_pLevels + 64 * Half, pDst + 8 * Half * m_Mb.pitch, m_Mb.pitch, Own,
                                                  m_Mb.pSlice->Syntax.BitDepthChroma);
    }

    int m_Plane;
    CurrentMacroblock<Sample>& m_Mb;
    WorkArea<Sample>& m_w;
    typename CodecTraits<Sample>::Coeff* m_pLevels;
};

template <int32_t Blocks, class Sample>
void ReconstructPlanes(const Sample* pPredUV, CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    const ChromaLevels Cb = PlaneResidual<Sample, Blocks>(0, mb, w).Reconstruct(pPredUV);
    const ChromaLevels Cr = PlaneResidual<Sample, Blocks>(1, mb, w).Reconstruct(pPredUV);
    LocalMacroblock& Local = *mb.Records.pLocal;
    Local.Coded |= Cb.AcMask << kCodedCbShift | Cr.AcMask << kCodedCrShift;
    Local.CodedDc = static_cast<uint8_t>(Local.CodedDc | (Cb.HasDc ? kCodedCbDc : 0) | (Cr.HasDc ? kCodedCrDc : 0));
    const uint32_t Pattern = (Cb.AcMask | Cr.AcMask) ? 2u << 4 : (Cb.HasDc || Cr.HasDc) ? 1u << 4 : 0u;
    Local.Pattern = static_cast<uint8_t>(Local.Pattern | Pattern);
}

} // namespace

template <class Sample>
void ReconstructChroma(const Sample* pPredUV, CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    const int32_t Format = mb.pSlice->Syntax.chroma_format_idc;
    if (Format == h264::CHROMA_420) [[likely]]
        return ReconstructPlanes<4>(pPredUV, mb, w);
    if (Format == h264::CHROMA_422) return ReconstructPlanes<8>(pPredUV, mb, w);
}

template <class Sample>
void CopyChroma(const Sample* pPredUV, CurrentMacroblock<Sample>& mb)
{
    const int32_t Height = h264::kChromaGeometry[mb.pSlice->Syntax.chroma_format_idc].MbHeight;
    if (Height == 0) return;
    constexpr int kStep = WorkArea<Sample>::kPredStep;
    Kernels<Sample>.CopyBlock8(pPredUV, kStep, mb.pRecU, mb.pitch, Height);
    Kernels<Sample>.CopyBlock8(pPredUV + 8, kStep, mb.pRecV, mb.pitch, Height);
}

#define INSTANTIATE(Sample)                                                                                            \
    template void ReconstructChroma(const Sample*, CurrentMacroblock<Sample>&, WorkArea<Sample>&);                     \
    template void CopyChroma(const Sample*, CurrentMacroblock<Sample>&);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
