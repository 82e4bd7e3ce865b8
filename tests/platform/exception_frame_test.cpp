// Exception frames and killable work.
#include "platform/exception_frame.h"
#include "platform/killable_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csetjmp>
#include <csignal>
#include <stdexcept>
#include <thread>
#include <vector>

using platform::Guarded;

namespace {

using SignalAction = struct sigaction; // apart from the function of the same name

volatile int g_Zero = 0;

void WriteToNull()
{
    volatile int* volatile pNull = nullptr;
    *pNull = 1;
}

// Takes far more stack than a thread has.
int Overflow(volatile char* pOuter, int Depth)
{
    volatile char Local[4096];
    Local[0] = *pOuter;
    return Depth ? Overflow(Local, Depth - 1) + Local[0] : 0;
}

sigjmp_buf g_Outside;
std::atomic<int> g_PreviousHandlerRuns{0};

void PreviousHandler(int)
{
    ++g_PreviousHandlerRuns;
    siglongjmp(g_Outside, 1);
}

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

} // namespace

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
    EXPECT_FALSE(Guarded([] { raise(SIGSEGV); }, Code));
    EXPECT_EQ(Code, platform::kFaultAccess);
    if (kSanitized) return; // the sanitizer reports a real one before the handler sees it
    EXPECT_FALSE(Guarded(WriteToNull, Code));
    EXPECT_EQ(Code, platform::kFaultAccess);
}

TEST(ExceptionFrame, EachKindOfFaultHasItsCode)
{
    uint32_t Code;
    EXPECT_FALSE(Guarded([] { raise(SIGFPE); }, Code));
    EXPECT_EQ(Code, platform::kFaultArithmetic);
    EXPECT_FALSE(Guarded([] { raise(SIGILL); }, Code));
    EXPECT_EQ(Code, platform::kFaultIllegalInstruction);
    EXPECT_FALSE(Guarded([] { throw 1; }, Code));
    EXPECT_EQ(Code, platform::kFaultCppException);
    EXPECT_FALSE(Guarded([] { throw std::runtime_error("x"); }, Code));
    EXPECT_EQ(Code, platform::kFaultCppException);
}

TEST(ExceptionFrame, AStackOverflowEndsInTheHandler)
{
    if (kSanitized) return; // it reserves the stack's guard for its own report
    uint32_t Code;
    char Seed = 0;
    EXPECT_FALSE(Guarded([&] { g_Zero = g_Zero + Overflow(&Seed, 1 << 20); }, Code));
    EXPECT_EQ(Code, platform::kFaultAccess);
}

TEST(ExceptionFrame, FramesNest)
{
    uint32_t Inner = 1, Outer = 1;
    bool bAfterInner = false;
    EXPECT_FALSE(Guarded(
        [&] {
            EXPECT_FALSE(Guarded([] { raise(SIGSEGV); }, Inner));
            bAfterInner = true;
            EXPECT_TRUE(Guarded([] {}, Inner));
            raise(SIGILL);
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
        EXPECT_FALSE(Guarded([] { raise(SIGSEGV); }, Code));
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
                            if ((i + t) % 2) raise(SIGSEGV);
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

TEST(ExceptionFrame, AFaultOutsideReachesThePreviousHandler)
{
    SignalAction Action{}, Before{};
    Action.sa_handler = PreviousHandler;
    sigaction(SIGSEGV, &Action, &Before);

    // While another thread is inside a frame, this library's handler stands.
    std::atomic<bool> bInside{false}, bLeave{false};
    std::thread Other([&] {
        uint32_t Code;
        Guarded(
            [&] {
                bInside = true;
                while (!bLeave) std::this_thread::yield();
            },
            Code);
    });
    while (!bInside) std::this_thread::yield();
    g_PreviousHandlerRuns = 0;
    if (sigsetjmp(g_Outside, 1) == 0) raise(SIGSEGV);
    EXPECT_EQ(g_PreviousHandlerRuns, 1);
    bLeave = true;
    Other.join();

    // And with no frame at all the process has its own handler back.
    if (sigsetjmp(g_Outside, 1) == 0) raise(SIGSEGV);
    EXPECT_EQ(g_PreviousHandlerRuns, 2);
    sigaction(SIGSEGV, &Before, nullptr);
}

TEST(ExceptionFrameDeathTest, AFaultOutsideWithTheDefaultActionEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            signal(SIGSEGV, SIG_DFL);
            std::atomic<bool> bInside{false};
            std::thread([&] {
                uint32_t Code;
                Guarded(
                    [&] {
                        bInside = true;
                        for (;;) std::this_thread::yield();
                    },
                    Code);
            }).detach();
            while (!bInside) std::this_thread::yield();
            raise(SIGSEGV);
        },
        testing::KilledBySignal(SIGSEGV), "");
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
