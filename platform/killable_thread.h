// Work with a bound on its time.
#pragma once

#include <cstdint>

namespace platform {

enum class BoundedResult { Finished, TimedOut, Abandoned, NotStarted };

/// Runs pWork(pContext) on a thread of its own and waits for at most Milliseconds. Work that takes longer is killed
/// where it stands (TimedOut): what it held stays held. Work that even the kill does not reach, held in the kernel, is
/// left behind (Abandoned): the context is then not the caller's to free, it may still be used.
BoundedResult RunWithTimeout(void (*pWork)(void* pContext), void* pContext, uint32_t Milliseconds);

} // namespace platform
