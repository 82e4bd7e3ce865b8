// The encoder's layer by itself: what it checks, asks and tells for configurations that the engine does not use too.
#include "tests/NVIDIA/nvenc_session.h"

#include <functional>

using namespace nvenc_session;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct NvHWEncoder : NvencSession {
    CNvHWEncoder Layer;
    EncodeConfig Config{};
    void* pContext = nullptr;

    // A session, with a context of the substitute's.
    void SetUp() override
    {
        Captured([] { return static_cast<int32_t>(cuInit(0, kCudaVersion, nullptr)); });
        CUcontext Context = nullptr;
        ASSERT_EQ(g_Cuda.cuCtxCreate(&Context, 0, 0), 0);
        pContext = Context;
        ASSERT_EQ(Layer.Initialize(pContext, NV_ENC_DEVICE_TYPE_CUDA), 0);
        Config.width = 64;
        Config.height = 48;
        Config.fps = 15;
        Config.bitrate = 500000;
        Config.rcMode = 1;
        Config.qp = 28;
        Config.presetGUID = nvenc::kPresetDefault;
        Config.gopLength = -1;
        Config.pictureStruct = 1;
        Config.inputFormat = 1;
    }
    void TearDown() override { Layer.NvEncDestroyEncoder(); }

    int32_t Create()
    {
        return Captured([&] { return static_cast<int32_t>(Layer.CreateEncoder(&Config)); });
    }
};

std::string Line(const std::string& Text) { return "NvHWEncoder line #: " + Text; }

} // namespace

TEST_F(NvHWEncoder, PresetsHaveNamesInAnyCase)
{
    const struct {
        const char* pName;
        const GUID& Preset;
        bool bTold;
    } Rows[] = {{nullptr, nvenc::kPresetDefault, false},
                {"hq", nvenc::kPresetHq, false},
                {"HQ", nvenc::kPresetHq, false},
                {"lowLatencyHP", nvenc::kPresetLowLatencyHp, false},
                {"LOWLATENCYhp", nvenc::kPresetLowLatencyHp, false},
                {"hp", nvenc::kPresetHp, false},
                {"Hp", nvenc::kPresetHp, false},
                {"lowLatencyHQ", nvenc::kPresetLowLatencyHq, false},
                {"lossless", nvenc::kPresetLossless, false},
                {"LossLess", nvenc::kPresetLossless, false},
                {"losslessX", nvenc::kPresetDefault, true},
                {"lossles", nvenc::kPresetDefault, true},
                {"h", nvenc::kPresetDefault, true},
                {"", nvenc::kPresetDefault, true},
                {"default", nvenc::kPresetDefault, true}};
    for (const auto& Row : Rows) {
        GUID Got{};
        Captured([&] {
            Got = Layer.GetPresetGUID(Row.pName, 0);
            return 0;
        });
        const std::string Name = Row.pName ? Row.pName : "null";
        EXPECT_TRUE(nvenc::Same(Got, Row.Preset)) << Name;
        EXPECT_EQ(Console(), Row.bTold ? Line("Unsupported preset guid " + Name + "\n") : "");
    }
}

TEST_F(NvHWEncoder, APresetThatIsNotListedBecomesTheDefaultOne)
{
    Script.Set("nvenc.presets", 1); // "hp" alone
    for (const char* pName : {"hq", "lossless"}) {
        GUID Got{};
        Captured([&] {
            Got = Layer.GetPresetGUID(pName, 0);
            return 0;
        });
        EXPECT_TRUE(nvenc::Same(Got, nvenc::kPresetDefault));
        EXPECT_EQ(Console(), Line(std::string("Unsupported preset guid ") + pName + "\n"));
    }
    EXPECT_TRUE(nvenc::Same(Layer.GetPresetGUID("hp", 0), nvenc::kPresetHp));
    EXPECT_EQ(Script.Trace().back(),
              "nvEncGetEncodePresetGUIDs encodeGUID=6BC82762-4E63-4CA4-AA85-1E50F321F6BF size=1");
    Layer.GetPresetGUID("hp", 1);
    EXPECT_EQ(Script.Trace().back(),
              "nvEncGetEncodePresetGUIDs encodeGUID=790CDC88-4522-4D7B-9425-BDA9975F7603 size=1");
}

