// What decides about a macroblock's samples: their type, that of coefficients, and the kernels for both. One argument
// of the templates that turn bits into coefficients and records into samples.
#pragma once

#include "Common/h264/chroma_geometry.h"
#include "Common/h264/h264_tables.h"
#include "kernels/deblocking/deblocking.h"
#include "kernels/dispatch/kernels.h"
#include "kernels/interpolation/interpolation.h"
#include "kernels/intra/intra.h"
#include "kernels/transform/transform.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace UMC {

// By sample type. Steps count bytes; Depth is the bits that a sample holds. Functions with a p work in the picture, p
// being the block's first sample; those of inter prediction are for blocks of W columns (kernels/interpolation).
template <class SampleType>
struct CodecTraits;

// 8 bits: the bound kernels.
template <>
struct CodecTraits<uint8_t> {
    using Sample = uint8_t;
    using Coeffs = int16_t;

    // DC levels to coefficient 0 of each block, LevelScale and Per being those of the QP that they are scaled by.
    static void InverseLumaDc(const Coeffs* pLevels, int LevelScale, int Per, Coeffs* pCoeffs)
    {
        kernels::g_Kernels.InverseLumaDc(pLevels, LevelScale, Per, pCoeffs);
    }
    template <int color_format>
    static void InverseChromaDc(const Coeffs* pLevels, int LevelScale, int Per, Coeffs* pCoeffs)
    {
        if constexpr (color_format == h264::CHROMA_444)
            InverseLumaDc(pLevels, LevelScale, Per, pCoeffs);
        else if constexpr (color_format == h264::CHROMA_422)
            kernels::InverseChromaDc422_px(pLevels, LevelScale, Per, pCoeffs);
        else
            kernels::g_Kernels.InverseChromaDc420(pLevels, LevelScale, Per, pCoeffs);
    }
    static void Predict16x16(int Mode, Sample* p, ptrdiff_t Step, unsigned Available, int)
    {
        switch (Mode) {
        case 0: return kernels::g_Kernels.Predict16x16Vertical(p, Step, p, Step, Available);
        case 1: return kernels::g_Kernels.Predict16x16Horizontal(p, Step, p, Step, Available);
        case 2: return kernels::g_Kernels.Predict16x16Dc(p, Step, p, Step, Available);
        default: return kernels::g_Kernels.Predict16x16Plane(p, Step, p, Step, Available);
        }
    }
    template <int kHeight>
    static void PredictChroma(int Mode, Sample* p, ptrdiff_t Step, unsigned Available, int)
    {
        if constexpr (kHeight == 16) return kernels::g_Kernels.PredictChroma422(Mode, p, Step, p, Step, Available);
        switch (Mode) {
        case 0: return kernels::g_Kernels.PredictChromaDc(p, Step, p, Step, Available);
        case 1: return kernels::g_Kernels.PredictChromaHorizontal(p, Step, p, Step, Available);
        case 2: return kernels::g_Kernels.PredictChromaVertical(p, Step, p, Step, Available);
        default: return kernels::g_Kernels.PredictChromaPlane(p, Step, p, Step, Available);
        }
    }
    static void PredictIntra4x4(int Mode, Sample* p, ptrdiff_t Step, unsigned Available, int)
    {
        kernels::g_Kernels.PredictIntra4x4(Mode, p, Step, p - Step + 4, p, Step, Available);
    }
    static void PredictIntra8x8(int Mode, Sample* p, ptrdiff_t Step, unsigned Available, int)
    {
        kernels::g_Kernels.PredictIntra8x8(Mode, p, Step, p, Step, Available);
    }
    static void AddResidual4x4(Coeffs* pCoeffs, Sample* p, ptrdiff_t Step, int)
    {
        kernels::g_Kernels.AddResidual4x4(pCoeffs, p, Step);
    }
    static void AddResidual8x8(Coeffs* pCoeffs, Sample* p, ptrdiff_t Step, int)
    {
        kernels::g_Kernels.AddResidual8x8(pCoeffs, p, Step);
    }
    // Of a whole macroblock, where Bits has blocks in luma4x4BlkIdx order.
    static void AddLuma4x4(Coeffs* pCoeffs, Sample* p, ptrdiff_t Step, uint32_t Bits, int)
    {
        kernels::g_Kernels.AddResidualLuma4x4(pCoeffs, p, Step, Bits);
    }
    static void AddLuma8x8(Coeffs* pCoeffs, Sample* p, ptrdiff_t Step, uint32_t Bits, int)
    {
        kernels::g_Kernels.AddResidualLuma8x8(pCoeffs, p, Step, Bits);
    }
    // One 8x8 area of a chroma plane, four blocks in raster order.
    static void AddChroma(Coeffs* pCoeffs, Sample* p, ptrdiff_t Step, uint32_t Bits, int)
    {
        kernels::g_Kernels.AddResidualChroma(pCoeffs, p, Step, Bits);
    }

