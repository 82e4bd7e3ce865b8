// The AMD step of the selection with the run time behind it, and the run time's start and end with the library's.
#include "tests/AMF/amd_run_time.h"

#include "front/load.h"
#include "front/probes.h"
#include "front/selection.h"
#include "platform/exception_frame.h"
#include "platform/shared_library.h"
#include "quilvex/Quilvex.h"
#include "tests/support/no_more_threads.h"
#include "tests/support/user_folder.h"

#include <chrono>
#include <cstdio>

using namespace amd;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// The ways not to come back that end a call at once, and the code that each is told by.
struct Crash {
    DriverAction Action;
    const char* pCode;
};
const Crash kCrashes[] = {{kDriverAccess, "-1073741819"},
                          {kDriverArithmetic, "-1073741676"},
                          {kDriverIllegal, "-1073741795"},
                          {kDriverAbort, "1073741845"},
                          {kDriverThrow, "-529697949"}};

LogLine FilterLine(const Crash& c) { return {kLogError, std::string("qvlx - MyFilterException code=") + c.pCode}; }

std::string Printed(const void* p)
{
    char Text[32];
    std::snprintf(Text, sizeof Text, "%p", p);
    return Text;
}

struct AmdChain : testing::Test {
    AmdChain()
    {
        ResetSelectionState();
        OnLibraryLoad();
        Log().Clear();
        m_Machine.Renew();
    }
    ~AmdChain() override { ResetSelectionState(); }
    DriverScript& Script() { return m_Machine.m_Script; }
    RecordingLog& Log() { return m_Machine.m_Log; }

    // The tag of what the AMD step gives, 0 for nothing. Its first and last line are taken out of the log.
    uint32_t TagOf(uint32_t bDecoder)
    {
        const Owned<IVCodec> pCodec(CreateAMDH264hwVCodec(bDecoder));
        const std::string Of = " CreateAMDH264hwVCodec bDecoder=" + std::to_string(bDecoder);
        m_Lines = Log().Lines();
        EXPECT_EQ(m_Lines.front(), (LogLine{kLogInfo, "qvlx >" + Of}));
        EXPECT_EQ(m_Lines.back(), (LogLine{kLogInfo, "qvlx <" + Of + " pVCodec=" + Printed(pCodec.get())}));
        m_Lines = {m_Lines.begin() + 1, m_Lines.end() - 1};
        Log().Clear();
        return pCodec ? pCodec->GetBackendTag() : 0;
    }

    UserFolder m_Home;
    Machine m_Machine{false};
    std::vector<LogLine> m_Lines;
};

LogLine TrialLine(int Status)
{
    return {kLogInfo, "qvlx - CVCodecH264AMD::IsSupportH264hw_0() res=" + std::to_string(Status)};
}

double SecondsOf(const std::function<void()>& Run)
{
    const auto Start = std::chrono::steady_clock::now();
    Run();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count();
}

} // namespace

TEST_F(AmdChain, AWorkingRunTimeGivesTheEngine)
{
    for (const uint32_t bDecoder : {0u, 1u, 7u}) {
        EXPECT_EQ(TagOf(bDecoder), kBackendAmd);
        EXPECT_THAT(m_Lines, ElementsAre(TrialLine(0)));
    }
    EXPECT_EQ(Script().Calls("Factory.CreateComponent"), 3);
    EXPECT_EQ(Script().Live(), 0);
}

TEST_F(AmdChain, TheSelectionEndsInTheEngineInItsModes)
{
    for (const uint32_t id : {1u, 101u, 11u, 111u}) {
        const Owned<IVCodec> pCodec(CreateVCodec(id));
        ASSERT_TRUE(pCodec) << id;
        EXPECT_EQ(pCodec->GetBackendTag(), kBackendAmd);
        const bool bLogs = id % 100 == 1;
        const std::string Line = "qvlx - CreateVCodec(" + std::to_string(id) + ") AMD/ATI=" + Printed(pCodec.get());
        EXPECT_EQ(Log().With(Line).size(), bLogs ? 1u : 0u) << id;
        EXPECT_TRUE(InitEncoder(*pCodec));
        EXPECT_EQ(Encode(*pCodec, Picture(0)).Result, 1);
    }
    for (const uint32_t id : {0u, 100u, 3u}) {
        Script().Fault("Factory.CreateContext", kDriverAccess); // is not asked
        const Owned<IVCodec> pCodec(CreateVCodec(id));
        EXPECT_EQ(pCodec->GetBackendTag(), kBackendSoftware);
    }
}

