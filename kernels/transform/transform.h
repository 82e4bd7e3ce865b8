// Transforms and quantisation of H.264 clause 8.5 for 8-bit samples with 16-bit coefficients, and with 32-bit ones for
// samples of 2 bytes.
//
// A 4x4 block of coefficients is 16 int16_t in raster order (row * 4 + column), an 8x8 block 64 in raster order.
// Blocks of a macroblock follow one another in luma4x4BlkIdx order (clause 6.4.3), 16 values each, or by quadrant, 64
// values each; the four chroma blocks of a 4:2:0 plane in raster order. Coefficient arrays are 16-byte aligned; sample
// pointers need no alignment.
// Arithmetic wraps at 16 bits between stages where a damaged stream exceeds the standard's range; it never traps.
//
// Deep forms take samples of 2 bytes and coefficients of 4, with steps that still count bytes. The inverse ones serve
// Depth bits, 8..14, and the forward ones samples of up to 12 bits, for QP up to 75: QP / 6 is up to 12.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kernels {

// ---- Inverse: coefficients already scaled (clause 8.5.12.1) ------------------------------------------------

// Adds the inverse transform (8.5.12.2) of one block to the prediction in pDst, with clipping, and clears the block.
using AddResidualSig = void(int16_t* pCoeffs, uint8_t* pDst, ptrdiff_t Step);
AddResidualSig AddResidual4x4_px, AddResidual8x8_px;
AddResidualSig AddResidual4x4_w7, AddResidual8x8_w7;

// The same for samples of 2 bytes that hold Depth bits, 8..14. Step counts bytes.
using AddResidualDeepSig = void(int32_t* pCoeffs, uint16_t* pDst, ptrdiff_t Step, int Depth);
AddResidualDeepSig AddResidual4x4Deep_px, AddResidual8x8Deep_px;
AddResidualDeepSig AddResidual4x4Deep_w7, AddResidual8x8Deep_w7;

// The same for all 4x4 blocks of a 16x16 luma macroblock whose bit (luma4x4BlkIdx) is set in Bits; other blocks are
// not touched and must be 0 already. pCoeffs holds 256 values.
using AddResidualLumaSig = void(int16_t* pCoeffs, uint8_t* pDst, ptrdiff_t Step, uint32_t Bits);
AddResidualLumaSig AddResidualLuma4x4_px, AddResidualLuma4x4_w7;
AddResidualLumaSig AddResidualLuma8x8_px, AddResidualLuma8x8_w7; // bit 4 * i of Bits for quadrant i, 64 values each

// The four 4x4 blocks of one 8x8 chroma plane, bit i of Bits for raster block i. pCoeffs holds 64 values.
AddResidualLumaSig AddResidualChroma_px, AddResidualChroma_w7;

// The three for samples of 2 bytes.
using AddResidualLumaDeepSig = void(int32_t* pCoeffs, uint16_t* pDst, ptrdiff_t Step, uint32_t Bits, int Depth);
AddResidualLumaDeepSig AddResidualLuma4x4Deep_px, AddResidualLuma8x8Deep_px, AddResidualChromaDeep_px;
AddResidualLumaDeepSig AddResidualLuma4x4Deep_w7, AddResidualLuma8x8Deep_w7, AddResidualChromaDeep_w7;

// Inverse Hadamard and scaling of the Intra 16x16 luma DC levels (8.5.10). pLevels: 16 levels, raster of blocks. The
// results go to coefficient 0 of each of the 16 blocks of pCoeffs (luma4x4BlkIdx order). LevelScale is
// LevelScale(QP % 6, 0, 0), QpPer is QP / 6.
using InverseLumaDcSig = void(const int16_t* pLevels, int LevelScale, int QpPer, int16_t* pCoeffs);
InverseLumaDcSig InverseLumaDc_px;

// The same for the 2x2 chroma DC of 4:2:0 (8.5.11): dcC = ((f * LevelScale) << QpPer) >> 5. pLevels: 4 levels, raster;
// results go to coefficient 0 of each of the 4 blocks of pCoeffs.
InverseLumaDcSig InverseChromaDc420_px;

