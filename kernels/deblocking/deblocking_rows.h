// The rows of the deblocking kernels.
#pragma once

#include "kernels/dispatch/kernel_row.h"
#include "kernels/deblocking/deblocking.h"

namespace kernels {

inline constexpr KernelRow<FilterEdgesSig> kFilterLumaVertical{"FilterLumaVertical", {FilterLumaVertical_px}};
inline constexpr KernelRow<FilterEdgesSig> kFilterLumaHorizontal{"FilterLumaHorizontal", {FilterLumaHorizontal_px}};
inline constexpr KernelRow<FilterChromaEdgesSig> kFilterChromaVertical{"FilterChromaVertical", {FilterChromaVertical_px}};
inline constexpr KernelRow<FilterChromaEdgesSig> kFilterChromaHorizontal{"FilterChromaHorizontal", {FilterChromaHorizontal_px}};

} // namespace kernels
