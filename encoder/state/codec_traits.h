// What the width of a sample decides: the one template argument of the stages that touch samples.
#pragma once

#include "encoder/write/block_levels.h"
#include "kernels/dispatch/kernels.h"
#include "kernels/intra/intra.h"

#include <cstddef>
#include <cstdint>

namespace UMC_H264_ENCODER {

// The kernels by sample type, under the same names with the same arguments, so that a template calls them alike; the
// headers of the families say what each does. Three things differ from the kernels' own calls:
//
// - Steps count samples here, as the encoder's pitches do. Kernels take bytes, which is the same for 8-bit samples, and
//   the calls for deeper ones multiply.
// - Depth, the bits that a sample holds, comes last wherever the result depends on it; SliceFacts has that of luma and
//   that of chroma. The calls for 8-bit samples are inline and leave it out.
// - Width, Height and Mode are arguments where kernels of one family differ in them alone.
//
// A name without Depth is that of the slot that the processor's kernel is bound to, or that of a function: both can be
// called and both make a pointer to keep, but a slot's is that of the time when it is read.
struct Kernels8Bit {
    using Sample = uint8_t;
    using Coeff = int16_t;

    // ---- Distances --------------------------------------------------------------------------------------------

    static constexpr auto& Sad16x16 = kernels::g_Kernels.Sad16x16;
    static constexpr auto& Sad16x8 = kernels::g_Kernels.Sad16x8;
    static constexpr auto& Sad8x16 = kernels::g_Kernels.Sad8x16;
    static constexpr auto& Sad8x8 = kernels::g_Kernels.Sad8x8;
    static constexpr auto& Sad8x4 = kernels::g_Kernels.Sad8x4;
    static constexpr auto& Sad4x8 = kernels::g_Kernels.Sad4x8;
    static constexpr auto& Sad4x4 = kernels::g_Kernels.Sad4x4;
    static constexpr auto& Satd16x16 = kernels::g_Kernels.Satd16x16;
    static constexpr auto& Satd16x8 = kernels::g_Kernels.Satd16x8;
    static constexpr auto& Satd8x16 = kernels::g_Kernels.Satd8x16;
    static constexpr auto& Satd8x8 = kernels::g_Kernels.Satd8x8;
    static constexpr auto& Satd8x4 = kernels::g_Kernels.Satd8x4;
    static constexpr auto& Satd4x8 = kernels::g_Kernels.Satd4x8;
    static constexpr auto& Satd4x4 = kernels::g_Kernels.Satd4x4;
    static constexpr auto& Satd8x8By8 = kernels::g_Kernels.Satd8x8By8;
    static constexpr auto& LargestSad4x4Of16x16 = kernels::g_Kernels.LargestSad4x4Of16x16;
    static constexpr auto& LargestSad4x4Of8x8 = kernels::g_Kernels.LargestSad4x4Of8x8;
    static constexpr auto& Sad16x16x4 = kernels::g_Kernels.Sad16x16x4;
    static constexpr auto& SadAverage16x16 = kernels::g_Kernels.SadAverage16x16;
    static constexpr auto& CountEdges16x16 = kernels::g_Kernels.CountEdges16x16;

    // ---- Transforms -------------------------------------------------------------------------------------------

    static constexpr auto& ForwardQuant16x16 = kernels::g_Kernels.ForwardQuant16x16;
    static constexpr auto& ForwardQuant4x4 = kernels::g_Kernels.ForwardQuant4x4;
    static constexpr auto& ForwardQuant8x8 = kernels::g_Kernels.ForwardQuant8x8;
    static constexpr auto& ForwardQuant8x8Of16x16 = kernels::g_Kernels.ForwardQuant8x8Of16x16;
    static constexpr auto& ForwardQuantAc16x16 = kernels::g_Kernels.ForwardQuantAc16x16;
    static constexpr auto& ForwardQuantAc8x8 = kernels::g_Kernels.ForwardQuantAc8x8;
    static constexpr auto& ForwardLumaDc = kernels::g_Kernels.ForwardLumaDc;
    static constexpr auto& ForwardChromaDc420 = kernels::g_Kernels.ForwardChromaDc420;
    static constexpr auto& ForwardChromaDc422 = kernels::g_Kernels.ForwardChromaDc422;
    static constexpr auto& DequantBlocks = kernels::g_Kernels.DequantBlocks;
    static constexpr auto& DequantBlocks8x8 = kernels::g_Kernels.DequantBlocks8x8;
    static constexpr auto& InverseLumaDc = kernels::g_Kernels.InverseLumaDc;
    static constexpr auto& InverseChromaDc420 = kernels::g_Kernels.InverseChromaDc420;
    static constexpr auto& InverseChromaDc422 = kernels::InverseChromaDc422_px;