// The same for the chroma DC of 4:2:2, two columns of four blocks, plain C++ alone. pLevels: 8 levels in the order of
// their coding; results go to coefficient 0 of each of the 8 blocks of pCoeffs in raster order. LevelScale and QpPer
// are those of the QP of the plane plus 3.
InverseLumaDcSig InverseChromaDc422_px;

// The three for samples of more than 8 bits, plain C++ alone. QpPer 0..14; levels are below 2^26 in magnitude.
using InverseDcDeepSig = void(const int32_t* pLevels, int LevelScale, int QpPer, int32_t* pCoeffs);
InverseDcDeepSig InverseLumaDcDeep_px, InverseChromaDc420Deep_px, InverseChromaDc422Deep_px;

// ---- Forward: what the encoder runs ------------------------------------------------------------------------

// How a block is quantised: level = sign(c) * ((|c| * Factor[i] + Rounding) >> Shift). For 8-bit samples the factors
// are such that the sum fits 32 bits and a level 16; deep forms have 64 bits for the sum and 32 for a level.
struct QuantParams {
    alignas(16) uint16_t Factor[16]; // MF by raster position
    uint32_t Rounding;               // f, below 2^Shift
    int Shift;                       // 15 + QP / 6, or less with a matrix: 11..27
};

// The same for 8x8 blocks.
struct QuantParams8x8 {
    alignas(16) uint16_t Factor[64];
    uint32_t Rounding;
    int Shift; // 16 + QP / 6, or less with a matrix: 12..28
};

// Difference of source and prediction, forward 4x4 transform and quantisation of all blocks. The levels are stored
// in raster order within each block, pLevels 16-byte aligned. Returns a mask: bit i is set when block i has a level
// other than 0. The forms take 16 blocks (luma4x4BlkIdx order) of a 16x16 area and one block.
using ForwardQuantSig = uint32_t(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pPrediction,
                                 ptrdiff_t PredictionStep, int16_t* pLevels, const QuantParams* pQuant);
ForwardQuantSig ForwardQuant16x16_px, ForwardQuant4x4_px;
ForwardQuantSig ForwardQuant16x16_v8, ForwardQuant4x4_v8;
using ForwardQuantDeepSig = uint32_t(const uint16_t* pSrc, ptrdiff_t SrcStep, const uint16_t* pPrediction,
                                     ptrdiff_t PredictionStep, int32_t* pLevels, const QuantParams* pQuant);
ForwardQuantDeepSig ForwardQuant16x16Deep_px, ForwardQuant4x4Deep_px;
ForwardQuantDeepSig ForwardQuant16x16Deep_w7, ForwardQuant4x4Deep_w7;

// As above with the forward 8x8 transform: one block, and the four quadrants of a 16x16 area, bit i for quadrant i.
// The transform is the usual one, whose rows are those of the matrix of 8.5.13.2; it goes over rows, then columns.
using ForwardQuant8x8Sig = uint32_t(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pPrediction,
                                    ptrdiff_t PredictionStep, int16_t* pLevels, const QuantParams8x8* pQuant);
ForwardQuant8x8Sig ForwardQuant8x8_px, ForwardQuant8x8Of16x16_px;
ForwardQuant8x8Sig ForwardQuant8x8_v8, ForwardQuant8x8Of16x16_v8;
using ForwardQuant8x8DeepSig = uint32_t(const uint16_t* pSrc, ptrdiff_t SrcStep, const uint16_t* pPrediction,
                                        ptrdiff_t PredictionStep, int32_t* pLevels, const QuantParams8x8* pQuant);
ForwardQuant8x8DeepSig ForwardQuant8x8Deep_px, ForwardQuant8x8Of16x16Deep_px;
ForwardQuant8x8DeepSig ForwardQuant8x8Deep_w7, ForwardQuant8x8Of16x16Deep_w7;

