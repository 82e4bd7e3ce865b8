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

// Samples of 2 bytes.
void DistanceDeep(benchmark::State& State, BlockDistanceDeepSig* pFn)
{
    auto a = DeepPicture(1), b = DeepPicture(2);
    for (auto _ : State) benchmark::DoNotOptimize(pFn(Middle(a), 2 * kStep, Middle(b), 2 * kStep));
}

// Differences beyond those of 10 bits.
void DistanceFar(benchmark::State& State, BlockDistanceDeepSig* pFn)
{
    auto a = DeepPicture(1), b = DeepPicture(2);
    for (uint16_t& s : b) s = static_cast<uint16_t>(s + 2000);
    for (auto _ : State) benchmark::DoNotOptimize(pFn(Middle(a), 2 * kStep, Middle(b), 2 * kStep));
}

void FourDistancesDeep(benchmark::State& State, FourDistancesDeepSig* pFn)
{
    auto a = DeepPicture(1), b = DeepPicture(2);
    const uint16_t* const ppB[4]{Middle(b), Middle(b) + 1, Middle(b) - 1, Middle(b) + kStep};
    int32_t Sum[4];
    for (auto _ : State) {
        pFn(Middle(a), 2 * kStep, ppB, 2 * kStep, Sum);
        benchmark::DoNotOptimize(Sum);
    }
}

void AverageDistanceDeep(benchmark::State& State, AverageDistanceDeepSig* pFn)
{
    auto s = DeepPicture(1), a = DeepPicture(2), b = DeepPicture(3);
    for (auto _ : State)
        benchmark::DoNotOptimize(pFn(Middle(s), 2 * kStep, Middle(a), 2 * kStep, Middle(b), 2 * kStep));
}

void CountEdgesDeep(benchmark::State& State, CountEdgesDeepSig* pFn)
{
    auto a = DeepPicture(1);
    for (auto _ : State) benchmark::DoNotOptimize(pFn(Middle(a), 2 * kStep, 20));
}

#define DISTANCE(Size) RegisterTiers(kSad##Size, Distance), RegisterTiers(kSatd##Size, Distance)
#define DISTANCE_DEEP(Size)                                                                                            \
    RegisterTiers(kSad##Size##Deep, DistanceDeep), RegisterTiers(kSatd##Size##Deep, DistanceDeep)
const bool s_Rows[]{DISTANCE(16x16),
                    DISTANCE(16x8),
                    DISTANCE(8x16),
                    DISTANCE(8x8),
                    DISTANCE(8x4),
                    DISTANCE(4x8),
                    DISTANCE(4x4),
                    RegisterTiers(kSad16x16x4, FourDistances),
                    RegisterTiers(kCountEdges16x16, CountEdges),
                    RegisterTiers(kSatd8x8By8, Distance),
                    DISTANCE_DEEP(16x16),
                    DISTANCE_DEEP(16x8),
                    DISTANCE_DEEP(8x16),
                    DISTANCE_DEEP(8x8),
                    DISTANCE_DEEP(8x4),
                    DISTANCE_DEEP(4x8),
                    DISTANCE_DEEP(4x4),
                    RegisterTiers(kSatd8x8By8Deep, DistanceDeep),
                    RegisterTiers(kSatd8x8By8Deep, DistanceFar, "far"),
                    RegisterTiers(kLargestSad4x4Of16x16Deep, DistanceDeep),
                    RegisterTiers(kLargestSad4x4Of8x8Deep, DistanceDeep),
                    RegisterTiers(kSad16x16x4Deep, FourDistancesDeep),
                    RegisterTiers(kSadAverage16x16Deep, AverageDistanceDeep),
                    RegisterTiers(kCountEdges16x16Deep, CountEdgesDeep)};

} // namespace
