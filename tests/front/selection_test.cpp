// The selection chain: which engine a request ends in, what the log says on the way, and that no driver can break it.
#include "Common/h/log.h"
#include "front/VCodec_H264.h"
#include "front/driver_frame.h"
#include "front/engines.h"
#include "front/load.h"
#include "front/probes.h"
#include "front/selection.h"
#include "front/stdafx.h"
#include "kernels/dispatch/kernels.h"
#include "kernels/dispatch/processor_class.h"
#include "quilvex/Quilvex.h"
#include "tests/front/machine.h"
#include "tests/support/faults.h"
#include "tests/support/no_more_threads.h"
#include "tests/support/recording_log.h"
#include "tests/support/request_tag.h"
#include "tests/support/user_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// An engine's object that only tells what it was made as.
class NamedCodec : public CVCodec_H264
{
public:
    NamedCodec(uint32_t Tag, int32_t Argument) : m_Tag(Tag), m_Argument(Argument) {}
    uint32_t GetBackendTag() override { return m_Tag; }
    int32_t Argument() const { return m_Argument; }

private:
    uint32_t m_Tag;
    int32_t m_Argument;
};

class FakeEngines : public IEngines
{
public:
    FakeEngines() { SetEngines(this); }
    ~FakeEngines() override { SetEngines(nullptr); }

    bool IsWindows7OrLater() override { return bVersionGate; }
    bool IsCpuVendorAmd() override { return bAmdProcessor; }
    uint32_t TickCount() override { return Tick; }
    bool MyGetDisplayVideoControllerList(std::vector<std::string>& List, bool bOnlyOK) override
    {
        EXPECT_TRUE(bOnlyOK);
        ++Listings;
        if (OnListing) OnListing();
        List = Adapters;
        return true;
    }
    bool TryNvidiaDecoder(int32_t Width, int32_t Height) override
    {
        Trials.push_back("nvidia decoder " + std::to_string(Width) + "x" + std::to_string(Height));
        return OnNvidia ? OnNvidia() : bNvidia;
    }
    bool TryNvidiaEncoder(int32_t Width, int32_t Height, int32_t Fps, int32_t Key, int32_t Kbps) override
    {
        Trials.push_back("nvidia encoder " + std::to_string(Width) + "x" + std::to_string(Height) + " " +
                         std::to_string(Fps) + " " + std::to_string(Key) + " " + std::to_string(Kbps));
        return OnNvidia ? OnNvidia() : bNvidia;
    }
    bool IsSupportH264hw_0() override
    {
        ++AmdTrials;
        return OnAmd ? OnAmd() : bAmd;
    }
    int32_t QueryIntelSession(int32_t Implementation) override
    {
        Trials.push_back("intel " + std::to_string(Implementation));
        return OnIntel ? OnIntel() : IntelImpl;
    }
    int32_t AmdInit() override { return 7; }
    int32_t AmdTerminate() override { return 8; }
    IVCodec* NewNvidia(int32_t Argument) override { return new NamedCodec(kBackendNvidia, Argument); }
    IVCodec* NewAmd() override { return new NamedCodec(kBackendAmd, 0); }
    IVCodec* NewIntel(int32_t Argument) override
    {
        return new NamedCodec(Argument == 1 ? kBackendIntelHard : kBackendIntelSoft, Argument);
    }
    IVCodec* NewSoftware() override { return bNoMemory ? nullptr : new CVCodec_H264; }

    bool bVersionGate = true, bAmdProcessor = false, bNvidia = false, bAmd = false, bNoMemory = false;
    int32_t IntelImpl = 0;
    uint32_t Tick = 1000;
    std::vector<std::string> Adapters;
    int Listings = 0;
    std::atomic<int> AmdTrials{0};
    std::vector<std::string> Trials;
    std::function<bool()> OnNvidia, OnAmd;
    std::function<int32_t()> OnIntel;
    std::function<void()> OnListing;
};

class Selection : public testing::Test
{
protected:
    Selection() { ResetSelectionState(); }

    std::string Setting() { return ReadProfileString(SettingsFile(), "CONFIG", "nvidia_disable", ""); }
    void WriteSetting(const char* pValue) { WriteProfileString(SettingsFile(), "CONFIG", "nvidia_disable", pValue); }

    UserFolder m_Home;
    FakeEngines m_Engines;
    RecordingLog m_Log;
};

// Run-time libraries differ in how they print a pointer.
std::string Printed(const void* p)
{
    char Text[32];
    std::snprintf(Text, sizeof Text, "%p", p);
    return Text;
}

