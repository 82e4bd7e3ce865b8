// Access units through the CUVID decoder: what reaches the driver, what reaches the client, and every way in which a
// call fails.
#include "NVIDIA/FrameQueue.h"
#include "NVIDIA/H264nvDec.h"
#include "front/driver_frame.h"
#include "tests/NVIDIA/cuvid_fixture.h"
#include "tests/support/ffmpeg_oracle.h"
#include "tests/support/system.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/whole_files.h"

#include <algorithm>
#include <cstdio>
#include <memory>

using namespace cuvid_test;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr int32_t kWidth = 64, kHeight = 48;
const std::string kLine = "qvlx - CH264nvDec::";

const std::vector<Bytes>& Units()
{
    static const std::vector<Bytes> s_Units = CodedScene(kWidth, kHeight, 6);
    return s_Units;
}

// With a view of the queue.
class OpenDecoder : public CH264nvDec
{
public:
    using CH264nvDec::CH264nvDec;
    using CH264nvDec::m_pFrameQueue;
    size_t InUse() const
    {
        size_t Count = 0;
        for (int i = 0; i < FrameQueue::kCapacity; ++i) Count += m_pFrameQueue->isInUse(i) ? 1 : 0;
        return Count;
    }
};

class DecoderPictures : public WithDrivers
{
protected:
    void SetUp() override
    {
        Units();                            // made outside the calls that are looked at
        testing::internal::CaptureStdout(); // the creation flags of every decoder
        Open(kWidth, kHeight);
    }
    void TearDown() override
    {
        m_Decoder.Reset();
        EXPECT_EQ(m_Script.Live(), 0);
        const std::string Printed = testing::internal::GetCapturedStdout();
        if (HasFailure()) std::printf("%s", Printed.c_str()); // what gtest says of it is in there
        WithDrivers::TearDown();
    }
    void Open(int32_t Width, int32_t Height)
    {
        ASSERT_EQ(m_Decoder.InitDecoder(Width, Height), 1);
        m_Room.assign(I420Bytes(Width, Height), kFill);
        m_Seen = m_Script.Trace().size();
    }
    Answer Decode(const Bytes& Unit)
    {
        int32_t Type = kUnwritten;
        const int32_t bOk = m_Decoder.Decode(Unit.data(), static_cast<int32_t>(Unit.size()), m_Room.data(), &Type);
        return {bOk, Type};
    }
    /// The calls since this or Open() was called last.
    std::vector<std::string> NewCalls()
    {
        std::vector<std::string> All = m_Script.Trace();
        All.erase(All.begin(), All.begin() + static_cast<ptrdiff_t>(m_Seen));
        m_Seen += All.size();
        return All;
    }
    std::vector<LogLine> NewLines()
    {
        const std::vector<LogLine> Lines = m_Log.Lines();
        m_Log.Clear();
        return Lines;
    }
    bool RoomIsUntouched() const { return m_Room == Bytes(m_Room.size(), kFill); }
    /// Decodes all; every unit gives its picture, equal to that of the list.
    void ExpectPictures(const std::vector<Bytes>& Stream, const std::vector<Bytes>& Pictures)
    {
        ASSERT_EQ(Stream.size(), Pictures.size());
        for (size_t i = 0; i < Stream.size(); ++i) {
            ASSERT_EQ(Decode(Stream[i]), kPicture) << i;
            ASSERT_EQ(m_Room, Pictures[i]) << i;
        }
    }

    const std::unique_ptr<OpenDecoder> m_pDecoder = std::make_unique<OpenDecoder>(1);
    OpenDecoder& m_Decoder = *m_pDecoder;
    Bytes m_Room;
    size_t m_Seen = 0;
};

} // namespace

// ---- Arguments -------------------------------------------------------------------------------------------------

TEST_F(DecoderPictures, NullBuffersAreAssertedAndTouchNothing)
{
    int32_t Type = kUnwritten;
    EXPECT_EQ(m_Decoder.Decode(nullptr, 4, m_Room.data(), &Type), 0);
    EXPECT_EQ(m_Decoder.Decode(Units()[0].data(), 4, nullptr, &Type), 0);
    EXPECT_EQ(m_Decoder.Decode(nullptr, 4, nullptr, &Type), 0); // the first of the two
    EXPECT_EQ(Type, kUnwritten);
    EXPECT_THAT(NewCalls(), IsEmpty());
    const std::vector<LogLine> Lines = NewLines();
    ASSERT_EQ(Lines.size(), 3u);
    for (const LogLine& Line : Lines) {
        EXPECT_EQ(Line.Level, kLogError);
        EXPECT_EQ(Line.Text.find("Assert failed: file=H264nvDec line="), 0u);
    }
    EXPECT_TRUE(Lines[0].Text.ends_with(" expr=InBuf"));
    EXPECT_TRUE(Lines[1].Text.ends_with(" expr=OutBuf"));
    EXPECT_TRUE(Lines[2].Text.ends_with(" expr=InBuf"));
}