    static void AddResidual4x4(Coeff* pCoeffs, Sample* pDst, ptrdiff_t Step, int)
    {
        kernels::g_Kernels.AddResidual4x4(pCoeffs, pDst, Step);
    }
    static void AddResidual8x8(Coeff* pCoeffs, Sample* pDst, ptrdiff_t Step, int)
    {
        kernels::g_Kernels.AddResidual8x8(pCoeffs, pDst, Step);
    }
    static void AddResidualLuma4x4(Coeff* pCoeffs, Sample* pDst, ptrdiff_t Step, uint32_t Bits, int)
    {
        kernels::g_Kernels.AddResidualLuma4x4(pCoeffs, pDst, Step, Bits);
    }
    static void AddResidualLuma8x8(Coeff* pCoeffs, Sample* pDst, ptrdiff_t Step, uint32_t Bits, int)
    {
        kernels::g_Kernels.AddResidualLuma8x8(pCoeffs, pDst, Step, Bits);
    }
    static void AddResidualChroma(Coeff* pCoeffs, Sample* pDst, ptrdiff_t Step, uint32_t Bits, int)
    {
        kernels::g_Kernels.AddResidualChroma(pCoeffs, pDst, Step, Bits);
    }

    // ---- Intra prediction -------------------------------------------------------------------------------------

    static void Predict16x16(int Mode, const Sample* pAround, ptrdiff_t AroundStep, Sample* pDst, ptrdiff_t DstStep,
                             unsigned Available, int)
    {
        switch (Mode) {
        case 0: return kernels::g_Kernels.Predict16x16Vertical(pAround, AroundStep, pDst, DstStep, Available);
        case 1: return kernels::g_Kernels.Predict16x16Horizontal(pAround, AroundStep, pDst, DstStep, Available);
        case 2: return kernels::g_Kernels.Predict16x16Dc(pAround, AroundStep, pDst, DstStep, Available);
        default: return kernels::g_Kernels.Predict16x16Plane(pAround, AroundStep, pDst, DstStep, Available);
        }
    }
    // Height is that of a chroma macroblock: 8 for 4:2:0, 16 for 4:2:2.
    static void PredictChroma(int Mode, int Height, const Sample* pAround, ptrdiff_t AroundStep, Sample* pDst,
                              ptrdiff_t DstStep, unsigned Available, int)
    {
        if (Height == 16)
            return kernels::g_Kernels.PredictChroma422(Mode, pAround, AroundStep, pDst, DstStep, Available);
        switch (Mode) {
        case 0: return kernels::g_Kernels.PredictChromaDc(pAround, AroundStep, pDst, DstStep, Available);
        case 1: return kernels::g_Kernels.PredictChromaHorizontal(pAround, AroundStep, pDst, DstStep, Available);
        case 2: return kernels::g_Kernels.PredictChromaVertical(pAround, AroundStep, pDst, DstStep, Available);
        default: return kernels::g_Kernels.PredictChromaPlane(pAround, AroundStep, pDst, DstStep, Available);
        }
    }
    static void PredictIntra4x4(int Mode, const Sample* pAround, ptrdiff_t AroundStep, const Sample* pTopRight,
                                Sample* pDst, ptrdiff_t DstStep, unsigned Available, int)
    {
        kernels::g_Kernels.PredictIntra4x4(Mode, pAround, AroundStep, pTopRight, pDst, DstStep, Available);
    }
    static void PredictAll4x4(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pAround, ptrdiff_t AroundStep,
                              unsigned Available, Sample (*pPredictions)[16], int32_t* pSad, int)
    {
        kernels::g_Kernels.PredictAll4x4(pSrc, SrcStep, pAround, AroundStep, Available, pPredictions, pSad);
    }
    static void PredictIntra8x8(int Mode, const Sample* pAround, ptrdiff_t AroundStep, Sample* pDst, ptrdiff_t DstStep,
                                unsigned Available, int)
    {
        kernels::g_Kernels.PredictIntra8x8(Mode, pAround, AroundStep, pDst, DstStep, Available);
    }

