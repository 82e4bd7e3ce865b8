// Deblocking of the macroblocks of MBAFF frames, H.264 clause 8.7. Where frame and field macroblocks meet, edges are
// not those of other pictures.
#pragma once

#include "Common/h264/pair_edges.h"
#include "decoder/macroblock/deblocking.h"

#include <cstdint>

namespace UMC {

template <class Sample, int color_format>
class PairDeblocker : private H264Deblocker<Sample, color_format>
{
public:
    static constexpr bool kMbaff = true;

    // Slice is that of the macroblocks that follow, Picture the frame that it belongs to.
    PairDeblocker(const PictureView& Picture, const H264Slice& Slice);

    // Filters the macroblock whose place, as MbPlace counts, is column X and row Y.
    void Filter(int32_t X, int32_t Y) const;

private:
    using Base = H264Deblocker<Sample, color_format>;
    using Traits = CodecTraits<Sample>;

    using PairPlace = h264::PairPlace;
    // Where its samples lie: in the frame, or in a field of it.
    struct Area {
        const PictureView& View;
        int32_t X, Row; // in macroblocks
        Sample* At(int Plane, int y) const
        {
            const int Width = Plane == 0 ? 16 : Base::kChroma.MbWidth,
                      Height = Plane == 0 ? 16 : Base::kChroma.MbHeight;
            return SampleAt<Sample>(View.pPlane[Plane], Plane == 0 ? View.PitchLuma : View.PitchChroma, X * Width,
                                    Row * Height + y);
        }
    };
    // Strengths of edges that two macroblocks share with one: four pieces for either.
    struct MixedEdge {
        int32_t First = -1; // of the two; -1 for none
        uint32_t Edge[2] = {};
    };

    PairPlace FindPlace(int32_t X, int32_t Y) const;
    uint32_t MixedStrength(int32_t Mb, int Block, int32_t Neighbour, int NeighbourBlock, uint32_t Intra) const;
    // As the strengths of mixed edges are asked for.
    auto Strengths() const
    {
        return [this](int32_t Mb, int Block, int32_t Neighbour, int NeighbourBlock, uint32_t Intra) {
            return MixedStrength(Mb, Block, Neighbour, NeighbourBlock, Intra);
        };
    }
    MixedEdge LeftStrengths(const PairPlace& p) const;
    MixedEdge TopStrengths(const PairPlace& p) const;
    void FilterLuma(const PairPlace& p, const Area& a, const DeblockingStrength& s, const MixedEdge& Left,
                    const MixedEdge& Top) const;
    void FilterChroma(const PairPlace& p, const Area& a, const DeblockingStrength& s, const MixedEdge& Left,
                      const MixedEdge& Top) const;
    void FilterMixedChroma(kernels::EdgeParams (&Outer)[2][2], Sample* pU, Sample* pV, ptrdiff_t Gap,
                           ptrdiff_t Step) const;
    void SetOuter(kernels::EdgeParams& Params, int Qp, int32_t Neighbour, uint32_t Edge) const;
    void SetOuterChroma(kernels::EdgeParams& U, kernels::EdgeParams& V, int Qp, int32_t Neighbour, uint32_t Edge) const;

    StrengthFinder m_FieldStrengths; // of field macroblocks; the base's are those of frame macroblocks
    PictureView m_Fields[2];
};

// What the library decodes. Whoever wants another includes pair_deblocking.inc, which has the definitions.
extern template class PairDeblocker<uint8_t, h264::CHROMA_400>;
extern template class PairDeblocker<uint8_t, h264::CHROMA_420>;
extern template class PairDeblocker<uint8_t, h264::CHROMA_422>;
extern template class PairDeblocker<uint8_t, h264::CHROMA_444>;
extern template class PairDeblocker<uint16_t, h264::CHROMA_400>;
extern template class PairDeblocker<uint16_t, h264::CHROMA_420>;
extern template class PairDeblocker<uint16_t, h264::CHROMA_422>;
extern template class PairDeblocker<uint16_t, h264::CHROMA_444>;

} // namespace UMC
