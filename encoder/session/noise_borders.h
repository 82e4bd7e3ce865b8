// Repair of black or doubled lines that some sources deliver at the borders of a picture.
#pragma once

#include "encoder/session/noise_planes.h"

namespace UMC_H264_ENCODER {

/// What is known of an edge. A trusted edge is looked at no more.
enum BorderState : int32_t { BORDER_TRUSTED = 0, BORDER_ONE_LINE = 1, BORDER_UNKNOWN = 2 };

/// The tests and repairs of one sequence.
struct NoiseBorders {
    int32_t top_state = BORDER_UNKNOWN, left_state = BORDER_UNKNOWN, bottom_state = BORDER_UNKNOWN; // BorderState
    bool half_scale = false; // thresholds of half the size

    /// Copies good lines over bad ones, at the top, on the left and at the bottom, in this order. Luma has multiples of
    /// 4 samples in both directions, 8 at least.
    template <class Sample>
    void Repair(const NoisePicture<Sample>& Picture);

private:
    template <class Sample>
    void RepairTop(const NoisePicture<Sample>& Picture);
    template <class Sample>
    void RepairLeft(const NoisePicture<Sample>& Picture);
    template <class Sample>
    void RepairBottom(const NoisePicture<Sample>& Picture);
};

} // namespace UMC_H264_ENCODER
