// Opening an encoder: every call of the drivers with every field, every failure with its words, and what stays open.
#include "tests/NVIDIA/nvenc_session.h"

#include "front/engines.h"
#include "tests/support/failing_allocation.h"

using namespace nvenc_session;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

constexpr char kH264[] = "6BC82762-4E63-4CA4-AA85-1E50F321F6BF";
constexpr char kDefaultPreset[] = "B2DFB705-4EBD-4C49-9B5F-24A777D3E587";

std::string Version(uint32_t Word) { return " version=" + std::to_string(Word); }
const std::string kV1 = Version(0x70010008);

const Names kCuda{"cuInit flags=0",
                  "cuDriverGetVersion",
                  "cuDeviceGetCount",
                  "cuDeviceGet ordinal=0",
                  "cuDeviceComputeCapability device=0",
                  "cuCtxCreate_v2 flags=0 device=0",
                  "cuCtxPopCurrent_v2 wants=1"};
const Names kSession{"NvEncodeAPICreateInstance" + Version(0x70020008),
                     "nvEncOpenEncodeSessionEx deviceType=1 device=1 apiVersion=8" + kV1,
                     std::string("nvEncGetEncodePresetCount encodeGUID=") + kH264,
                     std::string("nvEncGetEncodePresetGUIDs encodeGUID=") + kH264 + " size=6",
                     "nvEncGetEncodeGUIDCount",
                     "nvEncGetEncodeGUIDs size=2",
                     std::string("nvEncGetEncodePresetConfig encodeGUID=") + kH264 + " presetGUID=" + kDefaultPreset +
                         " presetCfg.version=" + std::to_string(0xF0060008) + Version(0xF0040008),
                     std::string("nvEncGetEncodeCaps encodeGUID=") + kH264 + " capsToQuery=30" + kV1};
const std::string kInput = "nvEncCreateInputBuffer width=64 height=48 memoryHeap=2 bufferFmt=1" + kV1;
const std::string kBitstream = "nvEncCreateBitstreamBuffer size=2097152 memoryHeap=2" + kV1;

// "wN": a word of the settings, by its offset, that differs from the preset's: group of pictures 20, interval of P
// pictures 24, frame mode 32, vector precision 36; rate control 44, average 60, maximum 64, buffer 68, initial delay
// 72, flags 76 (the preset's 8 and the initial quantiser's 4), initial quantisers of P 104, B 108, I 112; of H.264 the
// flags 168, the preset's, IDR period 176, chroma format 360.
std::string Initialize(int bAsync)
{
    return std::string("nvEncInitializeEncoder encodeGUID=") + kH264 + " presetGUID=" + kDefaultPreset +
           " encodeWidth=64 encodeHeight=48 darWidth=64 darHeight=48 frameRateNum=15 frameRateDen=1 "
           "enableEncodeAsync=" +
           std::to_string(bAsync) + " enablePTD=1 flags=0 maxEncodeWidth=64 maxEncodeHeight=48" + Version(0xF0050008) +
           " config.version=" + std::to_string(0xF0060008) +
           " w020=4294967295 w024=1 w032=1 w036=3 w044=1 w060=500000 w064=0 w068=0 w072=0 w076=12 w104=28 w108=36 "
           "w112=22 w168=64 w176=4294967295 w360=1";
}

Names Joined(std::initializer_list<Names> Lists)
{
    Names All;
    for (const Names& List : Lists) All.insert(All.end(), List.begin(), List.end());
    return All;
}

struct NvencInit : NvencSession {
    // Whatever happened, a reset leaves nothing open and no handle was misused.
    void ExpectNothingLeft()
    {
        EXPECT_EQ(Captured([&] { return Encoder.Reset(); }), 1);
        EXPECT_EQ(Script.Live(), 0);
        EXPECT_THAT(Script.Misuses(), IsEmpty());
        EXPECT_EQ(Libraries.Held(platform::kNvencLibrary), 0);
    }
};

struct Exposed : CH264nvEnc {
    Exposed() : CH264nvEnc(1) {}
    using CH264nvEnc::CountBuffers;
    using CH264nvEnc::InitCuda;
    using CH264nvEnc::m_EncodeConfig;
};

} // namespace

