#pragma once

#include "kernels/composition/composition.h"
#include "kernels/dispatch/kernel_row.h"

namespace kernels {

inline constexpr KernelRow<AlphaComp8uAC4Sig> kAlphaComp8uAC4{
    "AlphaComp8uAC4", {AlphaComp8uAC4_px, nullptr, AlphaComp8uAC4_w7, nullptr, AlphaComp8uAC4_v8}};

} // namespace kernels
