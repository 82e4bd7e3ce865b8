// Opening and closing the CUVID decoder: the calls in their order with their fields, and every way in which it fails.
#include "NVIDIA/H264nvDec.h"
#include "platform/shared_library.h"
#include "tests/NVIDIA/cuvid_fixture.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

using namespace cuvid_test;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

class DecoderSession : public WithDrivers
{
protected:
    void TearDown() override
    {
        m_Decoder.Reset();
        EXPECT_EQ(m_Script.Live(), 0);
        WithDrivers::TearDown();
    }
    /// The calls from the choice of the device on, which has tests of its own.
    std::vector<std::string> CallsFromDevice() const
    {
        std::vector<std::string> All = m_Script.Trace();
        const auto Found = std::find(All.begin(), All.end(), "cuDeviceGet ordinal=0");
        return {Found, All.end()};
    }
    /// The calls since this was called last.
    std::vector<std::string> NewCalls()
    {
        std::vector<std::string> All = m_Script.Trace();
        All.erase(All.begin(), All.begin() + static_cast<ptrdiff_t>(m_Seen));
        m_Seen += All.size();
        return All;
    }
    Answer Decode(const Bytes& Unit)
    {
        int32_t Type = kUnwritten;
        const int32_t bOk = m_Decoder.Decode(Unit.data(), static_cast<int32_t>(Unit.size()), m_Room.data(), &Type);
        return {bOk, Type};
    }

    const std::unique_ptr<CH264nvDec> m_pDecoder = std::make_unique<CH264nvDec>(1);
    CH264nvDec& m_Decoder = *m_pDecoder;
    Bytes m_Room = Bytes(I420Bytes(320, 240), kFill);
    size_t m_Seen = 0;
};

const std::vector<std::string> kCloseOfParser{"cuCtxPushCurrent_v2", "cuvidDestroyVideoParser", "cuvidCtxLockDestroy",
                                              "cuCtxPopCurrent_v2 wants=0", "cuCtxDestroy_v2"};
const std::vector<std::string> kCloseOfLock{"cuCtxPushCurrent_v2", "cuvidCtxLockDestroy", "cuCtxPopCurrent_v2 wants=0",
                                            "cuCtxDestroy_v2"};

} // namespace

TEST_F(DecoderSession, OpensTheDriverInOrder)
{
    EXPECT_EQ(m_Decoder.InitDecoder(320, 240), 1);
    const std::vector<std::string> All = m_Script.Trace();
    ASSERT_GT(All.size(), 2u);
    EXPECT_EQ(All[0], "cuInit flags=0");
    EXPECT_THAT(CallsFromDevice(),
                ElementsAre("cuDeviceGet ordinal=0", "cuCtxCreate_v2 flags=4 device=0", "cuvidCtxLockCreate",
                            "cuvidGetDecoderCaps eCodecType=4 eChromaFormat=1 nBitDepthMinus8=0",
                            "cuvidCreateVideoParser CodecType=4 ulMaxNumDecodeSurfaces=20 ulClockRate=0 "
                            "ulErrorThreshold=0 ulMaxDisplayDelay=0",
                            "cuCtxPopCurrent_v2 wants=0"));
    EXPECT_EQ(DriverCurrent("CUcontext"), nullptr); // the context floats
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
    EXPECT_EQ(m_Script.Live("CUcontext"), 1);
    EXPECT_EQ(m_Script.Live("lock"), 1);
    EXPECT_EQ(m_Script.Live("parser"), 1);
    EXPECT_EQ(m_Script.Live("decoder"), 0); // made by the stream
}

TEST_F(DecoderSession, LooksForTheDriversBeforeItCallsThem)
{
    m_Decoder.InitDecoder(320, 240);
    std::vector<std::string> Opened;
    for (const std::string& Asked : m_Libraries.Asked())
        if (Asked.compare(0, 5, "open ") == 0) Opened.push_back(Asked.substr(5));
    EXPECT_THAT(Opened, ElementsAre(platform::kCudaLibrary, platform::kCuvidLibrary, platform::kCudaLibrary));
}

TEST_F(DecoderSession, TakesTheDeviceThatIsChosen)
{
    m_Script.Set("cuda.devices", 3);
    m_Script.Set("cuda.processors.1", 80);
    EXPECT_EQ(m_Decoder.InitDecoder(320, 240), 1);
    EXPECT_THAT(m_Script.Trace("cuDeviceGet "), ElementsAre("cuDeviceGet ordinal=1"));
    EXPECT_THAT(m_Script.Trace("cuCtxCreate_v2 "), ElementsAre("cuCtxCreate_v2 flags=4 device=1"));
}

