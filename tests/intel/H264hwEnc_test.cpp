// Encoding through the Media SDK: what it is asked, in which order, with which fields, and what each answer comes to.
#include "tests/intel/intel_test.h"

#include "intel/H264hwEnc.h"
#include "tests/support/child_process.h"
#include "tests/support/ffmpeg_oracle.h"

#include <cinttypes>
#include <cstdio>
#include <functional>

using namespace intel_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr FrameSize kField{320, 240};

class IntelEncoder : public IntelEngine
{
protected:
    /// One field of the last call of an operation.
    int64_t Field(const std::string& Operation, const std::string& Name) const
    {
        const std::vector<std::string> Lines = m_Script.Trace(Operation + " ");
        const std::string Line = Lines.empty() ? "" : Lines.back() + " ";
        const size_t At = Line.find(" " + Name + "=");
        return At == std::string::npos ? INT64_MIN : std::stoll(Line.substr(At + Name.size() + 2));
    }
    bool Init(int32_t Fps = 15, int32_t Interval = 30, int32_t Kbps = 400, FrameSize Size = kSize)
    {
        return m_Codec->InitEncoder(Size.Width, Size.Height, Fps, Interval, Kbps) == 1;
    }
    Coded Put(int Index = 0, int32_t bForceKey = 0) { return Encode(*m_Codec, Index, kSize, bForceKey); }
    void ExpectNeedSwitch(const Coded& Call, int32_t Status)
    {
        EXPECT_EQ(Call.Result, 0);
        EXPECT_EQ(Call.Length, -1);
        EXPECT_EQ(Call.Type, -1);
        EXPECT_EQ(m_Log.Lines().back(),
                  (LogLine{kLogError, "qvlx - CH264hwEnc::Encode() Encode failed, need switch to IPP(err=" +
                                          std::to_string(Status) + ")."}));
        EXPECT_EQ(GetIntelH264hwDevFailed(), 1);
        EXPECT_EQ(m_Script.Live("session"), 0);
    }

    Engine m_Codec;
};

// The parameters of kField at 30 pictures a second, interval 60 and 1000 kilobits.
const char kParams[] =
    " AsyncDepth=1 IOPattern=2 CodecId=541283905 TargetUsage=1 GopPicSize=60 GopRefDist=1 NumRefFrame=1"
    " RateControlMethod=2 BufferSizeInKB=0 TargetKbps=1000 MaxKbps=1100 FourCC=842094158 Width=320"
    " Height=240 CropX=0 CropY=0 CropW=320 CropH=240 PicStruct=1 ChromaFormat=1 FrameRateExtN=30"
    " FrameRateExtD=1 NumExtParam=1 ExtParam=0 others=0"
    " BufferId=1347372099 BufferSz=64 RefPicMarkRep=32 MaxDecFrameBuffering=1 others=0";

} // namespace

// ---- InitEncoder -------------------------------------------------------------------------------------------------

TEST_F(IntelEncoder, InitAsksTheSdkStepByStepWithEveryFieldTold)
{
    ASSERT_EQ(m_Codec->InitEncoder(kField.Width, kField.Height, 30, 60, 1000), 1);
    EXPECT_THAT(m_Script.Trace(),
                ElementsAre("MFXInit impl=4 major=1 minor=1", "MFXQueryVersion",
                            "MFXVideoCORE_SetFrameAllocator entries=5 pthis=1",
                            std::string("MFXVideoENCODE_QueryIOSurf") + kParams + " request=0",
                            std::string("MFXVideoENCODE_Init") + kParams, "MFXVideoENCODE_GetVideoParam given=0"));
    EXPECT_THAT(Lines(), ElementsAre(LogLine{kLogInfo, "qvlx - CH264hwEnc::Init() QueryVersion=1.35"}));
}

TEST_F(IntelEncoder, TheSoftwareKindAsksForTheSoftwareImplementation)
{
    Engine Soft(2);
    EXPECT_EQ(Soft->GetBackendTag(), kBackendIntelSoft);
    ASSERT_EQ(Soft->InitEncoder(kSize.Width, kSize.Height, 15, 30, 400), 1);
    EXPECT_EQ(m_Script.Trace().front(), "MFXInit impl=1 major=1 minor=1");
}

