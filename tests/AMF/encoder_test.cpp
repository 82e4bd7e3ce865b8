// The AMD engine as an encoder: what it asks of the driver, in which order and with which values, and what it answers.
#include "tests/AMF/amd_run_time.h"

#include "platform/exception_frame.h"
#include "tests/support/ffmpeg_oracle.h"

#include <cstdlib>
#include <limits>

using namespace amd;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

using AmdEncoder = AmdTest;

const Lines kInitCalls{"Factory.CreateContext",
                       "Context.InitDX11 device=0 version=110",
                       "Factory.CreateComponent id=AMFVideoEncoderVCE_AVC",
                       "Component.SetProperty name=Usage type=2 value=3",
                       "Component.SetProperty name=TargetBitrate type=2 value=300000",
                       "Component.SetProperty name=FrameSize type=5 first=64 second=48",
                       "Component.SetProperty name=FrameRate type=7 first=15 second=1",
                       "Component.SetProperty name=BReferenceEnable type=2 value=0",
                       "Component.SetProperty name=QualityPreset type=2 value=1",
                       "Component.Init format=1 width=64 height=48"};

const char kWrap[] = "Context.CreateSurfaceFromHostNative format=1 width=64 height=48 hpitch=64 vpitch=48 data=1 "
                     "observer=0";

// A picture's calls, key or not, when the component answers at once.
Lines PictureCalls(bool bKey)
{
    Lines All{kWrap, "Surface.SetProperty name=PictureStructure type=2 value=1"};
    if (bKey) {
        for (const char* const pLine : {"ForcePictureType type=2 value=2", "InsertAUD type=1 value=1",
                                        "InsertSPS type=1 value=1", "InsertPPS type=1 value=1"})
            All.push_back(std::string("Surface.SetProperty name=") + pLine);
    } else {
        All.push_back("Surface.SetProperty name=ForcePictureType type=2 value=4");
    }
    for (const char* const pLine : {"Component.SubmitInput data=1", "Component.Drain", "Component.QueryOutput",
                                    "Buffer.GetProperty name=OutputDataType", "Data.QueryInterface face=buffer",
                                    "Buffer.GetSize", "Buffer.GetNative", "Component.QueryOutput", "Component.Flush"})
        All.push_back(pLine);
    return All;
}

// Which of so many pictures are key pictures, as '*', from the driver's calls.
std::string Keys(const Lines& Calls)
{
    std::string Found;
    for (const std::string& Line : Calls)
        if (Line.find("ForcePictureType") != std::string::npos) Found += Line.ends_with("value=2") ? '*' : '.';
    return Found;
}

constexpr char kResult[] = "qvlx - CVCodecH264AMD::InitEncoder() res=";

} // namespace

TEST_F(AmdEncoder, InitAsksInTheToldOrderWithTheToldValues)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    EXPECT_EQ(News(), kInitCalls);
    ExpectLog(std::string(kResult) + "0");
    EXPECT_EQ(GetMyBufferMgr().InUse(), 1);
}

TEST_F(AmdEncoder, ValuesOfTheInitPassAsTheyAre)
{
    const auto pCodec = NewCodec();
    EXPECT_EQ(pCodec->InitEncoder(32, 16, -1, 5, -2), 1);
    const Lines Calls = News();
    EXPECT_THAT(Calls, testing::Contains("Component.SetProperty name=FrameRate type=7 first=-1 second=1"));
    EXPECT_THAT(Calls, testing::Contains("Component.SetProperty name=TargetBitrate type=2 value=-2000"));
    EXPECT_EQ(pCodec->InitEncoder(32, 16, 15, 5, std::numeric_limits<int32_t>::max()), 1);
    EXPECT_THAT(News(), testing::Contains("Component.SetProperty name=TargetBitrate type=2 value=-1000")); // wraps
}

