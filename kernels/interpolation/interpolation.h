// Inter prediction samples of H.264 clause 8.4.2.2 and 8.4.2.3, for 8-bit samples, and below for deeper ones.
//
// Steps are the bytes from one row to the next. No pointer needs alignment unless said. Source and destination do not
// overlap unless said. Heights are even, 2..16 rows.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kernels {

// Luma block at quarter-sample offset (FracX, FracY), each 0..3, from the full sample pSrc points at (8.4.2.2.1).
// Reads 2 columns left and 3 right of the block when FracX is not 0, 2 rows above and 3 below when FracY is not 0.
// With both 0 it copies. Width is in the name: 16, 8 or 4.
using InterpolateLumaSig = void(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep, int FracX,
                                int FracY, int Height);
InterpolateLumaSig InterpolateLuma16_px, InterpolateLuma8_px, InterpolateLuma4_px;
InterpolateLumaSig InterpolateLuma16_w7, InterpolateLuma8_w7, InterpolateLuma4_w7;
InterpolateLumaSig InterpolateLuma16_v8, InterpolateLuma8_v8, InterpolateLuma4_v8;

// The same chroma block of both planes at eighth-sample offset (FracX, FracY), each 0..7 (8.4.2.2.2). Reads one
// column right when FracX is not 0 and one row below when FracY is not 0. Width is in the name: 8, 4 or 2.
using InterpolateChromaSig = void(const uint8_t* pSrcU, const uint8_t* pSrcV, ptrdiff_t SrcStep, uint8_t* pDstU,
                                  uint8_t* pDstV, ptrdiff_t DstStep, int FracX, int FracY, int Height);
InterpolateChromaSig InterpolateChroma8_px, InterpolateChroma4_px, InterpolateChroma2_px;
InterpolateChromaSig InterpolateChroma8_w7, InterpolateChroma4_w7;
InterpolateChromaSig InterpolateChroma8_v8, InterpolateChroma4_v8, InterpolateChroma2_v8;

// pDst = (pA + pDst + 1) >> 1, sample by sample: default bi-prediction (8.4.2.3.1). Widths 16, 8, 4, 2.
using AverageBlockSig = void(const uint8_t* pA, ptrdiff_t StepA, uint8_t* pDst, ptrdiff_t DstStep, int Height);
AverageBlockSig AverageBlock16_px, AverageBlock8_px, AverageBlock4_px, AverageBlock2_px;
AverageBlockSig AverageBlock16_w7, AverageBlock8_w7, AverageBlock4_w7;

// Explicit weighting of one prediction, in place (8.4.2.3.2). LogDenom 0..7, Weight and Offset -128..127.
using WeightBlockSig = void(uint8_t* pDst, ptrdiff_t Step, int Height, int LogDenom, int Weight, int Offset);
WeightBlockSig WeightBlock16_px, WeightBlock8_px, WeightBlock4_px, WeightBlock2_px;
WeightBlockSig WeightBlock16_w7, WeightBlock8_w7, WeightBlock4_w7;

// Weighted bi-prediction (8.4.2.3.2): pDst = Clip1(((pA * Weight0 + pDst * Weight1 + 2^LogDenom) >> (LogDenom + 1)) +
// Offset). pA is the list 0 prediction, pDst holds that of list 1. Offset is (o0 + o1 + 1) >> 1; the weights lie in
// -128..128 and their sum too.
using BiWeightBlockSig = void(const uint8_t* pA, ptrdiff_t StepA, uint8_t* pDst, ptrdiff_t DstStep, int Height,
                              int LogDenom, int Weight0, int Weight1, int Offset);
BiWeightBlockSig BiWeightBlock16_px, BiWeightBlock8_px, BiWeightBlock4_px, BiWeightBlock2_px;
BiWeightBlockSig BiWeightBlock16_w7, BiWeightBlock8_w7, BiWeightBlock4_w7;
BiWeightBlockSig BiWeightBlock16_v8, BiWeightBlock8_v8, BiWeightBlock4_v8;

// Copies the Width x Height block whose top left sample is (X, Y) of a plane of PlaneWidth x PlaneHeight samples,
// every coordinate clamped into the plane (8.4.2.2.1, equations 8-239 and 8-240). The block may lie anywhere, far
// outside included. Width up to 24 and height up to 24 samples; pDst has room for Height rows of DstStep.
using CopyClampedSig = void(const uint8_t* pPlane, ptrdiff_t Step, int PlaneWidth, int PlaneHeight, int X, int Y,
                            uint8_t* pDst, ptrdiff_t DstStep, int Width, int Height);
CopyClampedSig CopyClamped_px, CopyClamped_v8;

// Plain block copies. Widths 16 and 8.
using CopyBlockSig = void(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep, int Height);
CopyBlockSig CopyBlock16_px, CopyBlock8_px;
CopyBlockSig CopyBlock16_w7, CopyBlock8_w7;

// ---- Samples of 2 bytes ------------------------------------------------------------------------------------
//
// The same for samples that hold Depth bits, 8..14, with the width of the block as an argument: 16, 8, 4 or 2. Steps
// still count bytes. An Offset is in the samples' own unit: that of the slice header times 2^(Depth - 8) (8.4.2.3).
using InterpolateLumaDeepSig = void(const uint16_t* pSrc, ptrdiff_t SrcStep, uint16_t* pDst, ptrdiff_t DstStep,
                                    int FracX, int FracY, int Width, int Height, int Depth);
InterpolateLumaDeepSig InterpolateLumaDeep_px, InterpolateLumaDeep_w7;
using InterpolateChromaDeepSig = void(const uint16_t* pSrcU, const uint16_t* pSrcV, ptrdiff_t SrcStep, uint16_t* pDstU,
                                      uint16_t* pDstV, ptrdiff_t DstStep, int FracX, int FracY, int Width, int Height);
InterpolateChromaDeepSig InterpolateChromaDeep_px, InterpolateChromaDeep_w7;
using AverageBlockDeepSig = void(const uint16_t* pA, ptrdiff_t StepA, uint16_t* pDst, ptrdiff_t DstStep, int Width,
                                 int Height);
AverageBlockDeepSig AverageBlockDeep_px, AverageBlockDeep_w7;
using WeightBlockDeepSig = void(uint16_t* pDst, ptrdiff_t Step, int Width, int Height, int LogDenom, int Weight,
                                int Offset, int Depth);
WeightBlockDeepSig WeightBlockDeep_px, WeightBlockDeep_w7;
using BiWeightBlockDeepSig = void(const uint16_t* pA, ptrdiff_t StepA, uint16_t* pDst, ptrdiff_t DstStep, int Width,
                                  int Height, int LogDenom, int Weight0, int Weight1, int Offset, int Depth);
BiWeightBlockDeepSig BiWeightBlockDeep_px, BiWeightBlockDeep_w7;
void CopyClampedDeep_px(const uint16_t* pPlane, ptrdiff_t Step, int PlaneWidth, int PlaneHeight, int X, int Y,
                        uint16_t* pDst, ptrdiff_t DstStep, int Width, int Height); // plain C++ alone
using CopyBlockDeepSig = void(const uint16_t* pSrc, ptrdiff_t SrcStep, uint16_t* pDst, ptrdiff_t DstStep, int Width,
                              int Height);
CopyBlockDeepSig CopyBlockDeep_px; // widths 16 and 8

} // namespace kernels
