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

// 8x8 blocks.
struct Macroblock8x8 : Macroblock {
    alignas(16) int16_t Scale8x8[64];
    QuantParams8x8 Quant8x8;

    explicit Macroblock8x8(int16_t FirstScale = 16 * 20)
    {
        std::fill_n(Scale8x8, 64, int16_t{16 * 20});
        Scale8x8[0] = FirstScale;
        std::fill_n(Quant8x8.Factor, 64, uint16_t{12222});
        Quant8x8.Shift = 20;
        Quant8x8.Rounding = (1u << 20) / 6;
    }
};

void Forward8x8(benchmark::State& State, ForwardQuant8x8Sig* pFn)
{
    Macroblock8x8 m;
    auto a = Picture(1), b = Picture(2);
    for (auto _ : State) benchmark::DoNotOptimize(pFn(Middle(a), kStep, Middle(b), kStep, m.Coefficients, &m.Quant8x8));
}

void Dequant8x8(benchmark::State& State, DequantBlocks8x8Sig* pFn)
{
    Macroblock8x8 m;
    for (auto _ : State) {
        pFn(m.Coefficients, 15, 4, m.Scale8x8, 4);
        benchmark::ClobberMemory();
    }
}

// Scales of a matrix, which leave something to round.
void Dequant8x8Matrix(benchmark::State& State, DequantBlocks8x8Sig* pFn)
{
    Macroblock8x8 m(9 * 20 + 1);
    for (auto _ : State) {
        pFn(m.Coefficients, 15, 4, m.Scale8x8, 4);
        benchmark::ClobberMemory();
    }
}

// Samples of 2 bytes.
struct DeepMacroblock : Macroblock8x8 {
    alignas(16) int32_t Deep[256];
    alignas(16) int32_t DeepDc[16];

    DeepMacroblock()
    {
        std::copy_n(Coefficients, 256, Deep);
        std::copy_n(Dc, 16, DeepDc);
    }
};

void AddBlocksDeep(benchmark::State& State, AddResidualLumaDeepSig* pFn)
{
    const DeepMacroblock Before;
    DeepMacroblock m;
    auto Target = DeepPicture(1);
    for (auto _ : State) {
        std::copy_n(Before.Deep, 256, m.Deep);
        pFn(m.Deep, Middle(Target), 2 * kStep, 0xFFFF, 10);
        benchmark::ClobberMemory();
    }
}

// Coefficients as large as 12 bits may give.
void AddLargeBlocksDeep(benchmark::State& State, AddResidualLumaDeepSig* pFn)
{
    DeepMacroblock Before, m;
    for (int32_t& c : Before.Deep) c *= 100;
    auto Target = DeepPicture(1);
    for (auto _ : State) {
        std::copy_n(Before.Deep, 256, m.Deep);
        pFn(m.Deep, Middle(Target), 2 * kStep, 0xFFFF, 12);
        benchmark::ClobberMemory();
    }
}

void ForwardDeep(benchmark::State& State, ForwardQuantDeepSig* pFn)
{
    DeepMacroblock m;
    auto a = DeepPicture(1), b = DeepPicture(2);
    for (auto _ : State) benchmark::DoNotOptimize(pFn(Middle(a), 2 * kStep, Middle(b), 2 * kStep, m.Deep, &m.Quant));
}

void Forward8x8Deep(benchmark::State& State, ForwardQuant8x8DeepSig* pFn)
{
    DeepMacroblock m;
    auto a = DeepPicture(1), b = DeepPicture(2);
    for (auto _ : State) benchmark::DoNotOptimize(pFn(Middle(a), 2 * kStep, Middle(b), 2 * kStep, m.Deep, &m.Quant8x8));
}

void ForwardAcDeep(benchmark::State& State, ForwardQuantAcDeepSig* pFn)
{
    DeepMacroblock m;
    auto a = DeepPicture(1), b = DeepPicture(2);
    for (auto _ : State)
        benchmark::DoNotOptimize(pFn(Middle(a), 2 * kStep, Middle(b), 2 * kStep, m.Deep, m.DeepDc, &m.Quant));
}

