// The rows of the bilateral filter. Its buffer is made the same way for every tier.
#pragma once

#include "kernels/bilateral/bilateral.h"
#include "kernels/dispatch/kernel_row.h"

namespace kernels {

inline constexpr KernelRow<BilateralGetSizeSig> kBilateralGetSize{"BilateralGetSize", {BilateralGetSize_px}};
inline constexpr KernelRow<BilateralInitSig> kBilateralInit{"BilateralInit", {BilateralInit_px}};
inline constexpr KernelRow<BilateralFilterSig> kBilateralFilter{
    "BilateralFilter", {BilateralFilter_px, nullptr, nullptr, nullptr, BilateralFilter_v8}};

} // namespace kernels