TEST_F(DecoderPictures, WithoutAnInitEveryCallFails)
{
    m_Decoder.Reset();
    NewCalls();
    EXPECT_EQ(Decode(Units()[0]), kFailed);
    EXPECT_EQ(m_Decoder.Decode(Units()[0].data(), 4, m_Room.data(), nullptr), 0);
    EXPECT_THAT(NewCalls(), IsEmpty());
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(DecoderPictures, TheFrameTypeMayBeNull)
{
    const auto Size = static_cast<int32_t>(Units()[0].size());
    EXPECT_EQ(m_Decoder.Decode(Units()[0].data(), Size, m_Room.data(), nullptr), 1);
    EXPECT_FALSE(RoomIsUntouched());
    m_Script.Answer("cuvidParseVideoData", 700);
    EXPECT_EQ(m_Decoder.Decode(Units()[0].data(), Size, m_Room.data(), nullptr), 0);
}

TEST_F(DecoderPictures, ALengthIsPassedDownAsItStandsAndNoneBelowZero)
{
    m_Script.Answer("cuvidParseVideoData", 0);
    for (const int32_t Length : {0, 1, INT32_MAX, -1, INT32_MIN})
        m_Decoder.Decode(m_Room.data(), Length, m_Room.data(), nullptr);
    EXPECT_THAT(m_Script.Trace("cuvidParseVideoData "),
                ElementsAre("cuvidParseVideoData flags=8 payload_size=0", "cuvidParseVideoData flags=8 payload_size=1",
                            "cuvidParseVideoData flags=8 payload_size=2147483647",
                            "cuvidParseVideoData flags=8 payload_size=0",
                            "cuvidParseVideoData flags=8 payload_size=0"));
}

// ---- The calls of an access unit -------------------------------------------------------------------------------

TEST_F(DecoderPictures, TheFirstAccessUnitMakesADecoderAndABuffer)
{
    EXPECT_EQ(Decode(Units()[0]), kPicture);
    const std::string Size = std::to_string(Units()[0].size());
    EXPECT_THAT(
        NewCalls(),
        ElementsAre(
            "cuCtxPushCurrent_v2", "cuvidParseVideoData flags=8 payload_size=" + Size,
            "cuvidCreateDecoder ulWidth=64 ulHeight=48 ulNumDecodeSurfaces=20 CodecType=4 ChromaFormat=1 "
            "ulCreationFlags=4 bitDepthMinus8=0 left=0 top=0 right=64 bottom=48 OutputFormat=0 "
            "DeinterlaceMode=2 ulTargetWidth=64 ulTargetHeight=48 ulNumOutputSurfaces=2",
            "sequence callback result=1", "cuvidDecodePicture CurrPicIdx=0", "decode callback result=1",
            "display callback result=1", "cuCtxPopCurrent_v2 wants=0", "cuvidCtxLock reserved=0", "cuCtxPushCurrent_v2",
            std::string(kMap) + " index=0 progressive_frame=1 second_field=0 top_field_first=0 unpaired_field=0",
            "cuMemAllocHost_v2 bytes=18432", "cuMemcpyDtoH_v2 bytes=18432", kUnmap, "cuCtxPopCurrent_v2 wants=0",
            "cuvidCtxUnlock reserved=0"));
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(DecoderPictures, ALaterOneAllocatesNothing)
{
    Decode(Units()[0]);
    NewCalls();
    EXPECT_EQ(Decode(Units()[1]), kPicture);
    std::vector<std::string> Calls = NewCalls();
    for (std::string& Call : Calls) Call = Call.substr(0, Call.find(' '));
    EXPECT_THAT(Calls, ElementsAre("cuCtxPushCurrent_v2", "cuvidParseVideoData", "cuvidDecodePicture", "decode",
                                   "display", "cuCtxPopCurrent_v2", "cuvidCtxLock", "cuCtxPushCurrent_v2", kMap,
                                   "cuMemcpyDtoH_v2", kUnmap, "cuCtxPopCurrent_v2", "cuvidCtxUnlock"));
}

TEST_F(DecoderPictures, TheFieldsOfAPictureAreThoseOfItsDisplay)
{
    struct Row {
        int32_t Progressive, TopFirst, Repeat;
        const char* pFields;
    };
    static constexpr Row kRows[] = {
        {1, 0, 0, "progressive_frame=1 second_field=0 top_field_first=0 unpaired_field=0"},
        {0, 1, 1, "progressive_frame=0 second_field=0 top_field_first=1 unpaired_field=0"},
        {0, 0, 4, "progressive_frame=0 second_field=0 top_field_first=0 unpaired_field=0"},
        {0, 1, -1, "progressive_frame=0 second_field=0 top_field_first=1 unpaired_field=1"},
        {5, 7, -2, "progressive_frame=5 second_field=0 top_field_first=7 unpaired_field=1"}};
    size_t i = 0;
    for (const Row& r : kRows) {
        m_Script.Set("display.progressive", r.Progressive);
        m_Script.Set("display.top_first", r.TopFirst);
        m_Script.Set("display.repeat", r.Repeat);
        EXPECT_EQ(Decode(Units()[i]), kPicture);
        EXPECT_EQ(m_Script.Trace(std::string(kMap) + " ").back(),
                  std::string(kMap) + " index=" + std::to_string(i) + " " + r.pFields);
        ++i;
    }
}

TEST_F(DecoderPictures, WithoutAContextThePictureIsTriedAllTheSame)
{
    m_Script.Answer("cuCtxPushCurrent_v2", 201, m_Script.Calls("cuCtxPushCurrent_v2") + 1);
    EXPECT_EQ(Decode(Units()[0]), kFailed); // this driver's decoder needs one
    EXPECT_EQ(NewLines(), ErrorLines({"qvlx - CuContextAutoPushPop::CuContextAutoPushPop() cuCtxPushCurrent error=201",
                                      kLine + "HandleVideoSequence() error",
                                      kLine + "PutDataToDecode() cuvidParseVideoData error=1"}));
    m_Misuses = {"cuvidCreateDecoder without a context"};
}

// ---- Failures --------------------------------------------------------------------------------------------------

TEST_F(DecoderPictures, EveryFaultOfACallIsToldAndFailsIt)
{
    struct Row {
        const char* pCall;
        int64_t Status;
        std::vector<std::string> Lines;
        bool bMapped; // and unmapped again
    };
    const Row Rows[] = {{"cuvidParseVideoData", 400, {"PutDataToDecode() cuvidParseVideoData error=400"}, false},
                        {"cuvidCreateDecoder",
                         2,
                         {"HandleVideoSequence() error", "PutDataToDecode() cuvidParseVideoData error=1"},
                         false},
                        {"cuvidDecodePicture",
                         700,
                         {"HandlePictureDecode() decodePicture error", "PutDataToDecode() cuvidParseVideoData error=1"},
                         false},
                        {kMap, 205, {"GetDecodedFrame() mapFrame error=205"}, false},
                        {"cuMemAllocHost_v2", 2, {"GetDecodedFrame() cuMemAllocHost error=2"}, true},
                        {"cuMemcpyDtoH_v2", 719, {"GetDecodedFrame() cuMemcpyDtoH error=719"}, true}};
    for (const Row& r : Rows) {
        SCOPED_TRACE(r.pCall);
        Open(kWidth, kHeight);
        NewLines();
        m_Script.Answer(r.pCall, r.Status, m_Script.Calls(r.pCall) + 1);
        EXPECT_EQ(Decode(Units()[0]), kFailed);
        EXPECT_TRUE(RoomIsUntouched());
        std::vector<LogLine> Expected;
        for (const std::string& Line : r.Lines) Expected.push_back({kLogError, kLine + Line});
        EXPECT_EQ(NewLines(), Expected);
        const std::vector<std::string> Calls = NewCalls();
        EXPECT_EQ(std::count(Calls.begin(), Calls.end(), kUnmap), r.bMapped ? 1 : 0);
        EXPECT_EQ(m_Script.Live("frame"), 0);
        // A picture that the parser shows although a callback failed waits for the next call.
        EXPECT_EQ(m_Decoder.InUse(), r.Lines.size() - 1);
        EXPECT_EQ(DriverCurrent("CUcontext"), nullptr);
    }
}

TEST_F(DecoderPictures, AnOlderParserGoesOnWhenACallbackFails)
{
    m_Script.Set("parser.old", 1);
    m_Script.Answer("cuvidCreateDecoder", 2);
    EXPECT_EQ(Decode(Units()[0]), kFailed);
    EXPECT_EQ(NewLines(),
              ErrorLines({kLine + "HandleVideoSequence() error", kLine + "PutDataToDecode() m_bCuHasError=1"}));
    EXPECT_EQ(m_Script.Calls("cuvidDecodePicture"), 0); // the decode callback refuses at once
    EXPECT_THAT(m_Script.Trace("decode callback "), ElementsAre("decode callback result=0"));
}

TEST_F(DecoderPictures, AFailedPictureOfAnOlderParserFailsItsCallAlone)
{
    m_Script.Set("parser.old", 1);
    m_Script.Answer("cuvidDecodePicture", 700, 1);
    EXPECT_EQ(Decode(Units()[0]), kFailed);
    EXPECT_EQ(NewLines(), ErrorLines({kLine + "HandlePictureDecode() decodePicture error",
                                      kLine + "PutDataToDecode() m_bCuHasError=1"}));
    // Shown all the same, and still in the queue: the next call brings it.
    EXPECT_EQ(Decode(Units()[1]), kPicture);
    EXPECT_EQ(m_Room, SoftwarePictures(Units(), kWidth, kHeight)[0]);
}

TEST_F(DecoderPictures, ADecoderThatCouldNotBeMadeStaysForItsFormat)
{
    m_Script.Set("parser.old", 1);
    m_Script.Set("sequence.each", 1);
    m_Script.Answer("cuvidCreateDecoder", 2, 1);
    EXPECT_EQ(Decode(Units()[0]), kFailed);
    NewLines();
    EXPECT_EQ(Decode(Units()[1]), kFailed);
    EXPECT_EQ(m_Script.Calls("cuvidCreateDecoder"), 1);
    EXPECT_EQ(NewLines(), ErrorLines({kLine + "HandlePictureDecode() decodePicture error",
                                      kLine + "PutDataToDecode() m_bCuHasError=1"}));
    m_Misuses = {"no decoder"};
}

TEST_F(DecoderPictures, AfterAFailureTheNextCallTriesAgain)
{
    const std::vector<Bytes> Expected = SoftwarePictures(Units(), kWidth, kHeight);
    m_Script.Answer("cuMemcpyDtoH_v2", 719, 2);
    EXPECT_EQ(Decode(Units()[0]), kPicture);
    EXPECT_EQ(Decode(Units()[1]), kFailed);
    for (size_t i = 2; i < Units().size(); ++i) {
        EXPECT_EQ(Decode(Units()[i]), kPicture);
        EXPECT_EQ(m_Room, Expected[i]);
    }
}

TEST_F(DecoderPictures, AMapWithoutAResultFails)
{
    m_Script.Set("map.unwritten", 1);
    EXPECT_EQ(Decode(Units()[0]), kFailed);
    EXPECT_EQ(NewLines(), ErrorLines({kLine + "GetDecodedFrame() mapFrame error=1"}));
    EXPECT_EQ(m_Script.Calls(kUnmap), 0);
}

TEST_F(DecoderPictures, APitchOfZeroFailsAndThePictureIsUnmapped)
{
    m_Script.Set("map.pitch", 0);
    EXPECT_EQ(Decode(Units()[0]), kFailed);
    EXPECT_EQ(NewLines(), ErrorLines({kLine + "GetDecodedFrame() mapFrame error=1"}));
    EXPECT_EQ(m_Script.Calls(kUnmap), 1);
}

TEST_F(DecoderPictures, APitchBelowTheWidthFails)
{
    m_Script.Set("map.pitch", 63);
    EXPECT_EQ(Decode(Units()[0]), kFailed);
    EXPECT_EQ(NewLines(), ErrorLines({kLine + "GetDecodedFrame() width=64 height=48 pitch=63"}));
    EXPECT_EQ(m_Script.Calls(kUnmap), 1);
    EXPECT_EQ(m_Script.Calls("cuMemcpyDtoH_v2"), 0);
}

TEST_F(DecoderPictures, AnyPitchFromTheWidthOnWillDo)
{
    const std::vector<Bytes> Expected = SoftwarePictures(Units(), kWidth, kHeight);
    m_Script.Set("map.pitch", 64, 64);
    EXPECT_EQ(Decode(Units()[0]), kPicture);
    EXPECT_EQ(m_Room, Expected[0]);
    EXPECT_EQ(m_Script.Trace("cuMemAllocHost_v2 ").back(), "cuMemAllocHost_v2 bytes=4608");
    NewLines();
    m_Script.Set("map.pitch", 65); // more than the buffer was made for
    EXPECT_EQ(Decode(Units()[1]), kFailed);
    EXPECT_EQ(NewLines(), ErrorLines({kLine + "GetDecodedFrame() bytes=4680 hostBytes=4608"}));
    Open(kWidth, kHeight);
    EXPECT_EQ(Decode(Units()[0]), kPicture);
    EXPECT_EQ(m_Room, Expected[0]);
}

TEST_F(DecoderPictures, ATargetWithoutSamplesFails)
{
    m_Script.Set("map.pitch", 64);
    m_Script.Set("format.right", -8, 64);
    EXPECT_EQ(Decode(Units()[0]), kFailed);
    EXPECT_EQ(NewLines(), ErrorLines({kLine + "GetDecodedFrame() width=-8 height=48 pitch=64"}));
    Open(kWidth, kHeight);
    m_Script.Set("format.bottom", 0);
    EXPECT_EQ(Decode(Units()[0]), kFailed);
    EXPECT_EQ(NewLines(), ErrorLines({kLine + "GetDecodedFrame() width=64 height=0 pitch=64"}));
    EXPECT_TRUE(RoomIsUntouched());
    EXPECT_EQ(m_Script.Calls("cuMemcpyDtoH_v2"), 0);
}

TEST_F(DecoderPictures, TenBitsDecodeAndAreNotWritten)
{
    m_Script.Set("format.depth", 2);
    EXPECT_EQ(Decode(Units()[0]), kFailed);
    EXPECT_EQ(NewLines(), ErrorLines({kLine + "GetDecodedFrame() BytesPerSample=2"}));
    EXPECT_TRUE(RoomIsUntouched());
    EXPECT_EQ(m_Script.Calls("cuvidDecodePicture"), 1);
    EXPECT_EQ(m_Script.Calls(kUnmap), 1);
    EXPECT_TRUE(m_Script.Trace("cuvidCreateDecoder ").back().find("OutputFormat=1") != std::string::npos);
}

TEST_F(DecoderPictures, APictureBeforeAnySequenceFails)
{
    m_Script.Set("decode.first", 1);
    EXPECT_EQ(Decode(Units()[0]), kFailed);
    EXPECT_EQ(NewLines(), ErrorLines({kLine + "HandlePictureDecode() decodePicture error",
                                      kLine + "PutDataToDecode() cuvidParseVideoData error=1"}));
}

TEST_F(DecoderPictures, APictureShownBeforeAnySequenceFails)
{
    m_Script.Set("parser.show_only", 1);
    EXPECT_EQ(Decode(Units()[0]), kFailed);
    EXPECT_EQ(NewLines(), ErrorLines({kLine + "GetDecodedFrame() m_pVideoDecoder==null"}));
    EXPECT_EQ(m_Decoder.InUse(), 0u);
}

// ---- What is shown ---------------------------------------------------------------------------------------------

TEST_F(DecoderPictures, ParameterSetsAloneMakeADecoderAndNoPicture)
{
    EXPECT_EQ(Decode(ParameterSets(Units()[0])), kNoPicture);
    EXPECT_EQ(m_Script.Live("decoder"), 1);
    EXPECT_TRUE(RoomIsUntouched());
    EXPECT_EQ(m_Script.Calls(kMap), 0);
    EXPECT_EQ(m_Script.Calls("cuvidCtxLock"), 0);
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(DecoderPictures, NothingShownIsNoFault)
{
    m_Script.Set("display.count", 0);
    EXPECT_EQ(Decode(Units()[0]), kNoPicture);
    EXPECT_TRUE(RoomIsUntouched());
}

TEST_F(DecoderPictures, SeveralShownLeaveOneACallInOrder)
{
    m_Script.Set("display.count", 3);
    EXPECT_EQ(Decode(Units()[0]), kPicture);
    EXPECT_EQ(m_Room[0], 1);
    m_Script.Set("display.count", 0);
    for (const int Mark : {2, 3}) {
        EXPECT_EQ(Decode(Units()[1]), kPicture);
        EXPECT_EQ(m_Room[0], Mark);
    }
    EXPECT_EQ(Decode(Units()[1]), kNoPicture);
}

TEST_F(DecoderPictures, ASurfaceIsInUseFromItsDisplayToItsCopy)
{
    m_Script.Set("display.count", 3);
    EXPECT_EQ(Decode(Units()[0]), kPicture);
    EXPECT_EQ(m_Decoder.InUse(), 2u);
    EXPECT_FALSE(m_Decoder.m_pFrameQueue->isInUse(0));
    m_Script.Set("display.count", 0);
    EXPECT_EQ(Decode(Units()[1]), kPicture);
    EXPECT_EQ(m_Decoder.InUse(), 1u);
}

TEST_F(DecoderPictures, ACloseTellsTheQueueFirst)
{
    m_Script.Fault("cuCtxPushCurrent_v2", kDriverAccess, m_Script.Calls("cuCtxPushCurrent_v2") + 1);
    EXPECT_FALSE(RunInDriverFrame("close", [&] { m_Decoder.Reset(); })); // cut short behind that
    EXPECT_TRUE(m_Decoder.m_pFrameQueue->isEndOfDecode());
}

TEST_F(DecoderPictures, OfMoreThanTwentyShownTheNewestTwentyLeave)
{
    for (const int Count : {20, 21, 25}) {
        SCOPED_TRACE(Count);
        Open(kWidth, kHeight);
        m_Script.Set("display.count", Count);
        Bytes Marks;
        EXPECT_EQ(Decode(Units()[0]), kPicture); // at once: nothing waits for room
        Marks.push_back(m_Room[0]);
        m_Script.Set("display.count", 0);
        while (Decode(ParameterSets(Units()[0])) == kPicture) Marks.push_back(m_Room[0]);
        ASSERT_EQ(Marks.size(), 20u);
        for (int i = 0; i < 20; ++i) EXPECT_EQ(Marks[static_cast<size_t>(i)], Count - 20 + 1 + i);
    }
}

TEST_F(DecoderPictures, AnIndexThatIsNoSurfaceFails)
{
    for (const int32_t Index : {-1, 20, 1 << 20, INT32_MIN, INT32_MAX}) {
        Open(kWidth, kHeight);
        m_Script.Set("display.index", Index);
        NewLines();
        EXPECT_EQ(Decode(Units()[0]), kFailed) << Index;
        EXPECT_EQ(NewLines(), ErrorLines({kLine + "HandlePictureDisplay() picture_index=" + std::to_string(Index),
                                          kLine + "PutDataToDecode() cuvidParseVideoData error=1"}));
    }
}

TEST_F(DecoderPictures, TheLastSurfaceIsOne)
{
    m_Script.Set("display.index", 19);
    EXPECT_EQ(Decode(Units()[0]), kFailed); // this driver has nothing on it
    EXPECT_EQ(NewLines(), ErrorLines({kLine + "GetDecodedFrame() mapFrame error=1"}));
}

TEST_F(DecoderPictures, ANullPictureIsTheEndOfAStream)
{
    m_Script.Set("display.null", 1);
    EXPECT_EQ(Decode(Units()[0]), kPicture);
    EXPECT_EQ(m_Script.Trace("display callback ").size(), 2u);
    EXPECT_THAT(m_Script.Trace("display callback "), Each("display callback result=1"));
}

// ---- Sequences -------------------------------------------------------------------------------------------------

TEST_F(DecoderPictures, AnUnchangedSequenceLeavesTheDecoder)
{
    m_Script.Set("sequence.each", 1);
    for (const Bytes& Unit : Units()) EXPECT_EQ(Decode(Unit), kPicture);
    EXPECT_EQ(m_Script.Trace("sequence callback ").size(), Units().size());
    EXPECT_EQ(m_Script.Calls("cuvidCreateDecoder"), 1);
}

TEST_F(DecoderPictures, WhatMakesASequenceAnother)
{
    struct Row {
        const char* pSetting;
        int32_t Usual, Value;
        bool bOther;
    };
    // Codec, chroma format and coded size; not the rectangle, and not the depth.
    static constexpr Row kRows[] = {
        {"format.codec", 4, 8, true},    {"format.chroma", 1, 2, true},    {"format.width", 64, 80, true},
        {"format.height", 48, 64, true}, {"format.left", 0, 8, false},     {"format.top", 0, 8, false},
        {"format.right", 64, 32, false}, {"format.bottom", 48, 32, false}, {"format.depth", 0, 2, false}};
    m_Script.Set("sequence.each", 1);
    for (const Row& r : kRows) {
        SCOPED_TRACE(r.pSetting);
        m_Script.Set(r.pSetting, r.Usual);
        Open(kWidth, kHeight);
        ASSERT_EQ(Decode(Units()[0]), kPicture);
        const int Made = m_Script.Calls("cuvidCreateDecoder"), Destroyed = m_Script.Calls("cuvidDestroyDecoder");
        m_Script.Set(r.pSetting, r.Value);
        Decode(Units()[1]);
        EXPECT_EQ(m_Script.Calls("cuvidCreateDecoder") - Made, r.bOther ? 1 : 0);
        EXPECT_EQ(m_Script.Calls("cuvidDestroyDecoder") - Destroyed, r.bOther ? 1 : 0);
        m_Script.Set(r.pSetting, r.Usual);
    }
}

TEST_F(DecoderPictures, ASmallerSizeReplacesTheDecoderAndKeepsTheBuffer)
{
    const std::vector<Bytes> Small = CodedScene(48, 32, 3, 2);
    ExpectPictures(Units(), SoftwarePictures(Units(), kWidth, kHeight));
    NewCalls();
    const std::vector<Bytes> Expected = SoftwarePictures(Small, 48, 32);
    for (size_t i = 0; i < Small.size(); ++i) {
        m_Room.assign(m_Room.size(), kFill);
        ASSERT_EQ(Decode(Small[i]), kPicture);
        EXPECT_EQ(Bytes(m_Room.begin(), m_Room.begin() + static_cast<ptrdiff_t>(Expected[i].size())), Expected[i]);
        for (size_t b = Expected[i].size(); b < m_Room.size(); ++b) ASSERT_EQ(m_Room[b], kFill);
    }
    EXPECT_EQ(m_Script.Calls("cuvidDestroyDecoder"), 1);
    EXPECT_EQ(m_Script.Calls("cuvidCreateDecoder"), 2);
    EXPECT_EQ(m_Script.Calls("cuMemAllocHost_v2"), 1);
    EXPECT_EQ(m_Script.Calls("cuMemFreeHost"), 0);
    ExpectPictures(Units(), SoftwarePictures(Units(), kWidth, kHeight)); // and back
}

TEST_F(DecoderPictures, ASizeAboveTheBuffersFails)
{
    Open(320, 240);
    const std::vector<Bytes> Large = CodedScene(320, 240, 2);
    ASSERT_EQ(Decode(Units()[0]), kPicture); // the buffer is of this size now
    NewLines();
    m_Room.assign(m_Room.size(), kFill);
    EXPECT_EQ(Decode(Large[0]), kFailed);
    EXPECT_TRUE(RoomIsUntouched());
    EXPECT_EQ(NewLines(), ErrorLines({kLine + "GetDecodedFrame() bytes=184320 hostBytes=18432"}));
    EXPECT_EQ(m_Script.Live("frame"), 0);
    Open(320, 240);
    ExpectPictures(Large, SoftwarePictures(Large, 320, 240));
}

TEST_F(DecoderPictures, APictureAboveTheClientsRoomFails)
{
    Open(48, 32);
    EXPECT_EQ(Decode(Units()[0]), kFailed);
    EXPECT_TRUE(RoomIsUntouched());
    EXPECT_EQ(NewLines(), ErrorLines({kLine + "GetDecodedFrame() width=64 height=48 iWidth=48 iHeight=32"}));
    EXPECT_EQ(m_Script.Live("frame"), 0);
    Open(48, 64); // other sides, the same bytes
    EXPECT_EQ(Decode(Units()[0]), kPicture);
    EXPECT_EQ(m_Room, SoftwarePictures({Units()[0]}, kWidth, kHeight)[0]);
}

// ---- Real streams ----------------------------------------------------------------------------------------------

TEST_F(DecoderPictures, OfOurEncoderAreTheSoftwareCodecs)
{
    constexpr int32_t kW = 320, kH = 176;
    Open(kW, kH);
    const std::vector<Bytes> Stream = CodedScene(kW, kH, 25, 3);
    ExpectPictures(Stream, SoftwarePictures(Stream, kW, kH));
}

TEST_F(DecoderPictures, ACropTakesEffect)
{
    constexpr int32_t kW = 90, kH = 54; // coded 96x64
    Open(kW, kH);
    const std::vector<Bytes> Stream = CodedScene(kW, kH, 4);
    ExpectPictures(Stream, SoftwarePictures(Stream, kW, kH));
    EXPECT_THAT(m_Script.Trace("cuvidCreateDecoder "),
                ElementsAre("cuvidCreateDecoder ulWidth=96 ulHeight=64 ulNumDecodeSurfaces=20 CodecType=4 "
                            "ChromaFormat=1 ulCreationFlags=4 bitDepthMinus8=0 left=0 top=0 right=90 bottom=54 "
                            "OutputFormat=0 DeinterlaceMode=2 ulTargetWidth=90 ulTargetHeight=54 "
                            "ulNumOutputSurfaces=2"));
}

namespace {

/// A stream of x264, in access units, and its pictures as ffmpeg decodes them.
struct ForeignStream {
    std::vector<Bytes> Units, Pictures;
};

ForeignStream X264Stream(int32_t Width, int32_t Height, int Count, const std::string& Options)
{
    const TemporaryFolder Folder;
    Bytes Raw, Picture;
    const CameraScene Scene({Width, Height}, 15, 5);
    for (int i = 0; i < Count; ++i) {
        Scene.Render(i, Picture);
        Raw.insert(Raw.end(), Picture.begin(), Picture.end());
    }
    test::WriteWholeFile(Folder.File("in.yuv"), Raw);
    const std::string Command = "x264 --quiet --threads 1 --aud --input-res " + std::to_string(Width) + "x" +
                                std::to_string(Height) + " " + Options + " -o " + Folder.File("out.264") + " " +
                                Folder.File("in.yuv");
    EXPECT_EQ(test_system::RunCommand(Command + " 2>/dev/null"), 0);
    const Bytes Stream = test::ReadWholeFile(Folder.File("out.264"));
    ForeignStream Made;
    Made.Units = SplitAtDelimiters(Stream);
    const ffmpeg_oracle::Decoded Decoded = ffmpeg_oracle::Decode(Stream);
    EXPECT_EQ(Decoded.Messages, "");
    for (size_t i = 0; i + I420Bytes(Width, Height) <= Decoded.Pictures.size(); i += I420Bytes(Width, Height))
        Made.Pictures.emplace_back(Decoded.Pictures.begin() + static_cast<ptrdiff_t>(i),
                                   Decoded.Pictures.begin() + static_cast<ptrdiff_t>(i + I420Bytes(Width, Height)));
    return Made;
}

} // namespace

TEST_F(DecoderPictures, OfX264AreFfmpegs)
{
    ASSERT_TRUE(ffmpeg_oracle::IsInstalled());
    constexpr int32_t kW = 174, kH = 146; // cropped
    Open(kW, kH);
    const ForeignStream Stream = X264Stream(kW, kH, 20, "--bframes 0 --keyint 8");
    ASSERT_EQ(Stream.Pictures.size(), 20u);
    ExpectPictures(Stream.Units, Stream.Pictures);
}

TEST_F(DecoderPictures, OfTenBitsAreNotWritten)
{
    Open(176, 144);
    const ForeignStream Stream = X264Stream(176, 144, 3, "--output-depth 10 --profile high10 --bframes 0");
    ASSERT_EQ(Stream.Units.size(), 3u);
    for (const Bytes& Unit : Stream.Units) {
        EXPECT_EQ(Decode(Unit), kFailed);
        EXPECT_EQ(NewLines(), ErrorLines({kLine + "GetDecodedFrame() BytesPerSample=2"}));
    }
    EXPECT_TRUE(RoomIsUntouched());
    EXPECT_EQ(m_Script.Calls("cuvidDecodePicture"), 3);
}

TEST_F(DecoderPictures, OfAReorderedStreamLeaveInOrderNoneLost)
{
    ASSERT_TRUE(ffmpeg_oracle::IsInstalled());
    constexpr int32_t kW = 176, kH = 144;
    Open(kW, kH);
    const ForeignStream Stream = X264Stream(kW, kH, 24, "--bframes 3 --b-adapt 0 --b-pyramid none --keyint 12");
    ASSERT_EQ(Stream.Pictures.size(), 24u);
    m_Script.Set("parser.delay", 1);
    const Bytes Delimiter{0, 0, 0, 1, 9, 0xF0}; // brings what is held back
    size_t Given = 0;
    for (size_t i = 0; i < Stream.Units.size() + 8; ++i) {
        const Answer Now = Decode(i < Stream.Units.size() ? Stream.Units[i] : Delimiter);
        if (Now == kNoPicture) continue;
        ASSERT_EQ(Now, kPicture);
        ASSERT_LT(Given, Stream.Pictures.size());
        ASSERT_EQ(m_Room, Stream.Pictures[Given]) << Given;
        ++Given;
    }
    EXPECT_EQ(Given, Stream.Pictures.size());
}
