// The choice of a CUDA device, and what its failures say. None of them ends the process.
#include "NVIDIA/inc/cuda_device.h"

#include "platform/driver_names.h"
#include "tests/support/drivers/driver_libraries.h"
#include "tests/support/drivers/driver_script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

struct DeviceCase {
    const char* pTitle;
    struct {
        int Major, Minor, Processors, Clock, Mode;
    } Devices[4];
    int Count;
    int Chosen;
};

struct CudaDevice : testing::Test {
    DriverScript Script;
    DriverLibraries Libraries{platform::kCudaLibrary};
    CUresult Status = static_cast<CUresult>(777);
    std::string Out, Err;

    int Choose()
    {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int Device = gpuGetMaxGflopsDeviceIdDRV(&Status);
        Out = testing::internal::GetCapturedStdout();
        Err = testing::internal::GetCapturedStderr();
        return Device;
    }
    void SetDevices(const DeviceCase& Case)
    {
        Script.Set("cuda.devices", Case.Count);
        for (int i = 0; i < Case.Count; ++i) {
            const auto& d = Case.Devices[i];
            const auto Set = [&](const char* pName, int Value) {
                Script.Set((std::string(pName) + "." + std::to_string(i)).c_str(), Value);
            };
            Set("cuda.major", d.Major);
            Set("cuda.minor", d.Minor);
            Set("cuda.processors", d.Processors);
            Set("cuda.clock", d.Clock);
            Set("cuda.mode", d.Mode);
        }
    }
};

class CudaDeviceChoice : public CudaDevice, public testing::WithParamInterface<DeviceCase>
{
};

constexpr DeviceCase kCases[] = {
    {"OnlyOne", {{5, 2, 16, 1000, 0}}, 1, 0},
    {"TheFastest", {{5, 0, 4, 1000, 0}, {5, 2, 16, 1000, 0}, {5, 2, 8, 1000, 0}}, 3, 1},
    {"TheClockCounts", {{5, 0, 8, 1000, 0}, {5, 0, 8, 1001, 0}}, 2, 1},
    {"TheFirstOfEqualOnes", {{5, 0, 8, 1000, 0}, {5, 2, 8, 1000, 0}}, 2, 0},
    {"TheNewestArchitecture", {{3, 5, 30, 9000, 0}, {5, 0, 1, 1, 0}, {3, 7, 30, 9000, 0}}, 3, 1},
    {"OldArchitecturesBySpeed", {{2, 0, 4, 1000, 0}, {1, 3, 30, 1000, 0}}, 2, 1},
    {"ProhibitedOnesNot", {{5, 2, 16, 1000, 2}, {5, 0, 4, 1000, 0}}, 2, 1},
    {"ExclusiveOnesToo", {{5, 2, 16, 1000, 3}, {5, 0, 4, 1000, 0}}, 2, 0},
    // The architecture of a prohibited device counts, so that nothing but the number 0 is left.
    {"NewestProhibited", {{3, 0, 4, 1000, 0}, {3, 0, 8, 1000, 0}, {5, 2, 4, 1000, 2}}, 3, 0},
    {"EmulationHasOneCore", {{9999, 9999, 7, 1000, 0}, {1, 0, 1, 1000, 0}}, 2, 1},
    {"EmulationAlone", {{9999, 9999, 1, 1, 0}}, 1, 0},
    {"SpeedsBeyond32Bits", {{5, 2, 1, 2000000, 0}, {5, 2, 132, 1980000, 0}}, 2, 1},
};

} // namespace

TEST_P(CudaDeviceChoice, IsAsTheRulesSay)
{
    SetDevices(GetParam());
    EXPECT_EQ(Choose(), GetParam().Chosen);
    EXPECT_EQ(Status, 0);
    EXPECT_EQ(Out, "");
    EXPECT_EQ(Err, "");
}
INSTANTIATE_TEST_SUITE_P(Devices, CudaDeviceChoice, testing::ValuesIn(kCases),
                         [](const auto& Info) { return std::string(Info.param.pTitle); });

TEST_F(CudaDevice, TheDriverIsAskedInOrder)
{
    Script.Set("cuda.devices", 2);
    EXPECT_EQ(Choose(), 0);
    EXPECT_THAT(Script.Trace(),
                ElementsAre("cuInit flags=0", "cuDriverGetVersion", "cuDeviceGetCount",
                            "cuDeviceComputeCapability device=0", "cuDeviceComputeCapability device=1",
                            "cuDeviceGetAttribute attribute=16 device=0", "cuDeviceGetAttribute attribute=13 device=0",
                            "cuDeviceComputeCapability device=0", "cuDeviceGetAttribute attribute=20 device=0",
                            "cuDeviceGetAttribute attribute=16 device=1", "cuDeviceGetAttribute attribute=13 device=1",
                            "cuDeviceComputeCapability device=1", "cuDeviceGetAttribute attribute=20 device=1"));
    EXPECT_THAT(Script.Misuses(), IsEmpty());
}

