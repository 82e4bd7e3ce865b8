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
    os_event Event;
    EXPECT_EQ(os_event_init(nullptr, true, false), StatusNullPointer);
    EXPECT_EQ(os_event_signal(nullptr), StatusNullPointer);
    EXPECT_EQ(os_event_signal(&Event), StatusNotInitialized);
    EXPECT_EQ(os_event_reset(&Event), StatusNotInitialized);
    EXPECT_EQ(os_event_wait(&Event), StatusNotInitialized);
    EXPECT_FALSE(os_event_is_valid(&Event));
    EXPECT_EQ(os_event_init(&Event, true, true), StatusOk);
    EXPECT_TRUE(os_event_is_valid(&Event));
    EXPECT_EQ(os_event_wait(&Event), StatusOk);
    os_event_destroy(&Event);
    EXPECT_FALSE(os_event_is_valid(&Event));
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
    os_thread Thread;
    std::atomic<int> Runs{0};
    const auto Body = [](void* p) -> uint32_t {
        ++*static_cast<std::atomic<int>*>(p);
        return 0;
    };
    EXPECT_FALSE(os_thread_is_valid(Thread));
    EXPECT_FALSE(os_thread_create(Thread, nullptr, nullptr));
    ASSERT_TRUE(os_thread_create(Thread, Body, &Runs));
    ASSERT_TRUE(os_thread_create(Thread, Body, &Runs)); // waits for the first
    std::thread Other([&] { os_thread_wait(Thread); });
    os_thread_wait(Thread);
    Other.join();
    EXPECT_EQ(Runs, 2);
    EXPECT_FALSE(os_thread_is_valid(Thread));
    os_thread_close(Thread);
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
    EXPECT_TRUE(Worker.SetPriority(os_priority::Normal));
    bLeave = true;
    Worker.Wait();
    EXPECT_FALSE(Worker.IsValid());
    EXPECT_FALSE(Worker.SetPriority(os_priority::Normal));
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
    os_section Section;
    EXPECT_FALSE(os_section_is_valid(Section));
    os_section_init(Section);
    os_section_lock(Section);
    os_section_init(Section); // changes nothing: still held
    std::thread([&] { EXPECT_FALSE(Section.Mutex->try_lock()); }).join();
    os_section_unlock(Section);
    os_section_destroy(Section);
    EXPECT_FALSE(os_section_is_valid(Section));
}

TEST(OsThread, OneThatFindsNoMemoryIsNotStarted)
{
    const auto Body = [](void* p) -> uint32_t {
        ++*static_cast<std::atomic<int>*>(p);
        return 0;
    };
    std::atomic<int> Runs{0};
    os_thread Thread;
    size_t n = 0;
    for (bool bStarted = false; !bStarted; ++n) {
        ASSERT_LT(n, 20u);
        const FailingAllocation Fail(n + 1);
        bStarted = os_thread_create(Thread, Body, &Runs);
        EXPECT_EQ(bStarted, !Fail.Failed());
        EXPECT_EQ(os_thread_is_valid(Thread) || Runs == 1, bStarted);
    }
    EXPECT_GE(n, 3u); // its record, and what the thread starts with
    os_thread_close(Thread);
    EXPECT_EQ(Runs, 1);
}

TEST(OsFile, WritesReadsSeeksAndTellsSizes)
{
    TemporaryFolder Folder;
    const std::string Name = Folder.File("data");
    EXPECT_EQ(os_file_open(Name.c_str(), "rb"), nullptr);
    EXPECT_EQ(os_file_size(Name.c_str()), -1);
    os_file* pFile = os_file_open(Name.c_str(), "wb");
    ASSERT_NE(pFile, nullptr);
    EXPECT_EQ(os_file_write("one\ntwo\n", 1, 8, pFile), 8u);
    EXPECT_EQ(os_file_printf(pFile, "%d", 3), 1);
    EXPECT_TRUE(os_file_close(pFile));
    EXPECT_EQ(os_file_size(Name.c_str()), 9);
    pFile = os_file_open(Name.c_str(), "rb");
    char Line[16];
    EXPECT_STREQ(os_file_gets(Line, sizeof Line, pFile), "one\n");
    EXPECT_TRUE(os_file_seek(pFile, -1, SEEK_END));
    EXPECT_EQ(os_file_read(Line, 1, 5, pFile), 1u);
    EXPECT_EQ(Line[0], '3');
    EXPECT_EQ(os_file_gets(Line, sizeof Line, pFile), nullptr);
    EXPECT_TRUE(os_file_close(pFile));
    EXPECT_TRUE(os_file_remove(Name.c_str()));
    EXPECT_FALSE(os_file_remove(Name.c_str()));
    EXPECT_TRUE(os_file_close(nullptr));
}

TEST(OsFile, APositionThatCannotBeHadIsRefusedAndNotAnother)
{
    TemporaryFolder Folder;
    const std::string Name = Folder.File("data");
    os_file* pFile = os_file_open(Name.c_str(), "wb");
    ASSERT_NE(pFile, nullptr);
    EXPECT_EQ(os_file_write("x", 1, 1, pFile), 1u);
    EXPECT_TRUE(os_file_close(pFile));
    pFile = os_file_open(Name.c_str(), "rb");
    ASSERT_NE(pFile, nullptr);
    char Byte = 0;
    for (const int64_t Position : {int64_t{1} << 32, -(int64_t{1} << 32)}) {
        EXPECT_TRUE(os_file_seek(pFile, 0, SEEK_END));
        os_file_seek(pFile, Position, SEEK_SET); // systems differ in whether they can
        EXPECT_EQ(os_file_read(&Byte, 1, 1, pFile), 0u) << Position;
    }
    EXPECT_TRUE(os_file_close(pFile));
}

TEST(OsSystem, ThereIsAProcessor) { EXPECT_GE(os_processor_count(), 1u); }
