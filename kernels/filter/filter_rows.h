#pragma once

#include "kernels/dispatch/kernel_row.h"
#include "kernels/filter/filter.h"

namespace kernels {

inline constexpr KernelRow<FilterGauss8uSig> kFilterGauss8u{"FilterGauss8u", {FilterGauss8u_px}};
inline constexpr KernelRow<FilterMean32fSig> kFilterMean32f{"FilterMean32f", {FilterMean32f_px}};

} // namespace kernels