    // ---- Inter prediction -------------------------------------------------------------------------------------

    static void InterpolateLuma(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst, ptrdiff_t DstStep, int FracX,
                                int FracY, int Width, int Height, int)
    {
        switch (Width) {
        case 16: return kernels::g_Kernels.InterpolateLuma16(pSrc, SrcStep, pDst, DstStep, FracX, FracY, Height);
        case 8: return kernels::g_Kernels.InterpolateLuma8(pSrc, SrcStep, pDst, DstStep, FracX, FracY, Height);
        default: return kernels::g_Kernels.InterpolateLuma4(pSrc, SrcStep, pDst, DstStep, FracX, FracY, Height);
        }
    }
    static void InterpolateChroma(const Sample* pSrcU, const Sample* pSrcV, ptrdiff_t SrcStep, Sample* pDstU,
                                  Sample* pDstV, ptrdiff_t DstStep, int FracX, int FracY, int Width, int Height)
    {
        (Width == 8   ? kernels::g_Kernels.InterpolateChroma8
         : Width == 4 ? kernels::g_Kernels.InterpolateChroma4
                      : kernels::g_Kernels.InterpolateChroma2)(pSrcU, pSrcV, SrcStep, pDstU, pDstV, DstStep, FracX,
                                                               FracY, Height);
    }
    static void AverageBlock(const Sample* pA, ptrdiff_t StepA, Sample* pDst, ptrdiff_t DstStep, int Width, int Height)
    {
        (Width == 16  ? kernels::g_Kernels.AverageBlock16
         : Width == 8 ? kernels::g_Kernels.AverageBlock8
         : Width == 4 ? kernels::g_Kernels.AverageBlock4
                      : kernels::g_Kernels.AverageBlock2)(pA, StepA, pDst, DstStep, Height);
    }
    static void BiWeightBlock(const Sample* pA, ptrdiff_t StepA, Sample* pDst, ptrdiff_t DstStep, int Width, int Height,
                              int LogDenom, int Weight0, int Weight1, int Offset, int)
    {
        (Width == 16  ? kernels::g_Kernels.BiWeightBlock16
         : Width == 8 ? kernels::g_Kernels.BiWeightBlock8
         : Width == 4
             ? kernels::g_Kernels.BiWeightBlock4
             : kernels::g_Kernels.BiWeightBlock2)(pA, StepA, pDst, DstStep, Height, LogDenom, Weight0, Weight1, Offset);
    }
    static constexpr auto& CopyClamped = kernels::g_Kernels.CopyClamped;
    static constexpr auto& CopyBlock16 = kernels::g_Kernels.CopyBlock16;
    static constexpr auto& CopyBlock8 = kernels::g_Kernels.CopyBlock8;
    static void HalfPlaneRight(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst, ptrdiff_t DstStep, int)
    {
        kernels::g_Kernels.HalfPlaneRight(pSrc, SrcStep, pDst, DstStep);
    }
    static void HalfPlaneDown(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst, ptrdiff_t DstStep, int)
    {
        kernels::g_Kernels.HalfPlaneDown(pSrc, SrcStep, pDst, DstStep);
    }
    static void HalfPlaneBoth(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst, ptrdiff_t DstStep, int)
    {
        kernels::g_Kernels.HalfPlaneBoth(pSrc, SrcStep, pDst, DstStep);
    }

    // ---- Edge filter ------------------------------------------------------------------------------------------

