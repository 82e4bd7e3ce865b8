// The client's logging library, found in this system's way.
#pragma once

#include <cstdint>

namespace platform {

/// Its two calls; null where there is none.
struct TesselogCalls {
    void (*pWrite)(int32_t iChannel, int32_t iLevel, const char* pText) = nullptr; // the channel is always 0
    const char* (*pUserPath)(const char* pSubdirectory) = nullptr; // the per-user directory of a subdirectory
};

/// Loads it for good: its calls may be used to the very end of the process.
TesselogCalls LoadTesselog();

} // namespace platform
