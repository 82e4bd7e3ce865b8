#include "encoder/decide/skip_test.h"

#include "encoder/code/coefficients.h"
#include "encoder/code/inter_prediction.h"
#include "encoder/code/quantise.h"

#include <bit>

namespace UMC_H264_ENCODER {

namespace {

template <class Sample>
bool SkipLeavesLuma(const CurrentMacroblock<Sample>& mb, const InterTrial<Sample>& t)
{
    const ScanOrder& Order = ScanOf(*mb.Records.pGlobal);
    int32_t Cost = 0;
    for (uint32_t Rest = t.LumaMask; Rest; Rest &= Rest - 1) {
        Cost += CoefficientCost(t.Luma + 16 * std::countr_zero(Rest), 0, Order);
        if (IsLumaTooMuchToSkip(Cost)) return true;
    }
    return false;
}

template <int32_t Blocks, class Sample>
[[gnu::always_inline]] inline bool SkipLeavesPlanes(const CurrentMacroblock<Sample>& mb, const Sample* pPredUV,
                                                    WorkArea<Sample>& w)
{
    const ScanOrder& Order = ScanOf(*mb.Records.pGlobal);
    for (int Plane = 0; Plane < 2; ++Plane) {
        const ChromaLevels l = QuantiseChroma<Blocks>(mb, pPredUV, Plane, w);
        if (l.HasDc) return true;
        int32_t Cost = 0;
        for (uint32_t Rest = l.AcMask; Rest; Rest &= Rest - 1)
            Cost += CoefficientCost(w.Chroma[Plane] + 16 * std::countr_zero(Rest), 1, Order);
        if (IsChromaTooMuchToSkip(Cost)) return true;
    }
    return false;
}

template <class Sample>
[[gnu::always_inline]] inline bool SkipLeavesChroma(const CurrentMacroblock<Sample>& mb, const Sample* pPredUV,
                                                    WorkArea<Sample>& w)
{
    const int32_t Format = mb.pSlice->Syntax.chroma_format_idc;
    if (Format == h264::CHROMA_420) [[likely]]
        return SkipLeavesPlanes<4>(mb, pPredUV, w);
    if (Format == h264::CHROMA_422) return SkipLeavesPlanes<8>(mb, pPredUV, w);
    return false;
}

} // namespace

template <class Sample>
SkipTest CheckSkipP(const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w, InterTrial<Sample>& t,
                    MotionVector Vector, MotionVector Skip)
{
    const auto IsNear = [](int32_t a, int32_t b) { return static_cast<uint32_t>(a - b + 1) <= 2; };
    if (!IsNear(Vector.x, Skip.x) || !IsNear(Vector.y, Skip.y)) return {false, BLOCKS_NONE};
    const Reference<Sample>& Ref = mb.pSlice->ref_pic_lists.Pictures[0][0];
    PredictWholeLuma(Ref, Skip, mb, w, t.PredY);
    QuantiseInterLuma(mb, t);
    if (SkipLeavesLuma(mb, t)) return {false, BLOCKS_LUMA};
    PredictWholeChroma(Ref, Skip, mb, w, t.PredUV);
    return {!SkipLeavesChroma(mb, t.PredUV, w), BLOCKS_ALL};
}

template <class Sample>
SkipTest CheckSkipB(const Candidate& Direct, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                    InterTrial<Sample>& t)
{
    PredictInterLuma(Direct, mb, w, t.PredY);
    QuantiseInterLuma(mb, t);
    if (mb.pQuant->IsLossless || SkipLeavesLuma(mb, t)) return {false, BLOCKS_LUMA};
    PredictInterChroma(Direct, mb, w, t.PredUV);
    return {!SkipLeavesChroma(mb, t.PredUV, w), BLOCKS_ALL};
}

template <class Sample>
void Unskip(const CurrentMacroblock<Sample>& mb, Candidate& c)
{
    if (c.Type == MB_SKIP_B) {
        c.Type = MB_DIRECT;
        return;
    }
    c.Type = MB_INTER16X16;
    c.Difference = c.Vector - h264::PredictMedian(mb.Around.Motion[0].Of16x16(), 0);
}

#define INSTANTIATE(Sample)                                                                                            \
    template SkipTest CheckSkipP(const CurrentMacroblock<Sample>&, WorkArea<Sample>&, InterTrial<Sample>&,             \
                                 MotionVector, MotionVector);                                                          \
    template SkipTest CheckSkipB(const Candidate&, const CurrentMacroblock<Sample>&, WorkArea<Sample>&,                \
                                 InterTrial<Sample>&);                                                                 \
    template void Unskip(const CurrentMacroblock<Sample>&, Candidate&);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