    static void FilterLuma(bool IsVertical, Sample* pPlane, ptrdiff_t Step, const kernels::EdgeParams* pParams, int)
    {
        (IsVertical ? kernels::g_Kernels.FilterLumaVertical : kernels::g_Kernels.FilterLumaHorizontal)(pPlane, Step,
                                                                                                       pParams);
    }
    // Height as for PredictChroma.
    static void FilterChroma(bool IsVertical, int Height, Sample* pPlaneU, Sample* pPlaneV, ptrdiff_t Step,
                             const kernels::EdgeParams* pParamsU, const kernels::EdgeParams* pParamsV, int)
    {
        const auto pVertical =
            Height == 16 ? kernels::g_Kernels.FilterChroma422Vertical : kernels::g_Kernels.FilterChromaVertical;
        const auto pHorizontal =
            Height == 16 ? kernels::g_Kernels.FilterChroma422Horizontal : kernels::g_Kernels.FilterChromaHorizontal;
        (IsVertical ? pVertical : pHorizontal)(pPlaneU, pPlaneV, Step, pParamsU, pParamsV);
    }
    // A left edge between a frame pair and a field pair, in two parts with a record each.
    static void FilterLumaMixed(Sample* pPlane, ptrdiff_t Gap, ptrdiff_t Step, const kernels::EdgeParams* pParams, int)
    {
        kernels::g_Kernels.FilterLumaMixed(pPlane, Gap, Step, pParams);
    }
    static void FilterChromaMixed(int Height, Sample* pPlaneU, Sample* pPlaneV, ptrdiff_t Gap, ptrdiff_t Step,
                                  const kernels::EdgeParams* pParamsU, const kernels::EdgeParams* pParamsV, int)
    {
        (Height == 16 ? kernels::g_Kernels.FilterChroma422Mixed
                      : kernels::g_Kernels.FilterChromaMixed)(pPlaneU, pPlaneV, Gap, Step, pParamsU, pParamsV);
    }
};

// The same for samples of 2 bytes.
struct KernelsDeep {
    using Sample = uint16_t;
    using Coeff = int32_t;
    static constexpr ptrdiff_t kBytes = sizeof(Sample);

    // ---- Distances --------------------------------------------------------------------------------------------

#define DISTANCE(Name)                                                                                                 \
    static int32_t Name(const Sample* pA, ptrdiff_t StepA, const Sample* pB, ptrdiff_t StepB)                          \
    {                                                                                                                  \
        return kernels::g_Kernels.Name##Deep(pA, kBytes * StepA, pB, kBytes * StepB);                                  \
    }
    DISTANCE(Sad16x16)
    DISTANCE(Sad16x8)
    DISTANCE(Sad8x16)
    DISTANCE(Sad8x8)
    DISTANCE(Sad8x4)
    DISTANCE(Sad4x8)
    DISTANCE(Sad4x4)
    DISTANCE(Satd16x16)
    DISTANCE(Satd16x8)
    DISTANCE(Satd8x16)
    DISTANCE(Satd8x8)
    DISTANCE(Satd8x4)
    DISTANCE(Satd4x8)
    DISTANCE(Satd4x4)
    DISTANCE(Satd8x8By8)
    DISTANCE(LargestSad4x4Of16x16)
    DISTANCE(LargestSad4x4Of8x8)
#undef DISTANCE
    static void Sad16x16x4(const Sample* pA, ptrdiff_t StepA, const Sample* const ppB[4], ptrdiff_t StepB,
                           int32_t Sum[4])
    {
        kernels::g_Kernels.Sad16x16x4Deep(pA, kBytes * StepA, ppB, kBytes * StepB, Sum);
    }
    static int32_t SadAverage16x16(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pA, ptrdiff_t StepA,
                                   const Sample* pB, ptrdiff_t StepB)
    {
        return kernels::g_Kernels.SadAverage16x16Deep(pSrc, kBytes * SrcStep, pA, kBytes * StepA, pB, kBytes * StepB);
    }
    static int32_t CountEdges16x16(const Sample* pA, ptrdiff_t StepA, int Difference)
    {
        return kernels::g_Kernels.CountEdges16x16Deep(pA, kBytes * StepA, Difference);
    }

    // ---- Transforms -------------------------------------------------------------------------------------------

