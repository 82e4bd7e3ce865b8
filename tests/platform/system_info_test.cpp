// What the system says about itself, in the bounds that hold everywhere.
#include "platform/system_info.h"

#include "platform/cpuid.h"

#include <gtest/gtest.h>

TEST(SystemInfo, TheVersionIsOfTheFamilyThatTheEnginesKnow)
{
    platform::SystemVersion Version;
    ASSERT_TRUE(platform::ReadSystemVersion(Version));
    EXPECT_EQ(Version.PlatformId, 2u);
    EXPECT_GE(Version.Major * 1000 + Version.Minor, 6001u);
}

TEST(SystemInfo, TheVendorIsTheProcessors) { EXPECT_EQ(platform::CpuVendor(), platform::ReadCpuid().Vendor.data()); }
