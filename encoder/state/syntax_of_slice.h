// What of a slice and its parameter sets decides which elements a macroblock has.
#pragma once

#include <cstdint>

namespace UMC_H264_ENCODER {

struct SyntaxOfSlice {
    int32_t slice_type;
    int32_t chroma_format_idc; // 0, 1 or 2
    bool entropy_coding_mode_flag, transform_8x8_mode_flag, direct_8x8_inference_flag;
    int32_t BitDepthLuma, BitDepthChroma; // of the samples of I_PCM
};

} // namespace UMC_H264_ENCODER