    static uint32_t ForwardQuant16x16(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPrediction,
                                      ptrdiff_t PredictionStep, Coeff* pLevels, const kernels::QuantParams* pQuant)
    {
        return kernels::g_Kernels.ForwardQuant16x16Deep(pSrc, kBytes * SrcStep, pPrediction, kBytes * PredictionStep,
                                                        pLevels, pQuant);
    }
    static uint32_t ForwardQuant4x4(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPrediction,
                                    ptrdiff_t PredictionStep, Coeff* pLevels, const kernels::QuantParams* pQuant)
    {
        return kernels::g_Kernels.ForwardQuant4x4Deep(pSrc, kBytes * SrcStep, pPrediction, kBytes * PredictionStep,
                                                      pLevels, pQuant);
    }
    static uint32_t ForwardQuant8x8(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPrediction,
                                    ptrdiff_t PredictionStep, Coeff* pLevels, const kernels::QuantParams8x8* pQuant)
    {
        return kernels::g_Kernels.ForwardQuant8x8Deep(pSrc, kBytes * SrcStep, pPrediction, kBytes * PredictionStep,
                                                      pLevels, pQuant);
    }
    static uint32_t ForwardQuant8x8Of16x16(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPrediction,
                                           ptrdiff_t PredictionStep, Coeff* pLevels,
                                           const kernels::QuantParams8x8* pQuant)
    {
        return kernels::g_Kernels.ForwardQuant8x8Of16x16Deep(pSrc, kBytes * SrcStep, pPrediction,
                                                             kBytes * PredictionStep, pLevels, pQuant);
    }
    static uint32_t ForwardQuantAc16x16(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPrediction,
                                        ptrdiff_t PredictionStep, Coeff* pLevels, Coeff* pDc,
                                        const kernels::QuantParams* pQuant)
    {
        return kernels::g_Kernels.ForwardQuantAc16x16Deep(pSrc, kBytes * SrcStep, pPrediction, kBytes * PredictionStep,
                                                          pLevels, pDc, pQuant);
    }
    static uint32_t ForwardQuantAc8x8(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPrediction,
                                      ptrdiff_t PredictionStep, Coeff* pLevels, Coeff* pDc,
                                      const kernels::QuantParams* pQuant)
    {
        return kernels::g_Kernels.ForwardQuantAc8x8Deep(pSrc, kBytes * SrcStep, pPrediction, kBytes * PredictionStep,
                                                        pLevels, pDc, pQuant);
    }
    static constexpr auto& ForwardLumaDc = kernels::g_Kernels.ForwardLumaDcDeep;
    static constexpr auto& ForwardChromaDc420 = kernels::g_Kernels.ForwardChromaDc420Deep;
    static constexpr auto& ForwardChromaDc422 = kernels::g_Kernels.ForwardChromaDc422Deep;
    static constexpr auto& DequantBlocks = kernels::g_Kernels.DequantBlocksDeep;
    static constexpr auto& DequantBlocks8x8 = kernels::g_Kernels.DequantBlocks8x8Deep;
    static constexpr auto& InverseLumaDc = kernels::InverseLumaDcDeep_px;
    static constexpr auto& InverseChromaDc420 = kernels::InverseChromaDc420Deep_px;
    static constexpr auto& InverseChromaDc422 = kernels::InverseChromaDc422Deep_px;

    static void AddResidual4x4(Coeff* pCoeffs, Sample* pDst, ptrdiff_t Step, int Depth)
    {
        kernels::g_Kernels.AddResidual4x4Deep(pCoeffs, pDst, kBytes * Step, Depth);
    }
    static void AddResidual8x8(Coeff* pCoeffs, Sample* pDst, ptrdiff_t Step, int Depth)
    {
        kernels::g_Kernels.AddResidual8x8Deep(pCoeffs, pDst, kBytes * Step, Depth);
    }
    static void AddResidualLuma4x4(Coeff* pCoeffs, Sample* pDst, ptrdiff_t Step, uint32_t Bits, int Depth)
    {
        kernels::g_Kernels.AddResidualLuma4x4Deep(pCoeffs, pDst, kBytes * Step, Bits, Depth);
    }
    static void AddResidualLuma8x8(Coeff* pCoeffs, Sample* pDst, ptrdiff_t Step, uint32_t Bits, int Depth)
    {
        kernels::g_Kernels.AddResidualLuma8x8Deep(pCoeffs, pDst, kBytes * Step, Bits, Depth);
    }
    static void AddResidualChroma(Coeff* pCoeffs, Sample* pDst, ptrdiff_t Step, uint32_t Bits, int Depth)
    {
        kernels::g_Kernels.AddResidualChromaDeep(pCoeffs, pDst, kBytes * Step, Bits, Depth);
    }

