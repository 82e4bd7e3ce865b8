// The engine on the system's own dispatcher: without a device it refuses at once, and behind it a substitute of the
// newer run time is found by its name.
#include "front/engines.h"
#include "front/selection.h"
#include "intel/VCodecH264hw.h"
#include "quilvex/Quilvex.h"
#include "tests/intel/told_leaks.h"
#include "tests/support/child_process.h"
#include "tests/support/drivers/driver_libraries.h"
#include "tests/support/drivers/driver_script.h"
#include "tests/support/recording_log.h"
#include "tests/support/system.h"
#include "tests/support/temporary_folder.h"
#include "tools/common/camera_scene.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <vector>

namespace {

constexpr FrameSize kSize{96, 64};

#define CHECK_IN_CHILD(Condition)                                                                                      \
    do {                                                                                                               \
        if (!(Condition)) return __LINE__ % 200 + 1;                                                                   \
    } while (false)

} // namespace

TEST(RealDispatcher, WithoutADeviceEachTrialRefusesAtOnce)
{
    RecordingLog Log;
    for (const int32_t Implementation : {kIntelImplHardwareAny, kIntelImplSoftware}) {
        const auto Start = std::chrono::steady_clock::now();
        EXPECT_EQ(GetEngines()->QueryIntelSession(Implementation), 0);
        const auto Spent = std::chrono::steady_clock::now() - Start;
        EXPECT_LT(Spent, std::chrono::seconds(5)); // a few milliseconds; a hang would be for ever
        RecordProperty("milliseconds", std::to_string(std::chrono::duration<double, std::milli>(Spent).count()));
    }
}

TEST(RealDispatcher, WithoutADeviceAnInitIsAPlainFailure)
{
    for (const int32_t Kind : {1, 2}) {
        CVCodecH264hw Codec(Kind);
        testing::internal::CaptureStdout();
        EXPECT_EQ(Codec.InitEncoder(96, 64, 15, 30, 100), 0);
        EXPECT_EQ(Codec.InitDecoder(96, 64), 0);
        EXPECT_NE(testing::internal::GetCapturedStdout().find("Return on error: error code 0,"), std::string::npos);
        EXPECT_EQ(Codec.SetBitrate(5), 0);
    }
}

// Coding and decoding through the dispatcher and the substitute of the run time.
CHILD_BODY(CodeThroughTheRealDispatcher)
{
    DriverScript Script;
    CHECK_IN_CHILD(GetEngines()->QueryIntelSession(kIntelImplHardwareAny) == 2);
    CVCodecH264hw Encoder(1), Decoder(1);
    CHECK_IN_CHILD(Encoder.InitEncoder(kSize.Width, kSize.Height, 15, 30, 300) == 1);
    CHECK_IN_CHILD(Decoder.InitDecoder(kSize.Width, kSize.Height) == 1);
    const CameraScene Scene(kSize, 15);
    std::vector<uint8_t> Picture, Stream(kSize.LumaBytes() * 3), Out(kSize.I420Bytes());
    for (int i = 0; i < 5; ++i) {
        Scene.Render(i, Picture);
        int32_t Length = 0, Type = 0;
        CHECK_IN_CHILD(Encoder.Encode(Picture.data(), Stream.data(), &Length, 0, &Type) == 1);
        CHECK_IN_CHILD(Length > 0 && Type == (i == 0 ? 1 : 2));
        CHECK_IN_CHILD(Decoder.Decode(Stream.data(), Length, Out.data(), &Type) == 1);
        CHECK_IN_CHILD(Type == (i == 0 ? 1 : 2));
    }
    // A failure closes the session; what is left of the objects touches it no more.
    Script.Set("MFXVideoCORE_SyncOperation.status", -17);
    int32_t Length = 0, Type = 0;
    CHECK_IN_CHILD(Encoder.Encode(Picture.data(), Stream.data(), &Length, 0, &Type) == 0 && Type == -1);
    CHECK_IN_CHILD(Encoder.Encode(Picture.data(), Stream.data(), &Length, 0, &Type) == 0 && Type == -1);
    Decoder.Reset();
    Encoder.Reset();
    CHECK_IN_CHILD(Script.Live() == 0);
    CHECK_IN_CHILD(Script.Misuses().empty());
    return 0;
}

TEST(RealDispatcher, TheNewerRunTimeServesBehindIt)
{
    const std::string Folder = std::filesystem::path(DriverPath("x")).parent_path().string();
    TemporaryFolder Only; // of the drivers' folder that one alone: the dispatcher there is a substitute too
    std::filesystem::create_symlink(Folder + "/libmfx-gen.so.1.2", Only.File("libmfx-gen.so.1.2"));
    const ScopedEnvironment Path("LD_LIBRARY_PATH", Only.Path().string());
    const ChildResult Result = RunChild("CodeThroughTheRealDispatcher", "", 60000);
    EXPECT_FALSE(Result.bCrashed) << Result.Err;
    EXPECT_EQ(Result.Code, 0) << "a check in line " << Result.Code - 1 << " (modulo 200)\n" << Result.Out << Result.Err;
}
