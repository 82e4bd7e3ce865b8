#include "decoder/macroblock/inter_prediction.h"

#include "kernels/dispatch/kernels.h"

#include <algorithm>

namespace UMC {

namespace {

using kernels::g_Kernels;

constexpr ptrdiff_t kTempStep = 16; // rows of PredictionScratch::Temp: luma, then Cb and Cr
constexpr ptrdiff_t kTempU = 16 * 16, kTempV = kTempU + 16 * 8;
constexpr ptrdiff_t kClampedStep = 24; // rows of PredictionScratch::Clamped: luma, or Cb and Cr
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

// Where a prediction goes: into the picture, or into the scratch.
struct Target {
    uint8_t *pY, *pU, *pV;
    ptrdiff_t Step, ChromaStep;
};

// Full luma sample of the reference at (X, Y), with what the filter taps read around it; clamped into the picture
// through a scratch where a part of that lies outside.
template <int W>
Source LumaSource(PredictionScratch& Scratch, const ReferencePlanes& Ref, int X, int Y, int Height, int FracX,
                  int FracY)
{
    const int Left = FracX ? 2 : 0, Right = FracX ? 3 : 0, Above = FracY ? 2 : 0, Below = FracY ? 3 : 0;
    if (X >= Left && Y >= Above && X + W + Right <= Ref.Width && Y + Height + Below <= Ref.Height)
        return {Ref.pPlane[0] + Y * Ref.PitchLuma + X, Ref.PitchLuma};
    g_Kernels.CopyClamped(Ref.pPlane[0], Ref.PitchLuma, Ref.Width, Ref.Height, X - 2, Y - 2, Scratch.Clamped,
                          kClampedStep, W + 5, Height + 5);
    return {Scratch.Clamped + 2 * kClampedStep + 2, kClampedStep};
}

// At the borders of the reference, where one of the planes may have to be clamped. Chroma coordinates are the chroma
// block's.
template <int W, bool HasChroma>
[[gnu::noinline]] void PredictAtBorder(PredictionScratch& Scratch, const ReferencePlanes& Ref, h264::MotionVector Mv,
                                       const Block& b, const Target& t)
{
    const int FracX = Mv.x & 3, FracY = Mv.y & 3;
    const Source s = LumaSource<W>(Scratch, Ref, b.X + (Mv.x >> 2), b.Y + (Mv.y >> 2), b.Height, FracX, FracY);
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
            uint8_t* const pClamped = Scratch.Clamped + i * kClampedV;
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
[[gnu::always_inline]] inline void PredictFrom(PredictionScratch& Scratch, const ReferencePlanes& Ref,
                                               h264::MotionVector Mv, const Block& b, const Target& t)
{
    const int X = b.X + (Mv.x >> 2), Y = b.Y + (Mv.y >> 2);
    if (X < 2 || Y < 2 || X + W + 3 > Ref.Width || Y + b.Height + 3 > Ref.Height) [[unlikely]]
        return PredictAtBorder<W, HasChroma>(Scratch, Ref, Mv, b, t);
    (g_Kernels.*LumaKernel<W>())(Ref.pPlane[0] + Y * Ref.PitchLuma + X, Ref.PitchLuma, t.pY, t.Step, Mv.x & 3, Mv.y & 3,
                                 b.Height);
    if constexpr (HasChroma) {
        const int MvY = Mv.y + Ref.ChromaMvOffset;
        const ptrdiff_t Offset = (b.Y / 2 + (MvY >> 3)) * Ref.PitchChroma + b.X / 2 + (Mv.x >> 3);
        (g_Kernels.*ChromaKernel<W / 2>())(Ref.pPlane[1] + Offset, Ref.pPlane[2] + Offset, Ref.PitchChroma, t.pU, t.pV,
                                           t.ChromaStep, Mv.x & 7, MvY & 7, b.Height / 2);
    }
}

Target PictureTarget(const PictureView& Picture, const Block& b)
{
    return {b.pY, b.pU, b.pV, Picture.PitchLuma, Picture.PitchChroma};
}

Target TempTarget(PredictionScratch& Scratch)
{
    return {Scratch.Temp, Scratch.Temp + kTempU, Scratch.Temp + kTempV, kTempStep, kTempStep};
}

// Explicit weights of one prediction in the picture, where the slice header has some for its reference.
template <int W, bool HasChroma>
void WeightOneList(const SliceView& s, const PredWeight& w, const Block& b)
{
    const auto Denominator = static_cast<int>(s.pHeader->luma_log2_weight_denom);
    if (w.luma_weight_flag)
        (g_Kernels.*WeightKernel<W>())(b.pY, s.Picture.PitchLuma, b.Height, Denominator, w.luma_weight, w.luma_offset);
    if (HasChroma && w.chroma_weight_flag) {
        const auto ChromaDenominator = static_cast<int>(s.pHeader->chroma_log2_weight_denom);
        (g_Kernels.*WeightKernel<W / 2>())(b.pU, s.Picture.PitchChroma, b.Height / 2, ChromaDenominator,
                                           w.chroma_weight[0], w.chroma_offset[0]);
        (g_Kernels.*WeightKernel<W / 2>())(b.pV, s.Picture.PitchChroma, b.Height / 2, ChromaDenominator,
                                           w.chroma_weight[1], w.chroma_offset[1]);
    }
}

template <int W, bool HasChroma>
[[gnu::always_inline]] inline void PredictOneList(const SliceView& s, PredictionScratch& Scratch, int List, int RefIdx,
                                                  h264::MotionVector Mv, const Block& b)
{
    const ReferenceSet& Set = s.References.Sets[REFERENCES_PICTURE];
    PredictFrom<W, HasChroma>(Scratch, Set.Planes[List][RefIdx], Mv, b, PictureTarget(s.Picture, b));
    if (s.References.ExplicitWeights) WeightOneList<W, HasChroma>(s, Set.Weights[List][RefIdx], b);
}

// Joins the list 0 prediction in the scratch with that of list 1 in the picture by weights of the slice header.
template <int W, bool HasChroma>
void JoinExplicit(const SliceView& s, PredictionScratch& Scratch, const Block& b, const PredWeight& w0,
                  const PredWeight& w1)
{
    const auto Join = [&](auto Kernel, const uint8_t* pA, uint8_t* pDst, ptrdiff_t Step, int Height,
                          uint32_t Denominator, int Weight0, int Weight1, int Offset0, int Offset1) {
        (g_Kernels.*Kernel)(pA, kTempStep, pDst, Step, Height, static_cast<int>(Denominator), Weight0, Weight1,
                            (Offset0 + Offset1 + 1) >> 1);
    };
    Join(BiWeightKernel<W>(), Scratch.Temp, b.pY, s.Picture.PitchLuma, b.Height, s.pHeader->luma_log2_weight_denom,
         w0.luma_weight, w1.luma_weight, w0.luma_offset, w1.luma_offset);
    if constexpr (HasChroma)
        for (int i = 0; i < 2; ++i)
            Join(BiWeightKernel<W / 2>(), Scratch.Temp + (i ? kTempV : kTempU), i ? b.pV : b.pU, s.Picture.PitchChroma,
                 b.Height / 2, s.pHeader->chroma_log2_weight_denom, w0.chroma_weight[i], w1.chroma_weight[i],
                 w0.chroma_offset[i], w1.chroma_offset[i]);
}

template <int W, bool HasChroma>
void JoinImplicit(const PictureView& Picture, PredictionScratch& Scratch, const Block& b, int Weight1)
{
    constexpr int kLogDenom = 5;
    const int Weight0 = 64 - Weight1;
    (g_Kernels.*BiWeightKernel<W>())(Scratch.Temp, kTempStep, b.pY, Picture.PitchLuma, b.Height, kLogDenom, Weight0,
                                     Weight1, 0);
    if constexpr (HasChroma) {
        (g_Kernels.*BiWeightKernel<W / 2>())(Scratch.Temp + kTempU, kTempStep, b.pU, Picture.PitchChroma, b.Height / 2,
                                             kLogDenom, Weight0, Weight1, 0);
        (g_Kernels.*BiWeightKernel<W / 2>())(Scratch.Temp + kTempV, kTempStep, b.pV, Picture.PitchChroma, b.Height / 2,
                                             kLogDenom, Weight0, Weight1, 0);
    }
}

// Default bi-prediction: the mean of both.
template <int W, bool HasChroma>
void JoinAverage(const PictureView& Picture, PredictionScratch& Scratch, const Block& b)
{
    (g_Kernels.*AverageKernel<W>())(Scratch.Temp, kTempStep, b.pY, Picture.PitchLuma, b.Height);
    if constexpr (HasChroma) {
        (g_Kernels.*AverageKernel<W / 2>())(Scratch.Temp + kTempU, kTempStep, b.pU, Picture.PitchChroma, b.Height / 2);
        (g_Kernels.*AverageKernel<W / 2>())(Scratch.Temp + kTempV, kTempStep, b.pV, Picture.PitchChroma, b.Height / 2);
    }
}

// The same where the list 0 block stands at its own place, as still content has it: it is averaged straight from there.
template <int W, bool HasChroma>
void AverageInPlace(const PictureView& Picture, const Block& b, const ReferencePlanes& Ref)
{
    (g_Kernels.*AverageKernel<W>())(Ref.pPlane[0] + b.Y * Ref.PitchLuma + b.X, Ref.PitchLuma, b.pY, Picture.PitchLuma,
                                    b.Height);
    if constexpr (HasChroma) {
        const ptrdiff_t Offset = b.Y / 2 * Ref.PitchChroma + b.X / 2;
        (g_Kernels.*AverageKernel<W / 2>())(Ref.pPlane[1] + Offset, Ref.PitchChroma, b.pU, Picture.PitchChroma,
                                            b.Height / 2);
        (g_Kernels.*AverageKernel<W / 2>())(Ref.pPlane[2] + Offset, Ref.PitchChroma, b.pV, Picture.PitchChroma,
                                            b.Height / 2);
    }
}

template <int W, bool HasChroma>
void PredictBothLists(const SliceView& s, PredictionScratch& Scratch, const int RefIdx[2],
                      const h264::MotionVector Mv[2], const Block& b)
{
    const ReferenceSet& Set = s.References.Sets[REFERENCES_PICTURE];
    const ReferencePlanes &Ref0 = Set.Planes[0][RefIdx[0]], &Ref1 = Set.Planes[1][RefIdx[1]];
    PredictFrom<W, HasChroma>(Scratch, Ref1, Mv[1], b, PictureTarget(s.Picture, b));

    const int Weight1 = s.References.ImplicitWeights ? Set.Tables.ImplicitWeight[RefIdx[0]][RefIdx[1]] : kEvenWeight;
    const bool Even = !s.References.ExplicitWeights && Weight1 == kEvenWeight;
    const bool Inside = b.X + W <= Ref0.Width && b.Y + b.Height <= Ref0.Height; // not so for a missing picture
    if (Even && AsWord(Mv[0]) == 0 && Ref0.ChromaMvOffset == 0 && Inside)
        return AverageInPlace<W, HasChroma>(s.Picture, b, Ref0);

    PredictFrom<W, HasChroma>(Scratch, Ref0, Mv[0], b, TempTarget(Scratch));
    if (Even)
        JoinAverage<W, HasChroma>(s.Picture, Scratch, b);
    else if (s.References.ExplicitWeights)
        JoinExplicit<W, HasChroma>(s, Scratch, b, Set.Weights[0][RefIdx[0]], Set.Weights[1][RefIdx[1]]);
    else
        JoinImplicit<W, HasChroma>(s.Picture, Scratch, b, Weight1);
}

// The block of W x Height luma samples whose first 4x4 block, in raster order, is First; its motion is that block's.
template <int W, bool HasChroma>
void PredictBlock(const SliceView& s, const MbState& Mb, PredictionScratch& Scratch, int First, int Height)
{
    const PictureView& Picture = s.Picture;
    const int i = Mb.Number * 16 + First;
    const int PosX = Mb.X * 16 + (First & 3) * 4, PosY = Mb.Y * 16 + (First & 12);
    Block b{Picture.pPlane[0] + PosY * Picture.PitchLuma + PosX, nullptr, nullptr, PosX, PosY, Height};
    if constexpr (HasChroma) {
        const ptrdiff_t Offset = PosY / 2 * Picture.PitchChroma + PosX / 2;
        b.pU = Picture.pPlane[1] + Offset;
        b.pV = Picture.pPlane[2] + Offset;
    }
    const int RefIdx[2] = {s.Records.m_pRefIdx[0][i], s.Records.m_pRefIdx[1][i]};
    const h264::MotionVector Mv[2] = {s.Records.m_pMv[0][i], s.Records.m_pMv[1][i]};
    if (RefIdx[1] < 0)
        PredictOneList<W, HasChroma>(s, Scratch, 0, RefIdx[0], Mv[0], b);
    else if (RefIdx[0] < 0)
        PredictOneList<W, HasChroma>(s, Scratch, 1, RefIdx[1], Mv[1], b);
    else
        PredictBothLists<W, HasChroma>(s, Scratch, RefIdx, Mv, b);
}

template <bool HasChroma>
void PredictQuadrant(const SliceView& s, const MbState& Mb, PredictionScratch& Scratch, int Quadrant)
{
    const int First = (Quadrant & 1) * 2 + (Quadrant & 2) * 4;
    switch (Mb.pGlobal->SubBlockType[Quadrant] & SUBTYPE_SHAPE) {
    case SHAPE_WHOLE: PredictBlock<8, HasChroma>(s, Mb, Scratch, First, 8); break;
    case SHAPE_ROWS:
        PredictBlock<8, HasChroma>(s, Mb, Scratch, First, 4);
        PredictBlock<8, HasChroma>(s, Mb, Scratch, First + 4, 4);
        break;
    case SHAPE_COLUMNS:
        PredictBlock<4, HasChroma>(s, Mb, Scratch, First, 8);
        PredictBlock<4, HasChroma>(s, Mb, Scratch, First + 1, 8);
        break;
    default:
        for (int i = 0; i < 4; ++i) PredictBlock<4, HasChroma>(s, Mb, Scratch, First + (i & 1) + (i & 2) * 2, 4);
    }
}

template <bool HasChroma>
void PredictParts(const SliceView& s, const MbState& Mb, PredictionScratch& Scratch)
{
    switch (Mb.pGlobal->MbType) {
    case MBTYPE_INTER16x8:
        PredictBlock<16, HasChroma>(s, Mb, Scratch, 0, 8);
        PredictBlock<16, HasChroma>(s, Mb, Scratch, 8, 8);
        break;
    case MBTYPE_INTER8x16:
        PredictBlock<8, HasChroma>(s, Mb, Scratch, 0, 16);
        PredictBlock<8, HasChroma>(s, Mb, Scratch, 2, 16);
        break;
    default:
        for (int q = 0; q < 4; ++q) PredictQuadrant<HasChroma>(s, Mb, Scratch, q);
    }
}

} // namespace

template <bool HasChroma>
void PredictInter(const SliceView& Slice, const MbState& Mb, PredictionScratch& Scratch)
{
    if (Mb.pGlobal->MbFlags & MBFLAG_ONE_MOTION) return PredictBlock<16, HasChroma>(Slice, Mb, Scratch, 0, 16);
    PredictParts<HasChroma>(Slice, Mb, Scratch);
}
template void PredictInter<false>(const SliceView&, const MbState&, PredictionScratch&);
template void PredictInter<true>(const SliceView&, const MbState&, PredictionScratch&);

} // namespace UMC
