// Where the samples of a picture lie: of a frame, or, at twice the pitch, of one of its fields.
#pragma once

#include <cstdint>

namespace UMC_H264_ENCODER {

// The source of a picture is read through PictureView<const Sample>.
template <class Sample>
struct PictureView {
    Sample *pY = nullptr, *pU = nullptr, *pV = nullptr; // at the visible origin
    int32_t Pitch = 0;                                  // samples, of all three
};

template <class Sample>
PictureView<const Sample> ReadOnly(const PictureView<Sample>& v)
{
    return {v.pY, v.pU, v.pV, v.Pitch};
}

} // namespace UMC_H264_ENCODER
