// The quantisers of all QPs, and their opposites.
#pragma once

#include "encoder/state/encoder_settings.h"

namespace UMC_H264_ENCODER {

/// @param HasMatrix  the stream has the lists that WriteSeqParams sends: flat ones of 4x4, the default inter one of
/// 8x8.
///                   Factors are then those of the lists, with four bits less of shift
void FillQuantTables(bool HasMatrix, QuantTables& q);

} // namespace UMC_H264_ENCODER
