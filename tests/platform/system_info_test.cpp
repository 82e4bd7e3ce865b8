// What the system says about itself, in the bounds that hold everywhere.
#include "platform/system_info.h"

#include "platform/cpuid.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

TEST(SystemInfo, TheVersionIsOfTheFamilyThatTheEnginesKnow)
{
    platform::SystemVersion Version;
    ASSERT_TRUE(platform::ReadSystemVersion(Version));
    EXPECT_EQ(Version.PlatformId, 2u);
    EXPECT_GE(Version.Major * 1000 + Version.Minor, 6001u);
}

TEST(SystemInfo, TheVendorIsTheProcessors) { EXPECT_EQ(platform::CpuVendor(), platform::ReadCpuid().Vendor.data()); }

TEST(SystemInfo, TicksAreMilliseconds)
{
    const uint32_t Before = platform::TickCount();
    std::this_thread::sleep_for(std::chrono::milliseconds(40));
    const uint32_t Passed = platform::TickCount() - Before;
    EXPECT_GE(Passed, 20u); // the counter moves in steps of up to 16
}