    template <int W>
    static void InterpolateLuma(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst, ptrdiff_t DstStep, int FracX,
                                int FracY, int Height, int)
    {
        constexpr auto kKernel = W == 16  ? &kernels::KernelSlots::InterpolateLuma16
                                 : W == 8 ? &kernels::KernelSlots::InterpolateLuma8
                                          : &kernels::KernelSlots::InterpolateLuma4;
        (kernels::g_Kernels.*kKernel)(pSrc, SrcStep, pDst, DstStep, FracX, FracY, Height);
    }
    // Both planes.
    template <int W>
    static void InterpolateChroma(const Sample* pSrcU, const Sample* pSrcV, ptrdiff_t SrcStep, Sample* pDstU,
                                  Sample* pDstV, ptrdiff_t DstStep, int FracX, int FracY, int Height)
    {
        if constexpr (W == 16) { // of 4:4:4
            InterpolateChroma<8>(pSrcU, pSrcV, SrcStep, pDstU, pDstV, DstStep, FracX, FracY, Height);
            return InterpolateChroma<8>(pSrcU + 8, pSrcV + 8, SrcStep, pDstU + 8, pDstV + 8, DstStep, FracX, FracY,
                                        Height);
        }
        constexpr auto kKernel = W == 8   ? &kernels::KernelSlots::InterpolateChroma8
                                 : W == 4 ? &kernels::KernelSlots::InterpolateChroma4
                                          : &kernels::KernelSlots::InterpolateChroma2;
        (kernels::g_Kernels.*kKernel)(pSrcU, pSrcV, SrcStep, pDstU, pDstV, DstStep, FracX, FracY, Height);
    }
    template <int W>
    static void AverageBlock(const Sample* pA, ptrdiff_t StepA, Sample* pDst, ptrdiff_t DstStep, int Height)
    {
        constexpr auto kKernel = W == 16  ? &kernels::KernelSlots::AverageBlock16
                                 : W == 8 ? &kernels::KernelSlots::AverageBlock8
                                 : W == 4 ? &kernels::KernelSlots::AverageBlock4
                                          : &kernels::KernelSlots::AverageBlock2;
        (kernels::g_Kernels.*kKernel)(pA, StepA, pDst, DstStep, Height);
    }
    // Offsets are those of the samples' depth.
    template <int W>
    static void WeightBlock(Sample* p, ptrdiff_t Step, int Height, int LogDenom, int Weight, int Offset, int)
    {
        constexpr auto kKernel = W == 16  ? &kernels::KernelSlots::WeightBlock16
                                 : W == 8 ? &kernels::KernelSlots::WeightBlock8
                                 : W == 4 ? &kernels::KernelSlots::WeightBlock4
                                          : &kernels::KernelSlots::WeightBlock2;
        (kernels::g_Kernels.*kKernel)(p, Step, Height, LogDenom, Weight, Offset);
    }
    template <int W>
    static void BiWeightBlock(const Sample* pA, ptrdiff_t StepA, Sample* pDst, ptrdiff_t DstStep, int Height,
                              int LogDenom, int Weight0, int Weight1, int Offset, int)
    {
        constexpr auto kKernel = W == 16  ? &kernels::KernelSlots::BiWeightBlock16
                                 : W == 8 ? &kernels::KernelSlots::BiWeightBlock8
                                 : W == 4 ? &kernels::KernelSlots::BiWeightBlock4
                                          : &kernels::KernelSlots::BiWeightBlock2;
        (kernels::g_Kernels.*kKernel)(pA, StepA, pDst, DstStep, Height, LogDenom, Weight0, Weight1, Offset);
    }
    static void CopyClamped(const Sample* pPlane, ptrdiff_t Step, int PlaneWidth, int PlaneHeight, int X, int Y,
                            Sample* pDst, ptrdiff_t DstStep, int Width, int Height)
    {
        kernels::g_Kernels.CopyClamped(pPlane, Step, PlaneWidth, PlaneHeight, X, Y, pDst, DstStep, Width, Height);
    }

