// Faults of the driver at every call, memory that runs out at every request, and many thousand sessions.
#include "tests/NVIDIA/nvenc_session.h"

#include "tests/support/failing_allocation.h"

using namespace nvenc_session;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct FaultKind {
    DriverAction Action;
    uint32_t Code;
};
const std::vector<FaultKind> kFaultKinds
{
    {kDriverAccess, platform::kFaultAccess}, {kDriverArithmetic, platform::kFaultArithmetic},
        {kDriverIllegal, platform::kFaultIllegalInstruction},
#if !defined(_WIN32) // the abort() of another run-time library than this one's is not caught there
        {kDriverAbort, platform::kFaultAbort},
#endif
    {
        kDriverThrow, platform::kFaultCppException
    }
};

const Names kInitCalls{"cuInit",
                       "cuDriverGetVersion",
                       "cuDeviceGetCount",
                       "cuDeviceGet",
                       "cuDeviceComputeCapability",
                       "cuCtxCreate_v2",
                       "cuCtxPopCurrent_v2",
                       "NvEncodeAPICreateInstance",
                       "nvEncOpenEncodeSessionEx",
                       "nvEncGetEncodePresetCount",
                       "nvEncGetEncodePresetGUIDs",
                       "nvEncGetEncodeGUIDCount",
                       "nvEncGetEncodeGUIDs",
                       "nvEncGetEncodePresetConfig",
                       "nvEncGetEncodeCaps",
                       "nvEncInitializeEncoder",
                       "nvEncCreateInputBuffer",
                       "nvEncCreateBitstreamBuffer",
                       "nvEncRegisterAsyncEvent"};
const Names kEncodeCalls{"nvEncLockInputBuffer", "nvEncUnlockInputBuffer", "nvEncEncodePicture", "nvEncLockBitstream",
                         "nvEncUnlockBitstream"};
const Names kResetCalls{"nvEncDestroyInputBuffer", "nvEncDestroyBitstreamBuffer", "nvEncUnregisterAsyncEvent",
                        "nvEncDestroyEncoder", "cuCtxDestroy_v2"};

struct NvencFaults : NvencSession {
    // Runs a call that faults, in the frame of its slot.
    template <class Call>
    void ExpectFault(const char* pSlot, uint32_t Code, Call Run)
    {
        Log.Clear();
        EXPECT_EQ(Captured([&] { return RunInDriverFrame(pSlot, Run) ? 1 : 0; }), 0);
        EXPECT_THAT(Log.Lines(),
                    ElementsAre(LogLine{kLogError,
                                        "qvlx - MyFilterException code=" + std::to_string(static_cast<int32_t>(Code))},
                                LogLine{kLogError, std::string("qvlx - ") + pSlot + " MyFilterException"}));
    }
    // The object is reset and encodes again.
    void ExpectRecovery()
    {
        EXPECT_EQ(Captured([&] { return Encoder.Reset(); }), 1);
        DriverReset();
        EXPECT_EQ(Init(), 1);
        EXPECT_EQ(Encode(0).Result, 1);
        EXPECT_EQ(Captured([&] { return Encoder.Reset(); }), 1);
        EXPECT_EQ(Script.Live(), 0);
    }
    int32_t RawInit() { return Encoder.InitEncoder(64, 48, kFps, kKeyInterval, kKbps); }
    void RawEncode()
    {
        static Bytes s_Unit = Room({64, 48});
        int32_t Length;
        Encoder.Encode(Picture(Size, 0).data(), s_Unit.data(), &Length, 0, nullptr);
    }
};

} // namespace

TEST_F(NvencFaults, InTheStartAreCaughtAndLeaveNothingOpen)
{
    for (const FaultKind& Kind : kFaultKinds)
        for (const std::string& Operation : kInitCalls) {
            SCOPED_TRACE(Operation + " " + std::to_string(Kind.Action));
            DriverReset();
            Script.Set("nvenc.caps.30", 1);
            Script.Fault(Operation.c_str(), Kind.Action);
            ExpectFault("CVCodecH264nv::InitEncoder()", Kind.Code, [&] { RawInit(); });
            EXPECT_EQ(Captured([&] { return Encoder.Reset(); }), 1);
            EXPECT_EQ(Script.Live(), 0);
            // An event that the driver faulted over may be known to it, or not.
            EXPECT_EQ(Script.Misuses().size(), Operation == "nvEncRegisterAsyncEvent" ? 1u : 0u);
            ExpectRecovery();
        }
}

