#include "kernels/arithmetic/arithmetic_rows.h"

#include "bench/kernels/plane_bench.h"

namespace {

using namespace kernels;
using namespace kernel_bench;

void Subtract(benchmark::State& State, Sub8uSig* pFn)
{
    const auto a = Plane(1), b = Plane(2);
    auto Target = a;
    for (auto _ : State)
        pFn(a.data(), kPlaneWidth, b.data(), kPlaneWidth, Target.data(), kPlaneWidth, kPlaneWidth, kPlaneHeight, 0);
    CountSamples(State);
}

void SubtractInPlace(benchmark::State& State, SubInPlace8uSig* pFn)
{
    const auto Source = Plane(1);
    auto Target = Plane(2);
    for (auto _ : State) pFn(Source.data(), kPlaneWidth, Target.data(), kPlaneWidth, kPlaneWidth, kPlaneHeight, 0);
    CountSamples(State);
}

void AddBytes(benchmark::State& State, Add8uSig* pFn)
{
    const auto a = Plane(1), b = Plane(2);
    auto Target = a;
    for (auto _ : State)
        pFn(a.data(), kPlaneWidth, b.data(), kPlaneWidth, Target.data(), kPlaneWidth, kPlaneWidth, kPlaneHeight);
    CountSamples(State);
}

void MultiplyBytes(benchmark::State& State, MulConst8uInPlaceSig* pFn)
{
    auto Samples = Plane(1);
    for (auto _ : State) pFn(131, Samples.data(), kPlaneWidth, kPlaneWidth, kPlaneHeight, 8);
    CountSamples(State);
}

// 1 keeps the values what they are under a product, and takes thousands of differences to leave the plane's range.
void Constant(benchmark::State& State, ConstantSig* pFn)
{
    auto Samples = FloatPlane(1);
    for (auto _ : State) pFn(1.0f, Samples.data(), kFloatStep, kPlaneWidth, kPlaneHeight);
    CountSamples(State);
}

// Sums grow slowly; a product with itself would run into numbers too small for the normal form.
void Pair(benchmark::State& State, PlanePairSig* pFn)
{
    const std::vector<float> Source(kPlaneSamples, 1.0f);
    auto Target = FloatPlane(2);
    for (auto _ : State) pFn(Source.data(), kFloatStep, Target.data(), kFloatStep, kPlaneWidth, kPlaneHeight);
    CountSamples(State);
}

void ToFloats(benchmark::State& State, Convert8uTo32fSig* pFn)
{
    const auto Source = Plane(1);
    auto Target = FloatPlane(1);
    for (auto _ : State) pFn(Source.data(), kPlaneWidth, Target.data(), kFloatStep, kPlaneWidth, kPlaneHeight);
    CountSamples(State);
}

void ToBytes(benchmark::State& State, Convert32fTo8uSig* pFn)
{
    const auto Source = FloatPlane(1);
    auto Target = Plane(1);
    for (auto _ : State)
        pFn(Source.data(), kFloatStep, Target.data(), kPlaneWidth, kPlaneWidth, kPlaneHeight, kRoundNearest);
    CountSamples(State);
}

void Clamp(benchmark::State& State, ClampThreshold32fSig* pFn)
{
    auto Samples = FloatPlane(1);
    for (auto _ : State) pFn(Samples.data(), kFloatStep, kPlaneWidth, kPlaneHeight, 0.3f, 0.3f, 0.7f, 0.7f);
    CountSamples(State);
}

const bool s_Rows[]{RegisterTiers(kSub8u, Subtract),
                    RegisterTiers(kSubInPlace8u, SubtractInPlace),
                    RegisterTiers(kAdd8u, AddBytes),
                    RegisterTiers(kMulConst8uInPlace, MultiplyBytes),
                    RegisterTiers(kSubConst, Constant),
                    RegisterTiers(kMulConst, Constant),
                    RegisterTiers(kAdd, Pair),
                    RegisterTiers(kMul, Pair),
                    RegisterTiers(kConvert8uTo32f, ToFloats),
                    RegisterTiers(kConvert32fTo8u, ToBytes),
                    RegisterTiers(kClampThreshold32f, Clamp)};

} // namespace