TEST_F(NvencInit, CallsTheDriversInOrderWithEveryField)
{
    EXPECT_EQ(Init(), 1);
    EXPECT_THAT(Script.Trace(),
                ElementsAreArray(Joined({kCuda, kSession, {Initialize(0), kInput, kBitstream, kInput, kBitstream}})));
    EXPECT_EQ(Out, "");
    EXPECT_EQ(Err, "");
    EXPECT_THAT(Log.Lines(), IsEmpty());
    EXPECT_EQ(Libraries.Held(platform::kNvencLibrary), 1);
    ExpectNothingLeft();
}

TEST_F(NvencInit, AnAsynchronousEncoderHasAnEventForEachBufferAndOneForTheEnd)
{
    Script.Set("nvenc.caps.30", 1);
    EXPECT_EQ(Init(), 1);
    EXPECT_THAT(Script.Trace(), ElementsAreArray(Joined(
                                    {kCuda,
                                     kSession,
                                     {Initialize(1), kInput, kBitstream, "nvEncRegisterAsyncEvent" + kV1 + " event=1",
                                      kInput, kBitstream, "nvEncRegisterAsyncEvent" + kV1 + " event=2",
                                      "nvEncRegisterAsyncEvent" + kV1 + " event=3"}})));
    EXPECT_EQ(Script.Live("event"), 3);
    const size_t Before = Script.Trace().size();
    ExpectNothingLeft();
    EXPECT_THAT(After(Before),
                ElementsAre("nvEncDestroyInputBuffer input=1", "nvEncDestroyBitstreamBuffer bitstream=1",
                            "nvEncUnregisterAsyncEvent" + kV1 + " event=1", "nvEncDestroyInputBuffer input=2",
                            "nvEncDestroyBitstreamBuffer bitstream=2", "nvEncUnregisterAsyncEvent" + kV1 + " event=2",
                            "nvEncUnregisterAsyncEvent" + kV1 + " event=3", "nvEncDestroyEncoder", "cuCtxDestroy_v2"));
}

TEST_F(NvencInit, ResetTearsDownInOrderAndOnceOnly)
{
    EXPECT_EQ(Init(), 1);
    const size_t Before = Script.Trace().size();
    ExpectNothingLeft();
    EXPECT_THAT(After(Before), ElementsAre("nvEncDestroyInputBuffer input=1", "nvEncDestroyBitstreamBuffer bitstream=1",
                                           "nvEncDestroyInputBuffer input=2", "nvEncDestroyBitstreamBuffer bitstream=2",
                                           "nvEncDestroyEncoder", "cuCtxDestroy_v2"));
    const size_t Then = Script.Trace().size();
    EXPECT_EQ(Encoder.Reset(), 1);
    EXPECT_THAT(After(Then), IsEmpty());
}

TEST_F(NvencInit, ASecondStartTearsTheFirstDown)
{
    EXPECT_EQ(Init(), 1);
    const size_t Before = Script.Trace().size();
    Size = {80, 64};
    EXPECT_EQ(Init(), 1);
    EXPECT_EQ(Script.Live("encoder"), 1);
    EXPECT_EQ(Script.Live("CUcontext"), 1);
    EXPECT_EQ(Script.Live("input buffer"), 2);
    const Names Later = After(Before);
    EXPECT_EQ(Later[4], "nvEncDestroyEncoder");
    EXPECT_EQ(Later[6], "cuInit flags=0");
    EXPECT_EQ(Libraries.Held(platform::kCudaLibrary), 2); // never unloaded
    ExpectNothingLeft();
}

// ---- InitCuda -------------------------------------------------------------------------------------------------------