TEST_F(NvencFaults, InAPictureAreCaughtAndLeaveNothingOpen)
{
    Picture(Size, 0); // made outside the frame
    for (const FaultKind& Kind : kFaultKinds)
        for (const std::string& Operation : kEncodeCalls)
            for (const int Call : {1, 2, 3}) {
                if (Call > 2 && Operation != "nvEncEncodePicture") continue;
                if (Call > 1 && Operation.find("Input") != std::string::npos) continue;
                SCOPED_TRACE(Operation + " " + std::to_string(Kind.Action));
                DriverReset();
                EXPECT_EQ(Init(), 1);
                Script.Fault(Operation.c_str(), Kind.Action, Call);
                ExpectFault("CVCodecH264nv::Encode()", Kind.Code, [&] { RawEncode(); });
                EXPECT_EQ(Captured([&] { return Encoder.Reset(); }), 1);
                EXPECT_EQ(Script.Live(), 0);
                ExpectRecovery();
            }
}

// What is being given back when the driver faults is lost; the rest is given back by the next reset.
TEST_F(NvencFaults, InTheTeardownAreCaughtAndTheNextOneGoesOn)
{
    for (const FaultKind& Kind : kFaultKinds)
        for (const std::string& Operation : kResetCalls) {
            SCOPED_TRACE(Operation + " " + std::to_string(Kind.Action));
            DriverReset();
            Script.Set("nvenc.caps.30", 1);
            EXPECT_EQ(Init(), 1);
            Script.Fault(Operation.c_str(), Kind.Action, 1);
            ExpectFault("CVCodecH264nv::Reset()", Kind.Code, [&] { Encoder.Reset(); });
            EXPECT_EQ(Captured([&] { return Encoder.Reset(); }), 1);
            EXPECT_EQ(Script.Live(), 1);
            EXPECT_EQ(Libraries.Held(platform::kNvencLibrary), 0);
            ExpectRecovery();
        }
}

TEST_F(NvencFaults, InAChangeOfRateAreCaught)
{
    for (const FaultKind& Kind : kFaultKinds)
        for (const char* pOperation : {"nvEncDestroyEncoder", "cuInit", "nvEncInitializeEncoder"}) {
            DriverReset();
            EXPECT_EQ(Init(), 1);
            const int Call = Script.Calls(pOperation) + 1;
            Script.Fault(pOperation, Kind.Action, Call);
            ExpectFault("CVCodecH264nv::SetBitrate()", Kind.Code, [&] { Encoder.SetBitrate(300); });
            ExpectRecovery();
        }
}

// A substitute shares this program's memory, and may throw where it has none: a fault like any other. Only the start is
// tried of an asynchronous encoder: it waits without a limit for a picture that the driver has no memory for.
TEST_F(NvencFaults, MemoryThatRunsOutIsAFailureAndNoCrash)
{
    Picture(Size, 0);
    RawInit();
    Encoder.Reset();
    for (const bool bAsync : {false, true}) {
        bool bFailed = true;
        for (size_t n = 1; bFailed; ++n) {
            ASSERT_LT(n, 5000u);
            DriverReset();
            DriverKeepTrace(0);
            Script.Set("nvenc.caps.30", bAsync);
            const auto Session = [&] {
                const FailingAllocation Fail(n);
                RunInDriverFrame(nullptr, [&] {
                    if (RawInit() && !bAsync) RawEncode();
                });
                bFailed = Fail.Failed();
                return 0;
            };
            Captured(Session);
            EXPECT_EQ(Captured([&] { return Encoder.Reset(); }), 1) << n;
            EXPECT_EQ(Script.Live("event"), 0) << n;
            EXPECT_EQ(Libraries.Held(platform::kNvencLibrary), 0) << n;
        }
    }
}

TEST_F(NvencFaults, TenThousandSessionsLeaveTheLoadsOfOneLibrary)
{
    DriverKeepTrace(0);
    constexpr int kSessions = 10000;
    testing::internal::CaptureStderr();
    for (int i = 0; i < kSessions; ++i) {
        Script.Set("nvenc.caps.30", i % 2);
        CH264nvEnc* const pCodec = new CH264nvEnc(1);
        ASSERT_EQ(pCodec->InitEncoder(32, 32, 15, 75, 100), 1);
        ASSERT_EQ(pCodec->Release(), 0);
        Libraries.ForgetAsked();
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(Script.Live(), 0);
    EXPECT_THAT(Script.Misuses(), IsEmpty());
    EXPECT_EQ(Libraries.Held(platform::kNvencLibrary), 0);
    EXPECT_EQ(Libraries.Held(platform::kCudaLibrary), kSessions); // never unloaded
}
