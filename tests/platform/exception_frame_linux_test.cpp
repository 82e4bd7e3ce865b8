// Exception frames over signals: which become faults, and what is installed when.
#include "platform/exception_frame.h"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

using platform::Guarded;

namespace {

using SignalAction = struct sigaction; // apart from the function of the same name

void PreviousHandler(int) {}

constexpr int kFaultSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT};

} // namespace

TEST(ExceptionFrame, EachSignalHasItsCode)
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
