// The counter "apart" of ours is the largest difference from OpenCV's result, the border left aside.
#include "bench/image_peers/image_peers.h"

#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

#include "kernels/dispatch/kernels.h"

namespace {

using namespace image_peers;

void Filter(const std::vector<uint8_t>& Source, std::vector<uint8_t>& Target, int Mask)
{
    const int Border = Mask / 11 / 2, First = Border * kWidth + Border;
    kernels::g_Kernels.FilterGauss8u(Source.data() + First, kWidth, Target.data() + First, kWidth, kWidth - 2 * Border,
                                     kHeight - 2 * Border, Mask);
}

void Filter(const std::vector<float>& Source, std::vector<float>& Target, int Mask)
{
    constexpr ptrdiff_t kStep = ptrdiff_t{kWidth} * 4;
    const int Border = Mask / 11 / 2, First = Border * kWidth + Border;
    kernels::g_Kernels.FilterMean32f(Source.data() + First, kStep, Target.data() + First, kStep, kWidth - 2 * Border,
                                     kHeight - 2 * Border, Mask);
}

void PeerFilter(std::vector<uint8_t>& Source, std::vector<uint8_t>& Target, int Mask)
{
    cv::Mat To = Matrix(Target, 1);
    cv::GaussianBlur(Matrix(Source, 1), To, {Mask / 11, Mask / 11}, 0); // of sigma 0 come the binomial weights
}

void PeerFilter(std::vector<float>& Source, std::vector<float>& Target, int Mask)
{
    cv::Mat To(kHeight, kWidth, CV_32F, Target.data());
    cv::blur(cv::Mat(kHeight, kWidth, CV_32F, Source.data()), To, {Mask / 11, Mask / 11});
}

template <class Sample>
double Apart(const std::vector<Sample>& a, const std::vector<Sample>& b, int Border)
{
    double Largest = 0;
    for (int y = Border; y < kHeight - Border; ++y)
        for (int x = Border; x < kWidth - Border; ++x) {
            const auto i = static_cast<size_t>(y * kWidth + x);
            Largest = std::max(Largest, std::abs(static_cast<double>(a[i]) - static_cast<double>(b[i])));
        }
    return Largest;
}

template <class Sample>
std::vector<Sample> Samples()
{
    const auto Bytes = Picture(1);
    return {Bytes.begin(), Bytes.end()};
}

template <class Sample>
void Ours(benchmark::State& State)
{
    auto Source = Samples<Sample>(), Target = Source, Theirs = Source;
    const auto Mask = static_cast<int>(State.range(0));
    for (auto _ : State) Filter(Source, Target, Mask);
    CountPixels(State);
    PeerFilter(Source, Theirs, Mask);
    State.counters["apart"] = Apart(Target, Theirs, Mask / 11 / 2);
}

template <class Sample>
void OpenCv(benchmark::State& State)
{
    auto Source = Samples<Sample>(), Target = Source;
    for (auto _ : State) PeerFilter(Source, Target, static_cast<int>(State.range(0)));
    CountPixels(State);
}

BENCHMARK(Ours<uint8_t>)->Arg(kernels::kMask3x3)->Arg(kernels::kMask5x5)->Name("FilterGauss8u/quilvex");
BENCHMARK(OpenCv<uint8_t>)->Arg(kernels::kMask3x3)->Arg(kernels::kMask5x5)->Name("FilterGauss8u/opencv");
BENCHMARK(Ours<float>)->Arg(kernels::kMask3x3)->Arg(kernels::kMask5x5)->Name("FilterMean32f/quilvex");
BENCHMARK(OpenCv<float>)->Arg(kernels::kMask3x3)->Arg(kernels::kMask5x5)->Name("FilterMean32f/opencv");

} // namespace
