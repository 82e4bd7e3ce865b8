// The rows of the arithmetic kernels. Those without a vector variant are loops that the compiler turns into one itself:
// writing them by hand gained nothing.
#pragma once

#include "kernels/arithmetic/arithmetic.h"
#include "kernels/dispatch/kernel_row.h"

namespace kernels {

inline constexpr KernelRow<Sub8uSig> kSub8u{"Sub8u", {Sub8u_px, nullptr, Sub8u_w7}};
inline constexpr KernelRow<SubInPlace8uSig> kSubInPlace8u{"SubInPlace8u", {SubInPlace8u_px, nullptr, SubInPlace8u_w7}};
inline constexpr KernelRow<Add8uSig> kAdd8u{"Add8u", {Add8u_px, nullptr, Add8u_w7}};
inline constexpr KernelRow<MulConst8uInPlaceSig> kMulConst8uInPlace{
    "MulConst8uInPlace", {MulConst8uInPlace_px, nullptr, MulConst8uInPlace_w7}};
inline constexpr KernelRow<ConstantSig> kSubConst{"SubConst", {SubConst_px}};
inline constexpr KernelRow<ConstantSig> kMulConst{"MulConst", {MulConst_px}};
inline constexpr KernelRow<PlanePairSig> kAdd{"Add", {Add_px}};
inline constexpr KernelRow<PlanePairSig> kMul{"Mul", {Mul_px}};
inline constexpr KernelRow<Convert8uTo32fSig> kConvert8uTo32f{"Convert8uTo32f", {Convert8uTo32f_px}};
inline constexpr KernelRow<Convert32fTo8uSig> kConvert32fTo8u{"Convert32fTo8u",
                                                              {Convert32fTo8u_px, nullptr, Convert32fTo8u_w7}};
inline constexpr KernelRow<ClampThreshold32fSig> kClampThreshold32f{
    "ClampThreshold32f", {ClampThreshold32f_px, nullptr, ClampThreshold32f_w7}};

} // namespace kernels
