#include "decoder/jobs/segment_decoder_hp.h"

#include "Common/h264/chroma_geometry.h"
#include "Common/h264/profiles.h"
#include "decoder/jobs/segment_decoder_members.h"

#include <algorithm>

namespace UMC {

SegmentDecoderHPBase* FindSegmentDecoder(const H264SeqParamSet& Sequence, bool IsField, bool IsMbaff)
{
    const int Depth = std::max(Sequence.bit_depth_luma, Sequence.bit_depth_chroma);
    if (Depth > kLargestDepth) return nullptr;
    const bool Is444 = Sequence.chroma_format_idc == h264::CHROMA_444;
    if (Is444 && Sequence.profile_idc != h264::kHigh444Profile) return nullptr; // no other profile has it in this form
    if (IsMbaff) return FindPairDecoder(Sequence, Depth > 8);
    if (Depth > 8) return FindDeepDecoder(Sequence.chroma_format_idc, IsField);
    if (Sequence.qpprime_y_zero_transform_bypass_flag || Is444)
        return FindBypassDecoder(Sequence.chroma_format_idc, IsField);
    return (IsField ? FindFieldDecoder : FindFrameDecoder)(Sequence);
}

} // namespace UMC
