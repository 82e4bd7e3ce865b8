// The planes that the stages of the noise filter work on.
#pragma once

#include <cstddef>
#include <cstdint>

namespace UMC_H264_ENCODER {

template <class Sample>
struct NoisePlane {
    Sample* pSamples = nullptr; // null: the picture has none
    ptrdiff_t Pitch = 0;        // samples
    int32_t Width = 0, Height = 0;

    Sample* Row(int32_t y) const { return pSamples + y * Pitch; }
};

/// Of 4:2:0, or luma alone.
template <class Sample>
struct NoisePicture {
    NoisePlane<Sample> Y, U, V;
};

} // namespace UMC_H264_ENCODER
