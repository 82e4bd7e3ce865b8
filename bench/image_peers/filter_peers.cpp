#include "bench/image_peers/image_peers.h"

#include <opencv2/imgproc.hpp>

#include "kernels/dispatch/image_kernels.h"

namespace {

using namespace image_peers;

void Gauss(benchmark::State& State)
{
    const auto Source = Picture(1);
    auto Target = Source;
    const auto Mask = static_cast<int32_t>(State.range(0));
    const int Side = Mask / 11, Border = Side / 2;
    const size_t First = static_cast<size_t>(Border * kWidth + Border);
    for (auto _ : State)
        kernels::FilterGauss8u(&Source[First], kWidth, &Target[First], kWidth, kWidth - 2 * Border,
                               kHeight - 2 * Border, Mask);
    CountPixels(State);
}
BENCHMARK(Gauss)->Arg(kernels::kMask3x3)->Arg(kernels::kMask5x5)->Name("FilterGauss8u/quilvex");

void OpenCvGauss(benchmark::State& State)
{
    auto Source = Picture(1), Target = Source;
    const cv::Mat From = Matrix(Source, 1);
    cv::Mat To = Matrix(Target, 1);
    const int Side = static_cast<int>(State.range(0)) / 11;
    for (auto _ : State) cv::GaussianBlur(From, To, {Side, Side}, 0); // of sigma 0 come the binomial weights
    CountPixels(State);
}
BENCHMARK(OpenCvGauss)->Arg(kernels::kMask3x3)->Arg(kernels::kMask5x5)->Name("FilterGauss8u/opencv");

} // namespace
