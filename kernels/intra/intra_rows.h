// The rows of the intra kernels.
#pragma once

#include "kernels/dispatch/kernel_row.h"
#include "kernels/intra/intra.h"

namespace kernels {

inline constexpr KernelRow<PredictIntraSig> kPredict16x16Vertical{"Predict16x16Vertical", {Predict16x16Vertical_px}};
inline constexpr KernelRow<PredictIntraSig> kPredict16x16Horizontal{
    "Predict16x16Horizontal",
    {Predict16x16Horizontal_px, nullptr, Predict16x16Horizontal_w7, nullptr, Predict16x16Horizontal_v8}};
inline constexpr KernelRow<PredictIntraSig> kPredict16x16Dc{"Predict16x16Dc",
                                                            {Predict16x16Dc_px, nullptr, Predict16x16Dc_w7}};
inline constexpr KernelRow<PredictIntraSig> kPredict16x16Plane{"Predict16x16Plane",
                                                               {Predict16x16Plane_px, nullptr, Predict16x16Plane_w7}};
inline constexpr KernelRow<PredictIntraSig> kPredictChromaDc{"PredictChromaDc",
                                                             {PredictChromaDc_px, nullptr, PredictChromaDc_w7}};
inline constexpr KernelRow<PredictIntraSig> kPredictChromaHorizontal{
    "PredictChromaHorizontal",
    {PredictChromaHorizontal_px, nullptr, PredictChromaHorizontal_w7, nullptr, PredictChromaHorizontal_v8}};
inline constexpr KernelRow<PredictIntraSig> kPredictChromaVertical{"PredictChromaVertical", {PredictChromaVertical_px}};
inline constexpr KernelRow<PredictIntraSig> kPredictChromaPlane{
    "PredictChromaPlane", {PredictChromaPlane_px, nullptr, PredictChromaPlane_w7}};
inline constexpr KernelRow<PredictIntra4x4Sig> kPredictIntra4x4{
    "PredictIntra4x4", {PredictIntra4x4_px, nullptr, PredictIntra4x4_w7, nullptr, PredictIntra4x4_v8}};
inline constexpr KernelRow<PredictIntra8x8Sig> kPredictIntra8x8{
    "PredictIntra8x8", {PredictIntra8x8_px, nullptr, PredictIntra8x8_w7, nullptr, PredictIntra8x8_v8}};

inline constexpr KernelRow<PredictAll4x4Sig> kPredictAll4x4{
    "PredictAll4x4", {PredictAll4x4_px, nullptr, nullptr, nullptr, PredictAll4x4_v8}};

inline constexpr KernelRow<PredictModeSig> kPredictChroma422{"PredictChroma422", {PredictChroma422_px}};

inline constexpr KernelRow<PredictModeDeepSig> kPredict16x16Deep{"Predict16x16Deep",
                                                                 {Predict16x16Deep_px, nullptr, Predict16x16Deep_w7}};
inline constexpr KernelRow<PredictChromaDeepSig> kPredictChromaDeep{
    "PredictChromaDeep", {PredictChromaDeep_px, nullptr, PredictChromaDeep_w7}};
inline constexpr KernelRow<PredictIntra4x4DeepSig> kPredictIntra4x4Deep{
    "PredictIntra4x4Deep", {PredictIntra4x4Deep_px, nullptr, PredictIntra4x4Deep_w7}};
inline constexpr KernelRow<PredictAll4x4DeepSig> kPredictAll4x4Deep{
    "PredictAll4x4Deep", {PredictAll4x4Deep_px, nullptr, PredictAll4x4Deep_w7}};
inline constexpr KernelRow<PredictModeDeepSig> kPredictIntra8x8Deep{
    "PredictIntra8x8Deep", {PredictIntra8x8Deep_px, nullptr, PredictIntra8x8Deep_w7}};

} // namespace kernels
