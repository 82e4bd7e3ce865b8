// What the width of a sample decides: the one template argument of the stages that touch samples.
#pragma once

#include "kernels/dispatch/kernels.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

// The levels of a block in the form the writers take: those other than 0 in scan order.
struct BlockLevels {
    uint8_t Count;
    uint8_t Position[16]; // in the block's own list: 0 is coefficient 1 where the DC is coded apart
    int16_t Level[16];
};

template <class Sample>
struct CodecTraits;

template <>
struct CodecTraits<uint8_t> {
    using Coeff = int16_t;      // levels in their block, then scaled coefficients
    using Levels = BlockLevels; // the same as a list
    static constexpr int32_t kMaxBitDepth = 8;
    static constexpr kernels::KernelSlots& Kernels = kernels::g_Kernels;
};

/// The kernels for a sample type.
template <class Sample>
inline constexpr auto& Kernels = CodecTraits<Sample>::Kernels;

} // namespace UMC_H264_ENCODER