    // ---- Intra prediction -------------------------------------------------------------------------------------

    static void Predict16x16(int Mode, const Sample* pAround, ptrdiff_t AroundStep, Sample* pDst, ptrdiff_t DstStep,
                             unsigned Available, int Depth)
    {
        kernels::g_Kernels.Predict16x16Deep(Mode, pAround, kBytes * AroundStep, pDst, kBytes * DstStep, Available,
                                            Depth);
    }
    static void PredictChroma(int Mode, int Height, const Sample* pAround, ptrdiff_t AroundStep, Sample* pDst,
                              ptrdiff_t DstStep, unsigned Available, int Depth)
    {
        kernels::g_Kernels.PredictChromaDeep(Mode, Height, pAround, kBytes * AroundStep, pDst, kBytes * DstStep,
                                             Available, Depth);
    }
    static void PredictIntra4x4(int Mode, const Sample* pAround, ptrdiff_t AroundStep, const Sample* pTopRight,
                                Sample* pDst, ptrdiff_t DstStep, unsigned Available, int Depth)
    {
        kernels::g_Kernels.PredictIntra4x4Deep(Mode, pAround, kBytes * AroundStep, pTopRight, pDst, kBytes * DstStep,
                                               Available, Depth);
    }
    static void PredictAll4x4(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pAround, ptrdiff_t AroundStep,
                              unsigned Available, Sample (*pPredictions)[16], int32_t* pSad, int Depth)
    {
        kernels::g_Kernels.PredictAll4x4Deep(pSrc, kBytes * SrcStep, pAround, kBytes * AroundStep, Available,
                                             pPredictions, pSad, Depth);
    }
    static void PredictIntra8x8(int Mode, const Sample* pAround, ptrdiff_t AroundStep, Sample* pDst, ptrdiff_t DstStep,
                                unsigned Available, int Depth)
    {
        kernels::g_Kernels.PredictIntra8x8Deep(Mode, pAround, kBytes * AroundStep, pDst, kBytes * DstStep, Available,
                                               Depth);
    }

    // ---- Inter prediction -------------------------------------------------------------------------------------

    static void InterpolateLuma(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst, ptrdiff_t DstStep, int FracX,
                                int FracY, int Width, int Height, int Depth)
    {
        kernels::g_Kernels.InterpolateLumaDeep(pSrc, kBytes * SrcStep, pDst, kBytes * DstStep, FracX, FracY, Width,
                                               Height, Depth);
    }
    static void InterpolateChroma(const Sample* pSrcU, const Sample* pSrcV, ptrdiff_t SrcStep, Sample* pDstU,
                                  Sample* pDstV, ptrdiff_t DstStep, int FracX, int FracY, int Width, int Height)
    {
        kernels::g_Kernels.InterpolateChromaDeep(pSrcU, pSrcV, kBytes * SrcStep, pDstU, pDstV, kBytes * DstStep, FracX,
                                                 FracY, Width, Height);
    }
    static void AverageBlock(const Sample* pA, ptrdiff_t StepA, Sample* pDst, ptrdiff_t DstStep, int Width, int Height)
    {
        kernels::g_Kernels.AverageBlockDeep(pA, kBytes * StepA, pDst, kBytes * DstStep, Width, Height);
    }
    static void BiWeightBlock(const Sample* pA, ptrdiff_t StepA, Sample* pDst, ptrdiff_t DstStep, int Width, int Height,
                              int LogDenom, int Weight0, int Weight1, int Offset, int Depth)
    {
        kernels::g_Kernels.BiWeightBlockDeep(pA, kBytes * StepA, pDst, kBytes * DstStep, Width, Height, LogDenom,
                                             Weight0, Weight1, Offset, Depth);
    }
    static void CopyClamped(const Sample* pPlane, ptrdiff_t Step, int PlaneWidth, int PlaneHeight, int X, int Y,
                            Sample* pDst, ptrdiff_t DstStep, int Width, int Height)
    {
        kernels::CopyClampedDeep_px(pPlane, kBytes * Step, PlaneWidth, PlaneHeight, X, Y, pDst, kBytes * DstStep, Width,
                                    Height);
    }
    static void CopyBlock16(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst, ptrdiff_t DstStep, int Height)
    {
        kernels::g_Kernels.CopyBlockDeep(pSrc, kBytes * SrcStep, pDst, kBytes * DstStep, 16, Height);
    }
    static void CopyBlock8(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst, ptrdiff_t DstStep, int Height)
    {
        kernels::g_Kernels.CopyBlockDeep(pSrc, kBytes * SrcStep, pDst, kBytes * DstStep, 8, Height);
    }
    static void HalfPlaneRight(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst, ptrdiff_t DstStep, int Depth)
    {
        kernels::g_Kernels.HalfPlaneRightDeep(pSrc, kBytes * SrcStep, pDst, kBytes * DstStep, Depth);
    }
    static void HalfPlaneDown(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst, ptrdiff_t DstStep, int Depth)
    {
        kernels::g_Kernels.HalfPlaneDownDeep(pSrc, kBytes * SrcStep, pDst, kBytes * DstStep, Depth);
    }
    static void HalfPlaneBoth(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst, ptrdiff_t DstStep, int Depth)
    {
        kernels::g_Kernels.HalfPlaneBothDeep(pSrc, kBytes * SrcStep, pDst, kBytes * DstStep, Depth);
    }

