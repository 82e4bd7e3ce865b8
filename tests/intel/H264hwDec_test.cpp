// Decoding through the Media SDK: what it is asked, what each answer comes to, and the second try of a refused picture.
#include "tests/intel/intel_test.h"
#include "tests/intel/told_leaks.h"

#include "front/VCodec_H264.h"
#include "intel/H264hwDec.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_allocation.h"

#include <cstdio>

using namespace intel_test;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

constexpr FrameSize kSmall{64, 48}, kLarge{128, 96};
constexpr uint8_t kDelimiter[] = {0, 0, 0, 1, 9, 0xF0};
const LogLine kRetry{kLogWarning, "qvlx - CH264hwDec::Decode() Decode failed, MFX_ERR_INCOMPATIBLE_VIDEO_PARAM retry."};
const LogLine kRefused{kLogWarning, "qvlx - CH264hwDec::DecodeFrame() sts=MFX_ERR_INCOMPATIBLE_VIDEO_PARAM"};
const LogLine kVersion{kLogInfo, "qvlx - CH264hwDec::Initialize() QueryVersion=1.35"};

LogLine HeaderLine(int bOk)
{
    return {kLogInfo, "qvlx - CH264hwDec::Decode() DecodeHeader bDecodeHeaderOK=" + std::to_string(bOk)};
}
LogLine RetryLine(const char* pStep, int Result)
{
    return {kLogWarning, std::string("qvlx - CH264hwDec::Decode() ") + pStep + "=" + std::to_string(Result)};
}
std::vector<LogLine> NeedSwitch(int32_t Status)
{
    return {{kLogWarning, "qvlx - CH264hwDec::DecodeFrame() SetIntelH264hwDevFailed"},
            {kLogError, "qvlx - CH264hwDec::DecodeFrame() Decode failed, need switch to IPP(err=" +
                            std::to_string(Status) + ")."}};
}

struct Clip {
    std::vector<Bytes> Units;    // the first is a key picture with its parameter sets
    std::vector<Bytes> Pictures; // the software decoder's
};

const Clip& ClipOf(FrameSize Size)
{
    static std::map<int32_t, Clip> s_Clips;
    Clip& c = s_Clips[Size.Width];
    if (!c.Units.empty()) return c;
    CVCodec_H264 Encoder, Decoder;
    EXPECT_EQ(Encoder.InitEncoder(Size.Width, Size.Height, 15, 4, 500), 1);
    EXPECT_EQ(Decoder.InitDecoder(Size.Width, Size.Height), 1);
    for (int i = 0; i <= 8; ++i) {
        Bytes Unit(std::begin(kDelimiter), std::end(kDelimiter));
        if (i < 8) {
            Unit.resize(Size.LumaBytes() * 3);
            int32_t Length = 0;
            EXPECT_EQ(Encoder.Encode(Picture(i, Size).data(), Unit.data(), &Length, 0, nullptr), 1);
            Unit.resize(static_cast<size_t>(Length));
            c.Units.push_back(Unit);
        }
        Bytes Out(Size.I420Bytes());
        EXPECT_EQ(Decoder.Decode(Unit.data(), static_cast<int32_t>(Unit.size()), Out.data(), nullptr), 1);
        if (i > 0) c.Pictures.push_back(Out); // it runs one access unit late
    }
    return c;
}
const Bytes& Unit(size_t Index, FrameSize Size = kSize) { return ClipOf(Size).Units[Index]; }

class IntelDecoder : public IntelEngine
{
protected:
    bool Init(FrameSize Size = kSize) { return m_Codec->InitDecoder(Size.Width, Size.Height) == 1; }
    Shown Put(size_t Index = 0, FrameSize Size = kSize) { return Decode(*m_Codec, Unit(Index, Size), Size); }
    /// Ready behind the first picture, with nothing in the log.
    void Start()
    {
        ASSERT_TRUE(Init());
        ASSERT_EQ(Put(0).Type, 1);
        m_Log.Clear();
    }
    static void ExpectFailed(const Shown& Call, int32_t Type)
    {
        EXPECT_EQ(Call.Result, 0);
        EXPECT_EQ(Call.Type, Type);
        EXPECT_EQ(Call.Picture, Bytes(Call.Picture.size(), 0xEE));
    }
    std::vector<std::string> TraceFrom(size_t Before) const
    {
        const std::vector<std::string> All = m_Script.Trace();
        return {All.begin() + static_cast<ptrdiff_t>(Before), All.end()};
    }
    std::string LastBitstream() const // of the last call that decodes
    {
        const std::string Line = m_Script.Trace("MFXVideoDECODE_DecodeFrameAsync ").back();
        const size_t At = Line.find("DataOffset");
        return Line.substr(At, Line.find(" MaxLength") - At);
    }

