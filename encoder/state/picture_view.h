// Where the samples of a picture lie: of a frame, or of one of its fields.
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

/// Every second line of a frame from the first one on, or from the second.
template <class Sample>
PictureView<Sample> FieldOf(const PictureView<Sample>& Frame, bool bBottom)
{
    const int32_t First = bBottom ? Frame.Pitch : 0;
    return {Frame.pY + First, Frame.pU + First, Frame.pV + First, 2 * Frame.Pitch};
}

} // namespace UMC_H264_ENCODER