TEST_F(AmdChain, ARefusalIsNull)
{
    for (const Failure& f : {Failure{"Factory.CreateContext", 17}, Failure{"Factory.CreateComponent", 36}}) {
        Script().Answer(f.pOperation, f.Status);
        EXPECT_EQ(TagOf(0), 0u);
        EXPECT_THAT(m_Lines, ElementsAre(TrialLine(static_cast<int>(f.Status))));
        EXPECT_EQ(CreateVCodec(11), nullptr);
        const Owned<IVCodec> pCodec(CreateVCodec(1));
        EXPECT_EQ(pCodec->GetBackendTag(), kBackendSoftware);
        m_Machine.Renew();
        Log().Clear();
    }
    EXPECT_EQ(AmdProbeHangCount, 0);
}

TEST_F(AmdChain, WithoutARunTimeNothingIsTried)
{
    OnLibraryUnload();
    Log().Clear();
    EXPECT_EQ(TagOf(0), 0u);
    EXPECT_THAT(m_Lines, ElementsAre(TrialLine(1)));
    EXPECT_THAT(Script().Trace(), IsEmpty());
}

TEST_F(AmdChain, EveryCrashIsARefusalAndTheNextTrialWorks)
{
    for (const Crash& c : kCrashes) {
        Script().Fault("Factory.CreateContext", c.Action, 1);
        EXPECT_EQ(TagOf(0), 0u) << c.pCode;
        EXPECT_THAT(m_Lines, ElementsAre(FilterLine(c)));
        EXPECT_EQ(AmdProbeHangCount, 0);
        EXPECT_EQ(Script().Live(), 0);
        EXPECT_EQ(TagOf(1), kBackendAmd);
        m_Machine.Renew();
    }
}

TEST_F(AmdChain, ACrashInTheMidstLosesWhatTheTrialHeld)
{
    Script().Fault("Factory.CreateComponent", kDriverAccess, 1);
    EXPECT_EQ(TagOf(0), 0u);
    EXPECT_EQ(Script().Live("context"), 1);
    EXPECT_EQ(Script().Live(), 1);
    EXPECT_EQ(TagOf(0), kBackendAmd);
    EXPECT_EQ(Script().Live(), 1);
}

TEST_F(AmdChain, AHangIsKilledTwiceAndThenLeftAlone)
{
    Script().Fault("Factory.CreateComponent", kDriverHang);
    for (int Call = 1; Call <= 2; ++Call) {
        const double Seconds = SecondsOf([&] { EXPECT_EQ(TagOf(0), 0u); });
        EXPECT_GE(Seconds, 2.99);
        EXPECT_LT(Seconds, 4.5); // the bound, and a kill's half second
        EXPECT_THAT(m_Lines, IsEmpty());
        EXPECT_EQ(AmdProbeHangCount, Call);
        EXPECT_EQ(Script().Live("context"), Call); // what each killed trial held, and nothing else
        EXPECT_EQ(Script().Live(), Call);
    }
    const double Seconds = SecondsOf([&] { EXPECT_EQ(TagOf(0), 0u); });
    EXPECT_LT(Seconds, 0.5);
    EXPECT_EQ(Script().Calls("Factory.CreateContext"), 2);
    EXPECT_EQ(AmdProbeHangCount, 2);
    const Owned<IVCodec> pCodec(CreateVCodec(1));
    EXPECT_EQ(pCodec->GetBackendTag(), kBackendSoftware);
    EXPECT_EQ(Script().Calls("Factory.CreateContext"), 2);
}

TEST_F(AmdChain, OneHangLeavesThePathOpen)
{
    Script().Fault("Factory.CreateContext", kDriverHang, 1);
    EXPECT_EQ(TagOf(0), 0u);
    EXPECT_EQ(Script().Live(), 0);
    EXPECT_EQ(AmdProbeHangCount, 1);
    EXPECT_EQ(TagOf(0), kBackendAmd);
}

