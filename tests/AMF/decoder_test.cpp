// The AMD engine as a decoder: what it asks of the driver, in which order and with which values, and what it answers.
#include "tests/AMF/amd_run_time.h"

#include "AMF/common/AMFComError.h"
#include "platform/exception_frame.h"
#include "quilvex/Quilvex.h"
#include "tests/support/ffmpeg_oracle.h"

#include <algorithm>

using namespace amd;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const Lines kInitCalls{"Factory.CreateContext", "Context.InitDX11 device=0 version=110",
                       "Factory.CreateComponent id=AMFVideoDecoderUVD_H264_AVC",
                       "Component.SetProperty name=TimestampMode type=2 value=2",
                       "Component.Init format=1 width=64 height=48"};
constexpr char kResult[] = "qvlx - CVCodecH264AMD::InitDecoder() res=";

// Access units of a stream by the software encoder.
std::vector<Bytes> Units(int Count, FrameSize Size = kSize)
{
    const Owned<IVCodec> pCodec(CreateVCodec(0));
    EXPECT_EQ(pCodec->InitEncoder(Size.Width, Size.Height, 15, 4, 300), 1);
    std::vector<Bytes> All;
    for (int n = 0; n < Count; ++n) All.push_back(Encode(*pCodec, Picture(n, Size), 0, Size).Stream());
    return All;
}

const Bytes& KeyUnit()
{
    static const Bytes s_Unit = Units(1)[0];
    return s_Unit;
}

struct AmdDecoder : AmdTest {
    void SetUp() override
    {
        KeyUnit(); // its maker logs
        Log().Clear();
        AmdTest::SetUp();
    }
};

// What the software decoder shows of a stream, one picture behind the other.
Bytes SoftwarePictures(const std::vector<Bytes>& Stream, FrameSize Size)
{
    static const Bytes s_Delimiter{0, 0, 0, 1, 9, 0xF0};
    const Owned<IVCodec> pCodec(CreateVCodec(100));
    EXPECT_TRUE(InitDecoder(*pCodec, Size));
    Bytes All;
    const auto Take = [&](const Bytes& Unit) {
        const Shown Out = Decode(*pCodec, Unit, Size);
        if (Out.Type != kUntouched) All.insert(All.end(), Out.I420.begin(), Out.I420.end());
        return Out.Type != kUntouched;
    };
    for (const Bytes& Unit : Stream) Take(Unit);
    while (Take(s_Delimiter)) {
    }
    return All;
}

// A clock on which every sleep ends in an error.
const platform::ClockOperations kFailingClock{[] { return uint32_t{0}; },
                                              [](uint32_t) {
                                                  throw AMFComError{0x8004ABCD, "no", "it", "why"};
                                              }};

} // namespace

TEST_F(AmdDecoder, InitAsksInTheToldOrderWithTheToldValues)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    EXPECT_EQ(News(), kInitCalls);
    ExpectLog(std::string(kResult) + "0");
    EXPECT_EQ(GetMyBufferMgr().InUse(), 1);
    EXPECT_TRUE(InitDecoder(*pCodec)); // the first goes
    Lines Expected{"Component.Terminate", "Context.Terminate"};
    Expected.insert(Expected.end(), kInitCalls.begin(), kInitCalls.end());
    EXPECT_EQ(News(), Expected);
    EXPECT_EQ(Script().Live(), 2);
    EXPECT_EQ(GetMyBufferMgr().InUse(), 1);
}

TEST_F(AmdDecoder, SizesOfZeroAreAsserted)
{
    const auto pCodec = NewCodec();
    for (const FrameSize Size : {FrameSize{0, 48}, FrameSize{64, 0}, FrameSize{0, 0}}) {
        EXPECT_FALSE(InitDecoder(*pCodec, Size));
        ExpectAssertion("PictureWidth && PictureHeight");
    }
    EXPECT_THAT(News(), IsEmpty());
}

TEST_F(AmdDecoder, SizesThatNoBufferHoldsFailTheInit)
{
    for (const FrameSize Size : {FrameSize{-64, 48}, FrameSize{64, -48}, FrameSize{30000, 30000}}) {
        const auto pCodec = NewCodec();
        EXPECT_FALSE(InitDecoder(*pCodec, Size));
        ExpectAssertion("m_pYUVBuffNV12");
        EXPECT_EQ(GetMyBufferMgr().InUse(), 0);
    }
}