TEST_F(AmdEncoder, ASecondInitTearsTheFirstDown)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    Encode(*pCodec, Picture(0));
    News();
    EXPECT_TRUE(InitEncoder(*pCodec));
    Lines Expected{"Component.Terminate", "Context.Terminate"};
    Expected.insert(Expected.end(), kInitCalls.begin(), kInitCalls.end());
    EXPECT_EQ(News(), Expected);
    EXPECT_EQ(Script().Live("context"), 1);
    EXPECT_EQ(Script().Live("component"), 1);
    EXPECT_EQ(GetMyBufferMgr().InUse(), 1);
    Encode(*pCodec, Picture(1));
    EXPECT_EQ(Keys(News()), "*"); // the count of pictures starts again
}

TEST_F(AmdEncoder, SizesOfZeroAreAsserted)
{
    const auto pCodec = NewCodec();
    for (const FrameSize Size : {FrameSize{0, 48}, FrameSize{64, 0}, FrameSize{0, 0}}) {
        EXPECT_EQ(pCodec->InitEncoder(Size.Width, Size.Height, 15, 75, 300), 0);
        ExpectAssertion("PictureWidth && PictureHeight");
    }
    EXPECT_THAT(News(), IsEmpty());
}

TEST_F(AmdEncoder, ARefusedInitKeepsTheSessionThatWasThere)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    EXPECT_EQ(pCodec->InitEncoder(0, 48, 15, 75, 300), 0);
    EXPECT_EQ(Encode(*pCodec, Picture(0)).Result, 1);
}

TEST_F(AmdEncoder, SizesThatNoBufferHoldsFailTheInit)
{
    for (const FrameSize Size : {FrameSize{-64, 48}, FrameSize{64, -48}, FrameSize{-64, -48}, FrameSize{30000, 30000},
                                 FrameSize{65536, 65536}, FrameSize{INT32_MAX, INT32_MAX}}) {
        const auto pCodec = NewCodec();
        EXPECT_EQ(pCodec->InitEncoder(Size.Width, Size.Height, 15, 75, 300), 0) << Size.Width;
        ExpectAssertion("m_pYUVBuffNV12");
        EXPECT_EQ(News().back(), "Factory.CreateComponent id=AMFVideoEncoderVCE_AVC");
        Unit Out; // the failure is passed over
        EXPECT_EQ(pCodec->Encode(Picture(0).data(), Out.Room.data(), &Out.Length, 0, &Out.Type), 0);
        EXPECT_EQ(Out.Length, kUntouched);
        ExpectAssertion("m_pYUVBuffNV12");
        EXPECT_EQ(GetMyBufferMgr().InUse(), 0);
    }
}

// ---- Failures of the Init ---------------------------------------------------------------------------------------

TEST_F(AmdEncoder, EachFailureOfTheInitIsItsStatus)
{
    for (const Failure& f :
         {Failure{"Factory.CreateContext", 6}, Failure{"Factory.CreateContext", -1},
          Failure{"Factory.CreateComponent", 30}, Failure{"Factory.CreateComponent", 36}, Failure{"Component.Init", 29},
          Failure{"Component.Init", 1}, Failure{"Component.Init", 25}})
        for (const bool bDone : {false, true}) { // the status in place of the work, and behind it
            m_Machine.Renew();
            if (bDone)
                Script().Set(f.pOperation, f.Status);
            else
                Script().Answer(f.pOperation, f.Status);
            const auto pCodec = NewCodec();
            EXPECT_FALSE(InitEncoder(*pCodec));
            ExpectLog(kResult + std::to_string(f.Status));
            EXPECT_THAT(Script().Operations().back(), f.pOperation);
            const int32_t Left = Script().Live();
            Script().Answer("Component.Terminate", 13); // the teardown's statuses count for nothing
            Script().Answer("Context.Terminate", 13);
            EXPECT_FALSE(InitEncoder(*pCodec)); // what was half built goes at the next teardown
            EXPECT_EQ(Script().Live(), Left);
            Log().Clear();
        }
    EXPECT_EQ(GetMyBufferMgr().InUse(), 0);
}

