#include "platform/thread_priority.h"

#include <pthread.h>
#include <sched.h>

namespace platform {

// Ordinary Linux threads share one priority: below normal is the batch policy, above it cannot be had unprivileged.
bool SetThreadPriority(std::thread& Thread, int Level)
{
    if (Level > 0) return false;
    const sched_param Parameters{};
    return pthread_setschedparam(Thread.native_handle(), Level < 0 ? SCHED_BATCH : SCHED_OTHER, &Parameters) == 0;
}

} // namespace platform
