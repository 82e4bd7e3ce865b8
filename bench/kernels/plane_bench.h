// Planes of camera size for the benchmarks of the image kernels.
#pragma once

#include "bench/kernels/kernel_bench.h"

namespace kernel_bench {

inline constexpr int32_t kPlaneWidth = 1280, kPlaneHeight = 720;
inline constexpr size_t kPlaneSamples = size_t{kPlaneWidth} * kPlaneHeight;

/// Samples of 8 bits: slow ramps with steps of 40 levels between tiles of 16 and 4 bits of noise.
inline std::vector<uint8_t> Plane(unsigned Seed, size_t Channels = 1)
{
    std::vector<uint8_t> Samples(kPlaneSamples * Channels);
    for (size_t i = 0; i < Samples.size(); ++i) {
        const size_t x = i / Channels % kPlaneWidth, y = i / Channels / kPlaneWidth;
        Seed = Seed * 1664525 + 1013904223;
        Samples[i] = static_cast<uint8_t>(50 + (x / 16 + y / 16) % 2 * 40 + (x + y) / 32 + (Seed >> 28));
    }
    return Samples;
}

/// The same samples as floats of 0 to 1.
inline std::vector<float> FloatPlane(unsigned Seed)
{
    std::vector<float> Samples;
    for (const uint8_t Sample : Plane(Seed)) Samples.push_back(static_cast<float>(Sample) / 255.0f);
    return Samples;
}

inline constexpr ptrdiff_t kFloatStep = 4 * ptrdiff_t{kPlaneWidth};

inline void CountSamples(benchmark::State& State)
{
    State.SetItemsProcessed(State.iterations() * static_cast<int64_t>(kPlaneSamples));
}

} // namespace kernel_bench
