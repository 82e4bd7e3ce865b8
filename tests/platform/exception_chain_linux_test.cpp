// What an exception frame leaves to the handlers that stood before it. The first frame of a process installs its
// handlers for good, so each case runs in a process of its own.
#include "platform/exception_frame.h"
#include "tests/support/faults.h"
#include "tests/support/threadsafe_death_test.h"

#include <gtest/gtest.h>

#include <csetjmp>
#include <csignal>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

using platform::Guarded;

namespace {

using SignalAction = struct sigaction; // apart from the function of the same name

constexpr int kFaultSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT};

volatile sig_atomic_t g_Runs = 0;
volatile sig_atomic_t g_Signal = 0;
volatile sig_atomic_t g_bInfo = 0;
volatile sig_atomic_t g_bMasked = 0;

void Plain(int Signal)
{
    g_Runs = g_Runs + 1;
    g_Signal = Signal;
}

void WithInfo(int Signal, siginfo_t* pInfo, void* pContext)
{
    Plain(Signal);
    g_bInfo = pInfo && pInfo->si_signo == Signal && pInfo->si_pid == getpid() && pContext;
    sigset_t Mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &Mask);
    g_bMasked = sigismember(&Mask, SIGUSR1) == 1 && sigismember(&Mask, SIGUSR2) == 0;
}

void RunOneFrame()
{
    uint32_t Code;
    if (!Guarded([] {}, Code)) _exit(90);
    if (Guarded([] { raise(SIGSEGV); }, Code)) _exit(91);
}

void Install(int Signal, void (*pHandler)(int), int Flags = 0)
{
    SignalAction Action{};
    Action.sa_handler = pHandler;
    Action.sa_flags = Flags;
    sigaction(Signal, &Action, nullptr);
}

[[noreturn]] void Leave(bool bAsExpected) { _exit(bAsExpected ? 0 : 1); }

class ExceptionChainDeathTest : public ThreadsafeDeathTest, public testing::WithParamInterface<int>
{
};

} // namespace

TEST_P(ExceptionChainDeathTest, TheDefaultActionEndsTheProcess)
{
    EXPECT_EXIT(
        {
            Install(GetParam(), SIG_DFL);
            RunOneFrame();
            raise(GetParam());
            Leave(false);
        },
        testing::KilledBySignal(GetParam()), "");
}

TEST_P(ExceptionChainDeathTest, AnIgnoredSignalStaysIgnored)
{
    EXPECT_EXIT(
        {
            Install(GetParam(), SIG_IGN);
            RunOneFrame();
            raise(GetParam());
            raise(GetParam());
            Leave(true);
        },
        testing::ExitedWithCode(0), "");
}

TEST_P(ExceptionChainDeathTest, APlainHandlerIsCalledOutsideFramesOnly)
{
    EXPECT_EXIT(
        {
            Install(GetParam(), Plain);
            RunOneFrame();
            uint32_t Code;
            const bool bCaught = !Guarded([] { raise(GetParam()); }, Code);
            const bool bSpared = g_Runs == 0;
            raise(GetParam());
            raise(GetParam());
            Leave(bCaught && bSpared && g_Runs == 2 && g_Signal == GetParam());
        },
        testing::ExitedWithCode(0), "");
}

TEST_P(ExceptionChainDeathTest, AHandlerThatTakesInformationGetsItUnderItsOwnMask)
{
    EXPECT_EXIT(
        {
            SignalAction Action{};
            Action.sa_sigaction = WithInfo;
            Action.sa_flags = SA_SIGINFO;
            sigaddset(&Action.sa_mask, SIGUSR1);
            sigaction(GetParam(), &Action, nullptr);
            RunOneFrame();
            raise(GetParam());
            const bool bCalled = g_Runs == 1 && g_Signal == GetParam() && g_bInfo && g_bMasked;
            sigset_t Mask;
            pthread_sigmask(SIG_BLOCK, nullptr, &Mask); // and the mask is back
            Leave(bCalled && !sigismember(&Mask, SIGUSR1));
        },
        testing::ExitedWithCode(0), "");
}

TEST_P(ExceptionChainDeathTest, AHandlerForOneSignalOnlyGetsOne)
{
    EXPECT_EXIT(
        {
            Install(GetParam(), Plain, static_cast<int>(SA_RESETHAND));
            RunOneFrame();
            raise(GetParam());
            if (g_Runs != 1) Leave(false);
            raise(GetParam());
        },
        testing::KilledBySignal(GetParam()), "");
}

INSTANTIATE_TEST_SUITE_P(EachSignal, ExceptionChainDeathTest, testing::ValuesIn(kFaultSignals));

namespace {

SignalAction g_Below; // what the later handler found

void Chaining(int Signal, siginfo_t* pInfo, void* pContext)
{
    g_Runs = g_Runs + 1;
    g_Below.sa_sigaction(Signal, pInfo, pContext);
}

using ExceptionChainOnceDeathTest = ThreadsafeDeathTest;

} // namespace

TEST_F(ExceptionChainOnceDeathTest, AHandlerInstalledLaterStandsInFrontAndMayPassOn)
{
    EXPECT_EXIT(
        {
            Install(SIGSEGV, Plain);
            RunOneFrame();
            SignalAction Action{};
            Action.sa_sigaction = Chaining;
            Action.sa_flags = SA_SIGINFO;
            sigaction(SIGSEGV, &Action, &g_Below);
            uint32_t Code;
            const bool bCaught = !Guarded([] { raise(SIGSEGV); }, Code);
            const bool bInFront = g_Runs == 1;
            raise(SIGSEGV); // outside: the later one, then through ours the one that stood first
            Leave(bCaught && bInFront && g_Runs == 3);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(ExceptionChainOnceDeathTest, AFaultOutsideIsNotIgnored)
{
    if (kSanitized) return; // the sanitizer reports a real one itself
    EXPECT_EXIT(
        {
            Install(SIGSEGV, SIG_IGN);
            RunOneFrame();
            alarm(20); // it used to fault for ever
            WriteToNull();
        },
        testing::KilledBySignal(SIGSEGV), "");
}

TEST_F(ExceptionChainOnceDeathTest, ABreakpointOutsideEndsTheProcess)
{
#if defined(__x86_64__) || defined(__i386__)
    EXPECT_EXIT(
        {
            Install(SIGTRAP, SIG_DFL);
            RunOneFrame();
            __asm__ volatile("int3");
            Leave(false);
        },
        testing::KilledBySignal(SIGTRAP), "");
#endif
}

TEST_F(ExceptionChainOnceDeathTest, AnotherProcesssSignalIsNoFaultOfTheBody)
{
    EXPECT_EXIT(
        {
            Install(SIGABRT, Plain);
            RunOneFrame();
            uint32_t Code;
            const bool bDone = Guarded(
                [] {
                    const pid_t Parent = getpid();
                    const pid_t Child = fork();
                    if (Child == 0) {
                        kill(Parent, SIGABRT);
                        _exit(0);
                    }
                    waitpid(Child, nullptr, 0);
                },
                Code);
            Leave(bDone && g_Runs == 1);
        },
        testing::ExitedWithCode(0), "");
}