TEST_F(AmdEncoder, WithoutARunTimeEveryInitFailsWithOne)
{
    g_AMFFactory.Terminate();
    const auto pCodec = NewCodec();
    EXPECT_FALSE(InitEncoder(*pCodec));
    ExpectLog(std::string(kResult) + "1");
    EXPECT_FALSE(InitDecoder(*pCodec));
    ExpectLog("qvlx - CVCodecH264AMD::InitDecoder() res=1");
    EXPECT_THAT(News(), IsEmpty());
}

TEST_F(AmdEncoder, TheSecondDeviceIsTriedAndItsStatusCountsForNothing)
{
    for (const int64_t Second : {0, 18}) {
        m_Machine.Renew();
        Script().Answer("Context.InitDX11", 18);
        Script().Answer("Context.InitDX9", Second);
        const auto pCodec = NewCodec();
        EXPECT_TRUE(InitEncoder(*pCodec));
        Lines Expected = kInitCalls;
        Expected.insert(Expected.begin() + 2, "Context.InitDX9 device=0");
        EXPECT_EQ(News(), Expected);
        ExpectLog(std::string(kResult) + "0");
        EXPECT_EQ(Encode(*pCodec, Picture(0)).Result, 1);
    }
}

TEST_F(AmdEncoder, ARefusedPropertyDoesNotFailTheInit)
{
    for (int32_t Refused = 0; Refused <= 6; ++Refused) { // 0: all of them
        m_Machine.Renew();
        Script().Answer("Component.SetProperty", 4, Refused);
        const auto pCodec = NewCodec();
        EXPECT_TRUE(InitEncoder(*pCodec)) << Refused;
        EXPECT_EQ(Script().Trace(), kInitCalls);
        ExpectLog(std::string(kResult) + "0");
    }
}

// ---- Pictures ---------------------------------------------------------------------------------------------------

TEST_F(AmdEncoder, APictureIsOneTransactionInTheToldOrder)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    News();
    const Unit First = Encode(*pCodec, Picture(0));
    EXPECT_EQ(First.Result, 1);
    EXPECT_EQ(First.Type, kFrameI);
    EXPECT_GT(First.Length, 0);
    EXPECT_EQ(News(), PictureCalls(true));
    const Unit Second = Encode(*pCodec, Picture(1));
    EXPECT_EQ(Second.Result, 1);
    EXPECT_EQ(Second.Type, kFrameP);
    EXPECT_EQ(News(), PictureCalls(false));
    EXPECT_EQ(Script().Live("surface") + Script().Live("buffer"), 0); // nothing stays inside between calls
    EXPECT_EQ(Log().Lines().size(), 1u);                              // the Init's
}

TEST_F(AmdEncoder, AnIFrameTypeIsAskedForOnlyWhereThereIsRoomForIt)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    Unit Out;
    EXPECT_EQ(pCodec->Encode(Picture(0).data(), Out.Room.data(), &Out.Length, 0, nullptr), 1);
    EXPECT_GT(Out.Length, 0);
    Script().Answer("Component.SubmitInput", 1);
    EXPECT_EQ(pCodec->Encode(Picture(0).data(), Out.Room.data(), &Out.Length, 0, nullptr), 0);
    EXPECT_EQ(Out.Length, -1);
}

TEST_F(AmdEncoder, KeyPicturesComeByTheIntervalAndByExactlyTheFlagOne)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec, 4));
    News();
    const int32_t Flags[] = {0, 1, 2, -1, 0, 0, 1, 0, 2, 0, 0, 0, 0};
    for (const int32_t bForceKey : Flags) EXPECT_EQ(Encode(*pCodec, Picture(0), bForceKey).Result, 1);
    EXPECT_EQ(Keys(News()), "**..*.*.*...*"); // a forced one does not move the interval
}

TEST_F(AmdEncoder, ANegativeIntervalDividesAsItsSize)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec, -2));
    News();
    for (int n = 0; n < 5; ++n) Encode(*pCodec, Picture(0));
    EXPECT_EQ(Keys(News()), "*.*.*");
}

