// The NVIDIA engine as a decoder: the slots' contract, and every fault of a driver below them.
#include "NVIDIA/VCodecH264nv.h"
#include "front/engines.h"
#include "platform/shared_library.h"
#include "quilvex/Quilvex.h"
#include "tests/NVIDIA/engine_faults.h"
#include "tests/support/child_process.h"
#include "tests/support/drivers/heap_watch.h"
#include "tests/support/leaks_allowed.h"
#include "tests/support/user_folder.h"

#include <cstdio>
#include <functional>
#include <thread>

using namespace cuvid_test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr int32_t kWidth = 64, kHeight = 48;

const std::vector<Bytes>& Units()
{
    static const std::vector<Bytes> s_Units = CodedScene(kWidth, kHeight, 6);
    return s_Units;
}

const std::vector<Bytes>& Pictures()
{
    static const std::vector<Bytes> s_Pictures = SoftwarePictures(Units(), kWidth, kHeight);
    return s_Pictures;
}

// What it was made with and told, and nothing reads.
class OpenCodec : public CVCodecH264nv
{
public:
    using CVCodecH264nv::CVCodecH264nv;
    using CVCodecH264nv::m_bDecoder;
    using CVCodecH264nv::m_iArgument;
    using CVCodecH264nv::m_PictureHeight;
    using CVCodecH264nv::m_PictureWidth;
};

Answer Decode(IVCodec& Codec, const Bytes& Unit, Bytes& Room)
{
    int32_t Type = kUnwritten;
    const int32_t bOk = Codec.Decode(Unit.data(), static_cast<int32_t>(Unit.size()), Room.data(), &Type);
    return {bOk, Type};
}

class EngineDecoder : public WithDrivers
{
protected:
    void SetUp() override
    {
        Pictures(); // made outside the calls that are looked at
        m_Log.Clear();
        testing::internal::CaptureStdout();
    }
    void TearDown() override
    {
        if (m_pCodec) {
            EXPECT_EQ(m_pCodec->Release(), 0);
        }
        const std::string Printed = testing::internal::GetCapturedStdout();
        if (HasFailure()) std::printf("%s", Printed.c_str());
        WithDrivers::TearDown();
    }
    Answer DecodeUnit(size_t i) { return Decode(*m_pCodec, Units()[i], m_Room); }
    int32_t Init() { return m_pCodec->InitDecoder(kWidth, kHeight); }

    OpenCodec* m_pCodec = new OpenCodec(1);
    Bytes m_Room = Bytes(I420Bytes(kWidth, kHeight), kFill);
};

} // namespace

// ---- The slots -------------------------------------------------------------------------------------------------

TEST_F(EngineDecoder, TellsItsTags)
{
    EXPECT_EQ(m_pCodec->GetFamilyTag(), 0x495050u);
    EXPECT_EQ(m_pCodec->GetBackendTag(), 0x4E564441u);
}

TEST_F(EngineDecoder, CountsItsReferences)
{
    EXPECT_EQ(m_pCodec->AddRef(), 2);
    EXPECT_EQ(m_pCodec->AddRef(), 3);
    EXPECT_EQ(m_pCodec->Release(), 2);
    EXPECT_EQ(Init(), 1);
    EXPECT_EQ(m_pCodec->Release(), 1);
    EXPECT_GT(m_Script.Live(), 0);
    EXPECT_EQ(m_pCodec->Release(), 0);
    m_pCodec = nullptr;
    EXPECT_EQ(m_Script.Live(), 0); // the last reference gives up the sessions
}

TEST_F(EngineDecoder, ItsDestructorLeavesTheMemoryWhenTheFlagIsClear)
{
    alignas(OpenCodec) std::byte Place[sizeof(OpenCodec)];
    auto* const pCodec = new (Place) OpenCodec(1);
    ASSERT_EQ(pCodec->InitDecoder(kWidth, kHeight), 1);
    EXPECT_EQ(pCodec->DeletingDestructor(2), pCodec);
    EXPECT_EQ(m_Script.Live(), 0);
}

