// Windows Management Instrumentation, and the list of display adapters over it.
#include "front/WMI_win32.h"

#include "front/adapters.h"
#include "tests/support/fake_wmi_win32.h"
#include "tests/support/recording_log.h"
#include "tests/support/turned_clock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

constexpr HRESULT kDenied = E_ACCESSDENIED;
constexpr char kDeniedText[] = "-2147024891";

FakeWmi::Object Adapter(const wchar_t* pName, const wchar_t* pStatus)
{
    return {{L"Name", VT_BSTR, pName, 0}, {L"DriverVersion", VT_BSTR, L"1.2", 0}, {L"Status", VT_BSTR, pStatus, 0}};
}

class Wmi : public testing::Test
{
protected:
    std::vector<std::string> Names(bool bOnlyOK)
    {
        std::vector<std::string> List;
        EXPECT_TRUE(MyGetDisplayVideoControllerList(List, bOnlyOK));
        return List;
    }

    FakeWmi m_Wmi;
    RecordingLog m_Log;
};

} // namespace

TEST_F(Wmi, AdaptersAreAskedForInTheseCalls)
{
    m_Wmi.Objects = {Adapter(L"One", L"OK")};
    EXPECT_THAT(Names(true), ElementsAre("One"));
    EXPECT_THAT(m_Wmi.Calls,
                ElementsAre("CreateInstance", "ConnectServer ROOT\\CIMV2 0", "SetBlanket 10 0 null 3 3 null 0",
                            "ExecQuery WQL [SELECT * FROM Win32_VideoController] 48", "Next 5000 1", "Get Name",
                            "Get DriverVersion", "Get Status", "Next 5000 1"));
    EXPECT_EQ(m_Wmi.Live, 0);
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(Wmi, TheStatusDecidesWhichAdaptersAreListed)
{
    m_Wmi.Objects = {Adapter(L"One", L"OK"), Adapter(L"Two", L"Degraded"), {{L"Status", VT_BSTR, L"OK", 0}}};
    EXPECT_THAT(Names(true), ElementsAre("One", "")); // the last one has no name
    EXPECT_THAT(Names(false), ElementsAre("One", "Two", ""));
    EXPECT_EQ(m_Wmi.Live, 0);
}

TEST_F(Wmi, ANullPropertyIsAnEmptyText)
{
    m_Wmi.Objects = {{{L"Name", VT_NULL, L"", 0}, {L"Status", VT_BSTR, L"OK", 0}}};
    EXPECT_THAT(Names(true), ElementsAre(""));
}

TEST_F(Wmi, AnAnswerThatDoesNotComeEndsTheList)
{
    m_Wmi.Objects = {Adapter(L"One", L"OK")};
    m_Wmi.NextResult = kDenied;
    EXPECT_THAT(Names(true), IsEmpty());
    EXPECT_EQ(m_Wmi.Live, 0);
}

TEST_F(Wmi, SlowAnswersEndTheListBehindTenSeconds)
{
    static TurnedClock* s_pClock;
    TurnedClock Clock;
    s_pClock = &Clock;
    m_Wmi.Objects = {Adapter(L"One", L"OK"), Adapter(L"Two", L"OK"), Adapter(L"Three", L"OK")};
    m_Wmi.NextMilliseconds = 5001;
    m_Wmi.pTurnClock = [](uint32_t Milliseconds) { s_pClock->Turn(Milliseconds); };
    EXPECT_THAT(Names(true), ElementsAre("One", "Two"));
    EXPECT_EQ(m_Log.With("qvlx - MyGetDisplayVideoControllerList() dwNow=").size(), 1u);
    EXPECT_EQ(m_Wmi.Live, 0);
}

TEST_F(Wmi, EachFailureHasItsLineAndLeavesNothing)
{
    struct Row {
        HRESULT FakeWmi::*pResult;
        std::string Line;
        size_t Calls;
    };
    const Row Rows[] = {
        {&FakeWmi::CreateResult, "qvlx - CWMI::ConnectTo() Failed to create IWbemLocator object. err=", 1},
        {&FakeWmi::ConnectResult, "qvlx - CWMI::ConnectTo() Could not connect. csInfoText=ROOT\\CIMV2 err=", 2},
        {&FakeWmi::BlanketResult,
         "qvlx - CWMI::GetAntVirusTool() Could not set proxy blanket. csInfoText=ROOT\\CIMV2 err=", 3},
        {&FakeWmi::QueryResult,
         "qvlx - CWMI::ExecQuery() Query failed. csQueryText=SELECT * FROM Win32_VideoController err=", 4}};
    for (const Row& r : Rows) {
        m_Wmi.*r.pResult = kDenied;
        m_Wmi.Calls.clear();
        m_Log.Clear();
        std::vector<std::string> List;
        EXPECT_FALSE(MyGetDisplayVideoControllerList(List, true));
        EXPECT_EQ(m_Wmi.Calls.size(), r.Calls);
        ASSERT_EQ(m_Log.Lines().size(), 2u);
        EXPECT_EQ(m_Log.Lines()[0], (LogLine{kLogError, r.Line + kDeniedText}));
        EXPECT_THAT(m_Log.Lines()[1].Text, MatchesRegex("Assert failed: file=stdafx line=.* expr=bret"));
        EXPECT_EQ(m_Wmi.Live, 0);
        m_Wmi.*r.pResult = S_OK;
    }
}

TEST_F(Wmi, AQueryNeedsAConnectionAndAnAnswerAQuery)
{
    CWMI Unconnected;
    IWbemClassObject* pObject = nullptr;
    EXPECT_FALSE(Unconnected.ExecQuery("SELECT"));
    EXPECT_FALSE(Unconnected.Next(&pObject));
    std::string Text;
    EXPECT_FALSE(CWMI::GetString(nullptr, L"Name", Text));
    ASSERT_EQ(m_Log.Lines().size(), 3u);
    EXPECT_THAT(m_Log.Lines()[0].Text, MatchesRegex("Assert failed: file=WMI line=.* expr=m_pSvc"));
    EXPECT_THAT(m_Log.Lines()[1].Text, MatchesRegex("Assert failed: file=WMI line=.* expr=m_pEnumerator"));
    EXPECT_THAT(m_Log.Lines()[2].Text, MatchesRegex("Assert failed: file=WMI line=.* expr=pclsObj"));
}

TEST_F(Wmi, ANewConnectionOrQueryGivesUpTheOneBefore)
{
    m_Wmi.Objects = {Adapter(L"One", L"OK")};
    CWMI Twice;
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(Twice.ConnectTo("ROOT\\CIMV2"));
        ASSERT_TRUE(Twice.ExecQuery("SELECT 1"));
        ASSERT_TRUE(Twice.ExecQuery("SELECT 2"));
        EXPECT_EQ(m_Wmi.Live, 3); // locator, service, enumeration
    }
}

