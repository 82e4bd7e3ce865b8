// Checks and corrections that Init of the encoder makes on its copy of the settings.
#pragma once

#include "encoder/state/encoder_params.h"

namespace UMC_H264_ENCODER {

/// Corrects Params in place; running it again changes nothing.
/// @return StatusInitFailed for a width or height below 1; StatusAllocFailed for a picture whose samples 32-bit offsets
///         do not reach, or for more B pictures than order counts tell apart; StatusInvalidParams for an unknown
///         profile or a High-family bit depth outside 8..12; StatusNotImplemented for a High-family chroma format above
///         4:2:2. Everything else is corrected.
UMC::Status CheckParams(UMC::H264EncoderParams& Params);

/// Whether a rate is one that a stream can have. Init puts the default in place of any other.
bool IsBitrate(int32_t BitsPerSecond);
bool IsFrameRate(double FramesPerSecond);

/// The analysis flags (AnalysisFlag) that the settings ask for.
uint32_t AnalysisFlags(const UMC::H264EncoderParams& Params);

/// The level for a size and rate. The limits are this encoder's own and stricter than Table A-1 in places.
uint8_t ChooseLevel(int32_t Width, int32_t Height, double FrameRate);

/// Reference frames that fit the level's picture buffer, 0..16.
int32_t ReferenceLimit(const UMC::H264EncoderParams& Params);

} // namespace UMC_H264_ENCODER
