// Planes for the tests of the image kernels: shapes that meet every tail of a vector loop, targets with guard bytes
// that must stay, planes of floats.
#pragma once

#include <cstring>

#include "tests/support/kernel_testing.h"

namespace kernel_testing {

/// Calls Check(Width, Height, Shift) for every width of 1 to 40 and some larger ones.
template <class CheckFn>
void ForEachShape(CheckFn Check)
{
    for (int Width = 1; Width <= 40; ++Width) Check(Width, 1 + Width % 3, kShifts[static_cast<size_t>(Width) % 4]);
    for (const int Width : {63, 64, 65, 127, 1283})
        for (const size_t Shift : kShifts) Check(Width, 3, Shift);
}

inline constexpr uint8_t kGuard = 0xA5;

/// A plane of guard bytes with more of them before it, between its rows and behind it.
inline Block GuardedBlock(int Width, int Height, size_t Shift)
{
    const ptrdiff_t Step = Width + 9;
    return {std::vector<uint8_t>(Shift + static_cast<size_t>(Step * Height) + 32, kGuard), Shift, Step};
}

/// A plane of floats that ends with its last sample. The step is in bytes.
struct FloatPlane {
    std::vector<float> Samples;
    size_t First = 0;
    ptrdiff_t Step = 0;

    float* At(ptrdiff_t x, ptrdiff_t y) { return Samples.data() + First + y * Step / 4 + x; }
    const float* At(ptrdiff_t x, ptrdiff_t y) const { return Samples.data() + First + y * Step / 4 + x; }
    bool operator==(const FloatPlane& Other) const // by bits, so that a zero's sign counts and NaN equals itself
    {
        return Samples.size() == Other.Samples.size() &&
               std::memcmp(Samples.data(), Other.Samples.data(), Samples.size() * sizeof(float)) == 0;
    }
};

enum class FloatFill { Unit, Signed, Huge, Special };
inline constexpr FloatFill kAllFloatFills[]{FloatFill::Unit, FloatFill::Signed, FloatFill::Huge, FloatFill::Special};

/// Width x Height floats with Gap floats between the rows and Shift floats before the first.
FloatPlane MakeFloatPlane(TestRandom& Rng, FloatFill How, int Width, int Height, size_t Shift, int Gap = 3);

} // namespace kernel_testing