TEST_F(CudaDevice, AFailingStartIsNotLookedAt)
{
    EXPECT_EQ(Choose(), 0); // the pointers are there
    Script.Answer("cuInit", 3);
    EXPECT_EQ(Choose(), 0);
    EXPECT_EQ(Status, 0);
}

TEST_F(CudaDevice, NoDeviceIsToldAndAnswered)
{
    Script.Set("cuda.devices", 0);
    EXPECT_EQ(Choose(), -1);
    EXPECT_EQ(Status, 100);
    EXPECT_EQ(Err, "gpuGetMaxGflopsDeviceIdDRV error: no devices supporting CUDA\n");
    EXPECT_EQ(Out, "");
}

TEST_F(CudaDevice, AllProhibitedIsToldAndAnswered)
{
    SetDevices({"", {{5, 2, 16, 1000, 2}, {5, 0, 4, 1000, 2}}, 2, -1});
    EXPECT_EQ(Choose(), -1);
    EXPECT_EQ(Status, 100);
    EXPECT_EQ(Err, "gpuGetMaxGflopsDeviceIdDRV error: all devices have compute mode prohibited.\n");
    EXPECT_EQ(Out, "");
}

TEST_F(CudaDevice, AFailingCallIsToldAndAnswered)
{
    const struct {
        const char* pOperation;
        int Call;
    } Calls[] = {{"cuDeviceGetCount", 1},
                 {"cuDeviceComputeCapability", 1},
                 {"cuDeviceComputeCapability", 2},
                 {"cuDeviceGetAttribute", 1},
                 {"cuDeviceGetAttribute", 2}};
    for (const auto& Case : Calls) {
        DriverReset();
        Script.Answer(Case.pOperation, 2, Case.Call);
        EXPECT_EQ(Choose(), -1) << Case.pOperation;
        EXPECT_EQ(Status, 2);
        EXPECT_EQ(Script.Calls(Case.pOperation), Case.Call);
        EXPECT_THAT(Err, StartsWith("checkCudaErrors() Driver API error = 0002 \"CUDA_ERROR_OUT_OF_MEMORY\" from file "
                                    "<cuda_device>, line "));
        EXPECT_THAT(Err, testing::EndsWith(".\n"));
        EXPECT_EQ(Out, "");
    }
}

TEST_F(CudaDevice, TheComputeModeIsToldOnStandardOutput)
{
    Script.Answer("cuDeviceGetAttribute", 1, 3);
    EXPECT_EQ(Choose(), -1);
    EXPECT_EQ(Status, 1);
    EXPECT_EQ(Out, "cuDeviceGetAttribute returned 1\n-> CUDA_ERROR_INVALID_VALUE\n");
    EXPECT_EQ(Err, "");
}

TEST_F(CudaDevice, AnUnknownArchitectureCountsAsTheNewestKnown)
{
    SetDevices({"", {{8, 6, 8, 1000, 0}}, 1, 0});
    EXPECT_EQ(Choose(), 0);
    EXPECT_EQ(Out, "MapSMtoCores for SM 8.6 is undefined.  Default to use 128 Cores/SM\n");
}

TEST(CudaCores, AreThoseOfTheList)
{
    const struct {
        int Major, Minor, Cores;
    } List[] = {{1, 0, 8},   {1, 1, 8},   {1, 2, 8},   {1, 3, 8},   {2, 0, 32},  {2, 1, 48},
                {3, 0, 192}, {3, 2, 192}, {3, 5, 192}, {3, 7, 192}, {5, 0, 128}, {5, 2, 128}};
    testing::internal::CaptureStdout();
    for (const auto& Row : List) EXPECT_EQ(MapSMtoCores(Row.Major, Row.Minor), Row.Cores) << Row.Major << Row.Minor;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    testing::internal::CaptureStdout();
    EXPECT_EQ(MapSMtoCores(2, 2), 128);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "MapSMtoCores for SM 2.2 is undefined.  Default to use 128 Cores/SM\n");
}

