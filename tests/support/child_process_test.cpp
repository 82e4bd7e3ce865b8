// Children of a test: what they end with and write, and the watchdog over those that do not end.
#include "tests/support/child_process.h"
#include "tests/support/faults.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

CHILD_BODY(SayAndEnd)
{
    std::printf("said %s\n", Argument.c_str());
    std::fprintf(stderr, "complained\n");
    return 7;
}

CHILD_BODY(GiveUp) { std::abort(); }

CHILD_BODY(Crash)
{
    RaiseAccessFault();
    return 0;
}

CHILD_BODY(NeverEnd)
{
    std::printf("began\n");
    std::fflush(stdout);
    for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

TEST(ChildProcess, TellsItsStatusAndItsOutput)
{
    const ChildResult Result = RunChild("SayAndEnd", "this and that", 60000);
    EXPECT_FALSE(Result.bTimedOut);
    EXPECT_FALSE(Result.bCrashed);
    EXPECT_EQ(Result.Code, 7);
    EXPECT_NE(Result.Out.find("said this and that"), std::string::npos);
    EXPECT_NE(Result.Err.find("complained"), std::string::npos);
}

TEST(ChildProcess, ACrashIsTold)
{
    const ChildResult Result = RunChild("GiveUp", "", 60000);
    EXPECT_TRUE(Result.bCrashed);
    EXPECT_FALSE(Result.bTimedOut);
}

TEST(ChildProcess, AFaultIsTold)
{
    const ChildResult Result = RunChild("Crash", "", 60000);
    EXPECT_NE(Result.Code, 0); // a sanitizer makes an exit of it
    EXPECT_FALSE(Result.bTimedOut);
}

TEST(ChildProcess, TheWatchdogEndsOneThatHangs)
{
    const ChildResult Result = RunChild("NeverEnd", "", 2000);
    EXPECT_TRUE(Result.bTimedOut);
    EXPECT_FALSE(Result.bCrashed);
    EXPECT_NE(Result.Out.find("began"), std::string::npos);
}

TEST(ChildProcess, ABodyThatIsNotThereIsAStatus) { EXPECT_EQ(RunChild("NoSuchBody", "", 60000).Code, 127); }