TEST_F(NvHWEncoder, ConfigurationsAreCheckedBeforeTheDriverIsAsked)
{
    const size_t Before = Script.Trace().size();
    EXPECT_EQ(Layer.CreateEncoder(nullptr), 8);
    const EncodeConfig Good = Config;
    const auto Refused = [&](auto Change, const std::string& Told) {
        Config = Good;
        Change(Config);
        EXPECT_EQ(Create(), 8);
        EXPECT_EQ(Console(), Told);
    };
    Refused([](EncodeConfig& c) { c.maxWidth = 63; }, "");
    Refused([](EncodeConfig& c) { c.maxHeight = 47; }, "");
    Refused([](EncodeConfig& c) { c.width = 0; }, "");
    Refused([](EncodeConfig& c) { c.height = 0; }, "");
    for (const int Deep : {0x10000, 0x100000})
        Refused([&](EncodeConfig& c) { c.inputFormat = Deep; }, Line("10 bit is not supported with H264 \n"));
    EXPECT_THAT(After(Before), IsEmpty());
    EXPECT_THAT(Log.Lines(), IsEmpty());
    Config = Good;
    Config.maxWidth = 128;
    Config.maxHeight = 96;
    EXPECT_EQ(Create(), 0);
    EXPECT_THAT(Script.Trace("nvEncInitializeEncoder ")[0],
                testing::HasSubstr(" maxEncodeWidth=128 maxEncodeHeight=96 "));
}

TEST_F(NvHWEncoder, TheOtherCodecIsAskedForByItsOwnName)
{
    Config.codec = 1;
    Config.inputFormat = 0x10000;
    EXPECT_EQ(Create(), 8); // the substitute has no preset of it
    EXPECT_EQ(Console(), Line("nvEncGetEncodePresetConfig returned failure"));
    EXPECT_THAT(Script.Trace("nvEncGetEncodePresetConfig")[0],
                testing::HasSubstr("encodeGUID=790CDC88-4522-4D7B-9425-BDA9975F7603 "));
}

TEST_F(NvHWEncoder, TheDriversAnswerSaysWhetherItIsAsynchronous)
{
    Script.Set("nvenc.caps.30", 1);
    EXPECT_EQ(Create(), 0);
    EXPECT_EQ(Config.enableAsyncMode, 1);
}

TEST_F(NvHWEncoder, FeaturesAreAskedForWhenTheyAreWanted)
{
    const struct {
        int EncodeConfig::*pFlag;
        int Wanted;
        const char* pSetting;
        const char* pName;
    } Features[] = {{&EncodeConfig::enableMEOnly, 1, "nvenc.caps.36", "NV_ENC_CAPS_SUPPORT_MEONLY_MODE"},
                    {&EncodeConfig::enableMEOnly, 2, "nvenc.caps.36", "NV_ENC_CAPS_SUPPORT_MEONLY_MODE"},
                    {&EncodeConfig::enableTemporalAQ, 1, "nvenc.caps.38", "NV_ENC_CAPS_SUPPORT_TEMPORAL_AQ"}};
    const EncodeConfig Good = Config;
    for (const auto& f : Features) {
        Config = Good;
        Config.*f.pFlag = f.Wanted;
        for (const int Value : {0, 2}) {
            Script.Set(f.pSetting, Value);
            EXPECT_EQ(Create(), 2);
            EXPECT_EQ(Console(), Line(std::string(f.pName) + " not supported\n"));
            EXPECT_EQ(Out, "");
        }
        Script.Set(f.pSetting, 1);
        Script.Answer("nvEncGetEncodeCaps", 20, Script.Calls("nvEncGetEncodeCaps") + 2);
        EXPECT_EQ(Create(), 20);
        EXPECT_EQ(Console(), Line("Encode Session Initialization failed"));
        Script.Answer("nvEncInitializeEncoder", 20);
        EXPECT_EQ(Create(), 20);
        EXPECT_EQ(Out, std::string(f.pName) + "  supported\n");
    }
    EXPECT_EQ(Script.Calls("nvEncInitializeEncoder"), 3);
}

TEST_F(NvHWEncoder, TemporalQuantisationBecomesAFlag)
{
    Config.enableTemporalAQ = 1;
    Script.Set("nvenc.caps.38", 1);
    EXPECT_EQ(Create(), 0);
    // The preset's flag, the initial quantiser's, and this one.
    EXPECT_THAT(Script.Trace("nvEncInitializeEncoder ")[0], testing::HasSubstr(" w076=268 "));
}

