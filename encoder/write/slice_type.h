// slice_type as in the slice header (clause 7.4.3).
#pragma once

#include <cstdint>

namespace UMC_H264_ENCODER {

enum SliceType : int32_t { SLICE_P = 0, SLICE_B = 1, SLICE_I = 2 };

} // namespace UMC_H264_ENCODER
