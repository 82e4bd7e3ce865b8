// What this engine does not guard against: faults of the driver below its slots end the process, and its waits have no
// limit. Both are deliberate, so each is shown in a process of its own.
#include "tests/AMF/amd_run_time.h"

#include "platform/exception_frame.h"
#include "tests/support/child_process.h"

#include <cstdio>
#include <cstdlib>

using namespace amd;

namespace {

constexpr uint32_t kWatchdogMs = 120000;

void Say(const char* pText)
{
    std::printf("%s\n", pText);
    std::fflush(stdout);
}

// What a child does: "OPERATION ACTION SLOT".
struct Task {
    char Operation[64] = "", Slot[16] = "";
    int Action = 0;
    explicit Task(const std::string& Text) { std::sscanf(Text.c_str(), "%63s %d %15s", Operation, &Action, Slot); }
    bool Is(const char* pSlot) const { return std::string(Slot) == pSlot; }
};

void RunSlot(const Task& Task, Owned<CVCodecH264AMD>& pCodec)
{
    static const Bytes s_Unit{0, 0, 0, 1, 9, 0xF0};
    if (Task.Is("InitEncoder")) InitEncoder(*pCodec);
    if (Task.Is("Encode")) Encode(*pCodec, Picture(0));
    if (Task.Is("InitDecoder")) InitDecoder(*pCodec);
    if (Task.Is("Decode")) Decode(*pCodec, s_Unit);
    if (Task.Is("SetBitrate")) pCodec->SetBitrate(500);
    if (Task.Is("Release")) pCodec.reset();
}

// Waits end the process here, so that a test need not wait.
constexpr uint32_t kManySleeps = 20000;
constexpr int kSleptOn = 42;
uint32_t g_Sleeps = 0;
void CountSleep(uint32_t)
{
    if (++g_Sleeps < kManySleeps) return;
    Say("sleeps on");
    std::_Exit(kSleptOn);
}
const platform::ClockOperations kPatientClock{[] { return uint32_t{0}; }, CountSleep};

int RunTask(const std::string& Argument, void (*pPrepare)(DriverScript&, const Task&))
{
    const Task Own(Argument);
    Machine Machine;
    auto pCodec = NewCodec();
    if (!Own.Is("InitEncoder") && !Own.Is("InitDecoder")) {
        if (!InitDecoder(*pCodec) || !InitEncoder(*pCodec)) return 1;
    }
    pPrepare(Machine.m_Script, Own);
    Say("begins");
    RunSlot(Own, pCodec);
    Say("goes on");
    return 0;
}

struct Fault {
    const char* pOperation;
    const char* pSlot;
};

// A driver operation below each slot.
const Fault kFaults[] = {{"Factory.CreateContext", "InitEncoder"}, {"Component.Init", "InitDecoder"},
                         {"Component.SubmitInput", "Encode"},      {"Component.QueryOutput", "Decode"},
                         {"Component.Terminate", "SetBitrate"},    {"Context.Terminate", "Release"}};

std::string TaskText(const Fault& f, int Action)
{
    return std::string(f.pOperation) + " " + std::to_string(Action) + " " + f.pSlot;
}

void ExpectEnded(const std::string& Body, const std::string& Argument)
{
    const ChildResult Result = RunChild(Body, Argument, kWatchdogMs);
    EXPECT_FALSE(Result.bTimedOut) << Argument;
    EXPECT_NE(Result.Code, 0) << Argument; // a sanitizer makes an exit of the crash
    EXPECT_NE(Result.Out.find("begins"), std::string::npos) << Argument << Result.Err;
    EXPECT_EQ(Result.Out.find("goes on"), std::string::npos) << Argument;
}

} // namespace

CHILD_BODY(AmdFault)
{
    return RunTask(Argument, [](DriverScript& Script, const Task& Own) {
        Script.Fault(Own.Operation, static_cast<DriverAction>(Own.Action));
    });
}

CHILD_BODY(AmdWait)
{
    return RunTask(Argument, [](DriverScript& Script, const Task& Own) {
        platform::SetClock(&kPatientClock);
        Script.Answer(Own.Operation, Own.Action);
        DriverKeepTrace(0);
    });
}

CHILD_BODY(AmdHang)
{
    return RunTask(Argument, [](DriverScript& Script, const Task& Own) { Script.Fault(Own.Operation, kDriverHang); });
}

CHILD_BODY(AmdZeroInterval)
{
    Machine Machine;
    const auto pCodec = NewCodec();
    if (!InitEncoder(*pCodec, 0)) return 1;
    Say("begins");
    Encode(*pCodec, Picture(0));
    Say("goes on");
    return 0;
}

TEST(AmdNoFrame, AFaultBelowASlotEndsTheProcess)
{
    for (const Fault& f : kFaults) ExpectEnded("AmdFault", TaskText(f, kDriverAccess));
}