    // All edges of one direction of a macroblock: 0 the vertical ones. Thresholds are those of 8 bits.
    template <int Direction>
    static void FilterLuma(Sample* p, ptrdiff_t Step, const kernels::EdgeParams* pParams, int)
    {
        (Direction == 0 ? kernels::g_Kernels.FilterLumaVertical : kernels::g_Kernels.FilterLumaHorizontal)(p, Step,
                                                                                                           pParams);
    }
    // Both planes, of macroblocks with kHeight rows.
    template <int Direction, int kHeight>
    static void FilterChroma(Sample* pU, Sample* pV, ptrdiff_t Step, const kernels::EdgeParams* pParamsU,
                             const kernels::EdgeParams* pParamsV, int)
    {
        if constexpr (kHeight == 16)
            (Direction == 0 ? kernels::g_Kernels.FilterChroma422Vertical
                            : kernels::g_Kernels.FilterChroma422Horizontal)(pU, pV, Step, pParamsU, pParamsV);
        else
            (Direction == 0 ? kernels::g_Kernels.FilterChromaVertical
                            : kernels::g_Kernels.FilterChromaHorizontal)(pU, pV, Step, pParamsU, pParamsV);
    }
    // A left edge between a frame pair and a field pair, in two parts with a record each.
    static void FilterLumaMixed(Sample* p, ptrdiff_t Gap, ptrdiff_t Step, const kernels::EdgeParams (&Params)[2], int)
    {
        kernels::g_Kernels.FilterLumaMixed(p, Gap, Step, Params);
    }
    template <int kHeight>
    static void FilterChromaMixed(Sample* pU, Sample* pV, ptrdiff_t Gap, ptrdiff_t Step,
                                  const kernels::EdgeParams (&ParamsU)[2], const kernels::EdgeParams (&ParamsV)[2], int)
    {
        (kHeight == 16 ? kernels::g_Kernels.FilterChroma422Mixed
                       : kernels::g_Kernels.FilterChromaMixed)(pU, pV, Gap, Step, ParamsU, ParamsV);
    }
};

// Up to 14 bits.
template <>
struct CodecTraits<uint16_t> {
    using Sample = uint16_t;
    using Coeffs = int32_t;

    static void InverseLumaDc(const Coeffs* pLevels, int LevelScale, int Per, Coeffs* pCoeffs)
    {
        kernels::InverseLumaDcDeep_px(pLevels, LevelScale, Per, pCoeffs);
    }
    template <int color_format>
    static void InverseChromaDc(const Coeffs* pLevels, int LevelScale, int Per, Coeffs* pCoeffs)
    {
        if constexpr (color_format == h264::CHROMA_444)
            InverseLumaDc(pLevels, LevelScale, Per, pCoeffs);
        else if constexpr (color_format == h264::CHROMA_422)
            kernels::InverseChromaDc422Deep_px(pLevels, LevelScale, Per, pCoeffs);
        else
            kernels::InverseChromaDc420Deep_px(pLevels, LevelScale, Per, pCoeffs);
    }
    static void Predict16x16(int Mode, Sample* p, ptrdiff_t Step, unsigned Available, int Depth)
    {
        kernels::g_Kernels.Predict16x16Deep(Mode, p, Step, p, Step, Available, Depth);
    }
    template <int kHeight>
    static void PredictChroma(int Mode, Sample* p, ptrdiff_t Step, unsigned Available, int Depth)
    {
        kernels::g_Kernels.PredictChromaDeep(Mode, kHeight, p, Step, p, Step, Available, Depth);
    }
    static void PredictIntra4x4(int Mode, Sample* p, ptrdiff_t Step, unsigned Available, int Depth)
    {
        kernels::g_Kernels.PredictIntra4x4Deep(Mode, p, Step, p - Step / 2 + 4, p, Step, Available, Depth);
    }
    static void PredictIntra8x8(int Mode, Sample* p, ptrdiff_t Step, unsigned Available, int Depth)
    {
        kernels::g_Kernels.PredictIntra8x8Deep(Mode, p, Step, p, Step, Available, Depth);
    }
    static void AddResidual4x4(Coeffs* pCoeffs, Sample* p, ptrdiff_t Step, int Depth)
    {
        kernels::g_Kernels.AddResidual4x4Deep(pCoeffs, p, Step, Depth);
    }
    static void AddResidual8x8(Coeffs* pCoeffs, Sample* p, ptrdiff_t Step, int Depth)
    {
        kernels::g_Kernels.AddResidual8x8Deep(pCoeffs, p, Step, Depth);
    }
    static void AddLuma4x4(Coeffs* pCoeffs, Sample* p, ptrdiff_t Step, uint32_t Bits, int Depth)
    {
        kernels::g_Kernels.AddResidualLuma4x4Deep(pCoeffs, p, Step, Bits, Depth);
    }
    static void AddLuma8x8(Coeffs* pCoeffs, Sample* p, ptrdiff_t Step, uint32_t Bits, int Depth)
    {
        kernels::g_Kernels.AddResidualLuma8x8Deep(pCoeffs, p, Step, Bits, Depth);
    }
    static void AddChroma(Coeffs* pCoeffs, Sample* p, ptrdiff_t Step, uint32_t Bits, int Depth)
    {
        kernels::g_Kernels.AddResidualChromaDeep(pCoeffs, p, Step, Bits, Depth);
    }

