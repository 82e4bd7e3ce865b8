// Deblocking of reconstructed macroblocks, H.264 clause 8.7: parameters and the order of work, for samples of either
// type and every chroma format. The filters are kernels.
#pragma once

#include "Common/h264/chroma_geometry.h"
#include "Common/h264/deblocking_thresholds.h"
#include "decoder/macroblock/deblocking_strength.h"
#include "decoder/picture/codec_traits.h"

#include <cstdint>

namespace UMC {

// Filters macroblocks of one picture. It takes the view of a slice once and is then asked macroblock by macroblock.
template <class Sample, int color_format>
class H264Deblocker
{
public:
    static constexpr bool kMbaff = false;

    // Slice is that of the macroblocks that follow, Picture the one that it belongs to.
    H264Deblocker(const PictureView& Picture, const H264Slice& Slice);

    // Filters the macroblock in column X and row Y of the picture, which must belong to the slice.
    void Filter(int32_t X, int32_t Y) const;

protected:
    using Traits = CodecTraits<Sample>;
    using Place = StrengthFinder::Place;
    static constexpr h264::ChromaGeometry kChroma = h264::kChromaGeometry[color_format];
    static constexpr bool kHasChroma = kChroma.Blocks > 0;
    static constexpr bool kLikeLuma = color_format == h264::CHROMA_444;       // chroma is filtered as luma is
    static constexpr bool kTallChroma = color_format == h264::CHROMA_422;     // its rows alone are those of luma
    static constexpr int kLowestQp = sizeof(Sample) == 1 ? 0 : -6 * (14 - 8); // QPY of samples of 14 bits

    // Of a macroblock: QPY as an index into the tables below.
    int QpOf(int32_t Mb) const { return m_pLocal[Mb].Qp - kLowestQp; }
    // The edges of one direction. Params has the thresholds of the macroblock's own QP already.
    template <int Direction>
    void FilterLuma(int Qp, int32_t Neighbour, const uint32_t (&Edge)[4], kernels::EdgeParams& Params, Sample* pLuma,
                    ptrdiff_t Pitch) const;
    template <int Direction>
    void FilterChroma(int Qp, int32_t Neighbour, const uint32_t (&Edge)[4], kernels::EdgeParams (&Params)[2],
                      Sample* pU, Sample* pV, ptrdiff_t Pitch) const;
    // Both planes by the strengths of the first one's parameters.
    template <int Direction>
    void FilterChromaEdges(kernels::EdgeParams (&Params)[2], Sample* pU, Sample* pV, ptrdiff_t Pitch) const;
    void SetThresholds(kernels::EdgeParams& Params, int Index, int Qp) const;

    StrengthFinder m_Strengths;
    PictureView m_Picture;
    const MbGlobalInfo* m_pGlobal;
    const MbLocalInfo* m_pLocal;
    int m_LumaDepth, m_ChromaDepth; // bits of a sample
    int m_ChromaQps;                // 1 where both planes have the same offset
    // QPs count from kLowestQp here: a mean of two does so too. QPC by QPY, and the thresholds by either.
    uint8_t m_ChromaQp[2][52 - kLowestQp];
    h264::DeblockingThresholds m_ByQp[52 - kLowestQp];
};

// What the library decodes. Whoever wants another includes deblocking.inc, which has the definitions.
extern template class H264Deblocker<uint8_t, h264::CHROMA_400>;
extern template class H264Deblocker<uint8_t, h264::CHROMA_420>;
extern template class H264Deblocker<uint8_t, h264::CHROMA_422>;
extern template class H264Deblocker<uint8_t, h264::CHROMA_444>;
extern template class H264Deblocker<uint16_t, h264::CHROMA_400>;
extern template class H264Deblocker<uint16_t, h264::CHROMA_420>;
extern template class H264Deblocker<uint16_t, h264::CHROMA_422>;
extern template class H264Deblocker<uint16_t, h264::CHROMA_444>;

} // namespace UMC
