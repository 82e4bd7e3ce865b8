// From which differences on the deblocking filter leaves an edge alone, H.264 clause 8.7.2.2.
#pragma once

#include "Common/h264/h264_tables.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace h264 {

struct DeblockingThresholds {
    uint8_t Alpha, Beta;
    uint8_t Clip[4]; // tC0 by strength
};

/// Of an edge between macroblocks of QP MeanQp on average. Offsets as FilterOffsetA and FilterOffsetB.
inline DeblockingThresholds FindDeblockingThresholds(int32_t MeanQp, int32_t OffsetA, int32_t OffsetB)
{
    const auto IndexA = static_cast<size_t>(std::clamp(MeanQp + OffsetA, 0, 51));
    const auto IndexB = static_cast<size_t>(std::clamp(MeanQp + OffsetB, 0, 51));
    DeblockingThresholds t{kAlpha[IndexA], kBeta[IndexB], {}};
    std::memcpy(t.Clip, kTc0[IndexA], sizeof(t.Clip));
    return t;
}

} // namespace h264