TEST_F(DecoderSession, ADriverThatRefusesEndsIt)
{
    struct Row {
        const char* pCall;
        int32_t Number; // of the call
        int64_t Status;
        const char* pLine;
        std::vector<std::string> Behind; // the calls that follow the one that failed
    };
    const Row Rows[] = {
        {"cuInit", 1, 100, "cuInit error=100", {}},
        {"cuDriverGetVersion", 1, 3, "cuInit error=3", {}},
        {"cuDeviceGet", 1, 101, "cuDeviceGet deviceID=0 error=101", {}},
        {"cuCtxCreate_v2", 1, 2, "cuCtxCreate error=2", {}},
        {"cuvidCtxLockCreate",
         1,
         201,
         "cuvidCtxLockCreate error=201",
         {"cuCtxPushCurrent_v2", "cuCtxPopCurrent_v2 wants=0", "cuCtxDestroy_v2"}},
        {"cuvidGetDecoderCaps", 1, 999, "cuvidGetDecoderCaps error=0", kCloseOfLock}, // 0: deliberate
        {"cuvidCreateVideoParser", 1, 801, "cuvidCreateVideoParser error=801", kCloseOfLock},
    };
    for (const Row& r : Rows) {
        SCOPED_TRACE(r.pCall);
        m_Log.Clear();
        DriverReset();
        m_Script.Answer(r.pCall, r.Status, r.Number);
        EXPECT_EQ(m_Decoder.InitDecoder(320, 240), 0);
        EXPECT_EQ(m_Log.Lines(), ErrorLines({std::string("qvlx - CH264nvDec::InitCuvid() ") + r.pLine}));
        EXPECT_EQ(m_Script.Live(), 0);
        EXPECT_EQ(DriverCurrent("CUcontext"), nullptr);
        std::vector<std::string> Calls = m_Script.Trace();
        if (!r.Behind.empty()) {
            ASSERT_GT(Calls.size(), r.Behind.size());
            const std::vector<std::string> Last(Calls.end() - static_cast<ptrdiff_t>(r.Behind.size()), Calls.end());
            EXPECT_EQ(Last, r.Behind);
            EXPECT_EQ(Calls[Calls.size() - r.Behind.size() - 1], "cuCtxPopCurrent_v2 wants=0");
        }
        EXPECT_EQ(Decode({0, 0, 0, 1, 9}), kFailed);
    }
}

TEST_F(DecoderSession, WithoutItsLibrariesItDoesNotOpen)
{
    testing::internal::CaptureStdout();
    m_Libraries.Remove(platform::kCuvidLibrary);
    EXPECT_EQ(m_Decoder.InitDecoder(320, 240), 0);
    m_Libraries.Remove(platform::kCudaLibrary);
    EXPECT_EQ(m_Decoder.InitDecoder(320, 240), 0);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string("LoadLibrary \"") + platform::kCuvidLibrary +
                                                          "\" failed!\nLoadLibrary \"" + platform::kCudaLibrary +
                                                          "\" failed!\n");
    EXPECT_EQ(m_Log.Lines(), ErrorLines({"qvlx - CH264nvDec::InitCuvid() cuvidInit error=999",
                                         "qvlx - CH264nvDec::InitCuvid() cuInit error=999"}));
}

TEST_F(DecoderSession, AnOldCuvidWithoutCapabilitiesDoesNotOpen)
{
    testing::internal::CaptureStdout();
    m_Libraries.Lack("cuvidGetDecoderCaps");
    EXPECT_EQ(m_Decoder.InitDecoder(320, 240), 0);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              std::string("Failed to find required function \"cuvidGetDecoderCaps\" in ") + platform::kCuvidLibrary +
                  "\n");
    EXPECT_EQ(m_Log.Lines(), ErrorLines({"qvlx - CH264nvDec::InitCuvid() cuvidInit error=999"}));
}

