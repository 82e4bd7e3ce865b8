#include "encoder/code/cavlc_syntax.h"
#include "encoder/code/macroblock_walk.h"
#include "encoder/code/traced_syntax.h"

namespace UMC_H264_ENCODER {

template bool WriteMacroblockSyntax(const MacroblockSyntax<int16_t>&, CavlcSyntax<StoredBits>);
template bool WriteMacroblockLayer(const MacroblockSyntax<int16_t>&, CavlcSyntax<StoredBits>);
template bool WriteMacroblockSyntax(const MacroblockSyntax<int16_t>&, CavlcSyntax<CountedBits>);
template bool WriteMacroblockLayer(const MacroblockSyntax<int16_t>&, CavlcSyntax<CountedBits>);
#if defined(QUILVEX_TRACE)
template bool WriteMacroblockSyntax(const MacroblockSyntax<int16_t>&, TracedSyntax<CavlcSyntax<StoredBits>>);
template bool WriteMacroblockLayer(const MacroblockSyntax<int16_t>&, TracedSyntax<CavlcSyntax<StoredBits>>);
#endif

} // namespace UMC_H264_ENCODER
