#include "decoder/jobs/segment_decoder_loop.h"
#include "decoder/jobs/segment_decoder_members.h"

namespace UMC {

SegmentDecoderHPBase* FindDeepDecoder(uint32_t chroma_format_idc, bool IsField)
{
    return (IsField ? HighMember<uint16_t, true, true> : HighMember<uint16_t, false, true>)(chroma_format_idc);
}

} // namespace UMC