TEST_F(AmdChain, AThreadThatCannotStartIsARefusal)
{
    {
        const NoMoreThreads Held;
        EXPECT_EQ(TagOf(0), 0u);
    }
    EXPECT_THAT(Script().Trace(), IsEmpty());
    EXPECT_EQ(AmdProbeHangCount, 0);
    EXPECT_EQ(TagOf(0), kBackendAmd);
}

// ---- With the library -------------------------------------------------------------------------------------------

namespace {

struct AmdLoad : testing::Test {
    std::vector<LogLine> LinesOf(void (*pRun)())
    {
        m_Machine.m_Log.Clear();
        pRun();
        return m_Machine.m_Log.Lines();
    }
    int Held() const { return m_Machine.m_Libraries.Held(platform::kAmfLibrary); }

    Machine m_Machine{false};
};

LogLine LoadLine(int Status) { return {kLogInfo, "qvlx - CVCodecH264AMD::Init() res=" + std::to_string(Status)}; }
LogLine UnloadLine(int Status)
{
    return {kLogInfo, "qvlx - CVCodecH264AMD::Terminate() res=" + std::to_string(Status)};
}

[[noreturn]] void CrashingClose(void*) { platform::RaiseFault(platform::kFaultAccess); }

} // namespace

TEST_F(AmdLoad, TheRunTimeStartsAndEndsWithTheLibrary)
{
    EXPECT_THAT(LinesOf(OnLibraryLoad), ElementsAre(LoadLine(0)));
    EXPECT_NE(g_AMFFactory.GetFactory(), nullptr);
    EXPECT_EQ(Held(), 1);
    EXPECT_THAT(LinesOf(OnLibraryUnload), ElementsAre(UnloadLine(0)));
    EXPECT_EQ(g_AMFFactory.GetFactory(), nullptr);
    EXPECT_EQ(Held(), 0);
}

TEST_F(AmdLoad, AMissingRunTimeIsNotFatal)
{
    m_Machine.m_Libraries.Remove(platform::kAmfLibrary);
    EXPECT_THAT(LinesOf(OnLibraryLoad), ElementsAre(LoadLine(1)));
    EXPECT_THAT(LinesOf(OnLibraryUnload), ElementsAre(UnloadLine(0)));
}

TEST_F(AmdLoad, ARefusingRunTimeIsNotFatal)
{
    m_Machine.m_Script.Answer("AMFInit", 10);
    EXPECT_THAT(LinesOf(OnLibraryLoad), ElementsAre(LoadLine(10)));
    EXPECT_FALSE(CVCodecH264AMD::IsSupportH264hw_0());
    EXPECT_THAT(LinesOf(OnLibraryUnload), ElementsAre(UnloadLine(0)));
    EXPECT_EQ(Held(), 1); // its count went below 0, so it is not the last user that leaves
}

TEST_F(AmdLoad, ACrashingRunTimeCostsTheRunTimeAlone)
{
    for (const char* const pOperation : {"AMFInit", "AMFQueryVersion", "Factory.GetTrace", "Factory.GetDebug"})
        for (const Crash& c : kCrashes) {
            m_Machine.Renew();
            m_Machine.m_Script.Fault(pOperation, c.Action);
            EXPECT_THAT(LinesOf(OnLibraryLoad), ElementsAre(FilterLine(c), LoadLine(1))) << pOperation;
            EXPECT_EQ(g_AMFFactory.GetFactory(), nullptr);
            EXPECT_THAT(LinesOf(OnLibraryUnload), ElementsAre(UnloadLine(0)));
            std::construct_at(&g_AMFFactory);
        }
}

TEST_F(AmdLoad, ACrashAtTheEndIsAFailure)
{
    EXPECT_THAT(LinesOf(OnLibraryLoad), ElementsAre(LoadLine(0)));
    const platform::LibraryOperations Normal = platform::Libraries();
    const platform::LibraryOperations Crashing{Normal.Open, Normal.Symbol, CrashingClose};
    platform::SetLibraries(&Crashing);
    EXPECT_THAT(LinesOf(OnLibraryUnload), ElementsAre(FilterLine(kCrashes[0]), UnloadLine(1)));
    platform::SetLibraries(nullptr);
    std::construct_at(&g_AMFFactory);
}
