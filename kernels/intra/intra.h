// Intra prediction of H.264 clause 8.3 for 8-bit samples, and below for deeper ones.
//
// pAround points at the place of the block's top left sample in the picture: the neighbours are read at
// pAround[-AroundStep + x] above, pAround[y * AroundStep - 1] left and pAround[-AroundStep - 1] above-left. The
// prediction goes to pDst, which may be pAround itself. A neighbour that Available does not name is never read.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kernels {

enum IntraAvailable : unsigned { kLeft = 1, kTop = 2, kTopRight = 4, kTopLeft = 8 };

// One mode of a 16x16 luma block (8.3.3) or of an 8x8 chroma block (8.3.4, 4:2:0). The DC forms use what Available
// names; the others need their neighbours to be there.
using PredictIntraSig = void(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                             unsigned Available);
PredictIntraSig Predict16x16Vertical_px, Predict16x16Horizontal_px, Predict16x16Dc_px, Predict16x16Plane_px;
PredictIntraSig PredictChromaDc_px, PredictChromaHorizontal_px, PredictChromaVertical_px, PredictChromaPlane_px;
PredictIntraSig Predict16x16Horizontal_w7, Predict16x16Dc_w7, Predict16x16Plane_w7;
PredictIntraSig PredictChromaDc_w7, PredictChromaHorizontal_w7, PredictChromaPlane_w7;
PredictIntraSig Predict16x16Horizontal_v8;
PredictIntraSig PredictChromaHorizontal_v8;

// Intra 4x4 (8.3.1.2), mode 0..8. pTopRight points at the four samples above-right, read when Available has kTopRight;
// otherwise the sample above the last column stands for them (8.3.1.2). Modes need the neighbours the standard says.
using PredictIntra4x4Sig = void(int Mode, const uint8_t* pAround, ptrdiff_t AroundStep, const uint8_t* pTopRight,
                                uint8_t* pDst, ptrdiff_t DstStep, unsigned Available);
PredictIntra4x4Sig PredictIntra4x4_px, PredictIntra4x4_w7, PredictIntra4x4_v8;

// All nine modes of an Intra 4x4 block at once: the samples of mode m to Predictions[m] in raster order, 16-byte
// aligned, and their sum of absolute differences to the source block to Sad[m]. The eight samples above and
// above-right, the four left and the corner are read whether available or not; DC uses what Available names, the
// above-right ones are replaced as by PredictIntra4x4 without kTopRight, and the result of another mode that lacks a
// neighbour is no prediction.
using PredictAll4x4Sig = void(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pAround, ptrdiff_t AroundStep,
                              unsigned Available, uint8_t (*pPredictions)[16], int32_t* pSad);
PredictAll4x4Sig PredictAll4x4_px, PredictAll4x4_v8;

// Intra 8x8 (8.3.2.2), mode 0..8, neighbour filtering (8.3.2.2.1) included. The eight samples above-right follow
// those above in the picture and are read when Available has kTopRight.
using PredictIntra8x8Sig = void(int Mode, const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst,
                                ptrdiff_t DstStep, unsigned Available);
PredictIntra8x8Sig PredictIntra8x8_px, PredictIntra8x8_w7, PredictIntra8x8_v8;

// An 8x16 chroma block of 4:2:2 (8.3.4). Mode is that of Table 8-5: 0 DC, 1 horizontal, 2 vertical, 3 plane.
using PredictModeSig = void(int Mode, const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                            unsigned Available);
PredictModeSig PredictChroma422_px;

// ---- Samples of 2 bytes ------------------------------------------------------------------------------------
//
// All of the above for samples that hold Depth bits, 8..14. Steps count bytes. Modes are those of the standard's
// tables; chroma is Height rows of 8, 8 or 16 of them.
using PredictModeDeepSig = void(int Mode, const uint16_t* pAround, ptrdiff_t AroundStep, uint16_t* pDst,
                                ptrdiff_t DstStep, unsigned Available, int Depth);
PredictModeDeepSig Predict16x16Deep_px, PredictIntra8x8Deep_px;
PredictModeDeepSig Predict16x16Deep_w7, PredictIntra8x8Deep_w7;
using PredictChromaDeepSig = void(int Mode, int Height, const uint16_t* pAround, ptrdiff_t AroundStep, uint16_t* pDst,
                                  ptrdiff_t DstStep, unsigned Available, int Depth);
PredictChromaDeepSig PredictChromaDeep_px, PredictChromaDeep_w7;
using PredictIntra4x4DeepSig = void(int Mode, const uint16_t* pAround, ptrdiff_t AroundStep, const uint16_t* pTopRight,
                                    uint16_t* pDst, ptrdiff_t DstStep, unsigned Available, int Depth);
PredictIntra4x4DeepSig PredictIntra4x4Deep_px, PredictIntra4x4Deep_w7;
using PredictAll4x4DeepSig = void(const uint16_t* pSrc, ptrdiff_t SrcStep, const uint16_t* pAround,
                                  ptrdiff_t AroundStep, unsigned Available, uint16_t (*pPredictions)[16], int32_t* pSad,
                                  int Depth);
PredictAll4x4DeepSig PredictAll4x4Deep_px, PredictAll4x4Deep_w7;

} // namespace kernels
