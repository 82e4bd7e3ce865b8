// What the image kernels return. A kernel that refuses its arguments gives the first status that applies, in the order
// of this list, and touches nothing.
#pragma once

#include <cstdint>

namespace kernels {

inline constexpr int32_t kStatusOk = 0;
inline constexpr int32_t kStatusNullPointer = -8;
inline constexpr int32_t kStatusSize = -6;     // a region that is not positive
inline constexpr int32_t kStatusStep = -14;    // a step that is not positive
inline constexpr int32_t kStatusMask = -33;    // a bad mask or kernel size
inline constexpr int32_t kStatusMode = -9999;  // an unknown mode
inline constexpr int32_t kStatusSigma = -5;    // a bad sigma or sampling step of the bilateral filter
inline constexpr int32_t kStatusContext = -17; // a work buffer that its initialisation has not tagged
inline constexpr int32_t kStatusNoMemory = -9;

} // namespace kernels
