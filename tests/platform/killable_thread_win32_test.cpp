// Work with a bound on its time: handles, and what a killed thread held.
#include "platform/killable_thread.h"

#include "platform/exception_frame.h"
#include "tests/support/faults.h"

#include <gtest/gtest.h>

#include <windows.h>

using platform::BoundedResult;
using platform::RunWithTimeout;

namespace {

// Milliseconds within which a thread runs: a kill while it is being made is more than every system takes.
constexpr uint32_t kStarted = 100;

void SleepForEver(void*) { Sleep(INFINITE); }

// The lowest handle that is free.
uintptr_t NextHandle()
{
    const HANDLE Event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    CloseHandle(Event);
    return reinterpret_cast<uintptr_t>(Event);
}

} // namespace

TEST(RunWithTimeout, NeitherAnEndNorAKillLeavesAHandleOpen)
{
    const auto Work = [](void*) {};
    RunWithTimeout(Work, nullptr, INFINITE);
    RunWithTimeout(SleepForEver, nullptr, kStarted);
    const uintptr_t Before = NextHandle();
    for (int i = 0; i < 20; ++i) ASSERT_EQ(RunWithTimeout(Work, nullptr, INFINITE), BoundedResult::Finished);
    for (int i = 0; i < 3; ++i) ASSERT_EQ(RunWithTimeout(SleepForEver, nullptr, kStarted), BoundedResult::TimedOut);
    EXPECT_LE(NextHandle(), Before);
}

TEST(RunWithTimeout, AKilledThreadHasEndedAtTheReturn)
{
    static HANDLE s_Thread;
    const auto Work = [](void*) {
        DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &s_Thread, 0, FALSE,
                        DUPLICATE_SAME_ACCESS);
        Sleep(INFINITE);
    };
    ASSERT_EQ(RunWithTimeout(Work, nullptr, kStarted), BoundedResult::TimedOut);
    ASSERT_NE(s_Thread, nullptr);
    EXPECT_EQ(WaitForSingleObject(s_Thread, 0), WAIT_OBJECT_0);
    CloseHandle(s_Thread);
}

TEST(RunWithTimeout, AThreadKilledInALockLeavesItHeld)
{
    static CRITICAL_SECTION s_Section;
    InitializeCriticalSection(&s_Section);
    const auto Work = [](void*) {
        EnterCriticalSection(&s_Section);
        Sleep(INFINITE);
    };
    ASSERT_EQ(RunWithTimeout(Work, nullptr, kStarted), BoundedResult::TimedOut);
    EXPECT_FALSE(TryEnterCriticalSection(&s_Section)); // so that nobody takes it for more than a kill
}

TEST(RunWithTimeout, AFaultInAFrameOnTheThreadIsNoneOfTheCaller)
{
    uint32_t Code = 0;
    const auto Work = [](void* p) { platform::Guarded(WriteToNull, *static_cast<uint32_t*>(p)); };
    EXPECT_EQ(RunWithTimeout(Work, &Code, INFINITE), BoundedResult::Finished);
    EXPECT_EQ(Code, platform::kFaultAccess);
}
