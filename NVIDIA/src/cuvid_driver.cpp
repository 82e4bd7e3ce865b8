#include "NVIDIA/inc/cuvid_driver.h"

#include "platform/driver_names.h"
#include "platform/shared_library.h"

#include <cstdio>

constinit CuvidDriver g_Cuvid;

namespace {

struct Entry {
    const char* pName;
    void (*Keep)(void* pFunction) = nullptr; // null: required, but nothing calls it
};

template <auto Member>
void Keep(void* pFunction)
{
    (g_Cuvid.*Member).Set(pFunction);
}

// The plain names of the map calls take addresses of 32 bits in every process.
constexpr bool kWideAddresses = sizeof(CUdeviceptr) == 8;

// In the order in which the names are resolved.
constexpr Entry kEntries[] = {
    {"cuvidCreateVideoSource"},
    {"cuvidCreateVideoSourceW"},
    {"cuvidDestroyVideoSource"},
    {"cuvidSetVideoSourceState"},
    {"cuvidGetVideoSourceState"},
    {"cuvidGetSourceVideoFormat"},
    {"cuvidGetSourceAudioFormat"},
    {"cuvidCreateVideoParser", Keep<&CuvidDriver::cuvidCreateVideoParser>},
    {"cuvidParseVideoData", Keep<&CuvidDriver::cuvidParseVideoData>},
    {"cuvidDestroyVideoParser", Keep<&CuvidDriver::cuvidDestroyVideoParser>},
    {"cuvidGetDecoderCaps", Keep<&CuvidDriver::cuvidGetDecoderCaps>},
    {"cuvidCreateDecoder", Keep<&CuvidDriver::cuvidCreateDecoder>},
    {"cuvidDestroyDecoder", Keep<&CuvidDriver::cuvidDestroyDecoder>},
    {"cuvidDecodePicture", Keep<&CuvidDriver::cuvidDecodePicture>},
    {kWideAddresses ? "cuvidMapVideoFrame64" : "cuvidMapVideoFrame", Keep<&CuvidDriver::cuvidMapVideoFrame>},
    {kWideAddresses ? "cuvidUnmapVideoFrame64" : "cuvidUnmapVideoFrame", Keep<&CuvidDriver::cuvidUnmapVideoFrame>},
    {"cuvidCtxLockCreate", Keep<&CuvidDriver::cuvidCtxLockCreate>},
    {"cuvidCtxLockDestroy", Keep<&CuvidDriver::cuvidCtxLockDestroy>},
    {"cuvidCtxLock", Keep<&CuvidDriver::cuvidCtxLock>},
    {"cuvidCtxUnlock", Keep<&CuvidDriver::cuvidCtxUnlock>}};

} // namespace

CUresult cuvidInit(unsigned int)
{
    void* const pLibrary = platform::Libraries().Open(platform::kCuvidLibrary);
    if (!pLibrary) {
        std::printf("LoadLibrary \"%s\" failed!\n", platform::kCuvidLibrary);
        return kDriverMissing;
    }
    for (const Entry& e : kEntries) {
        void* const pFunction = platform::Libraries().Symbol(pLibrary, e.pName);
        if (e.Keep) e.Keep(pFunction);
        if (pFunction) continue;
        std::printf("Failed to find required function \"%s\" in %s\n", e.pName, platform::kCuvidLibrary);
        return kDriverMissing;
    }
    return CUDA_SUCCESS;
}
