// What treating a camera picture of 1280x720 costs, each feature alone and all together, through the interface.
#include "quilvex/Quilvex.h"
#include "tools/common/green_screen.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace {

constexpr FrameSize kSize{1280, 720};
constexpr int32_t kPitch = kSize.Width * 3;

struct Features {
    int32_t Keying, Smoothing;
    float Brightness;
};

void TreatFrames(benchmark::State& State, Features Set)
{
    IVideoProcess* const pProcess = CreateVideoProcess();
    const GreenScreen Scene(kSize, 30);
    std::vector<uint8_t> Source, Background, Frame;
    Scene.Render(0, Source);
    RenderLandscape(kSize, Background);
    pProcess->SetBackgroundImage(kSize.Width, kSize.Height, Background.data(), kPitch);
    pProcess->SetKeyingEnabled(Set.Keying);
    pProcess->SetSmoothingEnabled(Set.Smoothing);
    pProcess->SetBrightness(Set.Brightness);
    for (auto _ : State) {
        State.PauseTiming();
        Frame = Source; // treating what was treated would change the work
        State.ResumeTiming();
        pProcess->ProcessFrame(kSize.Width, kSize.Height, Frame.data(), kPitch);
    }
    State.SetItemsProcessed(State.iterations());
    pProcess->Release();
}

BENCHMARK_CAPTURE(TreatFrames, smoothing, Features{0, 1, 0.0f})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(TreatFrames, brightness, Features{0, 0, 0.3f})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(TreatFrames, keying, Features{1, 0, 0.0f})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(TreatFrames, together, Features{1, 1, 0.3f})->Unit(benchmark::kMillisecond);

} // namespace
