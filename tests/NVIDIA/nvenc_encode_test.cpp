// Pictures through the encoder: every call of the driver with every field, what the client gets, and what it gets when
// the driver does not do its part.
#include "tests/NVIDIA/nvenc_session.h"

#include "tests/support/child_process.h"
#include "tests/support/ffmpeg_oracle.h"

#include <cstdlib>

using namespace nvenc_session;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

const std::string kV1 = " version=" + std::to_string(0x70010008);
const std::string kV4 = " version=" + std::to_string(0xF0040008);

std::string Submitted(int Index, bool bKey, int Buffer, bool bAsync)
{
    return "nvEncEncodePicture flags=" + std::to_string(bKey ? 6 : 0) + kV4 +
           " event=" + std::to_string(bAsync ? Buffer : 0) +
           " inputWidth=64 inputHeight=48 inputPitch=0 frameIdx=0 bufferFmt=1 pictureStruct=1 pictureType=" +
           std::to_string(bKey ? 3 : 0) + " inputTimeStamp=" + std::to_string(Index) +
           " input=" + std::to_string(Buffer) + " bitstream=" + std::to_string(Buffer);
}

// The calls of one picture.
Names PictureCalls(int Index, bool bKey, bool bAsync)
{
    const int Buffer = Index % 2 + 1;
    const std::string Number = std::to_string(Buffer);
    const std::string End = "nvEncEncodePicture flags=8" + kV4 + " event=";
    const Names Read{"nvEncLockBitstream flags=0" + kV1 + " bitstream=" + Number,
                     "nvEncUnlockBitstream bitstream=" + Number};
    return {"nvEncLockInputBuffer flags=0" + kV1 + " input=" + Number,
            "nvEncUnlockInputBuffer input=" + Number,
            Submitted(Index, bKey, Buffer, bAsync),
            Read[0],
            Read[1],
            End + (bAsync ? Number : "0"),
            End + (bAsync ? "3" : "0"),
            Read[0],
            Read[1]};
}

struct NvencEncode : NvencSession {
    // A start and one picture, with the trace from there on.
    size_t Started(bool bAsync = false)
    {
        Script.Set("nvenc.caps.30", bAsync ? 1 : 0);
        EXPECT_EQ(Init(), 1);
        return Script.Trace().size();
    }
    void ExpectFailure(const Answer& a, int Status)
    {
        EXPECT_EQ(a.Result, 0);
        EXPECT_EQ(a.Length, -1);
        EXPECT_EQ(a.Type, -1);
        EXPECT_EQ(Logged().back(), NeedsSwitch(Status));
        EXPECT_EQ(Log.Lines().back().Level, kLogError);
    }
};

using platform::kFaultAccess;
using platform::kFaultArithmetic;

} // namespace

class NvencModes : public NvencEncode, public testing::WithParamInterface<bool>
{
};

TEST_P(NvencModes, ThreePicturesCallTheDriverInOrderWithEveryField)
{
    const size_t Before = Started(GetParam());
    Names Expected;
    for (int i = 0; i < 3; ++i) {
        const Answer a = Encode(i);
        EXPECT_EQ(a.Result, 1);
        EXPECT_EQ(a.Type, i == 0 ? 1 : 2);
        EXPECT_GT(a.Length, 0);
        const Names Calls = PictureCalls(i, i == 0, GetParam());
        Expected.insert(Expected.end(), Calls.begin(), Calls.end());
    }
    EXPECT_THAT(After(Before), ElementsAreArray(Expected));
    EXPECT_THAT(Log.Lines(), IsEmpty());
    EXPECT_EQ(Err, "");
    Encoder.Reset();
    EXPECT_THAT(Script.Misuses(), IsEmpty());
    EXPECT_EQ(Script.Live(), 0);
}

