// What scaling lists make of the forward factors of an encoder.
#pragma once

#include <cstdint>

namespace h264 {

inline constexpr int kFlatWeight = 16; // of Flat_4x4_16 and Flat_8x8_16

/// The factor of a coefficient whose scaling list has Weight, with the shift that goes with Factor: the scaled level is
/// Weight / 16 times that of a flat list, so that the level has to be 16 / Weight times it, and a flat list changes
/// nothing. The result has 16 bits from weight 6 on, which is the least of the default lists.
constexpr uint16_t WeightedFactor(uint16_t Factor, uint8_t Weight)
{
    return static_cast<uint16_t>((kFlatWeight * Factor + Weight / 2) / Weight);
}

} // namespace h264