// As ForwardQuant16x16, but coefficient 0 of each block is not quantised: it goes to pDc and its place in pLevels
// becomes 0. 16x16: pDc in raster order of blocks, for Intra 16x16. 8x8: one chroma plane of 4:2:0, 4 blocks in raster
// order. A plane of 4:2:2 is two such halves, the lower one at pLevels + 64 and pDc + 4.
using ForwardQuantAcSig = uint32_t(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pPrediction,
                                   ptrdiff_t PredictionStep, int16_t* pLevels, int16_t* pDc, const QuantParams* pQuant);
ForwardQuantAcSig ForwardQuantAc16x16_px, ForwardQuantAc8x8_px;
ForwardQuantAcSig ForwardQuantAc16x16_v8, ForwardQuantAc8x8_v8;
using ForwardQuantAcDeepSig = uint32_t(const uint16_t* pSrc, ptrdiff_t SrcStep, const uint16_t* pPrediction,
                                       ptrdiff_t PredictionStep, int32_t* pLevels, int32_t* pDc,
                                       const QuantParams* pQuant);
ForwardQuantAcDeepSig ForwardQuantAc16x16Deep_px, ForwardQuantAc8x8Deep_px;
ForwardQuantAcDeepSig ForwardQuantAc16x16Deep_w7, ForwardQuantAc8x8Deep_w7;

// Hadamard and quantisation of the DC coefficients, in place; returns non-zero when any level is not 0.
// Luma: 16 values, h = Hadamard4x4(dc) with each sum halved rounding to the larger magnitude as (sum + 1) >> 1, then
// level = sign(h) * ((|h| * Factor + 2 * Rounding) >> (Shift + 1)). Chroma 4:2:0: 4 values, not halved, same level.
// Chroma 4:2:2: 8 values in raster order of the blocks, which the matrix of 8.5.10 transforms down each of the two
// columns and a sum and a difference across them, not halved, same level; the levels come in the order of their coding,
// which InverseChromaDc422 takes. Factor, Rounding and Shift are then those of QP'c,dc = QP'c + 3 (8.5.11.2).
using ForwardDcSig = uint32_t(int16_t* pDc, int Factor, uint32_t Rounding, int Shift);
ForwardDcSig ForwardLumaDc_px, ForwardChromaDc420_px, ForwardChromaDc422_px;
using ForwardDcDeepSig = uint32_t(int32_t* pDc, int Factor, uint32_t Rounding, int Shift);
ForwardDcDeepSig ForwardLumaDcDeep_px, ForwardChromaDc420Deep_px, ForwardChromaDc422Deep_px;

// Scaling of the levels of the blocks whose bit is set, in place (8.5.12.1): raster positions, pScale 16 values of
// LevelScale(QP % 6, i, j), QpPer is QP / 6. Blocks follow one another, Count of them, up to 16. FirstIndex 1 leaves
// coefficient 0 of each block as it is (Intra 16x16 AC, chroma AC). In the deep form level * scale lies within 32 bits
// where QpPer is below 4.
using DequantBlocksSig = void(int16_t* pLevels, uint32_t Bits, int Count, const int16_t* pScale, int QpPer,
                              int FirstIndex);
DequantBlocksSig DequantBlocks_px, DequantBlocks_w7;
using DequantBlocksDeepSig = void(int32_t* pLevels, uint32_t Bits, int Count, const int16_t* pScale, int QpPer,
                                  int FirstIndex);
DequantBlocksDeepSig DequantBlocksDeep_px, DequantBlocksDeep_w7;

// The same for 8x8 blocks, up to 4 of them (8.5.13.1): pScale 64 values of LevelScale8x8(QP % 6, i, j). In the deep
// form level * scale lies within 32 bits where QpPer is below 6.
using DequantBlocks8x8Sig = void(int16_t* pLevels, uint32_t Bits, int Count, const int16_t* pScale, int QpPer);
DequantBlocks8x8Sig DequantBlocks8x8_px, DequantBlocks8x8_w7;
using DequantBlocks8x8DeepSig = void(int32_t* pLevels, uint32_t Bits, int Count, const int16_t* pScale, int QpPer);
DequantBlocks8x8DeepSig DequantBlocks8x8Deep_px, DequantBlocks8x8Deep_w7;

} // namespace kernels