TEST_F(Wmi, PropertiesAreReadInTheTypeThatIsWanted)
{
    m_Wmi.Objects = {{{L"Number", VT_I4, L"", -7},
                      {L"Size", VT_BSTR, L"12884901888", 0},
                      {L"Yes", VT_BOOL, L"", 1},
                      {L"Word", VT_BSTR, L"word", 0}}};
    CWMI Source;
    ASSERT_TRUE(Source.ConnectTo("ROOT\\CIMV2") && Source.ExecQuery("SELECT"));
    IWbemClassObject* pObject = nullptr;
    ASSERT_TRUE(Source.Next(&pObject));
    int32_t Number = 1;
    uint64_t Size = 1;
    bool Yes = false;
    std::string Text = "before";
    EXPECT_TRUE(CWMI::GetInt(pObject, L"Number", Number));
    EXPECT_EQ(Number, -7);
    EXPECT_TRUE(CWMI::GetUInt64(pObject, L"Size", Size));
    EXPECT_EQ(Size, 12884901888u);
    EXPECT_TRUE(CWMI::GetBool(pObject, L"Yes", Yes));
    EXPECT_TRUE(Yes);
    EXPECT_TRUE(CWMI::GetString(pObject, L"Number", Text));
    EXPECT_EQ(Text, "-7");
    EXPECT_FALSE(CWMI::GetInt(pObject, L"Word", Number));
    EXPECT_EQ(Number, 0);
    EXPECT_FALSE(CWMI::GetUInt64(pObject, L"Nothing", Size));
    EXPECT_EQ(Size, 0u);
    EXPECT_FALSE(CWMI::GetBool(pObject, L"Nothing", Yes));
    EXPECT_FALSE(Yes);
    EXPECT_FALSE(CWMI::GetString(pObject, L"Nothing", Text));
    EXPECT_EQ(Text, "");
    pObject->Release();
}

TEST(WmiOfTheSystem, TellsOfTheAdapters)
{
    RecordingLog Log;
    std::vector<std::string> List;
    EXPECT_TRUE(MyGetDisplayVideoControllerList(List, true));
    EXPECT_THAT(Log.Lines(), IsEmpty());
}
