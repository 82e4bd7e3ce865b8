// The H.264 samples of an MP4 file, as the decoder's MP4 form takes them.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace tools {

// The decoder configuration record of the first H.264 track, then its samples in decoding order. Views into File.
// Throws std::runtime_error for a file without one or one that is damaged.
std::vector<std::span<const uint8_t>> FindMP4Samples(std::span<const uint8_t> File);

} // namespace tools
