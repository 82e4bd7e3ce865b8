// The colour conversions on a picture of 640 x 360.
#include "kernels/convert/convert_rows.h"

#include "bench/kernels/kernel_bench.h"

namespace {

using namespace kernels;
using namespace kernel_bench;

constexpr int32_t kWidth = 640, kHeight = 360, kRowStep = kWidth * 4; // a row of the widest layout

std::vector<uint8_t> Plane(unsigned Seed)
{
    std::vector<uint8_t> Samples(static_cast<size_t>(kRowStep) * kHeight);
    for (uint8_t& Sample : Samples) Sample = static_cast<uint8_t>((Seed = Seed * 1664525 + 1013904223) >> 24);
    return Samples;
}

void Convert(benchmark::State& State, ConvertSig* pFn)
{
    const auto a = Plane(1), b = Plane(2), c = Plane(3);
    auto d = Plane(4), e = Plane(5), f = Plane(6);
    const SourcePlanes From{{a.data(), b.data(), c.data()}, {kRowStep, kRowStep, kRowStep}};
    const TargetPlanes To{{d.data(), e.data(), f.data()}, {kRowStep, kRowStep, kRowStep}};
    for (auto _ : State) {
        pFn(&From, &To, kWidth, kHeight);
        benchmark::ClobberMemory();
    }
    State.SetItemsProcessed(State.iterations() * kWidth * kHeight);
}

void Narrow(benchmark::State& State, NarrowSig* pFn)
{
    const auto From = Plane(1);
    auto To = Plane(2);
    for (auto _ : State) {
        pFn(From.data(), kRowStep, To.data(), kRowStep, kWidth, kHeight, 10);
        benchmark::ClobberMemory();
    }
    State.SetItemsProcessed(State.iterations() * kWidth * kHeight);
}

const bool s_Rows[]{
#define CONVERSION(A, B, ...) RegisterTiers(k##A##To##B, Convert),
#include "tests/kernels/conversions.def"
#undef CONVERSION
    RegisterTiers(kCopyYuv422, Convert), RegisterTiers(kNarrow16uTo8u, Narrow)};

} // namespace
