// Pictures with random samples for the tests of the processing chain.
#pragma once

#include <cstdint>
#include <vector>

#include "media/umc_video_data.h"

namespace test_pictures {

/// Gives Picture geometry and pixels of its own, and fills the planes from Seed. Depth 0 is the layout's own.
UMC::VideoData& Fill(UMC::VideoData& Picture, int32_t Width, int32_t Height, UMC::ColorFormat Format, int32_t Depth = 0,
                     uint32_t Seed = 1);

/// The samples of a plane without what is between its rows.
std::vector<uint8_t> PlaneBytes(const UMC::VideoData& Picture, int32_t Index);

} // namespace test_pictures