TEST_F(AmdEncoder, AnIntervalOfZeroIsADivisionByZero)
{
    auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec, 0));
    Unit Out;
    const Bytes In = Picture(0);
    uint32_t Code = 0;
    EXPECT_FALSE(
        platform::Guarded([&] { pCodec->Encode(In.data(), Out.Room.data(), &Out.Length, 1, &Out.Type); }, Code));
    EXPECT_EQ(Code, platform::kFaultArithmetic);
    EXPECT_EQ(Out.Length, 0); // set before the transaction
    EXPECT_THAT(News().back(), StartsWith("Surface.SetProperty name=PictureStructure"));
    EXPECT_EQ(Script().Live("surface"), 1); // went with the fault
    EXPECT_EQ(Script().Live("plane"), 2);
    EXPECT_EQ(Script().Live(), 5);
    pCodec.reset();
    EXPECT_EQ(Script().Live(), 3);
    m_Machine.Renew();
}

TEST_F(AmdEncoder, TheOutputsTypeIsMapped)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    const std::pair<int64_t, int32_t> Rows[] = {{0, 1},  {1, 2},       {2, 2},         {3, 3},         {4, 2},
                                                {-2, 2}, {1000000, 2}, {INT64_MIN, 2}, {INT64_MAX, 2}, {1LL << 32, 2}};
    for (const auto& [Value, Reported] : Rows) {
        Script().Set("amf type", Value);
        EXPECT_EQ(Encode(*pCodec, Picture(0)).Type, Reported) << Value;
    }
    Script().Set("amf type", -1); // an output without one has the value of an empty variant
    EXPECT_EQ(Encode(*pCodec, Picture(0)).Type, kFrameI);
}

TEST_F(AmdEncoder, AFullInputIsSubmittedAgainAfterAMillisecond)
{
    const TurnedClock Clock;
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    for (int32_t Call = 1; Call <= 7; ++Call) Script().Answer("Component.SubmitInput", 25, Call);
    for (int32_t Call = 1; Call <= 5; ++Call) Script().Answer("Component.Drain", 25, Call);
    EXPECT_EQ(Encode(*pCodec, Picture(0)).Result, 1);
    EXPECT_EQ(Script().Calls("Component.SubmitInput"), 8);
    EXPECT_EQ(Script().Calls("Component.Drain"), 6);
    EXPECT_THAT(Clock.Slept(), testing::ElementsAre(std::pair(1u, 12u)));
}

TEST_F(AmdEncoder, TheSurfaceIsDroppedBeforeTheDrain)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    Script().Answer("Component.Drain", 25, 1);
    EXPECT_EQ(HeldAsleep("surface", [&] { EXPECT_EQ(Encode(*pCodec, Picture(0)).Result, 1); }), 0);
    Script().Answer("Component.SubmitInput", 25, 2);
    EXPECT_EQ(HeldAsleep("surface", [&] { EXPECT_EQ(Encode(*pCodec, Picture(0)).Result, 1); }), 1);
}

TEST_F(AmdEncoder, NoDataYetIsAskedForAgainAfterAMillisecond)
{
    const TurnedClock Clock;
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    const int64_t Statuses[] = {0, 24, 1, 13, 25, 44}; // any but the end of the stream
    for (int32_t Call = 1; Call <= 6; ++Call) Script().Answer("Component.QueryOutput", Statuses[Call - 1], Call);
    EXPECT_EQ(Encode(*pCodec, Picture(0)).Result, 1);
    EXPECT_EQ(Script().Calls("Component.QueryOutput"), 8);
    EXPECT_THAT(Clock.Slept(), testing::ElementsAre(std::pair(1u, 6u)));
}

TEST_F(AmdEncoder, DataCountsWhateverStatusComesWithIt)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    Script().Set("Component.QueryOutput", 1, 0);
    EXPECT_EQ(Encode(*pCodec, Picture(0)).Result, 1);
    Script().Set("Component.QueryOutput", 23); // but the end of the stream is the end
    const Unit Out = Encode(*pCodec, Picture(1));
    EXPECT_EQ(Out.Result, 0);
    EXPECT_EQ(Out.Length, -1);
}