TEST_F(AmdDecoder, EachFailureOfTheInitIsItsStatus)
{
    for (const Failure& f : {Failure{"Factory.CreateContext", 6}, Failure{"Factory.CreateComponent", 33},
                             Failure{"Component.SetProperty", 4}, Failure{"Component.Init", 29}})
        for (const bool bDone : {false, true}) {
            m_Machine.Renew();
            if (bDone)
                Script().Set(f.pOperation, f.Status);
            else
                Script().Answer(f.pOperation, f.Status);
            const auto pCodec = NewCodec();
            EXPECT_FALSE(InitDecoder(*pCodec));
            ExpectLog(kResult + std::to_string(f.Status));
            EXPECT_EQ(Script().Operations().back(), f.pOperation); // the first one that fails ends it
            const int32_t Left = Script().Live();
            EXPECT_FALSE(InitDecoder(*pCodec));
            EXPECT_EQ(Script().Live(), Left);
            Log().Clear();
        }
}

TEST_F(AmdDecoder, TheSecondDeviceIsTriedAndItsStatusCountsForNothing)
{
    Script().Answer("Context.InitDX11", 18);
    Script().Answer("Context.InitDX9", 18);
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    Lines Expected = kInitCalls;
    Expected.insert(Expected.begin() + 2, "Context.InitDX9 device=0");
    EXPECT_EQ(News(), Expected);
}

// ---- Pictures ---------------------------------------------------------------------------------------------------

TEST_F(AmdDecoder, AnAccessUnitIsOneTransactionInTheToldOrder)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    News();
    const Shown Out = Decode(*pCodec, KeyUnit());
    EXPECT_EQ(Out.Result, 1);
    EXPECT_EQ(Out.Type, kFrameI);
    EXPECT_THAT(
        News(),
        ElementsAre("Context.CreateBufferFromHostNative size=" + std::to_string(KeyUnit().size()) + " observer=0",
                    "Component.SubmitInput data=1", "Component.Drain", "Component.QueryOutput", "Data.Convert type=1",
                    "Data.QueryInterface face=surface", "Surface.GetFrameType", "Surface.GetPlane type=2",
                    "Surface.GetPlane type=3", "Plane.GetPitch", "Plane.GetPitch", "Plane.GetWidth", "Plane.GetHeight",
                    "Plane.GetWidth", "Plane.GetHeight", "Plane.GetNative plane=2", "Plane.GetNative plane=3",
                    "Component.QueryOutput", "Component.Flush"));
    EXPECT_EQ(Script().Live(), 2);
    EXPECT_EQ(Log().Lines().size(), 1u);
    Shown Untyped;
    EXPECT_EQ(pCodec->Decode(KeyUnit().data(), static_cast<int32_t>(KeyUnit().size()), Untyped.I420.data(), nullptr),
              1);
    EXPECT_EQ(Untyped.I420, Out.I420);
}

TEST_F(AmdDecoder, RealPicturesEqualTheSoftwareDecodersAndFfmpegs)
{
    constexpr FrameSize kReal{176, 144};
    const std::vector<Bytes> Stream = Units(10, kReal);
    for (const int64_t Pitch : {0, 80}) {
        Script().Set("amf pitch", Pitch);
        const auto pCodec = NewCodec();
        ASSERT_TRUE(InitDecoder(*pCodec, kReal));
        Bytes All, Joined;
        for (const Bytes& Unit : Stream) {
            const Shown Out = Decode(*pCodec, Unit, kReal);
            EXPECT_EQ(Out.Result, 1);
            EXPECT_EQ(Out.Type, kFrameI); // progressive
            All.insert(All.end(), Out.I420.begin(), Out.I420.end());
            Joined.insert(Joined.end(), Unit.begin(), Unit.end());
        }
        EXPECT_TRUE(All == SoftwarePictures(Stream, kReal));
        const ffmpeg_oracle::Decoded Decoded = ffmpeg_oracle::Decode(Joined);
        EXPECT_EQ(Decoded.Messages, "");
        EXPECT_TRUE(All == Decoded.Pictures);
    }
}

TEST_F(AmdDecoder, TheSurfacesTypeGoesThroughTheEncodersTable)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    const std::pair<int32_t, int32_t> Rows[] = {{0, 1},  {1, 2},          {2, 2},          {3, 3},
                                                {-1, 2}, {0x05000000, 2}, {0x09000000, 2}, {INT32_MIN, 2}};
    for (const auto& [Value, Reported] : Rows) {
        Script().Set("amf frame type", Value);
        EXPECT_EQ(Decode(*pCodec, KeyUnit()).Type, Reported) << Value;
    }
}

