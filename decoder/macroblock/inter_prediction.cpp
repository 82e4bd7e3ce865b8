#include "decoder/macroblock/inter_prediction.h"

#include "kernels/dispatch/kernels.h"

#include <algorithm>

namespace UMC {

namespace {

using kernels::g_Kernels;

constexpr ptrdiff_t kTempStep = 16; // rows of m_Temp: luma, then Cb and Cr
constexpr ptrdiff_t kTempU = 16 * 16, kTempV = kTempU + 16 * 8;
constexpr ptrdiff_t kClampedStep = 24; // rows of m_Clamped: luma, or Cb and Cr
constexpr ptrdiff_t kClampedV = 12 * kClampedStep;

// One block of a macroblock, in luma samples of the picture.
struct Block {
    uint8_t *pY, *pU, *pV;
    int X, Y, Height;
};

// Samples that a reference block is read from: in the picture itself where the vector is whole and the block lies
// inside.
struct Source {
    const uint8_t* p;
    ptrdiff_t Step;
};

template <int W>
constexpr auto LumaKernel()
{
    return W == 16  ? &kernels::KernelSlots::InterpolateLuma16
           : W == 8 ? &kernels::KernelSlots::InterpolateLuma8
                    : &kernels::KernelSlots::InterpolateLuma4;
}
template <int W> // chroma width
constexpr auto ChromaKernel()
{
    return W == 8   ? &kernels::KernelSlots::InterpolateChroma8
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

// Where a prediction goes: into the picture, or into m_Temp.
struct Target {
    uint8_t *pY, *pU, *pV;
    ptrdiff_t Step, ChromaStep;
};

// Full luma sample of the reference at (X, Y), with what the filter taps read around it; clamped into the picture
// through a scratch where a part of that lies outside.
template <int W>
Source LumaSource(H264SegmentDecoder& d, const ReferencePlanes& Ref, int X, int Y, int Height, int FracX, int FracY)
{
    const int Left = FracX ? 2 : 0, Right = FracX ? 3 : 0, Above = FracY ? 2 : 0, Below = FracY ? 3 : 0;
    if (X >= Left && Y >= Above && X + W + Right <= Ref.Width && Y + Height + Below <= Ref.Height)
        return {Ref.pPlane[0] + Y * Ref.PitchLuma + X, Ref.PitchLuma};
    g_Kernels.CopyClamped(Ref.pPlane[0], Ref.PitchLuma, Ref.Width, Ref.Height, X - 2, Y - 2, d.m_Clamped, kClampedStep,
                          W + 5, Height + 5);
    return {d.m_Clamped + 2 * kClampedStep + 2, kClampedStep};
}

// At the borders of the reference, where one of the planes may have to be clamped. Chroma coordinates are the chroma
// block's.
template <int W, bool HasChroma>
[[gnu::noinline]] void PredictAtBorder(H264SegmentDecoder& d, const ReferencePlanes& Ref, h264::MotionVector Mv,
                                       const Block& b, const Target& t)
{
    const int FracX = Mv.x & 3, FracY = Mv.y & 3;
    const Source s = LumaSource<W>(d, Ref, b.X + (Mv.x >> 2), b.Y + (Mv.y >> 2), b.Height, FracX, FracY);
    (g_Kernels.*LumaKernel<W>())(s.p, s.Step, t.pY, t.Step, FracX, FracY, b.Height);
    if constexpr (HasChroma) {
        constexpr int kWidth = W / 2;
        const int Height = b.Height / 2, MvY = Mv.y + Ref.ChromaMvOffset, ChromaFracX = Mv.x & 7, ChromaFracY = MvY & 7;
        const int X = b.X / 2 + (Mv.x >> 3), Y = b.Y / 2 + (MvY >> 3);
        const bool Inside = X >= 0 && Y >= 0 && X + kWidth + (ChromaFracX != 0) <= Ref.ChromaWidth &&
                            Y + Height + (ChromaFracY != 0) <= Ref.ChromaHeight;
        const ptrdiff_t Offset = Y * Ref.PitchChroma + X, Step = Inside ? Ref.PitchChroma : kClampedStep;
        const uint8_t* pSource[2];
        for (int i = 0; i < 2; ++i) {
            uint8_t* const pClamped = d.m_Clamped + i * kClampedV;
            pSource[i] = Inside ? Ref.pPlane[1 + i] + Offset : pClamped;
            if (!Inside)
                g_Kernels.CopyClamped(Ref.pPlane[1 + i], Ref.PitchChroma, Ref.ChromaWidth, Ref.ChromaHeight, X, Y,
                                      pClamped, kClampedStep, kWidth + 1, Height + 1);
        }
        (g_Kernels.*ChromaKernel<kWidth>())(pSource[0], pSource[1], Step, t.pU, t.pV, t.ChromaStep, ChromaFracX,
                                            ChromaFracY, Height);
    }
}

// Luma and chroma of one block from one reference. Where the luma block lies inside with the taps' margins, the chroma
// block with the sample that it may read right and below does so too (clause 8.4.1.4 halves the vector).
template <int W, bool HasChroma>
[[gnu::always_inline]] inline void PredictFrom(H264SegmentDecoder& d, const ReferencePlanes& Ref, h264::MotionVector Mv,
                                               const Block& b, const Target& t)
{
    const int X = b.X + (Mv.x >> 2), Y = b.Y + (Mv.y >> 2);
    if (X < 2 || Y < 2 || X + W + 3 > Ref.Width || Y + b.Height + 3 > Ref.Height) [[unlikely]]
        return PredictAtBorder<W, HasChroma>(d, Ref, Mv, b, t);
    (g_Kernels.*LumaKernel<W>())(Ref.pPlane[0] + Y * Ref.PitchLuma + X, Ref.PitchLuma, t.pY, t.Step, Mv.x & 3, Mv.y & 3,
                                 b.Height);
    if constexpr (HasChroma) {
        const int MvY = Mv.y + Ref.ChromaMvOffset;
        const ptrdiff_t Offset = (b.Y / 2 + (MvY >> 3)) * Ref.PitchChroma + b.X / 2 + (Mv.x >> 3);
        (g_Kernels.*ChromaKernel<W / 2>())(Ref.pPlane[1] + Offset, Ref.pPlane[2] + Offset, Ref.PitchChroma, t.pU, t.pV,
                                           t.ChromaStep, Mv.x & 7, MvY & 7, b.Height / 2);
    }
}

Target PictureTarget(const H264SegmentDecoder& d, const Block& b)
{
    return {b.pY, b.pU, b.pV, d.m_PitchLuma, d.m_PitchChroma};
}

Target TempTarget(H264SegmentDecoder& d)
{
    return {d.m_Temp, d.m_Temp + kTempU, d.m_Temp + kTempV, kTempStep, kTempStep};
}

// Explicit weights of one prediction in the picture, where the slice header has some for its reference.
template <int W, bool HasChroma>
void WeightOneList(H264SegmentDecoder& d, const PredWeight& w, const Block& b)
{
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

template <int W, bool HasChroma>
[[gnu::always_inline]] inline void PredictOneList(H264SegmentDecoder& d, int List, int RefIdx, h264::MotionVector Mv,
                                                  const Block& b)
{
    PredictFrom<W, HasChroma>(d, d.m_Reference[List][RefIdx], Mv, b, PictureTarget(d, b));
    if (d.m_ExplicitWeights) WeightOneList<W, HasChroma>(d, d.m_Weights[List][RefIdx], b);
}

// Joins the list 0 prediction in m_Temp with that of list 1 in the picture by weights of the slice header.
template <int W, bool HasChroma>
void JoinExplicit(H264SegmentDecoder& d, const Block& b, const PredWeight& w0, const PredWeight& w1)
{
    const auto Join = [&](auto Kernel, const uint8_t* pA, uint8_t* pDst, ptrdiff_t Step, int Height,
                          uint32_t Denominator, int Weight0, int Weight1, int Offset0, int Offset1) {
        (g_Kernels.*Kernel)(pA, kTempStep, pDst, Step, Height, static_cast<int>(Denominator), Weight0, Weight1,
                            (Offset0 + Offset1 + 1) >> 1);
    };
    Join(BiWeightKernel<W>(), d.m_Temp, b.pY, d.m_PitchLuma, b.Height, d.m_pHeader->luma_log2_weight_denom,
         w0.luma_weight, w1.luma_weight, w0.luma_offset, w1.luma_offset);
    if constexpr (HasChroma)
        for (int i = 0; i < 2; ++i)
            Join(BiWeightKernel<W / 2>(), d.m_Temp + (i ? kTempV : kTempU), i ? b.pV : b.pU, d.m_PitchChroma,
                 b.Height / 2, d.m_pHeader->chroma_log2_weight_denom, w0.chroma_weight[i], w1.chroma_weight[i],
                 w0.chroma_offset[i], w1.chroma_offset[i]);
}

template <int W, bool HasChroma>
void JoinImplicit(H264SegmentDecoder& d, const Block& b, int Weight1)
{
    constexpr int kLogDenom = 5;
    const int Weight0 = 64 - Weight1;
    (g_Kernels.*BiWeightKernel<W>())(d.m_Temp, kTempStep, b.pY, d.m_PitchLuma, b.Height, kLogDenom, Weight0, Weight1,
                                     0);
    if constexpr (HasChroma) {
        (g_Kernels.*BiWeightKernel<W / 2>())(d.m_Temp + kTempU, kTempStep, b.pU, d.m_PitchChroma, b.Height / 2,
                                             kLogDenom, Weight0, Weight1, 0);
        (g_Kernels.*BiWeightKernel<W / 2>())(d.m_Temp + kTempV, kTempStep, b.pV, d.m_PitchChroma, b.Height / 2,
                                             kLogDenom, Weight0, Weight1, 0);
    }
}

// Default bi-prediction: the mean of both.
template <int W, bool HasChroma>
void JoinAverage(H264SegmentDecoder& d, const Block& b)
{
    (g_Kernels.*AverageKernel<W>())(d.m_Temp, kTempStep, b.pY, d.m_PitchLuma, b.Height);
    if constexpr (HasChroma) {
        (g_Kernels.*AverageKernel<W / 2>())(d.m_Temp + kTempU, kTempStep, b.pU, d.m_PitchChroma, b.Height / 2);
        (g_Kernels.*AverageKernel<W / 2>())(d.m_Temp + kTempV, kTempStep, b.pV, d.m_PitchChroma, b.Height / 2);
    }
}

// The same where the list 0 block stands at its own place, as still content has it: it is averaged straight from there.
template <int W, bool HasChroma>
void AverageInPlace(H264SegmentDecoder& d, const Block& b, const ReferencePlanes& Ref)
{
    (g_Kernels.*AverageKernel<W>())(Ref.pPlane[0] + b.Y * Ref.PitchLuma + b.X, Ref.PitchLuma, b.pY, d.m_PitchLuma,
                                    b.Height);
    if constexpr (HasChroma) {
        const ptrdiff_t Offset = b.Y / 2 * Ref.PitchChroma + b.X / 2;
        (g_Kernels.*AverageKernel<W / 2>())(Ref.pPlane[1] + Offset, Ref.PitchChroma, b.pU, d.m_PitchChroma,
                                            b.Height / 2);
        (g_Kernels.*AverageKernel<W / 2>())(Ref.pPlane[2] + Offset, Ref.PitchChroma, b.pV, d.m_PitchChroma,
                                            b.Height / 2);
    }
}

template <int W, bool HasChroma>
void PredictBothLists(H264SegmentDecoder& d, const int RefIdx[2], const h264::MotionVector Mv[2], const Block& b)
{
    const ReferencePlanes &Ref0 = d.m_Reference[0][RefIdx[0]], &Ref1 = d.m_Reference[1][RefIdx[1]];
    PredictFrom<W, HasChroma>(d, Ref1, Mv[1], b, PictureTarget(d, b));

    constexpr int kEvenWeight = 32;
    const int Weight1 = d.m_ImplicitWeights ? d.m_DirectTables.ImplicitWeight[RefIdx[0]][RefIdx[1]] : kEvenWeight;
    const bool Even = !d.m_ExplicitWeights && Weight1 == kEvenWeight;
    const bool Inside = b.X + W <= Ref0.Width && b.Y + b.Height <= Ref0.Height; // not so for a missing picture
    if (Even && AsWord(Mv[0]) == 0 && Ref0.ChromaMvOffset == 0 && Inside)
        return AverageInPlace<W, HasChroma>(d, b, Ref0);

    PredictFrom<W, HasChroma>(d, Ref0, Mv[0], b, TempTarget(d));
    if (Even)
        JoinAverage<W, HasChroma>(d, b);
    else if (d.m_ExplicitWeights)
        JoinExplicit<W, HasChroma>(d, b, d.m_Weights[0][RefIdx[0]], d.m_Weights[1][RefIdx[1]]);
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
    const h264::MotionVector Mv[2] = {d.m_MbInfo.m_pMv[0][i], d.m_MbInfo.m_pMv[1][i]};
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
