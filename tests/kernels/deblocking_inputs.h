// Inputs for tests of the deblocking kernels: thresholds, strengths and blocky samples at random.
#pragma once

#include "kernels/deblocking/deblocking.h"
#include "tests/support/kernel_testing.h"

#include <algorithm>

namespace kernel_testing {

enum class Strengths { All, OuterOnly, Inner, Mixed, None };
inline constexpr Strengths kStrengths[]{Strengths::All, Strengths::OuterOnly, Strengths::Inner, Strengths::Mixed,
                                        Strengths::None};

// Thresholds of one kind of picture: real ones of a QP, closed ones, and the widest there are. Clip values rise with
// bS.
inline kernels::EdgeParams RandomParams(TestRandom& Rng, Strengths How)
{
    kernels::EdgeParams Params{};
    for (int i = 0; i < 2; ++i) {
        const int Kind = Rng.Range(0, 5);
        Params.Alpha[i] = static_cast<uint8_t>(Kind == 0 ? 0 : Kind == 1 ? 255 : Rng.Range(4, 255));
        Params.Beta[i] = static_cast<uint8_t>(Kind == 0 ? 0 : Kind == 1 ? 18 : Rng.Range(2, 18));
        int Clip = 0;
        for (int s = 1; s < 4; ++s) Params.Clip[i][s] = static_cast<uint8_t>(Clip = Rng.Range(Clip, s == 3 ? 25 : 17));
    }
    const bool Intra = Rng.Range(0, 1);
    for (int i = 0; i < 16; ++i) {
        const bool Outer = i < 4;
        int Strength = Rng.Range(0, 3);
        if (How == Strengths::All) Strength = Intra ? (Outer ? 4 : 3) : Rng.Range(1, 3);
        if (How == Strengths::OuterOnly) Strength = Outer ? (Intra ? 4 : Rng.Range(1, 3)) : 0;
        if (How == Strengths::Inner) Strength = Outer ? 0 : Rng.Range(0, 3);
        if (How == Strengths::Mixed && Outer) Strength = Rng.Range(0, 4);
        if (How == Strengths::None) Strength = 0;
        Params.Strength[i] = static_cast<uint8_t>(Strength);
    }
    return Params;
}

// Samples in steps at the block borders that the thresholds let through now and then.
inline Block Blocky(TestRandom& Rng, int Width, int Height, size_t Shift)
{
    Block b = Rng.MakeBlock(Fill::Smooth, Width, Height, Width + 5, Shift);
    const int Noise = Rng.Range(0, 6), Jump = Rng.Range(0, 40);
    std::vector<int> Level(static_cast<size_t>(Width / 4 * (Height / 4)));
    const int Base = Rng.Range(0, 255);
    for (int& Value : Level) Value = Base + Rng.Range(-Jump, Jump);
    for (int y = 0; y < Height; ++y)
        for (int x = 0; x < Width; ++x)
            *b.At(x, y) = static_cast<uint8_t>(
                std::clamp(Level[static_cast<size_t>(y / 4 * (Width / 4) + x / 4)] + Rng.Range(-Noise, Noise), 0, 255));
    return b;
}

inline Block Samples(TestRandom& Rng, int Round, int Width, int Height)
{
    const size_t Shift = kShifts[Round % 4];
    if (Round % 4 != 3) return Blocky(Rng, Width, Height, Shift);
    return Rng.MakeBlock(kAllFills[Round / 4 % 5], Width, Height, Width + 5, Shift);
}

} // namespace kernel_testing
