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

inline constexpr KernelRow<BlockDistanceSig> kSatd8x8By8{"Satd8x8By8", {Satd8x8By8_px, nullptr, Satd8x8By8_w7}};

inline constexpr KernelRow<BlockDistanceDeepSig> kSad16x16Deep{"Sad16x16Deep",
                                                               {Sad16x16Deep_px, nullptr, Sad16x16Deep_w7}};
inline constexpr KernelRow<BlockDistanceDeepSig> kSad16x8Deep{"Sad16x8Deep", {Sad16x8Deep_px, nullptr, Sad16x8Deep_w7}};
inline constexpr KernelRow<BlockDistanceDeepSig> kSad8x16Deep{"Sad8x16Deep", {Sad8x16Deep_px, nullptr, Sad8x16Deep_w7}};
inline constexpr KernelRow<BlockDistanceDeepSig> kSad8x8Deep{"Sad8x8Deep", {Sad8x8Deep_px, nullptr, Sad8x8Deep_w7}};
inline constexpr KernelRow<BlockDistanceDeepSig> kSad8x4Deep{"Sad8x4Deep", {Sad8x4Deep_px, nullptr, Sad8x4Deep_w7}};
inline constexpr KernelRow<BlockDistanceDeepSig> kSad4x8Deep{"Sad4x8Deep", {Sad4x8Deep_px, nullptr, Sad4x8Deep_w7}};
inline constexpr KernelRow<BlockDistanceDeepSig> kSad4x4Deep{"Sad4x4Deep", {Sad4x4Deep_px, nullptr, Sad4x4Deep_w7}};
inline constexpr KernelRow<BlockDistanceDeepSig> kSatd16x16Deep{"Satd16x16Deep",
                                                                {Satd16x16Deep_px, nullptr, Satd16x16Deep_w7}};
inline constexpr KernelRow<BlockDistanceDeepSig> kSatd16x8Deep{"Satd16x8Deep",
                                                               {Satd16x8Deep_px, nullptr, Satd16x8Deep_w7}};
inline constexpr KernelRow<BlockDistanceDeepSig> kSatd8x16Deep{"Satd8x16Deep",
                                                               {Satd8x16Deep_px, nullptr, Satd8x16Deep_w7}};
inline constexpr KernelRow<BlockDistanceDeepSig> kSatd8x8Deep{"Satd8x8Deep", {Satd8x8Deep_px, nullptr, Satd8x8Deep_w7}};
inline constexpr KernelRow<BlockDistanceDeepSig> kSatd8x4Deep{"Satd8x4Deep", {Satd8x4Deep_px, nullptr, Satd8x4Deep_w7}};
inline constexpr KernelRow<BlockDistanceDeepSig> kSatd4x8Deep{"Satd4x8Deep", {Satd4x8Deep_px, nullptr, Satd4x8Deep_w7}};
inline constexpr KernelRow<BlockDistanceDeepSig> kSatd4x4Deep{"Satd4x4Deep", {Satd4x4Deep_px, nullptr, Satd4x4Deep_w7}};
inline constexpr KernelRow<BlockDistanceDeepSig> kSatd8x8By8Deep{"Satd8x8By8Deep",
                                                                 {Satd8x8By8Deep_px, nullptr, Satd8x8By8Deep_w7}};
inline constexpr KernelRow<BlockDistanceDeepSig> kLargestSad4x4Of16x16Deep{
    "LargestSad4x4Of16x16Deep", {LargestSad4x4Of16x16Deep_px, nullptr, LargestSad4x4Of16x16Deep_w7}};
inline constexpr KernelRow<BlockDistanceDeepSig> kLargestSad4x4Of8x8Deep{
    "LargestSad4x4Of8x8Deep", {LargestSad4x4Of8x8Deep_px, nullptr, LargestSad4x4Of8x8Deep_w7}};
inline constexpr KernelRow<FourDistancesDeepSig> kSad16x16x4Deep{"Sad16x16x4Deep",
                                                                 {Sad16x16x4Deep_px, nullptr, Sad16x16x4Deep_w7}};
inline constexpr KernelRow<AverageDistanceDeepSig> kSadAverage16x16Deep{
    "SadAverage16x16Deep", {SadAverage16x16Deep_px, nullptr, SadAverage16x16Deep_w7}};
inline constexpr KernelRow<CountEdgesDeepSig> kCountEdges16x16Deep{
    "CountEdges16x16Deep", {CountEdges16x16Deep_px, nullptr, CountEdges16x16Deep_w7}};

} // namespace kernels
