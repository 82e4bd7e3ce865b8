// Block distortion by size.
#pragma once

#include <cstddef>
#include <cstdint>

namespace UMC_H264_ENCODER {

// Names a block size: 4x4 is 5, 8x8 is 10, 16x16 is 20; the chroma sizes of 2 to 4 samples are 2, 3 and 4.
constexpr int32_t SizeCode(int32_t Width, int32_t Height) { return Width + Height / 4; }

template <class Sample>
using DistanceFunction = int32_t(const Sample* pA, ptrdiff_t StepA, const Sample* pB, ptrdiff_t StepB);

/// The function for a size code; null for an unknown one.
template <class Sample>
DistanceFunction<Sample>* SadFunction(int32_t SizeCode);
template <class Sample>
DistanceFunction<Sample>* SatdFunction(int32_t SizeCode);

/// Sum of absolute differences; steps in samples. 0 for an unknown size code.
template <class Sample>
int32_t SAD(const Sample* pA, ptrdiff_t StepA, const Sample* pB, ptrdiff_t StepB, int32_t SizeCode);
/// Sum of the magnitudes of the 4x4 Hadamard transforms of the difference (of a transform of their own for the sizes of
/// 2 samples), not normalised. 0 for an unknown size code.
template <class Sample>
int32_t SATD(const Sample* pA, ptrdiff_t StepA, const Sample* pB, ptrdiff_t StepB, int32_t SizeCode);

/// Of a chroma block at its prediction, which has rows of 16 samples. Blocks of 4x16 and 2x8, which 4:2:2
/// has, are two of half their height.
template <class Sample>
int32_t ChromaBlockDistance(bool IsSad, const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPred, int32_t Width,
                            int32_t Height)
{
    constexpr ptrdiff_t kStep = 16;
    const int32_t Rows = Height == 4 * Width ? Height / 2 : Height;
    const auto pDistance =
        IsSad ? SadFunction<Sample>(SizeCode(Width, Rows)) : SatdFunction<Sample>(SizeCode(Width, Rows));
    int32_t Sum = 0;
    for (int32_t y = 0; y < Height; y += Rows) Sum += pDistance(pSrc + y * SrcStep, SrcStep, pPred + y * kStep, kStep);
    return Sum;
}

} // namespace UMC_H264_ENCODER
