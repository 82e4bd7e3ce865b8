#include "process/matte.h"

#include "kernels/arithmetic/arithmetic.h"
#include "kernels/composition/composition.h"
#include "kernels/dispatch/kernels.h"
#include "kernels/filter/filter.h"

#include <algorithm>

namespace {

// The pointwise steps run over strips of rows: a strip's floats stay in the processor's cache from one step to the
// next, where a whole plane would come from memory again for each. Each sample is computed alone, so the result is the
// same.
constexpr int32_t kStripBytes = 64 * 1024; // of one plane of floats

template <class Step>
void ForEachStrip(int32_t Width, int32_t Height, const Step& Run)
{
    const int32_t Rows = std::max<int32_t>(1, kStripBytes / 4 / Width);
    for (int32_t y = 0; y < Height; y += Rows) Run(ptrdiff_t{y} * Width, std::min(Rows, Height - y));
}

void SmoothChroma(const MattePlanes& p)
{
    const ptrdiff_t Interior = ptrdiff_t{p.Width} + 1;
    for (uint8_t* const pPlane : {p.pU, p.pV})
        kernels::g_Kernels.FilterGauss8u(pPlane + Interior, p.Width, pPlane + Interior, p.Width, p.Width - 2,
                                         p.Height - 2, kernels::kMask3x3);
}

// Rows of samples from Offset on: 0 to 1 between the two thresholds into pDistanceB.
void RampOfDistance(const MattePlanes& p, const ChromaKey& Key, ptrdiff_t Offset, int32_t Rows)
{
    // Thresholds in the wrong order make the ramp run the other way: key beyond them, foreground within. Equal ones
    // make a step, as their limit does, and no division by zero.
    const int32_t Between = Key.Threshold2 - Key.Threshold1;
    const float Inverse = 1.0f / static_cast<float>(Between ? Between : 1);
    const ptrdiff_t Step = ptrdiff_t{p.Width} * 4;
    float *const pA = p.pDistanceA + Offset, *const pB = p.pDistanceB + Offset;
    kernels::g_Kernels.Convert8uTo32f(p.pU + Offset, p.Width, pA, Step, p.Width, Rows);
    kernels::g_Kernels.Convert8uTo32f(p.pV + Offset, p.Width, pB, Step, p.Width, Rows);
    kernels::g_Kernels.SubConst(static_cast<float>(Key.U), pA, Step, p.Width, Rows);
    kernels::g_Kernels.SubConst(static_cast<float>(Key.V), pB, Step, p.Width, Rows);
    kernels::g_Kernels.Mul(pA, Step, pA, Step, p.Width, Rows);
    kernels::g_Kernels.Mul(pB, Step, pB, Step, p.Width, Rows);
    kernels::g_Kernels.Add(pA, Step, pB, Step, p.Width, Rows);
    kernels::g_Kernels.SubConst(static_cast<float>(Key.Threshold1), pB, Step, p.Width, Rows);
    kernels::g_Kernels.MulConst(Inverse, pB, Step, p.Width, Rows);
    kernels::g_Kernels.ClampThreshold32f(pB, Step, p.Width, Rows, 0.0f, 0.0f, 1.0f, 1.0f);
}

} // namespace

void MakeMatte(const MattePlanes& p, const ChromaKey& Key)
{
    const ptrdiff_t Step = ptrdiff_t{p.Width} * 4;
    const bool bHasInterior = p.Width > 2 && p.Height > 2;
    if (bHasInterior) SmoothChroma(p);
    ForEachStrip(p.Width, p.Height, [&](ptrdiff_t Offset, int32_t Rows) { RampOfDistance(p, Key, Offset, Rows); });
    if (bHasInterior) {
        float* const pInterior = p.pDistanceB + p.Width + 1;
        kernels::g_Kernels.FilterMean32f(pInterior, Step, pInterior, Step, p.Width - 2, p.Height - 2,
                                         kernels::kMask3x3);
    }
    ForEachStrip(p.Width, p.Height, [&](ptrdiff_t Offset, int32_t Rows) {
        kernels::g_Kernels.MulConst(255.0f, p.pDistanceB + Offset, Step, p.Width, Rows);
        kernels::g_Kernels.Convert32fTo8u(p.pDistanceB + Offset, Step, p.pMask + Offset, p.Width, p.Width, Rows,
                                          kernels::kRoundNearest);
    });
}

void BlendOver(uint8_t* pPicture, uint8_t* pBackground, const uint8_t* pMask, uint8_t* pAlpha, int32_t Width,
               int32_t Height)
{
    constexpr ptrdiff_t kAlphaByte = 3;
    const ptrdiff_t Step = ptrdiff_t{Width} * 4;
    ForEachStrip(Width, Height, [&](ptrdiff_t Offset, int32_t Rows) {
        uint8_t *const pOver = pPicture + Offset * 4, *const pUnder = pBackground + Offset * 4;
        kernels::g_Kernels.Set8u(255, pAlpha + Offset, Width, Width, Rows);
        kernels::g_Kernels.SubInPlace8u(pMask + Offset, Width, pAlpha + Offset, Width, Width, Rows, 0);
        kernels::g_Kernels.CopyChannel8uC1C4(pAlpha + Offset, Width, pUnder + kAlphaByte, Step, Width, Rows);
        kernels::g_Kernels.CopyChannel8uC1C4(pMask + Offset, Width, pOver + kAlphaByte, Step, Width, Rows);
        kernels::g_Kernels.AlphaComp8uAC4(pOver, Step, pUnder, Step, pOver, Step, Width, Rows, kernels::kAlphaPlus);
    });
}