    // ---- Edge filter ------------------------------------------------------------------------------------------

    static void FilterLuma(bool IsVertical, Sample* pPlane, ptrdiff_t Step, const kernels::EdgeParams* pParams,
                           int Depth)
    {
        (IsVertical ? kernels::g_Kernels.FilterLumaVerticalDeep
                    : kernels::g_Kernels.FilterLumaHorizontalDeep)(pPlane, kBytes * Step, pParams, Depth);
    }
    static void FilterChroma(bool IsVertical, int Height, Sample* pPlaneU, Sample* pPlaneV, ptrdiff_t Step,
                             const kernels::EdgeParams* pParamsU, const kernels::EdgeParams* pParamsV, int Depth)
    {
        (IsVertical ? kernels::g_Kernels.FilterChromaVerticalDeep : kernels::g_Kernels.FilterChromaHorizontalDeep)(
            pPlaneU, pPlaneV, kBytes * Step, Height, pParamsU, pParamsV, Depth);
    }
    static void FilterLumaMixed(Sample* pPlane, ptrdiff_t Gap, ptrdiff_t Step, const kernels::EdgeParams* pParams,
                                int Depth)
    {
        kernels::FilterLumaMixedDeep_px(pPlane, kBytes * Gap, kBytes * Step, pParams, Depth);
    }
    static void FilterChromaMixed(int Height, Sample* pPlaneU, Sample* pPlaneV, ptrdiff_t Gap, ptrdiff_t Step,
                                  const kernels::EdgeParams* pParamsU, const kernels::EdgeParams* pParamsV, int Depth)
    {
        kernels::FilterChromaMixedDeep_px(pPlaneU, pPlaneV, kBytes * Gap, kBytes * Step, Height, pParamsU, pParamsV,
                                          Depth);
    }
};

template <class Sample>
struct CodecTraits;

template <>
struct CodecTraits<uint8_t> {
    using Coeff = int16_t; // levels in their block, then scaled coefficients
    using Level = int16_t; // the same in a list
    using Levels = BlockLevels<Level>;
    using KernelSet = Kernels8Bit;
    static constexpr int32_t kMaxBitDepth = 8;
};

template <>
struct CodecTraits<uint16_t> {
    using Coeff = int32_t;
    using Level = int32_t;
    using Levels = BlockLevels<Level>;
    using KernelSet = KernelsDeep;
    static constexpr int32_t kMaxBitDepth = 12;
};

/// The kernels for a sample type.
template <class Sample>
inline constexpr typename CodecTraits<Sample>::KernelSet Kernels{};

} // namespace UMC_H264_ENCODER
