// Benchmarks of the kernels by tier, from the rows that bind them.
#pragma once

#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "kernels/dispatch/kernel_row.h"
#include "kernels/dispatch/processor_class.h"

namespace kernel_bench {

/// Registers Body(State, variant) as "name/tier" for every tier of the row that this processor runs; as
/// "name case/tier" where a row is timed in several cases.
/// @return true, so that a static constant can hold the call.
template <class Sig>
bool RegisterTiers(const kernels::KernelRow<Sig>& Row, void (*pBody)(benchmark::State&, Sig*), const char* pCase = "")
{
    const int Best = kernels::TierOfClass(kernels::DetectProcessorClass());
    for (const kernels::Tier t : kernels::kAllTiers) {
        Sig* const pFn = Row.At(t);
        if (!pFn || static_cast<int>(t) > Best) continue;
        const std::string Title =
            Row.Name + std::string(*pCase ? " " : "") + pCase + "/" + kernels::kTierNames[static_cast<size_t>(t)];
        benchmark::RegisterBenchmark(Title.c_str(), [=](benchmark::State& State) { pBody(State, pFn); });
    }
    return true;
}

inline constexpr ptrdiff_t kStep = 96;

/// A picture of 96 x 96 samples: flat areas with noise, steps at the block borders.
inline std::vector<uint8_t> Picture(unsigned Seed)
{
    std::vector<uint8_t> Samples(kStep * kStep);
    for (size_t i = 0; i < Samples.size(); ++i) {
        Seed = Seed * 1664525 + 1013904223;
        Samples[i] = static_cast<uint8_t>(110 + i % kStep / 4 * 5 % 16 + i / kStep / 4 * 3 % 16 + (Seed >> 28));
    }
    return Samples;
}

/// The same in 10 bits; a step is 2 * kStep bytes.
inline std::vector<uint16_t> DeepPicture(unsigned Seed)
{
    const std::vector<uint8_t> Narrow = Picture(Seed);
    std::vector<uint16_t> Samples(Narrow.begin(), Narrow.end());
    for (uint16_t& s : Samples) s = static_cast<uint16_t>(s * 4 + (s & 3));
    return Samples;
}

/// The first sample of a block with room on all sides.
template <class Sample>
Sample* Middle(std::vector<Sample>& Samples)
{
    return &Samples[32 * kStep + 32];
}

} // namespace kernel_bench