TEST_P(NvencModes, TheStreamIsARealOne)
{
    ASSERT_TRUE(ffmpeg_oracle::IsInstalled());
    Size = {98, 66}; // not of whole macroblocks, and less than the pitch
    Started(GetParam());
    constexpr int kPictures = 12;
    Bytes Stream, Pictures;
    for (int i = 0; i < kPictures; ++i) {
        const Answer a = Encode(i, i == 5);
        ASSERT_EQ(a.Result, 1);
        EXPECT_EQ(a.Type, i == 0 || i == 5 ? 1 : 2);
        Stream.insert(Stream.end(), a.Unit.begin(), a.Unit.end());
        Pictures.insert(Pictures.end(), Picture(Size, i).begin(), Picture(Size, i).end());
    }
    const ffmpeg_oracle::Decoded Back = ffmpeg_oracle::Decode(Stream);
    EXPECT_EQ(Back.Messages, "");
    ASSERT_EQ(Back.Pictures.size(), Pictures.size());
    int64_t Difference = 0;
    for (size_t i = 0; i < Pictures.size(); ++i) Difference += std::abs(Back.Pictures[i] - Pictures[i]);
    EXPECT_LT(Difference, static_cast<int64_t>(Pictures.size()) * 6);
    Encoder.Reset();
    EXPECT_THAT(Script.Misuses(), IsEmpty());
}
INSTANTIATE_TEST_SUITE_P(Modes, NvencModes, testing::Bool(),
                         [](const auto& Info) { return Info.param ? "Asynchronous" : "Synchronous"; });

TEST_F(NvencEncode, PointersAreAssertedInOrder)
{
    Started();
    int32_t Length = -9, Type = -9;
    Bytes Unit = Room(Size);
    const uint8_t* const pIn = Picture(Size, 0).data();
    EXPECT_EQ(Encoder.Encode(nullptr, nullptr, nullptr, 0, &Type), 0);
    EXPECT_EQ(Encoder.Encode(pIn, nullptr, nullptr, 0, &Type), 0);
    EXPECT_EQ(Encoder.Encode(pIn, Unit.data(), nullptr, 0, &Type), 0);
    EXPECT_THAT(Logged(), ElementsAre(Assertion("H264nvEnc", "InBuf"), Assertion("H264nvEnc", "OutBuf"),
                                      Assertion("H264nvEnc", "pdwOutLen")));
    EXPECT_EQ(Type, -9);
    EXPECT_EQ(Captured([&] { return Encoder.Encode(pIn, Unit.data(), &Length, 0, nullptr); }), 1);
    EXPECT_GT(Length, 0);
}

TEST_F(NvencEncode, KeyPicturesComeByTheCounter)
{
    EXPECT_EQ(Init(4), 1);
    const int Forced[] = {0, 0, 0, 0, 0, 1, 0, 0, 0, 0};
    Names Keys, Expected;
    for (int i = 0; i < 10; ++i) {
        const bool bKey = i % 4 == 0 || i == 5; // and the forced one does not shift the others
        EXPECT_EQ(Encode(i, Forced[i]).Type, bKey ? 1 : 2) << i;
    }
    int i = 0;
    for (const std::string& Line : Script.Trace("nvEncEncodePicture flags=")) {
        if (Line.find("flags=8") != std::string::npos) continue;
        const bool bKey = i % 4 == 0 || i == 5;
        EXPECT_EQ(Line.find("flags=6") != std::string::npos, bKey) << i;
        EXPECT_EQ(Line.find("pictureType=3") != std::string::npos, bKey) << i;
        ++i;
    }
    EXPECT_EQ(i, 10);
}

TEST_F(NvencEncode, OnlyAForceFlagOfOneForces)
{
    Started();
    Encode(0);
    for (const int Flag : {0, 2, -1, 100}) EXPECT_EQ(Encode(1, Flag).Type, 2) << Flag;
    EXPECT_EQ(Encode(1, 1).Type, 1);
}

TEST_F(NvencEncode, AnIntervalOfOneMakesEveryPictureAKeyPicture)
{
    EXPECT_EQ(Init(1), 1);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(Encode(i).Type, 1);
    EXPECT_EQ(Init(-1), 1);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(Encode(i).Type, 1);
}

TEST_F(NvencEncode, APictureThatFailedIsNotCounted)
{
    EXPECT_EQ(Init(2), 1);
    EXPECT_EQ(Encode(0).Type, 1);
    Script.Answer("nvEncLockInputBuffer", 13, 2);
    ExpectFailure(Encode(1), 13);
    EXPECT_EQ(Encode(1).Type, 2);
    EXPECT_EQ(Encode(2).Type, 1);
}

// ---- Faults of the encoder's own ------------------------------------------------------------------------------------