TEST_F(IntelEncoder, EntryAndExitAreTracedWithTheObject)
{
    CH264hwEnc Encoder(1);
    EXPECT_EQ(Encoder.InitEncoder(640, 480, 0, 0, 0), 1);
    Encoder.Reset();
    char This[32];
    std::snprintf(This, sizeof This, "%p", static_cast<void*>(&Encoder));
    const std::string At = std::string(" this=") + This;
    EXPECT_THAT(m_Log.Lines(),
                ElementsAre(LogLine{kLogInfo, "qvlx > CH264hwEnc::InitEncoder()" + At + " width=640 height=480"},
                            LogLine{kLogInfo, "qvlx - CH264hwEnc::Init() QueryVersion=1.35"},
                            LogLine{kLogInfo, "qvlx < CH264hwEnc::InitEncoder()" + At + " bRet = 1"},
                            LogLine{kLogInfo, "qvlx > CH264hwEnc::Reset()" + At},
                            LogLine{kLogInfo, "qvlx < CH264hwEnc::Reset()" + At}));
    m_Log.Clear();
    Encoder.Reset(); // neutral: nothing to say
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(IntelEncoder, ValuesBelowOneHaveDefaults)
{
    for (const int32_t None : {0, -5}) {
        ASSERT_EQ(m_Codec->InitEncoder(640, 480, None, None, None), 1);
        EXPECT_EQ(Field("MFXVideoENCODE_Init", "FrameRateExtN"), 30);
        EXPECT_EQ(Field("MFXVideoENCODE_Init", "GopPicSize"), 60);
        EXPECT_EQ(Field("MFXVideoENCODE_Init", "TargetKbps"), 221);
        EXPECT_EQ(Field("MFXVideoENCODE_Init", "MaxKbps"), 243);
    }
    ASSERT_EQ(m_Codec->InitEncoder(640, 480, 15, 1, 0), 1); // by the rate that was given
    EXPECT_EQ(Field("MFXVideoENCODE_Init", "TargetKbps"), 110);
    EXPECT_EQ(Field("MFXVideoENCODE_Init", "GopPicSize"), 1);
}

TEST_F(IntelEncoder, SizesAreRoundedUpTo16)
{
    constexpr FrameSize kOdd{100, 50};
    ASSERT_EQ(m_Codec->InitEncoder(kOdd.Width, kOdd.Height, 15, 30, 400), 1);
    EXPECT_EQ(Field("MFXVideoENCODE_Init", "Width"), 112);
    EXPECT_EQ(Field("MFXVideoENCODE_Init", "Height"), 64);
    EXPECT_EQ(Field("MFXVideoENCODE_Init", "CropW"), 100);
    EXPECT_EQ(Field("MFXVideoENCODE_Init", "CropH"), 50);
    EXPECT_EQ(Encode(*m_Codec, 0, kOdd).Result, 1);
}

TEST_F(IntelEncoder, NumbersBeyond16BitsWrap)
{
    ASSERT_TRUE(Init(15, 65536 + 7, 65536 + 100));
    EXPECT_EQ(Field("MFXVideoENCODE_Init", "TargetKbps"), 100);
    EXPECT_EQ(Field("MFXVideoENCODE_Init", "MaxKbps"), (65636 + 6563) % 65536);
    EXPECT_EQ(Field("MFXVideoENCODE_Init", "GopPicSize"), 7);
}

// A width that has wrapped is more than the frame holds: nothing is written past it.
TEST_F(IntelEncoder, ASizeThatWrapsIsAFailureOfThePicture)
{
    ASSERT_EQ(m_Codec->InitEncoder(65536 + 96, 64, 15, 30, 400), 1);
    EXPECT_EQ(Field("MFXVideoENCODE_Init", "Width"), 96);
    const Bytes Large((65536 + 96) * 64 * 3 / 2);
    Bytes Room((65536 + 96) * 64 * 3);
    int32_t Length = 0;
    EXPECT_THAT(Reports([&] { EXPECT_EQ(m_Codec->Encode(Large.data(), Room.data(), &Length, 0, nullptr), 0); }),
                ElementsAre("H264hwEnc -5"));
    EXPECT_EQ(Length, -1);
}

TEST_F(IntelEncoder, TheWarningOfPartialAccelerationIsNone)
{
    for (const char* const pOperation :
         {"MFXInit.status", "MFXQueryVersion.status", "MFXVideoENCODE_QueryIOSurf.status", "MFXVideoENCODE_Init.status",
          "MFXVideoENCODE_GetVideoParam.status"})
        m_Script.Set(pOperation, 4);
    ASSERT_TRUE(Init());
    EXPECT_EQ(Put().Result, 1);
}

namespace {

struct InitFailure {
    const char* pOperation;
    int32_t Status;
    std::vector<std::string> Reports; // each level's own number: the status within, 0 from Init
};
class IntelEncoderInit : public IntelEncoder, public testing::WithParamInterface<InitFailure>
{
};
const InitFailure s_InitFailures[] = {
    {"MFXInit", -3, {"H264hwEnc 0"}},
    {"MFXQueryVersion", -6, {"H264hwEnc 0"}},
    {"MFXVideoCORE_SetFrameAllocator", -16, {"H264hwEnc -16", "H264hwEnc 0"}},
    {"MFXVideoENCODE_QueryIOSurf", -15, {"H264hwEnc -15", "H264hwEnc -15", "H264hwEnc 0"}},
    {"MFXVideoENCODE_Init", -15, {"H264hwEnc -15", "H264hwEnc 0"}},
    {"MFXVideoENCODE_GetVideoParam", -8, {"H264hwEnc -8", "H264hwEnc 0"}},
};

} // namespace

TEST_P(IntelEncoderInit, AFailedStepIsReportedAndEndsIt)
{
    const InitFailure& f = GetParam();
    m_Script.Answer(f.pOperation, f.Status, 1);
    EXPECT_THAT(Reports([&] { EXPECT_FALSE(Init()); }), f.Reports);
    EXPECT_EQ(m_Script.Operations().back(), f.pOperation);
    EXPECT_THAT(m_Log.Lines().back().Text, HasSubstr("bRet = 0"));
    EXPECT_EQ(GetIntelH264hwDevFailed(), 0);
    const bool bOpened = std::string(f.pOperation) != "MFXInit";
    EXPECT_EQ(m_Script.Live("session"), bOpened ? 1 : 0); // it stays open

    EXPECT_EQ(Put().Result, 0); // not initialised
    EXPECT_EQ(Put().Length, -7);
    EXPECT_EQ(m_Codec->SetBitrate(100), 0);
    m_Codec->Reset(); // runs only when initialised
    EXPECT_EQ(m_Script.Live("session"), bOpened ? 1 : 0);
    ASSERT_TRUE(Init()); // the next one does not lose it
    EXPECT_EQ(m_Script.Live("session"), 1);
    EXPECT_EQ(Put().Result, 1);
    m_Codec.Release();
    EXPECT_EQ(m_Script.Live(), 0);
}
INSTANTIATE_TEST_SUITE_P(All, IntelEncoderInit, testing::ValuesIn(s_InitFailures),
                         [](const auto& Info) { return std::string(Info.param.pOperation); });

TEST_F(IntelEncoder, AFailedInitIsGivenUpWithTheObject)
{
    m_Script.Answer("MFXVideoENCODE_GetVideoParam", -8, 1);
    Reports([&] { EXPECT_FALSE(Init()); });
    m_Codec.Release();
    EXPECT_EQ(m_Script.Live(), 0);
    EXPECT_THAT(m_Script.Operations(), ElementsAre("MFXInit", "MFXQueryVersion", "MFXVideoCORE_SetFrameAllocator",
                                                   "MFXVideoENCODE_QueryIOSurf", "MFXVideoENCODE_Init",
                                                   "MFXVideoENCODE_GetVideoParam", "MFXVideoENCODE_Close", "MFXClose"));
}

TEST_F(IntelEncoder, NoSurfacesAskedForIsAFailureOfTheAllocator)
{
    m_Script.Set("surfaces", 0);
    EXPECT_THAT(Reports([&] { EXPECT_FALSE(Init()); }), ElementsAre("H264hwEnc -4", "H264hwEnc -4", "H264hwEnc 0"));
}

// ---- Encode ------------------------------------------------------------------------------------------------------

TEST_F(IntelEncoder, APictureIsSubmittedAndWaitedFor)
{
    ASSERT_TRUE(Init());
    const size_t Before = m_Script.Trace().size();
    const Coded First = Put(0), Second = Put(1);
    ASSERT_EQ(First.Result, 1);
    ASSERT_EQ(Second.Result, 1);
    EXPECT_EQ(First.Type, 1);
    EXPECT_EQ(Second.Type, 2);
    const std::vector<std::string> All = m_Script.Trace();
    const std::string Rest = " DataOffset=0 DataLength=0 MaxLength=" + std::to_string((96 * 64 * 3 / 1000 + 1) * 1000);
    EXPECT_THAT(std::vector<std::string>(All.begin() + static_cast<ptrdiff_t>(Before), All.end()),
                ElementsAre("MFXVideoENCODE_EncodeFrameAsync control=1 type=193 others=0 FrameOrder=0 Locked=0 Pitch=0"
                            " planes=0 Width=96 CropH=64" +
                                Rest,
                            "MFXVideoCORE_SyncOperation wait=1500000",
                            "MFXVideoENCODE_EncodeFrameAsync control=0 FrameOrder=1 Locked=0 Pitch=0 planes=0 Width=96"
                            " CropH=64" +
                                Rest,
                            "MFXVideoCORE_SyncOperation wait=1500000"));
    for (size_t i = static_cast<size_t>(Second.Length); i < Second.Room.size(); ++i) ASSERT_EQ(Second.Room[i], 0xEE);
}

TEST_F(IntelEncoder, AKeyPictureComesByTheIntervalAndOnRequest)
{
    ASSERT_TRUE(Init(15, 4));
    std::vector<int32_t> Types;
    for (int i = 0; i < 9; ++i) Types.push_back(Put(i, i == 6).Type);
    EXPECT_THAT(Types, ElementsAre(1, 2, 2, 2, 1, 2, 1, 2, 1));
    EXPECT_EQ(Put(9, 2).Type, 2); // exactly 1 asks for one
    EXPECT_THAT(m_Script.Trace("MFXVideoENCODE_EncodeFrameAsync control=1 type=193 "), testing::SizeIs(4));
    EXPECT_THAT(m_Script.Trace("MFXVideoENCODE_EncodeFrameAsync control=0 "), testing::SizeIs(6));
}

TEST_F(IntelEncoder, EveryTypeIsIOrPToTheClient)
{
    ASSERT_TRUE(Init());
    const std::pair<int32_t, int32_t> kTypes[] = {{0xC1, 1}, {0x81, 1}, {0x41, 2}, {0x42, 2}, {0x82, 2},
                                                  {0x84, 2}, {0, 2},    {3, 2},    {0x83, 2}};
    for (const auto& [Sdk, Client] : kTypes) {
        m_Script.Set("encode.type", Sdk);
        EXPECT_EQ(Put().Type, Client) << Sdk;
    }
}

TEST_F(IntelEncoder, AFrameTypePointerMayBeNull)
{
    ASSERT_TRUE(Init());
    Bytes Room(kSize.LumaBytes() * 3);
    int32_t Length = 0;
    EXPECT_EQ(m_Codec->Encode(Picture(0).data(), Room.data(), &Length, 0, nullptr), 1);
    EXPECT_GT(Length, 0);
    m_Script.Answer("MFXVideoENCODE_EncodeFrameAsync", -1);
    Reports([&] { EXPECT_EQ(m_Codec->Encode(Picture(0).data(), Room.data(), &Length, 0, nullptr), 0); });
    EXPECT_EQ(Length, -1);
}

TEST_F(IntelEncoder, APictureThatIsHeldBackLeavesTheOutputsAlone)
{
    ASSERT_TRUE(Init());
    m_Script.Set("encode.held", 1);
    for (int i = 0; i < 2; ++i) {
        const Coded Held = Put(i);
        EXPECT_EQ(Held.Result, 1);
        EXPECT_EQ(Held.Length, -7);
        EXPECT_EQ(Held.Type, -7);
        EXPECT_EQ(Field("MFXVideoENCODE_EncodeFrameAsync", "type"), 193); // still the first picture
        EXPECT_EQ(Field("MFXVideoENCODE_EncodeFrameAsync", "FrameOrder"), 0);
    }
    m_Script.Set("encode.held", 0);
    EXPECT_EQ(Put(2).Type, 1);
    EXPECT_EQ(m_Script.Calls("MFXVideoCORE_SyncOperation"), 1);
    EXPECT_EQ(GetIntelH264hwDevFailed(), 0);
}

TEST_F(IntelEncoder, OutputsThatTheSdkLeavesUnwrittenAreNoFailure)
{
    ASSERT_TRUE(Init());
    m_Script.Answer("MFXVideoENCODE_EncodeFrameAsync", 0, 1); // no sync point
    const Coded Call = Put();
    EXPECT_EQ(Call.Result, 1);
    EXPECT_EQ(Call.Length, -7);
    EXPECT_EQ(Put().Type, 1);
}

TEST_F(IntelEncoder, AWarningWithoutASyncPointIsTriedAgain)
{
    ASSERT_TRUE(Init());
    const TurnedClock Clock;
    m_Script.Set("encode.warning", 2, 3, 2, 1, 0);
    EXPECT_EQ(Put().Result, 1);
    EXPECT_EQ(m_Script.Calls("MFXVideoENCODE_EncodeFrameAsync"), 5);
    EXPECT_THAT(Clock.Slept(), ElementsAre(std::pair(1u, 2u))); // when the device is busy
}

TEST_F(IntelEncoder, AWarningWithASyncPointIsNone)
{
    ASSERT_TRUE(Init());
    m_Script.Set("MFXVideoENCODE_EncodeFrameAsync.status", 3);
    EXPECT_EQ(Put().Type, 1);
    EXPECT_EQ(m_Script.Calls("MFXVideoCORE_SyncOperation"), 1);
}

TEST_F(IntelEncoder, ASyncThatIsNotOverTakesWhatThereIsWithoutAType)
{
    ASSERT_TRUE(Init());
    m_Script.Answer("MFXVideoCORE_SyncOperation", 1, 1);
    const Coded Call = Put();
    EXPECT_EQ(Call.Result, 1);
    EXPECT_GT(Call.Length, 0);
    EXPECT_EQ(Call.Type, -7);
}

TEST_F(IntelEncoder, TheDatasOffsetStaysAsTheSdkLeavesIt)
{
    ASSERT_TRUE(Init());
    ASSERT_EQ(Put(0).Result, 1);
    m_Script.Set("encode.offset", 5);
    m_Script.Set("encode.length", 11);
    EXPECT_EQ(Put(1).Length, 11);
    Put(2);
    EXPECT_EQ(Field("MFXVideoENCODE_EncodeFrameAsync", "DataOffset"), 5);
    EXPECT_EQ(Field("MFXVideoENCODE_EncodeFrameAsync", "DataLength"), 0);
}

TEST_F(IntelEncoder, AnEmptyAccessUnitIsASuccess)
{
    ASSERT_TRUE(Init());
    m_Script.Set("encode.length", 0);
    const Coded Call = Put();
    EXPECT_EQ(Call.Result, 1);
    EXPECT_EQ(Call.Length, 0);
    EXPECT_EQ(Call.Room[0], 0xEE);
}

// Departures from reading and writing at the SDK's word.
TEST_F(IntelEncoder, AnAccessUnitBeyondTheClientsRoomIsAFailureAndNotCopied)
{
    m_Script.Set("BufferSizeInKB", 60);
    ASSERT_TRUE(Init());
    m_Script.Set("encode.length", kSize.LumaBytes() * 3);
    EXPECT_EQ(Put(0).Length, static_cast<int32_t>(kSize.LumaBytes() * 3)); // all of the room
    m_Script.Set("encode.length", kSize.LumaBytes() * 3 + 1);
    Coded Call;
    EXPECT_THAT(Reports([&] { Call = Put(1); }), ElementsAre("H264hwEnc -5"));
    ExpectNeedSwitch(Call, -5);
    EXPECT_EQ(Call.Room, Bytes(Call.Room.size(), 0xEE));
}

TEST_F(IntelEncoder, DataBeyondTheBitstreamsBufferIsAFailure)
{
    ASSERT_TRUE(Init());
    m_Script.Set("encode.offset", 18999); // of 19000 bytes
    m_Script.Set("encode.length", 2);
    Coded Call;
    EXPECT_THAT(Reports([&] { Call = Put(); }), ElementsAre("H264hwEnc -5"));
    ExpectNeedSwitch(Call, -5);
}

TEST_F(IntelEncoder, AFailedSyncHasWrittenAndCountedBeforeItFails)
{
    ASSERT_TRUE(Init());
    m_Script.Set("MFXVideoCORE_SyncOperation.status", -1);
    Coded Call;
    EXPECT_THAT(Reports([&] { Call = Put(); }), ElementsAre("H264hwEnc -1"));
    EXPECT_EQ(Call.Room[0], 0); // a start code
    EXPECT_EQ(Call.Room[3], 1);
    ExpectNeedSwitch(Call, -1);
    EXPECT_THAT(m_Script.Trace("MFXClose "), ElementsAre("MFXClose encoder=1 decoder=0 Locked=1"));
}

TEST_F(IntelEncoder, AFailedDeviceUnlocksTheSurfaceByForce)
{
    ASSERT_TRUE(Init());
    m_Script.Set("MFXVideoCORE_SyncOperation.status", -17);
    Coded Call;
    EXPECT_THAT(Reports([&] { Call = Put(); }), ElementsAre("H264hwEnc -17"));
    ExpectNeedSwitch(Call, -17);
    EXPECT_THAT(m_Script.Trace("MFXClose "), ElementsAre("MFXClose encoder=1 decoder=0 Locked=0"));
}

TEST_F(IntelEncoder, EveryNegativeStatusOfASubmitIsAFailureButMoreData)
{
    for (const int32_t Status : {-1, -2, -3, -4, -5, -6, -7, -8, -9, -11, -12, -13, -14, -15, -16, -17, -18}) {
        ResetSelectionState();
        ASSERT_TRUE(Init());
        m_Script.Answer("MFXVideoENCODE_EncodeFrameAsync", Status);
        Coded Call;
        EXPECT_THAT(Reports([&] { Call = Put(); }), ElementsAre("H264hwEnc " + std::to_string(Status)));
        ExpectNeedSwitch(Call, Status);
    }
    ASSERT_TRUE(Init());
    m_Script.Answer("MFXVideoENCODE_EncodeFrameAsync", -10);
    EXPECT_EQ(Put().Result, 1);
}

// The SDK is not called: its session is closed.
TEST_F(IntelEncoder, AnEncodeAfterAFailureFailsInTheSameWay)
{
    m_Script.Set("surfaces", 2);
    ASSERT_TRUE(Init());
    m_Script.Set("encode.held", 1, 0);
    ASSERT_EQ(Put().Result, 1);
    m_Script.Set("MFXVideoCORE_SyncOperation.status", -1);
    Reports([&] { Put(); }); // both surfaces are left locked, and nothing unlocks them any more
    const TurnedClock Clock;
    const size_t Before = m_Script.Trace().size();
    for (int i = 0; i < 2; ++i) {
        Coded Call;
        m_Log.Clear();
        EXPECT_THAT(Reports([&] { Call = Put(); }), ElementsAre("H264hwEnc -6"));
        ExpectNeedSwitch(Call, -6);
    }
    EXPECT_THAT(Reports([&] { m_Codec->SetBitrate(200); }), ElementsAre("H264hwEnc 0"));
    m_Codec->Reset();
    EXPECT_EQ(m_Script.Trace().size(), Before);
    EXPECT_THAT(Clock.Slept(), IsEmpty());
    m_Script.Set("MFXVideoCORE_SyncOperation.status", 0);
    ASSERT_TRUE(Init()); // the object is whole again
    EXPECT_EQ(Put().Type, 1);
}

TEST_F(IntelEncoder, SurfacesInUseArePassedOver)
{
    m_Script.Set("surfaces", 3);
    ASSERT_TRUE(Init());
    m_Script.Set("encode.locked", 1);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Put(i).Result, 1);
        EXPECT_EQ(Field("MFXVideoENCODE_EncodeFrameAsync", "Locked"), 0);
    }
}

