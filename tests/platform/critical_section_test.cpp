// The system's critical section.
#include "platform/critical_section.h"

#include <gtest/gtest.h>

#include <mutex>
#include <thread>

using platform::CriticalSection;

namespace {

bool IsFreeForOthers(CriticalSection& Section)
{
    bool bFree = false;
    std::thread([&] {
        bFree = Section.try_lock();
        if (bFree) Section.unlock();
    }).join();
    return bFree;
}

} // namespace

TEST(CriticalSection, IsHeldUntilItIsLeftAsOftenAsTaken)
{
    CriticalSection Section;
    Section.lock();
    EXPECT_TRUE(Section.try_lock());
    EXPECT_FALSE(IsFreeForOthers(Section));
    Section.unlock();
    EXPECT_FALSE(IsFreeForOthers(Section));
    Section.unlock();
    EXPECT_TRUE(IsFreeForOthers(Section));
}

TEST(CriticalSection, LetsOneThreadInAtATime)
{
    CriticalSection Section;
    int Count = 0;
    const auto Work = [&] {
        for (int i = 0; i < 20000; ++i) {
            const std::lock_guard Held(Section);
            Count = Count + 1;
        }
    };
    std::thread First(Work), Second(Work);
    First.join();
    Second.join();
    EXPECT_EQ(Count, 40000);
}
