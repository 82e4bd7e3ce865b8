// Extension of a reference picture beyond its edges, so that vectors may point there (clause 8.4.2.2.1).
#pragma once

#include "encoder/state/encoder_frame.h"

namespace UMC_H264_ENCODER {

template <class Sample>
void PadPicture(const PictureView<Sample>& View, const FrameLayout& Layout);

} // namespace UMC_H264_ENCODER