TEST_F(AmdDecoder, AFullInputAndNoDataYetAreWaitedFor)
{
    const TurnedClock Clock;
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    for (int32_t Call = 1; Call <= 3; ++Call) {
        Script().Answer("Component.SubmitInput", 25, Call);
        Script().Answer("Component.Drain", 25, Call);
        Script().Answer("Component.QueryOutput", 24, Call);
    }
    EXPECT_EQ(Decode(*pCodec, KeyUnit()).Result, 1);
    EXPECT_EQ(Script().Calls("Component.SubmitInput"), 4);
    EXPECT_EQ(Script().Calls("Component.Drain"), 4);
    EXPECT_EQ(Script().Calls("Component.QueryOutput"), 5);
    EXPECT_THAT(Clock.Slept(), testing::ElementsAre(std::pair(1u, 9u)));
}

TEST_F(AmdDecoder, TheInputIsDroppedBeforeTheDrain)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    Script().Answer("Component.Drain", 25, 1);
    EXPECT_EQ(HeldAsleep("buffer", [&] { EXPECT_EQ(Decode(*pCodec, KeyUnit()).Result, 1); }), 0);
}

TEST_F(AmdDecoder, TheLastOfTwoPicturesDecides)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    Script().Set("amf outputs", 2);
    Script().Set("amf frame type", 0, 3);
    EXPECT_EQ(Decode(*pCodec, KeyUnit()).Type, kFrameB);
    Script().Answer("Plane.GetPitch", 1, Script().Calls("Plane.GetPitch") + 3); // the second picture's luma
    EXPECT_EQ(Decode(*pCodec, KeyUnit()).Result, 0);
    Script().Answer("Plane.GetPitch", 1, Script().Calls("Plane.GetPitch") + 1); // the first one's
    EXPECT_EQ(Decode(*pCodec, KeyUnit()).Result, 1);
}

TEST_F(AmdDecoder, LengthsPassAsTheyAreAndNegativeOnesAsNone)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    for (const int32_t Length : {0, -1, INT32_MIN}) {
        News();
        Shown Out;
        EXPECT_EQ(pCodec->Decode(KeyUnit().data(), Length, Out.I420.data(), &Out.Type), 0);
        EXPECT_TRUE(Out.IsUntouched());
        EXPECT_EQ(News().front(), "Context.CreateBufferFromHostNative size=0 observer=0");
    }
}

// ---- Other sizes than told --------------------------------------------------------------------------------------

TEST_F(AmdDecoder, ALargerStreamIsCutToItsTopLeftCorner)
{
    const Bytes Unit = Units(1, {128, 96})[0];
    const Bytes Whole = SoftwarePictures({Unit}, {128, 96});
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    const Shown Out = Decode(*pCodec, Unit);
    EXPECT_EQ(Out.Result, 1);
    bool bSame = true;
    for (size_t y = 0; y < 48; ++y)
        bSame = bSame && std::equal(&Out.I420[y * 64], &Out.I420[y * 64] + 64, &Whole[y * 128]);
    for (size_t Plane = 0; Plane < 2; ++Plane)
        for (size_t y = 0; y < 24; ++y)
            bSame = bSame && std::equal(&Out.I420[64 * 48 + Plane * 32 * 24 + y * 32],
                                        &Out.I420[64 * 48 + Plane * 32 * 24 + y * 32] + 32,
                                        &Whole[128 * 96 + Plane * 64 * 48 + y * 64]);
    EXPECT_TRUE(bSame);
}

TEST_F(AmdDecoder, ASmallerStreamFailsTheCallAndLeavesTheOutputs)
{
    for (const FrameSize Size : {FrameSize{48, 48}, FrameSize{64, 32}, FrameSize{16, 16}}) {
        const Bytes Unit = Units(1, Size)[0];
        const auto pCodec = NewCodec();
        EXPECT_TRUE(InitDecoder(*pCodec));
        Log().Clear();
        const Shown Out = Decode(*pCodec, Unit);
        EXPECT_EQ(Out.Result, 0);
        EXPECT_TRUE(Out.IsUntouched());
        EXPECT_EQ(Script().Operations().back(), "Component.Flush");
        EXPECT_THAT(Log().Lines(), IsEmpty());
        EXPECT_EQ(Decode(*pCodec, KeyUnit()).Result, 1); // and it goes on
    }
}