TEST(AmdNoFrame, EveryKindOfFaultEndsTheProcess)
{
    for (const DriverAction Action : {kDriverArithmetic, kDriverIllegal, kDriverAbort, kDriverThrow}) {
        ExpectEnded("AmdFault", TaskText(kFaults[2], Action));
        ExpectEnded("AmdFault", TaskText(kFaults[3], Action));
    }
}

TEST(AmdNoFrame, AKeyIntervalOfZeroEndsTheProcess) { ExpectEnded("AmdZeroInterval", ""); }

TEST(AmdNoFrame, AFullInputIsWaitedForWithoutALimit)
{
    for (const char* const pSlot : {"Encode", "Decode"})
        for (const char* const pOperation : {"Component.SubmitInput", "Component.Drain"}) {
            const ChildResult Result = RunChild("AmdWait", TaskText({pOperation, pSlot}, 25), kWatchdogMs);
            EXPECT_EQ(Result.Code, kSleptOn) << pOperation << pSlot << Result.Err;
            EXPECT_EQ(Result.Out.find("goes on"), std::string::npos);
        }
}

TEST(AmdNoFrame, DataIsWaitedForWithoutALimit)
{
    for (const char* const pSlot : {"Encode", "Decode"})
        for (const int Status : {0, 1, 24}) {
            const ChildResult Result =
                RunChild("AmdWait", TaskText({"Component.QueryOutput", pSlot}, Status), kWatchdogMs);
            EXPECT_EQ(Result.Code, kSleptOn) << pSlot << Status << Result.Err;
        }
}

TEST(AmdNoFrame, ACallThatHangsHangsItsSlot)
{
    const ChildResult Result = RunChild("AmdHang", TaskText(kFaults[2], 0), 8000);
    EXPECT_TRUE(Result.bTimedOut);
    EXPECT_NE(Result.Out.find("begins"), std::string::npos);
}

// ---- Null records, which fault as using them does ---------------------------------------------------------------

namespace {

using AmdNullRecord = AmdTest;

uint32_t CodeOf(const std::function<void()>& Run)
{
    uint32_t Code = 0;
    EXPECT_FALSE(platform::Guarded([&] { Run(); }, Code));
    return Code;
}

} // namespace

TEST_F(AmdNullRecord, AnEncodersOutputThatIsNoBufferFaults)
{
    for (const Failure& f : {Failure{"Data.QueryInterface", 8}, Failure{"Data.QueryInterface", 0},
                             Failure{"Buffer.GetNative", 0}, Failure{"Context.CreateSurfaceFromHostNative", 0}}) {
        m_Machine.Renew(); // what the fault before held is lost
        const auto pCodec = NewCodec();
        EXPECT_TRUE(InitEncoder(*pCodec));
        Script().Answer(f.pOperation, f.Status);
        const Bytes In = Picture(0);
        Unit Out;
        EXPECT_EQ(CodeOf([&] { pCodec->Encode(In.data(), Out.Room.data(), &Out.Length, 0, &Out.Type); }),
                  platform::kFaultAccess)
            << f.pOperation;
    }
    m_Machine.Renew();
}

TEST_F(AmdNullRecord, ADecodersOutputThatIsNoSurfaceFaultsWhenItsTypeIsAsked)
{
    const Bytes Unit = [] {
        const auto pCodec = NewCodec();
        EXPECT_TRUE(InitEncoder(*pCodec));
        return Encode(*pCodec, Picture(0)).Stream();
    }();
    for (const Failure& f : {Failure{"Data.QueryInterface", 8}, Failure{"Plane.GetNative", 0}}) {
        m_Machine.Renew();
        const auto pCodec = NewCodec();
        EXPECT_TRUE(InitDecoder(*pCodec));
        Script().Answer(f.pOperation, f.Status);
        Shown Out;
        EXPECT_EQ(
            CodeOf([&] { pCodec->Decode(Unit.data(), static_cast<int32_t>(Unit.size()), Out.I420.data(), &Out.Type); }),
            platform::kFaultAccess)
            << f.pOperation;
        EXPECT_TRUE(Out.IsUntouched());
        EXPECT_EQ(Script().Operations().back(), f.pOperation);
    }
    m_Machine.Renew();
}

TEST_F(AmdNullRecord, SuccessWithoutAnObjectFaultsAtItsUse)
{
    for (const char* const pOperation : {"Factory.CreateContext", "Factory.CreateComponent"}) {
        m_Machine.Renew();
        const auto pCodec = NewCodec();
        Script().Answer(pOperation, 0);
        EXPECT_EQ(CodeOf([&] { InitEncoder(*pCodec); }), platform::kFaultAccess) << pOperation;
    }
    m_Machine.Renew();
}