namespace {

struct CudaFailure {
    const char* pTitle;
    const char* pOperation; // null: by the settings
    int Status;
    const char* pSetting;
    int Value;
    const char* pLine; // told on the console
    bool bAsserts;
    bool bGoesOn; // the context stands all the same
};

constexpr CudaFailure kCudaFailures[] = {
    {"Start", "cuInit", 100, nullptr, 0, "cuInit error:0x64", true, false},
    {"Version", "cuDriverGetVersion", 3, nullptr, 0, "cuInit error:0x3", true, false},
    {"Count", "cuDeviceGetCount", 3, nullptr, 0, "cuDeviceGetCount error:0x3", true, false},
    {"NoDevice", nullptr, 0, "cuda.devices", 0, "cuDeviceGet error:0x65", false, false},
    {"Device", "cuDeviceGet", 999, nullptr, 0, "cuDeviceGet error:0x3e7", false, false},
    {"Capability", "cuDeviceComputeCapability", 1, nullptr, 0, "cuDeviceComputeCapability error:0x1", false, false},
    {"OldDevice", nullptr, 0, "cuda.major.0", 2, "GPU 0 does not have NVENC capabilities exiting", false, false},
    {"Context", "cuCtxCreate_v2", 2, nullptr, 0, "cuCtxCreate error:0x2", true, false},
    // The driver made the context and then answered a failure: it is used, and given back.
    {"LateContext", nullptr, 0, "cuCtxCreate_v2.status", 2, "cuCtxCreate error:0x2", true, true},
    {"Pop", "cuCtxPopCurrent_v2", 201, nullptr, 0, "cuCtxPopCurrent error:0xc9", true, true},
};

class NvencCudaFailure : public NvencInit, public testing::WithParamInterface<CudaFailure>
{
};

} // namespace

TEST_P(NvencCudaFailure, IsToldAndTheSessionIsOpenedAllTheSame)
{
    const CudaFailure& Row = GetParam();
    if (Row.pOperation) Script.Answer(Row.pOperation, Row.Status);
    if (Row.pSetting) Script.Set(Row.pSetting, Row.Value);
    EXPECT_EQ(Init(), Row.bGoesOn ? 1 : 0);
    EXPECT_EQ(Console(), std::string("H264nvEnc line #: ") + Row.pLine + "\n");
    Names Expected;
    if (Row.bAsserts) Expected.push_back(Assertion("H264nvEnc", "0"));
    if (!Row.bGoesOn) Expected.push_back(Assertion("NvHWEncoder", "0")); // no session without a context
    EXPECT_THAT(Logged(), ElementsAreArray(Expected));
    EXPECT_EQ(Script.Calls("nvEncOpenEncodeSessionEx"), 1);
    ExpectNothingLeft();
}
INSTANTIATE_TEST_SUITE_P(Rows, NvencCudaFailure, testing::ValuesIn(kCudaFailures),
                         [](const auto& Info) { return std::string(Info.param.pTitle); });

TEST_F(NvencInit, WithoutTheCudaDriverOpensASessionWithoutAContext)
{
    Libraries.Remove(platform::kCudaLibrary);
    EXPECT_EQ(Init(), 0);
    EXPECT_EQ(Out, std::string("LoadLibrary \"") + platform::kCudaLibrary + "\" failed!\n");
    EXPECT_EQ(Console(), "H264nvEnc line #: cuInit error:0x3e7\n");
    EXPECT_THAT(Script.Trace("nvEncOpen"),
                ElementsAre("nvEncOpenEncodeSessionEx deviceType=1 device=0 apiVersion=8" + kV1));
    ExpectNothingLeft();
}

TEST_F(NvencInit, DevicesAreChosenByNumber)
{
    Script.Set("cuda.devices", 2);
    for (const auto& [Number, Status] : {std::pair{0, 0}, {1, 0}, {2, 3}, {7, 3}, {-1, 0}, {-9, 0}}) {
        Exposed Own;
        const size_t Before = Script.Trace().size();
        EXPECT_EQ(Captured([&, n = Number] { return static_cast<int32_t>(Own.InitCuda(n)); }), Status) << Number;
        const std::string Line = "H264nvEnc line #: Invalid Device Id = " + std::to_string(Number) + "\n";
        EXPECT_EQ(Console(), Status ? Line : "");
        const Names Later = After(Before);
        if (Status == 0) {
            EXPECT_EQ(Later[3], "cuDeviceGet ordinal=" + std::to_string(std::max(Number, 0)));
        }
        EXPECT_EQ(Later.size(), Status ? 3u : 7u);
    }
    Script.Set("cuda.devices", 0); // any number passes to the driver
    Exposed Own;
    EXPECT_EQ(Captured([&] { return static_cast<int32_t>(Own.InitCuda(7)); }), 1);
    EXPECT_EQ(Console(), "H264nvEnc line #: cuDeviceGet error:0x65\n");
}