TEST_F(AmdDecoder, EachMeasureOfAPlaneIsBelieved)
{
    const struct {
        const char* pOperation;
        int32_t Call;
        int64_t Least;
    } kRows[] = {{"Plane.GetPitch", 1, 64}, {"Plane.GetPitch", 2, 64},  {"Plane.GetWidth", 1, 64},
                 {"Plane.GetWidth", 2, 32}, {"Plane.GetHeight", 1, 48}, {"Plane.GetHeight", 2, 24}};
    for (const auto& Row : kRows)
        for (const int64_t Less : {int64_t{1}, Row.Least, Row.Least + 1, Row.Least - INT32_MIN}) {
            m_Machine.Renew();
            Script().Answer(Row.pOperation, Row.Least - Less, Row.Call);
            const auto pCodec = NewCodec();
            EXPECT_TRUE(InitDecoder(*pCodec));
            const Shown Out = Decode(*pCodec, KeyUnit());
            EXPECT_EQ(Out.Result, 0) << Row.pOperation << Row.Call << " " << Less;
            EXPECT_TRUE(Out.IsUntouched());
        }
    for (const auto& Row : kRows) {
        m_Machine.Renew();
        if (Row.pOperation == std::string("Plane.GetPitch")) Script().Set("amf pitch", 0);
        Script().Answer(Row.pOperation, Row.Least, Row.Call);
        const auto pCodec = NewCodec();
        EXPECT_TRUE(InitDecoder(*pCodec));
        EXPECT_EQ(Decode(*pCodec, KeyUnit()).Result, 1) << Row.pOperation << Row.Call;
    }
}

TEST_F(AmdDecoder, AnEncoderOnTheSameObjectTakesThePicturesSize)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    Script().Answer("Factory.CreateContext", 17);
    EXPECT_FALSE(InitEncoder(*pCodec));
    const Shown Out = Decode(*pCodec, KeyUnit());
    EXPECT_EQ(Out.Result, 1); // a picture of no samples
    EXPECT_EQ(Out.I420, Bytes(kSize.I420Bytes(), 0xA5));
}

TEST_F(AmdDecoder, BothSidesOnOneObjectAreTornDownApart)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitEncoder(*pCodec) && InitDecoder(*pCodec));
    EXPECT_EQ(Script().Live(), 4);
    EXPECT_EQ(GetMyBufferMgr().InUse(), 1);
    EXPECT_EQ(Script().Calls("Component.Terminate"), 0);
    EXPECT_TRUE(InitEncoder(*pCodec));
    EXPECT_EQ(Script().Calls("Component.Terminate"), 1);
    EXPECT_EQ(Script().Live(), 4);
}

// ---- Failures ---------------------------------------------------------------------------------------------------

TEST_F(AmdDecoder, NoBufferMeansNoTransaction)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    News();
    Script().Answer("Context.CreateBufferFromHostNative", 6);
    const Shown Out = Decode(*pCodec, KeyUnit());
    EXPECT_EQ(Out.Result, 0);
    EXPECT_TRUE(Out.IsUntouched());
    EXPECT_EQ(News().size(), 1u);
    EXPECT_EQ(Log().Lines().size(), 1u);
}

TEST_F(AmdDecoder, ARefusedInputIsDrainedAndFlushedAllTheSame)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    for (const int64_t Status : {1, 13, 26, 44}) {
        News();
        Script().Answer("Component.SubmitInput", Status);
        const Shown Out = Decode(*pCodec, KeyUnit());
        EXPECT_EQ(Out.Result, 0);
        EXPECT_TRUE(Out.IsUntouched());
        const Lines Calls = News();
        EXPECT_EQ(Lines(Calls.begin() + 1, Calls.end()), (Lines{"Component.SubmitInput data=1", "Component.Drain",
                                                                "Component.QueryOutput", "Component.Flush"}));
    }
}

TEST_F(AmdDecoder, StatusesThatAreNotTestedCountForNothing)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    for (const char* const pOperation : {"Component.SubmitInput", "Component.Drain", "Component.Flush"})
        Script().Set(pOperation, 44);
    EXPECT_EQ(Decode(*pCodec, KeyUnit()).Result, 1);
}

TEST_F(AmdDecoder, AnAccessUnitWithoutAPictureLeavesTheOutputs)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    const Shown Out = Decode(*pCodec, {0, 0, 0, 1, 9, 0xF0});
    EXPECT_EQ(Out.Result, 0);
    EXPECT_TRUE(Out.IsUntouched());
    EXPECT_EQ(Log().Lines().size(), 1u);
}

