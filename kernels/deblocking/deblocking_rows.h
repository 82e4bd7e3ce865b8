// The rows of the deblocking kernels.
#pragma once

#include "kernels/deblocking/deblocking.h"
#include "kernels/dispatch/kernel_row.h"

namespace kernels {

inline constexpr KernelRow<FilterEdgesSig> kFilterLumaVertical{
    "FilterLumaVertical", {FilterLumaVertical_px, nullptr, nullptr, nullptr, FilterLumaVertical_v8}};
inline constexpr KernelRow<FilterEdgesSig> kFilterLumaHorizontal{
    "FilterLumaHorizontal", {FilterLumaHorizontal_px, nullptr, nullptr, nullptr, FilterLumaHorizontal_v8}};
inline constexpr KernelRow<FilterChromaEdgesSig> kFilterChromaVertical{
    "FilterChromaVertical", {FilterChromaVertical_px, nullptr, nullptr, nullptr, FilterChromaVertical_v8}};
inline constexpr KernelRow<FilterChromaEdgesSig> kFilterChromaHorizontal{
    "FilterChromaHorizontal", {FilterChromaHorizontal_px, nullptr, nullptr, nullptr, FilterChromaHorizontal_v8}};

} // namespace kernels