TEST_F(NvencInit, TheFirstCapabilityWithAnEncoderIs30)
{
    for (const auto& [Major, Minor, Result] : {std::tuple{2, 15, 0}, {3, 0, 1}, {2, 16, 1}, {9, 0, 1}}) {
        Script.Set("cuda.major.0", Major);
        Script.Set("cuda.minor.0", Minor);
        EXPECT_EQ(Init(), Result) << Major << "." << Minor;
    }
}

// ---- The session ----------------------------------------------------------------------------------------------------

namespace {

constexpr char kPresetLine[] = "NvHWEncoder line #: Unsupported preset guid (null)\n";

struct SessionFailure {
    const char* pOperation;
    int Call;
    int Asynchronous;
    const char* pConsole;
    int Result;
};

constexpr SessionFailure kSessionFailures[] = {
    {"NvEncodeAPICreateInstance", 1, 0, "", 0},
    {"nvEncOpenEncodeSessionEx", 1, 0, "", 0},
    {"nvEncGetEncodePresetCount", 1, 0, kPresetLine, 1}, // the default preset stands in
    {"nvEncGetEncodePresetGUIDs", 1, 0, kPresetLine, 1},
    {"nvEncGetEncodeGUIDCount", 1, 0, "NvHWEncoder line #: codec not supported \n", 0},
    {"nvEncGetEncodeGUIDs", 1, 0, "NvHWEncoder line #: codec not supported \n", 0},
    {"nvEncGetEncodePresetConfig", 1, 0, "NvHWEncoder line #: nvEncGetEncodePresetConfig returned failure", 0},
    {"nvEncGetEncodeCaps", 1, 1, "", 1}, // and is synchronous
    {"nvEncInitializeEncoder", 1, 0, "NvHWEncoder line #: Encode Session Initialization failed", 0},
    {"nvEncCreateInputBuffer", 1, 0, "", 0},
    {"nvEncCreateInputBuffer", 2, 1, "", 0},
    {"nvEncCreateBitstreamBuffer", 1, 0, "", 0},
    {"nvEncCreateBitstreamBuffer", 2, 1, "", 0},
    {"nvEncRegisterAsyncEvent", 1, 1, "", 0},
    {"nvEncRegisterAsyncEvent", 2, 1, "", 0},
    {"nvEncRegisterAsyncEvent", 3, 1, "", 0},
};

class NvencSessionFailure : public NvencInit, public testing::WithParamInterface<SessionFailure>
{
};

} // namespace

TEST_P(NvencSessionFailure, IsReportedAndLeavesTheRestForTeardown)
{
    const SessionFailure& Row = GetParam();
    for (const int Status : {1, 8, 15, 20}) {
        DriverReset();
        Log.Clear();
        Script.Answer(Row.pOperation, Status, Row.Call);
        Script.Set("nvenc.caps.30", Row.Asynchronous);
        EXPECT_EQ(Init(), Row.Result);
        EXPECT_EQ(Script.Calls(Row.pOperation), Row.Call + (Row.Result && Row.Call > 1));
        EXPECT_EQ(Console(), Row.pConsole);
        EXPECT_THAT(Logged(), ElementsAre(Assertion("NvHWEncoder", "0")));
        if (Row.Result == 0) {
            ExpectEncodeFault(platform::kFaultAccess); // without buffers
        }
        ExpectNothingLeft();
    }
}
INSTANTIATE_TEST_SUITE_P(Rows, NvencSessionFailure, testing::ValuesIn(kSessionFailures),
                         [](const auto& Info) { return Info.param.pOperation + std::to_string(Info.param.Call); });