TEST_F(AmdDecoder, ASurfaceThatDoesNotMoveEndsTheLoop)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    Script().Set("amf outputs", 2);
    Script().Answer("Data.Convert", 4, 1);
    Shown Out = Decode(*pCodec, KeyUnit());
    EXPECT_EQ(Out.Result, 0);
    EXPECT_TRUE(Out.IsUntouched());
    EXPECT_EQ(Script().Calls("Component.QueryOutput"), 1);
    EXPECT_EQ(Script().Operations().back(), "Component.Flush");
    Script().Answer("Data.Convert", 4, 3); // the second one's
    Out = Decode(*pCodec, KeyUnit());
    EXPECT_EQ(Out.Result, 1); // the first one stands
    EXPECT_EQ(Out.Type, kFrameI);
}

TEST_F(AmdDecoder, AMissingPlaneIsAsserted)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    Log().Clear();
    for (const int32_t Plane : {1, 2}) {
        Script().Answer("Surface.GetPlane", 0, Script().Calls("Surface.GetPlane") + Plane);
        const Shown Out = Decode(*pCodec, KeyUnit());
        EXPECT_EQ(Out.Result, 0);
        EXPECT_EQ(Out.I420, Bytes(kSize.I420Bytes(), 0xA5));
        EXPECT_EQ(Out.Type, kFrameI); // stored before the planes are asked for
        ExpectAssertion("pPlane_Y && pPlane_UV");
    }
}

TEST_F(AmdDecoder, AnOutputThatIsNoSurfaceIsAsserted)
{
    const auto pCodec = NewCodec();
    EXPECT_TRUE(InitDecoder(*pCodec));
    Log().Clear();
    Script().Answer("Data.QueryInterface", 8);
    Shown Out;
    EXPECT_EQ(pCodec->Decode(KeyUnit().data(), static_cast<int32_t>(KeyUnit().size()), Out.I420.data(), nullptr), 0);
    ExpectAssertion("surface");
}

TEST_F(AmdDecoder, WritingAPictureAssertsItsTarget)
{
    struct Opened : CVCodecH264AMD {
        using CVCodecH264AMD::WritePicture;
    };
    const Owned<Opened> pCodec(new Opened);
    bool bTooSmall = false;
    AMFInterfacePtr<AMFContext> pContext;
    AMFInterfacePtr<AMFSurface> pSurface;
    Bytes Samples(kRoom);
    ASSERT_EQ(g_AMFFactory.GetFactory()->CreateContext(pContext.Receive()), AMF_OK);
    ASSERT_EQ(pContext->CreateSurfaceFromHostNative(AMF_SURFACE_NV12, 64, 48, 64, 48, Samples.data(),
                                                    pSurface.Receive(), nullptr),
              AMF_OK);
    EXPECT_EQ(pCodec->WritePicture(pSurface.Get(), nullptr, bTooSmall), 0);
    ExpectAssertion("OutBuf");
}

TEST_F(AmdDecoder, NullArgumentsAreAssertedInOrderAndLeaveTheOutputs)
{
    const auto pCodec = NewCodec();
    Shown Out;
    EXPECT_EQ(pCodec->Decode(nullptr, 5, nullptr, &Out.Type), 0);
    ExpectAssertion("m_pDecoder && m_pDecoderContext");
    EXPECT_TRUE(InitDecoder(*pCodec));
    Log().Clear();
    News();
    EXPECT_EQ(pCodec->Decode(nullptr, 5, nullptr, &Out.Type), 0);
    ExpectAssertion("InBuf");
    EXPECT_EQ(pCodec->Decode(KeyUnit().data(), 5, nullptr, &Out.Type), 0);
    ExpectAssertion("OutBuf");
    EXPECT_TRUE(Out.IsUntouched());
    EXPECT_THAT(News(), IsEmpty());
}

// ---- The error of a component object ----------------------------------------------------------------------------

TEST_F(AmdDecoder, AComponentErrorIsLoggedAndEndsTheEngine)
{
    Script().Answer("Component.QueryOutput", 24);
    const LogLine Line{kLogError, "qvlx - CVCodecH264AMD::PrintComError() code=8004abcd code meaning=no source=it "
                                  "description=why "};
    for (const bool bTyped : {true, false}) {
        const auto pCodec = NewCodec();
        EXPECT_TRUE(InitDecoder(*pCodec));
        Log().Clear();
        platform::SetClock(&kFailingClock);
        Shown Out;
        EXPECT_EQ(pCodec->Decode(KeyUnit().data(), 5, Out.I420.data(), bTyped ? &Out.Type : nullptr), 0);
        platform::SetClock(nullptr);
        EXPECT_EQ(Out.Type, bTyped ? -1 : kUntouched);
        EXPECT_THAT(Log().Lines(), ElementsAre(Line));
    }
    EXPECT_EQ(Script().Calls("Component.Flush"), 0);
}
