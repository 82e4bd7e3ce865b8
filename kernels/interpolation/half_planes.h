// Half-sample planes for a quarter-sample search around one 16x16 luma block: every point that lies less than one
// sample from the full sample pSrc is a sample of the picture, one of these planes, or the rounded mean of two of them
// (H.264 clause 8.4.2.2.1).
//
// Row r and column c of a plane lie at pDst[(r + 1) * DstStep + c + 1], for the half sample right of, below, or both
// right of and below the full sample (c, r) of the block. 24 columns from -1 on are written, so DstStep is at least 24.
// Columns -3..25 and rows -3..19 of the picture are read. No pointer needs alignment; the blocks do not overlap.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kernels {

using HalfPlaneSig = void(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep);
HalfPlaneSig HalfPlaneRight_px; // b of the clause, rows -1..16
HalfPlaneSig HalfPlaneDown_px;  // h, rows -1..15
HalfPlaneSig HalfPlaneBoth_px;  // j, rows -1..15
HalfPlaneSig HalfPlaneRight_v8;
HalfPlaneSig HalfPlaneRight_w7, HalfPlaneDown_w7, HalfPlaneBoth_w7;

// The same for samples of 2 bytes that hold Depth bits, 8..14. Steps of both count bytes: DstStep is at least 48.
using HalfPlaneDeepSig = void(const uint16_t* pSrc, ptrdiff_t SrcStep, uint16_t* pDst, ptrdiff_t DstStep, int Depth);
HalfPlaneDeepSig HalfPlaneRightDeep_px, HalfPlaneDownDeep_px, HalfPlaneBothDeep_px;
HalfPlaneDeepSig HalfPlaneRightDeep_w7, HalfPlaneDownDeep_w7, HalfPlaneBothDeep_w7;

} // namespace kernels
