// Version of the system and vendor of the processor.
#pragma once

#include <cstdint>
#include <string>

namespace platform {

struct SystemVersion {
    uint32_t PlatformId = 0; // 2: the family whose version gate the hardware engines know
    uint32_t Major = 0, Minor = 0;
};

/// False when the system does not tell.
bool ReadSystemVersion(SystemVersion& Version);
/// The vendor string of the processor, such as "GenuineIntel"; empty when unknown.
std::string CpuVendor();

} // namespace platform
