// Which kind of direct prediction B pictures use where the settings leave it open.
#pragma once

#include <cstdint>

namespace UMC_H264_ENCODER {

/// What lasts from B picture to B picture. Skips are counted under the kind in force alone and both counts restart with
/// every choice, so the first kind, temporal, stays: that is deliberate.
struct DirectChoice {
    bool IsSpatial = false;
    int32_t TemporalSkips = 0, SpatialSkips = 0; // macroblocks since the last choice

    /// Before a B picture: the other kind is taken when it leads by a margin of 545 / 512.
    void Choose()
    {
        const auto WithMargin = [](int32_t Skips) { return static_cast<int32_t>(int64_t{Skips} * 545 >> 9); };
        IsSpatial = IsSpatial ? TemporalSkips <= WithMargin(SpatialSkips) : WithMargin(TemporalSkips) < SpatialSkips;
        TemporalSkips = SpatialSkips = 0;
    }
    /// Behind a B picture.
    void Count(int32_t Skips) { (IsSpatial ? SpatialSkips : TemporalSkips) += Skips; }
};

} // namespace UMC_H264_ENCODER