TEST_F(AmdEncoder, OfTwoOutputsTheSecondStandsInTheBuffer)
{
    const auto pCodec = NewCodec(), pOther = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec, 4) && InitEncoder(*pOther, 4));
    const Unit One = Encode(*pOther, Picture(0));
    Script().Set("amf outputs", 2);
    News();
    const Unit Two = Encode(*pCodec, Picture(0));
    EXPECT_EQ(Two.Result, 1);
    EXPECT_EQ(Two.Type, kFrameI); // the first one's is B
    EXPECT_EQ(Two.Stream(), One.Stream());
    for (int n = 1; n < 4; ++n) Encode(*pCodec, Picture(n));
    EXPECT_EQ(Keys(News()), "*.*."); // both count
}

// ---- Failures of a picture --------------------------------------------------------------------------------------

TEST_F(AmdEncoder, NoSurfaceMeansNoTransaction)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    News();
    Script().Answer("Context.CreateSurfaceFromHostNative", 34);
    const Unit Out = Encode(*pCodec, Picture(0));
    EXPECT_EQ(Out.Result, 0);
    EXPECT_EQ(Out.Length, -1);
    EXPECT_EQ(Out.Type, -1);
    EXPECT_THAT(News(), ElementsAre(kWrap));
    EXPECT_EQ(Log().Lines().size(), 1u); // nothing beside the Init's
}

TEST_F(AmdEncoder, ARefusedInputIsDrainedAndFlushedAllTheSame)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    for (const int64_t Status : {1, 6, 13, 15, 24, 44, -1}) {
        News();
        Script().Answer("Component.SubmitInput", Status);
        const Unit Out = Encode(*pCodec, Picture(0));
        EXPECT_EQ(Out.Result, 0);
        EXPECT_EQ(Out.Length, -1);
        EXPECT_EQ(Out.Type, -1);
        const Lines Calls = News();
        EXPECT_EQ(Lines(Calls.end() - 4, Calls.end()), (Lines{"Component.SubmitInput data=1", "Component.Drain",
                                                              "Component.QueryOutput", "Component.Flush"}));
        EXPECT_EQ(Keys(Calls), "*"); // no output, so the count of pictures stands
    }
    EXPECT_EQ(Log().Lines().size(), 1u);
}

TEST_F(AmdEncoder, StatusesThatAreNotTestedCountForNothing)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    for (const char* const pOperation :
         {"Component.SubmitInput", "Component.Drain", "Component.Flush", "Surface.SetProperty", "Buffer.GetProperty"})
        Script().Set(pOperation, 44);
    for (int n = 0; n < 3; ++n) EXPECT_EQ(Encode(*pCodec, Picture(n)).Result, 1);
}

TEST_F(AmdEncoder, ARefusedPropertyOfAPictureDoesNotFailIt)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    Script().Answer("Surface.SetProperty", 4);
    News();
    EXPECT_EQ(Encode(*pCodec, Picture(0)).Result, 1);
    EXPECT_EQ(News(), PictureCalls(true));
}

TEST_F(AmdEncoder, WithoutAnOutputTheClientIsToReplaceTheEngine)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    Script().Set("amf outputs", 0);
    const Unit Out = Encode(*pCodec, Picture(0));
    EXPECT_EQ(Out.Result, 0);
    EXPECT_EQ(Out.Length, -1);
    EXPECT_EQ(Out.Type, -1);
    EXPECT_EQ(Script().Operations().back(), "Component.Flush");
    EXPECT_EQ(Log().Lines().size(), 1u);
}

