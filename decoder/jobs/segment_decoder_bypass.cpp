#include "decoder/jobs/segment_decoder_loop.h"
#include "decoder/jobs/segment_decoder_members.h"

namespace UMC {

SegmentDecoderHPBase* FindBypassDecoder(uint32_t chroma_format_idc, bool IsField)
{
    return (IsField ? HighMember<uint8_t, true, true> : HighMember<uint8_t, false, true>)(chroma_format_idc);
}

} // namespace UMC
