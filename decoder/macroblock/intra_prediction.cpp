#include "decoder/macroblock/intra_prediction.h"

#include "Common/h264/chroma_geometry.h"
#include "decoder/macroblock/codec_traits.h"
#include "kernels/intra/intra_neighbours.h"

namespace UMC {

namespace {

using kernels::kLeft;
using kernels::kTop;
using kernels::kTopLeft;
using kernels::kTopRight;

void Require(unsigned Needed, unsigned Available)
{
    if (Needed & ~Available) throw h264_exception(StatusInvalidParams);
}

// The sample in column x and row y of a plane of the picture.
template <class Sample>
Sample* SampleAt(uint8_t* pPlane, ptrdiff_t Pitch, int x, int y)
{
    return reinterpret_cast<Sample*>(pPlane + y * Pitch) + x;
}

} // namespace

unsigned FindIntraNeighbours(const SliceView& Slice, const MbState& Mb)
{
    const MbGlobalInfo* const pGlobal = Slice.Records.m_pGlobal;
    const bool Constrained = Slice.pPictureSet->constrained_intra_pred_flag != 0;
    const auto Bit = [&](int32_t Neighbour, unsigned Flag) {
        return Neighbour >= 0 && (!Constrained || IsIntra(pGlobal[Neighbour])) ? Flag : 0u;
    };
    return Bit(Mb.Left, kLeft) | Bit(Mb.Top, kTop) | Bit(Mb.TopRight, kTopRight) | Bit(Mb.TopLeft, kTopLeft);
}

template <class Sample>
void PredictIntra16x16(const SliceView& Slice, const MbState& Mb)
{
    const unsigned Available = FindIntraNeighbours(Slice, Mb);
    const unsigned Mode = Mb.pLocal->SubBlockDirection[0];
    Require(kernels::kIntra16x16Needs[Mode], Available);
    CodecTraits<Sample>::Predict16x16(static_cast<int>(Mode), Slice.Picture.LumaOf<Sample>(Mb.X, Mb.Y),
                                      Slice.Picture.PitchLuma, Available, Slice.LumaDepth<Sample>());
}

template <class Sample, int color_format>
void PredictIntraChroma(const SliceView& Slice, const MbState& Mb)
{
    constexpr int kWidth = h264::kChromaGeometry[color_format].MbWidth,
                  kHeight = h264::kChromaGeometry[color_format].MbHeight;
    const unsigned Available = FindIntraNeighbours(Slice, Mb);
    const unsigned Mode = Mb.pLocal->SubBlockDirection[2];
    Require(kernels::kIntraChromaNeeds[Mode], Available);
    const ptrdiff_t Step = Slice.Picture.PitchChroma;
    for (int Plane = 1; Plane < 3; ++Plane) {
        Sample* const p = SampleAt<Sample>(Slice.Picture.pPlane[Plane], Step, Mb.X * kWidth, Mb.Y * kHeight);
        CodecTraits<Sample>::template PredictChroma<kHeight>(static_cast<int>(Mode), p, Step, Available,
                                                             Slice.ChromaDepth<Sample>());
    }
}

template <class Sample>
void ReconstructIntra4x4(const SliceView& Slice, const MbState& Mb, MbResidual& Coeffs)
{
    using Traits = CodecTraits<Sample>;
    const unsigned Around = FindIntraNeighbours(Slice, Mb);
    auto* const pCoeffs = Coeffs.As<typename Traits::Coeffs>();
    const uint8_t* const pModes = Slice.Local.m_pIntraModes + Mb.Number * 16;
    const ptrdiff_t Step = Slice.Picture.PitchLuma;
    Sample* const pLuma = Slice.Picture.LumaOf<Sample>(Mb.X, Mb.Y);
    for (int i = 0; i < 16; ++i) {
        const int Raster = h264::kBlockRaster[i], x = Raster & 3, y = Raster >> 2;
        Sample* const p = SampleAt<Sample>(reinterpret_cast<uint8_t*>(pLuma), Step, x * 4, y * 4);
        const int Mode = pModes[Raster];
        const unsigned Available = kernels::BlockNeighbours(Around, x, y, 4);
        Require(kernels::kIntraBlockNeeds[Mode], Available);
        Traits::PredictIntra4x4(Mode, p, Step, Available, Slice.LumaDepth<Sample>());
        if (Coeffs.Bits[0] >> i & 1) Traits::AddResidual4x4(pCoeffs + i * 16, p, Step, Slice.LumaDepth<Sample>());
    }
}

template <class Sample>
void ReconstructIntra8x8(const SliceView& Slice, const MbState& Mb, MbResidual& Coeffs)
{
    using Traits = CodecTraits<Sample>;
    const unsigned Around = FindIntraNeighbours(Slice, Mb);
    auto* const pCoeffs = Coeffs.As<typename Traits::Coeffs>();
    const uint8_t* const pModes = Slice.Local.m_pIntraModes + Mb.Number * 16;
    const ptrdiff_t Step = Slice.Picture.PitchLuma;
    Sample* const pLuma = Slice.Picture.LumaOf<Sample>(Mb.X, Mb.Y);
    for (int q = 0; q < 4; ++q) {
        const int x = q & 1, y = q >> 1;
        Sample* const p = SampleAt<Sample>(reinterpret_cast<uint8_t*>(pLuma), Step, x * 8, y * 8);
        const int Mode = pModes[y * 8 + x * 2];
        const unsigned Available = kernels::BlockNeighbours(Around, x, y, 2);
        Require(kernels::kIntraBlockNeeds[Mode], Available);
        Traits::PredictIntra8x8(Mode, p, Step, Available, Slice.LumaDepth<Sample>());
        if (Coeffs.Bits[0] >> (q * 4) & 15)
            Traits::AddResidual8x8(pCoeffs + q * 64, p, Step, Slice.LumaDepth<Sample>());
    }
}

#define INSTANTIATE(Sample)                                                                                            \
    template void PredictIntra16x16<Sample>(const SliceView&, const MbState&);                                         \
    template void PredictIntraChroma<Sample, 1>(const SliceView&, const MbState&);                                     \
    template void PredictIntraChroma<Sample, 2>(const SliceView&, const MbState&);                                     \
    template void ReconstructIntra4x4<Sample>(const SliceView&, const MbState&, MbResidual&);                          \
    template void ReconstructIntra8x8<Sample>(const SliceView&, const MbState&, MbResidual&)
INSTANTIATE(uint8_t);
INSTANTIATE(uint16_t);
#undef INSTANTIATE

} // namespace UMC