TEST_F(AmdEncoder, AnOutputMayFillTheRoomAndNoMore)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    Script().Answer("Buffer.GetSize", kRoom);
    Unit Out = Encode(*pCodec, Picture(0));
    EXPECT_EQ(Out.Result, 1);
    EXPECT_EQ(Out.Length, static_cast<int32_t>(kRoom));
    for (const int64_t Size : {int64_t{kRoom} + 1, int64_t{INT32_MAX}, int64_t{UINT32_MAX}, int64_t{-1}}) {
        Script().Answer("Buffer.GetSize", Size);
        Out = Encode(*pCodec, Picture(0));
        EXPECT_EQ(Out.Result, 0) << Size;
        EXPECT_EQ(Out.Length, -1);
        EXPECT_EQ(Out.Type, -1);
        EXPECT_EQ(Out.Room, Bytes(kRoom, 0xA5)); // nothing of it was written
    }
    EXPECT_EQ(Script().Operations().back(), "Component.Flush");
}

TEST_F(AmdEncoder, OneOutputThatIsTooLongFailsTheCall)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    Script().Set("amf outputs", 2);
    for (const int32_t Long : {1, 2}) {
        Script().Answer("Buffer.GetSize", kRoom + 1, Script().Calls("Buffer.GetSize") + Long);
        const Unit Out = Encode(*pCodec, Picture(0));
        EXPECT_EQ(Out.Result, 0) << Long;
        EXPECT_EQ(Out.Length, -1);
        EXPECT_EQ(Out.Type, -1);
    }
}

TEST_F(AmdEncoder, AnEmptyOutputIsSuccess)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    Script().Answer("Buffer.GetSize", 0);
    Script().Answer("Buffer.GetNative", 0);
    const Unit Out = Encode(*pCodec, Picture(0));
    EXPECT_EQ(Out.Result, 1);
    EXPECT_EQ(Out.Length, 0);
}

// ---- Arguments --------------------------------------------------------------------------------------------------

TEST_F(AmdEncoder, NullArgumentsAreAssertedInOrderAndLeaveTheOutputs)
{
    const auto pCodec = NewCodec();
    const Bytes In = Picture(0);
    Unit Out;
    EXPECT_EQ(pCodec->Encode(nullptr, nullptr, nullptr, 0, &Out.Type), 0);
    ExpectAssertion("m_pEncoder && m_pEncoderContext");
    EXPECT_TRUE(InitEncoder(*pCodec));
    Log().Clear();
    News();
    EXPECT_EQ(pCodec->Encode(nullptr, nullptr, nullptr, 0, &Out.Type), 0);
    ExpectAssertion("InBuf");
    EXPECT_EQ(pCodec->Encode(In.data(), nullptr, nullptr, 0, &Out.Type), 0);
    ExpectAssertion("OutBuf");
    EXPECT_EQ(pCodec->Encode(In.data(), Out.Room.data(), nullptr, 0, &Out.Type), 0);
    ExpectAssertion("pdwOutLen");
    EXPECT_EQ(pCodec->Encode(nullptr, Out.Room.data(), &Out.Length, 0, &Out.Type), 0);
    ExpectAssertion("InBuf");
    EXPECT_EQ(Out.Length, kUntouched);
    EXPECT_EQ(Out.Type, kUntouched);
    EXPECT_THAT(News(), IsEmpty());
}

TEST_F(AmdEncoder, OddSizesReadNoMoreThanTheClientsPicture)
{
    constexpr FrameSize kOdd{33, 17};
    const auto pCodec = NewCodec();
    EXPECT_EQ(pCodec->InitEncoder(kOdd.Width, kOdd.Height, 15, 75, 300), 1);
    Script().Answer("Component.SubmitInput", 1);
    const Bytes In(kOdd.LumaBytes() + kOdd.LumaBytes() / 4 * 2, 9); // exact, for the sanitizer
    EXPECT_EQ(Encode(*pCodec, In, 0, kOdd).Length, -1);
}

// ---- Bit rate ---------------------------------------------------------------------------------------------------

