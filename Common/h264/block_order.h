// Sets of a macroblock's sixteen 4x4 blocks, one bit a block.
#pragma once

#include <cstdint>

namespace h264 {

/// Bits in raster order from bits in luma4x4BlkIdx order (clause 6.4.3), and back.
constexpr uint32_t SwapBlockOrder(uint32_t Bits)
{
    const uint32_t Moved = (Bits ^ Bits >> 2) & 0x0C0C;
    return Bits ^ Moved ^ Moved << 2;
}

/// Rows and columns of bits in raster order exchanged.
constexpr uint32_t TransposeBlocks(uint32_t Bits)
{
    const uint32_t a = (Bits ^ Bits >> 3) & 0x0A0A;
    Bits ^= a ^ a << 3;
    const uint32_t b = (Bits ^ Bits >> 6) & 0x00CC;
    return Bits ^ b ^ b << 6;
}

} // namespace h264