TEST_F(NvencInit, WithoutTheLibraryOrItsEntryThereIsNoSession)
{
    Libraries.Remove(platform::kNvencLibrary);
    EXPECT_EQ(Init(), 0);
    EXPECT_THAT(Log.Lines(), IsEmpty());
    EXPECT_EQ(Err, "");
    ExpectNothingLeft();
    Libraries.Add(platform::kNvencLibrary);
    Libraries.Lack("NvEncodeAPICreateInstance");
    EXPECT_EQ(Init(), 0);
    EXPECT_THAT(Log.Lines(), IsEmpty());
    EXPECT_EQ(Script.Calls("NvEncodeAPICreateInstance"), 0);
    ExpectNothingLeft();
}

// A failure that is answered when the work is done: what was made is given back.
TEST_F(NvencInit, ALateFailureLosesNothing)
{
    for (const char* pOperation : {"nvEncOpenEncodeSessionEx", "nvEncInitializeEncoder"}) {
        DriverReset();
        Script.Set((std::string(pOperation) + ".status").c_str(), 20);
        EXPECT_EQ(Init(), 0);
        ExpectNothingLeft();
    }
}

TEST_F(NvencInit, ACodecThatIsNotListedIsTold)
{
    Script.Set("nvenc.h264", 0);
    EXPECT_EQ(Init(), 0);
    EXPECT_EQ(Console(), "NvHWEncoder line #: codec not supported \n");
    EXPECT_THAT(Log.Lines(), IsEmpty());
    ExpectNothingLeft();
}

TEST_F(NvencInit, ListsOfAnyLengthAreSurvived)
{
    const struct {
        const char* pSetting;
        int64_t Value;
        int Result;
        const char* pConsole;
    } Rows[] = {{"nvenc.codecs", 0, 0, "NvHWEncoder line #: codec not supported \n"},
                {"nvenc.codecs", 1, 0, "NvHWEncoder line #: codec not supported \n"},
                {"nvenc.codecs", 0xFFFFFFFF, 1, ""},
                {"nvenc.presets", 0, 1, kPresetLine},
                {"nvenc.presets", 5, 1, kPresetLine},
                {"nvenc.presets", 0xFFFFFFFF, 1, ""},
                {"nvenc.default", 0, 1, kPresetLine}};
    for (const auto& Row : Rows) {
        DriverReset();
        Script.Set(Row.pSetting, Row.Value);
        EXPECT_EQ(Init(), Row.Result) << Row.pSetting << " " << Row.Value;
        EXPECT_EQ(Console(), Row.pConsole);
        if (Row.Result) {
            EXPECT_THAT(Script.Trace("nvEncGetEncodePresetConfig"), ElementsAre(kSession[6]));
        }
        ExpectNothingLeft();
    }
}

// What is searched for is not there, and the length that is told is no end of the search.
TEST_F(NvencInit, ListsThatAreToldTooLongAreSearchedToTheirRoom)
{
    Script.Set("nvenc.h264", 0);
    Script.Set("nvenc.codecs", 0xFFFFFFFF);
    EXPECT_EQ(Init(), 0);
    EXPECT_EQ(Console(), "NvHWEncoder line #: codec not supported \n");
    Script.Set("nvenc.h264", 1);
    Script.Set("nvenc.default", 0);
    Script.Set("nvenc.presets", 0xFFFFFFFF);
    EXPECT_EQ(Init(), 1);
    EXPECT_EQ(Console(), kPresetLine);
    ExpectNothingLeft();
}

TEST_F(NvencInit, SizesDecideTheNumberOfBuffers)
{
    const struct {
        int Width, Height;
        uint32_t Buffers;
    } Rows[] = {{16, 16, 2},     {1280, 720, 2},    {1920, 1072, 2},   {1904, 1088, 2}, {1920, 1073, 1},
                {1920, 1080, 1}, {16 * 8159, 1, 2}, {16 * 8160, 1, 1}, {2032, 2048, 1}, {16 * 16383, 16, 1},
                {2048, 2048, 0}, {2048, 2033, 0},   {3840, 2160, 0}};
    for (const auto& Row : Rows) {
        Exposed Own;
        Own.m_EncodeConfig.maxWidth = Row.Width;
        Own.m_EncodeConfig.maxHeight = Row.Height;
        EXPECT_EQ(Own.CountBuffers(), Row.Buffers) << Row.Width << "x" << Row.Height;
    }
    for (const auto& [Wanted, Buffers] : {std::pair{FrameSize{1280, 720}, 2}, {{1920, 1080}, 1}, {{2048, 2048}, 0}}) {
        DriverReset();
        Size = Wanted;
        EXPECT_EQ(Init(), 1);
        EXPECT_EQ(Script.Calls("nvEncCreateInputBuffer"), Buffers);
        ExpectNothingLeft();
    }
}

