// What a profile decides about the syntax of parameter sets.
#pragma once

#include <cstdint>

namespace h264 {

/// The High profiles, whose sequence parameter sets say chroma format, depths and scaling (clause 7.3.2.1.1). 144 stood
/// for 4:4:4 before 244 did.
constexpr bool IsHighFamily(uint32_t profile_idc)
{
    return profile_idc == 100 || profile_idc == 110 || profile_idc == 122 || profile_idc == 144;
}

} // namespace h264
