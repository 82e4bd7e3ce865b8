// The rows of the transform kernels.
#pragma once

#include "kernels/dispatch/kernel_row.h"
#include "kernels/transform/transform.h"

namespace kernels {

inline constexpr KernelRow<AddResidualSig> kAddResidual4x4{"AddResidual4x4",
                                                           {AddResidual4x4_px, nullptr, AddResidual4x4_w7}};
inline constexpr KernelRow<AddResidualSig> kAddResidual8x8{"AddResidual8x8",
                                                           {AddResidual8x8_px, nullptr, AddResidual8x8_w7}};
inline constexpr KernelRow<AddResidualDeepSig> kAddResidual4x4Deep{
    "AddResidual4x4Deep", {AddResidual4x4Deep_px, nullptr, AddResidual4x4Deep_w7}};
inline constexpr KernelRow<AddResidualDeepSig> kAddResidual8x8Deep{
    "AddResidual8x8Deep", {AddResidual8x8Deep_px, nullptr, AddResidual8x8Deep_w7}};
inline constexpr KernelRow<AddResidualLumaSig> kAddResidualLuma4x4{
    "AddResidualLuma4x4", {AddResidualLuma4x4_px, nullptr, AddResidualLuma4x4_w7}};
inline constexpr KernelRow<AddResidualLumaSig> kAddResidualLuma8x8{
    "AddResidualLuma8x8", {AddResidualLuma8x8_px, nullptr, AddResidualLuma8x8_w7}};
inline constexpr KernelRow<AddResidualLumaSig> kAddResidualChroma{
    "AddResidualChroma", {AddResidualChroma_px, nullptr, AddResidualChroma_w7}};
inline constexpr KernelRow<InverseLumaDcSig> kInverseLumaDc{"InverseLumaDc", {InverseLumaDc_px}};
inline constexpr KernelRow<InverseLumaDcSig> kInverseChromaDc420{"InverseChromaDc420", {InverseChromaDc420_px}};
inline constexpr KernelRow<ForwardQuantSig> kForwardQuant16x16{
    "ForwardQuant16x16", {ForwardQuant16x16_px, nullptr, nullptr, nullptr, ForwardQuant16x16_v8}};
inline constexpr KernelRow<ForwardQuantSig> kForwardQuant4x4{
    "ForwardQuant4x4", {ForwardQuant4x4_px, nullptr, nullptr, nullptr, ForwardQuant4x4_v8}};
inline constexpr KernelRow<ForwardQuantAcSig> kForwardQuantAc16x16{
    "ForwardQuantAc16x16", {ForwardQuantAc16x16_px, nullptr, nullptr, nullptr, ForwardQuantAc16x16_v8}};
inline constexpr KernelRow<ForwardQuantAcSig> kForwardQuantAc8x8{
    "ForwardQuantAc8x8", {ForwardQuantAc8x8_px, nullptr, nullptr, nullptr, ForwardQuantAc8x8_v8}};
inline constexpr KernelRow<ForwardDcSig> kForwardLumaDc{"ForwardLumaDc", {ForwardLumaDc_px}};
inline constexpr KernelRow<ForwardDcSig> kForwardChromaDc420{"ForwardChromaDc420", {ForwardChromaDc420_px}};
inline constexpr KernelRow<DequantBlocksSig> kDequantBlocks{"DequantBlocks",
                                                            {DequantBlocks_px, nullptr, DequantBlocks_w7}};

inline constexpr KernelRow<AddResidualLumaDeepSig> kAddResidualLuma4x4Deep{
    "AddResidualLuma4x4Deep", {AddResidualLuma4x4Deep_px, nullptr, AddResidualLuma4x4Deep_w7}};
inline constexpr KernelRow<AddResidualLumaDeepSig> kAddResidualLuma8x8Deep{
    "AddResidualLuma8x8Deep", {AddResidualLuma8x8Deep_px, nullptr, AddResidualLuma8x8Deep_w7}};
inline constexpr KernelRow<AddResidualLumaDeepSig> kAddResidualChromaDeep{
    "AddResidualChromaDeep", {AddResidualChromaDeep_px, nullptr, AddResidualChromaDeep_w7}};
inline constexpr KernelRow<ForwardQuant8x8Sig> kForwardQuant8x8{
    "ForwardQuant8x8", {ForwardQuant8x8_px, nullptr, nullptr, nullptr, ForwardQuant8x8_v8}};
inline constexpr KernelRow<ForwardQuant8x8Sig> kForwardQuant8x8Of16x16{
    "ForwardQuant8x8Of16x16", {ForwardQuant8x8Of16x16_px, nullptr, nullptr, nullptr, ForwardQuant8x8Of16x16_v8}};
inline constexpr KernelRow<ForwardDcSig> kForwardChromaDc422{"ForwardChromaDc422", {ForwardChromaDc422_px}};
inline constexpr KernelRow<DequantBlocks8x8Sig> kDequantBlocks8x8{"DequantBlocks8x8",
                                                                  {DequantBlocks8x8_px, nullptr, DequantBlocks8x8_w7}};

inline constexpr KernelRow<ForwardQuantDeepSig> kForwardQuant16x16Deep{
    "ForwardQuant16x16Deep", {ForwardQuant16x16Deep_px, nullptr, ForwardQuant16x16Deep_w7}};
inline constexpr KernelRow<ForwardQuantDeepSig> kForwardQuant4x4Deep{
    "ForwardQuant4x4Deep", {ForwardQuant4x4Deep_px, nullptr, ForwardQuant4x4Deep_w7}};
inline constexpr KernelRow<ForwardQuant8x8DeepSig> kForwardQuant8x8Deep{
    "ForwardQuant8x8Deep", {ForwardQuant8x8Deep_px, nullptr, ForwardQuant8x8Deep_w7}};
inline constexpr KernelRow<ForwardQuant8x8DeepSig> kForwardQuant8x8Of16x16Deep{
    "ForwardQuant8x8Of16x16Deep", {ForwardQuant8x8Of16x16Deep_px, nullptr, ForwardQuant8x8Of16x16Deep_w7}};
inline constexpr KernelRow<ForwardQuantAcDeepSig> kForwardQuantAc16x16Deep{
    "ForwardQuantAc16x16Deep", {ForwardQuantAc16x16Deep_px, nullptr, ForwardQuantAc16x16Deep_w7}};
inline constexpr KernelRow<ForwardQuantAcDeepSig> kForwardQuantAc8x8Deep{
    "ForwardQuantAc8x8Deep", {ForwardQuantAc8x8Deep_px, nullptr, ForwardQuantAc8x8Deep_w7}};
inline constexpr KernelRow<ForwardDcDeepSig> kForwardLumaDcDeep{"ForwardLumaDcDeep", {ForwardLumaDcDeep_px}};
inline constexpr KernelRow<ForwardDcDeepSig> kForwardChromaDc420Deep{"ForwardChromaDc420Deep",
                                                                     {ForwardChromaDc420Deep_px}};
inline constexpr KernelRow<ForwardDcDeepSig> kForwardChromaDc422Deep{"ForwardChromaDc422Deep",
                                                                     {ForwardChromaDc422Deep_px}};
inline constexpr KernelRow<DequantBlocksDeepSig> kDequantBlocksDeep{
    "DequantBlocksDeep", {DequantBlocksDeep_px, nullptr, DequantBlocksDeep_w7}};
inline constexpr KernelRow<DequantBlocks8x8DeepSig> kDequantBlocks8x8Deep{
    "DequantBlocks8x8Deep", {DequantBlocks8x8Deep_px, nullptr, DequantBlocks8x8Deep_w7}};

} // namespace kernels
