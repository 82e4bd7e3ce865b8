// Work with a bound on its time: handles, threads that cannot be had, and what a killed one held.
#include "platform/killable_thread.h"

#include "platform/exception_frame.h"
#include "tests/platform/faults.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <vector>

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

// Takes every range of addresses that a thread's stack could have.
class NoRoomForStacks
{
public:
    NoRoomForStacks()
    {
        constexpr size_t kLeft = 1024 * 1024; // smaller ranges stay: the system itself needs some
        for (size_t Size = size_t{1} << 30; Size >= kLeft; Size /= 2)
            while (void* const p = VirtualAlloc(nullptr, Size, MEM_RESERVE, PAGE_NOACCESS)) m_Ranges.push_back(p);
    }
    ~NoRoomForStacks()
    {
        for (void* const p : m_Ranges) VirtualFree(p, 0, MEM_RELEASE);
    }

private:
    std::vector<void*> m_Ranges = Reserved();
    static std::vector<void*> Reserved()
    {
        std::vector<void*> Ranges;
        Ranges.reserve(4096);
        return Ranges;
    }
};

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

TEST(RunWithTimeout, AThreadThatCannotBeHadIsNotStarted)
{
    bool bRan = false;
    const auto Work = [](void* p) { *static_cast<bool*>(p) = true; };
    {
        const NoRoomForStacks None;
        EXPECT_EQ(RunWithTimeout(Work, &bRan, INFINITE), BoundedResult::NotStarted);
    }
    EXPECT_FALSE(bRan);
    EXPECT_EQ(RunWithTimeout(Work, &bRan, INFINITE), BoundedResult::Finished);
    EXPECT_TRUE(bRan);
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
