#pragma once

#include "kernels/composition/composition.h"
#include "kernels/dispatch/kernel_row.h"

namespace kernels {

inline constexpr KernelRow<AlphaComp8uAC4Sig> kAlphaComp8uAC4{"AlphaComp8uAC4", {AlphaComp8uAC4_px}};

} // namespace kernels
