// Frame rates as the Media SDK takes them.
#pragma once

#include <cstdint>

/// Frames a second as a fraction.
struct FrameRate {
    uint32_t N, D;
};

/// A whole rate over 1, one of the 1001 family over 1001, any other in ten-thousandths.
FrameRate FrameRateOf(double FramesPerSecond);
