#include "kernels/deblocking/deblocking_rows.h"

#include <algorithm>

#include "bench/kernels/kernel_bench.h"

namespace {

using namespace kernels;
using namespace kernel_bench;

// Puts the macroblock and what lies before it back, or it would soon be smooth.
template <class Sample>
void Restore(std::vector<Sample>& Plane, std::vector<Sample>& Before)
{
    for (int y = -4; y < 16; ++y) std::copy_n(Middle(Before) + y * kStep - 4, 20, Middle(Plane) + y * kStep - 4);
}

// Every edge of an inter macroblock is filtered.
EdgeParams AllEdges()
{
    EdgeParams Params{{40, 40}, {10, 10}, {{0, 1, 2, 3}, {0, 1, 2, 3}}, {}};
    std::fill_n(Params.Strength, 16, uint8_t{2});
    return Params;
}

void Luma(benchmark::State& State, FilterEdgesSig* pFn)
{
    auto Before = Picture(1), Plane = Before;
    const EdgeParams Params = AllEdges();
    for (auto _ : State) {
        Restore(Plane, Before);
        pFn(Middle(Plane), kStep, &Params);
        benchmark::ClobberMemory();
    }
}

void Chroma(benchmark::State& State, FilterChromaEdgesSig* pFn)
{
    auto Before = Picture(1), u = Before, v = Before;
    const EdgeParams Params = AllEdges();
    for (auto _ : State) {
        Restore(u, Before);
        Restore(v, Before);
        pFn(Middle(u), Middle(v), kStep, &Params, &Params);
        benchmark::ClobberMemory();
    }
}

// A left edge between pairs of both kinds, whose two parts take every second row.
void LumaMixed(benchmark::State& State, FilterMixedSig* pFn)
{
    auto Before = Picture(1), Plane = Before;
    const EdgeParams Params[2] = {AllEdges(), AllEdges()};
    for (auto _ : State) {
        Restore(Plane, Before);
        pFn(Middle(Plane), kStep, 2 * kStep, Params);
        benchmark::ClobberMemory();
    }
}

void ChromaMixed(benchmark::State& State, FilterChromaMixedSig* pFn)
{
    auto Before = Picture(1), u = Before, v = Before;
    const EdgeParams Params[2] = {AllEdges(), AllEdges()};
    for (auto _ : State) {
        Restore(u, Before);
        Restore(v, Before);
        pFn(Middle(u), Middle(v), kStep, 2 * kStep, Params, Params);
        benchmark::ClobberMemory();
    }
}

void LumaDeep(benchmark::State& State, FilterEdgesDeepSig* pFn)
{
    auto Before = DeepPicture(1), Plane = Before;
    const EdgeParams Params = AllEdges();
    for (auto _ : State) {
        Restore(Plane, Before);
        pFn(Middle(Plane), 2 * kStep, &Params, 10);
        benchmark::ClobberMemory();
    }
}

void ChromaDeep(benchmark::State& State, FilterChromaEdgesDeepSig* pFn)
{
    auto Before = DeepPicture(1), u = Before, v = Before;
    const EdgeParams Params = AllEdges();
    for (auto _ : State) {
        Restore(u, Before);
        Restore(v, Before);
        pFn(Middle(u), Middle(v), 2 * kStep, 8, &Params, &Params, 10);
        benchmark::ClobberMemory();
    }
}

const bool s_Rows[]{RegisterTiers(kFilterLumaVertical, Luma),
                    RegisterTiers(kFilterLumaHorizontal, Luma),
                    RegisterTiers(kFilterChromaVertical, Chroma),
                    RegisterTiers(kFilterChromaHorizontal, Chroma),
                    RegisterTiers(kFilterChroma422Vertical, Chroma),
                    RegisterTiers(kFilterChroma422Horizontal, Chroma),
                    RegisterTiers(kFilterLumaMixed, LumaMixed),
                    RegisterTiers(kFilterChromaMixed, ChromaMixed),
                    RegisterTiers(kFilterChroma422Mixed, ChromaMixed),
                    RegisterTiers(kFilterLumaVerticalDeep, LumaDeep),
                    RegisterTiers(kFilterLumaHorizontalDeep, LumaDeep),
                    RegisterTiers(kFilterChromaVerticalDeep, ChromaDeep),
                    RegisterTiers(kFilterChromaHorizontalDeep, ChromaDeep)};

} // namespace
