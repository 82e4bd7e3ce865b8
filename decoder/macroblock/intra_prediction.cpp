#include "decoder/macroblock/intra_prediction.h"

#include "kernels/dispatch/kernels.h"

namespace UMC {

namespace {

using kernels::g_Kernels;
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

uint8_t* LumaOf(const PictureView& Picture, const MbState& Mb)
{
    return Picture.pPlane[0] + Mb.Y * 16 * Picture.PitchLuma + Mb.X * 16;
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

void PredictIntra16x16(const SliceView& Slice, const MbState& Mb)
{
    const unsigned Available = FindIntraNeighbours(Slice, Mb);
    uint8_t* const p = LumaOf(Slice.Picture, Mb);
    const ptrdiff_t Step = Slice.Picture.PitchLuma;
    switch (Mb.pLocal->SubBlockDirection[0]) {
    case 0: Require(kTop, Available); return g_Kernels.Predict16x16Vertical(p, Step, p, Step, Available);
    case 1: Require(kLeft, Available); return g_Kernels.Predict16x16Horizontal(p, Step, p, Step, Available);
    case 2: return g_Kernels.Predict16x16Dc(p, Step, p, Step, Available);
    default:
        Require(kLeft | kTop | kTopLeft, Available);
        return g_Kernels.Predict16x16Plane(p, Step, p, Step, Available);
    }
}

void PredictIntraChroma(const SliceView& Slice, const MbState& Mb)
{
    constexpr unsigned kModeNeeds[4] = {0, kLeft, kTop, kLeft | kTop | kTopLeft};
    const unsigned Available = FindIntraNeighbours(Slice, Mb);
    const unsigned Mode = Mb.pLocal->SubBlockDirection[2];
    Require(kModeNeeds[Mode], Available);
    const ptrdiff_t Step = Slice.Picture.PitchChroma;
    for (int Plane = 1; Plane < 3; ++Plane) {
        uint8_t* const p = Slice.Picture.pPlane[Plane] + Mb.Y * 8 * Step + Mb.X * 8;
        switch (Mode) {
        case 0: g_Kernels.PredictChromaDc(p, Step, p, Step, Available); break;
        case 1: g_Kernels.PredictChromaHorizontal(p, Step, p, Step, Available); break;
        case 2: g_Kernels.PredictChromaVertical(p, Step, p, Step, Available); break;
        default: g_Kernels.PredictChromaPlane(p, Step, p, Step, Available);
        }
    }
}

void ReconstructIntra4x4(const SliceView& Slice, const MbState& Mb, MbResidual& Coeffs)
{
    const unsigned Around = FindIntraNeighbours(Slice, Mb);
    int16_t* const pCoeffs = Coeffs.As<int16_t>();
    const uint8_t* const pModes = Slice.Local.m_pIntraModes + Mb.Number * 16;
    const ptrdiff_t Step = Slice.Picture.PitchLuma;
    uint8_t* const pLuma = LumaOf(Slice.Picture, Mb);
    for (int i = 0; i < 16; ++i) {
        const int Raster = h264::kBlockRaster[i], x = Raster & 3, y = Raster >> 2;
        uint8_t* const p = pLuma + y * 4 * Step + x * 4;
        const int Mode = pModes[Raster];
        const unsigned Available = BlockNeighbours(Around, x, y, 4);
        Require(kNeeds[Mode], Available);
        g_Kernels.PredictIntra4x4(Mode, p, Step, p - Step + 4, p, Step, Available);
        if (Coeffs.Bits[0] >> i & 1) g_Kernels.AddResidual4x4(pCoeffs + i * 16, p, Step);
    }
}

void ReconstructIntra8x8(const SliceView& Slice, const MbState& Mb, MbResidual& Coeffs)
{
    const unsigned Around = FindIntraNeighbours(Slice, Mb);
    int16_t* const pCoeffs = Coeffs.As<int16_t>();
    const uint8_t* const pModes = Slice.Local.m_pIntraModes + Mb.Number * 16;
    const ptrdiff_t Step = Slice.Picture.PitchLuma;
    uint8_t* const pLuma = LumaOf(Slice.Picture, Mb);
    for (int q = 0; q < 4; ++q) {
        const int x = q & 1, y = q >> 1;
        uint8_t* const p = pLuma + y * 8 * Step + x * 8;
        const int Mode = pModes[y * 8 + x * 2];
        const unsigned Available = BlockNeighbours(Around, x, y, 2);
        Require(kNeeds[Mode], Available);
        g_Kernels.PredictIntra8x8(Mode, p, Step, p, Step, Available);
        if (Coeffs.Bits[0] >> (q * 4) & 15) g_Kernels.AddResidual8x8(pCoeffs + q * 64, p, Step);
    }
}

} // namespace UMC
