// The rows of the deblocking kernels.
#pragma once

#include "kernels/deblocking/deblocking.h"
#include "kernels/dispatch/kernel_row.h"

namespace kernels {

inline constexpr KernelRow<FilterEdgesSig> kFilterLumaVertical{
    "FilterLumaVertical", {FilterLumaVertical_px, nullptr, FilterLumaVertical_w7, nullptr, FilterLumaVertical_v8}};
inline constexpr KernelRow<FilterEdgesSig> kFilterLumaHorizontal{
    "FilterLumaHorizontal",
    {FilterLumaHorizontal_px, nullptr, FilterLumaHorizontal_w7, nullptr, FilterLumaHorizontal_v8}};
inline constexpr KernelRow<FilterChromaEdgesSig> kFilterChromaVertical{
    "FilterChromaVertical",
    {FilterChromaVertical_px, nullptr, FilterChromaVertical_w7, nullptr, FilterChromaVertical_v8}};
inline constexpr KernelRow<FilterChromaEdgesSig> kFilterChromaHorizontal{
    "FilterChromaHorizontal",
    {FilterChromaHorizontal_px, nullptr, FilterChromaHorizontal_w7, nullptr, FilterChromaHorizontal_v8}};

} // namespace kernels