TEST_F(AmdEncoder, ANewRateIsANewSessionAndBeginsWithAKeyPicture)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    for (int n = 0; n < 3; ++n) Encode(*pCodec, Picture(n));
    News();
    EXPECT_EQ(pCodec->SetBitrate(500), 1);
    Lines Expected{"Component.Terminate", "Context.Terminate"};
    Expected.insert(Expected.end(), kInitCalls.begin(), kInitCalls.end());
    Expected[6] = "Component.SetProperty name=TargetBitrate type=2 value=500000";
    EXPECT_EQ(News(), Expected);
    const Unit Out = Encode(*pCodec, Picture(3));
    EXPECT_EQ(Out.Type, kFrameI);
    EXPECT_EQ(News(), PictureCalls(true));
    EXPECT_EQ(Bytes(Out.Room.begin(), Out.Room.begin() + 5), (Bytes{0, 0, 0, 1, 9}));
}

TEST_F(AmdEncoder, ARateNeedsAnEncoderAndIsNotZero)
{
    const auto pCodec = NewCodec();
    EXPECT_EQ(pCodec->SetBitrate(0), 0);
    ExpectAssertion("m_pEncoder");
    EXPECT_TRUE(InitEncoder(*pCodec));
    Encode(*pCodec, Picture(0));
    Log().Clear();
    News();
    EXPECT_EQ(pCodec->SetBitrate(0), 0);
    ExpectAssertion("iKbps");
    EXPECT_THAT(News(), IsEmpty());
    EXPECT_EQ(Encode(*pCodec, Picture(1)).Type, kFrameP);
}

TEST_F(AmdEncoder, ARateThatTheDriverRefusesLeavesNoEncoder)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec));
    Script().Answer("Factory.CreateContext", 17);
    EXPECT_EQ(pCodec->SetBitrate(500), 0);
    EXPECT_EQ(Log().With("InitEncoder() res=17").size(), 1u);
    Log().Clear();
    EXPECT_EQ(pCodec->SetBitrate(500), 0);
    ExpectAssertion("m_pEncoder");
}

TEST_F(AmdEncoder, ANewRateCallsTheInitOfTheObject)
{
    struct Derived : CVCodecH264AMD {
        int32_t InitEncoder(int32_t Width, int32_t Height, int32_t Fps, int32_t Key, int32_t Kbps) noexcept override
        {
            Given = {Width, Height, Fps, Key, Kbps};
            return CVCodecH264AMD::InitEncoder(Width, Height, Fps, Key, Kbps);
        }
        std::vector<int32_t> Given;
    };
    const Owned<Derived> pCodec(new Derived);
    EXPECT_TRUE(InitEncoder(*pCodec, 9));
    EXPECT_EQ(pCodec->SetBitrate(77), 1);
    EXPECT_THAT(pCodec->Given, ElementsAre(64, 48, 15, 9, 77));
}

// ---- Real pictures ----------------------------------------------------------------------------------------------

TEST_F(AmdEncoder, RealPicturesMakeAStreamThatDecodesWithoutAMessage)
{
    constexpr FrameSize kReal{176, 144};
    const auto pCodec = NewCodec();
    ASSERT_EQ(pCodec->InitEncoder(kReal.Width, kReal.Height, 15, 5, 500), 1);
    Bytes Stream, Source;
    for (int n = 0; n < 12; ++n) {
        if (n == 8) {
            EXPECT_EQ(pCodec->SetBitrate(400), 1);
        }
        const Bytes In = Picture(n, kReal);
        Source.insert(Source.end(), In.begin(), In.end());
        const Unit Out = Encode(*pCodec, In, n == 7, kReal);
        ASSERT_EQ(Out.Result, 1);
        EXPECT_EQ(Out.Type, n == 0 || n == 5 || n == 7 || n == 8 ? kFrameI : kFrameP) << n;
        const Bytes Part = Out.Stream();
        Stream.insert(Stream.end(), Part.begin(), Part.end());
    }
    const ffmpeg_oracle::Decoded Decoded = ffmpeg_oracle::Decode(Stream);
    EXPECT_EQ(Decoded.Messages, "");
    ASSERT_EQ(Decoded.Pictures.size(), Source.size());
    double Sum = 0;
    for (size_t i = 0; i < Source.size(); ++i) Sum += std::abs(Source[i] - Decoded.Pictures[i]);
    EXPECT_LT(Sum / static_cast<double>(Source.size()), 6.0);
}
