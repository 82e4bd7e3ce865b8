// Work with a bound on its time.
#pragma once

#include <cstdint>

namespace platform {

enum class BoundedResult { Finished, TimedOut, NotStarted };

/// Runs pWork(pContext) on a thread of its own and waits for at most Milliseconds. Work that takes longer is killed
/// where it stands: what it held stays held. After TimedOut the context is not the caller's to free: work that even the
/// kill does not reach is left behind and may still use it.
BoundedResult RunWithTimeout(void (*pWork)(void* pContext), void* pContext, uint32_t Milliseconds);

} // namespace platform
