#include "decoder/h264_inter_prediction.h"

#include "kernels/dispatch/kernels.h"

#include <algorithm>

namespace UMC {

namespace {

using kernels::g_Kernels;

constexpr ptrdiff_t kTempStep = 16;    // rows of m_Temp: luma, then Cb and Cr
constexpr ptrdiff_t kTempU = 16 * 16, kTempV = kTempU + 16 * 8;
constexpr ptrdiff_t kClampedStep = 24; // rows of m_Clamped: luma, or Cb and Cr
constexpr ptrdiff_t kClampedV = 12 * kClampedStep;

// One block of a macroblock, in luma samples of the picture.
struct Block {
    uint8_t *pY, *pU, *pV;
    int X, Y, Height;
};

// Samples that a reference block is read from: in the picture itself where the vector is whole and the block lies inside.
struct Source {
    const uint8_t* p;
    ptrdiff_t Step;
};

template <int W>
constexpr auto LumaKernel()
{
    return W == 16 ? &kernels::KernelSlots::InterpolateLuma16
           : W == 8 ? &kernels::KernelSlots::InterpolateLuma8
                    : &kernels::KernelSlots::InterpolateLuma4;
}
template <int W> // chroma width
constexpr auto ChromaKernel()
{
    return W == 8 ? &kernels::KernelSlots::InterpolateChroma8
           : W == 4 ? &kernels::KernelSlots::InterpolateChroma4
                    : &kernels::KernelSlots::InterpolateChroma2;
}
template <int W>
constexpr auto AverageKernel()
{
    return W == 16  ? &kernels::KernelSlots::AverageBlock16
           : W == 8 ? &kernels::KernelSlots::AverageBlock8
           : W == 4 ? &kernels::KernelSlots::AverageBlock4
                    : &kernels::KernelSlots::AverageBlock2;
}
template <int W>
constexpr auto WeightKernel()
{
    return W == 16  ? &kernels::KernelSlots::WeightBlock16
           : W == 8 ? &kernels::KernelSlots::WeightBlock8
           : W == 4 ? &kernels::KernelSlots::WeightBlock4
                    : &kernels::KernelSlots::WeightBlock2;
}
template <int W>
constexpr auto BiWeightKernel()
{
    return W == 16  ? &kernels::KernelSlots::BiWeightBlock16
           : W == 8 ? &kernels::KernelSlots::BiWeightBlock8
           : W == 4 ? &kernels::KernelSlots::BiWeightBlock4
                    : &kernels::KernelSlots::BiWeightBlock2;
}

// Full sample of the reference at (X, Y), with what the filter taps read around it; clamped into the picture through a
// scratch where a part of that lies outside.
template <int W>
Source LumaSource(H264SegmentDecoder& d, const ReferencePlanes& Ref, int X, int Y, int Height, int FracX, int FracY)
{
    const int Left = FracX ? 2 : 0, Right = FracX ? 3 : 0, Above = FracY ? 2 : 0, Below = FracY ? 3 : 0;
    if (X >= Left && Y >= Above && X + W + Right <= Ref.Width && Y + Height + Below <= Ref.Height) [[likely]]
        return {Ref.pPlane[0] + Y * Ref.PitchLuma + X, Ref.PitchLuma};
    g_Kernels.CopyClamped(Ref.pPlane[0], Ref.PitchLuma, Ref.Width, Ref.Height, X - 2, Y - 2, d.m_Clamped, kClampedStep,
                          W + 5, Height + 5);
    return {d.m_Clamped + 2 * kClampedStep + 2, kClampedStep};
}

template <int W>
void PredictLuma(H264SegmentDecoder& d, const ReferencePlanes& Ref, H264DecoderMotionVector Mv, const Block& b,
                 uint8_t* pDst, ptrdiff_t DstStep)
{
    const int FracX = Mv.mvx & 3, FracY = Mv.mvy & 3;
    const Source s = LumaSource<W>(d, Ref, b.X + (Mv.mvx >> 2), b.Y + (Mv.mvy >> 2), b.Height, FracX, FracY);
    (g_Kernels.*LumaKernel<W>())(s.p, s.Step, pDst, DstStep, FracX, FracY, b.Height);
}

// W and the block's height are those of luma. The chroma vector is in eighths of a sample (clause 8.4.1.4).
template <int W>
void PredictChroma(H264SegmentDecoder& d, const ReferencePlanes& Ref, H264DecoderMotionVector Mv, const Block& b,
                   uint8_t* pDstU, uint8_t* pDstV, ptrdiff_t DstStep)
{
    constexpr int kWidth = W / 2;
    const int Height = b.Height / 2, MvY = Mv.mvy + Ref.ChromaMvOffset;
    const int FracX = Mv.mvx & 7, FracY = MvY & 7;
    const int X = b.X / 2 + (Mv.mvx >> 3), Y = b.Y / 2 + (MvY >> 3);
    const uint8_t *pU, *pV;
    ptrdiff_t Step = Ref.PitchChroma;
    if (X >= 0 && Y >= 0 && X + kWidth + (FracX != 0) <= Ref.ChromaWidth &&
        Y + Height + (FracY != 0) <= Ref.ChromaHeight) [[likely]] {
        const ptrdiff_t Offset = Y * Step + X;
        pU = Ref.pPlane[1] + Offset;
        pV = Ref.pPlane[2] + Offset;
    } else {
        g_Kernels.CopyClamped(Ref.pPlane[1], Step, Ref.ChromaWidth, Ref.ChromaHeight, X, Y, d.m_Clamped, kClampedStep,
                              kWidth + 1, Height + 1);
        g_Kernels.CopyClamped(Ref.pPlane[2], Step, Ref.ChromaWidth, Ref.ChromaHeight, X, Y, d.m_Clamped + kClampedV,
                              kClampedStep, kWidth + 1, Height + 1);
        pU = d.m_Clamped;
        pV = d.m_Clamped + kClampedV;
        Step = kClampedStep;
    }
    (g_Kernels.*ChromaKernel<kWidth>())(pU, pV, Step, pDstU, pDstV, DstStep, FracX, FracY, Height);
}

template <int W, bool HasChroma>
void PredictOneList(H264SegmentDecoder& d, int List, int RefIdx, H264DecoderMotionVector Mv, const Block& b)
{
    const ReferencePlanes& Ref = d.m_Reference[List][RefIdx];
    PredictLuma<W>(d, Ref, Mv, b, b.pY, d.m_PitchLuma);
    if constexpr (HasChroma) PredictChroma<W>(d, Ref, Mv, b, b.pU, b.pV, d.m_PitchChroma);
    if (!d.m_ExplicitWeights) return;

    const PredWeight& w = d.m_pSlice->m_Weights[List][RefIdx];
    const auto Denominator = static_cast<int>(d.m_pHeader->luma_log2_weight_denom);
    if (w.luma_weight_flag)
        (g_Kernels.*WeightKernel<W>())(b.pY, d.m_PitchLuma, b.Height, Denominator, w.luma_weight, w.luma_offset);
    if (HasChroma && w.chroma_weight_flag) {
        const auto ChromaDenominator = static_cast<int>(d.m_pHeader->chroma_log2_weight_denom);
        (g_Kernels.*WeightKernel<W / 2>())(b.pU, d.m_PitchChroma, b.Height / 2, ChromaDenominator, w.chroma_weight[0],
                                           w.chroma_offset[0]);
        (g_Kernels.*WeightKernel<W / 2>())(b.pV, d.m_PitchChroma, b.Height / 2, ChromaDenominator, w.chroma_weight[1],
                                           w.chroma_offset[1]);
    }
}

// Joins the list 0 prediction in m_Temp with that of list 1 in the picture by weights of the slice header.
template <int W, bool HasChroma>
void JoinExplicit(H264SegmentDecoder& d, const Block& b, const PredWeight& w0, const PredWeight& w1)
{
    const auto Join = [&](auto Kernel, const uint8_t* pA, uint8_t* pDst, ptrdiff_t Step, int Height, uint32_t Denominator,
                          int Weight0, int Weight1, int Offset0, int Offset1) {
        (g_Kernels.*Kernel)(pA, kTempStep, pDst, Step, Height, static_cast<int>(Denominator), Weight0, Weight1,
                            (Offset0 + Offset1 + 1) >> 1);
    };
    Join(BiWeightKernel<W>(), d.m_Temp, b.pY, d.m_PitchLuma, b.Height, d.m_pHeader->luma_log2_weight_denom, w0.luma_weight,
         w1.luma_weight, w0.luma_offset, w1.luma_offset);
    if constexpr (HasChroma)
        for (int i = 0; i < 2; ++i)
            Join(BiWeightKernel<W / 2>(), d.m_Temp + (i ? kTempV : kTempU), i ? b.pV : b.pU, d.m_PitchChroma, b.Height / 2,
                 d.m_pHeader->chroma_log2_weight_denom, w0.chroma_weight[i], w1.chroma_weight[i], w0.chroma_offset[i],
                 w1.chroma_offset[i]);
}

template <int W, bool HasChroma>
void JoinImplicit(H264SegmentDecoder& d, const Block& b, int Weight1)
{
    constexpr int kLogDenom = 5;
    const int Weight0 = 64 - Weight1;
    (g_Kernels.*BiWeightKernel<W>())(d.m_Temp, kTempStep, b.pY, d.m_PitchLuma, b.Height, kLogDenom, Weight0, Weight1, 0);
    if constexpr (HasChroma) {
        (g_Kernels.*BiWeightKernel<W / 2>())(d.m_Temp + kTempU, kTempStep, b.pU, d.m_PitchChroma, b.Height / 2, kLogDenom,
                                             Weight0, Weight1, 0);
        (g_Kernels.*BiWeightKernel<W / 2>())(d.m_Temp + kTempV, kTempStep, b.pV, d.m_PitchChroma, b.Height / 2, kLogDenom,
                                             Weight0, Weight1, 0);
    }
}

// Default bi-prediction. A list 0 block at whole samples inside its picture is averaged straight from there.
template <int W, bool HasChroma>
void JoinAverage(H264SegmentDecoder& d, const Block& b, const ReferencePlanes& Ref, H264DecoderMotionVector Mv)
{
    Source s{d.m_Temp, kTempStep};
    if ((Mv.mvx & 3) == 0 && (Mv.mvy & 3) == 0)
        s = LumaSource<W>(d, Ref, b.X + (Mv.mvx >> 2), b.Y + (Mv.mvy >> 2), b.Height, 0, 0);
    else
        PredictLuma<W>(d, Ref, Mv, b, d.m_Temp, kTempStep);
    (g_Kernels.*AverageKernel<W>())(s.p, s.Step, b.pY, d.m_PitchLuma, b.Height);
    if constexpr (HasChroma) {
        PredictChroma<W>(d, Ref, Mv, b, d.m_Temp + kTempU, d.m_Temp + kTempV, kTempStep);
        (g_Kernels.*AverageKernel<W / 2>())(d.m_Temp + kTempU, kTempStep, b.pU, d.m_PitchChroma, b.Height / 2);
        (g_Kernels.*AverageKernel<W / 2>())(d.m_Temp + kTempV, kTempStep, b.pV, d.m_PitchChroma, b.Height / 2);
    }
}

template <int W, bool HasChroma>
void PredictBothLists(H264SegmentDecoder& d, const int RefIdx[2], const H264DecoderMotionVector Mv[2], const Block& b)
{
    const ReferencePlanes &Ref0 = d.m_Reference[0][RefIdx[0]], &Ref1 = d.m_Reference[1][RefIdx[1]];
    PredictLuma<W>(d, Ref1, Mv[1], b, b.pY, d.m_PitchLuma);
    if constexpr (HasChroma) PredictChroma<W>(d, Ref1, Mv[1], b, b.pU, b.pV, d.m_PitchChroma);

    constexpr int kEvenWeight = 32;
    const int Weight1 = d.m_ImplicitWeights ? d.m_pRefPicList->ImplicitWeight[RefIdx[0]][RefIdx[1]] : kEvenWeight;
    if (!d.m_ExplicitWeights && Weight1 == kEvenWeight) return JoinAverage<W, HasChroma>(d, b, Ref0, Mv[0]);

    PredictLuma<W>(d, Ref0, Mv[0], b, d.m_Temp, kTempStep);
    if constexpr (HasChroma) PredictChroma<W>(d, Ref0, Mv[0], b, d.m_Temp + kTempU, d.m_Temp + kTempV, kTempStep);
    if (d.m_ExplicitWeights)
        JoinExplicit<W, HasChroma>(d, b, d.m_pSlice->m_Weights[0][RefIdx[0]], d.m_pSlice->m_Weights[1][RefIdx[1]]);
    else
        JoinImplicit<W, HasChroma>(d, b, Weight1);
}

// The block of W x Height luma samples at (X, Y) of the macroblock; its motion is that of its first 4x4 block.
template <int W, bool HasChroma>
void PredictBlock(H264SegmentDecoder& d, int X, int Y, int Height)
{
    const int i = d.m_Mb.m_Mb * 16 + Y + X / 4;
    const int PosX = d.m_Mb.m_X * 16 + X, PosY = d.m_Mb.m_Y * 16 + Y;
    Block b{d.m_pPlane[0] + PosY * d.m_PitchLuma + PosX, nullptr, nullptr, PosX, PosY, Height};
    if constexpr (HasChroma) {
        const ptrdiff_t Offset = PosY / 2 * d.m_PitchChroma + PosX / 2;
        b.pU = d.m_pPlane[1] + Offset;
        b.pV = d.m_pPlane[2] + Offset;
    }
    const int RefIdx[2] = {d.m_MbInfo.m_pRefIdx[0][i], d.m_MbInfo.m_pRefIdx[1][i]};
    const H264DecoderMotionVector Mv[2] = {d.m_MbInfo.m_pMv[0][i], d.m_MbInfo.m_pMv[1][i]};
    if (RefIdx[1] < 0)
        PredictOneList<W, HasChroma>(d, 0, RefIdx[0], Mv[0], b);
    else if (RefIdx[0] < 0)
        PredictOneList<W, HasChroma>(d, 1, RefIdx[1], Mv[1], b);
    else
        PredictBothLists<W, HasChroma>(d, RefIdx, Mv, b);
}

template <bool HasChroma>
void PredictQuadrant(H264SegmentDecoder& d, int Quadrant)
{
    const int X = (Quadrant & 1) * 8, Y = (Quadrant & 2) * 4;
    switch (d.m_Mb.m_pGlobal->SubBlockType[Quadrant] & SUBTYPE_SHAPE) {
    case SHAPE_WHOLE: PredictBlock<8, HasChroma>(d, X, Y, 8); break;
    case SHAPE_ROWS:
        PredictBlock<8, HasChroma>(d, X, Y, 4);
        PredictBlock<8, HasChroma>(d, X, Y + 4, 4);
        break;
    case SHAPE_COLUMNS:
        PredictBlock<4, HasChroma>(d, X, Y, 8);
        PredictBlock<4, HasChroma>(d, X + 4, Y, 8);
        break;
    default:
        for (int i = 0; i < 4; ++i) PredictBlock<4, HasChroma>(d, X + (i & 1) * 4, Y + (i & 2) * 2, 4);
    }
}

} // namespace

template <bool HasChroma>
void PredictInter(H264SegmentDecoder& Decoder)
{
    switch (Decoder.m_Mb.m_pGlobal->MbType) {
    case MBTYPE_INTER16x8:
        PredictBlock<16, HasChroma>(Decoder, 0, 0, 8);
        PredictBlock<16, HasChroma>(Decoder, 0, 8, 8);
        break;
    case MBTYPE_INTER8x16:
        PredictBlock<8, HasChroma>(Decoder, 0, 0, 16);
        PredictBlock<8, HasChroma>(Decoder, 8, 0, 16);
        break;
    case MBTYPE_DIRECT:
        if (Decoder.m_Mb.m_pGlobal->MbFlags & MBFLAG_ONE_MOTION) return PredictBlock<16, HasChroma>(Decoder, 0, 0, 16);
        [[fallthrough]];
    case MBTYPE_INTER8x8:
    case MBTYPE_INTER8x8_REF0:
        for (int q = 0; q < 4; ++q) PredictQuadrant<HasChroma>(Decoder, q);
        break;
    default: PredictBlock<16, HasChroma>(Decoder, 0, 0, 16);
    }
}
template void PredictInter<false>(H264SegmentDecoder&);
template void PredictInter<true>(H264SegmentDecoder&);

} // namespace UMC