TEST_F(NvHWEncoder, OutputsAreCheckedBeforeTheDriverIsAsked)
{
    EXPECT_EQ(Create(), 0);
    const size_t Before = Script.Trace().size();
    EncodeOutputBuffer Output;
    EncodedUnit Unit;
    EXPECT_EQ(Layer.ProcessOutput(Output, &Unit), 8); // no bitstream
    Output.pBitstream = &Output;
    Output.bWaitOnEvent = true;
    EXPECT_EQ(Layer.ProcessOutput(Output, &Unit), 8); // no event
    Output.bWaitOnEvent = false;
    Output.bEndOfStream = true;
    EXPECT_EQ(Layer.ProcessOutput(Output, &Unit), 0); // nothing to read
    Output.pBitstream = nullptr;
    EXPECT_EQ(Layer.ProcessOutput(Output, &Unit), 0);
    platform::Event End;
    End.Signal();
    Output.pEvent = &End;
    Output.bWaitOnEvent = true;
    EXPECT_EQ(Layer.ProcessOutput(Output, &Unit), 0);
    EXPECT_FALSE(End.Wait(0)); // waited for
    EXPECT_FALSE(Unit.bRead);
    EXPECT_THAT(After(Before), IsEmpty());
    EXPECT_THAT(Log.Lines(), IsEmpty());
}

TEST_F(NvHWEncoder, NoEventNeedsNoUnregistering)
{
    const size_t Before = Script.Trace().size();
    EXPECT_EQ(Layer.NvEncUnregisterAsyncEvent(nullptr), 0);
    EXPECT_THAT(After(Before), IsEmpty());
}

TEST_F(NvHWEncoder, EveryCallReportsItsFailureAndAnswersIt)
{
    Script.Set("nvenc.caps.30", 1);
    EXPECT_EQ(Create(), 0);
    EncodeBuffer Buffer;
    void* pData;
    uint32_t Pitch;
    platform::Event* pEvent = nullptr;
    platform::Event Known;
    const std::vector<std::pair<const char*, std::function<NVENCSTATUS()>>> Calls{
        {"nvEncCreateInputBuffer",
         [&] { return Layer.NvEncCreateInputBuffer(64, 48, &Buffer.Input.pSurface, NV_ENC_BUFFER_FORMAT_NV12); }},
        {"nvEncDestroyInputBuffer", [&] { return Layer.NvEncDestroyInputBuffer(&Buffer); }},
        {"nvEncCreateBitstreamBuffer", [&] { return Layer.NvEncCreateBitstreamBuffer(1, &Buffer.Output.pBitstream); }},
        {"nvEncDestroyBitstreamBuffer", [&] { return Layer.NvEncDestroyBitstreamBuffer(&Buffer); }},
        {"nvEncLockInputBuffer", [&] { return Layer.NvEncLockInputBuffer(&Buffer, &pData, &Pitch); }},
        {"nvEncUnlockInputBuffer", [&] { return Layer.NvEncUnlockInputBuffer(&Buffer); }},
        {"nvEncRegisterAsyncEvent", [&] { return Layer.NvEncRegisterAsyncEvent(&pEvent); }},
        {"nvEncUnregisterAsyncEvent", [&] { return Layer.NvEncUnregisterAsyncEvent(&Known); }},
        {"nvEncEncodePicture", [&] { return Layer.NvEncEncodeFrame(Buffer, {}, 64, 48, NV_ENC_PIC_STRUCT_FRAME); }},
        {"nvEncEncodePicture", [&] { return Layer.NvEncFlushEncoderQueue(nullptr); }},
    };
    for (const auto& [pOperation, Call] : Calls) {
        Log.Clear();
        Script.Answer(pOperation, 19);
        EXPECT_EQ(Call(), 19) << pOperation;
        EXPECT_THAT(Logged(), ElementsAre(Assertion("NvHWEncoder", "0"))) << pOperation;
    }
    EXPECT_EQ(Buffer.Input.pSurface, nullptr);
    EXPECT_EQ(Buffer.Output.pBitstream, nullptr);
    EXPECT_EQ(pEvent, nullptr);
    Log.Clear();
    Script.Set("nvEncDestroyEncoder.status", 19);
    EXPECT_EQ(Layer.NvEncDestroyEncoder(), 19);
    EXPECT_THAT(Logged(), ElementsAre(Assertion("NvHWEncoder", "0")));
    EXPECT_EQ(Layer.NvEncDestroyEncoder(), 0); // there is none any more
}
