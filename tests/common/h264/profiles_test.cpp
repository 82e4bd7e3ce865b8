#include "Common/h264/profiles.h"

#include <gtest/gtest.h>

TEST(Profiles, HighFamilyIsFourOfThem)
{
    for (uint32_t Profile = 0; Profile < 256; ++Profile)
        EXPECT_EQ(h264::IsHighFamily(Profile), Profile == 100 || Profile == 110 || Profile == 122 || Profile == 144)
            << Profile;
}
