// Events, threads, sections and files.
#include "media/os/os_event.h"
#include "media/os/os_file.h"
#include "media/os/os_section.h"
#include "media/os/os_system.h"
#include "media/os/os_thread.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

using namespace UMC;

TEST(OsEvent, TellsWhatIsWrong)
{
    EventRecord Event;
    EXPECT_EQ(InitEvent(nullptr, true, false), StatusNullPointer);
    EXPECT_EQ(SignalEvent(nullptr), StatusNullPointer);
    EXPECT_EQ(SignalEvent(&Event), StatusNotInitialized);
    EXPECT_EQ(ResetEvent(&Event), StatusNotInitialized);
    EXPECT_EQ(WaitForEvent(&Event), StatusNotInitialized);
    EXPECT_FALSE(IsEventValid(&Event));
    EXPECT_EQ(InitEvent(&Event, true, true), StatusOk);
    EXPECT_TRUE(IsEventValid(&Event));
    EXPECT_EQ(WaitForEvent(&Event), StatusOk);
    DestroyEvent(&Event);
    EXPECT_FALSE(IsEventValid(&Event));
}

TEST(OsEvent, AManualEventStaysSignalledAndAnAutomaticOneDoesNot)
{
    Event Manual, Automatic;
    ASSERT_EQ(Manual.Init(true, true), StatusOk);
    EXPECT_EQ(Manual.Wait(), StatusOk);
    EXPECT_EQ(Manual.Wait(), StatusOk);
    ASSERT_EQ(Automatic.Init(false, true), StatusOk);
    EXPECT_EQ(Automatic.Wait(), StatusOk);
    std::atomic<bool> bThrough{false};
    std::thread Waiter([&] {
        Automatic.Wait();
        bThrough = true;
    });
    std::this_thread::yield();
    EXPECT_FALSE(bThrough);
    Automatic.Signal();
    Waiter.join();
    EXPECT_TRUE(bThrough);
}

TEST(OsEvent, InitOfAnEventReleasesItsWaiters)
{
    Event Shared;
    ASSERT_EQ(Shared.Init(true, false), StatusOk);
    std::atomic<bool> bStarted{false};
    std::thread Waiter([&] {
        bStarted = true;
        Shared.Wait();
    });
    while (!bStarted) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // the waiter is very likely inside Wait by now
    ASSERT_EQ(Shared.Init(true, true), StatusOk);
    Waiter.join();
}

TEST(OsThread, RunsAndIsWaitedForByAnyNumber)
{
    ThreadRecord Thread;
    std::atomic<int> Runs{0};
    const auto Body = [](void* p) -> uint32_t {
        ++*static_cast<std::atomic<int>*>(p);
        return 0;
    };
    EXPECT_FALSE(IsThreadValid(Thread));
    EXPECT_FALSE(StartThread(Thread, nullptr, nullptr));
    ASSERT_TRUE(StartThread(Thread, Body, &Runs));
    ASSERT_TRUE(StartThread(Thread, Body, &Runs)); // waits for the first
    std::thread Other([&] { WaitForThread(Thread); });
    WaitForThread(Thread);
    Other.join();
    EXPECT_EQ(Runs, 2);
    EXPECT_FALSE(IsThreadValid(Thread));
    CloseThread(Thread);
}

TEST(OsThread, IsValidWhileItRuns)
{
    Thread Worker;
    std::atomic<bool> bLeave{false};
    ASSERT_EQ(Worker.Create(
                  [](void* p) -> uint32_t {
                      while (!*static_cast<std::atomic<bool>*>(p)) std::this_thread::yield();
                      return 0;
                  },
                  &bLeave),
              StatusOk);
    EXPECT_TRUE(Worker.IsValid());
    EXPECT_TRUE(Worker.SetPriority(ThreadPriority::Normal));
    bLeave = true;
    Worker.Wait();
    EXPECT_FALSE(Worker.IsValid());
    EXPECT_FALSE(Worker.SetPriority(ThreadPriority::Normal));
}

TEST(OsSection, IsRecursive)
{
    Mutex Lock;
    EXPECT_TRUE(Lock.IsValid());
    const AutomaticMutex Outer(Lock);
    const AutomaticMutex Inner(Lock);
}