TEST_F(IntelEncoder, WithoutAFreeSurfaceItWaitsFor25MinutesAndFails)
{
    m_Script.Set("surfaces", 1);
    ASSERT_TRUE(Init());
    m_Script.Set("encode.locked", 1);
    ASSERT_EQ(Put(0).Result, 1);
    const TurnedClock Clock;
    Coded Call;
    EXPECT_THAT(Reports([&] { Call = Put(1); }), ElementsAre("H264hwEnc -1"));
    ExpectNeedSwitch(Call, -1);
    EXPECT_THAT(Clock.Slept(), ElementsAre(std::pair(10u, 150000u)));
}

namespace {

// A sleep during which another thread of the SDK is done with a surface.
int s_Sleeps;
void SleepAndUnlock(uint32_t)
{
    if (++s_Sleeps != 7) return;
    const auto Address = static_cast<uintptr_t>(DriverSetting("encode.surface", 0));
    reinterpret_cast<mfxFrameSurface1*>(Address)->Data.Locked = 0;
}
uint32_t NoTick() { return 0; }

} // namespace

TEST_F(IntelEncoder, ASurfaceThatBecomesFreeEndsTheWait)
{
    m_Script.Set("surfaces", 1);
    ASSERT_TRUE(Init());
    m_Script.Set("encode.held", 1, 0);
    ASSERT_EQ(Put(0).Result, 1); // its surface is the SDK's
    static constexpr platform::ClockOperations kClock{NoTick, SleepAndUnlock};
    s_Sleeps = 0;
    platform::SetClock(&kClock);
    EXPECT_EQ(Put(1).Type, 1);
    platform::SetClock(nullptr);
    EXPECT_EQ(s_Sleeps, 7);
}

