#include "encoder/decide/skip_test.h"

#include "encoder/code/coefficients.h"
#include "encoder/code/compensation.h"
#include "encoder/code/inter_prediction.h"
#include "encoder/code/quantise.h"

#include <bit>
#include <cstdlib>

namespace UMC_H264_ENCODER {

namespace {

template <class Sample>
bool SkipLeavesLuma(const InterTrial<Sample>& t)
{
    int32_t Cost = 0;
    for (uint32_t Rest = t.LumaMask; Rest; Rest &= Rest - 1) {
        Cost += CoefficientCost(t.Luma + 16 * std::countr_zero(Rest), 0);
        if (IsLumaTooMuchToSkip(Cost)) return true;
    }
    return false;
}

template <class Sample>
bool SkipLeavesChroma(const CurrentMacroblock<Sample>& mb, const Sample* pPredUV, WorkArea<Sample>& w)
{
    const auto* const pQuant = mb.pQuant->pChroma;
    for (int Plane = 0; Plane < 2; ++Plane) {
        if (ChromaHasNoLevels(mb, pPredUV, Plane)) continue;
        auto* const pLevels = w.Chroma[Plane];
        const uint32_t Mask =
            Kernels<Sample>.ForwardQuantAc8x8(Plane ? mb.pSrcV : mb.pSrcU, mb.SrcPitch, pPredUV + 8 * Plane,
                                              w.kPredStep, pLevels, w.ChromaDc[Plane], pQuant);
        if (Kernels<Sample>.ForwardChromaDc420(w.ChromaDc[Plane], pQuant->Factor[0], pQuant->Rounding, pQuant->Shift))
            return true;
        int32_t Cost = 0;
        for (uint32_t Rest = Mask; Rest; Rest &= Rest - 1)
            Cost += CoefficientCost(pLevels + 16 * std::countr_zero(Rest), 1);
        if (IsChromaTooMuchToSkip(Cost)) return true;
    }
    return false;
}

} // namespace

template <class Sample>
SkipTest CheckSkipP(const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w, InterTrial<Sample>& t,
                    MotionVector Vector, MotionVector Skip)
{
    if (std::abs(Vector.x - Skip.x) > 1 || std::abs(Vector.y - Skip.y) > 1) return {false, BLOCKS_NONE};
    const PictureView<const Sample>& Ref = mb.pSlice->ref_pic_lists.Pictures[0][0].View;
    CompensateLuma(w, Ref, Skip, mb.mb_x * 16, mb.mb_y * 16, 16, 16, t.PredY, w.kPredStep,
                   mb.pSlice->Syntax.BitDepthLuma);
    QuantiseInterLuma(mb, t);
    if (SkipLeavesLuma(t)) return {false, BLOCKS_LUMA};
    CompensateChroma(w, Ref, Skip, mb.mb_x * 16, mb.mb_y * 16, 16, 16, t.PredUV, w.kPredStep);
    return {!SkipLeavesChroma(mb, t.PredUV, w), BLOCKS_ALL};
}

template <class Sample>
SkipTest CheckSkipB(const Candidate& Direct, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                    InterTrial<Sample>& t)
{
    PredictInterLuma(Direct, mb, w, t.PredY);
    QuantiseInterLuma(mb, t);
    if (SkipLeavesLuma(t)) return {false, BLOCKS_LUMA};
    PredictInterChroma(Direct, mb, w, t.PredUV);
    return {!SkipLeavesChroma(mb, t.PredUV, w), BLOCKS_ALL};
}

template SkipTest CheckSkipB(const Candidate&, const CurrentMacroblock<uint8_t>&, WorkArea<uint8_t>&,
                             InterTrial<uint8_t>&);
template SkipTest CheckSkipP(const CurrentMacroblock<uint8_t>&, WorkArea<uint8_t>&, InterTrial<uint8_t>&, MotionVector,
                             MotionVector);

} // namespace UMC_H264_ENCODER
