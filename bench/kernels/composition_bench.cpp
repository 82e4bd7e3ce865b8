#include "kernels/composition/composition_rows.h"

#include "bench/kernels/plane_bench.h"

namespace {

using namespace kernels;
using namespace kernel_bench;

void Compose(benchmark::State& State, AlphaComp8uAC4Sig* pFn)
{
    const auto a = Plane(1, 4), b = Plane(2, 4);
    auto Target = a;
    constexpr ptrdiff_t Step = 4 * ptrdiff_t{kPlaneWidth};
    for (auto _ : State)
        pFn(a.data(), Step, b.data(), Step, Target.data(), Step, kPlaneWidth, kPlaneHeight, kAlphaPlus);
    CountSamples(State);
}

const bool s_Rows[]{RegisterTiers(kAlphaComp8uAC4, Compose)};

} // namespace
