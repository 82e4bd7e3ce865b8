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
inline constexpr KernelRow<FilterChromaEdgesSig> kFilterChroma422Vertical{
    "FilterChroma422Vertical",
    {FilterChroma422Vertical_px, nullptr, FilterChroma422Vertical_w7, nullptr, FilterChroma422Vertical_v8}};
inline constexpr KernelRow<FilterChromaEdgesSig> kFilterChroma422Horizontal{
    "FilterChroma422Horizontal",
    {FilterChroma422Horizontal_px, nullptr, FilterChroma422Horizontal_w7, nullptr, FilterChroma422Horizontal_v8}};
inline constexpr KernelRow<FilterMixedSig> kFilterLumaMixed{
    "FilterLumaMixed", {FilterLumaMixed_px, nullptr, FilterLumaMixed_w7, nullptr, FilterLumaMixed_v8}};
inline constexpr KernelRow<FilterChromaMixedSig> kFilterChromaMixed{
    "FilterChromaMixed", {FilterChromaMixed_px, nullptr, FilterChromaMixed_w7, nullptr, FilterChromaMixed_v8}};
inline constexpr KernelRow<FilterChromaMixedSig> kFilterChroma422Mixed{
    "FilterChroma422Mixed",
    {FilterChroma422Mixed_px, nullptr, FilterChroma422Mixed_w7, nullptr, FilterChroma422Mixed_v8}};
inline constexpr KernelRow<FilterEdgesDeepSig> kFilterLumaVerticalDeep{
    "FilterLumaVerticalDeep", {FilterLumaVerticalDeep_px, nullptr, FilterLumaVerticalDeep_w7}};
inline constexpr KernelRow<FilterEdgesDeepSig> kFilterLumaHorizontalDeep{
    "FilterLumaHorizontalDeep", {FilterLumaHorizontalDeep_px, nullptr, FilterLumaHorizontalDeep_w7}};
inline constexpr KernelRow<FilterChromaEdgesDeepSig> kFilterChromaVerticalDeep{
    "FilterChromaVerticalDeep", {FilterChromaVerticalDeep_px, nullptr, FilterChromaVerticalDeep_w7}};
inline constexpr KernelRow<FilterChromaEdgesDeepSig> kFilterChromaHorizontalDeep{
    "FilterChromaHorizontalDeep", {FilterChromaHorizontalDeep_px, nullptr, FilterChromaHorizontalDeep_w7}};

} // namespace kernels
