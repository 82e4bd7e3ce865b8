// The rows of the interpolation kernels.
#pragma once

#include "kernels/dispatch/kernel_row.h"
#include "kernels/interpolation/half_planes.h"
#include "kernels/interpolation/interpolation.h"

namespace kernels {

inline constexpr KernelRow<InterpolateLumaSig> kInterpolateLuma16{
    "InterpolateLuma16", {InterpolateLuma16_px, nullptr, InterpolateLuma16_w7, nullptr, InterpolateLuma16_v8}};
inline constexpr KernelRow<InterpolateLumaSig> kInterpolateLuma8{
    "InterpolateLuma8", {InterpolateLuma8_px, nullptr, InterpolateLuma8_w7, nullptr, InterpolateLuma8_v8}};
inline constexpr KernelRow<InterpolateLumaSig> kInterpolateLuma4{
    "InterpolateLuma4", {InterpolateLuma4_px, nullptr, InterpolateLuma4_w7, nullptr, InterpolateLuma4_v8}};
inline constexpr KernelRow<InterpolateChromaSig> kInterpolateChroma8{
    "InterpolateChroma8", {InterpolateChroma8_px, nullptr, InterpolateChroma8_w7, nullptr, InterpolateChroma8_v8}};
inline constexpr KernelRow<InterpolateChromaSig> kInterpolateChroma4{
    "InterpolateChroma4", {InterpolateChroma4_px, nullptr, InterpolateChroma4_w7, nullptr, InterpolateChroma4_v8}};
inline constexpr KernelRow<InterpolateChromaSig> kInterpolateChroma2{
    "InterpolateChroma2", {InterpolateChroma2_px, nullptr, nullptr, nullptr, InterpolateChroma2_v8}};
inline constexpr KernelRow<AverageBlockSig> kAverageBlock16{"AverageBlock16",
                                                            {AverageBlock16_px, nullptr, AverageBlock16_w7}};
inline constexpr KernelRow<AverageBlockSig> kAverageBlock8{"AverageBlock8",
                                                           {AverageBlock8_px, nullptr, AverageBlock8_w7}};
inline constexpr KernelRow<AverageBlockSig> kAverageBlock4{"AverageBlock4",
                                                           {AverageBlock4_px, nullptr, AverageBlock4_w7}};
inline constexpr KernelRow<AverageBlockSig> kAverageBlock2{"AverageBlock2", {AverageBlock2_px}};
inline constexpr KernelRow<WeightBlockSig> kWeightBlock16{"WeightBlock16",
                                                          {WeightBlock16_px, nullptr, WeightBlock16_w7}};
inline constexpr KernelRow<WeightBlockSig> kWeightBlock8{"WeightBlock8", {WeightBlock8_px, nullptr, WeightBlock8_w7}};
inline constexpr KernelRow<WeightBlockSig> kWeightBlock4{"WeightBlock4", {WeightBlock4_px, nullptr, WeightBlock4_w7}};
inline constexpr KernelRow<WeightBlockSig> kWeightBlock2{"WeightBlock2", {WeightBlock2_px}};
inline constexpr KernelRow<BiWeightBlockSig> kBiWeightBlock16{
    "BiWeightBlock16", {BiWeightBlock16_px, nullptr, BiWeightBlock16_w7, nullptr, BiWeightBlock16_v8}};
inline constexpr KernelRow<BiWeightBlockSig> kBiWeightBlock8{
    "BiWeightBlock8", {BiWeightBlock8_px, nullptr, BiWeightBlock8_w7, nullptr, BiWeightBlock8_v8}};
inline constexpr KernelRow<BiWeightBlockSig> kBiWeightBlock4{
    "BiWeightBlock4", {BiWeightBlock4_px, nullptr, BiWeightBlock4_w7, nullptr, BiWeightBlock4_v8}};
inline constexpr KernelRow<BiWeightBlockSig> kBiWeightBlock2{"BiWeightBlock2", {BiWeightBlock2_px}};
inline constexpr KernelRow<CopyClampedSig> kCopyClamped{"CopyClamped",
                                                        {CopyClamped_px, nullptr, nullptr, nullptr, CopyClamped_v8}};
inline constexpr KernelRow<CopyBlockSig> kCopyBlock16{"CopyBlock16", {CopyBlock16_px, nullptr, CopyBlock16_w7}};
inline constexpr KernelRow<CopyBlockSig> kCopyBlock8{"CopyBlock8", {CopyBlock8_px, nullptr, CopyBlock8_w7}};

inline constexpr KernelRow<InterpolateLumaDeepSig> kInterpolateLumaDeep{
    "InterpolateLumaDeep", {InterpolateLumaDeep_px, nullptr, InterpolateLumaDeep_w7}};
inline constexpr KernelRow<InterpolateChromaDeepSig> kInterpolateChromaDeep{
    "InterpolateChromaDeep", {InterpolateChromaDeep_px, nullptr, InterpolateChromaDeep_w7}};
inline constexpr KernelRow<AverageBlockDeepSig> kAverageBlockDeep{"AverageBlockDeep",
                                                                  {AverageBlockDeep_px, nullptr, AverageBlockDeep_w7}};
inline constexpr KernelRow<WeightBlockDeepSig> kWeightBlockDeep{"WeightBlockDeep",
                                                                {WeightBlockDeep_px, nullptr, WeightBlockDeep_w7}};
inline constexpr KernelRow<BiWeightBlockDeepSig> kBiWeightBlockDeep{
    "BiWeightBlockDeep", {BiWeightBlockDeep_px, nullptr, BiWeightBlockDeep_w7}};

inline constexpr KernelRow<HalfPlaneSig> kHalfPlaneRight{
    "HalfPlaneRight", {HalfPlaneRight_px, nullptr, HalfPlaneRight_w7, nullptr, HalfPlaneRight_v8}};
inline constexpr KernelRow<HalfPlaneSig> kHalfPlaneDown{"HalfPlaneDown", {HalfPlaneDown_px, nullptr, HalfPlaneDown_w7}};
inline constexpr KernelRow<HalfPlaneSig> kHalfPlaneBoth{"HalfPlaneBoth", {HalfPlaneBoth_px, nullptr, HalfPlaneBoth_w7}};

inline constexpr KernelRow<CopyBlockDeepSig> kCopyBlockDeep{"CopyBlockDeep", {CopyBlockDeep_px}};
inline constexpr KernelRow<HalfPlaneDeepSig> kHalfPlaneRightDeep{
    "HalfPlaneRightDeep", {HalfPlaneRightDeep_px, nullptr, HalfPlaneRightDeep_w7}};
inline constexpr KernelRow<HalfPlaneDeepSig> kHalfPlaneDownDeep{"HalfPlaneDownDeep",
                                                                {HalfPlaneDownDeep_px, nullptr, HalfPlaneDownDeep_w7}};
inline constexpr KernelRow<HalfPlaneDeepSig> kHalfPlaneBothDeep{"HalfPlaneBothDeep",
                                                                {HalfPlaneBothDeep_px, nullptr, HalfPlaneBothDeep_w7}};

} // namespace kernels
