// What an exception frame leaves to the handlers that others have: frames of the client and of a driver in the thread's
// chain, vectored handlers, the filter for what nobody handles, and the handler of the abort signal.
#include "platform/exception_frame.h"

#include "tests/support/faults.h"
#include "tests/support/threadsafe_death_test.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdlib>

using platform::Guarded;

namespace {

void RunOneFrame()
{
    uint32_t Code;
    if (!Guarded([] {}, Code)) ExitProcess(90);
    if (Guarded(WriteToNull, Code)) ExitProcess(91);
}

[[noreturn]] void Leave(bool bAsExpected) { ExitProcess(bAsExpected ? 0 : 1); }

// ---- A frame of somebody else in the thread's chain --------------------------------------------------------------

struct ForeignFrame {
    ForeignFrame* pOuter;
    void* pHandler;
    int Searches = 0, Unwinds = 0; // how often it was asked, and how often told to clean up
    bool bContinues = false;       // goes on behind the instruction that faulted: a breakpoint, one byte long

    ForeignFrame()
        : pOuter(reinterpret_cast<ForeignFrame*>(__readfsdword(0))), pHandler(reinterpret_cast<void*>(Handle))
    {
        __writefsdword(0, reinterpret_cast<DWORD>(this));
    }
    ~ForeignFrame() { __writefsdword(0, reinterpret_cast<DWORD>(pOuter)); }

    static EXCEPTION_DISPOSITION __cdecl Handle(EXCEPTION_RECORD* pRecord, void* pFrame, CONTEXT* pContext, void*)
    {
        auto& Own = *static_cast<ForeignFrame*>(pFrame);
        const bool bUnwinds = pRecord->ExceptionFlags & (EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND);
        ++(bUnwinds ? Own.Unwinds : Own.Searches);
        if (!Own.bContinues || bUnwinds) return ExceptionContinueSearch;
        pContext->Eip = reinterpret_cast<DWORD>(pRecord->ExceptionAddress) + 1;
        return ExceptionContinueExecution;
    }
};

void Break() { __asm__ volatile("int3"); }

} // namespace

TEST(ExceptionChain, AFaultThatTheBodyHandlesItselfIsNoneOfTheFrame)
{
    uint32_t Code;
    int Searches = 0;
    bool bWentOn = false;
    EXPECT_TRUE(Guarded(
        [&] {
            ForeignFrame Drivers;
            Drivers.bContinues = true;
            Break();
            bWentOn = true;
            Searches = Drivers.Searches;
        },
        Code));
    EXPECT_TRUE(bWentOn);
    EXPECT_EQ(Searches, 1);
    EXPECT_EQ(Code, 0u);
}

TEST(ExceptionChain, ADriversFrameIsAskedAndThenToldToCleanUp)
{
    static int s_Searches, s_Unwinds;
    s_Searches = s_Unwinds = 0;
    uint32_t Code;
    EXPECT_FALSE(Guarded(
        [] {
            ForeignFrame Drivers;
            struct Copy { // what is left of the frame cannot be read once its stack is gone
                static EXCEPTION_DISPOSITION __cdecl Handle(EXCEPTION_RECORD* pRecord, void*, CONTEXT*, void*)
                {
                    ++(pRecord->ExceptionFlags & EXCEPTION_UNWINDING ? s_Unwinds : s_Searches);
                    return ExceptionContinueSearch;
                }
            };
            Drivers.pHandler = reinterpret_cast<void*>(Copy::Handle);
            WriteToNull();
        },
        Code));
    EXPECT_EQ(s_Searches, 1);
    EXPECT_EQ(s_Unwinds, 1);
}

TEST(ExceptionChain, AClientsFrameSeesWhatHappensOutside)
{
    ForeignFrame Clients;
    Clients.bContinues = true;
    uint32_t Code;
    EXPECT_FALSE(Guarded(Break, Code));
    EXPECT_EQ(Clients.Searches, 0);
    Break();
    EXPECT_EQ(Clients.Searches, 1);
    EXPECT_EQ(Clients.Unwinds, 0);
}

// ---- Vectored handlers -------------------------------------------------------------------------------------------

namespace {

int g_Vectored = 0;

LONG CALLBACK GoOnBehindBreakpoint(EXCEPTION_POINTERS* p)
{
    ++g_Vectored;
    if (p->ExceptionRecord->ExceptionCode != EXCEPTION_BREAKPOINT) return EXCEPTION_CONTINUE_SEARCH;
    p->ContextRecord->Eip = reinterpret_cast<DWORD>(p->ExceptionRecord->ExceptionAddress) + 1;
    return EXCEPTION_CONTINUE_EXECUTION;
}

} // namespace

