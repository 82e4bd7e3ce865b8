#include "kernels/interpolation/interpolation_rows.h"

#include "bench/kernels/kernel_bench.h"

namespace {

using namespace kernels;
using namespace kernel_bench;

// All sixteen offsets of one 16, 8 or 4 columns wide block in turn.
template <int Size>
void Luma(benchmark::State& State, InterpolateLumaSig* pFn)
{
    auto Source = Picture(1), Target = Picture(2);
    int Frac = 0;
    for (auto _ : State) {
        pFn(Middle(Source), kStep, Middle(Target), kStep, Frac & 3, Frac >> 2, Size);
        Frac = (Frac + 1) & 15;
        benchmark::ClobberMemory();
    }
}

template <int Size>
void Chroma(benchmark::State& State, InterpolateChromaSig* pFn)
{
    auto u = Picture(1), v = Picture(2), Target = Picture(3);
    for (auto _ : State) {
        pFn(Middle(u), Middle(v), kStep, Middle(Target), Middle(Target) + 16, kStep, 3, 5, Size);
        benchmark::ClobberMemory();
    }
}

template <int Size>
void Average(benchmark::State& State, AverageBlockSig* pFn)
{
    auto a = Picture(1), Target = Picture(2);
    for (auto _ : State) {
        pFn(Middle(a), kStep, Middle(Target), kStep, Size);
        benchmark::ClobberMemory();
    }
}

template <int Size>
void Weight(benchmark::State& State, WeightBlockSig* pFn)
{
    auto Target = Picture(2);
    for (auto _ : State) {
        pFn(Middle(Target), kStep, Size, 5, 34, -1);
        benchmark::ClobberMemory();
    }
}

template <int Size>
void BiWeight(benchmark::State& State, BiWeightBlockSig* pFn)
{
    auto a = Picture(1), Target = Picture(2);
    for (auto _ : State) {
        pFn(Middle(a), kStep, Middle(Target), kStep, Size, 5, 40, 24, 1);
        benchmark::ClobberMemory();
    }
}

void Clamped(benchmark::State& State, CopyClampedSig* pFn)
{
    auto Source = Picture(1), Target = Picture(2);
    for (auto _ : State) {
        pFn(Source.data(), kStep, kStep, kStep, -7, -3, Middle(Target), kStep, 21, 21);
        benchmark::ClobberMemory();
    }
}

template <int Size>
void Copy(benchmark::State& State, CopyBlockSig* pFn)
{
    auto Source = Picture(1), Target = Picture(2);
    for (auto _ : State) {
        pFn(Middle(Source), kStep, Middle(Target), kStep, Size);
        benchmark::ClobberMemory();
    }
}

// Samples of 2 bytes, blocks of 16 columns or 8 of chroma.
void LumaDeep(benchmark::State& State, InterpolateLumaDeepSig* pFn)
{
    auto Source = DeepPicture(1), Target = DeepPicture(2);
    int Frac = 0;
    for (auto _ : State) {
        pFn(Middle(Source), 2 * kStep, Middle(Target), 2 * kStep, Frac & 3, Frac >> 2, 16, 16, 10);
        Frac = (Frac + 1) & 15;
        benchmark::ClobberMemory();
    }
}

void ChromaDeep(benchmark::State& State, InterpolateChromaDeepSig* pFn)
{
    auto u = DeepPicture(1), v = DeepPicture(2), Target = DeepPicture(3);
    for (auto _ : State) {
        pFn(Middle(u), Middle(v), 2 * kStep, Middle(Target), Middle(Target) + 16, 2 * kStep, 3, 5, 8, 8);
        benchmark::ClobberMemory();
    }
}

void AverageDeep(benchmark::State& State, AverageBlockDeepSig* pFn)
{
    auto a = DeepPicture(1), Target = DeepPicture(2);
    for (auto _ : State) {
        pFn(Middle(a), 2 * kStep, Middle(Target), 2 * kStep, 16, 16);
        benchmark::ClobberMemory();
    }
}

void WeightDeep(benchmark::State& State, WeightBlockDeepSig* pFn)
{
    auto Target = DeepPicture(2);
    for (auto _ : State) {
        pFn(Middle(Target), 2 * kStep, 16, 16, 5, 34, -4, 10);
        benchmark::ClobberMemory();
    }
}

void BiWeightDeep(benchmark::State& State, BiWeightBlockDeepSig* pFn)
{
    auto a = DeepPicture(1), Target = DeepPicture(2);
    for (auto _ : State) {
        pFn(Middle(a), 2 * kStep, Middle(Target), 2 * kStep, 16, 16, 5, 40, 24, 4, 10);
        benchmark::ClobberMemory();
    }
}

void CopyDeep(benchmark::State& State, CopyBlockDeepSig* pFn)
{
    auto Source = DeepPicture(1), Target = DeepPicture(2);
    for (auto _ : State) {
        pFn(Middle(Source), 2 * kStep, Middle(Target), 2 * kStep, 16, 16);
        benchmark::ClobberMemory();
    }
}

void HalfPlaneDeep(benchmark::State& State, HalfPlaneDeepSig* pFn)
{
    auto Source = DeepPicture(1), Target = DeepPicture(2);
    for (auto _ : State) {
        pFn(Middle(Source), 2 * kStep, Middle(Target), 2 * kStep, 10);
        benchmark::ClobberMemory();
    }
}

#define BLEND(Size)                                                                                                    \
    RegisterTiers(kAverageBlock##Size, Average<Size>), RegisterTiers(kWeightBlock##Size, Weight<Size>),                \
        RegisterTiers(kBiWeightBlock##Size, BiWeight<Size>)
const bool s_Rows[]{RegisterTiers(kInterpolateLuma16, Luma<16>),
                    RegisterTiers(kInterpolateLuma8, Luma<8>),
                    RegisterTiers(kInterpolateLuma4, Luma<4>),
                    RegisterTiers(kInterpolateChroma8, Chroma<8>),
                    RegisterTiers(kInterpolateChroma4, Chroma<4>),
                    RegisterTiers(kInterpolateChroma2, Chroma<2>),
                    BLEND(16),
                    BLEND(8),
                    BLEND(4),
                    BLEND(2),
                    RegisterTiers(kInterpolateLumaDeep, LumaDeep),
                    RegisterTiers(kInterpolateChromaDeep, ChromaDeep),
                    RegisterTiers(kAverageBlockDeep, AverageDeep),
                    RegisterTiers(kWeightBlockDeep, WeightDeep),
                    RegisterTiers(kBiWeightBlockDeep, BiWeightDeep),
                    RegisterTiers(kCopyClamped, Clamped),
                    RegisterTiers(kCopyBlock16, Copy<16>),
                    RegisterTiers(kCopyBlock8, Copy<8>),
                    RegisterTiers(kCopyBlockDeep, CopyDeep),
                    RegisterTiers(kHalfPlaneRightDeep, HalfPlaneDeep),
                    RegisterTiers(kHalfPlaneDownDeep, HalfPlaneDeep),
                    RegisterTiers(kHalfPlaneBothDeep, HalfPlaneDeep)};

} // namespace
