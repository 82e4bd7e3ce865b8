// Where the macroblocks of pictures lie.
#pragma once

#include "encoder/state/encoder_settings.h"

namespace UMC_H264_ENCODER {

/// Makes the positions that the layout and coding_type of the settings ask for. Throws std::bad_alloc
void FillPositions(EncoderSettings& Settings);

} // namespace UMC_H264_ENCODER
