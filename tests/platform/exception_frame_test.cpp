// Exception frames: what they catch, and how often.
#include "platform/exception_frame.h"

#include "tests/support/faults.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <thread>
#include <vector>

using platform::Guarded;

TEST(ExceptionFrame, ABodyThatEndsIsTrue)
{
    uint32_t Code = 1;
    bool bRan = false;
    EXPECT_TRUE(Guarded([&] { bRan = true; }, Code));
    EXPECT_TRUE(bRan);
    EXPECT_EQ(Code, 0u);
}

TEST(ExceptionFrame, AnAccessViolationEndsInTheHandler)
{
    uint32_t Code;
    EXPECT_FALSE(Guarded(RaiseAccessFault, Code));
    EXPECT_EQ(Code, platform::kFaultAccess);
    if (kSanitized) return;
    EXPECT_FALSE(Guarded(WriteToNull, Code));
    EXPECT_EQ(Code, platform::kFaultAccess);
}

TEST(ExceptionFrame, ACppExceptionEndsInTheHandler)
{
    uint32_t Code;
    EXPECT_FALSE(Guarded([] { throw 1; }, Code));
    EXPECT_EQ(Code, platform::kFaultCppException);
    EXPECT_FALSE(Guarded([] { throw std::runtime_error("x"); }, Code));
    EXPECT_EQ(Code, platform::kFaultCppException);
}

TEST(ExceptionFrame, CppExceptionsWorkAfterAFault)
{
    for (int i = 0; i < 100; ++i) {
        uint32_t Code;
        EXPECT_FALSE(Guarded(
            [] {
                try {
                    RaiseAccessFault(); // leaves a function that has a handler of its own
                } catch (...) {
                }
            },
            Code));
        EXPECT_EQ(Code, platform::kFaultAccess);
        EXPECT_THROW(throw std::runtime_error("x"), std::runtime_error);
    }
}

TEST(ExceptionFrame, AStackOverflowEndsInTheHandlerEachTime)
{
    if (kSanitized) return; // it reserves the stack's guard for its own report
    for (int i = 0; i < 3; ++i) {
        uint32_t Code;
        EXPECT_FALSE(Guarded(OverflowStack, Code));
        EXPECT_EQ(Code, kOverflowCode);
    }
}

TEST(ExceptionFrame, AStackOverflowOnAnyThreadEndsInTheHandler)
{
    if (kSanitized) return;
    for (int i = 0; i < 3; ++i)
        std::thread([] {
            uint32_t Code = 0;
            Guarded([] {}, Code); // what a thread needs for it outlives the first frame
            EXPECT_FALSE(Guarded(OverflowStack, Code));
            EXPECT_EQ(Code, kOverflowCode);
        }).join();
}

TEST(ExceptionFrame, FramesNest)
{
    uint32_t Inner = 1, Outer = 1;
    bool bAfterInner = false;
    EXPECT_FALSE(Guarded(
        [&] {
            EXPECT_FALSE(Guarded(RaiseAccessFault, Inner));
            EXPECT_EQ(Inner, platform::kFaultAccess);
            EXPECT_FALSE(Guarded([] { throw 1; }, Inner));
            EXPECT_EQ(Inner, platform::kFaultCppException);
            bAfterInner = true;
            EXPECT_TRUE(Guarded([] {}, Inner));
            RaiseIllegalInstruction();
        },
        Outer));
    EXPECT_TRUE(bAfterInner);
    EXPECT_EQ(Inner, 0u);
    EXPECT_EQ(Outer, platform::kFaultIllegalInstruction);
}

TEST(ExceptionFrame, AFaultMayComeAgainAndAgain)
{
    for (int i = 0; i < 100; ++i) {
        uint32_t Code;
        EXPECT_FALSE(Guarded(RaiseAccessFault, Code));
    }
}

TEST(ExceptionFrame, ThreadsHaveFramesOfTheirOwn)
{
    std::atomic<int> Caught{0}, Passed{0};
    std::vector<std::thread> Threads;
    for (int t = 0; t < 8; ++t)
        Threads.emplace_back([&, t] {
            for (int i = 0; i < 100; ++i) {
                uint32_t Code;
                if (Guarded(
                        [&] {
                            if ((i + t) % 2) RaiseAccessFault();
                        },
                        Code))
                    ++Passed;
                else
                    ++Caught;
            }
        });
    for (std::thread& Thread : Threads) Thread.join();
    EXPECT_EQ(Caught, 400);
    EXPECT_EQ(Passed, 400);
}

TEST(ExceptionFrame, ABodyThatAbortsEndsInTheHandlerEachTime)
{
    for (int i = 0; i < 3; ++i) { // the C library's abort() counts its stages
        uint32_t Code;
        EXPECT_FALSE(Guarded([] { std::abort(); }, Code));
        EXPECT_EQ(Code, platform::kFaultAbort);
    }
}

TEST(ExceptionFrame, ABodyThatHitsABreakpointEndsInTheHandler)
{
#if defined(__x86_64__) || defined(__i386__)
    uint32_t Code;
    EXPECT_FALSE(Guarded([] { __asm__ volatile("int3"); }, Code));
    EXPECT_EQ(Code, platform::kFaultBreakpoint);
#endif
}

TEST(ExceptionFrame, AFaultRaisedByItsCodeIsCaughtAsOne)
{
    for (const uint32_t Raised : {platform::kFaultArithmetic, platform::kFaultAccess}) {
        uint32_t Code = 0;
        EXPECT_FALSE(Guarded([&] { platform::RaiseFault(Raised); }, Code));
        EXPECT_EQ(Code, Raised);
    }
}
