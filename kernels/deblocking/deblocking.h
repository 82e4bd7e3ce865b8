// Deblocking edge filters of H.264 clause 8.7 for 8-bit samples, and below for deeper ones: one call filters all edges
// of one direction of one macroblock, outer edge first. Steps are the bytes from one row to the next.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kernels {

// What one direction of one macroblock is filtered with. Index 0 of Alpha, Beta and Clip serves the outer edge (whose
// QP is the mean of two macroblocks), index 1 the three inner edges.
struct EdgeParams {
    uint8_t Alpha[2];     // Table 8-16 at indexA
    uint8_t Beta[2];      // Table 8-16 at indexB
    uint8_t Clip[2][4];   // Table 8-17 at indexA by bS; entry 0 is not used
    uint8_t Strength[16]; // bS 0..4 of the four pieces of edges 0..3: [edge * 4 + piece]; 4 on the outer edge only
};

// pPlane points at the macroblock's first sample. Vertical: the edges run down, 4 samples left of the macroblock are
// read and 3 written. Horizontal: the same above it. An edge whose four strengths are 0 is not touched; the outer edge
// is left out by giving it strengths of 0, and then nothing outside the macroblock is read. Luma: edges 0, 4, 8, 12.
using FilterEdgesSig = void(uint8_t* pPlane, ptrdiff_t Step, const EdgeParams* pParams);
FilterEdgesSig FilterLumaVertical_px, FilterLumaVertical_w7, FilterLumaVertical_v8;
FilterEdgesSig FilterLumaHorizontal_px, FilterLumaHorizontal_w7, FilterLumaHorizontal_v8;

// Chroma of 4:2:0, both 8x8 planes in one call: edges 0 and 4 with the strengths of luma edges 0 and 2, each of which
// serves two samples; 2 samples before the edge are read and 1 is written. Strength is read from pParamsU alone;
// pParamsV may be the same record, and differs when the two planes have different QP.
using FilterChromaEdgesSig = void(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                                  const EdgeParams* pParamsV);
FilterChromaEdgesSig FilterChromaVertical_px, FilterChromaVertical_w7, FilterChromaVertical_v8;
FilterChromaEdgesSig FilterChromaHorizontal_px, FilterChromaHorizontal_w7, FilterChromaHorizontal_v8;

// The same for 4:2:2, planes of 8x16. Chroma is as high as luma there: each strength of vertical edges
// 0 and 2 serves four samples, and horizontally all four luma edges have one of chroma in the same row: 0, 4, 8, 12.
FilterChromaEdgesSig FilterChroma422Vertical_px, FilterChroma422Vertical_w7, FilterChroma422Vertical_v8;
FilterChromaEdgesSig FilterChroma422Horizontal_px, FilterChroma422Horizontal_w7, FilterChroma422Horizontal_v8;

// The left edge where a frame pair and a field pair of an MBAFF frame meet. Its rows are in two parts, each beside one
// macroblock: Gap bytes lie between the first rows of both, and Step bytes between rows of a part. The parts have
// records of their own, of which Strength[0..3] serve a quarter of the rows each, and thresholds 0. Parts of luma are 8
// rows high, those of chroma 4, or 8 in 4:2:2.
using FilterMixedSig = void(uint8_t* pPlane, ptrdiff_t Gap, ptrdiff_t Step, const EdgeParams* pParams);
FilterMixedSig FilterLumaMixed_px, FilterLumaMixed_w7, FilterLumaMixed_v8;
using FilterChromaMixedSig = void(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Gap, ptrdiff_t Step,
                                  const EdgeParams* pParamsU, const EdgeParams* pParamsV);
FilterChromaMixedSig FilterChromaMixed_px, FilterChromaMixed_w7, FilterChromaMixed_v8;
FilterChromaMixedSig FilterChroma422Mixed_px, FilterChroma422Mixed_w7, FilterChroma422Mixed_v8;

// ---- Samples of 2 bytes ------------------------------------------------------------------------------------
//
// The same for samples that hold Depth bits, 8..14. Thresholds come as the tables have them, for 8 bits, and are scaled
// by 2^(Depth - 8) (8.7.2.2, 8.7.2.3). Height is that of a chroma macroblock: 8 for 4:2:0, 16 for 4:2:2.
using FilterEdgesDeepSig = void(uint16_t* pPlane, ptrdiff_t Step, const EdgeParams* pParams, int Depth);
FilterEdgesDeepSig FilterLumaVerticalDeep_px, FilterLumaVerticalDeep_w7;
FilterEdgesDeepSig FilterLumaHorizontalDeep_px, FilterLumaHorizontalDeep_w7;
using FilterChromaEdgesDeepSig = void(uint16_t* pPlaneU, uint16_t* pPlaneV, ptrdiff_t Step, int Height,
                                      const EdgeParams* pParamsU, const EdgeParams* pParamsV, int Depth);
FilterChromaEdgesDeepSig FilterChromaVerticalDeep_px, FilterChromaVerticalDeep_w7;
FilterChromaEdgesDeepSig FilterChromaHorizontalDeep_px, FilterChromaHorizontalDeep_w7;
// Where pairs of both kinds meet: plain C++ alone.
void FilterLumaMixedDeep_px(uint16_t* pPlane, ptrdiff_t Gap, ptrdiff_t Step, const EdgeParams* pParams, int Depth);
void FilterChromaMixedDeep_px(uint16_t* pPlaneU, uint16_t* pPlaneV, ptrdiff_t Gap, ptrdiff_t Step, int Height,
                              const EdgeParams* pParamsU, const EdgeParams* pParamsV, int Depth);

} // namespace kernels