bool Crash()
{
    RaiseAccessFault();
    return true;
}

} // namespace

TEST_F(Selection, OtherModesGoStraightToTheSoftwareCodec)
{
    for (const uint32_t id : {0u, 3u, 12u, 99u, 100u, 203u}) {
        m_Log.Clear();
        EXPECT_EQ(TagOf(id), kBackendSoftware);
        EXPECT_THAT(m_Log.Lines(),
                    ElementsAre(LogLine{kLogInfo, "qvlx - CreateVCodec(" + std::to_string(id) + ") IPP"}));
    }
    EXPECT_THAT(m_Engines.Trials, IsEmpty());
    EXPECT_EQ(m_Engines.AmdTrials, 0);
}

TEST_F(Selection, TheLargestIdIsADecoderOfMode95)
{
    EXPECT_EQ(RequestId(0xFFFFFFFFu).Mode, 95u);
    EXPECT_NE(RequestId(0xFFFFFFFFu).bDecoder, 0u);
    EXPECT_EQ(TagOf(0xFFFFFFFFu), kBackendSoftware);
    EXPECT_THAT(m_Log.Lines(), ElementsAre(LogLine{kLogInfo, "qvlx - CreateVCodec(-1) IPP"}));
}

TEST_F(Selection, HardwareFirstTriesNvidiaThenAmdThenIntelThenSoftware)
{
    EXPECT_EQ(TagOf(1), kBackendSoftware);
    EXPECT_THAT(m_Log.Lines(),
                ElementsAre(LogLine{kLogInfo, "qvlx > CreateAMDH264hwVCodec bDecoder=0"},
                            LogLine{kLogInfo, "qvlx < CreateAMDH264hwVCodec bDecoder=0 pVCodec=" + Printed(nullptr)},
                            LogLine{kLogInfo, "qvlx - CreateVCodec(1) AMD/ATI=" + Printed(nullptr)},
                            LogLine{kLogInfo, "qvlx - CVCodecH264hw::IsSupportH264hw() impl=0"},
                            LogLine{kLogInfo, "qvlx - CreateVCodec(1) IPP"}));
    EXPECT_THAT(m_Engines.Trials, ElementsAre("nvidia encoder 320x240 15 75 120000", "intel 4"));
    EXPECT_EQ(m_Engines.AmdTrials, 1);
}

TEST_F(Selection, NvidiaServesWhenItsTrialSucceeds)
{
    m_Engines.bNvidia = true;
    EXPECT_EQ(TagOf(1), kBackendNvidia);
    EXPECT_THAT(m_Log.Lines(), ElementsAre(LogLine{kLogInfo, "qvlx - CreateVCodec(1) NVIDIA"}));
    EXPECT_EQ(m_Engines.AmdTrials, 0);
}

TEST_F(Selection, ADecoderRequestTriesTheNvidiaDecoder)
{
    m_Engines.bNvidia = true;
    EXPECT_EQ(TagOf(101), kBackendNvidia);
    EXPECT_EQ(TagOf(201), kBackendNvidia); // anything above 0 is a decoder
    EXPECT_THAT(m_Engines.Trials, ElementsAre("nvidia decoder 320x240", "nvidia decoder 320x240"));
}

TEST_F(Selection, AmdIsToldTheDecoderNumberOfTheRequest)
{
    m_Engines.bAmd = true;
    EXPECT_EQ(TagOf(201), kBackendAmd);
    EXPECT_EQ(m_Log.Lines().front(), (LogLine{kLogInfo, "qvlx > CreateAMDH264hwVCodec bDecoder=2"}));
    EXPECT_EQ(m_Log.With("CreateVCodec(201) AMD/ATI=").size(), 1u);
    EXPECT_TRUE(m_Log.With("AMD/ATI=" + Printed(nullptr)).empty());
}

TEST_F(Selection, IntelHardwareServesWhenTheSessionIsHardware)
{
    for (const int32_t Impl : {2, 4, 0x202}) {
        m_Engines.IntelImpl = Impl;
        EXPECT_EQ(TagOf(1), kBackendIntelHard) << Impl;
    }
    EXPECT_EQ(m_Log.With("qvlx - CreateVCodec(1) QSV_HW").size(), 3u);
    m_Engines.IntelImpl = 1;
    EXPECT_EQ(TagOf(1), kBackendSoftware);
}

TEST_F(Selection, TheVersionGateClosesEveryHardwarePath)
{
    m_Engines.bVersionGate = false;
    m_Engines.bNvidia = m_Engines.bAmd = true;
    m_Engines.IntelImpl = 7;
    EXPECT_EQ(TagOf(1), kBackendSoftware);
    EXPECT_EQ(TagOf(2), kBackendSoftware);
    EXPECT_EQ(TagOf(11), 0u);
    EXPECT_THAT(m_Engines.Trials, IsEmpty());
    EXPECT_EQ(m_Engines.AmdTrials, 0);
}