TEST_F(NvencEncode, AKeyIntervalOfZeroIsAnArithmeticFault)
{
    EXPECT_EQ(Init(0), 1);
    const size_t Before = Script.Trace().size();
    ExpectEncodeFault(kFaultArithmetic);
    EXPECT_THAT(After(Before), IsEmpty());
}

TEST_F(NvencEncode, NoBuffersAreAnAccessFault)
{
    Size = {2048, 2048};
    EXPECT_EQ(Init(), 1);
    const size_t Before = Script.Trace().size();
    ExpectEncodeFault(kFaultAccess);
    ExpectEncodeFault(kFaultAccess);
    EXPECT_THAT(After(Before), IsEmpty());
}

TEST_F(NvencEncode, ANeutralEncoderIsAFault)
{
    ExpectEncodeFault(kFaultArithmetic); // its key interval is 0
    Started();
    EXPECT_EQ(Encoder.Reset(), 1);
    ExpectEncodeFault(kFaultArithmetic);
}

// ---- What the driver does not do
// -------------------------------------------------------------------------------------

TEST_F(NvencEncode, AnInputThatCannotBeLockedOrUnlockedFailsThePicture)
{
    for (const char* pOperation : {"nvEncLockInputBuffer", "nvEncUnlockInputBuffer"}) {
        DriverReset();
        const size_t Before = Started();
        Script.Answer(pOperation, 8, 1);
        Log.Clear();
        ExpectFailure(Encode(0), 8);
        EXPECT_THAT(Logged(), ElementsAre(Assertion("NvHWEncoder", "0"), NeedsSwitch(8)));
        EXPECT_EQ(Script.Calls("nvEncEncodePicture"), 0); // not even an end
        EXPECT_EQ(After(Before).back().substr(0, std::string(pOperation).size()), pOperation);
        EXPECT_EQ(Encode(0).Result, 1); // with the other buffer, and both are returned
        EXPECT_EQ(Encode(1).Result, 1);
        EXPECT_EQ(Encode(2).Result, 1);
        Encoder.Reset();
        EXPECT_EQ(Script.Live(), 0);
    }
}

// The oldest pending buffer is read for nobody and used.
TEST_F(NvencEncode, WithAllBuffersPendingTheOldestIsTakenBack)
{
    Started();
    Script.Answer("nvEncLockInputBuffer", 13, 1);
    Script.Answer("nvEncLockInputBuffer", 13, 2);
    ExpectFailure(Encode(0), 13);
    ExpectFailure(Encode(0), 13);
    const size_t Before = Script.Trace().size();
    const Answer a = Encode(0);
    EXPECT_EQ(a.Result, 1);
    EXPECT_GT(a.Length, 0);
    const Names Later = After(Before);
    EXPECT_EQ(Later[0], "nvEncLockBitstream flags=0" + kV1 + " bitstream=1");
    EXPECT_EQ(Later[1], "nvEncUnlockBitstream bitstream=1");
    EXPECT_EQ(Later[2], "nvEncLockInputBuffer flags=0" + kV1 + " input=1");
    Encoder.Reset();
    EXPECT_THAT(Script.Misuses(), IsEmpty());
}

TEST_F(NvencEncode, AnySubmissionStatusButTwoFailsThePicture)
{
    for (const int Status : {1, 8, 11, 18, 20, 25}) {
        DriverReset();
        Log.Clear();
        const size_t Before = Started();
        Script.Answer("nvEncEncodePicture", Status, 1);
        ExpectFailure(Encode(0), Status);
        EXPECT_THAT(Logged(), ElementsAre(Assertion("NvHWEncoder", "0"), NeedsSwitch(Status)));
        // The end is submitted once, and the buffer returned.
        const Names Expected{"nvEncLockInputBuffer", "nvEncUnlockInputBuffer", "nvEncEncodePicture",
                             "nvEncEncodePicture",   "nvEncLockBitstream",     "nvEncUnlockBitstream"};
        const Names All = Script.Operations();
        EXPECT_EQ(Names(All.begin() + static_cast<ptrdiff_t>(Before), All.end()), Expected);
        Log.Clear();
        EXPECT_EQ(Encode(0).Result, 1);
        EXPECT_THAT(Script.Trace("nvEncEncodePicture flags=6").back(),
                    testing::HasSubstr("inputTimeStamp=0")); // not counted
        Encoder.Reset();
    }
}

