// Extension of a reference picture beyond its edges, so that vectors may point there (clause 8.4.2.2.1).
#pragma once

#include "encoder/state/picture_view.h"

namespace UMC_H264_ENCODER {

template <class Sample>
void PadPicture(const PictureView<Sample>& View, int32_t ChromaFormat);

} // namespace UMC_H264_ENCODER