void ForwardDcDeep(benchmark::State& State, ForwardDcDeepSig* pFn)
{
    DeepMacroblock m;
    for (auto _ : State) benchmark::DoNotOptimize(pFn(m.DeepDc, 8066, m.Quant.Rounding, m.Quant.Shift));
}

void DequantDeep(benchmark::State& State, DequantBlocksDeepSig* pFn)
{
    DeepMacroblock m;
    for (auto _ : State) {
        pFn(m.Deep, 0xFFFF, 16, m.Scale, 4, 0);
        benchmark::ClobberMemory();
    }
}

void Dequant8x8Deep(benchmark::State& State, DequantBlocks8x8DeepSig* pFn)
{
    DeepMacroblock m;
    for (auto _ : State) {
        pFn(m.Deep, 15, 4, m.Scale8x8, 4);
        benchmark::ClobberMemory();
    }
}

const bool s_Rows[]{RegisterTiers(kAddResidual4x4, AddOne),
                    RegisterTiers(kAddResidual8x8, AddOne),
                    RegisterTiers(kAddResidual4x4Deep, AddOneDeep),
                    RegisterTiers(kAddResidual8x8Deep, AddOneDeep),
                    RegisterTiers(kAddResidualLuma4x4, AddBlocks),
                    RegisterTiers(kAddResidualLuma8x8, AddBlocks),
                    RegisterTiers(kAddResidualChroma, AddBlocks),
                    RegisterTiers(kInverseLumaDc, InverseDc),
                    RegisterTiers(kInverseChromaDc420, InverseDc),
                    RegisterTiers(kForwardQuant16x16, Forward),
                    RegisterTiers(kForwardQuant4x4, Forward),
                    RegisterTiers(kForwardQuantAc16x16, ForwardAc),
                    RegisterTiers(kForwardQuantAc8x8, ForwardAc),
                    RegisterTiers(kForwardLumaDc, ForwardDc),
                    RegisterTiers(kForwardChromaDc420, ForwardDc),
                    RegisterTiers(kDequantBlocks, Dequant),
                    RegisterTiers(kForwardQuant8x8, Forward8x8),
                    RegisterTiers(kForwardQuant8x8Of16x16, Forward8x8),
                    RegisterTiers(kForwardChromaDc422, ForwardDc),
                    RegisterTiers(kDequantBlocks8x8, Dequant8x8),
                    RegisterTiers(kDequantBlocks8x8, Dequant8x8Matrix, "matrix"),
                    RegisterTiers(kAddResidualLuma4x4Deep, AddBlocksDeep),
                    RegisterTiers(kAddResidualLuma8x8Deep, AddBlocksDeep),
                    RegisterTiers(kAddResidualLuma8x8Deep, AddLargeBlocksDeep, "large"),
                    RegisterTiers(kAddResidualChromaDeep, AddBlocksDeep),
                    RegisterTiers(kForwardQuant16x16Deep, ForwardDeep),
                    RegisterTiers(kForwardQuant4x4Deep, ForwardDeep),
                    RegisterTiers(kForwardQuant8x8Deep, Forward8x8Deep),
                    RegisterTiers(kForwardQuant8x8Of16x16Deep, Forward8x8Deep),
                    RegisterTiers(kForwardQuantAc16x16Deep, ForwardAcDeep),
                    RegisterTiers(kForwardQuantAc8x8Deep, ForwardAcDeep),
                    RegisterTiers(kForwardLumaDcDeep, ForwardDcDeep),
                    RegisterTiers(kForwardChromaDc420Deep, ForwardDcDeep),
                    RegisterTiers(kForwardChromaDc422Deep, ForwardDcDeep),
                    RegisterTiers(kDequantBlocksDeep, DequantDeep),
                    RegisterTiers(kDequantBlocks8x8Deep, Dequant8x8Deep)};

} // namespace
