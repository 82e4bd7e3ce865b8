// Residuals of transform bypass (clause 8.5.2 with TransformBypassModeFlag): differences are levels.
#pragma once

#include <cstddef>

namespace UMC_H264_ENCODER {

/// Levels of a square block of Size samples, in raster order.
/// @return whether any is not 0
template <class Sample, class Coeff>
bool TakeDifferences(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPred, ptrdiff_t PredStep, int Size,
                     Coeff* pLevels)
{
    bool HasAny = false;
    for (int y = 0; y < Size; ++y, pSrc += SrcStep, pPred += PredStep)
        for (int x = 0; x < Size; ++x) {
            *pLevels = static_cast<Coeff>(pSrc[x] - pPred[x]);
            HasAny |= *pLevels++ != 0;
        }
    return HasAny;
}

} // namespace UMC_H264_ENCODER
