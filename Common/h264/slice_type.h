// slice_type of the slice header, Table 7-6.
#pragma once

#include <cstdint>

namespace h264 {

// 5 to 9 mean the same of all slices of a picture.
enum SliceType : int32_t { SLICE_P = 0, SLICE_B = 1, SLICE_I = 2, SLICE_SP = 3, SLICE_SI = 4 };

/// Reference picture lists that a slice of type P, B or I uses.
constexpr int32_t ListsOf(int32_t SliceType) { return SliceType == SLICE_I ? 0 : SliceType == SLICE_B ? 2 : 1; }

} // namespace h264