TEST_F(Selection, AnAmdProcessorNeverGetsIntelHardware)
{
    m_Engines.bAmdProcessor = true;
    m_Engines.IntelImpl = 4;
    EXPECT_EQ(TagOf(1), kBackendSoftware);
    EXPECT_EQ(TagOf(11), 0u);
}

TEST_F(Selection, AFailedIntelDeviceClosesHardwareAndLeavesTheSoftwareImplementation)
{
    m_Engines.IntelImpl = 5;
    m_Engines.bAmdProcessor = false;
    SetIntelH264hwDevFailed();
    EXPECT_EQ(GetIntelH264hwDevFailed(), 1);
    EXPECT_EQ(TagOf(1), kBackendSoftware);
    m_Engines.bAmdProcessor = true; // mode 2 asks neither
    EXPECT_EQ(TagOf(2), kBackendIntelSoft);
    EXPECT_EQ(m_Log.With("qvlx - CreateVCodec(2) QSV_SOFT").size(), 1u);
    EXPECT_EQ(m_Log.With("qvlx - CVCodecH264hw::IsSupportH264soft() impl=5").size(), 1u);
}

TEST_F(Selection, ModeTwoFallsBackToSoftware)
{
    m_Engines.IntelImpl = 2; // not a software implementation
    EXPECT_EQ(TagOf(2), kBackendSoftware);
    EXPECT_EQ(m_Log.Lines().back(), (LogLine{kLogInfo, "qvlx - CreateVCodec(2) IPP"}));
    EXPECT_THAT(m_Engines.Trials, ElementsAre("intel 1"));
}

TEST_F(Selection, HardwareOnlyMayEndInNullAndWritesNoSelectionLine)
{
    EXPECT_EQ(CreateVCodec(111), nullptr);
    EXPECT_THAT(m_Log.With("CreateVCodec("), IsEmpty());
    EXPECT_EQ(m_Log.With("CreateAMDH264hwVCodec").size(), 2u); // its own lines are still written
}

TEST_F(Selection, HardwareOnlyGivesEachEngineWithoutASelectionLine)
{
    m_Engines.bNvidia = true;
    EXPECT_EQ(TagOf(11), kBackendNvidia);
    m_Engines.bNvidia = false;
    m_Engines.bAmd = true;
    EXPECT_EQ(TagOf(11), kBackendAmd);
    m_Engines.bAmd = false;
    m_Engines.IntelImpl = 2;
    EXPECT_EQ(TagOf(11), kBackendIntelHard);
    EXPECT_THAT(m_Log.With("qvlx - CreateVCodec("), IsEmpty());
}

TEST_F(Selection, ARefusedNvidiaTrialWritesTheAdapterName)
{
    m_Engines.Adapters = {"Other Adapter", "NVIDIA One", "nVidia Two (last)", "Third"};
    TagOf(1);
    EXPECT_EQ(Setting(), "nVidia Two (last)"); // the last match wins, its case kept
}

TEST_F(Selection, WithoutAnNvidiaAdapterNothingIsWritten)
{
    m_Engines.Adapters = {"Other Adapter"};
    TagOf(1);
    EXPECT_FALSE(std::filesystem::exists(SettingsFile()));
}

TEST_F(Selection, ADisabledAdapterIsNotTriedAgain)
{
    m_Engines.Adapters = {"NVIDIA One"};
    WriteSetting("NVIDIA One");
    EXPECT_EQ(TagOf(1), kBackendSoftware);
    EXPECT_THAT(m_Engines.Trials, ElementsAre("intel 4")); // AMD was next
    EXPECT_EQ(m_Engines.AmdTrials, 1);
}

TEST_F(Selection, AnotherAdaptersNameDoesNotDisable)
{
    m_Engines.Adapters = {"NVIDIA One"};
    WriteSetting("nvidia one"); // case counts
    TagOf(1);
    EXPECT_EQ(m_Engines.Trials.front().substr(0, 6), "nvidia");
}

TEST_F(Selection, TheAdapterNameIsCachedForTenMinutes)
{
    m_Engines.Adapters = {"NVIDIA One"};
    WriteSetting("NVIDIA One");
    EXPECT_TRUE(IsNvidiaDisabled());
    m_Engines.Adapters = {"NVIDIA Two"}; // a change of card
    m_Engines.Tick += 600000;
    EXPECT_TRUE(IsNvidiaDisabled());
    EXPECT_EQ(m_Engines.Listings, 1);
    m_Engines.Tick += 1;
    EXPECT_FALSE(IsNvidiaDisabled());
    EXPECT_EQ(m_Engines.Listings, 2);
}

