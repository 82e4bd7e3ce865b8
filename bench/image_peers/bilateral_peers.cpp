// Sigma squared is 200 for values and positions. The kernel's nine taps lie on a grid of 6 in a window of 13.
// OpenCV's lie in a circle and fill it: a diameter of 3 gives 5 taps, 5 gives 13.
#include "bench/image_peers/image_peers.h"

#include <cmath>

#include <opencv2/imgproc.hpp>

#include "kernels/dispatch/kernels.h"

namespace {

using namespace image_peers;

constexpr int kSide = 13, kBorder = kSide / 2, kStepInKernel = 6;
constexpr float kSquareSigma = 200.0f;

void Bilateral(benchmark::State& State)
{
    const auto Source = Picture(1);
    auto Target = Source;
    constexpr int Width = kWidth - 2 * kBorder, Height = kHeight - 2 * kBorder;
    int32_t Size = 0;
    kernels::g_Kernels.BilateralGetSize(kernels::kBilateralGauss, Width, Height, kSide, kSide, &Size);
    std::vector<uint8_t> Buffer(static_cast<size_t>(Size));
    kernels::g_Kernels.BilateralInit(kernels::kBilateralGauss, kSide, kSide, kSquareSigma, kSquareSigma, kStepInKernel,
                                     Buffer.data());
    constexpr size_t First = size_t{kBorder} * kWidth + kBorder;
    for (auto _ : State)
        kernels::g_Kernels.BilateralFilter(&Source[First], kWidth, &Target[First], kWidth, Width, Height, kSide, kSide,
                                           Buffer.data());
    CountPixels(State);
}
BENCHMARK(Bilateral)->Name("BilateralFilter/quilvex/taps:9");

void OpenCvBilateral(benchmark::State& State)
{
    auto Source = Picture(1), Target = Source;
    const cv::Mat From = Matrix(Source, 1);
    cv::Mat To = Matrix(Target, 1);
    const double Sigma = std::sqrt(kSquareSigma);
    for (auto _ : State) cv::bilateralFilter(From, To, static_cast<int>(State.range(0)), Sigma, Sigma);
    CountPixels(State);
}
BENCHMARK(OpenCvBilateral)->Arg(3)->Arg(5)->ArgName("d")->Name("BilateralFilter/opencv");

} // namespace