TEST_F(IntelEncoder, TheBitstreamsBufferIsAsTheSdkAsksIn1000sOfBytes)
{
    m_Script.Set("BufferSizeInKB", 33);
    ASSERT_TRUE(Init());
    Put();
    EXPECT_EQ(Field("MFXVideoENCODE_EncodeFrameAsync", "MaxLength"), 33000);
}

// ---- SetBitrate, Reset -------------------------------------------------------------------------------------------

TEST_F(IntelEncoder, TheRateChangesInPlaceAndItsLimitStays)
{
    CH264hwEnc Encoder(1);
    EXPECT_EQ(Encoder.SetBitrate(500), 0); // not initialised
    ASSERT_EQ(Encoder.InitEncoder(kField.Width, kField.Height, 30, 60, 1000), 1);
    EXPECT_EQ(Encoder.SetBitrate(2000), 1);
    EXPECT_EQ(Field("MFXVideoENCODE_Reset", "TargetKbps"), 2000);
    EXPECT_EQ(Field("MFXVideoENCODE_Reset", "MaxKbps"), 1100);
    EXPECT_EQ(Field("MFXVideoENCODE_Reset", "NumExtParam"), 0);
    EXPECT_EQ(Field("MFXVideoENCODE_GetVideoParam", "given"), 0);
    EXPECT_EQ(Encoder.SetBitrate(65536 + 9), 1);
    EXPECT_EQ(Field("MFXVideoENCODE_Reset", "TargetKbps"), 9);
}

