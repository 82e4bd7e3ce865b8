#include "decoder/macroblock/intra_prediction.h"

#include "Common/h264/chroma_geometry.h"
#include "decoder/macroblock/codec_traits.h"

namespace UMC {

namespace {

using kernels::kLeft;
using kernels::kTop;
using kernels::kTopLeft;
using kernels::kTopRight;

// Neighbours that each mode of 4x4 and 8x8 blocks reads (Tables 8-2 and 8-3).
constexpr uint8_t kNeeds[9] = {
    kTop, kLeft, 0, kTop, kLeft | kTop | kTopLeft, kLeft | kTop | kTopLeft, kLeft | kTop | kTopLeft, kTop, kLeft};

void Require(unsigned Needed, unsigned Available)
{
    if (Needed & ~Available) throw h264_exception(StatusInvalidParams);
}

// Neighbours of the block in column x and row y of Size x Size blocks. Above-right, what lies in this macroblock is
// decoded before even rows and columns only, and what lies in the macroblock to the right never is.
unsigned BlockNeighbours(unsigned Mb, int x, int y, int Size)
{
    unsigned Available = (x > 0 ? kLeft : Mb & kLeft) | (y > 0 ? kTop : Mb & kTop);
    if (x > 0)
        Available |= y > 0 || (Mb & kTop) ? kTopLeft : 0u;
    else if (y > 0)
        Available |= Mb & kLeft ? kTopLeft : 0u;
    else
        Available |= Mb & kTopLeft;
    const bool AtRight = x == Size - 1;
    if (y == 0)
        Available |= (AtRight ? Mb & kTopRight : Mb & kTop) ? kTopRight : 0u;
    else if (!AtRight && !(x == 1 && (y & 1)))
        Available |= kTopRight;
    return Available;
}

template <class Sample>
Sample* LumaOf(const PictureView& Picture, const MbState& Mb)
{
    return SampleAt<Sample>(Picture.pPlane[0], Picture.PitchLuma, Mb.X * 16, Mb.Y * 16);
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
    constexpr unsigned kModeNeeds[4] = {kTop, kLeft, 0, kLeft | kTop | kTopLeft};
    const unsigned Available = FindIntraNeighbours(Slice, Mb);
    const unsigned Mode = Mb.pLocal->SubBlockDirection[0];
    Require(kModeNeeds[Mode], Available);
    CodecTraits<Sample>::Predict16x16(static_cast<int>(Mode), LumaOf<Sample>(Slice.Picture, Mb),
                                      Slice.Picture.PitchLuma, Available, Slice.LumaDepth<Sample>());
}

template <class Sample, int color_format>
void PredictIntraChroma(const SliceView& Slice, const MbState& Mb)
{
    constexpr unsigned kModeNeeds[4] = {0, kLeft, kTop, kLeft | kTop | kTopLeft};
    constexpr int kWidth = h264::kChromaGeometry[color_format].MbWidth,
                  kHeight = h264::kChromaGeometry[color_format].MbHeight;
    const unsigned Available = FindIntraNeighbours(Slice, Mb);
    const unsigned Mode = Mb.pLocal->SubBlockDirection[2];
    Require(kModeNeeds[Mode], Available);
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
    Sample* const pLuma = LumaOf<Sample>(Slice.Picture, Mb);
    for (int i = 0; i < 16; ++i) {
        const int Raster = h264::kBlockRaster[i], x = Raster & 3, y = Raster >> 2;
        Sample* const p = SampleAt<Sample>(reinterpret_cast<uint8_t*>(pLuma), Step, x * 4, y * 4);
        const int Mode = pModes[Raster];
        const unsigned Available = BlockNeighbours(Around, x, y, 4);
        Require(kNeeds[Mode], Available);
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
    Sample* const pLuma = LumaOf<Sample>(Slice.Picture, Mb);
    for (int q = 0; q < 4; ++q) {
        const int x = q & 1, y = q >> 1;
        Sample* const p = SampleAt<Sample>(reinterpret_cast<uint8_t*>(pLuma), Step, x * 8, y * 8);
        const int Mode = pModes[y * 8 + x * 2];
        const unsigned Available = BlockNeighbours(Around, x, y, 2);
        Require(kNeeds[Mode], Available);
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