TEST(CudaErrors, HaveTheirNames)
{
    const struct {
        int Status;
        const char* pName;
    } Names[] = {{0, "CUDA_SUCCESS"},
                 {1, "CUDA_ERROR_INVALID_VALUE"},
                 {2, "CUDA_ERROR_OUT_OF_MEMORY"},
                 {3, "CUDA_ERROR_NOT_INITIALIZED"},
                 {4, "CUDA_ERROR_DEINITIALIZED"},
                 {5, "CUDA_ERROR_PROFILER_DISABLED"},
                 {6, "CUDA_ERROR_PROFILER_NOT_INITIALIZED"},
                 {7, "CUDA_ERROR_PROFILER_ALREADY_STARTED"},
                 {8, "CUDA_ERROR_PROFILER_ALREADY_STOPPED"},
                 {100, "CUDA_ERROR_NO_DEVICE"},
                 {101, "CUDA_ERROR_INVALID_DEVICE"},
                 {200, "CUDA_ERROR_INVALID_IMAGE"},
                 {201, "CUDA_ERROR_INVALID_CONTEXT"},
                 {202, "CUDA_ERROR_CONTEXT_ALREADY_CURRENT"},
                 {205, "CUDA_ERROR_MAP_FAILED"},
                 {206, "CUDA_ERROR_UNMAP_FAILED"},
                 {207, "CUDA_ERROR_ARRAY_IS_MAPPED"},
                 {208, "CUDA_ERROR_ALREADY_MAPPED"},
                 {209, "CUDA_ERROR_NO_BINARY_FOR_GPU"},
                 {210, "CUDA_ERROR_ALREADY_ACQUIRED"},
                 {211, "CUDA_ERROR_NOT_MAPPED"},
                 {212, "CUDA_ERROR_NOT_MAPPED_AS_ARRAY"},
                 {213, "CUDA_ERROR_NOT_MAPPED_AS_POINTER"},
                 {214, "CUDA_ERROR_ECC_UNCORRECTABLE"},
                 {215, "CUDA_ERROR_UNSUPPORTED_LIMIT"},
                 {216, "CUDA_ERROR_CONTEXT_ALREADY_IN_USE"},
                 {217, "CUDA_ERROR_PEER_ACCESS_UNSUPPORTED"},
                 {218, "CUDA_ERROR_INVALID_PTX"},
                 {219, "CUDA_ERROR_INVALID_GRAPHICS_CONTEXT"},
                 {220, "CUDA_ERROR_NVLINK_UNCORRECTABLE"},
                 {300, "CUDA_ERROR_INVALID_SOURCE"},
                 {301, "CUDA_ERROR_FILE_NOT_FOUND"},
                 {302, "CUDA_ERROR_SHARED_OBJECT_SYMBOL_NOT_FOUND"},
                 {303, "CUDA_ERROR_SHARED_OBJECT_INIT_FAILED"},
                 {304, "CUDA_ERROR_OPERATING_SYSTEM"},
                 {400, "CUDA_ERROR_INVALID_HANDLE"},
                 {500, "CUDA_ERROR_NOT_FOUND"},
                 {600, "CUDA_ERROR_NOT_READY"},
                 {700, "CUDA_ERROR_ILLEGAL_ADDRESS"},
                 {701, "CUDA_ERROR_LAUNCH_OUT_OF_RESOURCES"},
                 {702, "CUDA_ERROR_LAUNCH_TIMEOUT"},
                 {703, "CUDA_ERROR_LAUNCH_INCOMPATIBLE_TEXTURING"},
                 {704, "CUDA_ERROR_PEER_ACCESS_ALREADY_ENABLED"},
                 {705, "CUDA_ERROR_PEER_ACCESS_NOT_ENABLED"},
                 {708, "CUDA_ERROR_PRIMARY_CONTEXT_ACTIVE"},
                 {709, "CUDA_ERROR_CONTEXT_IS_DESTROYED"},
                 {710, "CUDA_ERROR_ASSERT"},
                 {711, "CUDA_ERROR_TOO_MANY_PEERS"},
                 {712, "CUDA_ERROR_HOST_MEMORY_ALREADY_REGISTERED"},
                 {713, "CUDA_ERROR_HOST_MEMORY_NOT_REGISTERED"},
                 {714, "CUDA_ERROR_HARDWARE_STACK_ERROR"},
                 {715, "CUDA_ERROR_ILLEGAL_INSTRUCTION"},
                 {716, "CUDA_ERROR_MISALIGNED_ADDRESS"},
                 {717, "CUDA_ERROR_INVALID_ADDRESS_SPACE"},
                 {718, "CUDA_ERROR_INVALID_PC"},
                 {719, "CUDA_ERROR_LAUNCH_FAILED"},
                 {800, "CUDA_ERROR_NOT_PERMITTED"},
                 {801, "CUDA_ERROR_NOT_SUPPORTED"},
                 {999, "CUDA_ERROR_UNKNOWN"}};
    size_t Known = 0;
    for (int i = 0; i <= 1000; ++i) {
        const bool bListed = Known < std::size(Names) && Names[Known].Status == i;
        EXPECT_STREQ(CudaErrorName(static_cast<CUresult>(i)), bListed ? Names[Known].pName : "CUDA_ERROR not found!")
            << i;
        Known += bListed;
    }
    EXPECT_EQ(Known, std::size(Names));
}

TEST(CudaErrors, AreToldWithTheirPlace)
{
    testing::internal::CaptureStderr();
    EXPECT_TRUE(checkCudaErrors(CUDA_SUCCESS, "f", 1));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    testing::internal::CaptureStderr();
    EXPECT_FALSE(checkCudaErrors(static_cast<CUresult>(34), "f", 12));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "checkCudaErrors() Driver API error = 0034 \"CUDA_ERROR not found!\" from file <f>, line 12.\n");
}
