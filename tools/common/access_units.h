// An Annex B byte stream as the tools need it: where access units begin, and the size of the pictures.
#pragma once

#include "tools/common/picture_size.h"

#include <cstdint>
#include <span>
#include <vector>

/// Cuts a stream in front of every access unit (H.264 clause 7.4.1.2.3). A primary picture is taken to begin with the
/// slice of macroblock 0. What stands before the first start code belongs to the first unit.
std::vector<std::span<const uint8_t>> CutAccessUnits(std::span<const uint8_t> Stream);

/// The same with both fields of a frame in one.
std::vector<std::span<const uint8_t>> CutFrames(std::span<const uint8_t> Stream);

/// The cropped size that the first sequence parameter set names; no size when there is none.
FrameSize FindPictureSize(std::span<const uint8_t> Stream);

/// The frames that a stream codes: its pictures, the two fields of a frame counted once.
int64_t CountFrames(std::span<const uint8_t> Stream);