    template <int W>
    static void InterpolateLuma(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst, ptrdiff_t DstStep, int FracX,
                                int FracY, int Height, int Depth)
    {
        kernels::g_Kernels.InterpolateLumaDeep(pSrc, SrcStep, pDst, DstStep, FracX, FracY, W, Height, Depth);
    }
    template <int W>
    static void InterpolateChroma(const Sample* pSrcU, const Sample* pSrcV, ptrdiff_t SrcStep, Sample* pDstU,
                                  Sample* pDstV, ptrdiff_t DstStep, int FracX, int FracY, int Height)
    {
        kernels::g_Kernels.InterpolateChromaDeep(pSrcU, pSrcV, SrcStep, pDstU, pDstV, DstStep, FracX, FracY, W, Height);
    }
    template <int W>
    static void AverageBlock(const Sample* pA, ptrdiff_t StepA, Sample* pDst, ptrdiff_t DstStep, int Height)
    {
        kernels::g_Kernels.AverageBlockDeep(pA, StepA, pDst, DstStep, W, Height);
    }
    template <int W>
    static void WeightBlock(Sample* p, ptrdiff_t Step, int Height, int LogDenom, int Weight, int Offset, int Depth)
    {
        kernels::g_Kernels.WeightBlockDeep(p, Step, W, Height, LogDenom, Weight, Offset, Depth);
    }
    template <int W>
    static void BiWeightBlock(const Sample* pA, ptrdiff_t StepA, Sample* pDst, ptrdiff_t DstStep, int Height,
                              int LogDenom, int Weight0, int Weight1, int Offset, int Depth)
    {
        kernels::g_Kernels.BiWeightBlockDeep(pA, StepA, pDst, DstStep, W, Height, LogDenom, Weight0, Weight1, Offset,
                                             Depth);
    }
    static void CopyClamped(const Sample* pPlane, ptrdiff_t Step, int PlaneWidth, int PlaneHeight, int X, int Y,
                            Sample* pDst, ptrdiff_t DstStep, int Width, int Height)
    {
        kernels::CopyClampedDeep_px(pPlane, Step, PlaneWidth, PlaneHeight, X, Y, pDst, DstStep, Width, Height);
    }

    template <int Direction>
    static void FilterLuma(Sample* p, ptrdiff_t Step, const kernels::EdgeParams* pParams, int Depth)
    {
        (Direction == 0 ? kernels::g_Kernels.FilterLumaVerticalDeep
                        : kernels::g_Kernels.FilterLumaHorizontalDeep)(p, Step, pParams, Depth);
    }
    template <int Direction, int kHeight>
    static void FilterChroma(Sample* pU, Sample* pV, ptrdiff_t Step, const kernels::EdgeParams* pParamsU,
                             const kernels::EdgeParams* pParamsV, int Depth)
    {
        (Direction == 0 ? kernels::g_Kernels.FilterChromaVerticalDeep : kernels::g_Kernels.FilterChromaHorizontalDeep)(
            pU, pV, Step, kHeight, pParamsU, pParamsV, Depth);
    }
    static void FilterLumaMixed(Sample* p, ptrdiff_t Gap, ptrdiff_t Step, const kernels::EdgeParams (&Params)[2],
                                int Depth)
    {
        kernels::FilterLumaMixedDeep_px(p, Gap, Step, Params, Depth);
    }
    template <int kHeight>
    static void FilterChromaMixed(Sample* pU, Sample* pV, ptrdiff_t Gap, ptrdiff_t Step,
                                  const kernels::EdgeParams (&ParamsU)[2], const kernels::EdgeParams (&ParamsV)[2],
                                  int Depth)
    {
        kernels::FilterChromaMixedDeep_px(pU, pV, Gap, Step, kHeight, ParamsU, ParamsV, Depth);
    }
};

