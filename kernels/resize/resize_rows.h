#pragma once

#include "kernels/dispatch/kernel_row.h"
#include "kernels/resize/resize.h"

namespace kernels {

inline constexpr KernelRow<ResizeSig> kResize8uC1{"Resize8uC1", {Resize8uC1_px}};
inline constexpr KernelRow<ResizeSig> kResize8uC3{"Resize8uC3", {Resize8uC3_px}};
inline constexpr KernelRow<ResizeSig> kResize8uC4{"Resize8uC4", {Resize8uC4_px}};

} // namespace kernels