TEST_F(NvencInit, SizesOfNothingAreRefused)
{
    for (const auto& [Width, Height] : {std::pair{0, 48}, {64, 0}, {0, 0}}) {
        DriverReset();
        EXPECT_EQ(Captured([&, w = Width, h = Height] { return Encoder.InitEncoder(w, h, 15, 75, 500); }), 0);
        EXPECT_EQ(Script.Calls("nvEncGetEncodeGUIDCount"), 0);
        ExpectNothingLeft();
    }
}

TEST_F(NvencInit, RatesWrapAtThirtyTwoBits)
{
    EXPECT_EQ(Captured([&] { return Encoder.InitEncoder(64, 48, 15, 75, 5000000); }), 1);
    EXPECT_THAT(Script.Trace("nvEncInitializeEncoder ")[0], testing::HasSubstr(" w060=705032704 "));
}

// ---- Teardown -------------------------------------------------------------------------------------------------------

TEST_F(NvencInit, TeardownGoesOnOverFailures)
{
    for (const char* pOperation : {"nvEncDestroyInputBuffer", "nvEncDestroyBitstreamBuffer",
                                   "nvEncUnregisterAsyncEvent", "nvEncDestroyEncoder"}) {
        DriverReset();
        Script.Set("nvenc.caps.30", 1);
        EXPECT_EQ(Init(), 1);
        Log.Clear();
        Script.Set((std::string(pOperation) + ".status").c_str(), 20);
        const size_t Before = Script.Trace().size();
        ExpectNothingLeft();
        EXPECT_EQ(After(Before).size(), 9u);
        const int Calls = Script.Calls(pOperation);
        EXPECT_THAT(Logged(), testing::SizeIs(Calls));
        EXPECT_THAT(Logged(), testing::Each(Assertion("NvHWEncoder", "0")));
        EXPECT_EQ(Err, "");
    }
}

TEST_F(NvencInit, AContextThatIsNotDestroyedIsTold)
{
    EXPECT_EQ(Init(), 1);
    Script.Set("cuCtxDestroy_v2.status", 4);
    EXPECT_EQ(Captured([&] { return Encoder.Reset(); }), 1);
    EXPECT_EQ(Console(), "H264nvEnc line #: cuCtxDestroy error:0x4\n");
    EXPECT_THAT(Log.Lines(), IsEmpty());
}

TEST_F(NvencInit, TheDestructorTearsDown)
{
    {
        CH264nvEnc Own(1);
        EXPECT_EQ(Captured([&] { return Own.InitEncoder(64, 48, 15, 75, 500); }), 1);
        EXPECT_EQ(Script.Live("encoder"), 1);
    }
    EXPECT_EQ(Script.Live(), 0);
}

// ---- SetBitrate -----------------------------------------------------------------------------------------------------

TEST_F(NvencInit, SetBitrateMakesEverythingAnew)
{
    EXPECT_EQ(Init(), 1);
    EXPECT_EQ(Encode(0).Type, 1);
    EXPECT_EQ(Encode(1).Type, 2);
    const size_t Before = Script.Trace().size();
    EXPECT_EQ(Captured([&] { return Encoder.SetBitrate(300); }), 1);
    const Names Later = After(Before);
    ASSERT_EQ(Later.size(), 26u);
    EXPECT_EQ(Later[4], "nvEncDestroyEncoder");
    EXPECT_EQ(Later[5], "cuCtxDestroy_v2");
    EXPECT_EQ(Later[6], "cuInit flags=0");
    EXPECT_THAT(Later[21], testing::HasSubstr(" encodeWidth=64 encodeHeight=48 "));
    EXPECT_THAT(Later[21], testing::HasSubstr(" frameRateNum=15 "));
    EXPECT_THAT(Later[21], testing::HasSubstr(" w060=300000 "));
    EXPECT_EQ(Encode(2).Type, 1); // the counter starts again
    EXPECT_EQ(Encode(3).Type, 2);
    ExpectNothingLeft();
}

