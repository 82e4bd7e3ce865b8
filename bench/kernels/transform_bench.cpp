#include "kernels/transform/transform_rows.h"

#include <algorithm>

#include "bench/kernels/kernel_bench.h"

namespace {

using namespace kernels;
using namespace kernel_bench;

struct Macroblock {
    alignas(16) int16_t Coefficients[256];
    alignas(16) int16_t Dc[16];
    alignas(16) int16_t Scale[16];
    QuantParams Quant;

    Macroblock()
    {
        for (int i = 0; i < 256; ++i) Coefficients[i] = static_cast<int16_t>(i % 16 < 5 ? i * 37 % 200 - 100 : 0);
        for (int i = 0; i < 16; ++i) Dc[i] = static_cast<int16_t>(i * 29 % 100 - 50);
        std::fill_n(Scale, 16, int16_t{16 * 13});
        std::fill_n(Quant.Factor, 16, uint16_t{8066});
        Quant.Shift = 19;
        Quant.Rounding = (1u << 19) / 6;
    }
};

// The inverse forms clear what they read, so each call begins with a copy of all coefficients.
void AddOne(benchmark::State& State, AddResidualSig* pFn)
{
    const Macroblock Before;
    Macroblock m;
    auto Target = Picture(1);
    for (auto _ : State) {
        std::copy_n(Before.Coefficients, 64, m.Coefficients);
        pFn(m.Coefficients, Middle(Target), kStep);
        benchmark::ClobberMemory();
    }
}

void AddOneDeep(benchmark::State& State, AddResidualDeepSig* pFn)
{
    const Macroblock Before;
    alignas(16) int32_t Coefficients[64];
    auto Target = DeepPicture(1);
    for (auto _ : State) {
        std::copy_n(Before.Coefficients, 64, Coefficients);
        pFn(Coefficients, Middle(Target), 2 * kStep, 10);
        benchmark::ClobberMemory();
    }
}

void AddBlocks(benchmark::State& State, AddResidualLumaSig* pFn)
{
    const Macroblock Before;
    Macroblock m;
    auto Target = Picture(1);
    for (auto _ : State) {
        std::copy_n(Before.Coefficients, 256, m.Coefficients);
        pFn(m.Coefficients, Middle(Target), kStep, 0xFFFF);
        benchmark::ClobberMemory();
    }
}

void InverseDc(benchmark::State& State, InverseLumaDcSig* pFn)
{
    Macroblock m;
    for (auto _ : State) {
        pFn(m.Dc, 208, 4, m.Coefficients);
        benchmark::ClobberMemory();
    }
}

void Forward(benchmark::State& State, ForwardQuantSig* pFn)
{
    Macroblock m;
    auto a = Picture(1), b = Picture(2);
    for (auto _ : State) benchmark::DoNotOptimize(pFn(Middle(a), kStep, Middle(b), kStep, m.Coefficients, &m.Quant));
}

void ForwardAc(benchmark::State& State, ForwardQuantAcSig* pFn)
{
    Macroblock m;
    auto a = Picture(1), b = Picture(2);
    for (auto _ : State)
        benchmark::DoNotOptimize(pFn(Middle(a), kStep, Middle(b), kStep, m.Coefficients, m.Dc, &m.Quant));
}

void ForwardDc(benchmark::State& State, ForwardDcSig* pFn)
{
    Macroblock m;
    for (auto _ : State) benchmark::DoNotOptimize(pFn(m.Dc, 8066, m.Quant.Rounding, m.Quant.Shift));
}

void Dequant(benchmark::State& State, DequantBlocksSig* pFn)
{
    Macroblock m;
    for (auto _ : State) {
        pFn(m.Coefficients, 0xFFFF, 16, m.Scale, 4, 0);
        benchmark::ClobberMemory();
    }
}

const bool s_Rows[]{RegisterTiers(kAddResidual4x4, AddOne),         RegisterTiers(kAddResidual8x8, AddOne),
                    RegisterTiers(kAddResidual4x4Deep, AddOneDeep), RegisterTiers(kAddResidual8x8Deep, AddOneDeep),
                    RegisterTiers(kAddResidualLuma4x4, AddBlocks),  RegisterTiers(kAddResidualLuma8x8, AddBlocks),
                    RegisterTiers(kAddResidualChroma, AddBlocks),   RegisterTiers(kInverseLumaDc, InverseDc),
                    RegisterTiers(kInverseChromaDc420, InverseDc),  RegisterTiers(kForwardQuant16x16, Forward),
                    RegisterTiers(kForwardQuant4x4, Forward),       RegisterTiers(kForwardQuantAc16x16, ForwardAc),
                    RegisterTiers(kForwardQuantAc8x8, ForwardAc),   RegisterTiers(kForwardLumaDc, ForwardDc),
                    RegisterTiers(kForwardChromaDc420, ForwardDc),  RegisterTiers(kDequantBlocks, Dequant)};

} // namespace
