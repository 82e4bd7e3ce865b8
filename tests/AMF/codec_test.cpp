// The AMD engine's object: its tags and counts, its life, many of them at once, and what a client makes of its failure.
#include "tests/AMF/amd_run_time.h"

#include "quilvex/Quilvex.h"
#include "tests/support/ffmpeg_oracle.h"
#include "tests/support/interface_slots.h"
#include "tests/support/raw_table.h"

#include <thread>

using namespace amd;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using AmdCodec = AmdTest;

constexpr char kTrial[] = "qvlx - CVCodecH264AMD::IsSupportH264hw_0() res=";

// A stream of pictures, and what the same engine makes of it.
struct Session {
    std::vector<Bytes> Units, Shown;
    bool operator==(const Session&) const = default;
};

Session RunSession(int Count)
{
    const auto pEncoder = NewCodec(), pDecoder = NewCodec();
    Session All;
    EXPECT_TRUE(InitEncoder(*pEncoder, 3) && InitDecoder(*pDecoder));
    for (int n = 0; n < Count; ++n) {
        All.Units.push_back(Encode(*pEncoder, Picture(n)).Stream());
        All.Shown.push_back(Decode(*pDecoder, All.Units.back()).I420);
    }
    return All;
}

} // namespace

TEST_F(AmdCodec, TagsCountsAndResetAnswerInTheirSlots)
{
    void* const p = static_cast<IVCodec*>(NewCodec().release());
    EXPECT_EQ(CallSlot<uint32_t>(p, kGetFamilyTag), 0x495050u);
    EXPECT_EQ(CallSlot<uint32_t>(p, kGetBackendTag), 0x414D44u);
    EXPECT_EQ(CallSlot<int32_t>(p, kCodecAddRef), 2);
    EXPECT_EQ(CallSlot<int32_t>(p, kCodecRelease), 1);
    EXPECT_EQ(CallSlot<int32_t>(p, kReset), 0);
    EXPECT_EQ(CallSlot<int32_t>(p, kInitEncoder, 64, 48, 15, 75, 100), 1);
    EXPECT_EQ(CallSlot<int32_t>(p, kInitDecoder, 64, 48), 1);
    EXPECT_EQ(CallSlot<int32_t>(p, kSetBitrate, 50), 1);
    EXPECT_EQ(Script().Live(), 4);
    EXPECT_EQ(CallSlot<int32_t>(p, kCodecRelease), 0);
}

TEST_F(AmdCodec, SlotZeroTearsDownAndFreesByItsFlag)
{
    void* const p = static_cast<IVCodec*>(NewCodec().release());
    EXPECT_EQ(CallSlot<int32_t>(p, kInitEncoder, 64, 48, 15, 75, 100), 1);
    EXPECT_EQ(CallSlot<void*>(p, kCodecDestroy, 1u), p); // the leak checker watches
    EXPECT_EQ(Script().Live(), 0);
    alignas(CVCodecH264AMD) std::byte Place[sizeof(CVCodecH264AMD)];
    void* const pPlaced = static_cast<IVCodec*>(::new (Place) CVCodecH264AMD);
    EXPECT_EQ(CallSlot<int32_t>(pPlaced, kInitDecoder, 64, 48), 1);
    EXPECT_EQ(CallSlot<void*>(pPlaced, kCodecDestroy, 0u), pPlaced);
}

TEST_F(AmdCodec, ANewObjectIsNeutral)
{
    auto pCodec = NewCodec();
    pCodec.reset();
    EXPECT_THAT(News(), IsEmpty());
    EXPECT_THAT(Log().Lines(), IsEmpty());
}

TEST_F(AmdCodec, ResetLeavesTheSessions)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    Encode(*pCodec, Picture(0));
    News();
    EXPECT_EQ(pCodec->Reset(), 0);
    EXPECT_THAT(News(), IsEmpty());
    EXPECT_EQ(Encode(*pCodec, Picture(1)).Type, kFrameP);
}

TEST_F(AmdCodec, TheLastReleaseTearsTheEncoderDownAndThenTheDecoder)
{
    auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    EXPECT_TRUE(InitDecoder(*pCodec));
    Script().Answer("Component.Terminate", 1, 2); // the decoder's: a refusal changes nothing
    News();
    pCodec.reset();
    EXPECT_THAT(News(),
                ElementsAre("Component.Terminate", "Context.Terminate", "Component.Terminate", "Context.Terminate"));
    EXPECT_EQ(GetMyBufferMgr().InUse(), 0);
    EXPECT_EQ(GetMyBufferMgr().IdleCount(), 1u); // kept for the next
}

TEST_F(AmdCodec, ThePictureComesFromThePool)
{
    auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    EXPECT_TRUE(InitEncoder(*pCodec));
    EXPECT_TRUE(InitDecoder(*pCodec));
    EXPECT_EQ(GetMyBufferMgr().InUse(), 1);
    EXPECT_EQ(GetMyBufferMgr().IdleCount(), 0u);
}