// Of macroblocks that bypass the transform (TransformBypassModeFlag of clause 8.5): a level is the residual of its
// sample, and DC levels are those of the blocks' first samples. There is no horizontal or vertical prediction of the
// residual: that came with a later profile, which is not decoded.
template <class SampleType>
struct BypassTraits : CodecTraits<SampleType> {
    using Sample = SampleType;
    using Coeffs = typename CodecTraits<SampleType>::Coeffs;

    static void InverseLumaDc(const Coeffs* pLevels, int, int, Coeffs* pCoeffs)
    {
        for (int i = 0; i < 16; ++i) pCoeffs[i * 16] = pLevels[h264::kBlockRaster[i]];
    }
    template <int color_format>
    static void InverseChromaDc(const Coeffs* pLevels, int, int, Coeffs* pCoeffs)
    {
        if constexpr (color_format == h264::CHROMA_444) return InverseLumaDc(pLevels, 0, 0, pCoeffs);
        constexpr int kOrder422[8] = {0, 2, 1, 5, 3, 6, 4, 7}; // level of each block (clause 8.5.11.1)
        for (int i = 0; i < h264::kChromaGeometry[color_format].Blocks; ++i)
            pCoeffs[i * 16] = pLevels[color_format == h264::CHROMA_422 ? kOrder422[i] : i];
    }
    static void AddResidual4x4(Coeffs* pCoeffs, Sample* p, ptrdiff_t Step, int Depth)
    {
        AddSquare<4>(pCoeffs, p, Step, Depth);
    }
    static void AddResidual8x8(Coeffs* pCoeffs, Sample* p, ptrdiff_t Step, int Depth)
    {
        AddSquare<8>(pCoeffs, p, Step, Depth);
    }
    static void AddLuma4x4(Coeffs* pCoeffs, Sample* p, ptrdiff_t Step, uint32_t Bits, int Depth)
    {
        for (int q = 0; q < 4; ++q)
            AddChroma(pCoeffs + q * 64, At(p, Step, (q & 1) * 8, (q >> 1) * 8), Step, Bits >> (q * 4) & 15, Depth);
    }
    static void AddLuma8x8(Coeffs* pCoeffs, Sample* p, ptrdiff_t Step, uint32_t Bits, int Depth)
    {
        for (int q = 0; q < 4; ++q)
            if (Bits >> (q * 4) & 1)
                AddSquare<8>(pCoeffs + q * 64, At(p, Step, (q & 1) * 8, (q >> 1) * 8), Step, Depth);
    }
    static void AddChroma(Coeffs* pCoeffs, Sample* p, ptrdiff_t Step, uint32_t Bits, int Depth)
    {
        for (int i = 0; i < 4; ++i)
            if (Bits >> i & 1) AddSquare<4>(pCoeffs + i * 16, At(p, Step, (i & 1) * 4, (i >> 1) * 4), Step, Depth);
    }

private:
    static Sample* At(Sample* p, ptrdiff_t Step, int x, int y)
    {
        return p + y * (Step / static_cast<ptrdiff_t>(sizeof(Sample))) + x;
    }
    template <int Size>
    static void AddSquare(Coeffs* pCoeffs, Sample* p, ptrdiff_t Step, int Depth)
    {
        for (int y = 0; y < Size; ++y)
            for (int x = 0; x < Size; ++x) {
                Sample& s = *At(p, Step, x, y);
                s = static_cast<Sample>(std::clamp<int64_t>(int64_t{s} + pCoeffs[y * Size + x], 0, (1 << Depth) - 1));
                pCoeffs[y * Size + x] = 0;
            }
    }
};

} // namespace UMC
