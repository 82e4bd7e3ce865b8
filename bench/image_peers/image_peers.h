// What the comparisons of image kernels with other libraries share: pictures of camera size, one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>

namespace image_peers {

inline constexpr int kWidth = 1280, kHeight = 720;

/// A picture of kWidth x kHeight pixels: slow ramps with steps of 40 levels between tiles of 16 and 4 bits of noise.
inline std::vector<uint8_t> Picture(int Channels)
{
    std::vector<uint8_t> Samples(static_cast<size_t>(kWidth) * kHeight * static_cast<size_t>(Channels));
    unsigned Seed = 1;
    for (size_t i = 0; i < Samples.size(); ++i) {
        const size_t x = i / static_cast<size_t>(Channels) % kWidth, y = i / static_cast<size_t>(Channels) / kWidth;
        Seed = Seed * 1664525 + 1013904223;
        Samples[i] = static_cast<uint8_t>(50 + (x / 16 + y / 16) % 2 * 40 + (x + y) / 32 + (Seed >> 28));
    }
    return Samples;
}

/// The samples as a matrix of OpenCV's, which does not own them.
inline cv::Mat Matrix(std::vector<uint8_t>& Samples, int Channels)
{
    return {kHeight, kWidth, CV_MAKETYPE(CV_8U, Channels), Samples.data()};
}

inline void CountPixels(benchmark::State& State) { State.SetItemsProcessed(State.iterations() * kWidth * kHeight); }

} // namespace image_peers
