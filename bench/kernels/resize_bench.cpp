#include "kernels/resize/resize_rows.h"

#include "bench/kernels/kernel_bench.h"

namespace {

using namespace kernels;
using namespace kernel_bench;

std::vector<uint8_t> Noise(size_t Bytes)
{
    std::vector<uint8_t> Samples(Bytes);
    unsigned Seed = 1;
    for (uint8_t& Sample : Samples) {
        Seed = Seed * 1664525 + 1013904223;
        Sample = static_cast<uint8_t>(Seed >> 24);
    }
    return Samples;
}

struct Size {
    int32_t Width, Height;
};

// Bytes processed are the target's.
template <int Channels>
void Resize(benchmark::State& State, ResizeSig* pFn, Size From, Size To, int32_t Type)
{
    const int32_t Step = From.Width * Channels, TargetStep = To.Width * Channels;
    const auto Source = Noise(static_cast<size_t>(Step) * static_cast<size_t>(From.Height));
    std::vector<uint8_t> Target(static_cast<size_t>(TargetStep) * static_cast<size_t>(To.Height));
    for (auto _ : State) {
        pFn(Source.data(), From.Width, From.Height, Step, 0, 0, From.Width, From.Height, Target.data(), TargetStep,
            To.Width, To.Height, static_cast<double>(To.Width) / From.Width,
            static_cast<double>(To.Height) / From.Height, Type);
        benchmark::ClobberMemory();
    }
    State.SetBytesProcessed(State.iterations() * static_cast<int64_t>(Target.size()));
}

template <int Channels>
bool RegisterResizes(KernelRow<ResizeSig> Row)
{
    const std::string Name = Row.Name;
    const auto Register = [&](const char* pTitle, void (*pBody)(benchmark::State&, ResizeSig*)) {
        std::string Title = Name;
        Title.append("/").append(pTitle);
        Row.Name = Title.c_str();
        RegisterTiers(Row, pBody);
    };
    Register("360p_to_720p", [](benchmark::State& s, ResizeSig* p) {
        Resize<Channels>(s, p, {640, 360}, {1280, 720}, kCubic);
    });
    Register("720p_to_360p", [](benchmark::State& s, ResizeSig* p) {
        Resize<Channels>(s, p, {1280, 720}, {640, 360}, kCubic);
    });
    Register("1080p_to_720p", [](benchmark::State& s, ResizeSig* p) {
        Resize<Channels>(s, p, {1920, 1080}, {1280, 720}, kCubic);
    });
    Register("1080p_to_360p_area", [](benchmark::State& s, ResizeSig* p) {
        Resize<Channels>(s, p, {1920, 1080}, {640, 360}, kArea);
    });
    return true;
}

// To 640 x 360 pixels.
template <int Factor, int Channels>
void Shrink(benchmark::State& State, ShrinkSig* pFn)
{
    constexpr int32_t kWidth = 640, kHeight = 360, kRow = kWidth * Channels;
    const auto Source = Noise(size_t{kRow} * kHeight * Factor * Factor);
    std::vector<uint8_t> Target(size_t{kRow} * kHeight);
    for (auto _ : State) {
        pFn(Source.data(), kRow * Factor, Target.data(), kRow, kWidth, kHeight);
        benchmark::ClobberMemory();
    }
    State.SetBytesProcessed(State.iterations() * int64_t{kRow} * kHeight);
}

const bool s_Rows[]{RegisterResizes<1>(kResize8uC1),          RegisterResizes<2>(kResize8uC2),
                    RegisterResizes<3>(kResize8uC3),          RegisterResizes<4>(kResize8uC4),
                    RegisterTiers(kHalve8uC1, Shrink<2, 1>),  RegisterTiers(kHalve8uC2, Shrink<2, 2>),
                    RegisterTiers(kHalve8uC3, Shrink<2, 3>),  RegisterTiers(kHalve8uC4, Shrink<2, 4>),
                    RegisterTiers(kQuarter8uC1, Shrink<4, 1>)};

} // namespace
