#pragma once

#include "kernels/dispatch/kernel_row.h"
#include "kernels/resize/resize.h"

namespace kernels {

inline constexpr KernelRow<ResizeSig> kResize8uC1{"Resize8uC1",
                                                  {Resize8uC1_px, nullptr, Resize8uC1_w7, nullptr, Resize8uC1_v8}};
inline constexpr KernelRow<ResizeSig> kResize8uC2{"Resize8uC2",
                                                  {Resize8uC2_px, nullptr, Resize8uC2_w7, nullptr, Resize8uC2_v8}};
inline constexpr KernelRow<ResizeSig> kResize8uC3{"Resize8uC3",
                                                  {Resize8uC3_px, nullptr, Resize8uC3_w7, nullptr, Resize8uC3_v8}};
inline constexpr KernelRow<ResizeSig> kResize8uC4{"Resize8uC4",
                                                  {Resize8uC4_px, nullptr, Resize8uC4_w7, nullptr, Resize8uC4_v8}};

inline constexpr KernelRow<ShrinkSig> kHalve8uC1{"Halve8uC1",
                                                 {Halve8uC1_px, nullptr, Halve8uC1_w7, nullptr, Halve8uC1_v8}};
inline constexpr KernelRow<ShrinkSig> kHalve8uC2{"Halve8uC2", {Halve8uC2_px, nullptr, nullptr, nullptr, Halve8uC2_v8}};
inline constexpr KernelRow<ShrinkSig> kHalve8uC3{"Halve8uC3", {Halve8uC3_px, nullptr, nullptr, nullptr, Halve8uC3_v8}};
inline constexpr KernelRow<ShrinkSig> kHalve8uC4{"Halve8uC4", {Halve8uC4_px, nullptr, nullptr, nullptr, Halve8uC4_v8}};
inline constexpr KernelRow<ShrinkSig> kQuarter8uC1{"Quarter8uC1",
                                                   {Quarter8uC1_px, nullptr, Quarter8uC1_w7, nullptr, Quarter8uC1_v8}};

} // namespace kernels
