// Work with a bound on its time, under a wall clock that is set.
#include "platform/killable_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

std::atomic<time_t> g_WallClockOffset{0}; // seconds by which the wall clock of this program is wrong

} // namespace

// In the place of the C library's, so that the wall clock can be set without setting that of the machine.
extern "C" int clock_gettime(clockid_t Clock, timespec* pTime) noexcept
{
    const long Result = syscall(SYS_clock_gettime, Clock, pTime);
    if (Result == 0 && Clock == CLOCK_REALTIME) pTime->tv_sec += g_WallClockOffset;
    return static_cast<int>(Result);
}

TEST(RunWithTimeout, AWallClockThatIsSetWhileItWaitsChangesNothing)
{
    for (const time_t Offset : {-3600, 3600}) {
        g_WallClockOffset = Offset;
        const auto Result = platform::RunWithTimeout(
            [](void*) { std::this_thread::sleep_for(std::chrono::milliseconds(20)); }, nullptr, 3000);
        g_WallClockOffset = 0;
        EXPECT_EQ(Result, platform::BoundedResult::Finished) << Offset;
    }
}
