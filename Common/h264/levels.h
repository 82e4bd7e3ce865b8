// What a level allows (Table A-1).
#pragma once

#include "Common/h264/h264_tables.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace h264 {

/// Null for a level_idc that is not in the table.
inline const LevelLimits* FindLevel(uint32_t level_idc)
{
    const auto* const pEnd = std::end(kLevelLimits);
    const auto* const p =
        std::find_if(kLevelLimits, pEnd, [level_idc](const LevelLimits& l) { return l.level_idc == level_idc; });
    return p == pEnd ? nullptr : p;
}

/// Macroblocks that the decoded picture buffer of a level holds. A level that is not in the table counts as 5.1,
/// and 4.2 deliberately as 4.1: its buffer in the table is a little larger.
inline uint32_t PictureBufferMbs(uint32_t level_idc)
{
    const LevelLimits* const p = FindLevel(level_idc == 42 ? 41 : level_idc);
    return p ? p->MaxDpbMbs : kLevelLimits[kLevelCount - 1].MaxDpbMbs;
}

/// Pictures of Width x Height macroblocks that the level's buffer holds, at most 16.
inline int32_t PictureBufferFrames(uint32_t level_idc, uint32_t Width, uint32_t Height)
{
    return static_cast<int32_t>(std::min<uint64_t>(PictureBufferMbs(level_idc) / (uint64_t{Width} * Height), 16));
}

} // namespace h264
