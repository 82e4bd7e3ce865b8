// Blocks of samples of 2 bytes for tests of kernels.
#pragma once

#include "tests/support/kernel_testing.h"

#include <vector>

namespace kernel_testing {

// Width x Height samples in a buffer that ends with the last of them.
struct DeepBlock {
    std::vector<uint16_t> Samples;
    ptrdiff_t Pitch = 0; // samples

    DeepBlock(int Width, int Height, ptrdiff_t Pitch, uint16_t Value = 0)
        : Samples(static_cast<size_t>((Height - 1) * Pitch + Width), Value), Pitch(Pitch)
    {
    }
    // The samples of an 8-bit block.
    explicit DeepBlock(const Block& b)
        : Samples(b.Bytes.begin() + static_cast<ptrdiff_t>(b.First), b.Bytes.end()), Pitch(b.Step)
    {
    }
    static DeepBlock Random(TestRandom& Rng, Fill How, int Width, int Height, ptrdiff_t Pitch, int Depth)
    {
        DeepBlock b(Width, Height, Pitch);
        const int Max = (1 << Depth) - 1;
        for (uint16_t& s : b.Samples)
            s = static_cast<uint16_t>(How == Fill::AllZero     ? 0
                                      : How == Fill::AllMax    ? Max
                                      : How == Fill::ZeroOrMax ? Rng.Range(0, 1) * Max
                                                               : Rng.Range(0, Max));
        return b;
    }
    ptrdiff_t Step() const { return Pitch * 2; }
    uint16_t* At(ptrdiff_t x, ptrdiff_t y) { return Samples.data() + y * Pitch + x; }
    const uint16_t* At(ptrdiff_t x, ptrdiff_t y) const { return Samples.data() + y * Pitch + x; }
};
inline constexpr Fill kDeepFills[]{Fill::Random, Fill::AllMax, Fill::ZeroOrMax};

} // namespace kernel_testing
