// How much of a row a filter treats.
#pragma once

#include "media/umc_video_data.h"

namespace UMC {

/// Samples in a row of a plane. The chroma of format 1 is described by the picture's width and comes in pairs, so that
/// at an odd width it has one sample more than its description says.
int32_t RowSamples(const PlaneInfo& Plane, ColorFormat Format, int32_t Index);

/// The samples that the rows of both planes hold: the lesser number, and no half of a pair that a pitch has no room
/// for.
int32_t CommonRowSamples(const PlaneInfo& From, const PlaneInfo& To, ColorFormat Format, int32_t Index);

} // namespace UMC
