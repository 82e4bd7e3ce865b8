// Work with a bound on its time.
#include "platform/killable_thread.h"

#include "platform/exception_frame.h"
#include "tests/support/faults.h"
#include "tests/support/no_more_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

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
    EXPECT_FALSE(platform::Guarded(RaiseAccessFault, Code));
}

TEST(RunWithTimeout, AThreadThatCannotBeHadIsNotStarted)
{
    bool bRan = false;
    const auto Work = [](void* p) { *static_cast<bool*>(p) = true; };
    {
        const NoMoreThreads None;
        EXPECT_EQ(platform::RunWithTimeout(Work, &bRan, 3000), platform::BoundedResult::NotStarted);
    }
    EXPECT_FALSE(bRan);
    EXPECT_EQ(platform::RunWithTimeout(Work, &bRan, 3000), platform::BoundedResult::Finished);
    EXPECT_TRUE(bRan);
}
