#include "kernels/memory/memory_rows.h"

#include "bench/kernels/plane_bench.h"

namespace {

using namespace kernels;
using namespace kernel_bench;

void CopyFlat(benchmark::State& State, CopyBytesSig* pFn)
{
    const auto Source = Plane(1);
    auto Target = Source;
    for (auto _ : State) pFn(Source.data(), Target.data(), static_cast<int32_t>(kPlaneSamples));
    CountSamples(State);
}

void SetFlat(benchmark::State& State, SetBytesSig* pFn)
{
    auto Target = Plane(1);
    for (auto _ : State) pFn(255, Target.data(), static_cast<int32_t>(kPlaneSamples));
    CountSamples(State);
}

void CopyPlane(benchmark::State& State, Copy8uSig* pFn)
{
    const auto Source = Plane(1);
    auto Target = Source;
    for (auto _ : State) pFn(Source.data(), kPlaneWidth, Target.data(), kPlaneWidth, kPlaneWidth, kPlaneHeight);
    CountSamples(State);
}

void SetPlane(benchmark::State& State, Set8uSig* pFn)
{
    auto Target = Plane(1);
    for (auto _ : State) pFn(255, Target.data(), kPlaneWidth, kPlaneWidth, kPlaneHeight);
    CountSamples(State);
}

void CopyChannel(benchmark::State& State, CopyChannel8uC1C4Sig* pFn)
{
    const auto Source = Plane(1);
    auto Target = Plane(2, 4);
    for (auto _ : State)
        pFn(Source.data(), kPlaneWidth, Target.data() + 3, 4 * ptrdiff_t{kPlaneWidth}, kPlaneWidth, kPlaneHeight);
    CountSamples(State);
}

const bool s_Rows[]{RegisterTiers(kCopyBytes, CopyFlat), RegisterTiers(kSetBytes, SetFlat),
                    RegisterTiers(kCopy8u, CopyPlane), RegisterTiers(kSet8u, SetPlane),
                    RegisterTiers(kCopyChannel8uC1C4, CopyChannel)};

} // namespace