TEST(ExceptionChain, AClientsVectoredHandlerComesFirstAsEver)
{
    g_Vectored = 0;
    void* const pHandler = AddVectoredExceptionHandler(0, GoOnBehindBreakpoint); // last of the vectored ones
    uint32_t Code;
    EXPECT_TRUE(Guarded(Break, Code)); // handled by it
    EXPECT_EQ(g_Vectored, 1);
    EXPECT_FALSE(Guarded(WriteToNull, Code)); // passed on
    EXPECT_EQ(g_Vectored, 2);
    Break();
    EXPECT_EQ(g_Vectored, 3);
    RemoveVectoredExceptionHandler(pHandler);
}

// ---- What nobody handles: each in a process of its own -----------------------------------------------------------

namespace {

bool g_bFramesAreOver = false;

LONG WINAPI LastFilter(EXCEPTION_POINTERS* p)
{
    ExitProcess(g_bFramesAreOver && p->ExceptionRecord->ExceptionCode == platform::kFaultAccess ? 17 : 18);
}

// The system's own end of the process, without its debugger or message box.
LONG WINAPI EndQuietly(EXCEPTION_POINTERS*) { return EXCEPTION_EXECUTE_HANDLER; }

int g_Aborts = 0;
void CountAbort(int) { ++g_Aborts; }
void CountAbortAndStay(int)
{
    ++g_Aborts;
    signal(SIGABRT, CountAbortAndStay);
}

using ExceptionChainDeathTest = ThreadsafeDeathTest;

} // namespace

TEST_F(ExceptionChainDeathTest, AFaultOutsideReachesTheClientsFilter)
{
    EXPECT_EXIT(
        {
            SetUnhandledExceptionFilter(LastFilter);
            RunOneFrame();
            g_bFramesAreOver = true;
            WriteToNull();
        },
        testing::ExitedWithCode(17), "");
}

TEST_F(ExceptionChainDeathTest, AFaultOutsideEndsTheProcessWithItsCode)
{
    EXPECT_EXIT(
        {
            SetUnhandledExceptionFilter(EndQuietly);
            RunOneFrame();
            WriteToNull();
        },
        testing::ExitedWithCode(static_cast<int>(platform::kFaultAccess)), "");
}

TEST_F(ExceptionChainDeathTest, AnAbortOutsideEndsTheProcess)
{
    EXPECT_EXIT(
        {
            RunOneFrame();
            abort();
        },
        testing::ExitedWithCode(3), "");
    EXPECT_EXIT(
        {
            RunOneFrame();
            raise(SIGABRT);
            Leave(true);
        },
        testing::ExitedWithCode(3), "");
}

TEST_F(ExceptionChainDeathTest, AnIgnoredAbortStaysIgnored)
{
    EXPECT_EXIT(
        {
            signal(SIGABRT, SIG_IGN);
            RunOneFrame();
            raise(SIGABRT);
            raise(SIGABRT);
            uint32_t Code;
            const bool bDone = Guarded(abort, Code);
            Leave(!bDone && Code == platform::kFaultAbort);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(ExceptionChainDeathTest, AClientsAbortHandlerIsCalledOutsideFramesOnly)
{
    EXPECT_EXIT(
        {
            signal(SIGABRT, CountAbort);
            RunOneFrame();
            uint32_t Code;
            const bool bCaught = !Guarded(abort, Code) && !Guarded(abort, Code) && Code == platform::kFaultAbort;
            const bool bSpared = g_Aborts == 0;
            raise(SIGABRT);
            if (!bCaught || !bSpared || g_Aborts != 1) Leave(false);
            raise(SIGABRT); // for one signal only, as everywhere
            Leave(false);
        },
        testing::ExitedWithCode(3), "");
}

TEST_F(ExceptionChainDeathTest, AClientsAbortHandlerThatComesLaterStandsInFront)
{
    EXPECT_EXIT(
        {
            RunOneFrame();
            signal(SIGABRT, CountAbortAndStay);
            raise(SIGABRT);
            raise(SIGABRT);
            RunOneFrame(); // installs nothing
            raise(SIGABRT);
            Leave(g_Aborts == 3);
        },
        testing::ExitedWithCode(0), "");
}
