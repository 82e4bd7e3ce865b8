#include "decoder/macroblock/deblocking.inc"

namespace UMC {

template class H264Deblocker<uint8_t, h264::CHROMA_400>;
template class H264Deblocker<uint8_t, h264::CHROMA_420>;
template class H264Deblocker<uint8_t, h264::CHROMA_422>;
template class H264Deblocker<uint8_t, h264::CHROMA_444>;
template class H264Deblocker<uint16_t, h264::CHROMA_400>;
template class H264Deblocker<uint16_t, h264::CHROMA_420>;
template class H264Deblocker<uint16_t, h264::CHROMA_422>;
template class H264Deblocker<uint16_t, h264::CHROMA_444>;

} // namespace UMC