TEST_F(IntelEncoder, AChangedRateForcesNoKeyPicture)
{
    ASSERT_TRUE(Init());
    Put(0);
    EXPECT_EQ(m_Codec->SetBitrate(300), 0); // the slot's answer, whatever happens
    EXPECT_EQ(Put(1).Type, 2);
    EXPECT_EQ(Field("MFXVideoENCODE_EncodeFrameAsync", "FrameOrder"), 1);
}

TEST_F(IntelEncoder, AFailedChangeOfTheRateIsReported)
{
    CH264hwEnc Encoder(1);
    ASSERT_EQ(Encoder.InitEncoder(kSize.Width, kSize.Height, 30, 60, 1000), 1);
    m_Script.Answer("MFXVideoENCODE_GetVideoParam", -8, 2);
    EXPECT_THAT(Reports([&] { EXPECT_EQ(Encoder.SetBitrate(2000), 0); }), ElementsAre("H264hwEnc 0"));
    EXPECT_EQ(m_Script.Calls("MFXVideoENCODE_Reset"), 0);
    m_Script.Answer("MFXVideoENCODE_Reset", -14, 1);
    EXPECT_THAT(Reports([&] { EXPECT_EQ(Encoder.SetBitrate(2000), 0); }), ElementsAre("H264hwEnc 0"));
    EXPECT_EQ(Encoder.SetBitrate(2000), 1);
}

