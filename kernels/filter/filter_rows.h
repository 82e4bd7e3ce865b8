#pragma once

#include "kernels/dispatch/kernel_row.h"
#include "kernels/filter/filter.h"

namespace kernels {

inline constexpr KernelRow<FilterGauss8uSig> kFilterGauss8u{"FilterGauss8u",
                                                            {FilterGauss8u_px, nullptr, FilterGauss8u_w7}};
inline constexpr KernelRow<FilterMean32fSig> kFilterMean32f{"FilterMean32f",
                                                            {FilterMean32f_px, nullptr, FilterMean32f_w7}};

} // namespace kernels
