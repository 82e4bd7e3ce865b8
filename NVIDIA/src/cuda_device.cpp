#include "NVIDIA/inc/cuda_device.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#define QUILVEX_SOURCE "cuda_device"
#define CHECKED(Call) checkCudaErrors((Call), QUILVEX_SOURCE, __LINE__)

namespace {

struct StatusName {
    int Status;
    const char* pName;
};
constexpr StatusName kStatusNames[] = {{0, "CUDA_SUCCESS"},
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

struct CoresOfSm {
    int32_t Sm; // major and minor, four bits each
    int32_t Cores;
};
constexpr CoresOfSm kCores[] = {{0x10, 8},   {0x11, 8},   {0x12, 8},   {0x13, 8},   {0x20, 32},  {0x21, 48},
                                {0x30, 192}, {0x32, 192}, {0x35, 192}, {0x37, 192}, {0x50, 128}, {0x52, 128}};

constexpr int kClockRate = 13, kMultiprocessorCount = 16, kComputeMode = 20; // attributes
constexpr int kProhibited = 2;                                               // a compute mode
constexpr int kEmulation = 9999;                                             // versions of a device that is none

struct Device {
    int Major, Minor, Multiprocessors, ClockRate, ComputeMode;
};

bool ReadComputeMode(int Number, int& Mode, CUresult& Status)
{
    Status = g_Cuda.cuDeviceGetAttribute(&Mode, kComputeMode, Number);
    if (Status == CUDA_SUCCESS) return true;
    std::printf("cuDeviceGetAttribute returned %d\n-> %s\n", static_cast<int>(Status), CudaErrorName(Status));
    return false;
}

bool ReadDevice(int Number, Device& d, CUresult& Status)
{
    return CHECKED(Status = g_Cuda.cuDeviceGetAttribute(&d.Multiprocessors, kMultiprocessorCount, Number)) &&
           CHECKED(Status = g_Cuda.cuDeviceGetAttribute(&d.ClockRate, kClockRate, Number)) &&
           CHECKED(Status = g_Cuda.cuDeviceComputeCapability(&d.Major, &d.Minor, Number)) &&
           ReadComputeMode(Number, d.ComputeMode, Status);
}

int64_t Performance(const Device& d)
{
    const bool bNone = d.Major == kEmulation && d.Minor == kEmulation;
    const int32_t Cores = bNone ? 1 : MapSMtoCores(d.Major, d.Minor);
    return int64_t{d.Multiprocessors} * Cores * d.ClockRate;
}

bool FindBestArchitecture(int Count, int& Best, CUresult& Status)
{
    Best = 0;
    for (int i = 0; i < Count; ++i) {
        int Major = 0, Minor = 0;
        if (!CHECKED(Status = g_Cuda.cuDeviceComputeCapability(&Major, &Minor, i))) return false;
        if (Major > 0 && Major < kEmulation) Best = std::max(Best, Major);
    }
    return true;
}

// The fastest of those that may be used, -1 when no device may.
bool FindFastest(int Count, int BestArchitecture, int32_t& Fastest, CUresult& Status)
{
    int64_t Best = 0;
    int Prohibited = 0;
    Fastest = 0;
    for (int i = 0; i < Count; ++i) {
        Device d{};
        if (!ReadDevice(i, d, Status)) return false;
        if (d.ComputeMode == kProhibited) {
            ++Prohibited;
            continue;
        }
        const int64_t Own = Performance(d);
        if (Own <= Best || (BestArchitecture > 2 && d.Major != BestArchitecture)) continue;
        Best = Own;
        Fastest = i;
    }
    if (Prohibited == Count) Fastest = -1;
    return true;
}

} // namespace

const char* CudaErrorName(CUresult Status)
{
    const auto* const pFound = std::find_if(std::begin(kStatusNames), std::end(kStatusNames),
                                            [=](const StatusName& n) { return n.Status == static_cast<int>(Status); });
    return pFound == std::end(kStatusNames) ? "CUDA_ERROR not found!" : pFound->pName;
}

bool checkCudaErrors(CUresult Status, const char* pFile, int iLine)
{
    if (Status == CUDA_SUCCESS) return true;
    std::fprintf(stderr, "checkCudaErrors() Driver API error = %04d \"%s\" from file <%s>, line %i.\n",
                 static_cast<int>(Status), CudaErrorName(Status), pFile, iLine);
    return false;
}

int32_t MapSMtoCores(int32_t Major, int32_t Minor)
{
    for (const CoresOfSm& Row : kCores)
        if (Row.Sm == Major * 16 + Minor) return Row.Cores;
    const int32_t Cores = std::rbegin(kCores)->Cores;
    std::printf("MapSMtoCores for SM %d.%d is undefined.  Default to use %d Cores/SM\n", Major, Minor, Cores);
    return Cores;
}

int32_t gpuGetMaxGflopsDeviceIdDRV(CUresult* pStatus)
{
    CUresult& Status = *pStatus;
    int Count = 0, BestArchitecture = 0;
    int32_t Fastest = -1;
    cuInit(0, kCudaVersion, nullptr); // its callers have looked at the same status before
    if (!CHECKED(Status = g_Cuda.cuDeviceGetCount(&Count))) return -1;
    if (Count == 0) {
        std::fprintf(stderr, "gpuGetMaxGflopsDeviceIdDRV error: no devices supporting CUDA\n");
        Status = static_cast<CUresult>(100);
        return -1;
    }
    if (!FindBestArchitecture(Count, BestArchitecture, Status) ||
        !FindFastest(Count, BestArchitecture, Fastest, Status))
        return -1;
    if (Fastest < 0) {
        std::fprintf(stderr, "gpuGetMaxGflopsDeviceIdDRV error: all devices have compute mode prohibited.\n");
        Status = static_cast<CUresult>(100);
    }
    return Fastest;
}