TEST_F(Selection, TheCacheSurvivesTheWrapOfTheTick)
{
    m_Engines.Adapters = {"NVIDIA One"};
    m_Engines.Tick = 0xFFFFFF00u;
    GetCachedNvidiaAdapterName();
    m_Engines.Tick = 0x100;
    GetCachedNvidiaAdapterName();
    EXPECT_EQ(m_Engines.Listings, 1);
}

TEST_F(Selection, AnEmptySettingDisablesNothingAndListsNothing)
{
    EXPECT_FALSE(IsNvidiaDisabled());
    EXPECT_EQ(m_Engines.Listings, 0);
}

TEST_F(Selection, AFaultInTheNvidiaTrialCountsAsARefusal)
{
    m_Engines.Adapters = {"NVIDIA One"};
    m_Engines.OnNvidia = Crash;
    EXPECT_EQ(TagOf(1), kBackendSoftware);
    EXPECT_THAT(m_Log.With("MyFilterException"),
                ElementsAre(LogLine{kLogError, "qvlx - MyFilterException code=-1073741819"},
                            LogLine{kLogError, "qvlx - CVCodecH264nv::IsSupportH264hw() MyFilterException"}));
    EXPECT_EQ(Setting(), "NVIDIA One");
}

TEST_F(Selection, AFaultInAnIntelTrialCountsAsARefusal)
{
    m_Engines.OnIntel = [] { return Crash() ? 4 : 0; };
    EXPECT_EQ(TagOf(1), kBackendSoftware);
    EXPECT_EQ(TagOf(2), kBackendSoftware);
    EXPECT_THAT(m_Log.With("MyFilterException"),
                ElementsAre(LogLine{kLogError, "qvlx - MyFilterException code=-1073741819"},
                            LogLine{kLogError, "qvlx - CVCodecH264hw::IsSupportH264hw() MyFilterException"},
                            LogLine{kLogError, "qvlx - MyFilterException code=-1073741819"},
                            LogLine{kLogError, "qvlx - CVCodecH264hw::IsSupportH264soft() MyFilterException"}));
}

TEST_F(Selection, AFaultInTheAmdTrialCountsAsARefusal)
{
    m_Engines.OnAmd = Crash;
    EXPECT_EQ(TagOf(1), kBackendSoftware);
    EXPECT_EQ(AmdProbeHangCount, 0);
    EXPECT_THAT(m_Log.With("MyFilterException"),
                ElementsAre(LogLine{kLogError, "qvlx - MyFilterException code=-1073741819"}));
}

TEST_F(Selection, AFaultElsewhereInTheChainEndsInTheFallbackObject)
{
    WriteSetting("NVIDIA One"); // so that the adapters are listed
    m_Engines.OnListing = [] { Crash(); };
    EXPECT_EQ(TagOf(11), kBackendSoftware); // in every mode, hardware only included
    EXPECT_THAT(m_Log.Lines(), ElementsAre(LogLine{kLogError, "qvlx - MyFilterException code=-1073741819"},
                                           LogLine{kLogInfo, "qvlx - CreateVCodec(11) IPP_0"}));
    m_Engines.OnListing = nullptr; // no lock was left held, on another thread either
    std::thread([] { IsNvidiaDisabled(); }).join();
}

TEST_F(Selection, ACppExceptionEndsInTheFallbackObject)
{
    WriteSetting("NVIDIA One");
    m_Engines.OnListing = [] { throw std::runtime_error("driver"); };
    EXPECT_EQ(TagOf(1), kBackendSoftware);
    EXPECT_THAT(m_Log.Lines(), ElementsAre(LogLine{kLogError, "qvlx - MyFilterException code=-529697949"},
                                           LogLine{kLogInfo, "qvlx - CreateVCodec(1) IPP_0"}));
}

TEST_F(Selection, ExhaustedMemoryGivesNull)
{
    m_Engines.bNoMemory = true;
    EXPECT_EQ(CreateVCodec(0), nullptr);
}

