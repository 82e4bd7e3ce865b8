// The critical section, as the system sees it.
#include "platform/critical_section.h"

#include <gtest/gtest.h>

#include <windows.h>

TEST(CriticalSection, IsTheSystemsOwn)
{
    platform::CriticalSection Section;
    auto* const pSection = reinterpret_cast<CRITICAL_SECTION*>(&Section);
    Section.lock();
    Section.lock();
    EXPECT_EQ(reinterpret_cast<DWORD>(pSection->OwningThread), GetCurrentThreadId());
    EXPECT_EQ(pSection->RecursionCount, 2);
    Section.unlock();
    Section.unlock();
    EXPECT_EQ(pSection->OwningThread, nullptr);
}
