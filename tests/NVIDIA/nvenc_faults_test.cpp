// Faults of the driver at every call, memory that runs out at every request, and many thousand sessions.
#include "tests/NVIDIA/nvenc_session.h"

#include "tests/support/drivers/heap_watch.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/leaks_allowed.h"

using namespace nvenc_session;
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
            ExpectFaultIn("CVCodecH264nv::InitEncoder()", Kind.Code, [&] { RawInit(); });
            EXPECT_EQ(Captured([&] { return Encoder.Reset(); }), 1);
            EXPECT_EQ(Script.Live(), 0);
            EXPECT_THAT(Script.Misuses(), IsEmpty());
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
                Answer a;
                a.Unit = Room(Size);
                ExpectFaultIn("CVCodecH264nv::Encode()", Kind.Code, [&] { Encode(0, a); });
                EXPECT_EQ(Captured([&] { return Encoder.Reset(); }), 1);
                EXPECT_EQ(Script.Live(), 0);
                ExpectRecovery();
            }
}

// What is being given back when the driver faults is lost; the rest is given back by the next reset.
TEST_F(NvencFaults, InTheTeardownAreCaughtAndTheNextOneGoesOn)
{
    const LeaksAllowed Lost; // inside the substitute
    for (const FaultKind& Kind : kFaultKinds)
        for (const std::string& Operation : kResetCalls) {
            SCOPED_TRACE(Operation + " " + std::to_string(Kind.Action));
            DriverReset();
            Script.Set("nvenc.caps.30", 1);
            EXPECT_EQ(Init(), 1);
            Script.Fault(Operation.c_str(), Kind.Action, 1);
            ExpectFaultIn("CVCodecH264nv::Reset()", Kind.Code, [&] { Encoder.Reset(); });
            EXPECT_EQ(Captured([&] { return Encoder.Reset(); }), 1);
            EXPECT_EQ(Script.Live(), 1);
            EXPECT_EQ(Libraries.Held(platform::kNvencLibrary), 0);
            ExpectRecovery();
        }
}

TEST_F(NvencFaults, InAChangeOfRateAreCaught)
{
    const LeaksAllowed Lost;
    for (const FaultKind& Kind : kFaultKinds)
        for (const char* pOperation : {"nvEncDestroyEncoder", "cuInit", "nvEncInitializeEncoder"}) {
            DriverReset();
            EXPECT_EQ(Init(), 1);
            const int Call = Script.Calls(pOperation) + 1;
            Script.Fault(pOperation, Kind.Action, Call);
            ExpectFaultIn("CVCodecH264nv::SetBitrate()", Kind.Code, [&] { Encoder.SetBitrate(300); });
            ExpectRecovery();
        }
}

TEST_F(NvencFaults, MemoryThatRunsOutIsAFailureAndNoCrash)
{
    Answer a;
    a.Unit = Room(Size);
    Picture(Size, 0);
    EXPECT_EQ(Init(), 1); // whatever is made once for the process
    EXPECT_EQ(Encode(0).Result, 1);
    Encoder.Reset();
    for (const bool bAsync : {false, true}) {
        bool bFailed = true;
        size_t n = 0;
        while (bFailed && n < 100) {
            Script.Set("nvenc.caps.30", bAsync);
            Captured([&, f = ++n] {
                const HeapWatch LibraryAlone;
                const FailingAllocation Fail(f);
                const int32_t Result = RawInit();
                EXPECT_EQ(Result, Fail.Failed() ? 0 : 1) << f;
                if (Result) {
                    EXPECT_EQ(Encode(0, a), 1);
                }
                EXPECT_EQ(Encoder.Reset(), 1);
                bFailed = Fail.Failed();
                return 0;
            });
            EXPECT_EQ(Script.Live(), 0) << n;
            EXPECT_EQ(Libraries.Held(platform::kNvencLibrary), 0) << n;
        }
        // The layer, its list and the queue, and three events; then one round without a failure.
        EXPECT_EQ(n, bAsync ? 7u : 4u);
    }
    EXPECT_THAT(Script.Misuses(), IsEmpty());
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
