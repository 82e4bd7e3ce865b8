// How the samples of a picture in memory lie, and the library's conversions between the layouts.
#pragma once

#include "tools/common/picture_size.h"

#include <cstdint>
#include <vector>

enum class PictureLayout {
    Rgb24, // blue, green, red bytes
    Rgb32, // the same with an alpha byte behind
    I420   // luma, Cb, Cr planes
};

/// Bytes of a picture without gaps.
size_t PictureBytes(PictureLayout Layout, FrameSize Size);

/// CliError when the layout cannot have the size: chroma planes of half a width need an even one.
void CheckSize(PictureLayout Layout, FrameSize Size);

/// Changes the layout of a picture in place; the size fits both layouts.
void ChangeLayout(PictureLayout From, PictureLayout To, FrameSize Size, std::vector<uint8_t>& Picture);