    Engine m_Codec;
};

} // namespace

// ---- The ordinary way --------------------------------------------------------------------------------------------

TEST_F(IntelDecoder, TheSdkIsAskedStepByStepWithEveryFieldTold)
{
    ASSERT_TRUE(Init());
    ASSERT_EQ(Put(0).Result, 1);
    const std::string Data = " DataOffset=0 DataLength=" + std::to_string(Unit(0).size()) + " MaxLength=24576";
    const auto Params = [](const char* pFrame) {
        return std::string(" AsyncDepth=0 IOPattern=32 CodecId=541283905 TargetUsage=0 GopPicSize=0 GopRefDist=0"
                           " NumRefFrame=0 RateControlMethod=0 BufferSizeInKB=0 TargetKbps=0 MaxKbps=0") +
               pFrame + " FrameRateExtN=0 FrameRateExtD=0 NumExtParam=0 ExtParam=0 others=0";
    };
    const std::string Empty =
        Params(" FourCC=0 Width=0 Height=0 CropX=0 CropY=0 CropW=0 CropH=0 PicStruct=0 ChromaFormat=0");
    const std::string Known =
        Params(" FourCC=842094158 Width=96 Height=64 CropX=0 CropY=0 CropW=96 CropH=64 PicStruct=0"
               " ChromaFormat=1");
    EXPECT_THAT(m_Script.Trace(),
                ElementsAre("MFXInit impl=4 major=1 minor=1", "MFXQueryVersion",
                            "MFXVideoDECODE_DecodeHeader" + Data + Empty,
                            "MFXVideoDECODE_QueryIOSurf" + Known + " request=0", "MFXVideoDECODE_Init" + Known,
                            "MFXVideoDECODE_DecodeFrameAsync" + Data +
                                " at=0 U=6144 V=1 Pitch=96 Locked=0 FourCC=842094158 Width=96 Height=64",
                            "MFXVideoCORE_SyncOperation wait=60000"));
    EXPECT_THAT(m_Log.Lines(), ElementsAre(kVersion, HeaderLine(1)));
}

TEST_F(IntelDecoder, TheSoftwareKindAsksForTheSoftwareImplementation)
{
    Engine Soft(2);
    ASSERT_EQ(Soft->InitDecoder(96, 64), 1);
    EXPECT_EQ(m_Script.Trace().front(), "MFXInit impl=1 major=1 minor=1");
}

TEST_F(IntelDecoder, PicturesAreTheSoftwareDecodersExactly)
{
    for (const FrameSize Size : {kSize, kSmall, FrameSize{100, 50}}) {
        ASSERT_TRUE(Init(Size));
        const Clip& c = ClipOf(Size);
        for (size_t i = 0; i < c.Units.size(); ++i) {
            const Shown Call = Put(i, Size);
            EXPECT_EQ(Call.Result, 1);
            EXPECT_EQ(Call.Type, i % 4 == 0 ? 1 : 2);
            EXPECT_EQ(Call.Picture, c.Pictures[i]) << i;
        }
    }
}

TEST_F(IntelDecoder, SurfacesLieBehindEachOtherRoundedUpTo32)
{
    constexpr FrameSize kOdd{100, 50}; // coded as 112 by 64, in memory 128 by 64
    m_Script.Set("surfaces", 2);
    ASSERT_TRUE(Init(kOdd));
    ASSERT_EQ(Put(0, kOdd).Result, 1);
    m_Script.Set("decode.status", -11, 0);
    ASSERT_EQ(Put(1, kOdd).Result, 1);
    const auto Lines = m_Script.Trace("MFXVideoDECODE_DecodeFrameAsync ");
    EXPECT_NE(Lines.back().find(" at=12288 U=8192 V=1 Pitch=128 Locked=0 "), std::string::npos) << Lines.back();
}

