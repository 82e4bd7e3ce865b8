// Exception frames: what they catch, what they leave alone, and what an entry costs.
#include "platform/exception_frame.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
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

void PreviousHandler(int) {}

constexpr int kFaultSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT};

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
    EXPECT_FALSE(Guarded([] { raise(SIGBUS); }, Code));
    EXPECT_EQ(Code, platform::kFaultAccess);
    EXPECT_FALSE(Guarded([] { raise(SIGTRAP); }, Code));
    EXPECT_EQ(Code, platform::kFaultBreakpoint);
    EXPECT_FALSE(Guarded([] { raise(SIGSYS); }, Code));
    EXPECT_EQ(Code, platform::kFaultSystemCall);
    EXPECT_FALSE(Guarded([] { raise(SIGABRT); }, Code));
    EXPECT_EQ(Code, platform::kFaultAbort);
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

TEST(ExceptionFrame, TheSignalMaskOfTheEntryIsBackAfterAFault)
{
    const auto IsBlocked = [] {
        sigset_t Mask;
        pthread_sigmask(SIG_BLOCK, nullptr, &Mask);
        return sigismember(&Mask, SIGUSR1) == 1;
    };
    uint32_t Code;
    EXPECT_FALSE(Guarded(
        [&] {
            sigset_t Mask;
            sigemptyset(&Mask);
            sigaddset(&Mask, SIGUSR1);
            pthread_sigmask(SIG_BLOCK, &Mask, nullptr);
            EXPECT_TRUE(IsBlocked());
            raise(SIGSEGV);
        },
        Code));
    EXPECT_FALSE(IsBlocked());
}

// ---- Handlers are installed once -------------------------------------------------------------------------------

TEST(ExceptionFrame, TheHandlersStayBetweenFrames)
{
    uint32_t Code;
    SignalAction Inside{}, After{};
    for (const int Signal : kFaultSignals) {
        Guarded([&] { sigaction(Signal, nullptr, &Inside); }, Code);
        sigaction(Signal, nullptr, &After);
        EXPECT_NE(Inside.sa_handler, SIG_DFL) << Signal;
        EXPECT_EQ(Inside.sa_sigaction, After.sa_sigaction) << Signal;
    }
}

TEST(ExceptionFrame, AnEntryInstallsNoHandler)
{
    uint32_t Code;
    Guarded([] {}, Code);
    for (const int Signal : kFaultSignals) {
        SignalAction Action{}, Ours{}, Inside{}, After{};
        Action.sa_handler = PreviousHandler;
        sigaction(Signal, &Action, &Ours);
        Guarded([&] { sigaction(Signal, nullptr, &Inside); }, Code);
        sigaction(Signal, &Ours, &After);
        EXPECT_EQ(Inside.sa_handler, PreviousHandler) << Signal; // who comes later stands in front
        EXPECT_EQ(After.sa_handler, PreviousHandler) << Signal;
        EXPECT_FALSE(Guarded([&] { raise(Signal); }, Code)) << Signal;
    }
}

TEST(ExceptionFrame, AnEntrySetsNoSignalStack)
{
    std::thread([] {
        uint32_t Code;
        Guarded([] {}, Code);
        static char s_Stack[64 * 1024];
        stack_t Own{}, Kept{}, Inside{};
        Own.ss_sp = s_Stack;
        Own.ss_size = sizeof s_Stack;
        sigaltstack(&Own, &Kept);
        EXPECT_FALSE(Kept.ss_flags & SS_DISABLE); // one stands from the first frame on
        Guarded([&] { sigaltstack(nullptr, &Inside); }, Code);
        EXPECT_EQ(Inside.ss_sp, s_Stack);
        sigaltstack(&Kept, nullptr);
    }).join();
}

TEST(ExceptionFrame, AThreadKeepsTheSignalStackThatItHas)
{
    std::thread([] {
        static char s_Stack[64 * 1024];
        stack_t Own{}, Before{}, Inside{};
        Own.ss_sp = s_Stack;
        Own.ss_size = sizeof s_Stack;
        sigaltstack(&Own, &Before);
        uint32_t Code;
        Guarded([&] { sigaltstack(nullptr, &Inside); }, Code);
        EXPECT_EQ(Inside.ss_sp, s_Stack);
        EXPECT_FALSE(Guarded([] { raise(SIGSEGV); }, Code));
        sigaltstack(&Before, nullptr);
    }).join();
}

TEST(ExceptionFrame, AStackOverflowOnAnyThreadEndsInTheHandler)
{
    if (kSanitized) return;
    for (int i = 0; i < 3; ++i)
        std::thread([] {
            uint32_t Code = 0;
            char Seed = 0;
            Guarded([] {}, Code); // the stack for the handler outlives the first frame
            EXPECT_FALSE(Guarded([&] { g_Zero = g_Zero + Overflow(&Seed, 1 << 20); }, Code));
            EXPECT_EQ(Code, platform::kFaultAccess);
        }).join();
}