TEST(OsSection, NeedsNoMemory)
{
    const FailingAllocation Fail(1, FailingAllocation::After::Fail);
    Mutex Lock;
    EXPECT_TRUE(Lock.IsValid());
    const AutomaticMutex Held(Lock);
    EXPECT_FALSE(Fail.Failed());
}

TEST(OsSection, IsThereFromItsInitToItsDestruction)
{
    SectionRecord Section;
    EXPECT_FALSE(IsSectionValid(Section));
    InitSection(Section);
    LockSection(Section);
    InitSection(Section); // changes nothing: still held
    std::thread([&] { EXPECT_FALSE(Section.Mutex->try_lock()); }).join();
    UnlockSection(Section);
    DestroySection(Section);
    EXPECT_FALSE(IsSectionValid(Section));
}

TEST(OsThread, OneThatFindsNoMemoryIsNotStarted)
{
    const auto Body = [](void* p) -> uint32_t {
        ++*static_cast<std::atomic<int>*>(p);
        return 0;
    };
    std::atomic<int> Runs{0};
    ThreadRecord Thread;
    size_t n = 0;
    for (bool bStarted = false; !bStarted; ++n) {
        ASSERT_LT(n, 20u);
        const FailingAllocation Fail(n + 1);
        bStarted = StartThread(Thread, Body, &Runs);
        EXPECT_EQ(bStarted, !Fail.Failed());
        EXPECT_EQ(IsThreadValid(Thread) || Runs == 1, bStarted);
    }
    EXPECT_GE(n, 3u); // its record, and what the thread starts with
    CloseThread(Thread);
    EXPECT_EQ(Runs, 1);
}

TEST(OsFile, WritesReadsSeeksAndTellsSizes)
{
    TemporaryFolder Folder;
    const std::string Name = Folder.File("data");
    EXPECT_EQ(OpenFile(Name.c_str(), "rb"), nullptr);
    EXPECT_EQ(FileSize(Name.c_str()), -1);
    FileRecord* pFile = OpenFile(Name.c_str(), "wb");
    ASSERT_NE(pFile, nullptr);
    EXPECT_EQ(WriteFile("one\ntwo\n", 1, 8, pFile), 8u);
    EXPECT_EQ(PrintToFile(pFile, "%d", 3), 1);
    EXPECT_TRUE(CloseFile(pFile));
    EXPECT_EQ(FileSize(Name.c_str()), 9);
    pFile = OpenFile(Name.c_str(), "rb");
    char Line[16];
    EXPECT_STREQ(ReadLine(Line, sizeof Line, pFile), "one\n");
    EXPECT_TRUE(SeekFile(pFile, -1, SEEK_END));
    EXPECT_EQ(ReadFile(Line, 1, 5, pFile), 1u);
    EXPECT_EQ(Line[0], '3');
    EXPECT_EQ(ReadLine(Line, sizeof Line, pFile), nullptr);
    EXPECT_TRUE(CloseFile(pFile));
    EXPECT_TRUE(RemoveFile(Name.c_str()));
    EXPECT_FALSE(RemoveFile(Name.c_str()));
    EXPECT_TRUE(CloseFile(nullptr));
}

TEST(OsFile, APositionThatCannotBeHadIsRefusedAndNotAnother)
{
    TemporaryFolder Folder;
    const std::string Name = Folder.File("data");
    FileRecord* pFile = OpenFile(Name.c_str(), "wb");
    ASSERT_NE(pFile, nullptr);
    EXPECT_EQ(WriteFile("x", 1, 1, pFile), 1u);
    EXPECT_TRUE(CloseFile(pFile));
    pFile = OpenFile(Name.c_str(), "rb");
    ASSERT_NE(pFile, nullptr);
    char Byte = 0;
    for (const int64_t Position : {int64_t{1} << 32, -(int64_t{1} << 32)}) {
        EXPECT_TRUE(SeekFile(pFile, 0, SEEK_END));
        SeekFile(pFile, Position, SEEK_SET); // systems differ in whether they can
        EXPECT_EQ(ReadFile(&Byte, 1, 1, pFile), 0u) << Position;
    }
    EXPECT_TRUE(CloseFile(pFile));
}

TEST(OsSystem, ThereIsAProcessor) { EXPECT_GE(os_processor_count(), 1u); }
