#include "kernels/deinterlace/deinterlace_rows.h"

#include "bench/kernels/kernel_bench.h"

namespace {

using namespace kernels;
using namespace kernel_bench;

// A luma plane of 720 rows.
void Blend(benchmark::State& State, DeinterlaceBlendSig* pFn)
{
    constexpr int32_t kWidth = 1280, kHeight = 720;
    std::vector<uint8_t> Source(size_t{kWidth} * kHeight), Target(Source.size());
    for (size_t i = 0; i < Source.size(); ++i) Source[i] = static_cast<uint8_t>(i * 31 >> 3);
    for (auto _ : State) {
        pFn(Source.data(), kWidth, Target.data(), kWidth, kWidth, kHeight, 128, kFilterAllButFirst);
        benchmark::ClobberMemory();
    }
    State.SetBytesProcessed(State.iterations() * int64_t{kWidth} * kHeight);
}

const bool s_Row = RegisterTiers(kDeinterlaceBlend, Blend);

} // namespace
