// ffmpeg as the decoder and the converter that we did not write.
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

/// Decodes an Annex B byte stream. PixelFormat is ffmpeg's name of the output format; Options are the decoder's.
Decoded Decode(const std::vector<uint8_t>& Stream, const std::string& PixelFormat = "yuv420p",
               const std::string& Options = "");

/// One raw picture in another layout, its planes one behind the other without gaps; empty when ffmpeg fails. The
/// layouts are ffmpeg's names of pixel formats, and "y41p" for the packed 4:1:1 of 8 pixels, with the top line first.
/// Width a multiple of 8, BT.601 between luma-chroma and RGB, in the same ranges as the kernels.
std::vector<uint8_t> ConvertPicture(const std::vector<uint8_t>& Raw, int Width, int Height, const std::string& From,
                                    const std::string& To);

} // namespace ffmpeg_oracle
