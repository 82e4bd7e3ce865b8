#include "kernels/distance/distance_rows.h"

#include "bench/kernels/kernel_bench.h"

namespace {

using namespace kernels;
using namespace kernel_bench;

void Distance(benchmark::State& State, BlockDistanceSig* pFn)
{
    auto a = Picture(1), b = Picture(2);
    for (auto _ : State) benchmark::DoNotOptimize(pFn(Middle(a), kStep, Middle(b), kStep));
}

void FourDistances(benchmark::State& State, FourDistancesSig* pFn)
{
    auto a = Picture(1), b = Picture(2);
    const uint8_t* const ppB[4]{Middle(b), Middle(b) + 1, Middle(b) - 1, Middle(b) + kStep};
    int32_t Sum[4];
    for (auto _ : State) {
        pFn(Middle(a), kStep, ppB, kStep, Sum);
        benchmark::DoNotOptimize(Sum);
    }
}

void CountEdges(benchmark::State& State, CountEdgesSig* pFn)
{
    auto a = Picture(1);
    for (auto _ : State) benchmark::DoNotOptimize(pFn(Middle(a), kStep, 5));
}

#define DISTANCE(Size) RegisterTiers(kSad##Size, Distance), RegisterTiers(kSatd##Size, Distance)
const bool s_Rows[]{DISTANCE(16x16),
                    DISTANCE(16x8),
                    DISTANCE(8x16),
                    DISTANCE(8x8),
                    DISTANCE(8x4),
                    DISTANCE(4x8),
                    DISTANCE(4x4),
                    RegisterTiers(kSad16x16x4, FourDistances),
                    RegisterTiers(kCountEdges16x16, CountEdges)};

} // namespace
