// The exported calls when memory runs out: each request fails once. A call answers as its contract has it, the object
// works again after its next Init, and nothing stays behind.
#include "front/selection.h"
#include "front/stdafx.h"
#include "tests/front/out_of_memory.h"
#include "tests/support/drivers/driver_script.h"
#include "tests/support/drivers/heap_watch.h"
#include "tests/support/user_folder.h"

#include <thread>

using namespace out_of_memory;

// The library that parses the settings loses its text when memory runs out within it; nothing of ours can give it back.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:CSimpleIniTempl"; }

// ---- A codec that could not be made -----------------------------------------------------------------------------

TEST(OutOfMemory, AnEncoderThatCouldNotBeMadeRefusesAndStaysSafe)
{
    Pictures();
    Unit Out;
    const auto Session = [&](size_t n) {
        IVCodec* const pCodec = CreateVCodec(0);
        if (!pCodec) return;
        if (!InitEncoder(*pCodec)) { // used all the same
            EXPECT_EQ(Encode(*pCodec, 0, Out), 0) << n;
            EXPECT_LE(Out.Length, 0) << n;
            pCodec->SetBitrate(70);
            Encode(*pCodec, 1, Out);
        }
        EXPECT_EQ(pCodec->Release(), 0) << n;
    };
    EXPECT_GT(ForEachRequest(Session), 10u);
}

TEST(OutOfMemory, ADecoderThatCouldNotBeMadeRefusesAndStaysSafe)
{
    constexpr uint8_t kUnit[] = {0, 0, 0, 1, 9, 0xF0};
    Bytes Out(kSize.I420Bytes());
    const auto Session = [&](size_t n) {
        IVCodec* const pCodec = CreateVCodec(100);
        if (!pCodec) return;
        if (!InitDecoder(*pCodec)) {
            EXPECT_EQ(pCodec->Decode(kUnit, sizeof kUnit, Out.data(), nullptr), 0) << n;
            EXPECT_EQ(pCodec->Decode(kUnit, sizeof kUnit, Out.data(), nullptr), 0) << n;
        }
        EXPECT_EQ(pCodec->Release(), 0) << n;
    };
    EXPECT_GT(ForEachRequest(Session), 5u);
}

// ---- Selection --------------------------------------------------------------------------------------------------

TEST(OutOfMemory, EverySelectionEndsInAnEngineOrInNull)
{
    const UserFolder Home;
    DriverScript NoIntelDevice;
    NoIntelDevice.Answer("MFXInit", -3);
    const HeapWatch OfTheLibrary;
    for (const uint32_t id : {0u, 1u, 2u, 11u, 111u}) {
        ForEachRequest([&](size_t n) {
            IVCodec* const pCodec = CreateVCodec(id);
            if (!pCodec) return;
            EXPECT_EQ(pCodec->GetBackendTag(), kBackendSoftware) << id << " " << n;
            EXPECT_EQ(pCodec->Release(), 0);
        });
    }
}

TEST(OutOfMemory, ASelectionThatFailsWhileItReadsTheSettingsHoldsNoLock)
{
    const UserFolder Home;
    WriteProfileString(SettingsFile(), "CONFIG", "nvidia_disable", "an adapter with a name that is a little longer");
    bool bFailed = true;
    for (size_t n = 1; bFailed; ++n) {
        ResetSelectionState();
        IVCodec* pCodec = nullptr;
        {
            const FailingAllocation Fail(n);
            pCodec = CreateVCodec(1);
            bFailed = Fail.Failed();
        }
        std::thread([] { EXPECT_FALSE(IsNvidiaDisabled()); }).join();
        if (pCodec) {
            EXPECT_EQ(pCodec->Release(), 0);
        }
    }
}

TEST(OutOfMemory, WithNothingLeftAtAllTheAnswerIsNull)
{
    for (const uint32_t id : {0u, 1u, 2u, 11u}) {
        IVCodec* pCodec = nullptr;
        {
            const FailingAllocation Fail(1, FailingAllocation::After::Fail);
            pCodec = CreateVCodec(id);
        }
        EXPECT_EQ(pCodec, nullptr) << id;
    }
    IVideoProcess* pProcess = nullptr;
    {
        const FailingAllocation Fail(1, FailingAllocation::After::Fail);
        pProcess = CreateVideoProcess();
    }
    EXPECT_EQ(pProcess, nullptr);
}

// ---- Camera pictures and image functions ------------------------------------------------------------------------

TEST(OutOfMemory, ACameraPictureIsTreatedOrLeftAsItIs)
{
    constexpr int32_t kWidth = 40, kHeight = 30;
    const Bytes Source(size_t{kWidth} * kHeight * 3, 90), Background(size_t{20} * 10 * 3, 200);
    Bytes Frame = Source, Treated;
    for (const float Brightness : {0.0f, 0.4f}) {
        for (const int32_t bKeying : {0, 1}) {
            const auto Treat = [&](IVideoProcess& Process) {
                std::copy(Source.begin(), Source.end(), Frame.begin());
                EXPECT_EQ(Process.ProcessFrame(kWidth, kHeight, Frame.data(), kWidth * 3), 1);
            };
            ForEachRequest([&](size_t n) {
                IVideoProcess* const pProcess = CreateVideoProcess();
                if (!pProcess) return;
                EXPECT_EQ(pProcess->SetKeyingEnabled(bKeying), 1);
                EXPECT_EQ(pProcess->SetSmoothingEnabled(1), 1);
                EXPECT_EQ(pProcess->SetBrightness(Brightness), 1);
                EXPECT_EQ(pProcess->SetKeyColor(90, 90, 90), 1);
                EXPECT_EQ(pProcess->SetKeyDistance(20), 1);
                if (pProcess->SetBackgroundImage(20, 10, Background.data(), 60) != 1) {
                    EXPECT_EQ(pProcess->SetBackgroundImage(20, 10, Background.data(), 60), 1) << n;
                }
                Treat(*pProcess);
                Treat(*pProcess); // finds memory, whatever the first one found
                if (!n) Treated = Frame;
                EXPECT_TRUE(Frame == Treated) << n;
                EXPECT_EQ(pProcess->Release(), 0);
            });
        }
    }
}

TEST(OutOfMemory, TheImageFunctionsGiveTheirResult)
{
    const Bytes Source(64 * 48 * 4, 90);
    Bytes Target(128 * 96 * 4);
    ForEachRequest([&](size_t) {
        EXPECT_EQ(IPP_RGB24ToYUV420(Source.data(), Target.data(), 64, 48), 1);
        EXPECT_EQ(IPP_YUV420ToRGB24(Source.data(), Target.data(), 64, -48), 1);
        EXPECT_EQ(IPP_RGB24ToRGB32(Source.data(), 192, Target.data(), 256, 64, 48), 0);
        EXPECT_EQ(IPP_RGB32ToRGB24(Source.data(), 256, Target.data(), 192, 64, 48), 0);
        EXPECT_EQ(IPP_YUV420_Scale(Source.data(), 64, 48, Target.data(), 100, 80), 0);
        EXPECT_EQ(IPP_RGB24_Scale(Source.data(), 64, 48, 192, Target.data(), 100, 80, 300), 0);
        EXPECT_EQ(IPP_RGB24ToYUV420(nullptr, Target.data(), 64, 48), 0); // its line in the log needs memory, perhaps
    });
}
