#include "decoder/macroblock/pair_deblocking.inc"

namespace UMC {

template class PairDeblocker<uint8_t, h264::CHROMA_400>;
template class PairDeblocker<uint8_t, h264::CHROMA_420>;
template class PairDeblocker<uint8_t, h264::CHROMA_422>;
template class PairDeblocker<uint8_t, h264::CHROMA_444>;
template class PairDeblocker<uint16_t, h264::CHROMA_400>;
template class PairDeblocker<uint16_t, h264::CHROMA_420>;
template class PairDeblocker<uint16_t, h264::CHROMA_422>;
template class PairDeblocker<uint16_t, h264::CHROMA_444>;

} // namespace UMC
