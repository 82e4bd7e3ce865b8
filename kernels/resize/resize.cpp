// The entries of the resize kernels: the test of the arguments and the choice of the method.
#include "kernels/resize/resize.h"

#include "kernels/resize/resize_passes.h"

#include <cmath>

namespace kernels {

namespace {

bool IsFactor(double Factor) { return Factor > 0.0 && std::isfinite(Factor); }

int32_t Resize(const ResizePasses& Passes, const uint8_t* pSource, int32_t SourceWidth, int32_t SourceHeight,
               int32_t RegionX, int32_t RegionY, ResizeSource From, const ResizeTarget& To, double xFactor,
               double yFactor, int32_t Interpolation)
{
    if (!pSource || !To.pPixels) return kStatusNullPointer;
    if (SourceWidth <= 0 || SourceHeight <= 0 || From.Width <= 0 || From.Height <= 0 || To.Width <= 0 ||
        To.Height <= 0 || RegionX < 0 || RegionY < 0 || From.Width > SourceWidth - RegionX ||
        From.Height > SourceHeight - RegionY || !IsFactor(xFactor) || !IsFactor(yFactor))
        return kStatusSize;
    if (From.Step <= 0 || To.Step <= 0) return kStatusStep;
    if (Interpolation != kCubic && Interpolation != kArea) return kStatusMode;
    From.pPixels = pSource + RegionY * From.Step + ptrdiff_t{RegionX} * Passes.Channels;
    const bool bArea = Interpolation == kArea && xFactor <= 1.0 && yFactor <= 1.0;
    return (bArea ? ResizeArea : ResizeCubic)(Passes, From, To, xFactor, yFactor);
}

} // namespace

#define RESIZE_ENTRY(Layout, Tier)                                                                                     \
    int32_t Resize8u##Layout##_##Tier(                                                                                 \
        const uint8_t* pSource, int32_t SourceWidth, int32_t SourceHeight, ptrdiff_t SourceStep, int32_t RegionX,      \
        int32_t RegionY, int32_t RegionWidth, int32_t RegionHeight, uint8_t* pTarget, ptrdiff_t TargetStep,            \
        int32_t TargetWidth, int32_t TargetHeight, double xFactor, double yFactor, int32_t Interpolation)              \
    {                                                                                                                  \
        return Resize(kResizePasses##Layout##_##Tier, pSource, SourceWidth, SourceHeight, RegionX, RegionY,            \
                      {nullptr, SourceStep, RegionWidth, RegionHeight},                                                \
                      {pTarget, TargetStep, TargetWidth, TargetHeight}, xFactor, yFactor, Interpolation);              \
    }
#define RESIZE_ENTRIES(Tier)                                                                                           \
    RESIZE_ENTRY(C1, Tier)                                                                                             \
    RESIZE_ENTRY(C2, Tier)                                                                                             \
    RESIZE_ENTRY(C3, Tier)                                                                                             \
    RESIZE_ENTRY(C4, Tier)

RESIZE_ENTRIES(px)
RESIZE_ENTRIES(w7)
RESIZE_ENTRIES(v8)

} // namespace kernels
