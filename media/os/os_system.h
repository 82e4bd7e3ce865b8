// Facts about the machine.
#pragma once

#include <cstdint>
#include <thread>

namespace UMC {

/// Number of processors, at least 1.
inline uint32_t os_processor_count()
{
    const unsigned Count = std::thread::hardware_concurrency();
    return Count ? Count : 1;
}

} // namespace UMC
