// PNG files as RGB24 pictures: blue, green, red bytes without gaps. Every failure is a CliError with the file's name.
#pragma once

#include "tools/common/picture_size.h"

#include <cstdint>
#include <string>
#include <vector>

/// Reads a PNG of any kind; what is transparent shows black. Returns its size.
FrameSize ReadPng(const std::string& Name, std::vector<uint8_t>& Rgb);
void WritePng(const std::string& Name, FrameSize Size, const std::vector<uint8_t>& Rgb);
