// A failure of a component object that a driver's layer throws.
#pragma once

#include <cstdint>

/// What it tells of itself; the texts are literals or live as long as the process.
struct AMFComError {
    uint32_t Code;
    const char* pMessage; // what the code means
    const char* pSource;
    const char* pDescription;
};
