// Scheduling priority of a thread.
#pragma once

#include <thread>

namespace platform {

/// @param Level  -1 below the normal priority, 0 normal, 1 above it.
/// @return false where the system refuses; the thread then goes on as it was.
bool SetThreadPriority(std::thread& Thread, int Level);

} // namespace platform
