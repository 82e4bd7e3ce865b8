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

void Chroma422(benchmark::State& State, PredictModeSig* pFn)
{
    auto Around = Picture(1), Target = Picture(2);
    int Mode = 0;
    for (auto _ : State) {
        pFn(Mode, Middle(Around), kStep, Middle(Target), kStep, kAll);
        Mode = (Mode + 1) & 3;
        benchmark::ClobberMemory();
    }
}

// Samples of 2 bytes: Count modes in turn.
template <int Count>
void ModesDeep(benchmark::State& State, PredictModeDeepSig* pFn)
{
    auto Around = DeepPicture(1), Target = DeepPicture(2);
    int Mode = 0;
    for (auto _ : State) {
        pFn(Mode, Middle(Around), 2 * kStep, Middle(Target), 2 * kStep, kAll, 10);
        Mode = Mode == Count - 1 ? 0 : Mode + 1;
        benchmark::ClobberMemory();
    }
}

void ChromaDeep(benchmark::State& State, PredictChromaDeepSig* pFn)
{
    auto Around = DeepPicture(1), Target = DeepPicture(2);
    int Mode = 0;
    for (auto _ : State) {
        pFn(Mode, 8, Middle(Around), 2 * kStep, Middle(Target), 2 * kStep, kAll, 10);
        Mode = (Mode + 1) & 3;
        benchmark::ClobberMemory();
    }
}

void Block4x4Deep(benchmark::State& State, PredictIntra4x4DeepSig* pFn)
{
    auto Around = DeepPicture(1), Target = DeepPicture(2);
    int Mode = 0;
    for (auto _ : State) {
        pFn(Mode, Middle(Around), 2 * kStep, Middle(Around) - kStep + 4, Middle(Target), 2 * kStep, kAll, 10);
        Mode = Mode == 8 ? 0 : Mode + 1;
        benchmark::ClobberMemory();
    }
}

void AllDeep(benchmark::State& State, PredictAll4x4DeepSig* pFn)
{
    auto Source = DeepPicture(1), Around = DeepPicture(2);
    alignas(16) uint16_t Predictions[9][16];
    int32_t Sad[9];
    for (auto _ : State) {
        pFn(Middle(Source), 2 * kStep, Middle(Around), 2 * kStep, kAll, Predictions, Sad, 10);
        benchmark::ClobberMemory();
    }
}

const bool s_Rows[]{RegisterTiers(kPredict16x16Vertical, Whole),   RegisterTiers(kPredict16x16Horizontal, Whole),
                    RegisterTiers(kPredict16x16Dc, Whole),         RegisterTiers(kPredict16x16Plane, Whole),
                    RegisterTiers(kPredictChromaDc, Whole),        RegisterTiers(kPredictChromaHorizontal, Whole),
                    RegisterTiers(kPredictChromaVertical, Whole),  RegisterTiers(kPredictChromaPlane, Whole),
                    RegisterTiers(kPredictIntra4x4, Block4x4),     RegisterTiers(kPredictIntra8x8, Block8x8),
                    RegisterTiers(kPredictChroma422, Chroma422),   RegisterTiers(kPredict16x16Deep, ModesDeep<4>),
                    RegisterTiers(kPredictChromaDeep, ChromaDeep), RegisterTiers(kPredictIntra4x4Deep, Block4x4Deep),
                    RegisterTiers(kPredictAll4x4Deep, AllDeep),    RegisterTiers(kPredictIntra8x8Deep, ModesDeep<9>)};

} // namespace