TEST_F(DecoderSession, WithoutADeviceItDoesNotOpenAndTheProcessGoesOn)
{
    testing::internal::CaptureStderr();
    m_Script.Set("cuda.devices", 0);
    EXPECT_EQ(m_Decoder.InitDecoder(320, 240), 0);
    m_Script.Set("cuda.devices", 1);
    m_Script.Set("cuda.mode.0", 2);
    EXPECT_EQ(m_Decoder.InitDecoder(320, 240), 0);
    std::fflush(stderr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "gpuGetMaxGflopsDeviceIdDRV error: no devices supporting CUDA\n"
              "gpuGetMaxGflopsDeviceIdDRV error: all devices have compute mode prohibited.\n");
    EXPECT_EQ(m_Log.Lines(), ErrorLines({"qvlx - CH264nvDec::InitCuvid() gpuGetMaxGflopsDeviceIdDRV error=100",
                                         "qvlx - CH264nvDec::InitCuvid() gpuGetMaxGflopsDeviceIdDRV error=100"}));
}

namespace {

// Stands in the place of cuvidCtxLockCreate, the call before the capabilities are asked.
CUresult CUDAAPI TakeCapabilitiesAway(CUvideoctxlock*, CUcontext)
{
    g_Cuvid.cuvidGetDecoderCaps.Set(nullptr);
    return CUDA_SUCCESS;
}

const platform::LibraryOperations* g_pBehind;

void* SymbolButTheLock(void* pLibrary, const char* pName)
{
    if (std::strcmp(pName, "cuvidCtxLockCreate") == 0) return reinterpret_cast<void*>(&TakeCapabilitiesAway);
    return g_pBehind->Symbol(pLibrary, pName);
}

} // namespace

TEST_F(DecoderSession, AnEntryForCapabilitiesThatIsNullIsAFailure)
{
    g_pBehind = &platform::Libraries();
    const platform::LibraryOperations Own{g_pBehind->Open, SymbolButTheLock, g_pBehind->Close};
    platform::SetLibraries(&Own);
    EXPECT_EQ(m_Decoder.InitDecoder(320, 240), 0);
    platform::SetLibraries(g_pBehind);
    EXPECT_EQ(m_Log.Lines(), ErrorLines({"qvlx - CH264nvDec::InitCuvid() cuvidGetDecoderCaps error=0"}));
}

TEST_F(DecoderSession, ASizeIsHeldAgainstTheCapabilities)
{
    struct Row {
        int32_t bSupported, Width, Height;
        bool bOpens;
    };
    // From 64x32 to 1024x512, both included.
    static constexpr Row kRows[] = {
        {1, 64, 32, true},       {1, 1024, 512, true},  {255, 320, 240, true}, {0, 320, 240, false},
        {1, 63, 32, false},      {1, 64, 31, false},    {1, 1025, 512, false}, {1, 1024, 513, false},
        {1, 0, 0, false},        {1, -320, 240, false}, {1, 320, -240, false}, {1, INT32_MIN, INT32_MAX, false},
        {1, 1 << 30, 64, false},
    };
    m_Script.Set("caps.min_width", 64);
    m_Script.Set("caps.min_height", 32);
    m_Script.Set("caps.max_width", 1024);
    m_Script.Set("caps.max_height", 512);
    m_Script.Set("caps.max_mbs", 1); // not held against it
    for (const Row& r : kRows) {
        SCOPED_TRACE(std::to_string(r.Width) + "x" + std::to_string(r.Height));
        m_Log.Clear();
        m_Script.Set("caps.supported", r.bSupported);
        EXPECT_EQ(m_Decoder.InitDecoder(r.Width, r.Height), r.bOpens ? 1 : 0);
        if (r.bOpens) continue;
        EXPECT_EQ(m_Log.Lines(),
                  ErrorLines({"qvlx - CH264nvDec::InitCuvid() cuvidGetDecoderCaps videoDecodeCaps.bIsSupported=" +
                              std::to_string(r.bSupported) + " iWidth=" + std::to_string(r.Width) + " iHeight=" +
                              std::to_string(r.Height) + " nMinWidth=64 nMinHeight=32 nMaxWidth=1024 nMaxHeight=512"}));
        EXPECT_EQ(m_Script.Live(), 0);
    }
}

TEST_F(DecoderSession, CapabilitiesWithoutAnUpperBoundOpenEverything)
{
    m_Script.Set("caps.max_width", -1); // unsigned: the largest
    m_Script.Set("caps.max_height", -1);
    EXPECT_EQ(m_Decoder.InitDecoder(INT32_MAX, INT32_MAX), 1);
}

