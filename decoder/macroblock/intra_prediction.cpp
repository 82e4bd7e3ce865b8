#include "decoder/macroblock/intra_prediction.inc"

namespace UMC {

unsigned FindIntraNeighbours(const SliceView& Slice, const MbState& Mb)
{
    const MbGlobalInfo* const pGlobal = Slice.Records.pGlobal;
    const bool Constrained = Slice.pPictureSet->constrained_intra_pred_flag != 0;
    const auto Bit = [&](int32_t Neighbour, unsigned Flag) {
        return Neighbour >= 0 && (!Constrained || IsIntra(pGlobal[Neighbour])) ? Flag : 0u;
    };
    return Bit(Mb.Left, kernels::kLeft) | Bit(Mb.Top, kernels::kTop) | Bit(Mb.TopRight, kernels::kTopRight) |
           Bit(Mb.TopLeft, kernels::kTopLeft);
}

template void PredictIntra16x16<uint8_t>(const SliceView&, const MbState&);
template void PredictIntraChroma<uint8_t, 1>(const SliceView&, const MbState&);
template void PredictIntraChroma<uint8_t, 2>(const SliceView&, const MbState&);
template void ReconstructIntra4x4<uint8_t>(const SliceView&, const MbState&, MbResidual&);
template void ReconstructIntra8x8<uint8_t>(const SliceView&, const MbState&, MbResidual&);
template void PredictIntra16x16<uint16_t>(const SliceView&, const MbState&);
template void PredictIntraChroma<uint16_t, 1>(const SliceView&, const MbState&);
template void PredictIntraChroma<uint16_t, 2>(const SliceView&, const MbState&);
template void ReconstructIntra4x4<uint16_t>(const SliceView&, const MbState&, MbResidual&);
template void ReconstructIntra8x8<uint16_t>(const SliceView&, const MbState&, MbResidual&);
template void ReconstructIntra4x4<uint8_t, BypassTraits<uint8_t>>(const SliceView&, const MbState&, MbResidual&);
template void ReconstructIntra8x8<uint8_t, BypassTraits<uint8_t>>(const SliceView&, const MbState&, MbResidual&);
template void ReconstructIntra4x4<uint16_t, BypassTraits<uint16_t>>(const SliceView&, const MbState&, MbResidual&);
template void ReconstructIntra8x8<uint16_t, BypassTraits<uint16_t>>(const SliceView&, const MbState&, MbResidual&);

} // namespace UMC
