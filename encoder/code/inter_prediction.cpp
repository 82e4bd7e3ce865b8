#include "encoder/code/inter_prediction.h"

#include "Common/h264/temporal_distance.h"

namespace UMC_H264_ENCODER {

namespace {

// Joins the list 0 prediction at pA and that of list 1 at pDst, by their mean or by implicit weights.
template <class Sample>
void JoinPredictions(const Sample* pA, Sample* pDst, int32_t Width, int32_t Height, int32_t Weight1, int32_t Depth)
{
    constexpr int32_t kStep = WorkArea<Sample>::kPredStep;
    if (Weight1 == h264::kEvenWeight)
        Kernels<Sample>.AverageBlock(pA, kStep, pDst, kStep, Width, Height);
    else
        Kernels<Sample>.BiWeightBlock(pA, kStep, pDst, kStep, Width, Height, 5, 64 - Weight1, Weight1, 0, Depth);
}

// Predicts from the lists that are used, by Compensate(Reference, Vector, pDst), and joins two predictions.
template <class Sample, class F>
void PredictFromLists(const PartMotion& m, const CurrentMacroblock<Sample>& mb, Sample* pDst, Sample* pOther,
                      int32_t Planes, int32_t Width, int32_t Height, int32_t Depth, F&& Compensate)
{
    const SliceFacts<Sample>& Slice = *mb.pSlice;
    const auto Ref = [&](int List) -> const Reference<Sample>& {
        return Slice.ref_pic_lists.Pictures[List][m.Ref[List]];
    };
    if (m.Ref[1] < 0) return Compensate(Ref(0), m.Vector[0], pDst);
    Compensate(Ref(1), m.Vector[1], pDst);
    if (m.Ref[0] < 0) return;
    Compensate(Ref(0), m.Vector[0], pOther);
    const int32_t Weight1 = Slice.B.HasImplicitWeights ? Slice.B.ImplicitWeight[m.Ref[0]][m.Ref[1]] : h264::kEvenWeight;
    for (int32_t Plane = 0; Plane < Planes; ++Plane)
        JoinPredictions(pOther + 8 * Plane, pDst + 8 * Plane, Width, Height, Weight1, Depth);
}

} // namespace

template <class Sample>
void PredictPartLuma(const PartMotion& m, MotionPart Part, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                     Sample* pY)
{
    const int32_t x = 4 * Part.x, y = 4 * Part.y, Width = 4 * Part.Width, Height = 4 * Part.Height;
    PredictFromLists(m, mb, pY + y * w.kPredStep + x, w.OtherY, 1, Width, Height, mb.pSlice->Syntax.BitDepthLuma,
                     [&](const Reference<Sample>& Ref, MotionVector v, Sample* pDst) {
                         CompensateLuma(w, Ref.View, v, mb.mb_x * 16 + x, mb.mb_y * 16 + y, Width, Height, pDst,
                                        w.kPredStep, mb.pSlice->Syntax.BitDepthLuma);
                     });
}

template <class Sample>
void PredictPartChroma(const PartMotion& m, MotionPart Part, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                       Sample* pUV)
{
    const SyntaxOfSlice& Slice = mb.pSlice->Syntax;
    if (Slice.chroma_format_idc == h264::CHROMA_400) return;
    const int32_t ShiftY = h264::kChromaGeometry[Slice.chroma_format_idc].ShiftY;
    const int32_t x = 4 * Part.x, y = 4 * Part.y, Width = 4 * Part.Width, Height = 4 * Part.Height;
    PredictFromLists(m, mb, pUV + (y >> ShiftY) * w.kPredStep + x / 2, w.OtherUV, 2, Width / 2, Height >> ShiftY,
                     Slice.BitDepthChroma, [&](const Reference<Sample>& Ref, MotionVector v, Sample* pDst) {
                         if (ShiftY) v.y = static_cast<int16_t>(v.y + Ref.ChromaMvOffset);
                         CompensateChroma(w, Ref.View, v, mb.mb_x * 16 + x, mb.mb_y * 16 + y, Width, Height, ShiftY,
                                          pDst, w.kPredStep);
                     });
}

#define INSTANTIATE(Sample)                                                                                            \
    template void PredictPartLuma(const PartMotion&, MotionPart, const CurrentMacroblock<Sample>&, WorkArea<Sample>&,  \
                                  Sample*);                                                                            \
    template void PredictPartChroma(const PartMotion&, MotionPart, const CurrentMacroblock<Sample>&,                   \
                                    WorkArea<Sample>&, Sample*);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
