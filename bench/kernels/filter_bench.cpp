#include "kernels/filter/filter_rows.h"

#include "bench/kernels/plane_bench.h"

namespace {

using namespace kernels;
using namespace kernel_bench;

template <int32_t Mask>
constexpr int32_t kBorder = Mask / 22; // 1 or 2

template <int32_t Mask>
void Gauss(benchmark::State& State, FilterGauss8uSig* pFn)
{
    const auto Source = Plane(1);
    auto Target = Source;
    constexpr auto First = static_cast<size_t>(kBorder<Mask> * (kPlaneWidth + 1));
    for (auto _ : State)
        pFn(&Source[First], kPlaneWidth, &Target[First], kPlaneWidth, kPlaneWidth - 2 * kBorder<Mask>,
            kPlaneHeight - 2 * kBorder<Mask>, Mask);
    CountSamples(State);
}

template <int32_t Mask>
void Mean(benchmark::State& State, FilterMean32fSig* pFn)
{
    const auto Source = FloatPlane(1);
    auto Target = Source;
    constexpr auto First = static_cast<size_t>(kBorder<Mask> * (kPlaneWidth + 1));
    for (auto _ : State)
        pFn(&Source[First], kFloatStep, &Target[First], kFloatStep, kPlaneWidth - 2 * kBorder<Mask>,
            kPlaneHeight - 2 * kBorder<Mask>, Mask);
    CountSamples(State);
}

const bool s_Rows[]{
    RegisterTiers(kFilterGauss8u, Gauss<kMask3x3>, "3x3"), RegisterTiers(kFilterGauss8u, Gauss<kMask5x5>, "5x5"),
    RegisterTiers(kFilterMean32f, Mean<kMask3x3>, "3x3"), RegisterTiers(kFilterMean32f, Mean<kMask5x5>, "5x5")};

} // namespace
