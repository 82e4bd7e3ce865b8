#include "intel/frame_rate.h"

#include <cmath>

FrameRate FrameRateOf(double FramesPerSecond)
{
    auto n = static_cast<uint32_t>(FramesPerSecond + 0.5);
    if (std::fabs(n - FramesPerSecond) < 0.0001) return {n, 1};
    n = static_cast<uint32_t>(FramesPerSecond * 1.001 + 0.5) * 1000;
    if (std::fabs(n - FramesPerSecond * 1001) < 10) return {n, 1001};
    return {static_cast<uint32_t>(FramesPerSecond * 10000 + 0.5), 10000};
}
