// The rows of the intra kernels.
#pragma once

#include "kernels/dispatch/kernel_row.h"
#include "kernels/intra/intra.h"

namespace kernels {

inline constexpr KernelRow<PredictIntraSig> kPredict16x16Vertical{"Predict16x16Vertical", {Predict16x16Vertical_px}};
inline constexpr KernelRow<PredictIntraSig> kPredict16x16Horizontal{"Predict16x16Horizontal", {Predict16x16Horizontal_px}};
inline constexpr KernelRow<PredictIntraSig> kPredict16x16Dc{"Predict16x16Dc", {Predict16x16Dc_px}};
inline constexpr KernelRow<PredictIntraSig> kPredict16x16Plane{"Predict16x16Plane", {Predict16x16Plane_px}};
inline constexpr KernelRow<PredictIntraSig> kPredictChromaDc{"PredictChromaDc", {PredictChromaDc_px}};
inline constexpr KernelRow<PredictIntraSig> kPredictChromaHorizontal{"PredictChromaHorizontal", {PredictChromaHorizontal_px}};
inline constexpr KernelRow<PredictIntraSig> kPredictChromaVertical{"PredictChromaVertical", {PredictChromaVertical_px}};
inline constexpr KernelRow<PredictIntraSig> kPredictChromaPlane{"PredictChromaPlane", {PredictChromaPlane_px}};
inline constexpr KernelRow<PredictIntra4x4Sig> kPredictIntra4x4{"PredictIntra4x4", {PredictIntra4x4_px}};
inline constexpr KernelRow<PredictIntra8x8Sig> kPredictIntra8x8{"PredictIntra8x8", {PredictIntra8x8_px}};

} // namespace kernels