TEST_F(IntelDecoder, EveryTypeIsIOrPToTheClient)
{
    Start();
    const std::pair<int32_t, int32_t> kTypes[] = {{0xC1, 1}, {0x81, 1}, {0x41, 2}, {0x42, 2}, {0x82, 2},
                                                  {0x84, 2}, {0, 2},    {3, 2},    {0x83, 2}};
    for (const auto& [Sdk, Client] : kTypes) {
        m_Script.Set("decode.type", Sdk);
        EXPECT_EQ(Put(0).Type, Client) << Sdk;
    }
}

TEST_F(IntelDecoder, AFrameTypePointerMayBeNull)
{
    ASSERT_TRUE(Init());
    Bytes Out(kSize.I420Bytes());
    EXPECT_EQ(m_Codec->Decode(Unit(0).data(), static_cast<int32_t>(Unit(0).size()), Out.data(), nullptr), 1);
    EXPECT_EQ(Out, ClipOf(kSize).Pictures[0]);
}

TEST_F(IntelDecoder, BeforeInitItRefuses)
{
    ExpectFailed(Put(0), 0);
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(IntelDecoder, ACallWithoutDataIsPassedDown)
{
    Start();
    Bytes Out(kSize.I420Bytes());
    int32_t Type = 5;
    EXPECT_EQ(m_Codec->Decode(Unit(0).data(), 0, Out.data(), &Type), 1); // more data, please
    EXPECT_EQ(Type, 0);
    EXPECT_EQ(LastBitstream(), "DataOffset=0 DataLength=0");
    EXPECT_EQ(m_Codec->Decode(nullptr, 0, Out.data(), &Type), 1); // and the pointer is not looked at
}

TEST_F(IntelDecoder, MoreDataIsNoFailure)
{
    Start();
    m_Script.Set("decode.status", -10);
    const Shown Call = Put(1);
    EXPECT_EQ(Call.Result, 1);
    EXPECT_EQ(Call.Type, 0);
    EXPECT_EQ(Call.Picture, Bytes(Call.Picture.size(), 0xEE));
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

// ---- Initialize --------------------------------------------------------------------------------------------------

TEST_F(IntelDecoder, AFailedInitIsReportedAndLosesNothing)
{
    for (const char* const pOperation : {"MFXInit", "MFXQueryVersion"}) {
        m_Script.Answer(pOperation, -3, m_Script.Calls(pOperation) + 1);
        EXPECT_THAT(Reports([&] { EXPECT_EQ(m_Codec->InitDecoder(96, 64), 0); }), ElementsAre("H264hwDec 0"));
        ExpectFailed(Put(0), 0);
    }
    EXPECT_EQ(m_Script.Live("session"), 1); // open until the next one, or the object's end
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
    ASSERT_TRUE(Init());
    EXPECT_EQ(m_Script.Live("session"), 1);
    EXPECT_EQ(Put(0).Result, 1);
    m_Script.Answer("MFXQueryVersion", -3);
    Reports([&] { EXPECT_FALSE(Init()); });
    m_Codec.Release();
    EXPECT_EQ(m_Script.Live(), 0);
}

TEST_F(IntelDecoder, WithoutMemoryForTheDataTheAnswerIsMinus4)
{
    const HeapWatch Watch;
    const SilentLog Silent;
    std::vector<int32_t> Results;
    testing::internal::CaptureStdout(); // the reports
    for (size_t n = 1;; ++n) {
        CH264hwDec Decoder(1);
        Results.reserve(n);
        const FailingAllocation Fail(n);
        try {
            Results.push_back(Decoder.InitDecoder(96, 64));
        } catch (const std::bad_alloc&) {
        }
        if (!Fail.Failed()) break;
    }
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(std::count(Results.begin(), Results.end(), -4), 1);
    EXPECT_EQ(Results.back(), 1);
    EXPECT_EQ(m_Script.Live(), 0);
}

TEST_F(IntelDecoder, ASizeOfNothingIsTakenAndDropsAllData)
{
    ASSERT_EQ(m_Codec->InitDecoder(0, 0), 1);
    ExpectFailed(Put(0), 0);
    EXPECT_THAT(m_Log.Lines(), ElementsAre(kVersion, HeaderLine(0)));
}

// ---- The bitstream -----------------------------------------------------------------------------------------------

TEST_F(IntelDecoder, UnitsAheadOfTheFirstHeaderAreLostAndDoNotPileUp)
{
    ASSERT_TRUE(Init());
    for (size_t i = 1; i < 4; ++i) {
        ExpectFailed(Put(i), 0);
        const std::string Line = m_Script.Trace("MFXVideoDECODE_DecodeHeader ").back();
        EXPECT_NE(Line.find("DataOffset=0 DataLength=" + std::to_string(Unit(i).size())), std::string::npos) << Line;
    }
    EXPECT_THAT(m_Log.Lines(), ElementsAre(kVersion, HeaderLine(0), HeaderLine(0), HeaderLine(0)));
    EXPECT_EQ(GetIntelH264hwDevFailed(), 0);
    EXPECT_EQ(Put(4).Type, 1);
}

TEST_F(IntelDecoder, TheUnitOfTheHeaderGoesInASecondTime)
{
    ASSERT_TRUE(Init());
    ASSERT_EQ(Put(0).Result, 1);
    EXPECT_EQ(LastBitstream(), "DataOffset=0 DataLength=" + std::to_string(Unit(0).size()));
}

TEST_F(IntelDecoder, WhatIsLeftMovesToTheFrontOfTheNextUnit)
{
    Start();
    m_Script.Set("decode.status", -10, -10, 0);
    Put(1);
    Put(2);
    EXPECT_EQ(LastBitstream(), "DataOffset=0 DataLength=" + std::to_string(Unit(1).size() + Unit(2).size()));
    const Shown Call = Put(3); // all three are there, in order
    EXPECT_EQ(Call.Picture, ClipOf(kSize).Pictures[1]);
    m_Script.Set("decode.left", 5);
    Put(4);
    m_Script.Set("decode.left", 0);
    Put(5);
    EXPECT_EQ(LastBitstream(), "DataOffset=0 DataLength=" + std::to_string(5 + Unit(5).size()));
}

TEST_F(IntelDecoder, DataThatIsTooMuchIsDroppedInSilence)
{
    Start();
    Bytes Junk(24576, 0xFF), Out(kSize.I420Bytes());
    int32_t Type = 5;
    const auto Feed = [&](size_t Size) {
        return m_Codec->Decode(Junk.data(), static_cast<int32_t>(Size), Out.data(), &Type);
    };
    m_Script.Set("decode.status", -10);
    EXPECT_EQ(Feed(24576), 1); // as large as the block is too large
    EXPECT_EQ(LastBitstream(), "DataOffset=0 DataLength=0");
    EXPECT_EQ(Feed(24000), 1);
    EXPECT_EQ(Feed(576), 1);
    EXPECT_EQ(LastBitstream(), "DataOffset=0 DataLength=24000");
    EXPECT_EQ(Feed(575), 1);
    EXPECT_EQ(LastBitstream(), "DataOffset=0 DataLength=24575");
    EXPECT_EQ(m_Codec->Decode(Junk.data(), -1, Out.data(), &Type), 1);
    EXPECT_EQ(LastBitstream(), "DataOffset=0 DataLength=24575");
    EXPECT_EQ(Type, 0);
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

// A departure from reading at the SDK's word.
TEST_F(IntelDecoder, DataSaidToLieBeyondTheBlockIsGone)
{
    Start();
    m_Script.Set("decode.left", 24576);
    Put(1);
    m_Script.Set("decode.left", 0);
    EXPECT_EQ(Put(2).Result, 1);
    EXPECT_EQ(LastBitstream(), "DataOffset=0 DataLength=" + std::to_string(Unit(2).size()));
}

// ---- Header and surfaces -----------------------------------------------------------------------------------------

namespace {

struct HeaderFailure {
    const char* pOperation;
    std::vector<std::string> Reports;
};
class IntelDecoderHeader : public IntelDecoder, public testing::WithParamInterface<HeaderFailure>
{
};
const HeaderFailure s_HeaderFailures[] = {
    {"MFXVideoDECODE_DecodeHeader", {}}, {"MFXVideoDECODE_QueryIOSurf", {"H264hwDec -9"}}, {"MFXVideoDECODE_Init", {}}};

} // namespace

TEST_P(IntelDecoderHeader, AFailedStepMeansNoHeaderYet)
{
    ASSERT_TRUE(Init());
    for (int i = 1; i <= 3; ++i) m_Script.Answer(GetParam().pOperation, -9, i);
    Shown Call;
    for (int i = 0; i < 3; ++i) {
        EXPECT_THAT(Reports([&] { Call = Put(0); }), GetParam().Reports);
        ExpectFailed(Call, 0);
        EXPECT_EQ(m_Log.Lines().back(), HeaderLine(0));
    }
    EXPECT_EQ(m_Script.Operations().back(), GetParam().pOperation);
    EXPECT_EQ(GetIntelH264hwDevFailed(), 0);
    EXPECT_EQ(Put(0).Type, 1);
}
INSTANTIATE_TEST_SUITE_P(All, IntelDecoderHeader, testing::ValuesIn(s_HeaderFailures),
                         [](const auto& Info) { return std::string(Info.param.pOperation); });

TEST_F(IntelDecoder, TheWarningOfPartialAccelerationIsNone)
{
    for (const char* const pStatus : {"MFXInit.status", "MFXQueryVersion.status", "MFXVideoDECODE_DecodeHeader.status",
                                      "MFXVideoDECODE_QueryIOSurf.status", "MFXVideoDECODE_Init.status"})
        m_Script.Set(pStatus, 4);
    ASSERT_TRUE(Init());
    EXPECT_EQ(Put(0).Type, 1);
}

TEST_F(IntelDecoder, SurfacesOfAHeaderWhoseDecoderDidNotStartAreGivenBack)
{
    ASSERT_TRUE(Init());
    m_Script.Answer("MFXVideoDECODE_Init", -15);
    Put(0);
    const SilentLog Silent;
    const FailingAllocation Held(0);
    const HeapWatch Watch;
    m_Codec->Decode(Unit(0).data(), static_cast<int32_t>(Unit(0).size()), nullptr, nullptr);
    EXPECT_EQ(Held.BlocksHeld(), 0);
}

// ---- The decode loop ---------------------------------------------------------------------------------------------

TEST_F(IntelDecoder, MoreSurfacesAreGivenUntilThereAreNoneLeft)
{
    m_Script.Set("surfaces", 3);
    Start();
    m_Script.Set("decode.status", -11, -11, 0);
    EXPECT_EQ(Put(1).Type, 2);
    const auto Lines = m_Script.Trace("MFXVideoDECODE_DecodeFrameAsync ");
    for (size_t i = 0; i < 3; ++i)
        EXPECT_NE(Lines[Lines.size() - 3 + i].find(" at=" + std::to_string(i * 9216) + " "), std::string::npos);
    ASSERT_EQ(m_Script.Calls("MFXVideoDECODE_DecodeFrameAsync"), 4);
}

TEST_F(IntelDecoder, WithoutAFreeSurfaceItReportsAndTriesAnew)
{
    m_Script.Set("surfaces", 1);
    m_Script.Set("decode.locked", 1);
    Start();
    Shown Call;
    EXPECT_THAT(Reports([&] { Call = Put(4); }), ElementsAre("H264hwDec 0"));
    EXPECT_EQ(Call.Type, 1); // the second try has surfaces of its own
    EXPECT_THAT(m_Log.Lines(), ElementsAre(kRetry, kVersion, RetryLine("InitDecoder retry bRet2", 1),
                                           RetryLine("DecodeHeader retry bDecodeHeaderOK", 1),
                                           RetryLine("DecodeFrame retry bRet", 1)));
    m_Log.Clear();
    EXPECT_THAT(Reports([&] { Call = Put(5); }), ElementsAre("H264hwDec 0"));
    ExpectFailed(Call, 0); // no header in it
    EXPECT_EQ(GetIntelH264hwDevFailed(), 0);
    EXPECT_EQ(m_Log.Lines().back(), RetryLine("DecodeHeader retry bDecodeHeaderOK", 0));
}

TEST_F(IntelDecoder, NoSurfacesAskedForIsNoFreeSurface)
{
    m_Script.Set("surfaces", 0);
    ASSERT_TRUE(Init());
    Shown Call;
    EXPECT_THAT(Reports([&] { Call = Put(0); }), ElementsAre("H264hwDec 0", "H264hwDec 0"));
    ExpectFailed(Call, 0);
    EXPECT_EQ(m_Log.Lines().back(), RetryLine("DecodeFrame retry bRet", 0));
}

TEST_F(IntelDecoder, AWarningGoesRoundAndABusyDeviceIsGivenTime)
{
    Start();
    const TurnedClock Clock;
    m_Script.Set("decode.status", 2, 3, 2, 0);
    EXPECT_EQ(Put(1).Type, 2);
    EXPECT_EQ(m_Script.Calls("MFXVideoDECODE_DecodeFrameAsync"), 5);
    EXPECT_THAT(Clock.Slept(), ElementsAre(std::pair(1u, 2u)));
}

TEST_F(IntelDecoder, AWarningWithASyncPointIsNone)
{
    Start();
    m_Script.Set("decode.warning", 3);
    EXPECT_EQ(Put(1).Picture, ClipOf(kSize).Pictures[1]);
}

TEST_F(IntelDecoder, ASyncThatIsNotOverGoesRound)
{
    Start();
    m_Script.Answer("MFXVideoCORE_SyncOperation", 1, 2);
    const Shown Call = Put(1); // all data has been read: the next round wants more
    EXPECT_EQ(Call.Result, 1);
    EXPECT_EQ(Call.Type, 0);
    EXPECT_EQ(m_Script.Calls("MFXVideoDECODE_DecodeFrameAsync"), 3);
}

TEST_F(IntelDecoder, EveryOtherNegativeStatusClosesTheDevice)
{
    for (const int32_t Status : {-1, -2, -3, -4, -5, -6, -7, -8, -9, -12, -13, -15, -16, -17, -18}) {
        for (const char* const pOperation : {"MFXVideoDECODE_DecodeFrameAsync", "MFXVideoCORE_SyncOperation"}) {
            ResetSelectionState();
            Start();
            m_Script.Answer(pOperation, Status, m_Script.Calls(pOperation) + 1);
            ExpectFailed(Put(1), -1);
            EXPECT_THAT(m_Log.Lines(), ElementsAreArray(NeedSwitch(Status)));
            EXPECT_EQ(GetIntelH264hwDevFailed(), 1);
            EXPECT_EQ(m_Script.Live("session"), 0);
        }
    }
}

// The SDK is not called: its session is closed.
TEST_F(IntelDecoder, ADecodeAfterAFailureFailsInTheSameWay)
{
    m_Script.Set("surfaces", 2);
    m_Script.Set("decode.locked", 1);
    Start();
    m_Script.Set("MFXVideoCORE_SyncOperation.status", -17);
    ExpectFailed(Put(1), -1); // both surfaces are left locked
    const size_t Before = m_Script.Trace().size();
    for (int i = 0; i < 2; ++i) {
        m_Log.Clear();
        ExpectFailed(Put(0), -1);
        EXPECT_THAT(m_Log.Lines(), ElementsAreArray(NeedSwitch(-6)));
    }
    m_Codec->Reset();
    EXPECT_THAT(TraceFrom(Before), IsEmpty());
    m_Script.Set("MFXVideoCORE_SyncOperation.status", 0);
    Start(); // the object is whole again
    EXPECT_EQ(Put(1).Type, 2);
}

TEST_F(IntelDecoder, AnOutputThatIsNotThereFaults)
{
    Start();
    m_Script.Set("decode.silent", 1);
    ExpectFailed(Put(1), -1);
    EXPECT_THAT(m_Log.Lines(), ElementsAre(LogLine{kLogError, "qvlx - MyFilterException code=-1073741819"},
                                           LogLine{kLogError, "qvlx - CVCodecH264hw::Decode() MyFilterException"}));
    EXPECT_EQ(GetIntelH264hwDevFailed(), 0); // a fault does not set it
}

TEST_F(IntelDecoder, OutputsLeftUnwrittenAreAFailedSync)
{
    Start();
    m_Script.Answer("MFXVideoDECODE_DecodeFrameAsync", 0, 2);
    m_Script.Answer("MFXVideoCORE_SyncOperation", -2, 2);
    ExpectFailed(Put(1), -1);
    EXPECT_THAT(m_Log.Lines(), ElementsAreArray(NeedSwitch(-2)));
}

// ---- A stream that changes ---------------------------------------------------------------------------------------

TEST_F(IntelDecoder, AStreamOfAnotherSizeIsBegunAnewWithinTheCall)
{
    Start();
    const size_t Before = m_Script.Trace().size();
    const Shown Call = Decode(*m_Codec, Unit(0, kSmall), kSize);
    EXPECT_EQ(Call.Result, 1);
    EXPECT_EQ(Call.Type, 1);
    const Bytes& Want = ClipOf(kSmall).Pictures[0]; // laid out for its own size, from the beginning
    EXPECT_EQ(Bytes(Call.Picture.begin(), Call.Picture.begin() + static_cast<ptrdiff_t>(Want.size())), Want);
    EXPECT_THAT(Lines(), ElementsAre(kRefused, kRetry, kVersion, RetryLine("InitDecoder retry bRet2", 1),
                                     RetryLine("DecodeHeader retry bDecodeHeaderOK", 1),
                                     RetryLine("DecodeFrame retry bRet", 1)));
    std::vector<std::string> Operations;
    for (const std::string& Line : TraceFrom(Before)) Operations.push_back(Line.substr(0, Line.find(' ')));
    EXPECT_THAT(Operations,
                ElementsAre("MFXVideoDECODE_DecodeFrameAsync", "MFXVideoDECODE_Close", "MFXClose", "MFXInit",
                            "MFXQueryVersion", "MFXVideoDECODE_DecodeHeader", "MFXVideoDECODE_QueryIOSurf",
                            "MFXVideoDECODE_Init", "MFXVideoDECODE_DecodeFrameAsync", "MFXVideoCORE_SyncOperation"));
    EXPECT_EQ(LastBitstream(), "DataOffset=0 DataLength=" + std::to_string(Unit(0, kSmall).size()));
    EXPECT_EQ(GetIntelH264hwDevFailed(), 0);
    EXPECT_EQ(Decode(*m_Codec, Unit(1, kSmall), kSize).Type, 2);
}

// A departure: a picture beyond what the client keeps room for.
TEST_F(IntelDecoder, APictureLargerThanTheClientsIsAFailureAndNotWritten)
{
    Start();
    ExpectFailed(Decode(*m_Codec, Unit(0, kLarge), kSize), -1);
    EXPECT_EQ(GetIntelH264hwDevFailed(), 1);
    EXPECT_EQ(m_Log.With("need switch to IPP(err=-5).").size(), 1u);
}

TEST_F(IntelDecoder, ACropBeyondTheSurfaceIsAFailureAndNotRead)
{
    for (const auto& [Width, Height] : {std::pair(97, 1), std::pair(1, 65)}) {
        ResetSelectionState();
        Start();
        m_Script.Set("decode.width", Width);
        m_Script.Set("decode.height", Height);
        ExpectFailed(Put(1), -1);
        EXPECT_THAT(m_Log.Lines(), ElementsAreArray(NeedSwitch(-5)));
        m_Script.Set("decode.width", 96);
        m_Script.Set("decode.height", 64);
    }
}

TEST_F(IntelDecoder, ASecondRefusalWithinTheRetryIsTheLast)
{
    Start();
    m_Script.Answer("MFXVideoDECODE_DecodeFrameAsync", -14);
    ExpectFailed(Put(4), 0);
    EXPECT_THAT(m_Log.Lines(), ElementsAre(kRefused, kRetry, kVersion, RetryLine("InitDecoder retry bRet2", 1),
                                           RetryLine("DecodeHeader retry bDecodeHeaderOK", 1), kRefused,
                                           RetryLine("DecodeFrame retry bRet", 0)));
    EXPECT_EQ(GetIntelH264hwDevFailed(), 0);
}

TEST_F(IntelDecoder, AFailureWithinTheRetryClosesTheDevice)
{
    Start();
    m_Script.Answer("MFXVideoDECODE_DecodeFrameAsync", -14, 2);
    m_Script.Answer("MFXVideoDECODE_DecodeFrameAsync", -1, 3);
    ExpectFailed(Put(4), -1);
    EXPECT_EQ(m_Log.Lines().back(), RetryLine("DecodeFrame retry bRet", 0));
    EXPECT_EQ(GetIntelH264hwDevFailed(), 1);
}

TEST_F(IntelDecoder, ARetryThatCannotOpenStopsThere)
{
    Start();
    m_Script.Answer("MFXVideoDECODE_DecodeFrameAsync", -14);
    m_Script.Answer("MFXInit", -3, 2);
    Shown Call;
    EXPECT_THAT(Reports([&] { Call = Put(4); }), ElementsAre("H264hwDec 0"));
    ExpectFailed(Call, 0);
    EXPECT_THAT(m_Log.Lines(), ElementsAre(kRefused, kRetry, RetryLine("InitDecoder retry bRet2", 0)));
    m_Log.Clear();
    ExpectFailed(Put(4), 0); // closed
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(IntelDecoder, OnceTheFlagIsSetThereIsNoRetry)
{
    Start();
    SetIntelH264hwDevFailed(); // by another object
    ExpectFailed(Decode(*m_Codec, Unit(0, kSmall), kSize), 0);
    EXPECT_THAT(m_Log.Lines(), ElementsAre(kRefused));
    EXPECT_EQ(m_Script.Live("session"), 1); // nothing has been closed, and the refused data waits on
    ExpectFailed(Put(1), 0);
    EXPECT_EQ(LastBitstream(), "DataOffset=0 DataLength=" + std::to_string(Unit(0, kSmall).size() + Unit(1).size()));
}

// ---- Null pointers, end ------------------------------------------------------------------------------------------

TEST_F(IntelDecoder, NullPointersFaultWhereTheyAreUsed)
{
    Start();
    Bytes Out(kSize.I420Bytes());
    int32_t Type = 5;
    EXPECT_EQ(m_Codec->Decode(nullptr, 7, Out.data(), &Type), 0);
    EXPECT_EQ(Type, -1);
    EXPECT_EQ(m_Codec->Decode(Unit(1).data(), static_cast<int32_t>(Unit(1).size()), nullptr, &Type), 0);
    EXPECT_EQ(Type, -1);
    EXPECT_EQ(m_Log.With("qvlx - MyFilterException code=-1073741819").size(), 2u);
    EXPECT_EQ(m_Log.With("qvlx - CVCodecH264hw::Decode() MyFilterException").size(), 2u);
    EXPECT_EQ(m_Log.With("Assert").size(), 0u);
}

// Deliberate: exactly the records of the surfaces stay.
TEST_F(IntelDecoder, AClosedDecoderLeavesTheRecordsOfItsSurfaces)
{
    m_Script.Set("surfaces", 5);
    Bytes Out(kSize.I420Bytes());
    Unit(0);
    const SilentLog Silent;
    const FailingAllocation Held(0);
    const HeapWatch Watch;
    {
        Engine Codec;
        EXPECT_EQ(Codec->InitDecoder(96, 64), 1);
        EXPECT_EQ(Codec->Decode(Unit(0).data(), static_cast<int32_t>(Unit(0).size()), Out.data(), nullptr), 1);
    }
    EXPECT_EQ(Held.BlocksHeld(), 5);
    EXPECT_EQ(m_Script.Live(), 0);
}

TEST_F(IntelDecoder, ResetClosesTheDecoderBeforeItsSession)
{
    Start();
    const size_t Before = m_Script.Trace().size();
    EXPECT_EQ(m_Codec->Reset(), 0);
    EXPECT_THAT(TraceFrom(Before), ElementsAre("MFXVideoDECODE_Close", "MFXClose encoder=0 decoder=0"));
    ExpectFailed(Put(0), 0);
}

// ---- What is not bounded -----------------------------------------------------------------------------------------

CHILD_BODY(DecodeForEver)
{
    DriverScript Script;
    const DriverLibraries Libraries{platform::kMfxHardwareLibrary};
    if (Argument == "warning") Script.Set("decode.status", 3);
    if (Argument == "busy") Script.Set("decode.status", 2);
    if (Argument == "sync") Script.Answer("MFXVideoCORE_SyncOperation", 1);
    if (Argument == "surface") Script.Answer("MFXVideoDECODE_DecodeFrameAsync", -11);
    if (Argument.starts_with("MFX")) Script.Fault(Argument.c_str(), kDriverHang);
    Engine Codec;
    std::printf("began\n");
    std::fflush(stdout);
    if (Codec->InitDecoder(kSize.Width, kSize.Height) == 1)
        for (int i = 0; i < 2; ++i) Decode(*Codec, Unit(0));
    return 0;
}

TEST(IntelDecoderHangs, ALoopWithoutEndAndADriverThatHangsHoldTheCaller)
{
    for (const char* const pWhat :
         {"warning", "busy", "surface", "MFXQueryVersion", "MFXVideoDECODE_DecodeFrameAsync"}) {
        const ChildResult Result = RunChild("DecodeForEver", pWhat, 2000);
        EXPECT_TRUE(Result.bTimedOut) << pWhat << Result.Out << Result.Err;
        EXPECT_NE(Result.Out.find("began"), std::string::npos);
    }
    EXPECT_FALSE(RunChild("DecodeForEver", "sync", 20000).bTimedOut); // the data comes to its end
}
