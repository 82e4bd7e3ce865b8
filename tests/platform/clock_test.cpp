// Time, and another clock in its place.
#include "platform/clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

TEST(Clock, TicksAreMilliseconds)
{
    const uint32_t Before = platform::TickCount();
    std::this_thread::sleep_for(std::chrono::milliseconds(40));
    const uint32_t Passed = platform::TickCount() - Before;
    EXPECT_GE(Passed, 20u); // the counter moves in steps of up to 16
}

TEST(Clock, ASleepTakesItsTime)
{
    const auto Start = std::chrono::steady_clock::now();
    platform::SleepFor(30);
    EXPECT_GE(std::chrono::steady_clock::now() - Start, std::chrono::milliseconds(15));
}

TEST(Clock, AnotherClockStandsInUntilTheSystemsIsPutBack)
{
    static uint32_t s_Slept;
    s_Slept = 0;
    const platform::ClockOperations Stopped{[] { return 77u; }, [](uint32_t Milliseconds) { s_Slept += Milliseconds; }};
    platform::SetClock(&Stopped);
    const uint32_t Ticks = platform::TickCount();
    platform::SleepFor(1000000);
    platform::SetClock(nullptr);
    EXPECT_EQ(Ticks, 77u);
    EXPECT_EQ(s_Slept, 1000000u);
    platform::SleepFor(0);
    EXPECT_EQ(s_Slept, 1000000u);
}