TEST_F(DecoderSession, ClosesInOrder)
{
    const std::vector<Bytes> Units = CodedScene(64, 48, 1);
    ASSERT_EQ(m_Decoder.InitDecoder(320, 240), 1);
    ASSERT_EQ(Decode(Units[0]), kPicture);
    NewCalls();
    m_Decoder.Reset();
    EXPECT_THAT(NewCalls(),
                ElementsAre("cuCtxPushCurrent_v2", "cuvidDestroyVideoParser", "cuvidDestroyDecoder", "cuMemFreeHost",
                            "cuvidCtxLockDestroy", "cuCtxPopCurrent_v2 wants=0", "cuCtxDestroy_v2"));
    EXPECT_EQ(m_Script.Live(), 0);
    m_Decoder.Reset();
    EXPECT_THAT(NewCalls(), IsEmpty()); // nothing is closed twice
    EXPECT_EQ(Decode(Units[0]), kFailed);
    EXPECT_THAT(NewCalls(), IsEmpty());
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(DecoderSession, ClosesWhatThereIs)
{
    ASSERT_EQ(m_Decoder.InitDecoder(320, 240), 1);
    NewCalls();
    m_Decoder.Reset();
    EXPECT_EQ(NewCalls(), kCloseOfParser); // no picture came: neither a decoder nor a buffer
}

TEST_F(DecoderSession, ItsDestructorCloses)
{
    {
        CH264nvDec Decoder(1);
        ASSERT_EQ(Decoder.InitDecoder(320, 240), 1);
        NewCalls();
    }
    EXPECT_EQ(NewCalls(), kCloseOfParser);
}

TEST_F(DecoderSession, StatusesOfTheCloseAreNotLookedAt)
{
    const std::vector<Bytes> Units = CodedScene(64, 48, 1);
    ASSERT_EQ(m_Decoder.InitDecoder(320, 240), 1);
    ASSERT_EQ(Decode(Units[0]), kPicture);
    for (const char* pCall :
         {"cuvidDestroyVideoParser", "cuvidDestroyDecoder", "cuMemFreeHost", "cuvidCtxLockDestroy", "cuCtxDestroy_v2"})
        m_Script.Set((std::string(pCall) + ".status").c_str(), 999);
    NewCalls();
    m_Decoder.Reset();
    EXPECT_EQ(NewCalls().size(), 7u);
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
    EXPECT_EQ(m_Script.Live(), 0);
}

TEST_F(DecoderSession, IsClosedBeforeItIsOpenedAgain)
{
    ASSERT_EQ(m_Decoder.InitDecoder(320, 240), 1);
    NewCalls();
    ASSERT_EQ(m_Decoder.InitDecoder(640, 480), 1);
    const std::vector<std::string> Calls = NewCalls();
    ASSERT_GT(Calls.size(), kCloseOfParser.size());
    EXPECT_EQ(std::vector(Calls.begin(), Calls.begin() + static_cast<ptrdiff_t>(kCloseOfParser.size())),
              kCloseOfParser);
    EXPECT_EQ(m_Script.Live("parser"), 1);
    EXPECT_EQ(m_Script.Live("CUcontext"), 1);
    EXPECT_EQ(m_Script.Live("lock"), 1);
}

TEST_F(DecoderSession, TheTrialOpensAndClosesTheWholeDriver)
{
    EXPECT_TRUE(CH264nvDec::Try(320, 240));
    EXPECT_EQ(m_Script.Live(), 0);
    EXPECT_EQ(m_Script.Calls("cuvidCreateVideoParser"), 1);
    m_Script.Set("caps.max_width", 319);
    EXPECT_FALSE(CH264nvDec::Try(320, 240));
    EXPECT_EQ(m_Script.Live(), 0);
    EXPECT_EQ(m_Script.Calls("cuvidGetDecoderCaps"), 2); // nothing is remembered
}

TEST_F(DecoderSession, TenThousandTimesOpenedAndClosedNothingIsLeft)
{
    DriverKeepTrace(0);
    for (int i = 0; i < 10000; ++i) {
        CH264nvDec Decoder(1);
        ASSERT_EQ(Decoder.InitDecoder(320, 240), 1) << i;
        m_Libraries.ForgetAsked();
    }
    EXPECT_EQ(m_Script.Live(), 0);
    // Never unloaded, and counted: deliberate.
    EXPECT_EQ(m_Libraries.Held(platform::kCuvidLibrary), 10000);
    EXPECT_EQ(m_Libraries.Held(platform::kCudaLibrary), 20000);
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}
