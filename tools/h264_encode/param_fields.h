// Fields of H264EncoderParams by name.
#pragma once

#include "encoder/state/encoder_params.h"
#include "tools/common/json_text.h"

#include <string>

namespace tools {

/// Sets one field from "NAME=VALUE". @return an empty string, or what is wrong with the assignment
std::string SetField(UMC::H264EncoderParams& Params, const std::string& Assignment);

/// All names that SetField knows, separated by spaces.
std::string FieldNames();

/// The whole record by name: what SetField knows, and what is set otherwise.
JsonObject FieldValues(const UMC::H264EncoderParams& Params);

} // namespace tools
