#include "kernels/bilateral/bilateral_rows.h"

#include "bench/kernels/plane_bench.h"

namespace {

using namespace kernels;
using namespace kernel_bench;

// Nine taps, sigma squared 200 for values and positions.
constexpr int32_t kSide = 13, kBorder = kSide / 2, kStepInKernel = 6;
constexpr int32_t kWidth = kPlaneWidth - 2 * kBorder, kHeight = kPlaneHeight - 2 * kBorder;

std::vector<uint8_t> WorkBuffer()
{
    int32_t Size = 0;
    BilateralGetSize_px(kBilateralGauss, kWidth, kHeight, kSide, kSide, &Size);
    return std::vector<uint8_t>(static_cast<size_t>(Size));
}

void Smooth(benchmark::State& State, BilateralFilterSig* pFn)
{
    const auto Source = Plane(1);
    auto Target = Source, Buffer = WorkBuffer();
    BilateralInit_px(kBilateralGauss, kSide, kSide, 200.0f, 200.0f, kStepInKernel, Buffer.data());
    constexpr auto First = static_cast<size_t>(kBorder * (kPlaneWidth + 1));
    for (auto _ : State)
        pFn(&Source[First], kPlaneWidth, &Target[First], kPlaneWidth, kWidth, kHeight, kSide, kSide, Buffer.data());
    CountSamples(State);
}

void MakeTables(benchmark::State& State, BilateralInitSig* pFn)
{
    auto Buffer = WorkBuffer();
    for (auto _ : State) pFn(kBilateralGauss, kSide, kSide, 200.0f, 200.0f, kStepInKernel, Buffer.data());
}

const bool s_Rows[]{RegisterTiers(kBilateralFilter, Smooth), RegisterTiers(kBilateralInit, MakeTables)};

} // namespace
