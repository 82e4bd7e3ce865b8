#include "kernels/intra/intra_rows.h"

#include "bench/kernels/kernel_bench.h"

namespace {

using namespace kernels;
using namespace kernel_bench;

constexpr unsigned kAll = kLeft | kTop | kTopRight | kTopLeft;

void Whole(benchmark::State& State, PredictIntraSig* pFn)
{
    auto Around = Picture(1), Target = Picture(2);
    for (auto _ : State) {
        pFn(Middle(Around), kStep, Middle(Target), kStep, kAll);
        benchmark::ClobberMemory();
    }
}

// The nine modes in turn.
void Block4x4(benchmark::State& State, PredictIntra4x4Sig* pFn)
{
    auto Around = Picture(1), Target = Picture(2);
    int Mode = 0;
    for (auto _ : State) {
        pFn(Mode, Middle(Around), kStep, Middle(Around) - kStep + 4, Middle(Target), kStep, kAll);
        Mode = Mode == 8 ? 0 : Mode + 1;
        benchmark::ClobberMemory();
    }
}

void Block8x8(benchmark::State& State, PredictIntra8x8Sig* pFn)
{
    auto Around = Picture(1), Target = Picture(2);
    int Mode = 0;
    for (auto _ : State) {
        pFn(Mode, Middle(Around), kStep, Middle(Target), kStep, kAll);
        Mode = Mode == 8 ? 0 : Mode + 1;
        benchmark::ClobberMemory();
    }
}

const bool s_Rows[]{RegisterTiers(kPredict16x16Vertical, Whole),  RegisterTiers(kPredict16x16Horizontal, Whole),
                    RegisterTiers(kPredict16x16Dc, Whole),        RegisterTiers(kPredict16x16Plane, Whole),
                    RegisterTiers(kPredictChromaDc, Whole),       RegisterTiers(kPredictChromaHorizontal, Whole),
                    RegisterTiers(kPredictChromaVertical, Whole), RegisterTiers(kPredictChromaPlane, Whole),
                    RegisterTiers(kPredictIntra4x4, Block4x4),    RegisterTiers(kPredictIntra8x8, Block8x8)};

} // namespace
