// Block distances: what motion search and mode decision compare.
//
// pA and pB point at the first sample of each block, StepA and StepB are the bytes from one row to the next (0 is
// allowed: the same row is then used for all). No pointer needs alignment. The blocks are only read.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kernels {

// Sum of absolute differences of all samples.
using BlockDistanceSig = int32_t(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB);
BlockDistanceSig Sad16x16_px, Sad16x8_px, Sad8x16_px, Sad8x8_px, Sad8x4_px, Sad4x8_px, Sad4x4_px;
BlockDistanceSig Sad16x16_w7, Sad16x8_w7, Sad8x16_w7, Sad8x8_w7, Sad8x4_w7, Sad4x8_w7, Sad4x4_w7;

// Sum of the magnitudes of the 4x4 Hadamard transforms of the difference, not normalised, over all 4x4 blocks.
BlockDistanceSig Satd16x16_px, Satd16x8_px, Satd8x16_px, Satd8x8_px, Satd8x4_px, Satd4x8_px, Satd4x4_px;
BlockDistanceSig Satd16x16_w7, Satd16x8_w7, Satd8x16_w7, Satd8x8_w7, Satd8x4_w7, Satd4x8_w7, Satd4x4_w7;
BlockDistanceSig Satd16x16_v8, Satd16x8_v8, Satd8x16_v8, Satd8x8_v8, Satd8x4_v8, Satd4x8_v8, Satd4x4_v8;

// Sad16x16 of one block against four others of one step: Sum[i] is the distance to ppB[i].
using FourDistancesSig = void(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* const ppB[4], ptrdiff_t StepB,
                              int32_t Sum[4]);
FourDistancesSig Sad16x16x4_px, Sad16x16x4_w7;

// Sum of absolute differences of a 16x16 block and the rounded mean of two others, (a + b + 1) >> 1.
using AverageDistanceSig = int32_t(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pA, ptrdiff_t StepA,
                                   const uint8_t* pB, ptrdiff_t StepB);
AverageDistanceSig SadAverage16x16_px, SadAverage16x16_w7;

// The largest sum of absolute differences among the 4x4 parts of a 16x16 or an 8x8 block. A block whose parts all
// differ by little is known to have no levels without a transform.
BlockDistanceSig LargestSad4x4Of16x16_px, LargestSad4x4Of8x8_px;
BlockDistanceSig LargestSad4x4Of16x16_w7, LargestSad4x4Of8x8_w7;

// Number of samples (x, y), x and y in 0..14, of a 16x16 block whose absolute difference to the right or to the lower
// neighbour exceeds Difference. A sample counts once.
using CountEdgesSig = int32_t(const uint8_t* pA, ptrdiff_t StepA, int Difference);
CountEdgesSig CountEdges16x16_px, CountEdges16x16_w7;

// Sum of the magnitudes of the 8x8 Hadamard transforms of the difference, not normalised, over all 8x8 blocks.
BlockDistanceSig Satd8x8By8_px, Satd8x8By8_w7;

// ---- Samples of 2 bytes ------------------------------------------------------------------------------------
//
// The same for samples of up to 12 bits. Steps still count bytes; Difference is in the samples' own unit.
using BlockDistanceDeepSig = int32_t(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB);
BlockDistanceDeepSig Sad16x16Deep_px, Sad16x8Deep_px, Sad8x16Deep_px, Sad8x8Deep_px, Sad8x4Deep_px, Sad4x8Deep_px,
    Sad4x4Deep_px;
BlockDistanceDeepSig Sad16x16Deep_w7, Sad16x8Deep_w7, Sad8x16Deep_w7, Sad8x8Deep_w7, Sad8x4Deep_w7, Sad4x8Deep_w7,
    Sad4x4Deep_w7;
BlockDistanceDeepSig Satd16x16Deep_px, Satd16x8Deep_px, Satd8x16Deep_px, Satd8x8Deep_px, Satd8x4Deep_px, Satd4x8Deep_px,
    Satd4x4Deep_px;
BlockDistanceDeepSig Satd16x16Deep_w7, Satd16x8Deep_w7, Satd8x16Deep_w7, Satd8x8Deep_w7, Satd8x4Deep_w7, Satd4x8Deep_w7,
    Satd4x4Deep_w7;
BlockDistanceDeepSig Satd8x8By8Deep_px, Satd8x8By8Deep_w7;
BlockDistanceDeepSig LargestSad4x4Of16x16Deep_px, LargestSad4x4Of8x8Deep_px;
BlockDistanceDeepSig LargestSad4x4Of16x16Deep_w7, LargestSad4x4Of8x8Deep_w7;
using FourDistancesDeepSig = void(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* const ppB[4], ptrdiff_t StepB,
                                  int32_t Sum[4]);
FourDistancesDeepSig Sad16x16x4Deep_px, Sad16x16x4Deep_w7;
using AverageDistanceDeepSig = int32_t(const uint16_t* pSrc, ptrdiff_t SrcStep, const uint16_t* pA, ptrdiff_t StepA,
                                       const uint16_t* pB, ptrdiff_t StepB);
AverageDistanceDeepSig SadAverage16x16Deep_px, SadAverage16x16Deep_w7;
using CountEdgesDeepSig = int32_t(const uint16_t* pA, ptrdiff_t StepA, int Difference);
CountEdgesDeepSig CountEdges16x16Deep_px, CountEdges16x16Deep_w7;

} // namespace kernels
