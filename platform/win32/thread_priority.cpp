#include "platform/thread_priority.h"

#include <pthread.h>
#include <windows.h>

namespace platform {

bool SetThreadPriority(std::thread& Thread, int Level)
{
    const auto Handle = static_cast<HANDLE>(pthread_gethandle(Thread.native_handle()));
    return ::SetThreadPriority(Handle, Level) != 0; // THREAD_PRIORITY_BELOW_NORMAL is -1, _ABOVE_NORMAL 1
}

} // namespace platform
