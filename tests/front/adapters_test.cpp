// The list of display adapters: which of them are in it, and the bound on the time that it takes.
#include "front/adapters.h"

#include "tests/support/recording_log.h"
#include "tests/support/turned_clock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

class ListedAdapters : public IAdapterSource
{
public:
    ListedAdapters(std::vector<DisplayAdapter> Adapters, TurnedClock& Clock)
        : m_Adapters(std::move(Adapters)), m_Clock(Clock)
    {
    }
    bool Connect() override { return bConnects; }
    bool Query() override
    {
        EXPECT_TRUE(bConnects);
        return bAnswers;
    }
    bool Next(DisplayAdapter& Adapter) override
    {
        m_Clock.Turn(MillisecondsEach);
        if (m_Next == m_Adapters.size()) return false;
        Adapter = m_Adapters[m_Next++];
        return true;
    }
    size_t Asked() const { return m_Next; }

    bool bConnects = true, bAnswers = true;
    uint32_t MillisecondsEach = 0;

private:
    std::vector<DisplayAdapter> m_Adapters;
    TurnedClock& m_Clock;
    size_t m_Next = 0;
};

class Adapters : public testing::Test
{
protected:
    TurnedClock m_Clock{0xFFFFF000}; // so that it wraps on the way
    RecordingLog m_Log;
    std::vector<std::string> m_List;
};

} // namespace

TEST_F(Adapters, ThoseThatWorkAreListedInTheirOrder)
{
    ListedAdapters Source({{"One", "1.0", "OK"}, {"Two", "", "Error"}, {"Three", "", "ok"}, {"Four", "", "OK"}},
                          m_Clock);
    EXPECT_TRUE(ListAdapters(Source, m_List, true));
    EXPECT_THAT(m_List, ElementsAre("One", "Four")); // the status exactly, case included
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(Adapters, AllAreListedOnRequest)
{
    ListedAdapters Source({{"One", "", "OK"}, {"Two", "", "Degraded"}}, m_Clock);
    EXPECT_TRUE(ListAdapters(Source, m_List, false));
    EXPECT_THAT(m_List, ElementsAre("One", "Two"));
}

TEST_F(Adapters, AMachineWhoseOnlyAdapterDoesNotWorkHasAnEmptyList)
{
    ListedAdapters Source({{"One", "", "Error"}}, m_Clock);
    EXPECT_TRUE(ListAdapters(Source, m_List, true));
    EXPECT_THAT(m_List, IsEmpty());
}

TEST_F(Adapters, OneWithoutANameIsAnEmptyText)
{
    ListedAdapters Source({{"", "", "OK"}, {"Two", "", "OK"}}, m_Clock);
    EXPECT_TRUE(ListAdapters(Source, m_List, true));
    EXPECT_THAT(m_List, ElementsAre("", "Two"));
}

TEST_F(Adapters, TheListEndsBehindTheFirstThatFindsTenSecondsGone)
{
    ListedAdapters Source({{"One", "", "OK"}, {"Two", "", "OK"}, {"Three", "", "OK"}}, m_Clock);
    Source.MillisecondsEach = 5001;
    EXPECT_TRUE(ListAdapters(Source, m_List, true)); // what is there is a success
    EXPECT_THAT(m_List, ElementsAre("One", "Two"));  // the last one read is in it
    EXPECT_EQ(Source.Asked(), 2u);
    EXPECT_THAT(m_Log.Lines(),
                ElementsAre(LogLine{kLogWarning, "qvlx - MyGetDisplayVideoControllerList() dwNow=5906 dwBegin=-4096"}));
}

TEST_F(Adapters, ExactlyTenSecondsAreNotTooLong)
{
    ListedAdapters Source({{"One", "", "OK"}, {"Two", "", "OK"}, {"Three", "", "Error"}}, m_Clock);
    Source.MillisecondsEach = 5000;
    EXPECT_TRUE(ListAdapters(Source, m_List, true));
    EXPECT_EQ(Source.Asked(), 3u); // the third finds them gone, whether it is listed or not
    EXPECT_EQ(m_Log.Lines().size(), 1u);
}

TEST_F(Adapters, AConnectionOrAQueryThatFailsIsAsserted)
{
    ListedAdapters Source({{"One", "", "OK"}}, m_Clock);
    Source.bAnswers = false;
    EXPECT_FALSE(ListAdapters(Source, m_List, true));
    Source.bConnects = false;
    EXPECT_FALSE(ListAdapters(Source, m_List, true));
    EXPECT_THAT(m_List, IsEmpty());
    ASSERT_EQ(m_Log.Lines().size(), 2u);
    for (const LogLine& Line : m_Log.Lines()) {
        EXPECT_EQ(Line.Level, kLogError);
        EXPECT_THAT(Line.Text, MatchesRegex("Assert failed: file=stdafx line=.* expr=bret"));
    }
}
