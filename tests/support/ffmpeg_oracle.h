// ffmpeg as the decoder that we did not write.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ffmpeg_oracle {

/// True when an ffmpeg can be run.
bool IsInstalled();

struct Decoded {
    std::vector<uint8_t> Pictures; // all pictures, planar as coded, in output order
    std::string Messages;          // what ffmpeg had to say at the level of warnings; empty for a clean stream
};

/// Decodes an Annex B byte stream. PixelFormat is ffmpeg's name of the output format.
Decoded Decode(const std::vector<uint8_t>& Stream, const std::string& PixelFormat = "yuv420p");

} // namespace ffmpeg_oracle
