// The rows of the distance kernels.
#pragma once

#include "kernels/dispatch/kernel_row.h"
#include "kernels/distance/distance.h"

namespace kernels {

inline constexpr KernelRow<BlockDistanceSig> kSad16x16{"Sad16x16", {Sad16x16_px, nullptr, Sad16x16_w7}};
inline constexpr KernelRow<BlockDistanceSig> kSad16x8{"Sad16x8", {Sad16x8_px, nullptr, Sad16x8_w7}};
inline constexpr KernelRow<BlockDistanceSig> kSad8x16{"Sad8x16", {Sad8x16_px, nullptr, Sad8x16_w7}};
inline constexpr KernelRow<BlockDistanceSig> kSad8x8{"Sad8x8", {Sad8x8_px, nullptr, Sad8x8_w7}};
inline constexpr KernelRow<BlockDistanceSig> kSad8x4{"Sad8x4", {Sad8x4_px, nullptr, Sad8x4_w7}};
inline constexpr KernelRow<BlockDistanceSig> kSad4x8{"Sad4x8", {Sad4x8_px, nullptr, Sad4x8_w7}};
inline constexpr KernelRow<BlockDistanceSig> kSad4x4{"Sad4x4", {Sad4x4_px, nullptr, Sad4x4_w7}};
inline constexpr KernelRow<BlockDistanceSig> kSatd16x16{"Satd16x16",
                                                        {Satd16x16_px, nullptr, Satd16x16_w7, nullptr, Satd16x16_v8}};
inline constexpr KernelRow<BlockDistanceSig> kSatd16x8{"Satd16x8",
                                                       {Satd16x8_px, nullptr, Satd16x8_w7, nullptr, Satd16x8_v8}};
inline constexpr KernelRow<BlockDistanceSig> kSatd8x16{"Satd8x16",
                                                       {Satd8x16_px, nullptr, Satd8x16_w7, nullptr, Satd8x16_v8}};
inline constexpr KernelRow<BlockDistanceSig> kSatd8x8{"Satd8x8",
                                                      {Satd8x8_px, nullptr, Satd8x8_w7, nullptr, Satd8x8_v8}};
inline constexpr KernelRow<BlockDistanceSig> kSatd8x4{"Satd8x4",
                                                      {Satd8x4_px, nullptr, Satd8x4_w7, nullptr, Satd8x4_v8}};
inline constexpr KernelRow<BlockDistanceSig> kSatd4x8{"Satd4x8",
                                                      {Satd4x8_px, nullptr, Satd4x8_w7, nullptr, Satd4x8_v8}};
inline constexpr KernelRow<BlockDistanceSig> kSatd4x4{"Satd4x4",
                                                      {Satd4x4_px, nullptr, Satd4x4_w7, nullptr, Satd4x4_v8}};
inline constexpr KernelRow<FourDistancesSig> kSad16x16x4{"Sad16x16x4", {Sad16x16x4_px, nullptr, Sad16x16x4_w7}};
inline constexpr KernelRow<CountEdgesSig> kCountEdges16x16{"CountEdges16x16",
                                                           {CountEdges16x16_px, nullptr, CountEdges16x16_w7}};
inline constexpr KernelRow<AverageDistanceSig> kSadAverage16x16{"SadAverage16x16",
                                                                {SadAverage16x16_px, nullptr, SadAverage16x16_w7}};
inline constexpr KernelRow<BlockDistanceSig> kLargestSad4x4Of16x16{
    "LargestSad4x4Of16x16", {LargestSad4x4Of16x16_px, nullptr, LargestSad4x4Of16x16_w7}};
inline constexpr KernelRow<BlockDistanceSig> kLargestSad4x4Of8x8{
    "LargestSad4x4Of8x8", {LargestSad4x4Of8x8_px, nullptr, LargestSad4x4Of8x8_w7}};

} // namespace kernels