TEST_F(NvencEncode, APictureThatIsKeptForLaterCountsAsEncoded)
{
    Started();
    Script.Answer("nvEncEncodePicture", 17, 1);
    const Answer a = Encode(0);
    EXPECT_EQ(a.Result, 1);
    EXPECT_EQ(a.Length, 0);
    EXPECT_THAT(Log.Lines(), IsEmpty());
    EXPECT_EQ(Encode(1).Result, 1);
    EXPECT_THAT(Script.Trace("nvEncEncodePicture flags=0").back(), testing::HasSubstr("inputTimeStamp=1"));
}

TEST_F(NvencEncode, AnOutputThatCannotBeReadCountsAsEncoded)
{
    Started();
    Script.Answer("nvEncLockBitstream", 13, 1);
    const Answer a = Encode(0);
    EXPECT_EQ(a.Result, 1);
    EXPECT_EQ(a.Length, -9); // as it was
    EXPECT_EQ(a.Type, 2);
    EXPECT_EQ(Console(), "NvHWEncoder line #: lock bitstream function failed \n");
    EXPECT_THAT(Logged(), ElementsAre(Assertion("NvHWEncoder", "0")));
    EXPECT_EQ(Script.Calls("nvEncUnlockBitstream"), 1); // of the second lock alone
    EXPECT_EQ(Encode(1).Type, 2);                       // the next in count
}

TEST_F(NvencEncode, AnOutputThatIsNotGivenBackCountsAsEncoded)
{
    Started();
    Script.Set("nvEncUnlockBitstream.status", 20, 0);
    const Answer a = Encode(0);
    EXPECT_EQ(a.Result, 1);
    EXPECT_GT(a.Length, 0);
    EXPECT_EQ(a.Type, 1);
    EXPECT_THAT(Logged(), ElementsAre(Assertion("NvHWEncoder", "0")));
}

TEST_F(NvencEncode, AnEndThatIsRefusedIsReportedOnly)
{
    Started();
    Script.Answer("nvEncEncodePicture", 20, 2); // on the buffer's event
    EXPECT_EQ(Encode(0).Result, 1);
    EXPECT_THAT(Logged(), ElementsAre(Assertion("NvHWEncoder", "0")));
    Log.Clear();
    Script.Answer("nvEncEncodePicture", 20, 6); // on the end's: the buffer stays pending
    EXPECT_EQ(Encode(1).Result, 1);
    EXPECT_THAT(Logged(), ElementsAre(Assertion("NvHWEncoder", "0"), Assertion("H264nvEnc", "0")));
    const size_t Before = Script.Trace().size();
    EXPECT_EQ(Encode(2).Result, 1); // and is returned with the next
    EXPECT_THAT(Script.Operations()[Before + 7], "nvEncLockBitstream");
    EXPECT_THAT(After(Before), testing::SizeIs(11));
}

TEST_F(NvencEncode, PictureTypesBecomeTheClients)
{
    Started();
    for (const int Type : {0, 1, 2, 3, 4, 5, 6, 7, 254, 255}) {
        Script.Set("nvenc.type", Type);
        const Answer a = Encode(0);
        EXPECT_EQ(a.Result, 1);
        EXPECT_EQ(a.Type, Type == 3 ? 1 : 2) << Type;
    }
    Script.Set("nvenc.type", 0x7FFFFFFF);
    EXPECT_EQ(Encode(0).Type, 2);
}

