// An encoder's settings in the driver's structures.
#pragma once

#include "NVIDIA/inc/encode_config.h"

const GUID& CodecGuid(const EncodeConfig& Config);

/// Settings of the session, without the codec's own.
void FillInitializeParams(const EncodeConfig& Config, uint32_t MaxWidth, uint32_t MaxHeight,
                          NV_ENC_INITIALIZE_PARAMS& Params);
/// Puts what is asked for over a preset; what is not asked for stays as the preset has it.
void OverridePreset(const EncodeConfig& Config, NV_ENC_CONFIG& Settings);
