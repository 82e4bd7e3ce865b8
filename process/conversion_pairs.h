// The pairs of layouts that have a conversion of their own.
#pragma once

#include "media/umc_video_data.h"

namespace UMC {

/// Converts Width x Height pixels from the source planes to the target planes. 0 for success.
using ConvertPlanes = int(const PlaneInfo* pFrom, const PlaneInfo* pTo, int32_t Width, int32_t Height);

struct ConversionPair {
    ColorFormat From, To;
    ConvertPlanes* pConvert;
};

/// Null when the pair has no conversion.
const ConversionPair* FindConversion(ColorFormat From, ColorFormat To);

/// 16-bit samples to 8 bits: rounded to nearest by the difference of the depths and saturated. A kernel status.
int32_t NarrowPlane(const PlaneInfo& From, const PlaneInfo& To, int32_t Width, int32_t Height);

} // namespace UMC
