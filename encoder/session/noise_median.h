// The spatial stage of the noise filter: isolated impulses give way to the median of their surroundings.
#pragma once

#include "encoder/session/noise_planes.h"

namespace UMC_H264_ENCODER {

// Differences of samples; see NoiseReductionOptions.
struct MedianThresholds {
    int32_t Neighbour = 0, Trigger = 0;
    bool HasFourNeighbours = true;
};

/// Replaces samples that differ from the previous picture's by the trigger threshold or more. The plane has an even
/// number of rows and columns, 4 at least; its outermost rows and columns stay. In place: see the source for the order.
template <class Sample>
void ReduceByMedian(const NoisePlane<Sample>& Plane, const NoisePlane<Sample>& Previous,
                    const MedianThresholds& Thresholds);

} // namespace UMC_H264_ENCODER