TEST_F(NvencEncode, AnOutputAsLongAsTheRoomIsTakenAndNoLongerOne)
{
    const auto Longest = static_cast<int32_t>(AccessUnitRoom(64, 48));
    for (const int64_t Told : {int64_t{Longest} + 1, int64_t{0x200000}, int64_t{0x7FFFFFFF}, int64_t{0xFFFFFFFF}}) {
        DriverReset();
        Started();
        Script.Set("nvenc.size", Told);
        Bytes Unit = Room(Size, 0x5A);
        int32_t Length = 7, Type = 7;
        const auto Run = [&] { return Encoder.Encode(Picture(Size, 0).data(), Unit.data(), &Length, 0, &Type); };
        EXPECT_EQ(Captured(Run), 0);
        EXPECT_EQ(Length, -1);
        EXPECT_EQ(Type, -1);
        EXPECT_EQ(Logged().back(), NeedsSwitch(14));
        EXPECT_EQ(Unit, Room(Size, 0x5A));
        EXPECT_EQ(Script.Calls("nvEncUnlockBitstream"), 2);
        EXPECT_EQ(Script.Calls("nvEncEncodePicture"), 3); // both ends too
        Log.Clear();
        Script.Set("nvenc.size", Longest);
        EXPECT_EQ(Encode(0).Length, Longest);
        Script.Set("nvenc.size", 0);
        EXPECT_EQ(Encode(1).Length, 0);
        Script.Set("nvenc.size", 3);
        EXPECT_EQ(Encode(1).Length, 3);
        EXPECT_THAT(Log.Lines(), IsEmpty());
        Encoder.Reset();
    }
}

TEST_F(NvencEncode, OutputsThatTheDriverLeavesUnwritten)
{
    Started();
    Script.Set("nvenc.output", 0);
    const Answer a = Encode(0);
    EXPECT_EQ(a.Result, 1);
    EXPECT_EQ(a.Length, 0);
    EXPECT_EQ(a.Type, 2);
    Script.Set("nvenc.output", 1);
    Script.Set("nvenc.bytes", 0); // a size without an address
    ExpectEncodeFault(kFaultAccess);
    Script.Set("nvenc.bytes", 1);
    Script.Set("nvenc.lock", 0); // no memory for the picture
    ExpectEncodeFault(kFaultAccess);
    Encoder.Reset();
    EXPECT_EQ(Script.Live(), 0);
}

// ---- Events ---------------------------------------------------------------------------------------------------------

TEST_F(NvencEncode, TheEndIsWaitedForHalfASecondAndNobodyMinds)
{
    Started(true);
    Script.Set("nvenc.signal.end", 0);
    const Answer a = Encode(0);
    EXPECT_EQ(a.Result, 1);
    EXPECT_EQ(a.Type, 1);
    EXPECT_GT(a.Length, 0);
    EXPECT_THAT(Logged(), ElementsAre(Assertion("H264nvEnc", "0")));
    Log.Clear();
    Script.Set("nvenc.signal.end", 1);
    EXPECT_EQ(Encode(1).Result, 1);
    EXPECT_THAT(Log.Lines(), IsEmpty());
}

TEST_F(NvencEncode, AnEndThatIsLateIsTakenForTheNext)
{
    Started(true);
    Script.Set("nvenc.signal.end", 2, 1);
    EXPECT_EQ(Encode(0).Result, 1);
    EXPECT_THAT(Logged(), ElementsAre(Assertion("H264nvEnc", "0")));
    Log.Clear();
    EXPECT_EQ(Encode(1).Result, 1);
    EXPECT_EQ(Encode(2).Result, 1);
    EXPECT_THAT(Log.Lines(), IsEmpty());
    Encoder.Reset();
    EXPECT_EQ(Script.Live(), 0);
}

// A wait for a picture has no limit.
CHILD_BODY(EncodeWithoutAnEvent)
{
    DriverScript Script;
    const DriverLibraries Libraries{platform::kCudaLibrary, platform::kNvencLibrary};
    Script.Set("nvenc.caps.30", 1);
    if (Argument == "refused")
        Script.Answer("nvEncEncodePicture", 20, 1);
    else
        Script.Set(Argument.c_str(), 0);
    CH264nvEnc Encoder(1);
    if (!Encoder.InitEncoder(64, 48, 15, 75, 500)) return 2;
    Bytes Unit = Room({64, 48});
    int32_t Length;
    Encoder.Encode(Picture({64, 48}, 0).data(), Unit.data(), &Length, 0, nullptr);
    return 3;
}

TEST(NvencWithoutEvents, ThePictureIsWaitedForWithoutALimit)
{
    for (const char* pMissing : {"nvenc.signal.picture", "nvenc.signal.pair", "refused"}) {
        const ChildResult Child = RunChild("EncodeWithoutAnEvent", pMissing, 1500);
        EXPECT_TRUE(Child.bTimedOut) << pMissing << " " << Child.Code;
    }
    EXPECT_EQ(RunChild("EncodeWithoutAnEvent", "nothing", 60000).Code, 3);
}
