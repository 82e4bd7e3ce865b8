// Work with a bound on its time.
#include "platform/killable_thread.h"

#include "platform/exception_frame.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
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

TEST(RunWithTimeout, WorkThatEndsIsFinished)
{
    bool bRan = false;
    EXPECT_EQ(platform::RunWithTimeout([](void* p) { *static_cast<bool*>(p) = true; }, &bRan, 3000),
              platform::BoundedResult::Finished);
    EXPECT_TRUE(bRan);
}

TEST(RunWithTimeout, WorkThatHangsIsKilled)
{
    static std::atomic<uint64_t> s_Count{0};
    EXPECT_EQ(platform::RunWithTimeout(
                  [](void*) {
                      for (;;) ++s_Count;
                  },
                  nullptr, 50),
              platform::BoundedResult::TimedOut);
    const uint64_t After = s_Count;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(s_Count, After); // nothing runs any more
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

TEST(RunWithTimeout, AThreadKilledInAFrameLeavesTheNextFrameWorking)
{
    EXPECT_EQ(platform::RunWithTimeout(
                  [](void*) {
                      uint32_t Code;
                      platform::Guarded(
                          [] {
                              for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
                          },
                          Code);
                  },
                  nullptr, 50),
              platform::BoundedResult::TimedOut);
    uint32_t Code;
    EXPECT_TRUE(platform::Guarded([] {}, Code));
    EXPECT_FALSE(platform::Guarded([] { std::raise(SIGSEGV); }, Code));
}
