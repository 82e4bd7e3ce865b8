// The rows of the memory kernels. Flat copies and fills have one function for all tiers: the system's own are vector
// code.
#pragma once

#include "kernels/dispatch/kernel_row.h"
#include "kernels/memory/memory.h"

namespace kernels {

inline constexpr KernelRow<CopyBytesSig> kCopyBytes{"CopyBytes", {CopyBytes_px}};
inline constexpr KernelRow<SetBytesSig> kSetBytes{"SetBytes", {SetBytes_px}};
inline constexpr KernelRow<Copy8uSig> kCopy8u{"Copy8u", {Copy8u_px}};
inline constexpr KernelRow<Set8uSig> kSet8u{"Set8u", {Set8u_px}};
inline constexpr KernelRow<CopyChannel8uC1C4Sig> kCopyChannel8uC1C4{
    "CopyChannel8uC1C4", {CopyChannel8uC1C4_px, nullptr, CopyChannel8uC1C4_w7}};

} // namespace kernels
