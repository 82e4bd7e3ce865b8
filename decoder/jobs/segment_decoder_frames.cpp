#include "decoder/jobs/segment_decoder_loop.h"
#include "decoder/jobs/segment_decoder_members.h"

namespace UMC {

SegmentDecoderHPBase* FindFrameDecoder(const H264SeqParamSet& Sequence)
{
    if (Sequence.profile_idc < 100) return Member<uint8_t, 1, false, false, false>();
    return HighMember<uint8_t, false, false>(Sequence.chroma_format_idc);
}

} // namespace UMC