// ---- The trial --------------------------------------------------------------------------------------------------

TEST_F(AmdCodec, TheTrialMakesAnEncoderAndInitialisesNothing)
{
    EXPECT_TRUE(CVCodecH264AMD::IsSupportH264hw_0());
    EXPECT_THAT(News(), ElementsAre("Factory.CreateContext", "Factory.CreateComponent id=AMFVideoEncoderVCE_AVC"));
    ExpectLog(std::string(kTrial) + "0");
    EXPECT_EQ(Script().Live(), 0);
}

TEST_F(AmdCodec, TheTrialTellsWhatFailed)
{
    for (const Failure& f : {Failure{"Factory.CreateContext", 17}, Failure{"Factory.CreateComponent", 36}})
        for (const bool bDone : {false, true}) {
            m_Machine.Renew();
            if (bDone)
                Script().Set(f.pOperation, f.Status);
            else
                Script().Answer(f.pOperation, f.Status);
            EXPECT_FALSE(CVCodecH264AMD::IsSupportH264hw_0());
            ExpectLog(kTrial + std::to_string(f.Status));
            EXPECT_EQ(Script().Live(), 0);
        }
    g_AMFFactory.Terminate();
    EXPECT_FALSE(CVCodecH264AMD::IsSupportH264hw_0());
    ExpectLog(std::string(kTrial) + "1");
}

// ---- Many -------------------------------------------------------------------------------------------------------

TEST_F(AmdCodec, TwoThreadsRunTheirOwnCodecs)
{
    const Session Alone = RunSession(6);
    Session Together[2];
    {
        std::thread Other([&] { Together[0] = RunSession(6); });
        Together[1] = RunSession(6);
        Other.join();
    }
    EXPECT_TRUE(Together[0] == Alone);
    EXPECT_TRUE(Together[1] == Alone);
}

TEST_F(AmdCodec, TenThousandLivesLeaveNothing)
{
    DriverKeepTrace(0);
    const Bytes In(16 * 16 * 3 / 2, 100);
    for (int n = 0; n < 10000; ++n) {
        const auto pCodec = NewCodec();
        ASSERT_EQ(pCodec->InitEncoder(16, 16, 15, 75, 100), 1);
        if (n % 100 == 0) {
            ASSERT_EQ(Encode(*pCodec, In, 0, {16, 16}).Result, 1);
        }
        ASSERT_EQ(pCodec->InitDecoder(16, 16), 1);
        Log().Clear();
    }
    EXPECT_EQ(Script().Calls("Component.Init"), 20000);
    EXPECT_EQ(Script().Live(), 0);
    EXPECT_EQ(GetMyBufferMgr().InUse(), 0);
    EXPECT_EQ(GetMyBufferMgr().IdleCount(), 1u);
    EXPECT_EQ(m_Machine.m_Libraries.Held(platform::kAmfLibrary), 1);
}

// ---- The client's loop ------------------------------------------------------------------------------------------

TEST_F(AmdCodec, AClientThatReplacesAFailedEngineLosesNoPicture)
{
    Owned<IVCodec> pCodec(NewCodec().release());
    ASSERT_TRUE(InitEncoder(*pCodec));
    Script().Answer("Component.SubmitInput", 1, 5);
    std::vector<Bytes> Units;
    size_t Switch = 0;
    for (int n = 0; n < 10; ++n) {
        Unit Out = Encode(*pCodec, Picture(n));
        if (Out.Length == -1) {
            EXPECT_EQ(Out.Type, -1);
            pCodec.reset(CreateVCodec(0));
            ASSERT_TRUE(InitEncoder(*pCodec));
            Switch = Units.size();
            Out = Encode(*pCodec, Picture(n));
        }
        ASSERT_EQ(Out.Result, 1);
        Units.push_back(Out.Stream());
    }
    EXPECT_EQ(Switch, 4u);
    EXPECT_EQ(pCodec->GetBackendTag(), kBackendSoftware);
    Bytes Whole, FromSwitch;
    for (size_t i = 0; i < Units.size(); ++i) {
        Whole.insert(Whole.end(), Units[i].begin(), Units[i].end());
        if (i >= Switch) FromSwitch.insert(FromSwitch.end(), Units[i].begin(), Units[i].end());
    }
    for (const auto& [Stream, Count] : {std::pair{&Whole, 10}, std::pair{&FromSwitch, 6}}) {
        const ffmpeg_oracle::Decoded Decoded = ffmpeg_oracle::Decode(*Stream);
        EXPECT_EQ(Decoded.Messages, "");
        EXPECT_EQ(Decoded.Pictures.size(), kSize.I420Bytes() * static_cast<size_t>(Count));
    }
}
