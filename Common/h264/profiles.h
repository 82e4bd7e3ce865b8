// What a profile decides about the syntax of parameter sets.
#pragma once

#include <cstdint>

namespace h264 {

/// High 4:4:4 as it stood before 244 took its place: chroma is coded like that of the other formats.
inline constexpr uint32_t kHigh444Profile = 144;

/// The High profiles, whose sequence parameter sets say chroma format, depths and scaling (clause 7.3.2.1.1).
constexpr bool IsHighFamily(uint32_t profile_idc)
{
    return profile_idc == 100 || profile_idc == 110 || profile_idc == 122 || profile_idc == kHigh444Profile;
}

} // namespace h264