TEST_F(EngineDecoder, RemembersWhatItWasToldLast)
{
    EXPECT_EQ(m_pCodec->m_iArgument, 1);
    EXPECT_EQ(m_pCodec->m_bDecoder, 0);
    EXPECT_EQ(m_pCodec->m_PictureWidth, 0);
    EXPECT_EQ(m_pCodec->m_PictureHeight, 0);
    EXPECT_EQ(m_pCodec->InitDecoder(320, 240), 1);
    EXPECT_EQ(m_pCodec->m_bDecoder, 1);
    EXPECT_EQ(m_pCodec->m_PictureWidth, 320);
    EXPECT_EQ(m_pCodec->m_PictureHeight, 240);
    EXPECT_EQ(m_pCodec->InitDecoder(-5, 100000), 0); // also when it fails
    EXPECT_EQ(m_pCodec->m_PictureWidth, -5);
    EXPECT_EQ(m_pCodec->m_PictureHeight, 100000);
    m_pCodec->Reset();
    EXPECT_EQ(m_pCodec->m_PictureWidth, -5);
}

TEST_F(EngineDecoder, ResetOfANeutralObjectDoesNothing)
{
    EXPECT_EQ(m_pCodec->Reset(), 0);
    EXPECT_THAT(m_Script.Trace(), IsEmpty());
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(EngineDecoder, ResetGivesUpTheSessionAndKeepsTheObject)
{
    ASSERT_EQ(Init(), 1);
    ASSERT_EQ(DecodeUnit(0), kPicture);
    EXPECT_EQ(m_pCodec->Reset(), 0);
    EXPECT_EQ(m_Script.Live(), 0);
    EXPECT_EQ(DecodeUnit(0), kFailed);
    ASSERT_EQ(Init(), 1);
    EXPECT_EQ(DecodeUnit(0), kPicture);
}

TEST_F(EngineDecoder, NullBuffersAreAssertedAndTouchNothing)
{
    int32_t Type = kUnwritten;
    EXPECT_EQ(m_pCodec->Decode(nullptr, 4, m_Room.data(), &Type), 0);
    EXPECT_EQ(m_pCodec->Decode(Units()[0].data(), 4, nullptr, &Type), 0);
    EXPECT_EQ(Type, kUnwritten);
    const std::vector<LogLine> Lines = m_Log.Lines();
    ASSERT_EQ(Lines.size(), 2u);
    for (const LogLine& Line : Lines) {
        EXPECT_EQ(Line.Level, kLogError);
        EXPECT_EQ(Line.Text.find("Assert failed: file=VCodecH264nv line="), 0u);
    }
    EXPECT_TRUE(Lines[0].Text.ends_with(" expr=InBuf"));
    EXPECT_TRUE(Lines[1].Text.ends_with(" expr=OutBuf"));
}

TEST_F(EngineDecoder, DecodesThroughItsSlots)
{
    ASSERT_EQ(Init(), 1);
    for (size_t i = 0; i < Units().size(); ++i) {
        ASSERT_EQ(DecodeUnit(i), kPicture);
        EXPECT_EQ(m_Room, Pictures()[i]);
    }
    EXPECT_EQ(m_pCodec->Decode(Units()[0].data(), 0, m_Room.data(), nullptr), 1);
}

// ---- Faults ----------------------------------------------------------------------------------------------------

namespace {

const std::vector<FaultySlot>& Slots()
{
    static const std::vector<FaultySlot> s_Slots{
        {"InitDecoder",
         {"cuInit", "cuDriverGetVersion", "cuDeviceGetCount", "cuDeviceComputeCapability", "cuDeviceGetAttribute",
          "cuDeviceGet", "cuCtxCreate_v2", "cuvidCtxLockCreate", "cuvidGetDecoderCaps", "cuvidCreateVideoParser",
          "cuCtxPopCurrent_v2"}},
        {"Decode",
         {"cuCtxPushCurrent_v2", "cuvidParseVideoData", "cuvidCreateDecoder", "cuvidDecodePicture",
          "cuCtxPopCurrent_v2", "cuvidCtxLock", kMap, "cuMemAllocHost_v2", "cuMemcpyDtoH_v2", kUnmap,
          "cuvidCtxUnlock"}},
        {"Reset",
         {"cuCtxPushCurrent_v2", "cuvidDestroyVideoParser", "cuvidDestroyDecoder", "cuMemFreeHost",
          "cuvidCtxLockDestroy", "cuCtxPopCurrent_v2", "cuCtxDestroy_v2"}}};
    return s_Slots;
}

// For every call below every slot and every way in which it does not come back.
void ForEachFault(const std::function<void(const FaultySlot&, const std::string&, const FaultKind&)>& Run)
{
    for (const FaultySlot& s : Slots())
        for (const std::string& Call : s.Calls)
            for (const FaultKind& k : kFaultKinds) {
                SCOPED_TRACE(std::string(s.pOperation) + ": " + Call + " ends by " + std::to_string(k.Action));
                Run(s, Call, k);
            }
}

} // namespace

TEST_F(EngineDecoder, AFaultBelowASlotEndsInItsFailureAndTheNextInitWorks)
{
    const LeaksAllowed Abandoned; // what a fault cuts short
    ForEachFault([&](const FaultySlot& s, const std::string& Call, const FaultKind& k) {
        DriverReset();
        auto* const pCodec = new OpenCodec(1);
        const std::string Operation = s.pOperation;
        if (Operation != "InitDecoder") {
            ASSERT_EQ(pCodec->InitDecoder(kWidth, kHeight), 1);
        }
        if (Operation == "Reset") {
            ASSERT_EQ(Decode(*pCodec, Units()[0], m_Room), kPicture);
        }
        m_Room.assign(m_Room.size(), kFill);
        m_Log.Clear();
        m_Script.Fault(Call.c_str(), k.Action, m_Script.Calls(Call.c_str()) + 1);
        if (Operation == "InitDecoder")
            EXPECT_EQ(pCodec->InitDecoder(kWidth, kHeight), 0);
        else if (Operation == "Decode")
            EXPECT_EQ(Decode(*pCodec, Units()[0], m_Room), kFailed);
        else
            EXPECT_EQ(pCodec->Reset(), 0);
        EXPECT_EQ(m_Log.Lines(), FaultLines(k.Code, Operation));
        // The same object goes on, and so does another.
        ASSERT_EQ(pCodec->InitDecoder(kWidth, kHeight), 1);
        for (size_t i = 0; i < 2; ++i) {
            ASSERT_EQ(Decode(*pCodec, Units()[i], m_Room), kPicture);
            EXPECT_EQ(m_Room, Pictures()[i]);
        }
        EXPECT_EQ(pCodec->Release(), 0);
        // No handle is used once it is closed, or closed twice.
        for (const std::string& Misuse : m_Script.Misuses()) EXPECT_EQ(Misuse, "a held lock is destroyed");
    });
    DriverReset();
}

TEST_F(EngineDecoder, AFaultNeedsNoPlaceForTheFrameType)
{
    const LeaksAllowed Abandoned;
    ASSERT_EQ(Init(), 1);
    m_Script.Fault("cuvidParseVideoData", kDriverAccess);
    EXPECT_EQ(m_pCodec->Decode(Units()[0].data(), 4, m_Room.data(), nullptr), 0);
}

TEST_F(EngineDecoder, TheObjectStaysAsItStoodWhenTheFaultCame)
{
    ASSERT_EQ(Init(), 1);
    ASSERT_EQ(DecodeUnit(0), kPicture);
    m_Script.Fault("cuvidParseVideoData", kDriverArithmetic, 2);
    const size_t Before = m_Script.Trace().size();
    EXPECT_EQ(DecodeUnit(1), kFailed);
    EXPECT_EQ(m_Script.Trace().size(), Before + 2); // the context and the call: nothing is torn down
    EXPECT_EQ(DecodeUnit(1), kPicture);
    EXPECT_EQ(m_Room, Pictures()[1]);
}

TEST_F(EngineDecoder, AFaultWhileTheLastReferenceGoesStaysBelow)
{
    const LeaksAllowed Abandoned;
    for (const std::string& Call : Slots().back().Calls)
        for (const FaultKind& k : kFaultKinds) {
            SCOPED_TRACE(Call + " ends by " + std::to_string(k.Action));
            DriverReset();
            auto* const pCodec = new OpenCodec(1);
            ASSERT_EQ(pCodec->InitDecoder(kWidth, kHeight), 1);
            ASSERT_EQ(Decode(*pCodec, Units()[0], m_Room), kPicture);
            m_Log.Clear();
            m_Script.Fault(Call.c_str(), k.Action); // again and again
            EXPECT_EQ(pCodec->Release(), 0);
            const std::vector<LogLine> Lines = m_Log.Lines();
            ASSERT_GE(Lines.size(), 2u);
            EXPECT_EQ(std::vector(Lines.begin(), Lines.begin() + 2), FaultLines(k.Code, "Reset"));
        }
    DriverReset();
}

TEST_F(EngineDecoder, WhatAFaultLeavesOfACloseIsClosedWhenTheObjectGoes)
{
    const LeaksAllowed Abandoned;
    for (const char* pCall : {"cuCtxPushCurrent_v2", "cuvidDestroyVideoParser", "cuvidDestroyDecoder", "cuMemFreeHost",
                              "cuvidCtxLockDestroy", "cuCtxPopCurrent_v2"}) {
        SCOPED_TRACE(pCall);
        DriverReset();
        auto* const pCodec = new OpenCodec(1);
        ASSERT_EQ(pCodec->InitDecoder(kWidth, kHeight), 1);
        ASSERT_EQ(Decode(*pCodec, Units()[0], m_Room), kPicture);
        m_Script.Fault(pCall, kDriverAccess, m_Script.Calls(pCall) + 1);
        EXPECT_EQ(pCodec->Release(), 0);
        EXPECT_EQ(m_Script.Live("CUcontext"), 0);
        EXPECT_EQ(m_Script.Live("lock"), std::string(pCall) == "cuvidCtxLockDestroy" ? 1 : 0);
        EXPECT_EQ(m_Script.Live("host memory"), std::string(pCall) == "cuMemFreeHost" ? 1 : 0);
        EXPECT_THAT(m_Script.Misuses(), IsEmpty());
    }
    DriverReset();
}

TEST_F(EngineDecoder, ADriverWithoutANameFaultsWhereItIsCalled)
{
    testing::internal::GetCapturedStdout();
    testing::internal::CaptureStdout();
    m_Libraries.Lack("cuCtxCreate_v2");
    EXPECT_EQ(Init(), 0);
    EXPECT_EQ(m_Log.Lines(), FaultLines(kFaultKinds[0].Code, "InitDecoder"));
}

// ---- Selection -------------------------------------------------------------------------------------------------

TEST_F(EngineDecoder, IsSelectedWhenItsTrialSucceeds)
{
    const UserFolder Home;
    for (const uint32_t id : {101u, 111u, 201u}) {
        m_Log.Clear();
        IVCodec* const pCodec = CreateVCodec(id);
        ASSERT_TRUE(pCodec);
        EXPECT_EQ(pCodec->GetBackendTag(), kBackendNvidia);
        EXPECT_EQ(m_Script.Live(), 0); // the trial is over
        ASSERT_EQ(pCodec->InitDecoder(kWidth, kHeight), 1);
        EXPECT_EQ(Decode(*pCodec, Units()[0], m_Room), kPicture);
        EXPECT_EQ(m_Room, Pictures()[0]);
        EXPECT_EQ(pCodec->Release(), 0);
        if (id % 100 == 1) {
            EXPECT_EQ(m_Log.Lines(),
                      (std::vector<LogLine>{{kLogInfo, "qvlx - CreateVCodec(" + std::to_string(id) + ") NVIDIA"}}));
        } else {
            EXPECT_THAT(m_Log.Lines(), IsEmpty());
        }
    }
}

TEST_F(EngineDecoder, ItsTrialIsForASizeAndRefusesByIt)
{
    const UserFolder Home;
    m_Script.Set("caps.min_width", 320, 321);
    m_Script.Set("caps.min_height", 240);
    EXPECT_TRUE(GetEngines()->TryNvidiaDecoder(320, 240));
    EXPECT_FALSE(GetEngines()->TryNvidiaDecoder(320, 240));
    IVCodec* const pCodec = CreateVCodec(101);
    ASSERT_TRUE(pCodec);
    EXPECT_NE(pCodec->GetBackendTag(), kBackendNvidia);
    pCodec->Release();
    EXPECT_EQ(m_Log.With(" iWidth=320 iHeight=240 nMinWidth=321 nMinHeight=240 ").size(), 2u);
}

TEST_F(EngineDecoder, AFaultInItsTrialIsARefusal)
{
    const UserFolder Home;
    const LeaksAllowed Abandoned;
    std::vector<std::string> Calls = Slots()[0].Calls; // and of the close
    for (const char* pCall :
         {"cuCtxPushCurrent_v2", "cuvidDestroyVideoParser", "cuvidCtxLockDestroy", "cuCtxDestroy_v2"})
        Calls.emplace_back(pCall);
    for (const std::string& Call : Calls)
        for (const FaultKind& k : kFaultKinds) {
            SCOPED_TRACE(Call + " ends by " + std::to_string(k.Action));
            DriverReset();
            m_Log.Clear();
            m_Script.Fault(Call.c_str(), k.Action, 1);
            IVCodec* const pRefused = CreateVCodec(101);
            ASSERT_TRUE(pRefused);
            EXPECT_NE(pRefused->GetBackendTag(), kBackendNvidia);
            pRefused->Release();
            const std::vector<LogLine> Lines = m_Log.Lines();
            ASSERT_GE(Lines.size(), 2u);
            EXPECT_EQ(std::vector(Lines.begin(), Lines.begin() + 2), FaultLines(k.Code, "IsSupportH264hw"));
            IVCodec* const pCodec = CreateVCodec(101);
            ASSERT_TRUE(pCodec);
            EXPECT_EQ(pCodec->GetBackendTag(), kBackendNvidia);
            ASSERT_EQ(pCodec->InitDecoder(kWidth, kHeight), 1);
            EXPECT_EQ(Decode(*pCodec, Units()[0], m_Room), kPicture);
            EXPECT_EQ(pCodec->Release(), 0);
        }
    DriverReset();
}

// A trial that hangs has no bound: it is the driver's to come back.
CHILD_BODY(HangingDecoderTrial)
{
    DriverScript Script;
    const DriverLibraries Present{platform::kCudaLibrary, platform::kCuvidLibrary};
    Script.Fault("cuvidCreateVideoParser", kDriverHang);
    std::printf("tried\n");
    std::fflush(stdout);
    return GetEngines()->TryNvidiaDecoder(320, 240) ? 1 : 2;
}

TEST_F(EngineDecoder, AHangInItsTrialIsWaitedFor)
{
    const ChildResult Child = RunChild("HangingDecoderTrial", "", 3000);
    EXPECT_TRUE(Child.bTimedOut);
    EXPECT_NE(Child.Out.find("tried"), std::string::npos);
}

TEST_F(EngineDecoder, TwoThreadsDecodeAtOnce)
{
    const auto Run = [](Bytes& Last) {
        IVCodec* const pCodec = GetEngines()->NewNvidia(1);
        EXPECT_EQ(pCodec->InitDecoder(kWidth, kHeight), 1);
        for (const Bytes& Unit : Units()) EXPECT_EQ(Decode(*pCodec, Unit, Last), kPicture);
        EXPECT_EQ(pCodec->Release(), 0);
    };
    Bytes Rooms[2] = {m_Room, m_Room};
    std::thread Other([&] { Run(Rooms[0]); });
    Run(Rooms[1]);
    Other.join();
    for (const Bytes& Room : Rooms) EXPECT_EQ(Room, Pictures().back());
    EXPECT_EQ(m_Script.Live(), 0);
}

// ---- Memory ----------------------------------------------------------------------------------------------------

namespace {

// What the engine asks of the system and of the driver, out of the count: what is left is the engine's own.
class EngineAlone : public IHostLog
{
public:
    EngineAlone() : m_pLog(SetHostLog(this)) {}
    ~EngineAlone() override { SetHostLog(m_pLog); }
    void Write(int32_t iLevel, const char* pText) override
    {
        const HeapWatch::Pause Recording;
        m_pLog->Write(iLevel, pText);
    }
    std::string UserDataPath(const std::string&) override { return {}; }

private:
    HeapWatch m_OfTheLibrary;
    IHostLog* m_pLog;
};

} // namespace

TEST_F(EngineDecoder, WhenMemoryRunsOutACallFailsAndNothingIsLeft)
{
    const EngineAlone Alone;
    struct Row {
        size_t Request; // that fails; 0: none
        const char* pLine;
        Answer Given;
    };
    static constexpr Row kRows[] = {{1, nullptr, {}}, // no object at all
                                    {2, "InitCuvid() m_pFrameQueue==null", kFailed},
                                    {3, "HandleVideoSequence() error", kFailed},
                                    {0, "", kPicture}};
    for (const Row& r : kRows) {
        SCOPED_TRACE(r.Request);
        m_Log.Clear();
        const FailingAllocation Fail(r.Request);
        IVCodec* const pCodec = GetEngines()->NewNvidia(1);
        ASSERT_EQ(pCodec == nullptr, r.pLine == nullptr);
        if (!pCodec) continue;
        pCodec->InitDecoder(kWidth, kHeight);
        EXPECT_EQ(Decode(*pCodec, Units()[0], m_Room), r.Given);
        EXPECT_EQ(Fail.Failed(), r.Given == kFailed);
        if (!Fail.Failed()) {
            EXPECT_EQ(FailingAllocation::Requests(), 3u); // there is no fourth one
        }
        ASSERT_EQ(pCodec->InitDecoder(kWidth, kHeight), 1); // there is memory again
        EXPECT_EQ(Decode(*pCodec, Units()[0], m_Room), kPicture);
        EXPECT_EQ(pCodec->Release(), 0);
        EXPECT_EQ(FailingAllocation::BlocksHeld(), 0);
        const HeapWatch::Pause Comparing;
        EXPECT_EQ(m_Room, Pictures()[0]);
        EXPECT_EQ(m_Script.Live(), 0);
        EXPECT_EQ(m_Log.With(std::string("qvlx - CH264nvDec::") + r.pLine).empty(), r.Given == kPicture);
    }
}

TEST_F(EngineDecoder, ATrialWithoutMemoryForItsObjectRefuses)
{
    const EngineAlone Alone;
    {
        const FailingAllocation Fail(1);
        EXPECT_FALSE(GetEngines()->TryNvidiaDecoder(320, 240));
    }
    const std::vector<LogLine> Lines = m_Log.Lines();
    ASSERT_EQ(Lines.size(), 1u);
    EXPECT_EQ(Lines[0].Text.find("Assert failed: file=H264nvDec line="), 0u);
    EXPECT_TRUE(Lines[0].Text.ends_with(" expr=pCodec"));
    EXPECT_THAT(m_Script.Trace(), IsEmpty());
    {
        const FailingAllocation Fail(2);
        EXPECT_FALSE(GetEngines()->TryNvidiaDecoder(320, 240));
        EXPECT_EQ(FailingAllocation::BlocksHeld(), 0);
    }
    EXPECT_EQ(m_Script.Live(), 0);
}

TEST_F(EngineDecoder, TenThousandLivesLeaveNothing)
{
    DriverKeepTrace(0);
    for (int i = 0; i < 10000; ++i) {
        IVCodec* const pCodec = GetEngines()->NewNvidia(1);
        ASSERT_EQ(pCodec->InitDecoder(kWidth, kHeight), 1) << i;
        if (i % 100 == 0) {
            ASSERT_EQ(Decode(*pCodec, Units()[0], m_Room), kPicture) << i;
        }
        ASSERT_EQ(pCodec->Release(), 0);
        m_Libraries.ForgetAsked();
    }
    EXPECT_EQ(m_Script.Live(), 0);
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}