TEST_F(Selection, AHangingAmdDriverIsKilledTwiceAndThenLeftAlone)
{
    m_Engines.OnAmd = [] {
        for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
        return true;
    };
    for (int Call = 1; Call <= 3; ++Call) {
        const auto Start = std::chrono::steady_clock::now();
        EXPECT_EQ(TagOf(1), kBackendSoftware);
        const auto Spent = std::chrono::steady_clock::now() - Start;
        if (Call == 3) {
            EXPECT_LT(Spent, std::chrono::seconds(2)) << Call;
        } else {
            EXPECT_GE(Spent, std::chrono::milliseconds(3000)) << Call;
            EXPECT_LT(Spent, std::chrono::milliseconds(4500)) << Call; // the bound, and a kill's half second
        }
    }
    EXPECT_EQ(AmdProbeHangCount, 2);
    EXPECT_EQ(m_Engines.AmdTrials, 2);
}

TEST_F(Selection, AnAmdThreadThatCannotStartIsARefusalAndNoHang)
{
    m_Engines.bAmd = true;
    NoMoreThreads Held;
    EXPECT_EQ(TagOf(1), kBackendSoftware);
    EXPECT_EQ(m_Engines.AmdTrials, 0);
    EXPECT_EQ(AmdProbeHangCount, 0);
    EXPECT_EQ(m_Log.With("qvlx - CreateVCodec(1) AMD/ATI=" + Printed(nullptr)).size(), 1u);
}

TEST_F(Selection, ManyThreadsMaySelectAtOnce)
{
    m_Engines.bVersionGate = false;
    std::vector<std::thread> Threads;
    for (int i = 0; i < 8; ++i)
        Threads.emplace_back([this] {
            for (int Round = 0; Round < 50; ++Round) EXPECT_EQ(TagOf(1), kBackendSoftware);
        });
    for (std::thread& Thread : Threads) Thread.join();
}

TEST_F(Selection, LoadAndUnloadTellTheAmdRunTimesResult)
{
    OnLibraryLoad();
    OnLibraryUnload();
    EXPECT_THAT(m_Log.Lines(), ElementsAre(LogLine{kLogInfo, "qvlx - CVCodecH264AMD::Init() res=7"},
                                           LogLine{kLogInfo, "qvlx - CVCodecH264AMD::Terminate() res=8"}));
}

TEST_F(Selection, TheLoadBindsTheKernelsToTheProcessor)
{
    const int Best = kernels::TierOfClass(kernels::DetectProcessorClass());
    kernels::InitKernelsForTier(0);
    OnLibraryLoad();
    EXPECT_EQ(kernels::g_BoundTier, Best);
    EXPECT_EQ(kernels::g_Kernels.Sad16x16, kernels::kSad16x16.Pick(static_cast<kernels::Tier>(Best)));
}

TEST(DriverFrame, ABodyThatEndsLogsNothing)
{
    RecordingLog Log;
    int Runs = 0;
    EXPECT_TRUE(RunInDriverFrame("CVCodecH264nv::Encode()", [&] { ++Runs; }));
    EXPECT_EQ(Runs, 1);
    EXPECT_THAT(Log.Lines(), IsEmpty());
}

TEST(DriverFrame, AFaultIsLoggedByTheFilterAndThenByTheHandler)
{
    RecordingLog Log;
    EXPECT_FALSE(RunInDriverFrame("CVCodecH264nv::Encode()", Crash));
    EXPECT_FALSE(RunInDriverFrame("CVCodecH264hw::Reset()", [] { throw 1; }));
    EXPECT_FALSE(RunInDriverFrame(nullptr, [] { std::abort(); }));
    EXPECT_THAT(Log.Lines(), ElementsAre(LogLine{kLogError, "qvlx - MyFilterException code=-1073741819"},
                                         LogLine{kLogError, "qvlx - CVCodecH264nv::Encode() MyFilterException"},
                                         LogLine{kLogError, "qvlx - MyFilterException code=-529697949"},
                                         LogLine{kLogError, "qvlx - CVCodecH264hw::Reset() MyFilterException"},
                                         LogLine{kLogError, "qvlx - MyFilterException code=1073741845"}));
}

TEST(BuiltInEngines, RefuseAllHardwareOnAMachineWithoutDrivers)
{
    const Machine Bare;
    EXPECT_EQ(CreateVCodec(11), nullptr);
    IVCodec* const pCodec = CreateVCodec(1);
    ASSERT_NE(pCodec, nullptr);
    EXPECT_EQ(pCodec->GetFamilyTag(), 0x495050u);
    EXPECT_EQ(pCodec->GetBackendTag(), 0x495050u);
    EXPECT_EQ(pCodec->AddRef(), 2);
    EXPECT_EQ(pCodec->Release(), 1);
    EXPECT_EQ(pCodec->Reset(), 0);
    EXPECT_EQ(pCodec->Release(), 0);
}
