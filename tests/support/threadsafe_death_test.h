// Death tests of a process that may have threads or that installs what outlives a test.
#pragma once

#include <gtest/gtest.h>

/// Each of its death tests starts the program anew and runs that test alone there.
class ThreadsafeDeathTest : public testing::Test
{
protected:
    ThreadsafeDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};
