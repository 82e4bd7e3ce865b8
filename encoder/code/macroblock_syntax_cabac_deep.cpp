#include "encoder/code/cabac_syntax.h"
#include "encoder/code/macroblock_walk.h"
#include "encoder/code/traced_syntax.h"

namespace UMC_H264_ENCODER {

template bool WriteMacroblockSyntax(const MacroblockSyntax<int32_t>&, CabacSyntax<StoredBytes>);
template bool WriteMacroblockLayer(const MacroblockSyntax<int32_t>&, CabacSyntax<StoredBytes>);
template bool WriteMacroblockSyntax(const MacroblockSyntax<int32_t>&, CabacSyntax<CountedBytes>);
template bool WriteMacroblockLayer(const MacroblockSyntax<int32_t>&, CabacSyntax<CountedBytes>);
#if defined(QUILVEX_TRACE)
template bool WriteMacroblockSyntax(const MacroblockSyntax<int32_t>&, TracedSyntax<CabacSyntax<StoredBytes>>);
template bool WriteMacroblockLayer(const MacroblockSyntax<int32_t>&, TracedSyntax<CabacSyntax<StoredBytes>>);
#endif

} // namespace UMC_H264_ENCODER