TEST_F(IntelEncoder, ResetClosesTheEncoderBeforeItsSession)
{
    ASSERT_TRUE(Init());
    Put();
    const size_t Before = m_Script.Trace().size();
    EXPECT_EQ(m_Codec->Reset(), 0);
    const std::vector<std::string> All = m_Script.Trace();
    EXPECT_THAT(std::vector<std::string>(All.begin() + static_cast<ptrdiff_t>(Before), All.end()),
                ElementsAre("MFXVideoENCODE_Close", testing::StartsWith("MFXClose encoder=0")));
    EXPECT_EQ(m_Script.Live(), 0);
    EXPECT_EQ(Put().Result, 0);
}

TEST_F(IntelEncoder, ASecondInitBeginsAnew)
{
    ASSERT_TRUE(Init());
    Put(0);
    Put(1);
    ASSERT_TRUE(Init());
    EXPECT_EQ(m_Script.Live("session"), 1);
    EXPECT_EQ(Put(2).Type, 1);
    EXPECT_EQ(Field("MFXVideoENCODE_EncodeFrameAsync", "FrameOrder"), 0);
}

// ---- Real pictures -----------------------------------------------------------------------------------------------

TEST_F(IntelEncoder, ItsStreamDecodesWithoutAMessage)
{
    ASSERT_TRUE(ffmpeg_oracle::IsInstalled());
    for (const int32_t Kind : {1, 2}) {
        Engine Codec(Kind);
        ASSERT_EQ(Codec->InitEncoder(kSize.Width, kSize.Height, 15, 5, 600), 1);
        Bytes Stream;
        for (int i = 0; i < 12; ++i) {
            const Bytes Unit = Encode(*Codec, i).Unit();
            Stream.insert(Stream.end(), Unit.begin(), Unit.end());
        }
        const auto Decoded = ffmpeg_oracle::Decode(Stream);
        EXPECT_EQ(Decoded.Messages, "");
        ASSERT_EQ(Decoded.Pictures.size(), 12 * kSize.I420Bytes());
        double Error = 0; // of all pictures: they are the ones that went in
        for (size_t i = 0; i < Decoded.Pictures.size(); ++i) {
            const int d = Decoded.Pictures[i] - Picture(static_cast<int>(i / kSize.I420Bytes()))[i % kSize.I420Bytes()];
            Error += d * d;
        }
        EXPECT_LT(Error / static_cast<double>(Decoded.Pictures.size()), 60);
    }
}

// ---- What is not bounded -----------------------------------------------------------------------------------------

CHILD_BODY(EncodeForEver)
{
    DriverScript Script;
    const DriverLibraries Libraries{platform::kMfxHardwareLibrary};
    if (Argument == "warning")
        Script.Set("encode.warning", 3);
    else
        Script.Fault(Argument.c_str(), kDriverHang);
    Engine Codec;
    std::printf("began\n");
    std::fflush(stdout);
    if (Codec->InitEncoder(kSize.Width, kSize.Height, 15, 30, 400) == 1) Encode(*Codec, 0);
    return 0;
}

TEST(IntelEncoderHangs, AWarningWithoutEndAndADriverThatHangsHoldTheCaller)
{
    for (const char* const pWhat : {"warning", "MFXInit", "MFXVideoENCODE_Init", "MFXVideoCORE_SyncOperation"}) {
        const ChildResult Result = RunChild("EncodeForEver", pWhat, 2000);
        EXPECT_TRUE(Result.bTimedOut) << pWhat << Result.Out << Result.Err;
        EXPECT_NE(Result.Out.find("began"), std::string::npos);
    }
}