TEST_F(NvencInit, SetBitrateAssertsAnEncoderAndARate)
{
    EXPECT_EQ(Encoder.SetBitrate(300), 0);
    EXPECT_THAT(Logged(), ElementsAre(Assertion("H264nvEnc", "m_pNvHWEncoder")));
    EXPECT_EQ(Encoder.SetBitrate(0), 0); // in this order
    EXPECT_EQ(Logged().back(), Assertion("H264nvEnc", "m_pNvHWEncoder"));
    EXPECT_EQ(Init(), 1);
    Log.Clear();
    const size_t Before = Script.Trace().size();
    EXPECT_EQ(Encoder.SetBitrate(0), 0);
    EXPECT_THAT(Logged(), ElementsAre(Assertion("H264nvEnc", "iKbps")));
    EXPECT_THAT(After(Before), IsEmpty());
}

TEST_F(NvencInit, AFailedSetBitrateLeavesNoEncoder)
{
    EXPECT_EQ(Init(), 1);
    Script.Answer("nvEncOpenEncodeSessionEx", 10, 2);
    EXPECT_EQ(Captured([&] { return Encoder.SetBitrate(300); }), 0);
    EXPECT_EQ(Script.Live("encoder"), 0);
    ExpectEncodeFault(platform::kFaultAccess);
    ExpectNothingLeft();
}

// ---- The trial ------------------------------------------------------------------------------------------------------

TEST_F(NvencInit, TheTrialOpensOneSessionAndClosesIt)
{
    EXPECT_EQ(Captured([] { return GetEngines()->TryNvidiaEncoder(320, 240, 15, 75, 120000); }), 1);
    const Names Settings = Script.Trace("nvEncInitializeEncoder ");
    ASSERT_EQ(Settings.size(), 1u);
    EXPECT_THAT(Settings[0], testing::HasSubstr(" encodeWidth=320 encodeHeight=240 "));
    EXPECT_THAT(Settings[0], testing::HasSubstr(" frameRateNum=15 "));
    EXPECT_THAT(Settings[0], testing::HasSubstr(" w060=120000000 "));
    EXPECT_EQ(Script.Trace().back(), "cuCtxDestroy_v2");
    EXPECT_EQ(Script.Live(), 0);
    EXPECT_THAT(Script.Misuses(), IsEmpty());
    EXPECT_THAT(Log.Lines(), IsEmpty());
}

TEST_F(NvencInit, TheTrialRefusesWhereTheSessionDoes)
{
    Script.Answer("nvEncInitializeEncoder", 2);
    EXPECT_EQ(Captured([] { return GetEngines()->TryNvidiaEncoder(320, 240, 15, 75, 120000); }), 0);
    EXPECT_EQ(Script.Live(), 0);
    Libraries.Remove(platform::kCudaLibrary);
    Libraries.Remove(platform::kNvencLibrary);
    EXPECT_EQ(Captured([] { return GetEngines()->TryNvidiaEncoder(320, 240, 15, 75, 120000); }), 0);
}

TEST_F(NvencInit, TheTrialNeedsMemoryForItself)
{
    {
        const FailingAllocation Fail(1);
        EXPECT_FALSE(CH264nvEnc::Try(320, 240, 15, 75, 120000));
    }
    EXPECT_THAT(Logged(), ElementsAre(Assertion("H264nvEnc", "pCodec")));
    EXPECT_THAT(Script.Trace(), IsEmpty());
}

TEST_F(NvencInit, MemoryForTheLayerIsAsserted)
{
    {
        const FailingAllocation Fail(1);
        EXPECT_EQ(Encoder.InitEncoder(64, 48, 15, 75, 500), 0);
    }
    EXPECT_THAT(Logged(), ElementsAre(Assertion("H264nvEnc", "m_pNvHWEncoder")));
    EXPECT_THAT(Script.Trace(), IsEmpty());
}
