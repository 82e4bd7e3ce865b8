// The chain over the engines themselves: whatever combination of drivers a machine has, and however they behave, a
// request ends as it should, in time.
#include "front/stdafx.h"
#include "tests/front/machine.h"
#include "tests/support/child_process.h"
#include "tests/support/request_tag.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <tuple>

using testing::Combine;
using testing::IsEmpty;
using testing::Values;

namespace {

using Drivers = std::tuple<Driver, Driver, Driver>; // NVIDIA, AMD, Intel

uint32_t Expected(const Drivers& d, uint32_t Mode)
{
    if (Mode == 2) return std::get<2>(d) == Driver::Works ? kBackendIntelSoft : kBackendSoftware;
    if (Mode == 0) return kBackendSoftware;
    if (std::get<0>(d) == Driver::Works) return kBackendNvidia;
    if (std::get<1>(d) == Driver::Works) return kBackendAmd;
    if (std::get<2>(d) == Driver::Works) return kBackendIntelHard;
    return Mode == 11 ? 0 : uint32_t{kBackendSoftware};
}

std::string SelectionLine(uint32_t Tag, uint32_t id)
{
    const std::string Request = "qvlx - CreateVCodec(" + std::to_string(id) + ") ";
    switch (Tag) {
    case kBackendNvidia: return Request + "NVIDIA";
    case kBackendAmd: return Request + "AMD/ATI=";
    case kBackendIntelHard: return Request + "QSV_HW";
    case kBackendIntelSoft: return Request + "QSV_SOFT";
    default: return Request + "IPP";
    }
}

class EngineChain : public testing::TestWithParam<Drivers>
{
};

} // namespace

TEST_P(EngineChain, EndsInTheFirstEngineThatWorks)
{
    const auto [Nvidia, Amd, Intel] = GetParam();
    for (const uint32_t Mode : {0u, 1u, 2u, 11u})
        for (const uint32_t id : {Mode, Mode + 100}) {
            SCOPED_TRACE(id);
            Machine Having(Nvidia, Amd, Intel);
            const uint32_t Tag = TagOf(id);
            EXPECT_EQ(Tag, Expected(GetParam(), Mode));
            if (Mode == 11)
                EXPECT_THAT(Having.Log.With("qvlx - CreateVCodec("), IsEmpty());
            else
                EXPECT_EQ(Having.Log.With(SelectionLine(Tag, id)).size(), 1u);
            EXPECT_THAT(Having.Log.With("IPP_0"), IsEmpty());
            EXPECT_THAT(Having.Script.Misuses(), IsEmpty());
        }
}

TEST_P(EngineChain, RemembersTheNvidiaAdapterThatRefused)
{
    const auto [Nvidia, Amd, Intel] = GetParam();
    Machine Having(Nvidia, Amd, Intel);
    TagOf(1);
    const std::string Disabled = ReadProfileString(SettingsFile(), "CONFIG", "nvidia_disable", "");
    const bool bRefused = Nvidia == Driver::Refuses || Nvidia == Driver::Crashes;
    EXPECT_EQ(Disabled, bRefused ? Machine::kNvidiaAdapter : "");
    const int32_t Trials = Having.Script.Calls("cuInit");
    TagOf(1);
    EXPECT_EQ(Having.Script.Calls("cuInit") > Trials, Nvidia == Driver::Works); // honoured by the next request
}

INSTANTIATE_TEST_SUITE_P(Machines, EngineChain,
                         Combine(Values(Driver::Absent, Driver::Works, Driver::Refuses, Driver::Crashes),
                                 Values(Driver::Absent, Driver::Works, Driver::Refuses, Driver::Crashes),
                                 Values(Driver::Absent, Driver::Works, Driver::Refuses, Driver::Crashes)));

TEST(EngineChainTime, AHangingAmdDriverCostsThreeSecondsTwice)
{
    Machine Having(Driver::Absent, Driver::Hangs, Driver::Works);
    for (int Call = 1; Call <= 3; ++Call) {
        const auto Start = std::chrono::steady_clock::now();
        EXPECT_EQ(TagOf(1), kBackendIntelHard);
        const auto Spent = std::chrono::steady_clock::now() - Start;
        EXPECT_GE(Spent, std::chrono::milliseconds(Call < 3 ? 3000 : 0)) << Call;
        EXPECT_LT(Spent, std::chrono::milliseconds(Call < 3 ? 4500 : 1500)) << Call;
    }
    EXPECT_EQ(Having.Script.Calls("Factory.CreateComponent"), 2);
}

TEST(EngineChainTime, AFailedIntelDeviceClosesItsHardwareForGood)
{
    Machine Having(Driver::Absent, Driver::Absent, Driver::Works);
    EXPECT_EQ(TagOf(1), kBackendIntelHard);
    SetIntelH264hwDevFailed();
    EXPECT_EQ(TagOf(1), kBackendSoftware);
    EXPECT_EQ(TagOf(11), 0u);
    EXPECT_EQ(TagOf(2), kBackendIntelSoft);
}

TEST(EngineChainTime, AnAmdProcessorNeverGetsIntelHardware)
{
    Machine Having(Driver::Absent, Driver::Absent, Driver::Works);
    Having.Engines.bAmdProcessor = true;
    EXPECT_EQ(TagOf(1), kBackendSoftware);
    EXPECT_EQ(Having.Script.Calls("MFXInit"), 0);
}

// The trials of the NVIDIA and Intel engines have no limit, deliberately: a driver that hangs there hangs its client.
CHILD_BODY(AskBesideAHangingDriver)
{
    Machine Having(Argument == "nvidia" ? Driver::Hangs : Driver::Absent, Driver::Absent,
                   Argument == "intel" ? Driver::Hangs : Driver::Absent);
    std::printf("asking\n");
    std::fflush(stdout);
    TagOf(1);
    std::printf("answered\n");
    return 0;
}

TEST(EngineChainTime, AHangingNvidiaOrIntelTrialHasNoLimit)
{
    for (const char* const pDriver : {"nvidia", "intel"}) {
        const ChildResult Result = RunChild("AskBesideAHangingDriver", pDriver, 4000);
        EXPECT_TRUE(Result.bTimedOut) << pDriver;
        EXPECT_NE(Result.Out.find("asking"), std::string::npos);
        EXPECT_EQ(Result.Out.find("answered"), std::string::npos);
    }
}
