// Events: one waiter a signal, and a wait with and without an end.
#include "platform/event.h"

#include <gtest/gtest.h>

#include <thread>

using platform::Event;

TEST(Event, IsUnsetAtFirst)
{
    Event Unset;
    ASSERT_TRUE(Unset.Ok());
    EXPECT_NE(Unset.Handle(), nullptr);
    EXPECT_FALSE(Unset.Wait(0));
    EXPECT_FALSE(Unset.Wait(10));
}

TEST(Event, ASignalLetsOneWaitThrough)
{
    Event Once;
    Once.Signal();
    Once.Signal(); // no more than set
    EXPECT_TRUE(Once.Wait(0));
    EXPECT_FALSE(Once.Wait(0));
}

TEST(Event, AWaiterWithoutLimitIsWokenByAnotherThread)
{
    Event Done;
    std::thread Other([&] { Done.Signal(); });
    EXPECT_TRUE(Done.Wait(Event::kForever));
    Other.join();
}
