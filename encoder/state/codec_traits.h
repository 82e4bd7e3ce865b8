// What the width of a sample decides: the one template argument of the stages that touch samples.
#pragma once

#include "encoder/write/block_levels.h"
#include "kernels/dispatch/kernels.h"
#include "kernels/intra/intra.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

template <class Sample>
struct CodecTraits;

template <>
struct CodecTraits<uint8_t> {
    using Coeff = int16_t; // levels in their block, then scaled coefficients
    using Level = int16_t; // the same in a list
    using Levels = BlockLevels<Level>;
    using PredictIntra = kernels::PredictIntraSig;
    static constexpr int32_t kMaxBitDepth = 8;
    static constexpr kernels::KernelSlots& Kernels = kernels::g_Kernels;
};

/// The kernels for a sample type.
template <class Sample>
inline constexpr auto& Kernels = CodecTraits<Sample>::Kernels;

} // namespace UMC_H264_ENCODER
