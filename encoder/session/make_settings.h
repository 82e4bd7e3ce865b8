// What is fixed for the life of an encoder, made of what its client asks for.
#pragma once

#include "encoder/state/encoder_settings.h"

namespace UMC_H264_ENCODER {

/// Checks and corrects a copy of the parameters, and derives the rest from it.
/// @return StatusOk; StatusNotImplemented for depths beyond those of the sample type; what CheckParams says. Throws
///         std::bad_alloc
template <class Sample>
UMC::Status MakeSettings(const UMC::VideoEncoderParams& Params, EncoderSettings& Settings);

/// The largest depth of the samples that are coded.
int32_t CodedBitDepth(const UMC::H264EncoderParams& Params);
/// The largest of the three depths that the parameters state, which the rate control goes by: deliberately also that of
/// an alpha plane where none is coded.
int32_t LargestBitDepth(const UMC::H264EncoderParams& Params);

} // namespace UMC_H264_ENCODER
