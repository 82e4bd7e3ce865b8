// The temporal stages of the noise filter: a sample is pulled towards the one that the previous picture had there.
#pragma once

#include "encoder/session/noise_planes.h"

#include <array>

namespace UMC_H264_ENCODER {

// Limits of the bands of the blend, in differences of samples.
struct BlendThresholds {
    int32_t Low = 0, Mid = 0, High = 0; // 128 at most
};

/// What is added to a sample, by previous - current + 255: a share of the difference, none from the high limit on.
struct alignas(8) BlendTable {
    std::array<int8_t, 512> Correction{};
};
BlendTable MakeBlendTable(const BlendThresholds& Thresholds);

/// Adds the corrections of the table to every sample.
template <class Sample>
void Blend(const NoisePlane<Sample>& Plane, const NoisePlane<Sample>& Previous, const BlendTable& Table);

/// Puts previous + Coring(current - previous) in place of every sample.
template <class Sample>
void Core(const NoisePlane<Sample>& Plane, const NoisePlane<Sample>& Previous);

/// What is left of a difference of two samples: one step of a small one, all of a large one.
int32_t Coring(int32_t Difference);

} // namespace UMC_H264_ENCODER
